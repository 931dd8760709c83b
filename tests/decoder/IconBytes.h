// SPDX-License-Identifier: GPL-3.0-or-later
// What icons of all systems hold.
#pragma once

#include <QBuffer>
#include <QColor>
#include <QImage>

namespace quorvane::testing {

/// A square of one colour as a PNG file.
inline QByteArray pngOf(int side, QColor colour)
{
    QImage image(side, side, QImage::Format_ARGB32);
    image.fill(colour);
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return png;
}

} // namespace quorvane::testing
