// SPDX-License-Identifier: GPL-3.0-or-later
// What a tree of layers looks like at one moment, and how that is painted.
#pragma once

#include "layers/Animation.h"

#include <QImage>
#include <QPointF>
#include <QRectF>
#include <QRegion>
#include <QSizeF>

#include <optional>
#include <vector>

class QPainter;

namespace quorvane {

class Layer;

/// How a picture joins what is there already.
enum class Composition {
    Over, ///< In front of it.
    Add, ///< Its light is added. Two pictures whose shares make up one dissolve without a dip.
};

/// The part that one of a transition's two pictures has in it.
struct Effect {
    TransitionKind kind; ///< Any but Fade, which is nothing but opacity.
    double progress = 0; ///< 0 to 1.
    bool isArriving = false; ///< The new picture, else the old one.

    /// Where another layer's old picture lies in front, whose part says what is seen of this one:
    /// there a new picture is whole. In the root's coordinates; empty for nowhere.
    QRectF behind {};

    bool operator==(const Effect&) const = default;
};

/// One picture to be painted.
struct Draw {
    QRectF rect; ///< In the root's coordinates: from the lower left, y up, points. Before it turns.
    double opacity = 1; ///< More than 0, at most 1.
    QImage contents;
    double rotation = 0; ///< Radians about `pivot`, counter-clockwise.
    QPointF pivot {}; ///< In the root's coordinates. Means nothing without rotation.
    Composition composition = Composition::Over;
    std::optional<Effect> effect = {};
};

/// What the layers on top of `root` show at `now`, hindmost first. Layers that show nothing are
/// left out. \param now  seconds, of the clock of the animations.
std::vector<Draw> drawList(const Layer& root, double now);

/// The pixels of the painter's device that `rect` covers: its edges rounded to whole device pixels,
/// so that a picture at rest is as sharp as it can be, and at least one pixel each way.
/// \param viewHeight  of the root, in points; turns y round.
/// \param pixelRatio  device pixels a point.
QRect deviceRect(const QRectF& rect, double viewHeight, double pixelRatio);

/// The part of the device, in its pixels, that `draws` may leave as it was.
QRegion uncovered(const std::vector<Draw>& draws, const QSizeF& view, double pixelRatio);

/// Paints `draws` with a painter whose coordinates are device pixels, y down. A picture that has
/// exactly the pixels that it covers, which are those of deviceRect(), is copied as it is.
/// \param view  size of the root, in points; what lies outside is left out.
void paint(
    QPainter& painter, const std::vector<Draw>& draws, const QSizeF& view, double pixelRatio);

} // namespace quorvane
