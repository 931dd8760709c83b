// SPDX-License-Identifier: GPL-3.0-or-later
#include "corpus/PixelComparison.h"

#include <algorithm>
#include <cstdlib>

namespace quorvane::tests {

QImage premultiplied(const QImage& image)
{
    return image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

PixelDifference difference(const QImage& ours, const QImage& theirs, int difference)
{
    constexpr int kColours = 3;
    const int channels = ours.hasAlphaChannel() && theirs.hasAlphaChannel() ? 4 : kColours;
    const QImage a = premultiplied(ours);
    const QImage b = premultiplied(theirs);
    std::array<qint64, 4> sums {};
    qint64 off = 0;
    PixelDifference result;
    for (int y = 0; y < a.height(); ++y) {
        const uchar* p = a.constScanLine(y);
        const uchar* q = b.constScanLine(y);
        for (int x = 0; x < a.width(); ++x, p += 4, q += 4) {
            int most = 0;
            for (int i = 0; i < channels; ++i) {
                const int apart = std::abs(p[i] - q[i]);
                sums[static_cast<size_t>(i)] += apart;
                most = std::max(most, apart);
            }
            result.largest = std::max(result.largest, most);
            off += most > difference ? 1 : 0;
        }
    }
    const double pixels = std::max(1.0, double(a.width()) * a.height());
    for (size_t i = 0; i < kColours; ++i)
        result.mean[i] = double(sums[i]) / pixels;
    result.worstMean = double(*std::max_element(sums.begin(), sums.end())) / pixels;
    result.share = double(off) / pixels;
    return result;
}

bool isWithin(const PixelDifference& difference, const Tolerance& tolerance)
{
    return difference.worstMean <= tolerance.mean && difference.share <= tolerance.share;
}

} // namespace quorvane::tests
