// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/TiffReader.h"

#include "decoder/FileBytes.h"
#include "decoder/ReaderFailures.h"
#include "decoder/TiffBlocks.h"
#include "decoder/TiffPage.h"
#include "decoder/TiffSource.h"

#include <tiffio.h>

#include <algorithm>

namespace quorvane {

namespace {

/// Rows that are converted at a time, at least: setting up the conversion of colours costs about as
/// much as converting a few hundred pixels.
constexpr int kBandRows = 256;

class TiffReader : public PictureReader {
public:
    static OpenedPicture open(QByteArray bytes)
    {
        auto reader = std::make_unique<TiffReader>();
        reader->mSource.bytes = std::move(bytes);
        reader->mTiff = openTiffSource(reader->mSource);
        const auto page = reader->mTiff ? tiffPageOf(reader->mTiff.get()) : std::nullopt;
        if (!page)
            return damaged("the TIFF has no readable page");
        if (!isReasonable(page->size))
            return tooManyPixels();
        if (!TIFFIsCODECConfigured(static_cast<quint16>(page->compression)))
            return fail(ErrorKind::Unsupported, QStringLiteral("unknown compression in the TIFF"));
        reader->mPage = *page;
        return reader;
    }

    PictureHeader header() const override { return { mPage.size, mPage.orientation }; }

    Result<DecodedPicture> decode(QSize, const ImageMaker& makeImage) override
    {
        const auto form = mPage.form();
        const int colors = mPage.colors();
        if (!form || colors == 0 || mPage.samples < colors)
            return decodeByLibrary(makeImage);
        const bool hasAlpha
            = colors < 4 && mPage.alphaSample >= colors && mPage.alphaSample < mPage.samples;
        // Four inks and transparency: nobody has it, and the inks count.
        if (*form == SampleForm::Float32 && colors == 4)
            return fail(ErrorKind::Unsupported, QStringLiteral("inks as floating-point numbers"));
        if (mPage.isJpegInside())
            TIFFSetField(mTiff.get(), TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);

        DecodedPicture picture;
        picture.image = makeImage(
            mPage.size, hasAlpha ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
        if (picture.image.isNull())
            return noMemory();
        const BandLayout layout { *form, colors, hasAlpha ? mPage.alphaSample : -1,
            hasAlpha && mPage.isPremultiplied, mPage.isWhiteZero() };
        picture.profile = tiffProfileOf(mTiff.get());
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
        TiffBlocks blocks(mTiff.get(), mPage, layout.form);
        if (auto ready = blocks.prepare(); !ready)
            return ready;
        const int rows = bandRows(layout.form, mPage.block.height());
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
            return damaged("the TIFF ends too soon or is broken");
        const qsizetype pixels = qsizetype(image.width()) * image.height();
        std::transform(raster, raster + pixels, raster, [](quint32 abgr) {
            return qRgba(static_cast<int>(TIFFGetR(abgr)), static_cast<int>(TIFFGetG(abgr)),
                static_cast<int>(TIFFGetB(abgr)), static_cast<int>(TIFFGetA(abgr)));
        });
        picture.profile = tiffProfileOf(mTiff.get());
        return picture;
    }

    TiffSource mSource; // Outlives the library's handle.
    Tiff mTiff;
    TiffPage mPage;
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
