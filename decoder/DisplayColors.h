// SPDX-License-Identifier: GPL-3.0-or-later
// Pixels brought to the colours of the monitor that they are for.
#pragma once

#include "decoder/ColorProfile.h"

namespace quorvane {

/// What pixels are for from now on. \param profile  ICC, of red, green and blue; empty, one that
/// cannot be read and one that says the same as sRGB mean sRGB.
void setDisplayProfile(const QByteArray& profile);

/// Converts the colours of `image`, RGB32 or ARGB32_Premultiplied, in place: straight from its own
/// profile, so that a monitor of more colours than sRGB shows all that the picture has.
/// \return false, and the image unchanged, when the library refuses.
bool convertForDisplay(QImage& image, const ColorProfile& profile);

} // namespace quorvane
