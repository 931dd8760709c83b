// SPDX-License-Identifier: GPL-3.0-or-later
// How far two renderings of one picture are apart.
#pragma once

#include <QImage>

#include <array>

namespace quorvane::tests {

/// Over all pixels and channels; colours as multiplied by their opacity, which is what the eye gets
/// of them in front of black.
struct PixelDifference {
    std::array<double, 3> mean {}; ///< Of the absolute differences: blue, green, red; 0 to 255.
    double worstMean = 0; ///< The greatest of the three, and of the opacity's if both have one.
    double share
        = 0; ///< Of the pixels, 0 to 1, those with a channel that is off by more than asked.
    int largest = 0; ///< The greatest of all differences, 0 to 255.
};

/// How far apart two renderings may be.
struct Tolerance {
    double mean = 1.5; ///< Of PixelDifference::worstMean.
    int difference = 8; ///< A pixel that is off by more counts for the share.
    double share = 0.01;
};

/// Both of one size. \param difference  what a pixel may be off before it counts for the share.
PixelDifference difference(const QImage& ours, const QImage& theirs, int difference);

/// Whether that is no more than allowed.
bool isWithin(const PixelDifference& difference, const Tolerance& tolerance);

/// In ARGB32_Premultiplied, whatever it was.
QImage premultiplied(const QImage& image);

} // namespace quorvane::tests
