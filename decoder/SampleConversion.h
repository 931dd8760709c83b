// SPDX-License-Identifier: GPL-3.0-or-later
// Pixels and samples brought to sRGB, by a profile or without one. For ColorProfile, which decides.
#pragma once

#include "decoder/ColorProfile.h"

namespace quorvane {

class SourceProfile;

/// Whether the colours of `image` can be meant by a profile of this model.
bool canMean(const SourceProfile& source, const QImage& image);

/// Converts the colours of `image`, RGB32 or ARGB32_Premultiplied. A profile whose model does not
/// fit the pixels changes nothing. \return false when the library refuses.
bool convertInPlace(SourceProfile& source, QImage& image);

/// Fills `image` with the samples' colours; simply, when they are not of the profile's model.
/// \return false when the library refuses.
bool convertSamples(SourceProfile& source, const Samples& samples, QImage& image);

/// The same for samples that are sRGB, or inks that nobody describes: red is what cyan and black
/// leave of white.
void convertSimply(const Samples& samples, QImage& image);

} // namespace quorvane
