// SPDX-License-Identifier: GPL-3.0-or-later
// BMP, the bitmap files of Windows and OS/2.
#pragma once

#include "decoder/PictureReader.h"

class QByteArray;

namespace quorvane {

class FileBytes;

bool isBmp(const QByteArray& head);

/// \return Damaged for a picture that is cut short; Unsupported for the few that hold a picture of
/// another format.
OpenedPicture openBmp(FileBytes& file);

} // namespace quorvane
