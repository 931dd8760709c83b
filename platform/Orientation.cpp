// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/Orientation.h"

#include <QPainter>

#include <algorithm>
#include <array>

namespace quorvane {

namespace {

/// Pixels a side of the squares in which a picture is moved: when rows become columns, a square of
/// this size on either side stays in the processor's nearest cache.
constexpr int kTile = 32;

/// Opaque pixels of four bytes; what shines through `image` is black.
QImage flattened(const QImage& image)
{
    if (!image.hasAlphaChannel())
        return image.convertToFormat(QImage::Format_RGB32);
    QImage result(image.size(), QImage::Format_RGB32);
    if (result.isNull())
        return result;
    result.fill(Qt::black);
    QPainter(&result).drawImage(0, 0, image);
    return result;
}

/// Where the pixels of a stored picture go on the canvas, as offsets in pixels from its first one.
struct Route {
    qsizetype start;
    qsizetype right; ///< For one step to the right in the stored picture.
    qsizetype down; ///< For one step down.

    Route(const AffineTransform& transform, QSize stored, QSize canvas)
    {
        const qsizetype stride = canvas.width();
        // The centre of the upper left pixel; rows count downwards, the transform upwards.
        const double x = 0.5;
        const double y = stored.height() - 0.5;
        const auto column
            = static_cast<qsizetype>(transform.a * x + transform.c * y + transform.tx);
        const auto fromBelow
            = static_cast<qsizetype>(transform.b * x + transform.d * y + transform.ty);
        start = (canvas.height() - 1 - fromBelow) * stride + column;
        right = static_cast<qsizetype>(transform.a) - static_cast<qsizetype>(transform.b) * stride;
        down = -static_cast<qsizetype>(transform.c) + static_cast<qsizetype>(transform.d) * stride;
    }
};

void copyTile(const QImage& from, const QRect& tile, const Route& route, quint32* to)
{
    for (int y = tile.top(); y <= tile.bottom(); ++y) {
        const auto* source = reinterpret_cast<const quint32*>(from.constScanLine(y));
        quint32* target = to + route.start + route.down * y + route.right * tile.left();
        for (int x = tile.left(); x <= tile.right(); ++x, target += route.right)
            *target = source[x];
    }
}

} // namespace

AffineTransform orientationTransform(int orientation, int width, int height)
{
    const double w = static_cast<double>(static_cast<float>(width));
    const double h = static_cast<double>(static_cast<float>(height));
    const std::array<AffineTransform, 8> table = { {
        { 1, 0, 0, 1, 0, 0 }, // upright
        { -1, 0, 0, 1, w, 0 }, // mirrored left to right
        { -1, 0, 0, -1, w, h }, // turned by 180 degrees
        { 1, 0, 0, -1, 0, h }, // mirrored top to bottom
        { 0, -1, -1, 0, h, w }, // transposed
        { 0, -1, 1, 0, 0, w }, // to be turned clockwise
        { 0, 1, 1, 0, 0, 0 }, // transposed along the other diagonal
        { 0, 1, -1, 0, h, 0 }, // to be turned counter-clockwise
    } };
    return table.at(static_cast<size_t>(orientation - 1));
}

bool transformInto(QImage& canvas, const QImage& image, const AffineTransform& transform)
{
    const QImage source = flattened(image);
    if (source.isNull() || canvas.isNull())
        return false;
    const Route route(transform, source.size(), canvas.size());
    auto* const pixels = reinterpret_cast<quint32*>(canvas.bits());
    for (int top = 0; top < source.height(); top += kTile) {
        for (int left = 0; left < source.width(); left += kTile) {
            const QRect tile(left, top, kTile, kTile);
            copyTile(source, tile.intersected(source.rect()), route, pixels);
        }
    }
    return true;
}

QImage transformedImage(const QImage& image, const AffineTransform& transform, QSize canvasSize)
{
    QImage canvas(canvasSize, QImage::Format_RGB32);
    if (!transformInto(canvas, image, transform))
        return {};
    return canvas;
}

QImage uprightImage(const QImage& image, int orientation)
{
    if (orientation == 1)
        return image;
    const QSize size = image.size();
    return transformedImage(image, orientationTransform(orientation, size.width(), size.height()),
        turnsPicture(orientation) ? size.transposed() : size);
}

} // namespace quorvane
