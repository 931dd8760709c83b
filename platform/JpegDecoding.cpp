// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/JpegDecoding.h"

#include <QImage>

#include <turbojpeg.h>

#include <algorithm>
#include <array>
#include <memory>
#include <span>

namespace quorvane {

namespace {

constexpr char kStartOfScan[] = "\xFF\xDA";
constexpr char kEndOfImage[] = "\xFF\xD9";

using Decompressor = std::unique_ptr<void, decltype(&tjDestroy)>;

struct Header {
    QSize size;
    int colorspace = 0;
};

const unsigned char* unsignedBytes(const QByteArray& bytes)
{
    return reinterpret_cast<const unsigned char*>(bytes.constData());
}

Result<Header> readHeader(void* decompressor, const QByteArray& bytes)
{
    Header header;
    int width = 0;
    int height = 0;
    int subsampling = 0;
    // Whether it succeeds says little: tables without a picture are a success, a warning is none.
    tjDecompressHeader3(decompressor, unsignedBytes(bytes),
        static_cast<unsigned long>(bytes.size()), &width, &height, &subsampling,
        &header.colorspace);
    if (width <= 0 || height <= 0)
        return fail(ErrorKind::Unsupported, QString::fromLatin1(tjGetErrorStr2(decompressor)));
    header.size = { width, height };
    return header;
}

/// The size to decode to: the smallest that the library reaches by itself and that is large enough.
QSize decodedSize(QSize size, int longerSideAtLeast)
{
    if (longerSideAtLeast <= 0)
        return size;
    int count = 0;
    const tjscalingfactor* const factors = tjGetScalingFactors(&count);
    QSize best = size;
    for (const tjscalingfactor& factor : std::span(factors, static_cast<size_t>(count))) {
        const QSize scaled(TJSCALED(size.width(), factor), TJSCALED(size.height(), factor));
        const int longer = std::max(scaled.width(), scaled.height());
        if (longer >= longerSideAtLeast && longer < std::max(best.width(), best.height()))
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

/// Fills `image`. \return false when it is not to be shown: the decoder's last error says why.
bool decompress(void* decompressor, const QByteArray& bytes, QImage& image)
{
    const bool cut = lacksEnd(bytes);
    // With an end marker the decoder warns only if more than that marker is missing.
    const QByteArray whole = cut ? bytes + kEndOfImage : bytes;
    const int failed = tjDecompress2(decompressor, unsignedBytes(whole),
        static_cast<unsigned long>(whole.size()), image.bits(), image.width(),
        static_cast<int>(image.bytesPerLine()), image.height(), TJPF_BGRX, 0);
    return !failed
        || (!cut && tjGetErrorCode(decompressor) == TJERR_WARNING
            && isBearable(tjGetErrorStr2(decompressor)));
}

} // namespace

bool isJpeg(const QByteArray& bytes) { return bytes.startsWith("\xFF\xD8\xFF"); }

Result<PixelBuffer> decodeJpegPixels(
    const QByteArray& bytes, int longerSideAtLeast, qint64 pixelLimit)
{
    const Decompressor decompressor(tjInitDecompress(), &tjDestroy);
    const auto header = readHeader(decompressor.get(), bytes);
    if (!header)
        return tl::unexpected(header.error());
    if (header->colorspace == TJCS_CMYK || header->colorspace == TJCS_YCCK)
        return fail(ErrorKind::Unsupported, QStringLiteral("four inks"));

    const QSize size = decodedSize(header->size, longerSideAtLeast);
    if (qint64(size.width()) * size.height() > pixelLimit)
        return fail(
            ErrorKind::TooLarge, QStringLiteral("%1x%2").arg(size.width()).arg(size.height()));
    QImage image(size, QImage::Format_RGB32);
    if (image.isNull())
        return fail(ErrorKind::TooLarge, QStringLiteral("no memory for the pixels"));
    if (!decompress(decompressor.get(), bytes, image))
        return fail(ErrorKind::Damaged, QString::fromLatin1(tjGetErrorStr2(decompressor.get())));
    return PixelBuffer::fromImage(std::move(image));
}

} // namespace quorvane
