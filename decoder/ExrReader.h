// SPDX-License-Identifier: GPL-3.0-or-later
// OpenEXR pictures: light as floating-point numbers.
#pragma once

#include "decoder/PictureReader.h"

#include <QByteArray>

namespace quorvane {

bool isExr(const QByteArray& head);

/// The colours of the first part that there are any of: its data window, wherever that lies in the
/// window that the file would like to see shown.
OpenedPicture openExr(FileBytes& file);

} // namespace quorvane
