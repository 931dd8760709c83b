// SPDX-License-Identifier: GPL-3.0-or-later
// The formats that most photographs come in. Their libraries are small: a decoder that knows only
// these is ready in a few milliseconds.
#include "decoder/JpegReader.h"
#include "decoder/PictureFormats.h"
#include "decoder/PngReader.h"
#include "decoder/WebpReader.h"

#include <array>

namespace quorvane {

const Formats& photographFormats()
{
    static constexpr std::array<PictureFormat, 3> kPictures { {
        { "JPEG", isJpeg, openJpeg, openJpegThumbnail },
        { "PNG", isPng, openPng },
        { "WebP", isWebp, openWebp },
    } };
    static constexpr Formats kFormats { .pictures = kPictures };
    return kFormats;
}

} // namespace quorvane
