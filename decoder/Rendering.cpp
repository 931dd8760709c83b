// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/Rendering.h"

#include "decoder/DisplayColors.h"
#include "decoder/ReaderFailures.h"
#include "platform/Orientation.h"

#include <QPainter>

#include <cstring>

namespace quorvane {

namespace {

/// A second image on the memory of `canvas`, which is neither copied nor owned.
QImage sameMemory(QImage& canvas, QImage::Format format)
{
    return { canvas.bits(), canvas.width(), canvas.height(), canvas.bytesPerLine(), format };
}

void copyPixels(const QImage& from, QImage& to)
{
    const auto rowSize = static_cast<size_t>(from.width()) * 4;
    for (int y = 0; y < from.height(); ++y)
        std::memcpy(to.scanLine(y), from.constScanLine(y), rowSize);
}

/// The picture in `wanted` pixels, still as stored.
QImage scaledTo(const QImage& image, QSize wanted)
{
    if (image.size() == wanted)
        return image;
    return image.scaled(wanted, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

bool isUsable(const QImage& image)
{
    return image.format() == QImage::Format_RGB32
        || image.format() == QImage::Format_ARGB32_Premultiplied;
}

} // namespace

QSize uprightSize(const PictureHeader& header)
{
    return turnsPicture(header.orientation) ? header.size.transposed() : header.size;
}

Result<void> renderUpright(PictureReader& reader, QImage& canvas)
{
    const int orientation = reader.header().orientation;
    const QSize wanted = turnsPicture(orientation) ? canvas.size().transposed() : canvas.size();
    auto decoded = reader.decode(wanted, [&](QSize size, QImage::Format format) {
        const bool fits = orientation == 1 && size == canvas.size();
        return fits ? sameMemory(canvas, format) : QImage(size, format);
    });
    if (!decoded)
        return tl::unexpected(decoded.error());
    QImage image = std::move(decoded->image);
    if (image.isNull() || !isUsable(image))
        return fail(ErrorKind::Damaged, QStringLiteral("nothing was decoded"));

    image = scaledTo(image, wanted);
    if (image.isNull())
        return noMemory();
    // Fewer pixels by now than were decoded, as a rule.
    convertForDisplay(image, decoded->profile);
    if (image.constBits() == canvas.constBits()) {
        canvas.reinterpretAsFormat(image.format());
        return {};
    }
    if (orientation == 1) {
        canvas.reinterpretAsFormat(image.format());
        copyPixels(image, canvas);
        return {};
    }
    canvas.reinterpretAsFormat(QImage::Format_RGB32);
    const auto transform = orientationTransform(orientation, wanted.width(), wanted.height());
    if (!transformInto(canvas, image, transform))
        return noMemory();
    return {};
}

Result<QImage> renderedImage(PictureReader& reader, QSize size)
{
    QImage canvas(size.isEmpty() ? uprightSize(reader.header()) : size, QImage::Format_RGB32);
    if (canvas.isNull())
        return noMemory();
    if (auto done = renderUpright(reader, canvas); !done)
        return tl::unexpected(done.error());
    return canvas;
}

} // namespace quorvane
