// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/WebpReader.h"

#include "decoder/ExifData.h"
#include "decoder/FileBytes.h"
#include "decoder/ReaderFailures.h"

#include <webp/decode.h>
#include <webp/demux.h>

namespace quorvane {

namespace {

using Container = std::unique_ptr<WebPDemuxer, decltype(&WebPDemuxDelete)>;

/// A frame of the container; its bytes are those of the file.
class Frame {
public:
    Frame(const WebPDemuxer* container, int number)
        : mIsThere(WebPDemuxGetFrame(container, number, &mIterator) != 0)
    {
    }
    ~Frame() { WebPDemuxReleaseIterator(&mIterator); }
    Frame(const Frame&) = delete;
    Frame& operator=(const Frame&) = delete;

    bool isWhole() const { return mIsThere && mIterator.complete != 0; }
    const WebPIterator& operator*() const { return mIterator; }

private:
    WebPIterator mIterator {};
    bool mIsThere;
};

/// The first chunk of that name; empty without.
QByteArray chunkOf(const WebPDemuxer* container, const char* name)
{
    WebPChunkIterator chunk {};
    QByteArray bytes;
    if (WebPDemuxGetChunk(container, name, 1, &chunk) != 0)
        bytes = { reinterpret_cast<const char*>(chunk.chunk.bytes),
            static_cast<qsizetype>(chunk.chunk.size) };
    WebPDemuxReleaseChunkIterator(&chunk);
    return bytes;
}

QSize canvasOf(const WebPDemuxer* container)
{
    return { static_cast<int>(WebPDemuxGetI(container, WEBP_FF_CANVAS_WIDTH)),
        static_cast<int>(WebPDemuxGetI(container, WEBP_FF_CANVAS_HEIGHT)) };
}

class WebpReader : public PictureReader {
public:
    WebpReader(QByteArray bytes, Container container)
        : mBytes(std::move(bytes))
        , mContainer(std::move(container))
        , mHeader { canvasOf(mContainer.get()),
            PictureExif(chunkOf(mContainer.get(), "EXIF")).orientation() }
    {
    }

    PictureHeader header() const override { return mHeader; }
    Result<DecodedPicture> decode(QSize wanted, const ImageMaker& makeImage) override;

private:
    ColorProfile profile() const;

    QByteArray mBytes; ///< The container points into them.
    Container mContainer;
    PictureHeader mHeader;
};

ColorProfile WebpReader::profile() const
{
    const QByteArray icc = chunkOf(mContainer.get(), "ICCP");
    return icc.isEmpty() ? ColorProfile() : ColorProfile::fromIcc(icc);
}

/// Decodes `frame` to where it belongs in `image`, made smaller if that has another size than
/// `canvas`: the frame fills the canvas then.
VP8StatusCode decodeFrame(const WebPIterator& frame, QSize canvas, QImage& image)
{
    WebPDecoderConfig config;
    if (WebPInitDecoderConfig(&config) == 0)
        return VP8_STATUS_INVALID_PARAM;
    QRect place(frame.x_offset, frame.y_offset, frame.width, frame.height);
    if (image.size() != canvas) {
        place = image.rect();
        config.options.use_scaling = 1;
        config.options.scaled_width = place.width();
        config.options.scaled_height = place.height();
    }
    const qsizetype start = place.y() * image.bytesPerLine() + qsizetype(place.x()) * 4;
    config.output.colorspace = frame.has_alpha != 0 ? MODE_bgrA : MODE_BGRA;
    config.output.is_external_memory = 1;
    config.output.u.RGBA.rgba = image.bits() + start;
    config.output.u.RGBA.stride = static_cast<int>(image.bytesPerLine());
    config.output.u.RGBA.size = static_cast<size_t>(image.sizeInBytes() - start);
    const VP8StatusCode status = WebPDecode(frame.fragment.bytes, frame.fragment.size, &config);
    WebPFreeDecBuffer(&config.output);
    return status;
}

Result<DecodedPicture> WebpReader::decode(QSize wanted, const ImageMaker& makeImage)
{
    const Frame frame(mContainer.get(), 1);
    if (!frame.isWhole())
        return damaged("ends too soon");
    const QSize canvas = mHeader.size;
    if (!QRect({}, canvas)
             .contains({ (*frame).x_offset, (*frame).y_offset, (*frame).width, (*frame).height }))
        return damaged("a frame outside its canvas");
    const bool fills = QSize((*frame).width, (*frame).height) == canvas;
    const bool isSmaller = !wanted.isEmpty() && wanted.width() <= canvas.width()
        && wanted.height() <= canvas.height();
    const bool isOpaque = fills && (*frame).has_alpha == 0;
    QImage image = makeImage(fills && isSmaller ? wanted : canvas,
        isOpaque ? QImage::Format_RGB32 : QImage::Format_ARGB32_Premultiplied);
    if (image.isNull())
        return noMemory();
    if (!fills)
        image.fill(Qt::transparent);
    const VP8StatusCode status = decodeFrame(*frame, canvas, image);
    if (status != VP8_STATUS_OK)
        return fail(status == VP8_STATUS_OUT_OF_MEMORY ? ErrorKind::TooLarge : ErrorKind::Damaged,
            QStringLiteral("libwebp says %1").arg(status));
    return DecodedPicture { std::move(image), profile() };
}

} // namespace

bool isWebp(const QByteArray& head) { return head.startsWith("RIFF") && head.mid(8, 4) == "WEBP"; }

OpenedPicture openWebp(FileBytes& file)
{
    auto bytes = file.all();
    if (!bytes)
        return tl::unexpected(bytes.error());
    const WebPData data { reinterpret_cast<const uint8_t*>(bytes->constData()),
        static_cast<size_t>(bytes->size()) };
    WebPDemuxState state = WEBP_DEMUX_PARSE_ERROR;
    Container container(WebPDemuxPartial(&data, &state), &WebPDemuxDelete);
    if (!container || state != WEBP_DEMUX_DONE)
        return damaged("ends too soon, or is none");
    if (!isReasonable(canvasOf(container.get())))
        return tooManyPixels();
    return std::make_unique<WebpReader>(std::move(*bytes), std::move(container));
}

} // namespace quorvane
