// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/AvPictureReader.h"
#include "decoder/BmpReader.h"
#include "decoder/ExrReader.h"
#include "decoder/HeifReader.h"
#include "decoder/IcnsReader.h"
#include "decoder/IcoReader.h"
#include "decoder/Jpeg2000Reader.h"
#include "decoder/JpegReader.h"
#include "decoder/JxlReader.h"
#include "decoder/MovieReader.h"
#include "decoder/PfmReader.h"
#include "decoder/PictureFormats.h"
#include "decoder/PngReader.h"
#include "decoder/PsdReader.h"
#include "decoder/QtReader.h"
#include "decoder/RadianceReader.h"
#include "decoder/RawReader.h"
#include "decoder/SvgReader.h"
#include "decoder/TiffReader.h"
#include "decoder/WebpReader.h"

#include <array>

namespace quorvane {

const Formats& allFormats()
{
    // Those with a signature of their own come before those that are recognized by guessing.
    static constexpr auto kPictures = std::to_array<PictureFormat>({
        { "JPEG", isJpeg, openJpeg, openJpegThumbnail },
        { "PNG", isPng, openPng },
        { "WebP", isWebp, openWebp },
        { "camera raw", isRaw, openRaw, openRawThumbnail },
        { "TIFF", isTiff, openTiff },
        { "JPEG 2000", isJpeg2000, openJpeg2000 },
        { "HEIF", isHeif, openHeif, openHeifThumbnail },
        { "JPEG XL", isJxl, openJxl },
        { "OpenEXR", isExr, openExr },
        { "Radiance", isRadiance, openRadiance },
        { "SVG", isSvg, openSvg },
        { "GIF", isGif, openGif },
        { "Photoshop document", isPsd, openPsd },
        { "Macintosh icon", isIcns, openIcns },
        { "DirectDraw surface", isDds, openDds },
        { "portable arbitrary map", isPam, openPam },
        { "portable float map", isPfm, openPfm },
        { "XPM", isXpm, openXpm },
        { "BMP", isBmp, openBmp },
        { "portable anymap", isPnm, openPnm },
        { "SGI", isSgi, openSgi },
        { "Windows icon", isIco, openIco },
        { "PCX", isPcx, openPcx },
        { "XBM", isXbm, openXbm },
        { "TGA", isTga, openTga },
    });
    static constexpr Formats kFormats { .pictures = kPictures,
        .openMovieFrame = openMovieFrame,
        .readMovieInformation = readMovieInformation,
        .readMovieCover = readMovieCover,
        .warmUp = warmUpSvgText };
    return kFormats;
}

} // namespace quorvane
