// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/JpegDecoding.h"

#include <QImage>

#include <turbojpeg.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <span>

namespace quorvane {

namespace {

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
    const int failed = tjDecompressHeader3(decompressor, unsignedBytes(bytes),
        static_cast<unsigned long>(bytes.size()), &width, &height, &subsampling,
        &header.colorspace);
    if (failed && (width <= 0 || height <= 0))
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

/// Whether the decoder only warned, of something that the eye can bear. A file that ends too soon
/// is a warning to the library; for us the picture is not there.
bool isUsable(void* decompressor)
{
    return tjGetErrorCode(decompressor) == TJERR_WARNING
        && !std::strstr(tjGetErrorStr2(decompressor), "Premature end");
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
    const int failed = tjDecompress2(decompressor.get(), unsignedBytes(bytes),
        static_cast<unsigned long>(bytes.size()), image.bits(), size.width(),
        static_cast<int>(image.bytesPerLine()), size.height(), TJPF_BGRX, 0);
    if (failed && !isUsable(decompressor.get()))
        return fail(ErrorKind::Damaged, QString::fromLatin1(tjGetErrorStr2(decompressor.get())));
    return PixelBuffer::fromImage(std::move(image));
}

} // namespace quorvane
