// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/MovieFile.h"

#include "decoder/FileBytes.h"
#include "decoder/MovieTracks.h"
#include "decoder/PictureFormats.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/mathematics.h>
}

namespace quorvane {

namespace {

constexpr int kBufferSize = 64 * 1024;

/// What may be decoded in search of a frame, in pixels: some four seconds of work. Movies whose
/// index is missing would be decoded from their beginning.
constexpr qint64 kSearchPixels = qint64(1) << 31;

/// How far before the moment wanted the search begins, in seconds, if it fails nearer to it:
/// streams without an index land behind the key frame that is needed, and in a file cut short there
/// is nothing at first.
constexpr std::array<qint64, 5> kStepsBack = { 0, 1, 4, 16, 64 };

/// Packets without a picture in them that are skipped in search of one.
constexpr int kPacketLimit = 100'000;

/// Containers that hold all they need. Lists of other files (playlists, HLS, DASH) are not among
/// them, nor are still pictures. The ones of sound are there to be told from the unreadable.
constexpr char kContainers[]
    = "mov,mp4,m4a,3gp,3g2,mj2,matroska,webm,avi,mpegts,mpeg,mpegvideo,m4v,h263,h264,hevc,obu,ivf,"
      "asf,flv,live_flv,ogg,dv,mxf,gxf,rm,nut,vc1,nsv,wtv,swf,"
      "mp3,wav,w64,flac,aac,ac3,eac3,aiff,au,caf,amr,ape,tta,wv";

/// The file as the library sees it.
struct Source {
    FileBytes* file;
    qint64 size = 0;
    qint64 position = 0;
};

int readBytes(Source& source, uint8_t* to, int count)
{
    const auto all = source.file->all();
    if (!all)
        return AVERROR(EIO);
    std::memcpy(to, all->constData() + source.position, static_cast<size_t>(count));
    return count;
}

int readSource(void* handle, uint8_t* to, int size)
{
    auto& source = *static_cast<Source*>(handle);
    // Files lead far behind their own end: further than an int can tell.
    if (source.position >= source.size)
        return AVERROR_EOF;
    const auto count = static_cast<int>(std::min<qint64>(size, source.size - source.position));
    ssize_t got = 0;
    if (source.file->descriptor() < 0) {
        got = readBytes(source, to, count);
    } else {
        do {
            got = pread(source.file->descriptor(), to, static_cast<size_t>(count), source.position);
        } while (got < 0 && errno == EINTR);
    }
    if (got <= 0)
        return got == 0 ? AVERROR_EOF : AVERROR(EIO);
    source.position += got;
    return static_cast<int>(got);
}

int64_t seekSource(void* handle, int64_t offset, int whence)
{
    auto& source = *static_cast<Source*>(handle);
    if (whence & AVSEEK_SIZE)
        return source.size;
    const int from = whence & ~AVSEEK_FORCE;
    const qint64 base = from == SEEK_SET ? 0 : (from == SEEK_CUR ? source.position : source.size);
    qint64 target = 0;
    if (__builtin_add_overflow(base, offset, &target) || target < 0)
        return AVERROR(EINVAL);
    source.position = target;
    return target;
}

qint64 sizeOf(FileBytes& file)
{
    if (file.descriptor() < 0)
        return file.all().value_or(QByteArray()).size();
    struct stat status = {};
    return fstat(file.descriptor(), &status) == 0 ? status.st_size : 0;
}

/// No file but the one that was handed over, whatever stands in it.
int openNothing(AVFormatContext*, AVIOContext**, const char*, int, AVDictionary**)
{
    return AVERROR(EACCES);
}

struct IoCloser {
    void operator()(AVIOContext* io) const
    {
        av_freep(static_cast<void*>(&io->buffer));
        avio_context_free(&io);
    }
};

struct FormatCloser {
    void operator()(AVFormatContext* format) const { avformat_close_input(&format); }
};

struct CodecCloser {
    void operator()(AVCodecContext* codec) const { avcodec_free_context(&codec); }
};

struct PacketCloser {
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
using Packet = std::unique_ptr<AVPacket, PacketCloser>;

tl::unexpected<Error> noMemory()
{
    return fail(ErrorKind::TooLarge, QStringLiteral("no memory for the movie"));
}

} // namespace

void FrameCloser::operator()(AVFrame* frame) const { av_frame_free(&frame); }

struct MovieFile::Parts {
    Source source;
    std::unique_ptr<AVIOContext, IoCloser> io; // Outlives the format, which reads through it.
    std::unique_ptr<AVFormatContext, FormatCloser> format;
    std::unique_ptr<AVCodecContext, CodecCloser> codec;
    const AVStream* track = nullptr;

    Result<void> openFormat()
    {
        auto* const buffer = static_cast<unsigned char*>(av_malloc(kBufferSize));
        io.reset(buffer ? avio_alloc_context(
                     buffer, kBufferSize, 0, &source, readSource, nullptr, seekSource)
                        : nullptr);
        AVFormatContext* context = avformat_alloc_context();
        if (!io || !context) {
            avformat_free_context(context);
            return noMemory();
        }
        context->pb = io.get();
        context->flags |= AVFMT_FLAG_CUSTOM_IO;
        context->io_open = openNothing;
        context->format_whitelist = av_strdup(kContainers);
        context->protocol_whitelist = av_strdup("none");
        // Frees the context when it fails.
        if (avformat_open_input(&context, "", nullptr, nullptr) < 0)
            return fail(ErrorKind::Unsupported, QStringLiteral("not a movie that can be read"));
        format.reset(context);
        if (avformat_find_stream_info(context, nullptr) < 0)
            return fail(ErrorKind::Damaged, QStringLiteral("the movie's tracks cannot be read"));
        return {};
    }

    Result<void> openCodec()
    {
        track = pictureTrack(*format);
        if (!track)
            return fail(ErrorKind::NotFound, QStringLiteral("the file has no picture track"));
        for (unsigned i = 0; i < format->nb_streams; ++i) {
            if (format->streams[i] != track)
                format->streams[i]->discard = AVDISCARD_ALL;
        }
        const AVCodec* const decoder = avcodec_find_decoder(track->codecpar->codec_id);
        codec.reset(decoder ? avcodec_alloc_context3(decoder) : nullptr);
        if (!codec)
            return fail(ErrorKind::Unsupported, QStringLiteral("a movie of an unknown codec"));
        codec->thread_count = 1;
        codec->max_pixels = kPixelLimit;
        codec->pkt_timebase = track->time_base;
        if (avcodec_parameters_to_context(codec.get(), track->codecpar) < 0
            || avcodec_open2(codec.get(), decoder, nullptr) < 0)
            return fail(ErrorKind::Unsupported, QStringLiteral("the movie's codec refuses it"));
        return {};
    }

    qint64 timeOf(qint64 value) const
    {
        const qint64 start = format->start_time == AV_NOPTS_VALUE
            ? 0
            : av_rescale_q(format->start_time, { 1, AV_TIME_BASE }, track->time_base);
        return start + av_rescale_q(value, { 1, kMovieTimescale }, track->time_base);
    }

    bool seek(qint64 time) const
    {
        avcodec_flush_buffers(codec.get());
        return av_seek_frame(format.get(), track->index, time, AVSEEK_FLAG_BACKWARD) >= 0;
    }

    bool rewind() const
    {
        avcodec_flush_buffers(codec.get());
        return av_seek_frame(format.get(), track->index, INT64_MIN, 0) >= 0
            || avformat_seek_file(format.get(), -1, INT64_MIN, 0, INT64_MAX, AVSEEK_FLAG_BYTE) >= 0;
    }
};

namespace {

/// Chooses among frames that come in order of time: the last that is not after `target`.
class Choice {
public:
    explicit Choice(qint64 target)
        : mTarget(target)
    {
    }

    /// \return whether the search is over.
    bool take(Frame frame)
    {
        const qint64 time = frame->best_effort_timestamp;
        mPixels += qint64(frame->width) * frame->height;
        const bool isAfter = time != AV_NOPTS_VALUE && time > mTarget;
        // Patched up by the decoder: only if there is nothing else.
        if (frame->decode_error_flags != 0 || (frame->flags & AV_FRAME_FLAG_CORRUPT)) {
            mBroken = std::move(frame);
        } else if (!isAfter || !mBest) {
            mBest = std::move(frame);
            mIsBestInTime = !isAfter;
        }
        return mPixels > kSearchPixels || (isAfter && mBest);
    }

    bool hasFrameInTime() const { return mBest && mIsBestInTime; }

    /// The one in time, or the next one after, or one that is partly broken.
    Frame best() { return mBest ? std::move(mBest) : std::move(mBroken); }

private:
    qint64 mTarget;
    qint64 mPixels = 0;
    Frame mBest;
    bool mIsBestInTime = false;
    Frame mBroken;
};

/// Hands on what the decoder has ready. \return whether the search is over.
bool drain(AVCodecContext& codec, Choice& choice)
{
    for (;;) {
        Frame frame(av_frame_alloc());
        if (!frame)
            return true;
        if (avcodec_receive_frame(&codec, frame.get()) < 0)
            return false;
        if (choice.take(std::move(frame)))
            return true;
    }
}

/// From where the file stands to the choice's moment, or to the end of the file.
void searchForward(AVFormatContext& format, AVCodecContext& codec, int track, Choice& choice)
{
    const Packet packet(av_packet_alloc());
    for (int i = 0; packet && i < kPacketLimit; ++i) {
        const int code = av_read_frame(&format, packet.get());
        if (code == AVERROR(EAGAIN))
            continue;
        if (code < 0)
            break;
        // What the decoder refuses is skipped: the next key frame mends it.
        if (packet->stream_index == track)
            avcodec_send_packet(&codec, packet.get());
        av_packet_unref(packet.get());
        if (drain(codec, choice))
            return;
    }
    avcodec_send_packet(&codec, nullptr);
    drain(codec, choice);
}

} // namespace

MovieFile::MovieFile(std::unique_ptr<Parts> parts)
    : mParts(std::move(parts))
{
}

MovieFile::~MovieFile() = default;

Result<std::unique_ptr<MovieFile>> MovieFile::open(FileBytes& file)
{
    av_log_set_level(AV_LOG_QUIET);
    auto parts = std::make_unique<Parts>();
    parts->source = { &file, sizeOf(file) };
    if (auto done = parts->openFormat(); !done)
        return tl::unexpected(done.error());
    return std::unique_ptr<MovieFile>(new MovieFile(std::move(parts)));
}

Result<void> MovieFile::beginFrames() { return mParts->openCodec(); }

std::optional<double> MovieFile::seconds() const { return secondsOf(*mParts->format); }

MovieInformation MovieFile::information() const { return informationOf(*mParts->format); }

QByteArray MovieFile::cover() const { return coverOf(*mParts->format); }

Frame MovieFile::frameAt(qint64 value)
{
    Parts& parts = *mParts;
    const qint64 target = parts.timeOf(value);
    for (const qint64 back : kStepsBack) {
        const qint64 from = value - back * kMovieTimescale;
        if (from <= 0 || !parts.seek(parts.timeOf(from)))
            break;
        Choice choice(target);
        searchForward(*parts.format, *parts.codec, parts.track->index, choice);
        if (choice.hasFrameInTime())
            return choice.best();
    }
    if (value > 0)
        parts.rewind();
    Choice choice(target);
    searchForward(*parts.format, *parts.codec, parts.track->index, choice);
    return choice.best();
}

double MovieFile::pixelAspect(Frame& frame) const
{
    return pixelAspectOf(*mParts->format, *mParts->track, frame.get());
}

int MovieFile::orientation() const { return orientationOf(*mParts->track); }

} // namespace quorvane
