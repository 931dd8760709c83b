// SPDX-License-Identifier: GPL-3.0-or-later
// Files of one icon of the Macintosh in several sizes: ICNS.
#pragma once

#include "decoder/PictureReader.h"

class QByteArray;

namespace quorvane {

/// Icons of the Macintosh.
bool isIcns(const QByteArray& head);

/// The largest. \return Damaged when the file is cut short, or has none that anybody knows.
OpenedPicture openIcns(FileBytes& file);

} // namespace quorvane
