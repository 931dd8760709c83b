// SPDX-License-Identifier: GPL-3.0-or-later
// Pictures of more light than a screen has, brought down to what it can show.
#pragma once

#include "decoder/ColorProfile.h"

#include <QImage>

namespace quorvane {

/// Light as floating-point numbers.
struct LinearSamples {
    const float* data;
    qsizetype stride; ///< Floats from one row to the next.
    QSize size;
    int channels; ///< 1 grey, 2 grey and alpha, 3 RGB, 4 RGBA; interleaved, alpha not multiplied
                  ///< in.
};

/// Fills `image`, of the same size and RGB32 or (with alpha) ARGB32_Premultiplied. 1.0 is the white
/// of a screen, primaries are those of sRGB. A picture that stays within 0 to 1 keeps its values; a
/// brighter one is compressed smoothly, its middle where the eye expects it, so that neither
/// highlights nor shadows are cut off. What is no number, infinite or negative counts as the
/// nearest sane value.
void toneMapLinear(const LinearSamples& samples, QImage& image);

/// Whether the transfer function is one that toneMapCoded() is for: 16 is PQ, 18 is HLG, 8 is
/// linear light (ITU-T H.273).
bool isHighDynamicRange(int transfer);

/// Fills `image` from samples coded with PQ, HLG or linearly. \param primaries, transfer  of ITU-T
/// H.273; unknown primaries count as those of BT.2020 for PQ and HLG.
/// \param samples  Rgb or Rgba, Bits16, full range.
void toneMapCoded(const Samples& samples, int primaries, int transfer, QImage& image);

} // namespace quorvane
