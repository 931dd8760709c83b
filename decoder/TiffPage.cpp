// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/TiffPage.h"

#include <tiffio.h>

#include <algorithm>
#include <climits>

namespace quorvane {

namespace {

template <typename Number> Number tagOf(TIFF* tiff, quint32 tag, Number otherwise)
{
    Number value = 0;
    return TIFFGetFieldDefaulted(tiff, tag, &value) ? value : otherwise;
}

QSize blockOf(TIFF* tiff, const TiffPage& page)
{
    auto width = static_cast<quint32>(page.size.width());
    auto height = static_cast<quint32>(page.size.height());
    if (page.isTiled) {
        width = tagOf<quint32>(tiff, TIFFTAG_TILEWIDTH, 0);
        height = tagOf<quint32>(tiff, TIFFTAG_TILELENGTH, 0);
    } else {
        height = std::min(height, tagOf<quint32>(tiff, TIFFTAG_ROWSPERSTRIP, 0));
    }
    if (width > INT_MAX || height > INT_MAX)
        return {};
    return { static_cast<int>(width), static_cast<int>(height) };
}

/// Extra samples of no stated meaning are masks that an editor kept, not transparency.
void readAlpha(TIFF* tiff, TiffPage& page)
{
    quint16 count = 0;
    const quint16* kinds = nullptr;
    if (!TIFFGetFieldDefaulted(tiff, TIFFTAG_EXTRASAMPLES, &count, &kinds) || !kinds)
        return;
    for (int i = 0; i < count && page.alphaSample < 0; ++i) {
        const int kind = kinds[i];
        if (kind != EXTRASAMPLE_ASSOCALPHA && kind != EXTRASAMPLE_UNASSALPHA)
            continue;
        page.alphaSample = page.samples - count + i;
        page.isPremultiplied = kind == EXTRASAMPLE_ASSOCALPHA;
    }
}

} // namespace

bool TiffPage::isJpegInside() const
{
    return compression == COMPRESSION_JPEG && photometric == PHOTOMETRIC_YCBCR && samples == 3
        && bits == 8 && !isPlanar;
}

bool TiffPage::isWhiteZero() const { return photometric == PHOTOMETRIC_MINISWHITE; }

int TiffPage::colors() const
{
    switch (photometric) {
    case PHOTOMETRIC_MINISBLACK:
    case PHOTOMETRIC_MINISWHITE:
        return 1;
    case PHOTOMETRIC_RGB:
        return 3;
    case PHOTOMETRIC_SEPARATED:
        return inkSet == INKSET_CMYK ? 4 : 0;
    case PHOTOMETRIC_YCBCR:
        return isJpegInside() ? 3 : 0;
    default:
        return 0;
    }
}

std::optional<SampleForm> TiffPage::form() const
{
    if (sampleFormat == SAMPLEFORMAT_IEEEFP)
        return bits == 32 ? std::optional(SampleForm::Float32) : std::nullopt;
    if (sampleFormat != SAMPLEFORMAT_UINT && sampleFormat != SAMPLEFORMAT_VOID)
        return std::nullopt;
    switch (bits) {
    case 8:
        return SampleForm::Byte;
    case 16:
        return SampleForm::Word;
    case 32:
        return SampleForm::LongWord;
    default:
        return bits > 8 && bits < 16 ? std::optional(SampleForm::Packed) : std::nullopt;
    }
}

std::optional<TiffPage> tiffPageOf(TIFF* tiff)
{
    const auto width = tagOf<quint32>(tiff, TIFFTAG_IMAGEWIDTH, 0);
    const auto height = tagOf<quint32>(tiff, TIFFTAG_IMAGELENGTH, 0);
    if (width == 0 || height == 0 || width > INT_MAX || height > INT_MAX)
        return std::nullopt;
    TiffPage page;
    page.size = QSize(static_cast<int>(width), static_cast<int>(height));
    const int orientation = tagOf<quint16>(tiff, TIFFTAG_ORIENTATION, 1);
    page.orientation = orientation >= 1 && orientation <= 8 ? orientation : 1;
    page.bits = tagOf<quint16>(tiff, TIFFTAG_BITSPERSAMPLE, 1);
    page.samples = tagOf<quint16>(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
    page.sampleFormat = tagOf<quint16>(tiff, TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT);
    page.compression = tagOf<quint16>(tiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    page.inkSet = tagOf<quint16>(tiff, TIFFTAG_INKSET, INKSET_CMYK);
    const int fallback = page.samples >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
    page.photometric = tagOf<quint16>(tiff, TIFFTAG_PHOTOMETRIC, static_cast<quint16>(fallback));
    page.isPlanar = page.samples > 1
        && tagOf<quint16>(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) == PLANARCONFIG_SEPARATE;
    page.isTiled = TIFFIsTiled(tiff);
    page.block = blockOf(tiff, page);
    readAlpha(tiff, page);
    return page;
}

ColorProfile tiffProfileOf(TIFF* tiff)
{
    quint32 size = 0;
    const char* data = nullptr;
    if (!TIFFGetField(tiff, TIFFTAG_ICCPROFILE, &size, &data) || !data || size == 0)
        return {};
    return ColorProfile::fromIcc(QByteArray(data, static_cast<qsizetype>(size)));
}

} // namespace quorvane
