// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/PsdReader.h"

#include "decoder/FileBytes.h"
#include "decoder/PsdLayout.h"
#include "decoder/PsdRows.h"
#include "decoder/ReaderFailures.h"
#include "decoder/ToneMapping.h"
#include "decoder/Transparency.h"

#include <QtEndian>

#include <algorithm>
#include <cmath>
#include <vector>

namespace quorvane {

namespace {

/// One sample of a row as a byte. \param depth  1, 8, 16 or 32.
quint8 byteOf(const char* row, int x, int depth)
{
    switch (depth) {
    case 1:
        return (static_cast<quint8>(row[x / 8]) >> (7 - x % 8)) & 1 ? 0 : 255;
    case 8:
        return static_cast<quint8>(row[x]);
    case 16:
        return static_cast<quint8>(
            (qFromBigEndian<quint16>(row + qsizetype(2) * x) * 255U + 32767U) / 65535U);
    default:
        return static_cast<quint8>(std::lround(
            255 * std::clamp(qFromBigEndian<float>(row + qsizetype(4) * x), 0.0F, 1.0F)));
    }
}

/// All samples of the colours, interleaved. Number: quint8, quint16 or float.
template <typename Number>
bool readInterleaved(PsdRows& rows, const PsdLayout& layout, std::vector<Number>& samples)
{
    const auto channels = static_cast<size_t>(layout.colours());
    const auto width = static_cast<size_t>(layout.size.width());
    const auto height = static_cast<size_t>(layout.size.height());
    samples.resize(width * height * channels);
    for (size_t channel = 0; channel < channels; ++channel) {
        for (size_t y = 0; y < height; ++y) {
            const char* const row = rows.next();
            if (!row)
                return false;
            Number* to = samples.data() + y * width * channels + channel;
            for (size_t x = 0; x < width; ++x, to += channels)
                *to = qFromBigEndian<Number>(row + x * sizeof(Number));
        }
    }
    return true;
}

void writeGreys(const char* row, int depth, QRgb* to, int width)
{
    for (int x = 0; x < width; ++x)
        to[x] = 0xFF000000U | 0x010101U * byteOf(row, x, depth);
}

/// One byte of red (channel 0), green or blue into every pixel.
void writeColour(const char* row, int channel, QRgb* to, int width)
{
    const int shift = 16 - 8 * channel;
    const QRgb others = ~(QRgb(0xFF) << shift);
    for (int x = 0; x < width; ++x) {
        const QRgb value = static_cast<quint8>(row[x]);
        to[x] = (to[x] & others) | value << shift | 0xFF000000U;
    }
}

/// Bitmap, grey, duotone (its grey), indexed and RGB of one byte: straight into the image.
bool readBytes(PsdRows& rows, const PsdLayout& layout, QImage& image)
{
    for (int channel = 0; channel < layout.colours(); ++channel) {
        for (int y = 0; y < image.height(); ++y) {
            const char* const row = rows.next();
            if (!row)
                return false;
            auto* const to = reinterpret_cast<QRgb*>(image.scanLine(y));
            if (layout.mode == PsdMode::Rgb)
                writeColour(row, channel, to, image.width());
            else
                writeGreys(row, layout.depth, to, image.width());
        }
    }
    return true;
}

/// From indices, which stand in all three colours, to what they mean.
void lookUp(const PsdLayout& layout, QImage& image)
{
    std::vector<QRgb> colours(256);
    for (int i = 0; i < 256; ++i) {
        const auto part
            = [&](int offset) { return static_cast<quint8>(layout.palette[offset + i]); };
        const bool isTransparent = i == layout.transparentIndex;
        colours[static_cast<size_t>(i)] = isTransparent ? 0 : qRgb(part(0), part(256), part(512));
    }
    for (int y = 0; y < image.height(); ++y) {
        auto* const row = reinterpret_cast<QRgb*>(image.scanLine(y));
        std::transform(row, row + image.width(), row, [&](QRgb c) { return colours[c & 0xFF]; });
    }
}

/// Colours that lie on white, since that is how the merged picture is stored, become colours with
/// transparency multiplied in.
QRgb withoutWhite(QRgb colour, int alpha)
{
    const auto part = [&](int value) { return std::clamp(value - (255 - alpha), 0, alpha); };
    return qRgba(part(qRed(colour)), part(qGreen(colour)), part(qBlue(colour)), alpha);
}

bool readAlpha(PsdRows& rows, const PsdLayout& layout, QImage& image)
{
    for (int y = 0; y < image.height(); ++y) {
        const char* const row = rows.next();
        if (!row)
            return false;
        auto* const to = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x)
            to[x] = withoutWhite(to[x], byteOf(row, x, layout.depth));
    }
    return true;
}

class PsdReader : public PictureReader {
public:
    PsdReader(QByteArray bytes, PsdLayout layout)
        : mBytes(std::move(bytes))
        , mLayout(std::move(layout))
    {
    }

    PictureHeader header() const override { return { mLayout.size }; }

    Result<DecodedPicture> decode(QSize wanted, const ImageMaker& makeImage) override
    {
        Q_UNUSED(wanted)
        PsdRows rows(mBytes, mLayout);
        if (!rows.isKnown())
            return fail(ErrorKind::Unsupported, QStringLiteral("an unusual compression"));
        const bool canBeTransparent = mLayout.hasAlpha || mLayout.transparentIndex >= 0;
        const auto format
            = canBeTransparent ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32;
        DecodedPicture picture { makeImage(mLayout.size, format), {} };
        if (picture.image.isNull())
            return noMemory();
        // Filled as if opaque, then made transparent.
        picture.image.reinterpretAsFormat(QImage::Format_RGB32);
        if (!readColours(rows, picture))
            return damaged("the picture is cut short");
        picture.image.reinterpretAsFormat(format);
        if (mLayout.hasAlpha && !readAlpha(rows, mLayout, picture.image))
            return damaged("the transparency is cut short");
        dropUselessTransparency(picture.image);
        return picture;
    }

private:
    bool readColours(PsdRows& rows, DecodedPicture& picture)
    {
        const auto profile = ColorProfile::fromIcc(mLayout.profile);
        if (mLayout.depth == 32)
            return readLight(rows, picture.image);
        if (mLayout.depth == 16)
            return convert<quint16>(rows, profile, picture.image);
        if (mLayout.mode == PsdMode::Cmyk)
            return convert<quint8>(rows, profile, picture.image);
        if (!readBytes(rows, mLayout, picture.image))
            return false;
        picture.profile = profile;
        if (mLayout.mode == PsdMode::Indexed)
            lookUp(mLayout, picture.image);
        return true;
    }

    template <typename Number>
    bool convert(PsdRows& rows, const ColorProfile& profile, QImage& image)
    {
        std::vector<Number> samples;
        if (!readInterleaved(rows, mLayout, samples))
            return false;
        const int channels = mLayout.colours();
        const auto form = channels == 4 ? Samples::Layout::CmykInverted
            : channels == 3             ? Samples::Layout::Rgb
                                        : Samples::Layout::Gray;
        const auto depth = sizeof(Number) == 1 ? Samples::Depth::Bits8 : Samples::Depth::Bits16;
        const qsizetype stride = qsizetype(image.width()) * channels * qsizetype(sizeof(Number));
        return convertToSrgb({ samples.data(), stride, image.size(), form, depth }, profile, image);
    }

    bool readLight(PsdRows& rows, QImage& image)
    {
        std::vector<float> samples;
        if (!readInterleaved(rows, mLayout, samples))
            return false;
        const int channels = mLayout.colours();
        toneMapLinear(
            { samples.data(), qsizetype(image.width()) * channels, image.size(), channels }, image);
        return true;
    }

    QByteArray mBytes;
    PsdLayout mLayout;
};

} // namespace

bool isPsd(const QByteArray& head)
{
    return head.startsWith(QByteArray("8BPS\0\1", 6)) || head.startsWith(QByteArray("8BPS\0\2", 6));
}

OpenedPicture openPsd(FileBytes& file)
{
    auto bytes = file.all();
    if (!bytes)
        return tl::unexpected(bytes.error());
    auto layout = psdLayoutOf(*bytes);
    if (!layout)
        return damaged("no sound header");
    if (!isReasonable(layout->size))
        return tooManyPixels();
    if (!layout->isKnownForm())
        return fail(ErrorKind::Unsupported, QStringLiteral("an unusual form of colours"));
    if (!layout->hasMergedPicture && layout->hasLayers)
        return fail(ErrorKind::Unsupported, QStringLiteral("no merged picture"));
    return std::make_unique<PsdReader>(std::move(*bytes), std::move(*layout));
}

} // namespace quorvane
