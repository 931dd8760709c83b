// SPDX-License-Identifier: GPL-3.0-or-later
// What the sensors of cameras saw: DNG and the makers' own raw formats.
#pragma once

#include "decoder/PictureReader.h"

#include <QByteArray>

namespace quorvane {

/// Whether a file that begins with `head` is a camera's raw file. Many are TIFF files to look at,
/// so this is to be asked before isTiff(); a TIFF that a camera or a raw developer wrote is none.
bool isRaw(const QByteArray& head);

/// The picture: the preview that the camera put into the file where it is large enough, else
/// developed. \return Damaged, Unsupported for a camera too new, or TooLarge.
OpenedPicture openRaw(FileBytes& file);

/// The largest preview in the file. \return NotFound when it has none.
OpenedPicture openRawThumbnail(FileBytes& file);

} // namespace quorvane
