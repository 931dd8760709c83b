// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/Decoding.h"

#include "platform/ExifData.h"
#include "platform/JpegDecoding.h"

#include <QBuffer>
#include <QImageReader>

#include <algorithm>

namespace quorvane {

namespace {

/// Larger files are no pictures that this program could show in time. Bytes.
constexpr qint64 kFileLimit = qint64(1) << 30;

/// Pixels of the largest picture: two gigabytes of four bytes each. A header that claims more is
/// refused before anything is allocated.
constexpr qint64 kPixelLimit = qint64(1) << 29;

/// What Qt's readers may allocate, in megabytes, for kPixelLimit.
constexpr int kAllocationLimit = 2048;

/// Orientation 1 to 8 as Qt's readers tell it.
int orientationFrom(QImageIOHandler::Transformations transformation)
{
    switch (transformation) {
    case QImageIOHandler::TransformationMirror:
        return 2;
    case QImageIOHandler::TransformationRotate180:
        return 3;
    case QImageIOHandler::TransformationFlip:
        return 4;
    case QImageIOHandler::TransformationFlipAndRotate90:
        return 5;
    case QImageIOHandler::TransformationRotate90:
        return 6;
    case QImageIOHandler::TransformationMirrorAndRotate90:
        return 7;
    case QImageIOHandler::TransformationRotate270:
        return 8;
    default:
        return 1;
    }
}

/// Page descriptions are no pictures, even where a plugin of this machine would draw them.
bool isPageDescription(const QByteArray& bytes)
{
    return bytes.startsWith("%PDF") || bytes.startsWith("%!PS")
        || bytes.startsWith("\xC5\xD0\xD3\xC6");
}

/// Whether `bytes` begin as an uncompressed Targa picture does. Qt takes it for a cursor file,
/// which begins alike but says then how many pictures it holds.
bool isTarga(const QByteArray& bytes)
{
    return bytes.startsWith(QByteArrayView("\0\0\2\0\0\0\0\0", 8));
}

/// The size that a picture of `size` shrinks to; neither side vanishes.
QSize scaledSize(QSize size, int longerSide)
{
    return size.scaled(longerSide, longerSide, Qt::KeepAspectRatio).expandedTo({ 1, 1 });
}

Result<DecodeAnswer> decodeWithQt(const QByteArray& bytes, int longerSideAtLeast)
{
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader::setAllocationLimit(kAllocationLimit);
    QImageReader reader(&buffer);
    if (isTarga(bytes))
        reader.setFormat("tga");
    else
        reader.setDecideFormatFromContent(true);
    reader.setAutoTransform(false);
    if (!reader.canRead())
        return fail(ErrorKind::Unsupported, reader.errorString());

    const QSize size = reader.size();
    if (size.isValid() && qint64(size.width()) * size.height() > kPixelLimit)
        return fail(
            ErrorKind::TooLarge, QStringLiteral("%1x%2").arg(size.width()).arg(size.height()));
    const bool scales = reader.supportsOption(QImageIOHandler::ScaledSize)
        && reader.format() != "svg" && reader.format() != "svgz";
    if (longerSideAtLeast > 0 && scales
        && std::max(size.width(), size.height()) > longerSideAtLeast)
        reader.setScaledSize(scaledSize(size, longerSideAtLeast));

    const int orientation = orientationFrom(reader.transformation());
    QImage image;
    if (!reader.read(&image) || image.isNull())
        return fail(ErrorKind::Damaged, reader.errorString());
    PixelBuffer pixels = PixelBuffer::fromImage(std::move(image));
    if (pixels.isNull())
        return fail(ErrorKind::TooLarge, QStringLiteral("no memory for the pixels"));
    return DecodeAnswer { std::move(pixels), orientation };
}

Result<DecodeAnswer> decodeJpeg(const QByteArray& bytes, int longerSideAtLeast)
{
    auto pixels = decodeJpegPixels(bytes, longerSideAtLeast, kPixelLimit);
    if (pixels)
        return DecodeAnswer { std::move(*pixels), exifOrientation(bytes) };
    // What this reader does not know (four inks, say) another one may.
    if (pixels.error().kind != ErrorKind::Unsupported)
        return tl::unexpected(pixels.error());
    auto answer = decodeWithQt(bytes, longerSideAtLeast);
    if (answer)
        answer->orientation = exifOrientation(bytes);
    return answer;
}

Result<DecodeAnswer> decodeEmbeddedThumbnail(const QByteArray& bytes)
{
    const QByteArray thumbnail = exifThumbnail(bytes);
    if (thumbnail.isEmpty())
        return fail(ErrorKind::NotFound, QStringLiteral("no embedded thumbnail"));
    auto pixels = decodeJpegPixels(thumbnail, 0, kPixelLimit);
    if (!pixels)
        return tl::unexpected(pixels.error());
    return DecodeAnswer { std::move(*pixels), exifOrientation(bytes) };
}

} // namespace

Result<DecodeAnswer> decode(const FileDescriptor& file, const DecodeRequest& request)
{
    const auto bytes = readAll(file, kFileLimit);
    if (!bytes)
        return tl::unexpected(bytes.error());
    if (bytes->isEmpty() || isPageDescription(*bytes))
        return fail(ErrorKind::Unsupported, QStringLiteral("not a picture"));
    if (request.what == DecodeRequest::What::EmbeddedThumbnail)
        return decodeEmbeddedThumbnail(*bytes);
    if (isJpeg(*bytes))
        return decodeJpeg(*bytes, request.longerSideAtLeast);
    return decodeWithQt(*bytes, request.longerSideAtLeast);
}

} // namespace quorvane
