// SPDX-License-Identifier: GPL-3.0-or-later
// WebP. The library for it stays in the source.
#pragma once

#include "decoder/PictureReader.h"

#include <QByteArray>

namespace quorvane {

class FileBytes;

/// Whether a file with this beginning is a WebP file.
bool isWebp(const QByteArray& head);

/// A still, or the first frame of an animation.
OpenedPicture openWebp(FileBytes& file);

} // namespace quorvane
