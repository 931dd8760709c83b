// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/HeifReader.h"

#include "decoder/FileBytes.h"
#include "decoder/HeifFile.h"
#include "decoder/HeifRecognition.h"
#include "decoder/PlanarPicture.h"
#include "decoder/ReaderFailures.h"
#include "decoder/ToneMapping.h"

#include <libheif/heif.h>

#include <algorithm>
#include <cstdint>

namespace quorvane {

namespace {

template <auto Release> struct Releaser {
    template <typename T> void operator()(T* object) const { Release(object); }
};
using HeifImage = std::unique_ptr<heif_image, Releaser<heif_image_release>>;
using Nclx = std::unique_ptr<heif_color_profile_nclx, Releaser<heif_nclx_color_profile_free>>;
using Options = std::unique_ptr<heif_decoding_options, Releaser<heif_decoding_options_free>>;

/// What numbers of a picture mean, as the container or the codec says. Nothing said: -1.
struct CodePoints {
    int primaries = -1;
    int transfer = -1;
};

CodePoints codePointsOf(const Nclx& nclx)
{
    if (!nclx)
        return {};
    return { nclx->color_primaries, nclx->transfer_characteristics };
}

/// \return  no plane when it is not of this size and of eight bits.
Plane planeOf(const heif_image* image, heif_channel channel, QSize size)
{
    const QSize own { heif_image_get_width(image, channel), heif_image_get_height(image, channel) };
    if (!heif_image_has_channel(image, channel) || own != size
        || heif_image_get_bits_per_pixel_range(image, channel) != 8)
        return {};
    int stride = 0;
    const uint8_t* const data = heif_image_get_plane_readonly(image, channel, &stride);
    return { data, stride };
}

class HeifReader final : public PictureReader {
public:
    HeifReader(HeifFile file, HeifItem item)
        : mFile(std::move(file))
        , mItem(std::move(item))
    {
    }

    PictureHeader header() const override { return { size(), 1 }; }
    Result<DecodedPicture> decode(QSize wanted, const ImageMaker& makeImage) override;

private:
    Result<HeifImage> decodedAs(heif_colorspace colorSpace, heif_chroma chroma) const;
    Result<DecodedPicture> decodeShallow(QSize wanted, const ImageMaker& makeImage) const;
    Result<DecodedPicture> decodeDeep(const ImageMaker& makeImage) const;
    Result<DecodedPicture> pictureOf(
        const PlanarPicture& planes, int divisor, const ImageMaker& makeImage) const;

    bool isPremultiplied() const { return heif_image_handle_is_premultiplied_alpha(handle()) != 0; }
    CodePoints codePoints() const;
    ColorProfile profile() const;

    const heif_image_handle* handle() const { return mItem.handle.get(); }
    QSize size() const { return mItem.size; }

    HeifFile mFile; ///< Outlives the item.
    HeifItem mItem;
};

CodePoints HeifReader::codePoints() const
{
    heif_color_profile_nclx* nclx = nullptr;
    heif_image_handle_get_nclx_color_profile(handle(), &nclx);
    return codePointsOf(Nclx(nclx));
}

ColorProfile HeifReader::profile() const
{
    const size_t size = heif_image_handle_get_raw_color_profile_size(handle());
    const auto type = heif_image_handle_get_color_profile_type(handle());
    const bool isIcc = type == heif_color_profile_type_rICC || type == heif_color_profile_type_prof;
    if (isIcc && size > 0) {
        QByteArray bytes(static_cast<qsizetype>(size), Qt::Uninitialized);
        if (heif_image_handle_get_raw_color_profile(handle(), bytes.data()).code == heif_error_Ok)
            return ColorProfile::fromIcc(bytes);
    }
    const CodePoints colors = codePoints();
    return colors.primaries < 0 ? ColorProfile()
                                : ColorProfile::fromCodePoints(colors.primaries, colors.transfer);
}

Result<HeifImage> HeifReader::decodedAs(heif_colorspace colorSpace, heif_chroma chroma) const
{
    const Options options(heif_decoding_options_alloc());
    heif_image* image = nullptr;
    const heif_error error = heif_decode_image(handle(), &image, colorSpace, chroma, options.get());
    HeifImage result(image);
    if (error.code != heif_error_Ok)
        return heifFailure(error);
    heif_error warning {};
    if (heif_image_get_decoding_warnings(result.get(), 0, &warning, 1) > 0)
        return fail(ErrorKind::Damaged, QString::fromUtf8(warning.message));
    const QSize decoded { heif_image_get_primary_width(result.get()),
        heif_image_get_primary_height(result.get()) };
    if (decoded != size())
        return damaged("the header tells another size");
    return result;
}

Result<DecodedPicture> HeifReader::decode(QSize wanted, const ImageMaker& makeImage)
{
    return heif_image_handle_get_luma_bits_per_pixel(handle()) > 8
        ? decodeDeep(makeImage)
        : decodeShallow(wanted, makeImage);
}

/// Brings eight bits that mean more light than sRGB has within what a screen can show.
void toneMapInPlace(QImage& image, const CodePoints& colors)
{
    QImage deep = image.convertToFormat(QImage::Format_RGBA64);
    const Samples samples { deep.constBits(), deep.bytesPerLine(), deep.size(),
        Samples::Layout::Rgba, Samples::Depth::Bits16 };
    toneMapCoded(samples, colors.primaries, colors.transfer, image);
}

Result<DecodedPicture> HeifReader::decodeShallow(QSize wanted, const ImageMaker& makeImage) const
{
    // In planes, since that is how the library has them at the end, and it spares it a copy.
    auto decoded = decodedAs(heif_colorspace_RGB, heif_chroma_444);
    if (!decoded)
        return tl::unexpected(decoded.error());
    const heif_image* const image = decoded->get();
    const PlanarPicture planes { size(), planeOf(image, heif_channel_R, size()),
        planeOf(image, heif_channel_G, size()), planeOf(image, heif_channel_B, size()),
        planeOf(image, heif_channel_Alpha, size()), isPremultiplied() };
    const bool isAlphaUsable
        = planes.alpha.data || !heif_image_has_channel(image, heif_channel_Alpha);
    if (!planes.red.data || !planes.green.data || !planes.blue.data || !isAlphaUsable)
        return fail(ErrorKind::Unsupported, QStringLiteral("samples of an unknown kind"));
    return pictureOf(planes, divisorFor(size(), wanted), makeImage);
}

Result<DecodedPicture> HeifReader::pictureOf(
    const PlanarPicture& planes, int divisor, const ImageMaker& makeImage) const
{
    const auto format
        = planes.alpha.data ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32;
    QImage image = makeImage(dividedSize(size(), divisor), format);
    if (image.isNull())
        return noMemory();
    makePixels(planes, divisor, image);
    const CodePoints colors = codePoints();
    if (isHighDynamicRange(colors.transfer)) {
        toneMapInPlace(image, colors);
        return DecodedPicture { std::move(image), {} };
    }
    return DecodedPicture { std::move(image), profile() };
}

/// The interleaved samples of a decoded picture, brought to the whole range of 16 bits.
class DeepSamples {
public:
    explicit DeepSamples(const HeifImage& image)
        : mSize(
            heif_image_get_primary_width(image.get()), heif_image_get_primary_height(image.get()))
        , mBits(heif_image_get_bits_per_pixel_range(image.get(), heif_channel_interleaved))
        , mBytes(heif_image_get_plane(image.get(), heif_channel_interleaved, &mStride))
    {
    }

    bool isUsable() const { return mBytes && mBits > 8 && mBits <= 16; }

    /// In place: the library's image is not used for anything else.
    void widen(bool isPremultiplied) const
    {
        const int up = 16 - mBits;
        const int down = std::max(2 * mBits - 16, 0);
        for (int y = 0; y < mSize.height(); ++y) {
            auto* const row = reinterpret_cast<std::uint16_t*>(mBytes + y * qsizetype(mStride));
            for (int i = 0; i < mSize.width() * 4; ++i)
                row[i] = static_cast<std::uint16_t>(row[i] << up | row[i] >> down);
            if (isPremultiplied)
                divideByAlpha(row);
        }
    }

    Samples samples() const
    {
        return { mBytes, mStride, mSize, Samples::Layout::Rgba, Samples::Depth::Bits16 };
    }

private:
    void divideByAlpha(std::uint16_t* pixel) const
    {
        for (int x = 0; x < mSize.width(); ++x, pixel += 4) {
            const std::uint32_t alpha = pixel[3];
            for (int i = 0; i < 3 && alpha > 0; ++i) {
                pixel[i] = static_cast<std::uint16_t>(
                    std::min((pixel[i] * 65535U + alpha / 2) / alpha, 65535U));
            }
        }
    }

    QSize mSize;
    int mStride = 0;
    int mBits;
    std::uint8_t* mBytes;
};

Result<DecodedPicture> HeifReader::decodeDeep(const ImageMaker& makeImage) const
{
    constexpr bool kIsLittle = Q_BYTE_ORDER == Q_LITTLE_ENDIAN;
    auto decoded = decodedAs(heif_colorspace_RGB,
        kIsLittle ? heif_chroma_interleaved_RRGGBBAA_LE : heif_chroma_interleaved_RRGGBBAA_BE);
    if (!decoded)
        return tl::unexpected(decoded.error());
    const DeepSamples deep(*decoded);
    if (!deep.isUsable())
        return fail(ErrorKind::Unsupported, QStringLiteral("samples of an unknown kind"));
    deep.widen(isPremultiplied());
    const bool hasAlpha = heif_image_handle_has_alpha_channel(handle()) != 0;
    QImage image
        = makeImage(size(), hasAlpha ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
    if (image.isNull())
        return noMemory();
    const CodePoints colors = codePoints();
    if (isHighDynamicRange(colors.transfer))
        toneMapCoded(deep.samples(), colors.primaries, colors.transfer, image);
    else if (!convertToSrgb(deep.samples(), profile(), image))
        return fail(ErrorKind::Unsupported, QStringLiteral("colours that cannot be converted"));
    return DecodedPicture { std::move(image), {} };
}

enum class Which { Primary, Thumbnail };

OpenedPicture openItem(FileBytes& file, Which which)
{
    auto bytes = file.all();
    if (!bytes)
        return tl::unexpected(bytes.error());
    auto heif = HeifFile::read(std::move(*bytes));
    if (!heif)
        return tl::unexpected(heif.error());
    auto item = heif->primary();
    if (item && which == Which::Thumbnail)
        item = heif->thumbnailOf(*item);
    if (!item)
        return tl::unexpected(item.error());
    if (item->size.isEmpty())
        return damaged("a picture without a size");
    if (!isReasonable(item->size))
        return tooManyPixels();
    return std::make_unique<HeifReader>(std::move(*heif), std::move(*item));
}

} // namespace

bool isHeif(const QByteArray& head) { return hasHeifBrand(head); }

OpenedPicture openHeif(FileBytes& file) { return openItem(file, Which::Primary); }

OpenedPicture openHeifThumbnail(FileBytes& file) { return openItem(file, Which::Thumbnail); }

} // namespace quorvane
