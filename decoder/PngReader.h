// SPDX-License-Identifier: GPL-3.0-or-later
// PNG. The library for it stays in the source.
#pragma once

#include "decoder/PictureReader.h"

#include <QByteArray>

namespace quorvane {

class FileBytes;

/// Whether a file with this beginning is a PNG file.
bool isPng(const QByteArray& head);

/// Any PNG file. What its colours mean is told by the first that is there of: code points, an ICC
/// profile, the word that it is sRGB, gamma and primaries.
OpenedPicture openPng(FileBytes& file);

} // namespace quorvane
