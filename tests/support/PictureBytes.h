// SPDX-License-Identifier: GPL-3.0-or-later
// Picture files as bytes, made by the test itself: pixels it can recognise, and the EXIF data of a
// camera that may be as odd as the test wants.
#pragma once

#include <QBuffer>
#include <QImage>
#include <QImageWriter>
#include <QtEndian>

#include <optional>
#include <vector>

namespace quorvane::tests {

/// Opaque; no two pixels are alike up to 256 x 256.
inline QImage numberedPicture(QSize size)
{
    QImage image(size, QImage::Format_RGB32);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x)
            image.setPixel(x, y, qRgb(x, y, (7 * x + 13 * y) & 255));
    }
    return image;
}

inline QImage solidPicture(QSize size, QColor colour)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(colour);
    return image;
}

/// Four quarters: upper left red, upper right green, lower left blue, lower right white. Survives a
/// lossy format and shrinking, and looks different in each of the eight orientations.
inline QImage quarteredPicture(QSize size)
{
    QImage image(size, QImage::Format_RGB32);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            const bool left = 2 * x < size.width();
            const bool top = 2 * y < size.height();
            image.setPixelColor(
                x, y, top ? (left ? Qt::red : Qt::green) : (left ? Qt::blue : Qt::white));
        }
    }
    return image;
}

/// The colours of the four quarters, each as "r", "g", "b", "w" or "?", in reading order.
inline QByteArray quarters(const QImage& image)
{
    const auto letter = [](QColor colour) {
        const int bits = (colour.red() > 127 ? 4 : 0) + (colour.green() > 127 ? 2 : 0)
            + (colour.blue() > 127 ? 1 : 0);
        return "?bg?r??w"[bits];
    };
    const int left = image.width() / 4;
    const int top = image.height() / 4;
    QByteArray letters;
    for (const QPoint point : { QPoint(left, top), QPoint(3 * left, top), QPoint(left, 3 * top),
             QPoint(3 * left, 3 * top) })
        letters += letter(image.pixelColor(point));
    return letters;
}

/// Empty when this machine cannot write `format`.
inline QByteArray encodedPicture(const QImage& image, const QByteArray& format,
    QImageIOHandler::Transformation transformation = QImageIOHandler::TransformationNone)
{
    QBuffer buffer;
    QImageWriter writer(&buffer, format);
    writer.setQuality(95);
    writer.setTransformation(transformation);
    return writer.write(image) ? buffer.data() : QByteArray();
}

enum class ByteOrder { Big, Little };

template <typename Number> QByteArray numberBytes(Number number, ByteOrder order)
{
    QByteArray bytes(sizeof number, '\0');
    if (order == ByteOrder::Big)
        qToBigEndian(number, bytes.data());
    else
        qToLittleEndian(number, bytes.data());
    return bytes;
}

/// One tag of an EXIF directory.
struct ExifTag {
    static constexpr quint16 kOrientation = 0x0112;
    static constexpr quint16 kByte = 1;
    static constexpr quint16 kShort = 3;
    static constexpr quint16 kLong = 4;

    quint16 tag = kOrientation;
    quint16 type = kShort;
    quint32 value = 0;
    quint32 count = 1;

    QByteArray bytes(ByteOrder order) const
    {
        QByteArray held;
        if (type == kShort)
            held = numberBytes(static_cast<quint16>(value), order);
        else if (type == kLong)
            held = numberBytes(value, order);
        else
            held = QByteArray(1, static_cast<char>(value));
        held.append(4 - held.size(), '\0');
        return numberBytes(tag, order) + numberBytes(type, order) + numberBytes(count, order)
            + held;
    }
};

/// What a camera writes beside the pixels.
struct ExifFixture {
    ByteOrder order = ByteOrder::Big;
    std::vector<ExifTag> main = {}; ///< Of the picture; tags ascend.
    std::vector<ExifTag> second = {}; ///< Of the thumbnail's directory; tags below 0x0201.
    QByteArray thumbnail = {}; ///< A JPEG file.
};

inline QByteArray exifDirectory(const std::vector<ExifTag>& tags, quint32 next, ByteOrder order)
{
    QByteArray bytes = numberBytes(static_cast<quint16>(tags.size()), order);
    for (const ExifTag& tag : tags)
        bytes += tag.bytes(order);
    return bytes + numberBytes(next, order);
}

/// The contents of the segment that holds `exif`.
inline QByteArray exifSegment(const ExifFixture& exif)
{
    constexpr quint32 kHeaderSize = 8;
    const ByteOrder order = exif.order;
    const bool hasSecond = !exif.second.empty() || !exif.thumbnail.isEmpty();
    const auto secondStart
        = kHeaderSize + static_cast<quint32>(exifDirectory(exif.main, 0, order).size());
    QByteArray bytes("Exif\0\0", 6);
    bytes += order == ByteOrder::Big ? "MM" : "II";
    bytes += numberBytes(quint16(42), order) + numberBytes(kHeaderSize, order);
    bytes += exifDirectory(exif.main, hasSecond ? secondStart : 0, order);
    if (!hasSecond)
        return bytes;

    std::vector<ExifTag> second = exif.second;
    second.push_back({ 0x0201, ExifTag::kLong, 0 }); // Where the thumbnail begins: below.
    second.push_back({ 0x0202, ExifTag::kLong, static_cast<quint32>(exif.thumbnail.size()) });
    second[second.size() - 2].value
        = secondStart + static_cast<quint32>(exifDirectory(second, 0, order).size());
    return bytes + exifDirectory(second, 0, order) + exif.thumbnail;
}

/// `jpeg` with one more segment behind its first two bytes. \param marker  its second byte.
inline QByteArray withSegment(const QByteArray& jpeg, quint8 marker, const QByteArray& contents)
{
    const auto length = static_cast<quint16>(contents.size() + 2);
    QByteArray segment("\xFF");
    segment += static_cast<char>(marker);
    segment += numberBytes(length, ByteOrder::Big) + contents;
    return jpeg.left(2) + segment + jpeg.mid(2);
}

inline QByteArray withExif(const QByteArray& jpeg, const ExifFixture& exif)
{
    return withSegment(jpeg, 0xE1, exifSegment(exif));
}

/// `jpeg` as a camera stores it that was held in `orientation`, whatever number.
inline QByteArray withOrientation(const QByteArray& jpeg, quint16 orientation)
{
    return withExif(jpeg, { .main = { { .value = orientation } } });
}

/// Where the frame header of `jpeg` begins (its marker), baseline or progressive; -1 without one.
inline qsizetype frameHeader(const QByteArray& jpeg)
{
    const qsizetype baseline = jpeg.indexOf("\xFF\xC0");
    return baseline >= 0 ? baseline : jpeg.indexOf("\xFF\xC2");
}

/// `jpeg` whose header claims another size. Its pixels no longer match.
inline QByteArray withClaimedSize(QByteArray jpeg, quint16 width, quint16 height)
{
    const qsizetype start = frameHeader(jpeg) + 5;
    return jpeg.replace(
        start, 4, numberBytes(height, ByteOrder::Big) + numberBytes(width, ByteOrder::Big));
}

/// Red, 8 x 8 pixels, in four inks, which Qt cannot write.
inline QByteArray cmykJpeg()
{
    return QByteArray::fromBase64(
        "/9j/7gAOQWRvYmUAZAAAAAAC/9sAQwANCQoLCggNCwoLDg4NDxMgFRMSEhMnHB4XIC4pMTAuKS0sMzpKPjM2Rjcs"
        "LUBXQUZMTlJTUjI+WmFaUGBKUVJP/9sAQwEODg4TERMmFRUmTzUtNU9PT09PT09PT09PT09PT09PT09PT09PT09P"
        "T09PT09PT09PT09PT09PT09PT09PT09P/8AAFAgACAAIBAERAAIRAQMRAQQRAP/EABUAAQEAAAAAAAAAAAAAAAAA"
        "AAUG/8QAFBABAAAAAAAAAAAAAAAAAAAAAP/EABUBAQEAAAAAAAAAAAAAAAAAAAUH/8QAFBEBAAAAAAAAAAAAAAAA"
        "AAAAAP/aAA4EAQACEQMRBAAAPwB8ymy7f//Z");
}

} // namespace quorvane::tests
