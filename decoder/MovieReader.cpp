// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/MovieReader.h"

#include "decoder/MovieFile.h"
#include "decoder/PictureFormats.h"
#include "decoder/ToneMapping.h"
#include "platform/Orientation.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <new>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

namespace quorvane {

namespace {

struct ScalerCloser {
    void operator()(SwsContext* scaler) const { sws_freeContext(scaler); }
};
using Scaler = std::unique_ptr<SwsContext, ScalerCloser>;

tl::unexpected<Error> noMemory()
{
    return fail(ErrorKind::TooLarge, QStringLiteral("no memory for the frame"));
}

bool isFullRange(const AVFrame& frame)
{
    switch (frame.format) {
    case AV_PIX_FMT_YUVJ420P:
    case AV_PIX_FMT_YUVJ422P:
    case AV_PIX_FMT_YUVJ444P:
    case AV_PIX_FMT_YUVJ440P:
    case AV_PIX_FMT_YUVJ411P:
        return true;
    default:
        return frame.color_range == AVCOL_RANGE_JPEG;
    }
}

/// Of luma and chroma. Where nobody says, movies of high definition have the matrix of theirs.
int matrixOf(const AVFrame& frame)
{
    switch (frame.colorspace) {
    case AVCOL_SPC_BT709:
        return SWS_CS_ITU709;
    case AVCOL_SPC_FCC:
        return SWS_CS_FCC;
    case AVCOL_SPC_BT470BG:
    case AVCOL_SPC_SMPTE170M:
        return SWS_CS_ITU601;
    case AVCOL_SPC_SMPTE240M:
        return SWS_CS_SMPTE240M;
    case AVCOL_SPC_BT2020_NCL:
    case AVCOL_SPC_BT2020_CL:
        return SWS_CS_BT2020;
    default:
        return std::max(frame.width, frame.height) >= 1280 || frame.height >= 720 ? SWS_CS_ITU709
                                                                                  : SWS_CS_ITU601;
    }
}

bool hasAlpha(const AVFrame& frame)
{
    const AVPixFmtDescriptor* const format
        = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
    return format && (format->flags & AV_PIX_FMT_FLAG_ALPHA);
}

/// Pixels with more room behind every row than the scaler's wide instructions overrun.
class Canvas {
public:
    Canvas(QSize size, int bytesPerPixel)
        : mStride((qsizetype(size.width()) * bytesPerPixel + 127) / 64 * 64)
    {
        const auto bytes = static_cast<size_t>(mStride) * (static_cast<size_t>(size.height()) + 1);
        mBytes.reset(new (std::align_val_t(64), std::nothrow) uchar[bytes]);
    }

    uchar* bytes() const { return mBytes.get(); }
    qsizetype stride() const { return mStride; }

private:
    struct Deleter {
        void operator()(uchar* bytes) const { operator delete[](bytes, std::align_val_t(64)); }
    };
    qsizetype mStride;
    std::unique_ptr<uchar, Deleter> mBytes;
};

Scaler scalerFor(const AVFrame& frame, QSize size, AVPixelFormat format)
{
    const bool shrinks = size.width() < frame.width || size.height() < frame.height;
    const int flags = (shrinks ? SWS_AREA : SWS_BICUBIC) | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT;
    Scaler scaler(
        sws_getContext(frame.width, frame.height, static_cast<AVPixelFormat>(frame.format),
            size.width(), size.height(), format, flags, nullptr, nullptr, nullptr));
    if (scaler) {
        constexpr int kOne = 1 << 16;
        const int* const matrix = sws_getCoefficients(matrixOf(frame));
        sws_setColorspaceDetails(scaler.get(), matrix, isFullRange(frame),
            sws_getCoefficients(SWS_CS_DEFAULT), 1, 0, kOne, kOne);
    }
    return scaler;
}

bool scaleInto(const Canvas& canvas, const AVFrame& frame, QSize size, AVPixelFormat format)
{
    const Scaler scaler = scalerFor(frame, size, format);
    if (!scaler || canvas.stride() > std::numeric_limits<int>::max())
        return false;
    uint8_t* const planes[4] = { canvas.bytes() };
    const int strides[4] = { static_cast<int>(canvas.stride()) };
    return sws_scale(scaler.get(), frame.data, frame.linesize, 0, frame.height, planes, strides)
        == size.height();
}

/// The frame in `size`, as stored; a null image when there is no memory.
QImage ordinaryPixels(const AVFrame& frame, QSize size, const ImageMaker& makeImage)
{
    const bool isTransparent = hasAlpha(frame);
    const AVPixelFormat format = isTransparent ? AV_PIX_FMT_BGRA : AV_PIX_FMT_BGR0;
    const Canvas canvas(size, 4);
    QImage image = makeImage(
        size, isTransparent ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
    if (image.isNull() || !canvas.bytes() || !scaleInto(canvas, frame, size, format))
        return {};
    for (int y = 0; y < size.height(); ++y) {
        const auto* const from
            = reinterpret_cast<const QRgb*>(canvas.bytes() + y * canvas.stride());
        std::transform(from, from + size.width(), reinterpret_cast<QRgb*>(image.scanLine(y)),
            [&](QRgb pixel) { return isTransparent ? qPremultiply(pixel) : pixel | 0xFF000000U; });
    }
    return image;
}

/// The same for frames of more light than a screen has.
QImage brightPixels(const AVFrame& frame, QSize size, const ImageMaker& makeImage)
{
    const Canvas canvas(size, 6);
    QImage image = makeImage(size, QImage::Format_RGB32);
    if (image.isNull() || !canvas.bytes() || !scaleInto(canvas, frame, size, AV_PIX_FMT_RGB48))
        return {};
    const Samples samples { canvas.bytes(), canvas.stride(), size, Samples::Layout::Rgb,
        Samples::Depth::Bits16 };
    toneMapCoded(samples, frame.color_primaries, frame.color_trc, image);
    return image;
}

/// Movies for ordinary screens are shown with sRGB's transfer; only what the primaries add counts.
ColorProfile profileOf(const AVFrame& frame)
{
    const bool isWide = frame.color_primaries == AVCOL_PRI_BT2020
        || frame.color_primaries == AVCOL_PRI_SMPTE432
        || frame.color_primaries == AVCOL_PRI_SMPTE431;
    return isWide ? ColorProfile::fromCodePoints(frame.color_primaries, AVCOL_TRC_IEC61966_2_1)
                  : ColorProfile();
}

class MovieFrameReader : public PictureReader {
public:
    /// \param size  as stored, with square pixels.
    MovieFrameReader(Frame frame, QSize size, int orientation)
        : mFrame(std::move(frame))
        , mSize(size)
        , mOrientation(orientation)
    {
    }

    PictureHeader header() const override
    {
        return { turnsPicture(mOrientation) ? mSize.transposed() : mSize, 1 };
    }

    Result<DecodedPicture> decode(QSize wanted, const ImageMaker& makeImage) override
    {
        const QSize stored = (turnsPicture(mOrientation) ? wanted.transposed() : wanted)
                                 .boundedTo(mSize)
                                 .expandedTo({ 1, 1 });
        const ImageMaker ownImage
            = [](QSize size, QImage::Format format) { return QImage(size, format); };
        const ImageMaker& maker = mOrientation == 1 ? makeImage : ownImage;
        const bool isBright
            = isHighDynamicRange(mFrame->color_trc) && mFrame->color_trc != AVCOL_TRC_LINEAR;
        DecodedPicture picture;
        picture.image = isBright ? brightPixels(*mFrame, stored, maker)
                                 : ordinaryPixels(*mFrame, stored, maker);
        if (!isBright)
            picture.profile = profileOf(*mFrame);
        if (!picture.image.isNull() && mOrientation != 1)
            picture.image = uprightImage(picture.image, mOrientation);
        if (picture.image.isNull())
            return noMemory();
        return picture;
    }

private:
    Frame mFrame;
    QSize mSize;
    int mOrientation;
};

constexpr double kSixHundredths = 600;

/// Thirty years; beyond are broken headers.
constexpr double kLongest = 1e9;

/// In parts of kMovieTimescale. What lies behind the end is the end, so that nobody looks for it.
qint64 momentOf(double seconds, const std::optional<double>& length)
{
    if (!(seconds > 0))
        return 0;
    const double latest = length && *length < kLongest ? *length : kLongest;
    return std::llround(std::min(seconds, latest) * kMovieTimescale);
}

} // namespace

qint64 middleOf(double seconds)
{
    if (!(seconds > 0) || seconds > kLongest)
        return 0;
    return static_cast<qint64>(seconds / 2 * kSixHundredths);
}

int orientationOfMatrix(const qint32 (&matrix)[9])
{
    // A step to the right goes to (a, b), a step down to (c, d); y counts downwards.
    const qint64 a = matrix[0];
    const qint64 b = matrix[1];
    const qint64 c = matrix[3];
    const qint64 d = matrix[4];
    const bool keepsAxes = std::abs(a) + std::abs(d) >= std::abs(b) + std::abs(c);
    if (keepsAxes) {
        if (a >= 0)
            return d >= 0 ? 1 : 4;
        return d >= 0 ? 2 : 3;
    }
    if (b >= 0)
        return c >= 0 ? 5 : 6;
    return c >= 0 ? 8 : 7;
}

OpenedPicture openMovieFrame(FileBytes& file, std::optional<double> seconds)
{
    auto movie = MovieFile::open(file);
    if (!movie)
        return tl::unexpected(movie.error());
    if (auto done = (*movie)->beginFrames(); !done)
        return tl::unexpected(done.error());
    const auto length = (*movie)->seconds();
    constexpr qint64 kPartsOfSixHundredths = kMovieTimescale / 600;
    Frame frame = (*movie)->frameAt(seconds ? momentOf(*seconds, length)
                                            : middleOf(length.value_or(0)) * kPartsOfSixHundredths);
    if (!frame || frame->width < 1 || frame->height < 1)
        return fail(ErrorKind::Damaged, QStringLiteral("no frame of the movie can be decoded"));
    const double aspect = (*movie)->pixelAspect(frame);
    const double width = std::round(frame->width * aspect);
    if (width < 1 || width > kPixelLimit)
        return fail(ErrorKind::Damaged, QStringLiteral("a movie of no sane shape"));
    const QSize size(static_cast<int>(width), frame->height);
    if (!isReasonable(size))
        return fail(ErrorKind::TooLarge, QStringLiteral("the movie has too many pixels"));
    return std::make_unique<MovieFrameReader>(std::move(frame), size, (*movie)->orientation());
}

Result<MovieInformation> readMovieInformation(FileBytes& file)
{
    const auto movie = MovieFile::open(file);
    if (!movie)
        return tl::unexpected(movie.error());
    return (*movie)->information();
}

Result<QByteArray> readMovieCover(FileBytes& file)
{
    const auto movie = MovieFile::open(file);
    if (!movie)
        return tl::unexpected(movie.error());
    QByteArray cover = (*movie)->cover();
    if (cover.isEmpty())
        return fail(ErrorKind::NotFound, QStringLiteral("the file has no cover"));
    return cover;
}

} // namespace quorvane
