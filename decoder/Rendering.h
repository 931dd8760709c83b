// SPDX-License-Identifier: GPL-3.0-or-later
// From a file to finished pixels: decoded, scaled, in the display's colours, upright.
#pragma once

#include "decoder/PictureReader.h"

namespace quorvane {

/// The size of the picture once it is upright.
QSize uprightSize(const PictureHeader& header);

/// Renders the picture into `canvas`, which is of the size wanted, upright. Its format when it
/// comes back is that of the pixels: RGB32 or ARGB32_Premultiplied, in the same memory. A picture
/// that has to be turned loses its transparency, to black.
Result<void> renderUpright(PictureReader& reader, QImage& canvas);

/// The same into memory of this program. \param size  empty for the picture's own.
Result<QImage> renderedImage(PictureReader& reader, QSize size = {});

} // namespace quorvane
