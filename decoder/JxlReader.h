// SPDX-License-Identifier: GPL-3.0-or-later
// JPEG XL pictures, bare or in their container.
#pragma once

#include "decoder/PictureReader.h"

#include <QByteArray>

namespace quorvane {

bool isJxl(const QByteArray& head);

/// The picture, or an animation's first frame. The library turns it: the header tells the upright
/// size.
OpenedPicture openJxl(FileBytes& file);

} // namespace quorvane
