// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/QtReader.h"

#include "decoder/FileBytes.h"
#include "decoder/ReaderFailures.h"
#include "decoder/Transparency.h"

#include <QBuffer>
#include <QImageReader>

namespace quorvane {

namespace {

/// In megabytes, of a single picture: as many as kPixelLimit allows.
constexpr int kAllocationLimit = 2048;

class QtReader : public PictureReader {
public:
    QtReader(QByteArray bytes, const char* format, QSize size)
        : mBytes(std::move(bytes))
        , mFormat(format)
        , mSize(size)
    {
    }

    PictureHeader header() const override { return { mSize }; }

    Result<DecodedPicture> decode(QSize wanted, const ImageMaker& makeImage) override
    {
        Q_UNUSED(wanted)
        Q_UNUSED(makeImage) // The library makes its own, in the format of the file.
        QBuffer buffer(&mBytes);
        QImageReader reader(&buffer, mFormat);
        reader.setAutoDetectImageFormat(false);
        QImage image = reader.read();
        if (image.isNull() || image.size() != mSize)
            return fail(ErrorKind::Damaged, reader.errorString());
        image.convertTo(
            image.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
        dropUselessTransparency(image);
        return DecodedPicture { std::move(image), {} };
    }

private:
    QByteArray mBytes;
    QByteArray mFormat;
    QSize mSize;
};

/// \param format  Qt's name of it.
OpenedPicture openWithQt(FileBytes& file, const char* format)
{
    auto bytes = file.all();
    if (!bytes)
        return tl::unexpected(bytes.error());
    QImageReader::setAllocationLimit(kAllocationLimit);
    QBuffer buffer(&*bytes);
    QImageReader reader(&buffer, format);
    reader.setAutoDetectImageFormat(false);
    const QSize size = reader.size();
    if (size.isEmpty())
        return damaged("no size");
    if (!isReasonable(size))
        return tooManyPixels();
    return std::make_unique<QtReader>(std::move(*bytes), format, size);
}

} // namespace

bool isXbm(const QByteArray& head)
{
    const QByteArray start = head.left(1024).trimmed();
    return (start.startsWith("#define") || start.startsWith("/*")) && start.contains("_width ")
        && start.contains("_height ") && start.contains("_bits");
}

OpenedPicture openXbm(FileBytes& file)
{
    const auto bytes = file.all();
    // The library shows whatever numbers are there.
    if (bytes && !bytes->contains('}'))
        return damaged("the picture is cut short");
    return openWithQt(file, "xbm");
}

bool isXpm(const QByteArray& head) { return head.startsWith("/* XPM"); }

OpenedPicture openXpm(FileBytes& file) { return openWithQt(file, "xpm"); }

} // namespace quorvane
