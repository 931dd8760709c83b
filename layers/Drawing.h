// SPDX-License-Identifier: GPL-3.0-or-later
// What a tree of layers looks like at one moment, and how that is painted.
#pragma once

#include <QImage>
#include <QRectF>
#include <QSizeF>

#include <vector>

class QPainter;

namespace quorvane {

class Layer;

/// One picture to be painted.
struct Draw {
    QRectF rect; ///< In the root's coordinates: from the lower left, y up, points.
    double opacity = 1; ///< More than 0, at most 1.
    QImage contents;
};

/// What the layers on top of `root` show, hindmost first. Layers that show nothing are left out.
std::vector<Draw> drawList(const Layer& root);

/// The pixels of the painter's device that `rect` covers: its edges rounded to whole device pixels,
/// so that a picture at rest is as sharp as it can be, and at least one pixel each way.
/// \param viewHeight  of the root, in points; turns y round.
/// \param pixelRatio  device pixels a point.
QRect deviceRect(const QRectF& rect, double viewHeight, double pixelRatio);

/// Paints `draws` with a painter whose coordinates are device pixels, y down. A picture that has
/// exactly the pixels that it covers, which are those of deviceRect(), is copied as it is.
/// \param view  size of the root, in points; what lies outside is left out.
void paint(
    QPainter& painter, const std::vector<Draw>& draws, const QSizeF& view, double pixelRatio);

} // namespace quorvane
