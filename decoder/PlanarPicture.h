// SPDX-License-Identifier: GPL-3.0-or-later
// Pictures whose colours lie in planes of their own, made into pixels, fewer of them if that is
// enough.
#pragma once

#include <QImage>
#include <QSize>

namespace quorvane {

/// Samples of eight bits, all of one colour.
struct Plane {
    const uchar* data = nullptr; ///< Not owned. nullptr: there is no such plane.
    qsizetype stride = 0; ///< Bytes from one row to the next.
};

/// A picture in planes, all of the same size.
struct PlanarPicture {
    QSize size;
    Plane red;
    Plane green;
    Plane blue;
    Plane alpha; ///< May be missing.
    bool isPremultiplied = false; ///< Whether alpha is multiplied into the colours already.
};

/// The largest divisor, 1, 2, 4 or 8, by which a picture of `size` is still at least `wanted`.
int divisorFor(QSize size, QSize wanted);

/// `size` divided by `divisor`, rounded up.
QSize dividedSize(QSize size, int divisor);

/// Fills `image`, of the size of the picture divided by `divisor`, with the means of as many
/// pixels. Its format is RGB32, or ARGB32_Premultiplied where there is alpha.
void makePixels(const PlanarPicture& picture, int divisor, QImage& image);

} // namespace quorvane
