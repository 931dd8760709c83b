// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/SampleConversion.h"

#include "decoder/SourceProfile.h"

#include <algorithm>
#include <vector>

namespace quorvane {

namespace {

using Model = ColorProfile::Model;
using Layout = Samples::Layout;
using Depth = Samples::Depth;

template <typename Sample> constexpr int byteOf(Sample value)
{
    if constexpr (sizeof(Sample) == 1)
        return value;
    else
        return static_cast<int>((value * 255U + 32895U) >> 16U); // Rounded exactly.
}

/// What `ink` and black leave of the paper's white.
template <typename Sample, Layout kLayout> int inked(Sample ink, Sample black)
{
    const auto left = [](Sample value) {
        return kLayout == Layout::CmykInverted ? byteOf(value) : 255 - byteOf(value);
    };
    return (left(ink) * left(black) + 127) / 255;
}

QRgb premultiplied(int red, int green, int blue, int alpha)
{
    return qPremultiply(qRgba(red, green, blue, alpha));
}

/// `opaque` with so much opacity, multiplied in.
QRgb withOpacity(QRgb opaque, int alpha)
{
    return qPremultiply((opaque & RGB_MASK) | (static_cast<QRgb>(alpha) << 24U));
}

constexpr int channelsOf(Layout layout)
{
    switch (layout) {
    case Layout::Gray:
        return 1;
    case Layout::GrayAlpha:
        return 2;
    case Layout::Rgb:
        return 3;
    default:
        return 4;
    }
}

/// The pixel whose samples begin at `at`, taken for sRGB or, if of inks, for simple ones.
template <typename Sample, Layout kLayout> QRgb simplePixel(const Sample* at)
{
    if constexpr (kLayout == Layout::Gray)
        return qRgb(byteOf(at[0]), byteOf(at[0]), byteOf(at[0]));
    else if constexpr (kLayout == Layout::GrayAlpha)
        return premultiplied(byteOf(at[0]), byteOf(at[0]), byteOf(at[0]), byteOf(at[1]));
    else if constexpr (kLayout == Layout::Rgb)
        return qRgb(byteOf(at[0]), byteOf(at[1]), byteOf(at[2]));
    else if constexpr (kLayout == Layout::Rgba)
        return premultiplied(byteOf(at[0]), byteOf(at[1]), byteOf(at[2]), byteOf(at[3]));
    else
        return qRgb(inked<Sample, kLayout>(at[0], at[3]), inked<Sample, kLayout>(at[1], at[3]),
            inked<Sample, kLayout>(at[2], at[3]));
}

template <typename Sample, Layout kLayout> void simpleRow(const void* from, QRgb* to, int width)
{
    const auto* at = static_cast<const Sample*>(from);
    for (int x = 0; x < width; ++x, at += channelsOf(kLayout))
        to[x] = simplePixel<Sample, kLayout>(at);
}

using SimpleConverter = void (*)(const void* from, QRgb* to, int width);

template <typename Sample> SimpleConverter simpleConverter(Layout layout)
{
    switch (layout) {
    case Layout::Gray:
        return &simpleRow<Sample, Layout::Gray>;
    case Layout::GrayAlpha:
        return &simpleRow<Sample, Layout::GrayAlpha>;
    case Layout::Rgb:
        return &simpleRow<Sample, Layout::Rgb>;
    case Layout::Rgba:
        return &simpleRow<Sample, Layout::Rgba>;
    case Layout::Cmyk:
        return &simpleRow<Sample, Layout::Cmyk>;
    default:
        return &simpleRow<Sample, Layout::CmykInverted>;
    }
}

QRgb* pixelsOf(QImage& image, int y) { return reinterpret_cast<QRgb*>(image.scanLine(y)); }

const void* rowOf(const Samples& samples, int y)
{
    return static_cast<const char*>(samples.data) + y * samples.stride;
}

template <typename Sample>
void convertGreys(const Samples& samples, const std::vector<QRgb>& table, QImage& image)
{
    const bool hasAlpha = samples.layout == Layout::GrayAlpha;
    for (int y = 0; y < image.height(); ++y) {
        const auto* at = static_cast<const Sample*>(rowOf(samples, y));
        QRgb* const to = pixelsOf(image, y);
        for (int x = 0; x < image.width(); ++x, at += hasAlpha ? 2 : 1) {
            const QRgb opaque = table[*at];
            to[x] = hasAlpha ? withOpacity(opaque, byteOf(at[1])) : opaque;
        }
    }
}

bool isGrey(const QImage& image)
{
    for (int y = 0; y < image.height(); ++y) {
        const auto* const row = reinterpret_cast<const QRgb*>(image.constScanLine(y));
        if (!std::all_of(row, row + image.width(), &qIsGray))
            return false;
    }
    return true;
}

QRgb throughTable(QRgb pixel, const std::vector<QRgb>& table)
{
    const int alpha = qAlpha(pixel);
    if (alpha == 255)
        return table[static_cast<size_t>(qBlue(pixel))];
    const auto grey = static_cast<size_t>(qBlue(qUnpremultiply(pixel)));
    return withOpacity(table[grey], alpha);
}

/// The library's name for the samples' layout: of colours or inks.
cmsUInt32Number formatOf(const Samples& samples)
{
    const bool isDeep = samples.depth == Depth::Bits16;
    switch (samples.layout) {
    case Layout::Rgb:
        return isDeep ? TYPE_RGB_16 : TYPE_RGB_8;
    case Layout::Rgba:
        return isDeep ? TYPE_RGBA_16 : TYPE_RGBA_8;
    case Layout::Cmyk:
        return isDeep ? TYPE_CMYK_16 : TYPE_CMYK_8;
    default:
        return isDeep ? TYPE_CMYK_16_REV : TYPE_CMYK_8_REV;
    }
}

bool isOfGreys(Layout layout) { return layout == Layout::Gray || layout == Layout::GrayAlpha; }

bool fits(Model model, Layout layout)
{
    if (isOfGreys(layout))
        return model == Model::Gray || model == Model::Rgb;
    const bool isOfInks = layout == Layout::Cmyk || layout == Layout::CmykInverted;
    return model == (isOfInks ? Model::Cmyk : Model::Rgb);
}

bool convertGreysInPlace(SourceProfile& source, QImage& image)
{
    const std::vector<QRgb> table = source.greyTable(Depth::Bits8);
    if (table.empty())
        return false;
    for (int y = 0; y < image.height(); ++y) {
        QRgb* const row = pixelsOf(image, y);
        std::transform(
            row, row + image.width(), row, [&](QRgb pixel) { return throughTable(pixel, table); });
    }
    return true;
}

bool convertColoursInPlace(SourceProfile& source, QImage& image)
{
    const LibraryTransform transform = source.transform(TYPE_BGRA_8, TYPE_BGRA_8);
    const bool hasAlpha = image.hasAlphaChannel();
    for (int y = 0; transform && y < image.height(); ++y) {
        QRgb* const row = pixelsOf(image, y);
        QRgb* const end = row + image.width();
        // Not left to the library: its own way with multiplied colours overflows (version 2.14).
        if (hasAlpha)
            std::transform(row, end, row, [](QRgb pixel) { return qUnpremultiply(pixel); });
        cmsDoTransform(transform.get(), row, row, static_cast<cmsUInt32Number>(image.width()));
        if (hasAlpha)
            std::transform(row, end, row, [](QRgb pixel) { return qPremultiply(pixel); });
    }
    return transform != nullptr;
}

/// 16 bits of red, green, blue and perhaps opacity.
void convertDeepColours(const MatrixConversion& conversion, const Samples& samples, QImage& image)
{
    const int channels = channelsOf(samples.layout);
    for (int y = 0; y < image.height(); ++y) {
        const auto* at = static_cast<const quint16*>(rowOf(samples, y));
        QRgb* const row = pixelsOf(image, y);
        conversion.convert(at, channels, row, image.width());
        if (samples.layout != Layout::Rgba)
            continue;
        for (int x = 0; x < image.width(); ++x, at += channels)
            row[x] = withOpacity(row[x], byteOf(at[3]));
    }
}

/// Samples of colours or inks.
bool convertColours(SourceProfile& source, const Samples& samples, QImage& image)
{
    const bool isDeep = samples.depth == Depth::Bits16 && source.model() == Model::Rgb;
    if (const MatrixConversion* const deep = isDeep ? source.deepConversion() : nullptr) {
        convertDeepColours(*deep, samples, image);
        return true;
    }
    const LibraryTransform transform = source.transform(formatOf(samples), TYPE_BGRA_8);
    for (int y = 0; transform && y < image.height(); ++y) {
        QRgb* const row = pixelsOf(image, y);
        QRgb* const end = row + image.width();
        std::fill(row, end, 0xFFFFFFFF); // Where there is no opacity, none is written.
        cmsDoTransform(
            transform.get(), rowOf(samples, y), row, static_cast<cmsUInt32Number>(image.width()));
        if (samples.layout == Layout::Rgba)
            std::transform(row, end, row, [](QRgb pixel) { return qPremultiply(pixel); });
    }
    return transform != nullptr;
}

} // namespace

void convertSimply(const Samples& samples, QImage& image)
{
    const SimpleConverter convert = samples.depth == Depth::Bits8
        ? simpleConverter<quint8>(samples.layout)
        : simpleConverter<quint16>(samples.layout);
    for (int y = 0; y < image.height(); ++y)
        convert(rowOf(samples, y), pixelsOf(image, y), image.width());
}

bool canMean(const SourceProfile& source, const QImage& image)
{
    return source.model() == Model::Rgb || (source.model() == Model::Gray && isGrey(image));
}

bool convertInPlace(SourceProfile& source, QImage& image)
{
    if (!canMean(source, image))
        return true;
    return source.model() == Model::Gray ? convertGreysInPlace(source, image)
                                         : convertColoursInPlace(source, image);
}

bool convertSamples(SourceProfile& source, const Samples& samples, QImage& image)
{
    if (!fits(source.model(), samples.layout)) {
        convertSimply(samples, image);
        return true;
    }
    if (!isOfGreys(samples.layout))
        return convertColours(source, samples, image);
    const std::vector<QRgb> table = source.greyTable(samples.depth);
    if (table.empty())
        return false;
    if (samples.depth == Depth::Bits8)
        convertGreys<quint8>(samples, table, image);
    else
        convertGreys<quint16>(samples, table, image);
    return true;
}

} // namespace quorvane
