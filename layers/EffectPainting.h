// SPDX-License-Identifier: GPL-3.0-or-later
// The transitions that are more than moving and fading: strips, holes, a soft edge.
#pragma once

#include "layers/Drawing.h"

namespace quorvane {

/// Where a picture of a transition is painted. Device pixels, y down.
struct EffectPlace {
    QRect target; ///< The whole picture, which the effect counts from.
    QRect device; ///< What can be seen.
    double pixelRatio = 1; ///< Device pixels a point.
    QRect behind {}; ///< Effect::behind on the device.
};

/// Paints the part that the picture has in the transition. At progress 0 the old picture is all
/// there and the new one is not; at 1 it is the other way round.
void paintEffect(
    QPainter& painter, const QImage& contents, const Effect& effect, const EffectPlace& place);

/// The share that the new picture has of a Swipe, from 0 to 1. \param across  points from the
/// picture's left edge. \param width  of the picture, points.
double swipeShare(double across, double width, double progress);

/// The share that the new picture has of a Mod. \param x, y  points from the lower left corner.
double modShare(double x, double y, double progress);

/// How far strip `index`, counted from the left, of a BarsSwipe has fallen, in heights of the
/// picture: 0 to 1.
double barFall(int index, double progress);

} // namespace quorvane
