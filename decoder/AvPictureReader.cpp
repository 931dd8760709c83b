// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/AvPictureReader.h"

#include "decoder/AvFrameImage.h"
#include "decoder/FileBytes.h"
#include "decoder/ReaderFailures.h"

#include <QList>
#include <QRect>
#include <QtEndian>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <optional>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/log.h>
}

namespace quorvane {

namespace {

struct ContextDeleter {
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
};
struct PacketDeleter {
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
struct FrameDeleter {
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
using FramePointer = std::unique_ptr<AVFrame, FrameDeleter>;

/// The first picture in `bytes`. \return null when the library finds fault with it.
FramePointer decodedFrame(AVCodecID codec, const QByteArray& bytes)
{
    av_log_set_level(AV_LOG_QUIET);
    const std::unique_ptr<AVCodecContext, ContextDeleter> context(
        avcodec_alloc_context3(avcodec_find_decoder(codec)));
    const std::unique_ptr<AVPacket, PacketDeleter> packet(av_packet_alloc());
    FramePointer frame(av_frame_alloc());
    // The copy has the few bytes more behind its end that the library reads.
    if (!context || !packet || !frame
        || av_new_packet(packet.get(), static_cast<int>(bytes.size())) != 0)
        return {};
    std::memcpy(packet->data, bytes.constData(), static_cast<size_t>(bytes.size()));
    context->thread_count = 1;
    context->max_pixels = kPixelLimit;
    context->err_recognition = AV_EF_CAREFUL | AV_EF_EXPLODE;
    if (avcodec_open2(context.get(), nullptr, nullptr) != 0
        || avcodec_send_packet(context.get(), packet.get()) != 0
        || avcodec_send_packet(context.get(), nullptr) != 0
        || avcodec_receive_frame(context.get(), frame.get()) != 0)
        return {};
    const bool isWhole
        = (frame->flags & AV_FRAME_FLAG_CORRUPT) == 0 && frame->decode_error_flags == 0;
    return isWhole ? std::move(frame) : FramePointer();
}

// ---- Numbers in headers. What lies behind the end is 0.

int byteAt(const QByteArray& bytes, qsizetype at)
{
    return at < bytes.size() ? static_cast<quint8>(bytes[at]) : 0;
}

int littleWordAt(const QByteArray& bytes, qsizetype at)
{
    return byteAt(bytes, at) | byteAt(bytes, at + 1) << 8;
}

int bigWordAt(const QByteArray& bytes, qsizetype at)
{
    return byteAt(bytes, at) << 8 | byteAt(bytes, at + 1);
}

/// 0 for what does not fit an int.
int littleLongAt(const QByteArray& bytes, qsizetype at)
{
    const qint64 value = qint64(littleWordAt(bytes, at + 2)) << 16 | littleWordAt(bytes, at);
    return value > std::numeric_limits<int>::max() ? 0 : static_cast<int>(value);
}

// ---- GIF

/// Behind a chain of sub-blocks; -1 when it does not end.
qsizetype afterSubBlocks(const QByteArray& bytes, qsizetype at)
{
    while (at < bytes.size()) {
        const int size = byteAt(bytes, at);
        at += 1 + size;
        if (size == 0)
            return at;
    }
    return -1;
}

/// The size of a colour table whose presence and size such a byte tells.
qsizetype colourTableSize(int flags) { return flags & 0x80 ? 3 * (2 << (flags & 7)) : 0; }

/// Where on its canvas the first picture of a GIF lies. \return nothing when not all of its data
/// are there: the library would show what it has.
std::optional<QRect> firstGifPicture(const QByteArray& gif)
{
    constexpr int extension = 0x21;
    constexpr int picture = 0x2C;
    qsizetype at = 13 + colourTableSize(byteAt(gif, 10));
    while (at >= 0 && at < gif.size()) {
        const int kind = byteAt(gif, at);
        if (kind == picture) {
            const qsizetype codes = at + 11 + colourTableSize(byteAt(gif, at + 9));
            if (afterSubBlocks(gif, codes) < 0)
                return {};
            return QRect(littleWordAt(gif, at + 1), littleWordAt(gif, at + 3),
                littleWordAt(gif, at + 5), littleWordAt(gif, at + 7));
        }
        // Anything else between the blocks is skipped, as the library does.
        at = kind == extension ? afterSubBlocks(gif, at + 2) : at + 1;
    }
    return {};
}

/// Makes what lies around the picture transparent. The library fills it with a colour that the
/// file names, as nobody else does.
void clearOutside(const QRect& drawn, QImage& image)
{
    if (drawn.contains(image.rect()))
        return;
    image.reinterpretAsFormat(QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < image.height(); ++y) {
        auto* const row = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x)
            row[x] = drawn.contains(x, y) ? row[x] : 0;
    }
}

// ---- Anymaps

/// The words of a header in text, without comments.
QList<QByteArray> wordsOf(const QByteArray& head)
{
    QList<QByteArray> words;
    for (const QByteArray& line : head.left(1024).split('\n')) {
        const qsizetype comment = line.indexOf('#');
        const QByteArray text = (comment < 0 ? line : line.left(comment)).simplified();
        if (!text.isEmpty())
            words += text.split(' ');
    }
    return words;
}

int numberAfter(const QList<QByteArray>& words, const char* name)
{
    const qsizetype at = words.indexOf(name);
    return at < 0 ? 0 : words.value(at + 1).toInt();
}

// ---- PCX

/// Whether all rows are there, in their run-length code: the library fills up what is missing.
bool hasAllPcxRows(const QByteArray& pcx, int height)
{
    constexpr qsizetype headerSize = 128;
    qint64 missing = qint64(byteAt(pcx, 65)) * littleWordAt(pcx, 66) * height;
    for (qsizetype at = headerSize; at < pcx.size() && missing > 0; ++at) {
        const int code = byteAt(pcx, at);
        const bool isRun = code >= 0xC0;
        missing -= isRun ? code & 0x3F : 1;
        at += isRun ? 1 : 0;
    }
    return missing <= 0;
}

// ---- TGA

enum TgaType { Indexed = 1, TrueColour = 2, Grey = 3, RunLength = 8 };

bool isTgaDepth(int type, int depth)
{
    switch (type) {
    case Indexed:
        return depth == 8;
    case TrueColour:
        return depth == 15 || depth == 16 || depth == 24 || depth == 32;
    case Grey:
        return depth == 8 || depth == 16;
    default:
        return false;
    }
}

bool isColourTable(const QByteArray& head, bool isNeeded)
{
    const int count = littleWordAt(head, 5);
    const int depth = byteAt(head, 7);
    if (byteAt(head, 1) == 0)
        return !isNeeded && count == 0;
    return byteAt(head, 1) == 1 && count > 0 && count <= 256 && depth >= 15 && depth <= 32;
}

// ---- The reader of all of them

class AvPictureReader : public PictureReader {
public:
    /// \param drawn  where on the canvas there is anything.
    AvPictureReader(AVCodecID codec, QByteArray bytes, QSize size, const QRect& drawn)
        : mCodec(codec)
        , mBytes(std::move(bytes))
        , mSize(size)
        , mDrawn(drawn)
    {
    }

    PictureHeader header() const override { return { mSize }; }

    Result<DecodedPicture> decode(QSize wanted, const ImageMaker& makeImage) override
    {
        Q_UNUSED(wanted)
        const FramePointer frame = decodedFrame(mCodec, mBytes);
        if (!frame)
            return damaged("the library cannot read it");
        if (QSize(frame->width, frame->height) != mSize)
            return damaged("the picture is not of the size promised");
        const auto junk = mCodec == AV_CODEC_ID_TARGA ? Alpha::MayBeJunk : Alpha::IsMeant;
        auto image = imageOf(*frame, junk, makeImage);
        if (!image)
            return tl::unexpected(image.error());
        clearOutside(mDrawn, *image);
        return DecodedPicture { std::move(*image), {} };
    }

private:
    AVCodecID mCodec;
    QByteArray mBytes;
    QSize mSize;
    QRect mDrawn;
};

/// \param size  what the header says; empty when it is none.
/// \param drawn  null for the whole canvas.
OpenedPicture open(AVCodecID codec, FileBytes& file, QSize size, QRect drawn = {})
{
    if (size.isEmpty())
        return damaged("no size");
    if (!isReasonable(size))
        return tooManyPixels();
    auto bytes = file.all();
    if (!bytes)
        return tl::unexpected(bytes.error());
    return std::make_unique<AvPictureReader>(
        codec, std::move(*bytes), size, drawn.isNull() ? QRect({}, size) : drawn);
}

} // namespace

bool isGif(const QByteArray& head)
{
    return head.startsWith("GIF87a") || head.startsWith("GIF89a");
}

OpenedPicture openGif(FileBytes& file)
{
    auto bytes = file.all();
    if (!bytes)
        return tl::unexpected(bytes.error());
    const auto drawn = firstGifPicture(*bytes);
    if (!drawn)
        return damaged("the first picture is cut short");
    const QRect canvas(0, 0, littleWordAt(*bytes, 6), littleWordAt(*bytes, 8));
    const QSize size = canvas.united(*drawn).size();
    if (size != canvas.size()) {
        // A canvas that is too small for its first picture is as large as that, as in browsers.
        qToLittleEndian(static_cast<quint16>(size.width()), bytes->data() + 6);
        qToLittleEndian(static_cast<quint16>(size.height()), bytes->data() + 8);
    }
    FileBytes whole(std::move(*bytes));
    return open(AV_CODEC_ID_GIF, whole, size, *drawn);
}

bool isPam(const QByteArray& head) { return head.startsWith("P7\n"); }

OpenedPicture openPam(FileBytes& file)
{
    const auto words = wordsOf(file.head());
    return open(
        AV_CODEC_ID_PAM, file, { numberAfter(words, "WIDTH"), numberAfter(words, "HEIGHT") });
}

bool isPnm(const QByteArray& head)
{
    return head.size() > 3 && head[0] == 'P' && head[1] >= '1' && head[1] <= '6'
        && std::strchr(" \t\r\n#", head[2]) && head[2] != 0;
}

OpenedPicture openPnm(FileBytes& file)
{
    constexpr std::array codecs { AV_CODEC_ID_PBM, AV_CODEC_ID_PGM, AV_CODEC_ID_PPM };
    const QByteArray& head = file.head();
    const auto words = wordsOf(head);
    // Numbers 4 to 6 are the same pictures as 1 to 3, in bytes instead of in words.
    return open(codecs[static_cast<size_t>((head[1] - '1') % 3)], file,
        { words.value(1).toInt(), words.value(2).toInt() });
}

bool isDds(const QByteArray& head) { return head.startsWith(QByteArray("DDS \x7C\0\0\0", 8)); }

OpenedPicture openDds(FileBytes& file)
{
    const QByteArray& head = file.head();
    return open(AV_CODEC_ID_DDS, file, { littleLongAt(head, 16), littleLongAt(head, 12) });
}

bool isSgi(const QByteArray& head)
{
    const int dimensions = bigWordAt(head, 4);
    return head.startsWith("\x01\xDA") && byteAt(head, 2) <= 1 && byteAt(head, 3) >= 1
        && byteAt(head, 3) <= 2 && dimensions >= 1 && dimensions <= 3;
}

OpenedPicture openSgi(FileBytes& file)
{
    const QByteArray& head = file.head();
    return open(AV_CODEC_ID_SGI, file, { bigWordAt(head, 6), bigWordAt(head, 8) });
}

bool isPcx(const QByteArray& head)
{
    constexpr std::array depths { 1, 2, 4, 8 };
    return head.size() > 128 && byteAt(head, 0) == 10 && byteAt(head, 1) <= 5
        && byteAt(head, 2) == 1 && byteAt(head, 64) == 0
        && std::find(depths.begin(), depths.end(), byteAt(head, 3)) != depths.end();
}

OpenedPicture openPcx(FileBytes& file)
{
    const auto bytes = file.all();
    if (!bytes)
        return tl::unexpected(bytes.error());
    const QSize size(littleWordAt(*bytes, 8) - littleWordAt(*bytes, 4) + 1,
        littleWordAt(*bytes, 10) - littleWordAt(*bytes, 6) + 1);
    if (!hasAllPcxRows(*bytes, size.height()))
        return damaged("the picture is cut short");
    return open(AV_CODEC_ID_PCX, file, size);
}

bool isTga(const QByteArray& head)
{
    constexpr qsizetype headerSize = 18;
    const int type = byteAt(head, 2) & ~RunLength;
    return head.size() > headerSize && isColourTable(head, type == Indexed)
        && isTgaDepth(type, byteAt(head, 16)) && byteAt(head, 2) <= (Grey | RunLength)
        && littleWordAt(head, 12) > 0
        && littleWordAt(head, 14) > 0
        // Interleaving, which nobody has ever used, and more bits of alpha than there are.
        && (byteAt(head, 17) & 0xC0) == 0 && (byteAt(head, 17) & 0x0F) <= 8;
}

OpenedPicture openTga(FileBytes& file)
{
    const QByteArray& head = file.head();
    return open(AV_CODEC_ID_TARGA, file, { littleWordAt(head, 12), littleWordAt(head, 14) });
}

} // namespace quorvane
