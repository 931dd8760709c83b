// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/PictureFormats.h"

#include "decoder/AvPictureReader.h"
#include "decoder/BmpReader.h"
#include "decoder/ExrReader.h"
#include "decoder/FileBytes.h"
#include "decoder/HeifReader.h"
#include "decoder/IconReader.h"
#include "decoder/Jpeg2000Reader.h"
#include "decoder/JpegReader.h"
#include "decoder/JxlReader.h"
#include "decoder/PfmReader.h"
#include "decoder/PngReader.h"
#include "decoder/PsdReader.h"
#include "decoder/QtReader.h"
#include "decoder/RadianceReader.h"
#include "decoder/RawReader.h"
#include "decoder/SvgReader.h"
#include "decoder/TiffReader.h"
#include "decoder/WebpReader.h"

#include <algorithm>
#include <vector>

namespace quorvane {

namespace {

bool isPageDescription(const QByteArray& head)
{
    return head.startsWith("%PDF") || head.startsWith("%!PS")
        || head.startsWith("\xC5\xD0\xD3\xC6");
}

} // namespace

bool isReasonable(QSize size)
{
    return size.width() > 0 && size.height() > 0
        && qint64(size.width()) * size.height() <= kPixelLimit;
}

std::span<const PictureFormat> pictureFormats()
{
    static const std::vector<PictureFormat> formats {
        // Those with a signature of their own come before those that are recognized by guessing.
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
    };
    return formats;
}

const PictureFormat* formatOf(FileBytes& file)
{
    const QByteArray& head = file.head();
    if (head.isEmpty() || isPageDescription(head))
        return nullptr;
    const auto formats = pictureFormats();
    const auto found = std::find_if(formats.begin(), formats.end(),
        [&](const PictureFormat& format) { return format.recognizes(head); });
    return found == formats.end() ? nullptr : &*found;
}

} // namespace quorvane
