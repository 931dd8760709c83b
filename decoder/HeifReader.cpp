// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/HeifReader.h"

#include "decoder/FileBytes.h"
#include "decoder/HeifGeometry.h"
#include "decoder/PlanarPicture.h"
#include "decoder/ToneMapping.h"

#include <QtEndian>

#include <libheif/heif.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace quorvane {

namespace {

template <auto Release> struct Releaser {
    template <typename T> void operator()(T* object) const { Release(object); }
};
using Context = std::unique_ptr<heif_context, Releaser<heif_context_free>>;
using Handle = std::unique_ptr<const heif_image_handle, Releaser<heif_image_handle_release>>;
using HeifImage = std::unique_ptr<heif_image, Releaser<heif_image_release>>;
using Nclx = std::unique_ptr<heif_color_profile_nclx, Releaser<heif_nclx_color_profile_free>>;
using Options = std::unique_ptr<heif_decoding_options, Releaser<heif_decoding_options_free>>;

ErrorKind kindOf(const heif_error& error)
{
    if (error.subcode == heif_suberror_Security_limit_exceeded)
        return ErrorKind::TooLarge;
    switch (error.code) {
    case heif_error_Unsupported_filetype:
    case heif_error_Unsupported_feature:
        return ErrorKind::Unsupported;
    case heif_error_Memory_allocation_error:
        return ErrorKind::TooLarge;
    default:
        return ErrorKind::Damaged;
    }
}

tl::unexpected<Error> failure(const heif_error& error)
{
    return fail(kindOf(error), QString::fromUtf8(error.message));
}

tl::unexpected<Error> noMemory()
{
    return fail(ErrorKind::TooLarge, QStringLiteral("no memory for the pixels"));
}

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

/// One of the pictures in a file.
struct Item {
    Handle handle;
    QSize size; ///< Upright.
};

class HeifReader final : public PictureReader {
public:
    HeifReader(QByteArray bytes, Context context, Item item)
        : mBytes(std::move(bytes))
        , mContext(std::move(context))
        , mHandle(std::move(item.handle))
        , mSize(item.size)
    {
    }

    PictureHeader header() const override { return { mSize, 1 }; }
    Result<DecodedPicture> decode(QSize wanted, const ImageMaker& makeImage) override;

private:
    Result<HeifImage> decodedAs(heif_colorspace colorSpace, heif_chroma chroma) const;
    Result<DecodedPicture> decodeShallow(QSize wanted, const ImageMaker& makeImage) const;
    Result<DecodedPicture> decodeDeep(const ImageMaker& makeImage) const;
    Result<DecodedPicture> pictureOf(
        const PlanarPicture& planes, int divisor, const ImageMaker& makeImage) const;

    bool isPremultiplied() const
    {
        return heif_image_handle_is_premultiplied_alpha(mHandle.get()) != 0;
    }
    CodePoints codePoints() const;
    ColorProfile profile() const;

    QByteArray mBytes; ///< The library reads from it as long as the context lives.
    Context mContext;
    Handle mHandle;
    QSize mSize; ///< Upright.
};

CodePoints HeifReader::codePoints() const
{
    heif_color_profile_nclx* nclx = nullptr;
    heif_image_handle_get_nclx_color_profile(mHandle.get(), &nclx);
    return codePointsOf(Nclx(nclx));
}

ColorProfile HeifReader::profile() const
{
    const size_t size = heif_image_handle_get_raw_color_profile_size(mHandle.get());
    const auto type = heif_image_handle_get_color_profile_type(mHandle.get());
    const bool isIcc = type == heif_color_profile_type_rICC || type == heif_color_profile_type_prof;
    if (isIcc && size > 0) {
        QByteArray bytes(static_cast<qsizetype>(size), Qt::Uninitialized);
        if (heif_image_handle_get_raw_color_profile(mHandle.get(), bytes.data()).code
            == heif_error_Ok)
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
    const heif_error error
        = heif_decode_image(mHandle.get(), &image, colorSpace, chroma, options.get());
    HeifImage result(image);
    if (error.code != heif_error_Ok)
        return failure(error);
    heif_error warning {};
    if (heif_image_get_decoding_warnings(result.get(), 0, &warning, 1) > 0)
        return fail(ErrorKind::Damaged, QString::fromUtf8(warning.message));
    const QSize decoded { heif_image_get_primary_width(result.get()),
        heif_image_get_primary_height(result.get()) };
    if (decoded != mSize)
        return fail(ErrorKind::Damaged, QStringLiteral("the header tells another size"));
    return result;
}

Result<DecodedPicture> HeifReader::decode(QSize wanted, const ImageMaker& makeImage)
{
    return heif_image_handle_get_luma_bits_per_pixel(mHandle.get()) > 8
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
    const PlanarPicture planes { mSize, planeOf(image, heif_channel_R, mSize),
        planeOf(image, heif_channel_G, mSize), planeOf(image, heif_channel_B, mSize),
        planeOf(image, heif_channel_Alpha, mSize), isPremultiplied() };
    const bool isAlphaUsable
        = planes.alpha.data || !heif_image_has_channel(image, heif_channel_Alpha);
    if (!planes.red.data || !planes.green.data || !planes.blue.data || !isAlphaUsable)
        return fail(ErrorKind::Unsupported, QStringLiteral("samples of an unknown kind"));
    return pictureOf(planes, divisorFor(mSize, wanted), makeImage);
}

Result<DecodedPicture> HeifReader::pictureOf(
    const PlanarPicture& planes, int divisor, const ImageMaker& makeImage) const
{
    const auto format
        = planes.alpha.data ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32;
    QImage image = makeImage(dividedSize(mSize, divisor), format);
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
    const bool hasAlpha = heif_image_handle_has_alpha_channel(mHandle.get()) != 0;
    QImage image
        = makeImage(mSize, hasAlpha ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
    if (image.isNull())
        return noMemory();
    const CodePoints colors = codePoints();
    if (isHighDynamicRange(colors.transfer))
        toneMapCoded(deep.samples(), colors.primaries, colors.transfer, image);
    else if (!convertToSrgb(deep.samples(), profile(), image))
        return fail(ErrorKind::Unsupported, QStringLiteral("colours that cannot be converted"));
    return DecodedPicture { std::move(image), {} };
}

/// The brands of the file's first box: the major one first.
std::vector<QByteArrayView> brandsOf(const QByteArray& head)
{
    constexpr qsizetype kHeader = 8;
    if (head.size() < kHeader + 8 || head.sliced(4, 4) != "ftyp")
        return {};
    const qsizetype size
        = std::min<qsizetype>(qFromBigEndian<quint32>(head.constData()), head.size());
    std::vector<QByteArrayView> brands;
    for (qsizetype at = kHeader; at + 4 <= size; at += 4) {
        if (at != kHeader + 4) // The version of the major brand.
            brands.push_back(QByteArrayView(head).sliced(at, 4));
    }
    return brands;
}

bool isPictureBrand(QByteArrayView brand)
{
    constexpr std::array<const char*, 16> kBrands { "heic", "heix", "heim", "heis", "hevc", "hevx",
        "hevm", "hevs", "mif1", "mif2", "mif3", "msf1", "avif", "avis", "avio", "miaf" };
    return std::any_of(kBrands.begin(), kBrands.end(),
        [&](const char* known) { return brand == QByteArrayView(known, 4); });
}

bool isMovieBrand(QByteArrayView brand)
{
    return brand.startsWith("iso") || brand.startsWith("mp4") || brand.startsWith("qt")
        || brand.startsWith("M4") || brand.startsWith("3g") || brand.startsWith("crx");
}

/// A context that has read `bytes`, which must outlive it.
Result<Context> contextOf(const QByteArray& bytes)
{
    Context context(heif_context_alloc());
    if (!context)
        return noMemory();
    const heif_error error = heif_context_read_from_memory_without_copy(
        context.get(), bytes.constData(), static_cast<size_t>(bytes.size()), nullptr);
    if (error.code != heif_error_Ok)
        return failure(error);
    return context;
}

Item itemOf(const QByteArray& bytes, heif_item_id id, Handle handle)
{
    const QSize told { heif_image_handle_get_width(handle.get()),
        heif_image_handle_get_height(handle.get()) };
    return { std::move(handle), uprightHeifSize(bytes, id).value_or(told) };
}

Result<Item> primaryOf(const QByteArray& bytes, const Context& context)
{
    heif_item_id id = 0;
    heif_image_handle* handle = nullptr;
    heif_error error = heif_context_get_primary_image_ID(context.get(), &id);
    if (error.code == heif_error_Ok)
        error = heif_context_get_image_handle(context.get(), id, &handle);
    if (error.code != heif_error_Ok)
        return failure(error);
    return itemOf(bytes, id, Handle(handle));
}

/// Whether `small` is `large` made smaller, by its shape: within a tenth, since small pictures are
/// rounded.
bool haveSameShape(QSize small, QSize large)
{
    const double ratio = double(small.width()) * large.height();
    const double wanted = double(small.height()) * large.width();
    return ratio > wanted * 0.9 && ratio < wanted * 1.1;
}

Result<Item> thumbnailOf(const QByteArray& bytes, const Item& picture)
{
    heif_item_id id = 0;
    heif_image_handle* handle = nullptr;
    const heif_image_handle* const owner = picture.handle.get();
    if (heif_image_handle_get_list_of_thumbnail_IDs(owner, &id, 1) < 1
        || heif_image_handle_get_thumbnail(owner, id, &handle).code != heif_error_Ok)
        return fail(ErrorKind::NotFound, QStringLiteral("no small picture in it"));
    Item thumbnail = itemOf(bytes, id, Handle(handle));
    if (!haveSameShape(thumbnail.size, picture.size))
        return fail(ErrorKind::NotFound, QStringLiteral("its small picture is another one"));
    return thumbnail;
}

enum class Which { Primary, Thumbnail };

OpenedPicture openItem(FileBytes& file, Which which)
{
    auto bytes = file.all();
    if (!bytes)
        return tl::unexpected(bytes.error());
    auto context = contextOf(*bytes);
    if (!context)
        return tl::unexpected(context.error());
    auto item = primaryOf(*bytes, *context);
    if (item && which == Which::Thumbnail)
        item = thumbnailOf(*bytes, *item);
    if (!item)
        return tl::unexpected(item.error());
    if (item->size.isEmpty())
        return fail(ErrorKind::Damaged, QStringLiteral("a picture without a size"));
    if (!isReasonable(item->size))
        return fail(ErrorKind::TooLarge, QStringLiteral("more pixels than can be shown"));
    return std::make_unique<HeifReader>(std::move(*bytes), std::move(*context), std::move(*item));
}

} // namespace

bool isHeif(const QByteArray& head)
{
    const auto brands = brandsOf(head);
    if (brands.empty())
        return false;
    return isPictureBrand(brands.front())
        || (!isMovieBrand(brands.front())
            && std::any_of(brands.begin(), brands.end(), isPictureBrand));
}

OpenedPicture openHeif(FileBytes& file) { return openItem(file, Which::Primary); }

OpenedPicture openHeifThumbnail(FileBytes& file) { return openItem(file, Which::Thumbnail); }

} // namespace quorvane
