// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/JpegReader.h"

#include "decoder/ExifData.h"
#include "decoder/FileBytes.h"
#include "decoder/JpegSegments.h"
#include "decoder/ReaderFailures.h"

#include <turbojpeg.h>

#include <algorithm>
#include <array>
#include <span>
#include <vector>

namespace quorvane {

namespace {

constexpr char kStartOfScan[] = "\xFF\xDA";
constexpr char kEndOfImage[] = "\xFF\xD9";

using Decompressor = std::unique_ptr<void, decltype(&tjDestroy)>;

struct StoredForm {
    QSize size;
    int colorspace = 0;

    bool isOfInks() const { return colorspace == TJCS_CMYK || colorspace == TJCS_YCCK; }
};

const unsigned char* unsignedBytes(const QByteArray& bytes)
{
    return reinterpret_cast<const unsigned char*>(bytes.constData());
}

Result<StoredForm> readForm(void* decompressor, const QByteArray& bytes)
{
    StoredForm form;
    int width = 0;
    int height = 0;
    int subsampling = 0;
    // Whether it succeeds says little: tables without a picture are a success, a warning is none.
    tjDecompressHeader3(decompressor, unsignedBytes(bytes),
        static_cast<unsigned long>(bytes.size()), &width, &height, &subsampling, &form.colorspace);
    if (width <= 0 || height <= 0)
        return fail(ErrorKind::Unsupported, QString::fromLatin1(tjGetErrorStr2(decompressor)));
    form.size = { width, height };
    return form;
}

/// The library is quick at a half, a quarter and an eighth; beyond five eighths it takes longer
/// than for the whole picture, and scaling that afterwards looks better.
bool isWorthwhile(const tjscalingfactor& factor) { return 8 * factor.num <= 5 * factor.denom; }

/// The size to decode to: the smallest that the library reaches with profit and that is large
/// enough in both directions.
QSize decodedSize(QSize size, QSize wanted)
{
    int count = 0;
    const tjscalingfactor* const factors = tjGetScalingFactors(&count);
    QSize best = size;
    for (const tjscalingfactor& factor : std::span(factors, static_cast<size_t>(count))) {
        const QSize scaled(TJSCALED(size.width(), factor), TJSCALED(size.height(), factor));
        const bool isEnough
            = scaled.width() >= wanted.width() && scaled.height() >= wanted.height();
        if (isEnough && isWorthwhile(factor) && scaled.width() <= best.width()
            && scaled.height() <= best.height())
            best = scaled;
    }
    return best;
}

/// Whether the pixels begin but no end marker follows: the file is cut short, somewhere in them or
/// just behind.
bool lacksEnd(const QByteArray& bytes)
{
    const auto end = bytes.lastIndexOf(kEndOfImage);
    return end < 0 || bytes.indexOf(kStartOfScan, end) >= 0;
}

/// Whether the decoder only warned, of something that the eye can bear. Its words must be looked
/// at: once it has warned, it calls what stops it a warning, too.
bool isBearable(const QByteArray& message)
{
    static constexpr std::array kBearable { "Corrupt JPEG data",
        "Inconsistent progression sequence", "Invalid SOS parameters for sequential",
        "Unknown Adobe color transform", "Warning: unknown JFIF revision" };
    return std::any_of(kBearable.begin(), kBearable.end(),
        [&](const char* beginning) { return message.startsWith(beginning); });
}

/// Memory for the library to write into.
struct Destination {
    unsigned char* pixels;
    QSize size;
    int stride;
    int format; ///< The library's.
};

/// Fills `to`. \return false when it is not to be shown: the decoder's last error says why.
bool decompress(void* decompressor, const QByteArray& bytes, const Destination& to)
{
    const bool cut = lacksEnd(bytes);
    // With an end marker the decoder warns only if more than that marker is missing.
    const QByteArray whole = cut ? bytes + kEndOfImage : bytes;
    const int failed = tjDecompress2(decompressor, unsignedBytes(whole),
        static_cast<unsigned long>(whole.size()), to.pixels, to.size.width(), to.stride,
        to.size.height(), to.format, TJFLAG_LIMITSCANS);
    return !failed
        || (!cut && tjGetErrorCode(decompressor) == TJERR_WARNING
            && isBearable(tjGetErrorStr2(decompressor)));
}

/// What the segments before the pixels say of them.
struct Description {
    int orientation = 1;
    ColorProfile profile;
    bool areInksInverted = false;
    bool isArithmetic = false;
};

Description descriptionOf(const QByteArray& jpeg)
{
    const auto segments = jpegSegments(jpeg);
    const PictureExif exif(exifDataOf(segments));
    const QByteArray icc = iccProfileOf(segments);
    Description description { exif.orientation(), {}, hasAdobeSegment(segments),
        isArithmetic(segments) };
    if (!icc.isEmpty())
        description.profile = ColorProfile::fromIcc(icc);
    else if (exif.isAdobeRgb())
        description.profile = ColorProfile::adobeRgb();
    return description;
}

class JpegReader : public PictureReader {
public:
    JpegReader(
        QByteArray bytes, Decompressor decompressor, StoredForm form, Description description)
        : mBytes(std::move(bytes))
        , mDecompressor(std::move(decompressor))
        , mForm(form)
        , mDescription(std::move(description))
    {
    }

    PictureHeader header() const override { return { mForm.size, mDescription.orientation }; }
    Result<DecodedPicture> decode(QSize wanted, const ImageMaker& makeImage) override;

private:
    Result<void> decodeColours(QImage& image);
    Result<void> decodeInks(QImage& image);
    tl::unexpected<Error> damaged() const
    {
        return fail(ErrorKind::Damaged, QString::fromLatin1(tjGetErrorStr2(mDecompressor.get())));
    }

    QByteArray mBytes;
    Decompressor mDecompressor;
    StoredForm mForm;
    Description mDescription;
};

Result<DecodedPicture> JpegReader::decode(QSize wanted, const ImageMaker& makeImage)
{
    // The decoder does not notice where the data of that coding end, and goes on with black or
    // grey.
    if (mDescription.isArithmetic && lacksEnd(mBytes))
        return fail(ErrorKind::Damaged, QStringLiteral("ends too soon"));
    const QSize size = decodedSize(mForm.size, wanted);
    if (!isReasonable(size))
        return fail(
            ErrorKind::TooLarge, QStringLiteral("%1x%2").arg(size.width()).arg(size.height()));
    QImage image = makeImage(size, QImage::Format_RGB32);
    if (image.isNull())
        return noMemory();
    if (auto done = mForm.isOfInks() ? decodeInks(image) : decodeColours(image); !done)
        return tl::unexpected(done.error());
    return DecodedPicture { std::move(image),
        mForm.isOfInks() ? ColorProfile() : mDescription.profile };
}

Result<void> JpegReader::decodeColours(QImage& image)
{
    const Destination to { image.bits(), image.size(), static_cast<int>(image.bytesPerLine()),
        TJPF_BGRA };
    if (!decompress(mDecompressor.get(), mBytes, to))
        return damaged();
    return {};
}

Result<void> JpegReader::decodeInks(QImage& image)
{
    const qsizetype stride = qsizetype(image.width()) * 4;
    std::vector<unsigned char> inks(static_cast<size_t>(stride * image.height()));
    const Destination to { inks.data(), image.size(), static_cast<int>(stride), TJPF_CMYK };
    if (!decompress(mDecompressor.get(), mBytes, to))
        return damaged();
    const Samples samples { inks.data(), stride, image.size(),
        mDescription.areInksInverted ? Samples::Layout::CmykInverted : Samples::Layout::Cmyk };
    if (!convertToSrgb(samples, mDescription.profile, image))
        convertToSrgb(samples, {}, image);
    return {};
}

OpenedPicture openBytes(QByteArray bytes, Description description)
{
    Decompressor decompressor(tjInitDecompress(), &tjDestroy);
    const auto form = readForm(decompressor.get(), bytes);
    if (!form)
        return tl::unexpected(form.error());
    return std::make_unique<JpegReader>(
        std::move(bytes), std::move(decompressor), *form, std::move(description));
}

} // namespace

bool isJpeg(const QByteArray& head) { return head.startsWith("\xFF\xD8\xFF"); }

OpenedPicture openJpeg(FileBytes& file)
{
    auto bytes = file.all();
    if (!bytes)
        return tl::unexpected(bytes.error());
    Description description = descriptionOf(*bytes);
    return openBytes(std::move(*bytes), std::move(description));
}

OpenedPicture openJpegThumbnail(FileBytes& file)
{
    QByteArray thumbnail = PictureExif(exifDataOf(jpegSegments(file.head()))).thumbnail();
    if (thumbnail.isEmpty())
        return fail(ErrorKind::NotFound, QStringLiteral("no embedded thumbnail"));
    // A thumbnail seldom has a profile of its own: it is the picture itself made smaller.
    const QByteArray ownProfile = iccProfileOf(jpegSegments(thumbnail));
    Description description = descriptionOf(file.head());
    if (!ownProfile.isEmpty())
        description.profile = ColorProfile::fromIcc(ownProfile);
    return openBytes(std::move(thumbnail), std::move(description));
}

} // namespace quorvane
