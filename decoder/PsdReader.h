// SPDX-License-Identifier: GPL-3.0-or-later
// Photoshop's documents, by the merged picture that they carry beside their layers.
#pragma once

#include "decoder/PictureReader.h"

class QByteArray;

namespace quorvane {

class FileBytes;

/// PSD and PSB, its form for large documents.
bool isPsd(const QByteArray& head);

/// \return Unsupported for documents saved without the merged picture, and for Lab and
/// multichannel documents.
OpenedPicture openPsd(FileBytes& file);

} // namespace quorvane
