// SPDX-License-Identifier: GPL-3.0-or-later
// JPEG, the format that nearly every photograph comes in. The library for it stays in the source.
#pragma once

#include "decoder/PictureReader.h"

#include <QByteArray>

namespace quorvane {

class FileBytes;

/// Whether a file with this beginning is a JPEG file.
bool isJpeg(const QByteArray& head);

/// Any JPEG file of eight bits: grey, of three colours or of four inks, in one go or in many, of
/// either way of coding. The picture may be larger than what isReasonable(): it can still be
/// decoded to a half, a quarter or an eighth, which skips most of the work.
OpenedPicture openJpeg(FileBytes& file);

/// The thumbnail that a camera puts into the EXIF data. Reads no more than the file's beginning.
OpenedPicture openJpegThumbnail(FileBytes& file);

} // namespace quorvane
