// SPDX-License-Identifier: GPL-3.0-or-later
// Radiance pictures (.hdr, .pic): light with a common exponent.
#pragma once

#include "decoder/PictureReader.h"

#include <QByteArray>

namespace quorvane {

bool isRadiance(const QByteArray& head);

OpenedPicture openRadiance(FileBytes& file);

} // namespace quorvane
