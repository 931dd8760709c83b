// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/DibPixels.h"

#include <QByteArray>
#include <QImage>

#include <algorithm>
#include <bit>

namespace quorvane {

namespace {

quint32 byteAt(const QByteArray& bytes, qint64 at)
{
    return at >= 0 && at < bytes.size() ? static_cast<quint8>(bytes[at]) : 0;
}

/// \param size  1 to 4 bytes, the lowest first.
quint32 numberAt(const QByteArray& bytes, qint64 at, int size)
{
    quint32 number = 0;
    for (int i = 0; i < size; ++i)
        number |= byteAt(bytes, at + i) << (8 * i);
    return number;
}

/// One colour of a pixel, taken out by its mask and stretched to 0 to 255.
class Field {
public:
    explicit Field(quint32 mask)
        : mMask(mask)
        , mShift(mask ? std::countr_zero(mask) : 0)
        , mMost(mask >> mShift)
    {
    }

    int of(quint32 pixel) const
    {
        if (mMost == 0)
            return 0;
        const quint64 value = (pixel & mMask) >> mShift;
        return static_cast<int>((value * 255 + mMost / 2) / mMost);
    }

private:
    quint32 mMask;
    int mShift;
    quint64 mMost;
};

void readIndexed(const QByteArray& bytes, const DibPixels& pixels, qint64 row, QRgb* to)
{
    std::array<QRgb, 256> colours {};
    colours.fill(qRgb(0, 0, 0));
    const auto count = std::min<qsizetype>(pixels.colours, 256);
    for (qsizetype i = 0; i < count; ++i) {
        colours[static_cast<size_t>(i)]
            = numberAt(bytes, pixels.table + i * pixels.tableEntry, 3) | 0xFF000000U;
    }
    const int depth = pixels.depth;
    const quint32 mask = (1U << depth) - 1;
    for (int x = 0; x < pixels.size.width(); ++x) {
        const qint64 bit = qint64(x) * depth;
        const quint32 byte = byteAt(bytes, row + bit / 8);
        to[x] = colours[byte >> (8 - depth - bit % 8) & mask];
    }
}

void readMasked(const QByteArray& bytes, const DibPixels& pixels, qint64 row, QRgb* to)
{
    const Field red(pixels.masks[0]);
    const Field green(pixels.masks[1]);
    const Field blue(pixels.masks[2]);
    const Field alpha(pixels.masks[3]);
    const bool isOpaque = pixels.masks[3] == 0;
    const int size = pixels.depth / 8;
    for (int x = 0; x < pixels.size.width(); ++x) {
        const quint32 pixel = numberAt(bytes, row + qint64(x) * size, size);
        to[x] = qRgba(
            red.of(pixel), green.of(pixel), blue.of(pixel), isOpaque ? 255 : alpha.of(pixel));
    }
}

void readTriples(const QByteArray& bytes, const DibPixels& pixels, qint64 row, QRgb* to)
{
    for (int x = 0; x < pixels.size.width(); ++x)
        to[x] = numberAt(bytes, row + qint64(x) * 3, 3) | 0xFF000000U;
}

} // namespace

bool DibPixels::hasKnownDepth() const
{
    constexpr std::array depths { 1, 2, 4, 8, 16, 24, 32 };
    return std::find(depths.begin(), depths.end(), depth) != depths.end();
}

qint64 DibPixels::end() const
{
    return pixels + qint64(stride()) * (size.height() - 1) + (qint64(size.width()) * depth + 7) / 8;
}

std::array<quint32, 4> usualMasks(int depth)
{
    switch (depth) {
    case 16:
        return { 0x7C00, 0x03E0, 0x001F, 0 };
    case 32:
        return { 0xFF0000, 0x00FF00, 0x0000FF, 0 };
    default:
        return {};
    }
}

void readDibPixels(const QByteArray& bytes, const DibPixels& pixels, QImage& image)
{
    const auto readRow = pixels.depth <= 8 ? readIndexed
        : pixels.depth == 24               ? readTriples
                                           : readMasked;
    const int height = pixels.size.height();
    for (int y = 0; y < height; ++y) {
        const qint64 index = pixels.isTopDown ? y : height - 1 - y;
        readRow(bytes, pixels, pixels.pixels + index * pixels.stride(),
            reinterpret_cast<QRgb*>(image.scanLine(y)));
    }
}

} // namespace quorvane
