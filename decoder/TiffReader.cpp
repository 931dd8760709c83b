// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/TiffReader.h"

#include "decoder/FileBytes.h"
#include "decoder/PictureFormats.h"
#include "decoder/TiffSamples.h"
#include "decoder/ToneMapping.h"

#include <tiffio.h>

#include <algorithm>
#include <cstring>

namespace quorvane {

namespace {

/// For any one thing that the library asks memory for: rows, a tile, a list of tags.
constexpr tmsize_t kMemoryLimit = tmsize_t(1) << 30;

/// Rows that are converted at a time, at least: setting up the conversion of colours costs about as
/// much as converting a few hundred pixels.
constexpr int kBandRows = 256;

/// The file as the library sees it.
struct Source {
    QByteArray bytes;
    qint64 position = 0;
};

Source& sourceOf(thandle_t handle) { return *static_cast<Source*>(handle); }

tmsize_t readSource(thandle_t handle, void* to, tmsize_t size)
{
    Source& source = sourceOf(handle);
    const qint64 left = source.bytes.size() - source.position;
    const qint64 count = std::clamp<qint64>(size, 0, std::max<qint64>(left, 0));
    if (count > 0)
        std::memcpy(to, source.bytes.constData() + source.position, static_cast<size_t>(count));
    source.position += count;
    return count;
}

tmsize_t writeNothing(thandle_t, void*, tmsize_t) { return 0; }

toff_t seekSource(thandle_t handle, toff_t offset, int whence)
{
    Source& source = sourceOf(handle);
    const auto distance = static_cast<qint64>(offset);
    const qint64 base
        = whence == SEEK_SET ? 0 : (whence == SEEK_CUR ? source.position : source.bytes.size());
    qint64 target = 0;
    if (__builtin_add_overflow(base, distance, &target) || target < 0)
        return static_cast<toff_t>(-1);
    source.position = target;
    return static_cast<toff_t>(target);
}

int closeNothing(thandle_t) { return 0; }

toff_t sizeOfSource(thandle_t handle) { return static_cast<toff_t>(sourceOf(handle).bytes.size()); }

int keepSilent(TIFF*, void*, const char*, const char*, va_list) { return 1; }

struct TiffCloser {
    void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using Tiff = std::unique_ptr<TIFF, TiffCloser>;

/// \param source  must outlive what is returned. Null when it is no TIFF.
Tiff openSource(Source& source)
{
    // Some codecs of the library do not know the handlers of their file.
    TIFFSetErrorHandler(nullptr);
    TIFFSetWarningHandler(nullptr);
    TIFFOpenOptions* const options = TIFFOpenOptionsAlloc();
    if (!options)
        return {};
    TIFFOpenOptionsSetMaxSingleMemAlloc(options, kMemoryLimit);
    TIFFOpenOptionsSetErrorHandlerExtR(options, keepSilent, nullptr);
    TIFFOpenOptionsSetWarningHandlerExtR(options, keepSilent, nullptr);
    Tiff tiff(TIFFClientOpenExt("", "rm", &source, readSource, writeNothing, seekSource,
        closeNothing, sizeOfSource, nullptr, nullptr, options));
    TIFFOpenOptionsFree(options);
    return tiff;
}

template <typename Number> Number tagOf(TIFF* tiff, quint32 tag, Number otherwise)
{
    Number value = 0;
    return TIFFGetFieldDefaulted(tiff, tag, &value) ? value : otherwise;
}

ColorProfile profileOf(TIFF* tiff)
{
    quint32 size = 0;
    const char* data = nullptr;
    if (!TIFFGetField(tiff, TIFFTAG_ICCPROFILE, &size, &data) || !data || size == 0)
        return {};
    return ColorProfile::fromIcc(QByteArray(data, static_cast<qsizetype>(size)));
}

/// What stands in the directory of a page about its pixels.
struct Page {
    QSize size;
    int orientation = 1;
    int bits = 1; ///< Of a sample.
    int samples = 1; ///< Of a pixel.
    int photometric = PHOTOMETRIC_MINISBLACK;
    int sampleFormat = SAMPLEFORMAT_UINT;
    int compression = COMPRESSION_NONE;
    int inkSet = INKSET_CMYK;
    bool isPlanar = false;
    bool isTiled = false;
    int alphaSample = -1; ///< Which of the samples says how opaque the pixel is; -1 if none does.
    bool isPremultiplied = false;
};

/// Extra samples of no stated meaning are masks that an editor kept, not transparency.
void readAlpha(TIFF* tiff, Page& page)
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

std::optional<Page> pageOf(TIFF* tiff)
{
    const auto width = tagOf<quint32>(tiff, TIFFTAG_IMAGEWIDTH, 0);
    const auto height = tagOf<quint32>(tiff, TIFFTAG_IMAGELENGTH, 0);
    if (width == 0 || height == 0 || width > INT_MAX || height > INT_MAX)
        return std::nullopt;
    Page page;
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
    readAlpha(tiff, page);
    return page;
}

/// Whether the library's JPEG decoder turns these luma and chroma samples into RGB by itself.
bool isJpegInside(const Page& page)
{
    return page.compression == COMPRESSION_JPEG && page.photometric == PHOTOMETRIC_YCBCR
        && page.samples == 3 && page.bits == 8 && !page.isPlanar;
}

/// How many samples of a pixel are colours; 0 for colours that are the library's to convert.
int colorsOf(const Page& page)
{
    switch (page.photometric) {
    case PHOTOMETRIC_MINISBLACK:
    case PHOTOMETRIC_MINISWHITE:
        return 1;
    case PHOTOMETRIC_RGB:
        return 3;
    case PHOTOMETRIC_SEPARATED:
        return page.inkSet == INKSET_CMYK ? 4 : 0;
    case PHOTOMETRIC_YCBCR:
        return isJpegInside(page) ? 3 : 0;
    default:
        return 0;
    }
}

/// The form of the samples for TiffSamples.h; nothing if they are the library's to convert.
std::optional<SampleForm> formOf(const Page& page)
{
    if (page.sampleFormat == SAMPLEFORMAT_IEEEFP)
        return page.bits == 32 ? std::optional(SampleForm::Float32) : std::nullopt;
    if (page.sampleFormat != SAMPLEFORMAT_UINT && page.sampleFormat != SAMPLEFORMAT_VOID)
        return std::nullopt;
    switch (page.bits) {
    case 8:
        return SampleForm::Byte;
    case 16:
        return SampleForm::Word;
    case 32:
        return SampleForm::LongWord;
    default:
        return page.bits > 8 && page.bits < 16 ? std::optional(SampleForm::Packed) : std::nullopt;
    }
}

tl::unexpected<Error> endsTooSoon()
{
    return fail(ErrorKind::Damaged, QStringLiteral("the TIFF ends too soon or is broken"));
}

tl::unexpected<Error> noMemory()
{
    return fail(ErrorKind::TooLarge, QStringLiteral("no memory for the pixels"));
}

/// A row of strips or of tiles at a time, brought into the form that a Band has.
class BlockReader {
public:
    BlockReader(TIFF* tiff, const Page& page, SampleForm form)
        : mTiff(tiff)
        , mPage(page)
        , mForm(form)
    {
        quint32 width = static_cast<quint32>(page.size.width());
        quint32 height = 0;
        if (page.isTiled) {
            width = tagOf<quint32>(tiff, TIFFTAG_TILEWIDTH, 0);
            height = tagOf<quint32>(tiff, TIFFTAG_TILELENGTH, 0);
        } else {
            height = tagOf<quint32>(tiff, TIFFTAG_ROWSPERSTRIP, 0);
            height = std::min(height, static_cast<quint32>(page.size.height()));
        }
        if (width <= INT_MAX && height <= INT_MAX)
            mBlock = QSize(static_cast<int>(width), static_cast<int>(height));
    }

    /// \return Damaged or TooLarge for blocks of no sane size.
    Result<void> prepare()
    {
        if (mBlock.isEmpty())
            return endsTooSoon();
        mRowBytes = mPage.isTiled ? TIFFTileRowSize(mTiff) : TIFFScanlineSize(mTiff);
        const qint64 needed = packedRowBytes();
        // Bounds the product below, too.
        if (mRowBytes < needed || mRowBytes > kMemoryLimit
            || mRowBytes * qint64(mBlock.height()) > kMemoryLimit)
            return fail(ErrorKind::TooLarge, QStringLiteral("the TIFF's blocks are too large"));
        mBytes = newBytes(mRowBytes * qint64(mBlock.height()));
        if (!mBytes)
            return noMemory();
        return {};
    }

    int blockHeight() const { return mBlock.height(); }

    /// Fills `band` with the picture's rows from `top` on. \param top  where a block begins.
    Result<void> read(int top, Band& band)
    {
        for (int plane = 0; plane < (mPage.isPlanar ? mPage.samples : 1); ++plane) {
            if (mPage.isPlanar && !band.holdsSample(plane))
                continue;
            for (int y = top; y < top + band.rows(); y += mBlock.height()) {
                if (auto done = readRowOfBlocks(plane, y, top, band); !done)
                    return done;
            }
        }
        return {};
    }

private:
    int samplesInBlock() const { return mPage.isPlanar ? 1 : mPage.samples; }

    qint64 packedRowBytes() const
    {
        return (qint64(mBlock.width()) * samplesInBlock() * mPage.bits + 7) / 8;
    }

    Result<void> readRowOfBlocks(int plane, int y, int top, Band& band)
    {
        const int rows
            = std::min({ mBlock.height(), mPage.size.height() - y, top + band.rows() - y });
        for (int x = 0; x < mPage.size.width(); x += mBlock.width()) {
            if (!readBlock(plane, x, y, rows))
                return endsTooSoon();
            const int count = std::min(mBlock.width(), mPage.size.width() - x);
            for (int row = 0; row < rows; ++row) {
                const SampleRun run { mBytes.get() + row * mRowBytes, mForm, mPage.bits,
                    samplesInBlock(), count };
                band.take(run, plane, QPoint(x, y - top + row));
            }
        }
        return {};
    }

    bool readBlock(int plane, int x, int y, int rows)
    {
        const auto column = static_cast<quint32>(x);
        const auto row = static_cast<quint32>(y);
        const auto sample = static_cast<quint16>(plane);
        const tmsize_t all = mRowBytes * qint64(mPage.isTiled ? mBlock.height() : rows);
        const tmsize_t got = mPage.isTiled
            ? TIFFReadEncodedTile(
                mTiff, TIFFComputeTile(mTiff, column, row, 0, sample), mBytes.get(), all)
            : TIFFReadEncodedStrip(mTiff, TIFFComputeStrip(mTiff, row, sample), mBytes.get(), all);
        return got == all;
    }

    TIFF* mTiff;
    const Page& mPage;
    SampleForm mForm;
    QSize mBlock;
    qint64 mRowBytes = 0;
    Bytes mBytes;
};

class TiffReader : public PictureReader {
public:
    static OpenedPicture open(QByteArray bytes)
    {
        auto reader = std::make_unique<TiffReader>();
        reader->mSource.bytes = std::move(bytes);
        reader->mTiff = openSource(reader->mSource);
        const auto page = reader->mTiff ? pageOf(reader->mTiff.get()) : std::nullopt;
        if (!page)
            return fail(ErrorKind::Damaged, QStringLiteral("the TIFF has no readable page"));
        if (!isReasonable(page->size))
            return fail(ErrorKind::TooLarge, QStringLiteral("the TIFF has too many pixels"));
        if (!TIFFIsCODECConfigured(static_cast<quint16>(page->compression)))
            return fail(ErrorKind::Unsupported, QStringLiteral("unknown compression in the TIFF"));
        reader->mPage = *page;
        return reader;
    }

    PictureHeader header() const override { return { mPage.size, mPage.orientation }; }

    Result<DecodedPicture> decode(QSize, const ImageMaker& makeImage) override
    {
        const auto form = formOf(mPage);
        const int colors = colorsOf(mPage);
        if (!form || colors == 0 || mPage.samples < colors)
            return decodeByLibrary(makeImage);
        const bool hasAlpha
            = colors < 4 && mPage.alphaSample >= colors && mPage.alphaSample < mPage.samples;
        // Four inks and transparency: nobody has it, and the inks count.
        if (*form == SampleForm::Float32 && colors == 4)
            return fail(ErrorKind::Unsupported, QStringLiteral("inks as floating-point numbers"));
        if (isJpegInside(mPage))
            TIFFSetField(mTiff.get(), TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);

        DecodedPicture picture;
        picture.image = makeImage(
            mPage.size, hasAlpha ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
        if (picture.image.isNull())
            return noMemory();
        const BandLayout layout { *form, colors, hasAlpha ? mPage.alphaSample : -1,
            hasAlpha && mPage.isPremultiplied, mPage.photometric == PHOTOMETRIC_MINISWHITE };
        picture.profile = profileOf(mTiff.get());
        if (auto done = decodeBands(layout, picture); !done)
            return tl::unexpected(done.error());
        return picture;
    }

private:
    /// Light is mapped by what the whole picture holds, so it comes in one piece.
    int bandRows(SampleForm form, int blockHeight) const
    {
        if (form == SampleForm::Float32)
            return mPage.size.height();
        const int blocks = (kBandRows + blockHeight - 1) / blockHeight;
        return static_cast<int>(
            std::min(blocks * qint64(blockHeight), qint64(mPage.size.height())));
    }

    Result<void> decodeBands(const BandLayout& layout, DecodedPicture& picture)
    {
        BlockReader blocks(mTiff.get(), mPage, layout.form);
        if (auto ready = blocks.prepare(); !ready)
            return ready;
        const int rows = bandRows(layout.form, blocks.blockHeight());
        Band band(layout, QSize(mPage.size.width(), rows));
        if (!band.isValid())
            return noMemory();
        for (int top = 0; top < mPage.size.height(); top += rows) {
            band.setRows(std::min(rows, mPage.size.height() - top));
            if (auto done = blocks.read(top, band); !done)
                return done;
            QImage& image = picture.image;
            QImage part(image.scanLine(top), image.width(), band.rows(), image.bytesPerLine(),
                image.format());
            if (!band.render(picture.profile, part))
                return fail(ErrorKind::Unsupported, QStringLiteral("colours beyond conversion"));
        }
        if (band.isConverted())
            picture.profile = {};
        return {};
    }

    /// Palettes, single bits, luma and chroma, Lab, LogLuv: the library's own conversion.
    Result<DecodedPicture> decodeByLibrary(const ImageMaker& makeImage)
    {
        char message[1024] = "";
        TIFFRGBAImage rgba = {};
        if (!TIFFRGBAImageOK(mTiff.get(), message)
            || !TIFFRGBAImageBegin(&rgba, mTiff.get(), /*stop at an error*/ 1, message))
            return fail(ErrorKind::Unsupported, QStringLiteral("a TIFF of an unknown kind"));
        const std::unique_ptr<TIFFRGBAImage, void (*)(TIFFRGBAImage*)> end(&rgba, TIFFRGBAImageEnd);
        // Rows as stored: turning is done for all formats alike.
        rgba.req_orientation = rgba.orientation;

        DecodedPicture picture;
        picture.image = makeImage(
            mPage.size, rgba.alpha ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
        QImage& image = picture.image;
        if (image.isNull() || image.bytesPerLine() != qsizetype(4) * image.width())
            return noMemory();
        auto* const raster = reinterpret_cast<quint32*>(image.bits());
        if (!TIFFRGBAImageGet(&rgba, raster, rgba.width, rgba.height))
            return endsTooSoon();
        const qsizetype pixels = qsizetype(image.width()) * image.height();
        std::transform(raster, raster + pixels, raster, [](quint32 abgr) {
            return qRgba(static_cast<int>(TIFFGetR(abgr)), static_cast<int>(TIFFGetG(abgr)),
                static_cast<int>(TIFFGetB(abgr)), static_cast<int>(TIFFGetA(abgr)));
        });
        picture.profile = profileOf(mTiff.get());
        return picture;
    }

    Source mSource; // Outlives the library's handle.
    Tiff mTiff;
    Page mPage;
};

bool startsLike(const QByteArray& head, const char* four)
{
    return head.startsWith(QByteArray::fromRawData(four, 4));
}

} // namespace

bool isTiff(const QByteArray& head)
{
    return startsLike(head, "II*\0") || startsLike(head, "MM\0*") || startsLike(head, "II+\0")
        || startsLike(head, "MM\0+");
}

OpenedPicture openTiff(FileBytes& file)
{
    auto bytes = file.all();
    if (!bytes)
        return tl::unexpected(bytes.error());
    return TiffReader::open(std::move(*bytes));
}

} // namespace quorvane
