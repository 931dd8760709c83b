// SPDX-License-Identifier: GPL-3.0-or-later
// Pictures to measure with.
#pragma once

#include <QByteArray>
#include <QString>

namespace quorvane::bench {

/// Paths of files.
struct Material {
    QByteArray photograph; ///< A JPEG of 6000 x 4000 pixels.
    QByteArray png; ///< This and the next three: 3000 x 2000 pixels.
    QByteArray webp;
    QByteArray heic;
    QByteArray avif;
    QByteArray onePixel; ///< A PNG.
};

/// Makes them, the same ones every time: soft shapes, edges and the noise of a camera. Ends the
/// program when it cannot.
Material makeMaterial(const QString& folder);

} // namespace quorvane::bench
