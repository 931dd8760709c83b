// SPDX-License-Identifier: GPL-3.0-or-later
// What the directory of a TIFF says about a picture.
#pragma once

#include "decoder/ColorProfile.h"
#include "decoder/TiffSamples.h"

#include <QSize>

#include <optional>

struct tiff; // The library's TIFF.

namespace quorvane {

/// What stands in the directory of a page about its pixels: numbers of the standard, where there is
/// no other name for them.
struct TiffPage {
    QSize size;
    int orientation = 1; ///< 1 to 8.
    int bits = 1; ///< Of a sample.
    int samples = 1; ///< Of a pixel.
    int photometric = 0;
    int sampleFormat = 0;
    int compression = 0;
    int inkSet = 0;
    bool isPlanar = false;
    bool isTiled = false;
    QSize block; ///< Of a tile, or of a strip in the whole width; empty when it makes no sense.
    int alphaSample = -1; ///< Which of the samples says how opaque the pixel is; -1 if none does.
    bool isPremultiplied = false;

    /// Whether the library's JPEG decoder can turn luma and chroma samples into RGB by itself.
    bool isJpegInside() const;

    /// Whether 0 is white, in grey pictures.
    bool isWhiteZero() const;

    /// How many samples of a pixel are colours; 0 for colours that are the library's to convert.
    int colors() const;

    /// The form of the samples; nothing if they are the library's to convert.
    std::optional<SampleForm> form() const;
};

/// The page that `tiff` has open. \return nothing when it has no size.
std::optional<TiffPage> tiffPageOf(tiff* tiff);

/// The profile in that page; sRGB if there is none.
ColorProfile tiffProfileOf(tiff* tiff);

} // namespace quorvane
