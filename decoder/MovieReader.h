// SPDX-License-Identifier: GPL-3.0-or-later
// The one frame that stands for a movie where pictures are listed.
#pragma once

#include "decoder/PictureReader.h"

namespace quorvane {

/// The middle of a movie, in six-hundredths of a second: half of `seconds`, what is less than one
/// of them cut off. 0 for a length that is unknown, negative or no number.
qint64 middleOf(double seconds);

/// How a movie is to be turned. \param matrix  nine numbers as the containers have them, row by
/// row; turns by other angles than 90 degrees count as the nearest. \return EXIF's orientation.
int orientationOfMatrix(const qint32 (&matrix)[9]);

/// Opens a movie at the frame that is seen at its middle; where the file has none there, at the
/// nearest one before or after. The header has the size in which it is displayed: upright and with
/// square pixels. Only the descriptor (or the bytes) is read, whatever the file refers to.
/// \return NotFound without a picture track (a cover is none), Damaged when no frame can be
///         decoded, Unsupported, TooLarge.
OpenedPicture openMovieFrame(FileBytes& file);

} // namespace quorvane
