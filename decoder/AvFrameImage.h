// SPDX-License-Identifier: GPL-3.0-or-later
// From a still frame of the library of movies to pixels for showing.
#pragma once

#include "decoder/PictureReader.h"

struct AVFrame;

namespace quorvane {

/// What the samples for transparency are worth.
enum class Alpha {
    IsMeant,
    MayBeJunk, ///< A picture that is transparent everywhere was not meant to be.
};

/// The pixels of `frame`, exactly: grey, RGB or indexed colours of up to 16 bits in any
/// order. \return Unsupported for other forms; TooLarge when there is no memory.
Result<QImage> imageOf(const AVFrame& frame, Alpha alpha, const ImageMaker& makeImage);

} // namespace quorvane
