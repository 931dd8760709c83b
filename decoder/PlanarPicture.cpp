// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/PlanarPicture.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace quorvane {

namespace {

/// The rows of one plane, brought to the size of the image that is made.
class RowSampler {
public:
    RowSampler(const Plane& plane, QSize size, int divisor)
        : mPlane(plane)
        , mSize(size)
        , mDivisor(divisor)
        , mRow(static_cast<size_t>(dividedSize(size, divisor).width()))
        , mSums(mRow.size())
    {
    }

    const uchar* row(int y)
    {
        if (mDivisor == 1)
            return sourceRow(y);
        const int top = y * mDivisor;
        const int bottom = std::min(top + mDivisor, mSize.height());
        std::fill(mSums.begin(), mSums.end(), 0U);
        for (int line = top; line < bottom; ++line)
            addRow(sourceRow(line));
        takeMeans(static_cast<std::uint32_t>(bottom - top));
        return mRow.data();
    }

private:
    const uchar* sourceRow(int y) const { return mPlane.data + y * mPlane.stride; }

    void addRow(const uchar* from)
    {
        const uchar* const end = from + mSize.width();
        for (std::uint32_t& sum : mSums) {
            const uchar* const blockEnd = from + std::min<qsizetype>(mDivisor, end - from);
            while (from < blockEnd)
                sum += *from++;
        }
    }

    void takeMeans(std::uint32_t rows)
    {
        for (size_t x = 0; x < mRow.size(); ++x) {
            const int left = static_cast<int>(x) * mDivisor;
            const int columns = std::min(mDivisor, mSize.width() - left);
            const std::uint32_t count = rows * static_cast<std::uint32_t>(columns);
            mRow[x] = static_cast<uchar>((mSums[x] + count / 2) / count);
        }
    }

    Plane mPlane;
    QSize mSize;
    int mDivisor;
    std::vector<uchar> mRow;
    std::vector<std::uint32_t> mSums;
};

void setOpaqueRow(const uchar* red, const uchar* green, const uchar* blue, QRgb* to, int width)
{
    for (int x = 0; x < width; ++x)
        to[x] = qRgb(red[x], green[x], blue[x]);
}

void applyAlpha(QRgb* pixels, const uchar* alpha, int width, bool isPremultiplied)
{
    for (int x = 0; x < width; ++x) {
        const QRgb pixel = (pixels[x] & RGB_MASK) | static_cast<QRgb>(alpha[x]) << 24;
        if (!isPremultiplied) {
            pixels[x] = qPremultiply(pixel);
            continue;
        }
        // More colour than opacity would shine through whatever lies above.
        const int most = alpha[x];
        pixels[x] = qRgba(std::min(qRed(pixel), most), std::min(qGreen(pixel), most),
            std::min(qBlue(pixel), most), most);
    }
}

} // namespace

int divisorFor(QSize size, QSize wanted)
{
    for (const int divisor : { 8, 4, 2 }) {
        const QSize divided = dividedSize(size, divisor);
        if (divided.width() >= wanted.width() && divided.height() >= wanted.height())
            return divisor;
    }
    return 1;
}

QSize dividedSize(QSize size, int divisor)
{
    return { (size.width() - 1) / divisor + 1, (size.height() - 1) / divisor + 1 };
}

void makePixels(const PlanarPicture& picture, int divisor, QImage& image)
{
    RowSampler red(picture.red, picture.size, divisor);
    RowSampler green(picture.green, picture.size, divisor);
    RowSampler blue(picture.blue, picture.size, divisor);
    RowSampler alpha(picture.alpha, picture.size, divisor);
    const bool hasAlpha = picture.alpha.data && image.hasAlphaChannel();
    for (int y = 0; y < image.height(); ++y) {
        auto* const to = reinterpret_cast<QRgb*>(image.scanLine(y));
        setOpaqueRow(red.row(y), green.row(y), blue.row(y), to, image.width());
        if (hasAlpha)
            applyAlpha(to, alpha.row(y), image.width(), picture.isPremultiplied);
    }
}

} // namespace quorvane
