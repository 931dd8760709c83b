// SPDX-License-Identifier: GPL-3.0-or-later
// What lies in a movie file, without playing it: single frames, the cover, and what it says.
#pragma once

#include "decoder/PictureReader.h"
#include "platform/MovieInformation.h"

#include <QByteArray>

#include <optional>

namespace quorvane {

/// The middle of a movie, in six-hundredths of a second: half of `seconds`, what is less than one
/// of them cut off. 0 for a length that is unknown, negative or no number.
qint64 middleOf(double seconds);

/// How a movie is to be turned. \param matrix  nine numbers as the containers have them, row by
/// row; turns by other angles than 90 degrees count as the nearest. \return EXIF's orientation.
int orientationOfMatrix(const qint32 (&matrix)[9]);

/// Opens a movie at the frame that is seen at a moment; where the file has none there, at the
/// nearest one before or after. The header has the size in which it is displayed: upright and with
/// square pixels. Only the descriptor (or the bytes) is read, whatever the file refers to.
/// \param seconds  from the beginning; beyond the end is the end. Nothing: half of the length.
/// \return NotFound without a picture track (a cover is none), Damaged when no frame can be
///         decoded, Unsupported, TooLarge.
OpenedPicture openMovieFrame(FileBytes& file, std::optional<double> seconds = {});

/// What the file says of itself, true or not. \return Unsupported, Damaged.
Result<MovieInformation> readMovieInformation(FileBytes& file);

/// The picture that stands for the file in lists, as a file of any format. \return NotFound where
/// there is none, Unsupported, Damaged.
Result<QByteArray> readMovieCover(FileBytes& file);

} // namespace quorvane
