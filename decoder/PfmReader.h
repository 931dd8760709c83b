// SPDX-License-Identifier: GPL-3.0-or-later
// PFM, the anymap of floating-point light.
#pragma once

#include "decoder/PictureReader.h"

class QByteArray;

namespace quorvane {

class FileBytes;

bool isPfm(const QByteArray& head);
OpenedPicture openPfm(FileBytes& file);

} // namespace quorvane
