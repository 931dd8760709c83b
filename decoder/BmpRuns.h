// SPDX-License-Identifier: GPL-3.0-or-later
// The run-length code of BMP files.
#pragma once

#include "decoder/DibPixels.h"

#include <QByteArray>

#include <optional>

namespace quorvane {

/// The pixels that `bytes` code from pixels.pixels on, one byte each, in rows of whole groups of
/// four bytes and in the order of the file. What the code jumps over is 0. \param pixels  of a
/// depth of 4 or 8, its size checked. \return nothing when the code ends too soon.
std::optional<QByteArray> unpackBmpRuns(const QByteArray& bytes, const DibPixels& pixels);

} // namespace quorvane
