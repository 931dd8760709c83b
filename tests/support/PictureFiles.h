// SPDX-License-Identifier: GPL-3.0-or-later
// Picture files, made byte by byte where no library writes what a camera writes.
#pragma once

#include "platform/FileURL.h"

#include <QBuffer>
#include <QColor>
#include <QDateTime>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>
#include <QtEndian>

#include <cstdlib>
#include <ostream>

namespace quorvane::tests {

constexpr QRgb kRed = 0xffe00000;
constexpr QRgb kGreen = 0xff00c000;
constexpr QRgb kBlue = 0xff0000f0;
constexpr QRgb kYellow = 0xfff0e000;
constexpr QRgb kBlack = 0xff000000;

/// Whether an eye takes both for the same: JPEG changes colours by a little.
inline bool isNearly(QRgb a, QRgb b)
{
    constexpr int kTolerance = 12;
    return std::abs(qRed(a) - qRed(b)) <= kTolerance
        && std::abs(qGreen(a) - qGreen(b)) <= kTolerance
        && std::abs(qBlue(a) - qBlue(b)) <= kTolerance
        && std::abs(qAlpha(a) - qAlpha(b)) <= kTolerance;
}

inline QImage solid(QRgb colour, QSize size)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(colour);
    return image;
}

/// One colour in each quarter: `corners` from left to right, from the top down.
inline QImage quartered(const QRgb (&corners)[4], QSize size)
{
    QImage image(size, QImage::Format_RGB32);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x)
            image.setPixel(x, y, corners[2 * (2 * y / size.height()) + 2 * x / size.width()]);
    }
    return image;
}

/// The bytes of `image` as a file, losing as little as the format can. \param format  "png", "jpg".
inline QByteArray encoded(const QImage& image, const char* format)
{
    constexpr int kBestQuality = 100;
    QByteArray bytes;
    QBuffer buffer(&bytes);
    const int quality = qstrcmp(format, "jpg") == 0 ? kBestQuality : -1;
    if (!buffer.open(QIODevice::WriteOnly) || !image.save(&buffer, format, quality))
        qFatal("cannot encode a picture");
    return bytes;
}

/// Numbers in the byte order of a camera's file.
class ByteWriter {
public:
    explicit ByteWriter(bool isBigEndian)
        : mIsBigEndian(isBigEndian)
    {
    }

    template <typename T> void number(T value)
    {
        const T ordered = mIsBigEndian ? qToBigEndian(value) : qToLittleEndian(value);
        mBytes.append(reinterpret_cast<const char*>(&ordered), sizeof ordered);
    }

    /// A directory entry of one 16-bit number, or of one 32-bit number.
    void entry16(quint16 tag, quint16 value)
    {
        head(tag, 3, 1);
        number(value);
        number(quint16(0));
    }
    void entry32(quint16 tag, quint32 value)
    {
        head(tag, 4, 1);
        number(value);
    }

    /// An entry of several 16-bit numbers that stand elsewhere.
    void entryElsewhere(quint16 tag, quint32 count, quint32 offset)
    {
        head(tag, 3, count);
        number(offset);
    }

    void append(const QByteArray& bytes) { mBytes += bytes; }
    const QByteArray& bytes() const { return mBytes; }

private:
    void head(quint16 tag, quint16 type, quint32 count)
    {
        number(tag);
        number(type);
        number(count);
    }

    bool mIsBigEndian;
    QByteArray mBytes;
};

/// `jpeg` with EXIF data as a camera puts it there.
/// \param orientation  any number; what 16 bits do not hold is written with 32.
/// \param thumbnail    a JPEG file; empty for none.
inline QByteArray withExif(
    const QByteArray& jpeg, qint64 orientation, const QByteArray& thumbnail = {})
{
    constexpr quint32 kSecondDirectory = 8 + 2 + 12 + 4;
    constexpr quint32 kThumbnail = kSecondDirectory + 2 + 3 * 12 + 4;
    ByteWriter tiff(true);
    tiff.append("MM");
    tiff.number(quint16(42));
    tiff.number(quint32(8));
    tiff.number(quint16(1));
    if (orientation >= 0 && orientation <= 0xffff)
        tiff.entry16(0x0112, static_cast<quint16>(orientation));
    else
        tiff.entry32(0x0112, static_cast<quint32>(orientation));
    tiff.number(quint32(thumbnail.isEmpty() ? 0 : kSecondDirectory));
    if (!thumbnail.isEmpty()) {
        tiff.number(quint16(3));
        tiff.entry16(0x0103, 6);
        tiff.entry32(0x0201, kThumbnail);
        tiff.entry32(0x0202, static_cast<quint32>(thumbnail.size()));
        tiff.number(quint32(0));
        tiff.append(thumbnail);
    }
    ByteWriter segment(true);
    segment.append(QByteArrayLiteral("\xFF\xE1"));
    segment.number(static_cast<quint16>(2 + 6 + tiff.bytes().size()));
    segment.append(QByteArray("Exif\0\0", 6) + tiff.bytes());
    return jpeg.left(2) + segment.bytes() + jpeg.mid(2);
}

/// A TIFF file with transparency and an orientation.
inline QByteArray transparentTiff(const QImage& picture, quint16 orientation)
{
    constexpr quint16 kEntries = 11;
    constexpr quint32 kDepths = 8 + 2 + kEntries * 12 + 4;
    constexpr quint32 kPixels = kDepths + 4 * 2;
    const QImage image = picture.convertToFormat(QImage::Format_RGBA8888);
    const auto width = static_cast<quint32>(image.width());
    const auto height = static_cast<quint32>(image.height());
    ByteWriter tiff(false);
    tiff.append("II");
    tiff.number(quint16(42));
    tiff.number(quint32(8));
    tiff.number(kEntries);
    tiff.entry32(256, width);
    tiff.entry32(257, height);
    tiff.entryElsewhere(258, 4, kDepths);
    tiff.entry16(259, 1); // Not compressed.
    tiff.entry16(262, 2); // Red, green, blue ...
    tiff.entry32(273, kPixels);
    tiff.entry16(274, orientation);
    tiff.entry16(277, 4);
    tiff.entry32(278, height);
    tiff.entry32(279, width * height * 4);
    tiff.entry16(338, 2); // ... and opacity, not multiplied.
    tiff.number(quint32(0));
    for (int i = 0; i < 4; ++i)
        tiff.number(quint16(8));
    for (int y = 0; y < image.height(); ++y)
        tiff.append({ reinterpret_cast<const char*>(image.constScanLine(y)), 4 * image.width() });
    return tiff.bytes();
}

/// A GIF file of two frames of one pixel, kRed and then kGreen.
inline QByteArray animatedGif()
{
    const QByteArray frame("\x21\xF9\x04\x00\x0A\x00\x00\x00" // Shown for a tenth of a second.
                           "\x2C\x00\x00\x00\x00\x01\x00\x01\x00\x00\x02\x02",
        8 + 12);
    return QByteArray("GIF89a\x01\x00\x01\x00\x80\x00\x00", 13)
        + QByteArray("\xE0\x00\x00\x00\xC0\x00", 6) // The two colours.
        + QByteArray("\x21\xFF\x0BNETSCAPE2.0\x03\x01\x00\x00\x00", 19) // For ever.
        + frame + QByteArray("\x44\x01\x00", 3) // The first colour.
        + frame + QByteArray("\x4C\x01\x00", 3) // The second.
        + QByteArray("\x3B");
}

/// A folder of its own, and picture files in it.
class PictureFiles {
public:
    FileURL url(const QByteArray& name) const
    {
        return FileURL(QFile::encodeName(mFolder.path()) + '/' + name);
    }

    /// Writes a file, in place of one of that name.
    FileURL write(const QByteArray& name, const QByteArray& bytes) const
    {
        QFile file(QFile::decodeName(url(name).path()));
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            qFatal("the test cannot write its file");
        file.flush();
        // As if long ago: a file that was just written may not be finished.
        file.setFileTime(
            QDateTime::fromSecsSinceEpoch(1'000'000'000), QFileDevice::FileModificationTime);
        return url(name);
    }

    /// A PNG file, whatever its name.
    FileURL write(const QByteArray& name, const QImage& image) const
    {
        return write(name, encoded(image, "png"));
    }

    /// One colour.
    FileURL write(const QByteArray& name, QRgb colour, QSize size = { 40, 30 }) const
    {
        return write(name, solid(colour, size));
    }

    /// As if it had just been written.
    void touch(const QByteArray& name) const
    {
        QFile file(QFile::decodeName(url(name).path()));
        if (!file.open(QIODevice::ReadWrite)
            || !file.setFileTime(QDateTime::currentDateTime(), QFileDevice::FileModificationTime))
            qFatal("the test cannot date its file");
    }

    void remove(const QByteArray& name) const
    {
        if (!QFile::remove(QFile::decodeName(url(name).path())))
            qFatal("the test cannot remove its file");
    }

private:
    QTemporaryDir mFolder;
};

} // namespace quorvane::tests
