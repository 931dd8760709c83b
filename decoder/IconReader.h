// SPDX-License-Identifier: GPL-3.0-or-later
// Files of one icon in several sizes: ICO, CUR, ICNS. The best of them is the picture.
#pragma once

#include "decoder/PictureReader.h"

class QByteArray;

namespace quorvane {

class FileBytes;

/// Icons and cursors of Windows.
bool isIco(const QByteArray& head);

/// The first, in the version of its size that has the most bits a pixel. \return Damaged when just
/// that one is cut short.
OpenedPicture openIco(FileBytes& file);

/// Icons of the Macintosh.
bool isIcns(const QByteArray& head);

/// The largest.
OpenedPicture openIcns(FileBytes& file);

} // namespace quorvane
