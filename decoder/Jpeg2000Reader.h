// SPDX-License-Identifier: GPL-3.0-or-later
// JPEG 2000: archives, maps, medicine, digital cinema.
#pragma once

#include "decoder/PictureReader.h"

#include <QByteArray>

namespace quorvane {

/// Whether a file that begins with `head` is a JP2 file or a bare codestream.
bool isJpeg2000(const QByteArray& head);

/// \return Damaged, Unsupported or TooLarge.
OpenedPicture openJpeg2000(FileBytes& file);

} // namespace quorvane
