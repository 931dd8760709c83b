// SPDX-License-Identifier: GPL-3.0-or-later
// HEIF pictures: HEIC of telephones, AVIF, with grids, transparency and more than eight bits.
#pragma once

#include "decoder/PictureReader.h"

#include <QByteArray>

namespace quorvane {

/// Whether the file names itself a still or a sequence of pictures, not a movie.
bool isHeif(const QByteArray& head);

/// The primary picture. The library turns, mirrors and crops it: the header tells the upright size.
/// What EXIF says about the orientation does not count in this container.
OpenedPicture openHeif(FileBytes& file);

/// The small picture stored beside the primary one. \return NotFound too when it is of another
/// shape, since then it was not turned like the picture.
OpenedPicture openHeifThumbnail(FileBytes& file);

} // namespace quorvane
