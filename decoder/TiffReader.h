// SPDX-License-Identifier: GPL-3.0-or-later
// TIFF and BigTIFF: scans, prints, faxes, and what comes out of every image editor.
#pragma once

#include "decoder/PictureReader.h"

#include <QByteArray>

namespace quorvane {

/// Whether a file that begins with `head` is a TIFF. The raw files of cameras are too: ask isRaw()
/// before.
bool isTiff(const QByteArray& head);

/// The first page. \return Damaged, Unsupported or TooLarge.
OpenedPicture openTiff(FileBytes& file);

} // namespace quorvane
