// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/Jpeg2000Pixels.h"

#include "decoder/ReaderFailures.h"

#include <openjpeg.h>

#include <algorithm>
#include <new>
#include <optional>
#include <vector>

namespace quorvane {

namespace {

/// The components that are shown, and how.
struct Channels {
    std::vector<const opj_image_comp_t*> colors; ///< 1 grey, 3, or 4 inks.
    const opj_image_comp_t* alpha = nullptr;
    bool isPremultiplied = false;
    bool isLumaChroma = false;
    QSize size; ///< Of the largest.
    int precision = 1; ///< Bits of the most precise.

    std::vector<const opj_image_comp_t*> all() const
    {
        auto channels = colors;
        if (alpha)
            channels.push_back(alpha);
        return channels;
    }
};

bool looksLikeLumaChroma(const opj_image_t& image)
{
    return image.numcomps == 3 && image.comps[0].dx == image.comps[0].dy && image.comps[1].dx != 1;
}

size_t colorCount(const opj_image_t& image, size_t available, const ColorProfile& profile)
{
    if (image.color_space == OPJ_CLRSPC_GRAY || available < 3)
        return 1;
    const bool isInk = image.color_space == OPJ_CLRSPC_CMYK
        || (image.color_space <= OPJ_CLRSPC_UNSPECIFIED
            && profile.model() == ColorProfile::Model::Cmyk);
    return isInk && available >= 4 ? 4 : 3;
}

bool isSound(const opj_image_comp_t& component)
{
    return component.data && component.w > 0 && component.h > 0 && component.prec > 0
        && component.prec <= 31;
}

std::optional<Channels> channelsOf(
    const opj_image_t& image, Jpeg2000Container container, const ColorProfile& profile)
{
    const bool isBare = container == Jpeg2000Container::None;
    Channels channels;
    for (OPJ_UINT32 i = 0; i < image.numcomps; ++i) {
        const opj_image_comp_t& component = image.comps[i];
        const bool isLast = i + 1 == image.numcomps && (i == 1 || i == 3);
        if (component.alpha == 0 && !(isBare && isLast)) {
            channels.colors.push_back(&component);
        } else if (!channels.alpha) {
            channels.alpha = &component;
            channels.isPremultiplied = component.alpha == 2;
        }
    }
    if (channels.colors.empty())
        return std::nullopt;
    channels.colors.resize(colorCount(image, channels.colors.size(), profile));
    channels.isLumaChroma = channels.colors.size() == 3
        && (image.color_space == OPJ_CLRSPC_SYCC || image.color_space == OPJ_CLRSPC_EYCC
            || (image.color_space != OPJ_CLRSPC_SRGB && looksLikeLumaChroma(image)));
    if (channels.colors.size() == 4)
        channels.alpha = nullptr;
    for (const opj_image_comp_t* const component : channels.all()) {
        if (!isSound(*component))
            return std::nullopt;
        const QSize size(static_cast<int>(component->w), static_cast<int>(component->h));
        channels.size = channels.size.expandedTo(size);
        channels.precision = std::max(channels.precision, static_cast<int>(component->prec));
    }
    return channels;
}

/// Writes row `y` of `component`, widened to `width`, to every `step`th number from `to` on, as
/// 0 to 65535.
void takeRow(const opj_image_comp_t& component, QSize size, int y, quint16* to, int step)
{
    const qint64 most = (qint64(1) << component.prec) - 1;
    const qint64 shift = component.sgnd ? (most + 1) / 2 : 0;
    const qint64 row = qint64(y) * component.h / size.height();
    const OPJ_INT32* const data = component.data + row * component.w;
    const bool isWide = component.w == static_cast<OPJ_UINT32>(size.width());
    for (int x = 0; x < size.width(); ++x, to += step) {
        const qint64 column = isWide ? x : qint64(x) * component.w / size.width();
        *to = static_cast<quint16>(
            std::clamp(data[column] + shift, qint64(0), most) * 65535 / most);
    }
}

quint16 toWord(double value)
{
    // What lround() does more takes its time, and this is done for every sample.
    // NOLINTNEXTLINE(bugprone-incorrect-roundings)
    return static_cast<quint16>(std::clamp(value, 0.0, 65535.0) + 0.5);
}

/// The matrix of BT.601, full range, in place.
void lumaChromaToRgb(quint16* pixel)
{
    const double luma = pixel[0];
    const double blue = pixel[1] - 32768.0;
    const double red = pixel[2] - 32768.0;
    pixel[0] = toWord(luma + 1.402 * red);
    pixel[1] = toWord(luma - 0.344136 * blue - 0.714136 * red);
    pixel[2] = toWord(luma + 1.772 * blue);
}

void divideByAlpha(quint16* pixel, size_t colors)
{
    const quint32 alpha = pixel[colors];
    for (size_t i = 0; i < colors && alpha > 0; ++i)
        pixel[i] = static_cast<quint16>(std::min<quint32>(pixel[i], alpha) * 65535 / alpha);
}

/// Some rows at a time, 16 bits a sample, on their way into the picture.
class RowConverter {
public:
    RowConverter(const Channels& channels, const ColorProfile& profile)
        : mChannels(channels)
        , mProfile(profile)
        , mAll(channels.all())
    {
        // Setting up a conversion of colours is worth some hundred rows.
        constexpr qint64 kPixels = qint64(1) << 20;
        mRows = static_cast<int>(
            std::clamp<qint64>(kPixels / channels.size.width(), 1, channels.size.height()));
        mWords.reset(new (std::nothrow)
                quint16[size_t(mRows) * size_t(channels.size.width()) * mAll.size()]);
    }

    bool isValid() const { return mWords != nullptr; }

    /// Whether the colours come out as sRGB.
    bool converts() const { return mChannels.precision > 8 || mChannels.colors.size() == 4; }

    bool convert(QImage& image)
    {
        for (int top = 0; top < image.height(); top += mRows) {
            const int rows = std::min(mRows, image.height() - top);
            for (int row = 0; row < rows; ++row)
                readRow(top + row, wordsOf(row));
            QImage part(
                image.scanLine(top), image.width(), rows, image.bytesPerLine(), image.format());
            if (!converts())
                writeBytes(part);
            else if (!writeConverted(part))
                return false;
        }
        return true;
    }

private:
    quint16* wordsOf(int row) const
    {
        return mWords.get() + size_t(row) * size_t(mChannels.size.width()) * mAll.size();
    }

    void readRow(int y, quint16* words) const
    {
        const auto step = static_cast<int>(mAll.size());
        for (int i = 0; i < step; ++i)
            takeRow(*mAll[size_t(i)], mChannels.size, y, words + i, step);
        quint16* const end = words + qsizetype(mChannels.size.width()) * step;
        for (quint16* pixel = words; mChannels.isPremultiplied && pixel < end; pixel += step)
            divideByAlpha(pixel, mChannels.colors.size());
        for (quint16* pixel = words; mChannels.isLumaChroma && pixel < end; pixel += step)
            lumaChromaToRgb(pixel);
    }

    void writeBytes(QImage& part) const
    {
        const size_t colors = mChannels.colors.size();
        for (int y = 0; y < part.height(); ++y) {
            const quint16* words = wordsOf(y);
            auto* const pixels = reinterpret_cast<QRgb*>(part.scanLine(y));
            for (int x = 0; x < part.width(); ++x, words += mAll.size()) {
                const int red = words[0] >> 8;
                const int green = colors == 1 ? red : words[1] >> 8;
                const int blue = colors == 1 ? red : words[2] >> 8;
                const int alpha = mChannels.alpha ? words[colors] >> 8 : 255;
                pixels[x] = qPremultiply(qRgba(red, green, blue, alpha));
            }
        }
    }

    bool writeConverted(QImage& part) const
    {
        auto layout = Samples::Layout::Cmyk;
        if (mChannels.colors.size() == 1)
            layout = mChannels.alpha ? Samples::Layout::GrayAlpha : Samples::Layout::Gray;
        else if (mChannels.colors.size() == 3)
            layout = mChannels.alpha ? Samples::Layout::Rgba : Samples::Layout::Rgb;
        const auto stride
            = qsizetype(part.width()) * qsizetype(mAll.size()) * qsizetype(sizeof(quint16));
        const Samples samples { mWords.get(), stride, part.size(), layout, Samples::Depth::Bits16 };
        return convertToSrgb(samples, mProfile, part);
    }

    const Channels& mChannels;
    const ColorProfile& mProfile;
    std::vector<const opj_image_comp_t*> mAll;
    int mRows = 1;
    std::unique_ptr<quint16[]> mWords;
};

} // namespace

Result<DecodedPicture> jpeg2000Picture(
    const opj_image& image, Jpeg2000Container container, const ImageMaker& makeImage)
{
    if (image.icc_profile_buf && image.icc_profile_len == 0)
        return fail(ErrorKind::Unsupported, QStringLiteral("JPEG 2000 in CIELab"));
    DecodedPicture picture;
    if (image.icc_profile_buf)
        picture.profile
            = ColorProfile::fromIcc(QByteArray(reinterpret_cast<const char*>(image.icc_profile_buf),
                static_cast<qsizetype>(image.icc_profile_len)));
    const auto channels = channelsOf(image, container, picture.profile);
    if (!channels)
        return damaged("the JPEG 2000 has no sound components");
    RowConverter rows(*channels, picture.profile);
    picture.image = makeImage(channels->size,
        channels->alpha ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
    if (!rows.isValid() || picture.image.isNull())
        return noMemory();
    if (!rows.convert(picture.image))
        return fail(ErrorKind::Unsupported, QStringLiteral("colours beyond conversion"));
    if (rows.converts())
        picture.profile = {};
    return picture;
}

} // namespace quorvane
