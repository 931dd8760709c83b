// SPDX-License-Identifier: GPL-3.0-or-later
// Files of one icon or cursor of Windows in several sizes: ICO, CUR.
#pragma once

#include "decoder/PictureReader.h"

class QByteArray;

namespace quorvane {

/// Icons and cursors of Windows.
bool isIco(const QByteArray& head);

/// The first, in the version of its size that has the most bits a pixel. \return Damaged when just
/// that one is cut short.
OpenedPicture openIco(FileBytes& file);

} // namespace quorvane
