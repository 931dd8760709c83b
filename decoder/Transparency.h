// SPDX-License-Identifier: GPL-3.0-or-later
// Transparency that is none.
#pragma once

class QImage;

namespace quorvane {

/// Turns `image`, if it is ARGB32_Premultiplied and nothing in it is transparent, into RGB32 in
/// place, so that it is drawn without blending.
void dropUselessTransparency(QImage& image);

/// Whether the fourth byte of every pixel is 0. Old programs wrote pixels of four bytes without
/// meaning the fourth one: such a picture is opaque, not invisible.
/// \param image  of four bytes a pixel, not yet multiplied.
bool isAlphaUnused(const QImage& image);

/// Multiplies the fourth byte of every pixel into its colours, in place. The image, which is
/// ARGB32_Premultiplied by name already, becomes RGB32 if nothing in it is transparent.
void multiplyAlpha(QImage& image);

/// Makes every pixel opaque, whatever its fourth byte, and the image RGB32, in place.
void dropAlpha(QImage& image);

} // namespace quorvane
