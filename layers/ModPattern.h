// SPDX-License-Identifier: GPL-3.0-or-later
// The holes through which the new picture of a Mod shows.
#pragma once

#include "layers/Drawing.h"

#include <QSize>

#include <cstdint>
#include <memory>
#include <vector>

namespace quorvane {

/// A pattern of holes that grow until they are all there is: round and small near one point in the
/// lower left, long and sweeping far from it. It counts from a picture's lower left corner, so that
/// one pattern serves all pictures that are no larger than it.
class ModPattern {
public:
    /// Takes a tenth of a second for a large screen. Thread: any.
    /// \param size  device pixels. \param pixelRatio  device pixels a point.
    ModPattern(QSize size, double pixelRatio);

    /// Whether it is large enough for pictures of `size`, on a screen that is as dense.
    bool suffices(QSize size, double pixelRatio) const;

    /// The one that was kept last, if it suffices; else one is made and kept. Thread: main.
    static std::shared_ptr<const ModPattern> of(QSize size, double pixelRatio);

    /// Nothing if of() would have to make one. Thread: main.
    static std::shared_ptr<const ModPattern> kept(QSize size, double pixelRatio);

    /// Thread: main.
    static void keep(std::shared_ptr<const ModPattern> pattern);

    /// How far a place is from the middle of its hole, in points of the pattern, at most
    /// kFarthest. \param x, y  points from the picture's lower left corner.
    static double distanceAt(double x, double y);

    /// The share of the new picture at that distance: exactly 0 at progress 0, 1 at progress 1.
    static double shareAt(double distance, double progress);

    /// Multiplies the picture's share into `image`, of format ARGB32_Premultiplied.
    /// \param place  of its lower left pixel, counted from that of the picture to the right and
    /// upwards.
    void keepShare(QImage& image, QPoint place, const Effect& effect) const;

private:
    QSize mSize;
    double mPixelRatio;
    std::vector<std::uint16_t>
        mDistances; ///< From the lowest row up, in steps of the pattern's table.
};

} // namespace quorvane
