// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/PngReader.h"

#include "decoder/ByteReader.h"
#include "decoder/ExifData.h"
#include "decoder/FileBytes.h"
#include "decoder/ReaderFailures.h"
#include "decoder/ToneMapping.h"

#include <png.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <optional>

namespace quorvane {

namespace {

constexpr QByteArrayView kSignature("\x89PNG\r\n\x1A\n", 8);

/// Of one chunk that the library keeps in memory, a profile above all. Bytes.
constexpr png_alloc_size_t kChunkLimit = png_alloc_size_t(32) << 20U;

/// Chunks of text and the like that the library keeps.
constexpr png_uint_32 kChunkCount = 1000;

/// The contents of the first chunk of that name, wherever it stands; empty without. Those that the
/// library does not know, or knows only in front of the pixels.
QByteArray chunkOf(const QByteArray& png, QByteArrayView name)
{
    constexpr qsizetype kHead = 8; // Length and name.
    constexpr qsizetype kAround = kHead + 4; // And the checksum.
    qsizetype place = kSignature.size();
    while (place + kHead <= png.size()) {
        const auto length = qsizetype(bigAt<quint32>(png, place));
        if (length > png.size() - place - kHead)
            break;
        if (QByteArrayView(png).sliced(place + 4, 4) == name)
            return png.mid(place + kHead, length);
        place += kAround + length;
    }
    return {};
}

/// What the rows are to be when the library delivers them.
enum class RowForm {
    Shown, ///< Four bytes a pixel: blue, green, red, and opacity or 255.
    Deep, ///< 16 bits a sample, as many samples as the file has.
    DeepColours, ///< The same, but never grey.
};

/// One pass of the library over one file. Nothing in a function between setjmp() and the library's
/// calls may need destruction: the library leaves by longjmp() when it finds an error.
class PngStream {
public:
    /// \param bytes  must outlive this object.
    explicit PngStream(const QByteArray& bytes);
    ~PngStream() { png_destroy_read_struct(&mPng, &mInfo, nullptr); }
    PngStream(const PngStream&) = delete;
    PngStream& operator=(const PngStream&) = delete;

    bool readInfo();
    bool prepare(RowForm form);

    /// All of them, each `stride` bytes behind the one before.
    bool readRows(uchar* to, qsizetype stride);

    QSize size() const;
    bool isDeep() const { return png_get_bit_depth(mPng, mInfo) == 16; }
    bool hasAlpha() const;

    /// After prepare().
    int channels() const { return png_get_channels(mPng, mInfo); }

    ColorProfile profile() const;
    const QString& message() const { return mMessage; }

private:
    static void onError(png_structp png, png_const_charp message);
    static void onWarning(png_structp, png_const_charp) { }
    static void onRead(png_structp png, png_bytep to, png_size_t size);
    ColorProfile gammaProfile() const;

    const QByteArray* mBytes;
    qsizetype mPlace = 0;
    QString mMessage;
    png_structp mPng = nullptr;
    png_infop mInfo = nullptr;
};

PngStream::PngStream(const QByteArray& bytes)
    : mBytes(&bytes)
    , mPng(png_create_read_struct(PNG_LIBPNG_VER_STRING, this, &onError, &onWarning))
    , mInfo(mPng ? png_create_info_struct(mPng) : nullptr)
{
}

void PngStream::onError(png_structp png, png_const_charp message)
{
    static_cast<PngStream*>(png_get_error_ptr(png))->mMessage = QString::fromLatin1(message);
    png_longjmp(png, 1);
}

void PngStream::onRead(png_structp png, png_bytep to, png_size_t size)
{
    auto* const self = static_cast<PngStream*>(png_get_io_ptr(png));
    const auto count = static_cast<qsizetype>(size);
    if (count > self->mBytes->size() - self->mPlace)
        png_error(png, "ends too soon");
    std::memcpy(to, self->mBytes->constData() + self->mPlace, size);
    self->mPlace += count;
}

bool PngStream::readInfo()
{
    if (!mInfo || setjmp(png_jmpbuf(mPng)))
        return false;
    png_set_read_fn(mPng, this, &onRead);
    png_set_user_limits(mPng, PNG_UINT_31_MAX, PNG_UINT_31_MAX); // isReasonable() judges.
    png_set_chunk_malloc_max(mPng, kChunkLimit);
    png_set_chunk_cache_max(mPng, kChunkCount);
    png_set_benign_errors(mPng, 1);
    png_read_info(mPng, mInfo);
    return true;
}

QSize PngStream::size() const
{
    return { static_cast<int>(png_get_image_width(mPng, mInfo)),
        static_cast<int>(png_get_image_height(mPng, mInfo)) };
}

bool PngStream::hasAlpha() const
{
    return (png_get_color_type(mPng, mInfo) & PNG_COLOR_MASK_ALPHA) != 0
        || png_get_valid(mPng, mInfo, PNG_INFO_tRNS) != 0;
}

bool PngStream::prepare(RowForm form)
{
    const bool opaque = !hasAlpha();
    if (setjmp(png_jmpbuf(mPng)))
        return false;
    png_set_expand(mPng);
    if (form != RowForm::Deep)
        png_set_gray_to_rgb(mPng);
    if (form == RowForm::Shown) {
        png_set_scale_16(mPng);
        png_set_bgr(mPng);
        if (opaque)
            png_set_filler(mPng, 0xFF, PNG_FILLER_AFTER);
    } else {
        png_set_expand_16(mPng);
        if (QSysInfo::ByteOrder == QSysInfo::LittleEndian)
            png_set_swap(mPng);
    }
    png_set_interlace_handling(mPng);
    png_read_update_info(mPng, mInfo);
    return true;
}

bool PngStream::readRows(uchar* to, qsizetype stride)
{
    if (setjmp(png_jmpbuf(mPng)))
        return false;
    const int passes = png_get_interlace_type(mPng, mInfo) == PNG_INTERLACE_NONE
        ? 1
        : PNG_INTERLACE_ADAM7_PASSES;
    const auto height = static_cast<qsizetype>(png_get_image_height(mPng, mInfo));
    for (int pass = 0; pass < passes; ++pass) {
        for (qsizetype y = 0; y < height; ++y)
            png_read_row(mPng, to + y * stride, nullptr);
    }
    return true;
}

ColorProfile PngStream::gammaProfile() const
{
    constexpr double kOrdinary = 0.45455;
    double gamma = kOrdinary;
    ColorProfile::Chromaticities c { 0.3127, 0.3290, 0.64, 0.33, 0.30, 0.60, 0.15, 0.06 };
    png_get_gAMA(mPng, mInfo, &gamma);
    png_get_cHRM(mPng, mInfo, &c.whiteX, &c.whiteY, &c.redX, &c.redY, &c.greenX, &c.greenY,
        &c.blueX, &c.blueY);
    return ColorProfile::fromGamma(gamma, c);
}

ColorProfile PngStream::profile() const
{
    png_charp name = nullptr;
    int compression = 0;
    png_bytep icc = nullptr;
    png_uint_32 length = 0;
    if (png_get_iCCP(mPng, mInfo, &name, &compression, &icc, &length) != 0)
        return ColorProfile::fromIcc(
            { reinterpret_cast<const char*>(icc), static_cast<qsizetype>(length) });
    int intent = 0;
    if (png_get_sRGB(mPng, mInfo, &intent) != 0)
        return {};
    return gammaProfile();
}

/// ITU-T H.273's numbers, as a cICP chunk has them.
struct CodePoints {
    int primaries;
    int transfer;
};

std::optional<CodePoints> codePointsOf(const QByteArray& png)
{
    const QByteArray chunk = chunkOf(png, "cICP");
    if (chunk.size() != 4)
        return {};
    return CodePoints { static_cast<unsigned char>(chunk[0]),
        static_cast<unsigned char>(chunk[1]) };
}

/// Multiplies the opacity into the colours. \return false if everything is opaque.
bool premultiply(QImage& image)
{
    QRgb common = 0xFF000000;
    for (int y = 0; y < image.height(); ++y) {
        auto* const row = reinterpret_cast<QRgb*>(image.scanLine(y));
        QRgb ofRow = 0xFF000000;
        for (int x = 0; x < image.width(); ++x)
            ofRow &= row[x];
        if (ofRow != 0xFF000000)
            std::transform(
                row, row + image.width(), row, [](QRgb pixel) { return qPremultiply(pixel); });
        common &= ofRow;
    }
    return common != 0xFF000000;
}

Samples::Layout layoutOf(int channels)
{
    switch (channels) {
    case 1:
        return Samples::Layout::Gray;
    case 2:
        return Samples::Layout::GrayAlpha;
    case 3:
        return Samples::Layout::Rgb;
    default:
        return Samples::Layout::Rgba;
    }
}

class PngReader : public PictureReader {
public:
    PngReader(QByteArray bytes, PictureHeader header)
        : mBytes(std::move(bytes))
        , mHeader(header)
        , mCodePoints(codePointsOf(mBytes))
    {
    }

    PictureHeader header() const override { return mHeader; }
    Result<DecodedPicture> decode(QSize wanted, const ImageMaker& makeImage) override;

private:
    Result<DecodedPicture> decodeShown(
        PngStream& stream, ColorProfile profile, const ImageMaker& makeImage) const;
    Result<DecodedPicture> decodeDeep(
        PngStream& stream, const ColorProfile& profile, const ImageMaker& makeImage) const;
    bool isHdr() const { return mCodePoints && isHighDynamicRange(mCodePoints->transfer); }

    QByteArray mBytes;
    PictureHeader mHeader;
    std::optional<CodePoints> mCodePoints;
};

Result<DecodedPicture> PngReader::decode(QSize, const ImageMaker& makeImage)
{
    PngStream stream(mBytes);
    if (!stream.readInfo())
        return fail(ErrorKind::Damaged, stream.message());
    ColorProfile profile = mCodePoints
        ? ColorProfile::fromCodePoints(mCodePoints->primaries, mCodePoints->transfer)
        : stream.profile();
    if (isHdr() || (stream.isDeep() && !profile.isSrgb()))
        return decodeDeep(stream, profile, makeImage);
    return decodeShown(stream, std::move(profile), makeImage);
}

Result<DecodedPicture> PngReader::decodeShown(
    PngStream& stream, ColorProfile profile, const ImageMaker& makeImage) const
{
    const bool hasAlpha = stream.hasAlpha();
    QImage image = makeImage(
        mHeader.size, hasAlpha ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
    if (image.isNull())
        return noMemory();
    if (!stream.prepare(RowForm::Shown) || stream.channels() != 4
        || !stream.readRows(image.bits(), image.bytesPerLine()))
        return fail(ErrorKind::Damaged, stream.message());
    if (hasAlpha && !premultiply(image))
        image.reinterpretAsFormat(QImage::Format_RGB32);
    return DecodedPicture { std::move(image), std::move(profile) };
}

Result<DecodedPicture> PngReader::decodeDeep(
    PngStream& stream, const ColorProfile& profile, const ImageMaker& makeImage) const
{
    if (!stream.prepare(isHdr() ? RowForm::DeepColours : RowForm::Deep))
        return fail(ErrorKind::Damaged, stream.message());
    const Samples::Layout layout = layoutOf(stream.channels());
    const qsizetype rowSize = qsizetype(mHeader.size.width()) * stream.channels();
    const std::unique_ptr<quint16[]> values(
        new (std::nothrow) quint16[static_cast<size_t>(rowSize * mHeader.size.height())]);
    const auto stride = rowSize * qsizetype(sizeof(quint16));
    QImage image = makeImage(mHeader.size,
        stream.hasAlpha() ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
    if (!values || image.isNull())
        return noMemory();
    if (!stream.readRows(reinterpret_cast<uchar*>(values.get()), stride))
        return fail(ErrorKind::Damaged, stream.message());
    const Samples samples { values.get(), stride, mHeader.size, layout, Samples::Depth::Bits16 };
    if (isHdr())
        toneMapCoded(samples, mCodePoints->primaries, mCodePoints->transfer, image);
    else if (!convertToSrgb(samples, profile, image))
        convertToSrgb(samples, {}, image);
    return DecodedPicture { std::move(image), {} };
}

} // namespace

bool isPng(const QByteArray& head) { return head.startsWith(kSignature); }

OpenedPicture openPng(FileBytes& file)
{
    auto bytes = file.all();
    if (!bytes)
        return tl::unexpected(bytes.error());
    PngStream stream(*bytes);
    if (!stream.readInfo())
        return fail(ErrorKind::Damaged, stream.message());
    const PictureHeader header { stream.size(),
        PictureExif(chunkOf(*bytes, "eXIf")).orientation() };
    if (!isReasonable(header.size))
        return fail(ErrorKind::TooLarge,
            QStringLiteral("%1x%2").arg(header.size.width()).arg(header.size.height()));
    return std::make_unique<PngReader>(std::move(*bytes), header);
}

} // namespace quorvane
