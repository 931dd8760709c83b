// SPDX-License-Identifier: GPL-3.0-or-later
// The eight ways in which a camera may have been held.
#pragma once

#include <QImage>

namespace quorvane {

/// Maps a point (x, y) to (a*x + c*y + tx, b*x + d*y + ty). Coordinates count from the lower left,
/// y up.
struct AffineTransform {
    double a = 0;
    double b = 0;
    double c = 0;
    double d = 0;
    double tx = 0;
    double ty = 0;

    static constexpr AffineTransform identity() { return { 1, 0, 0, 1, 0, 0 }; }

    friend bool operator==(const AffineTransform&, const AffineTransform&) = default;
};

/// The transform that turns a picture as stored upright.
/// \param orientation    1 to 8; EXIF's numbers.
/// \param width, height  of the picture as stored, in pixels; they go through single precision,
/// which
///                       is exact up to 16,777,216.
AffineTransform orientationTransform(int orientation, int width, int height);

/// Whether upright means another shape: width and height change places (orientation 5 to 8).
constexpr bool turnsPicture(int orientation) { return orientation > 4; }

/// Moves `image` pixel by pixel through `transform`, one of orientationTransform(), onto `canvas`,
/// which is RGB32, of the right size and without gaps between its rows. What was transparent is
/// black. \return false when there is no memory.
bool transformInto(QImage& canvas, const QImage& image, const AffineTransform& transform);

/// `image` moved pixel by pixel through `transform`, one of orientationTransform(), onto a canvas
/// of `canvasSize`. The canvas has no transparency: what was transparent is black. \return a null
/// image when there is no memory for the canvas.
QImage transformedImage(const QImage& image, const AffineTransform& transform, QSize canvasSize);

/// The upright form of a picture stored in `orientation`; `image` itself if that is upright
/// already.
QImage uprightImage(const QImage& image, int orientation);

} // namespace quorvane
