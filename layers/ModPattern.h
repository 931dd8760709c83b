// SPDX-License-Identifier: GPL-3.0-or-later
// The holes through which the new picture of a Mod shows.
#pragma once

#include "layers/Drawing.h"

#include <QSize>

#include <cstdint>
#include <vector>

namespace quorvane {

/// A pattern of holes that grow until they are all there is: round and small near one point in the
/// lower left, long and sweeping far from it. For pictures of one size. Thread: main.
class ModPattern {
public:
    /// The pattern for pictures of `size` device pixels; the ones used last are kept.
    static const ModPattern& of(QSize size, double pixelRatio);

    /// How far a place is from the middle of its hole, in points of the pattern, at most
    /// kFarthest. \param x, y  points from the picture's lower left corner.
    static double distanceAt(double x, double y);

    /// The share of the new picture at that distance: exactly 0 at progress 0, 1 at progress 1.
    static double shareAt(double distance, double progress);

    /// Multiplies the picture's share into `image`, of format ARGB32_Premultiplied, whose upper
    /// left pixel is at `place` of the whole picture.
    void keepShare(QImage& image, QPoint place, const Effect& effect) const;

private:
    ModPattern(QSize size, double pixelRatio);

    QSize mSize;
    double mPixelRatio;
    std::vector<std::uint16_t> mDistances; ///< Row by row, in steps of the pattern's table.
};

} // namespace quorvane
