// SPDX-License-Identifier: GPL-3.0-or-later
// Tiny movies for tests, encoded in memory: length, shape and turning as the test wants them.
#pragma once

#include <QByteArray>
#include <QSize>

#include <array>
#include <cstring>
#include <functional>
#include <optional>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace quorvane::tests {

/// Luma and the two chromas of a pixel.
struct Yuv {
    int y = 16;
    int u = 128;
    int v = 128;
};

struct MovieFixture {
    QSize size { 64, 48 }; ///< As stored.
    int frames = 20;
    int framesPerSecond = 10;
    int keyEvery = 5; ///< Every so many frames one can be decoded by itself.
    const char* container = "mov";
    AVRational pixelAspect { 1, 1 };
    std::optional<std::array<qint32, 9>> matrix = {};
    AVColorSpace colorSpace = AVCOL_SPC_SMPTE170M;
    AVColorRange range = AVCOL_RANGE_MPEG;
    bool isSound = false; ///< A track of silence instead of the pictures.
    /// Of the frame's number and the place, from 0 to 1 to the right and downwards.
    std::function<Yuv(int, double, double)> pixel = [](int frame, double, double) {
        return Yuv { 30 + 10 * frame, 128, 128 };
    };
};

namespace movie_bytes {

inline void fillFrame(AVFrame* frame, const MovieFixture& fixture, int number)
{
    av_frame_make_writable(frame);
    for (int plane = 0; plane < 3; ++plane) {
        const int step = plane == 0 ? 1 : 2;
        for (int y = 0; y < frame->height / step; ++y) {
            for (int x = 0; x < frame->width / step; ++x) {
                const Yuv pixel = fixture.pixel(
                    number, double(x * step) / frame->width, double(y * step) / frame->height);
                const int value = plane == 0 ? pixel.y : (plane == 1 ? pixel.u : pixel.v);
                frame->data[plane][y * frame->linesize[plane] + x] = static_cast<uint8_t>(value);
            }
        }
    }
    frame->pts = number;
}

inline void writePackets(AVFormatContext* format, AVCodecContext* codec, AVStream* stream)
{
    AVPacket* packet = av_packet_alloc();
    while (avcodec_receive_packet(codec, packet) == 0) {
        packet->stream_index = stream->index;
        if (packet->duration == 0)
            packet->duration = 1;
        av_packet_rescale_ts(packet, codec->time_base, stream->time_base);
        av_interleaved_write_frame(format, packet);
    }
    av_packet_free(&packet);
}

inline AVCodecContext* encoderFor(const MovieFixture& fixture, const AVFormatContext* format)
{
    AVCodecContext* const codec = avcodec_alloc_context3(avcodec_find_encoder(AV_CODEC_ID_MPEG4));
    codec->width = fixture.size.width();
    codec->height = fixture.size.height();
    codec->pix_fmt = AV_PIX_FMT_YUV420P;
    codec->time_base = { 1, fixture.framesPerSecond };
    codec->framerate = { fixture.framesPerSecond, 1 };
    codec->gop_size = fixture.keyEvery;
    codec->sample_aspect_ratio = fixture.pixelAspect;
    codec->colorspace = fixture.colorSpace;
    codec->color_range = fixture.range;
    codec->flags |= AV_CODEC_FLAG_QSCALE | AV_CODEC_FLAG_BITEXACT;
    codec->global_quality = FF_QP2LAMBDA * 2;
    codec->thread_count = 1;
    if (format->oformat->flags & AVFMT_GLOBALHEADER)
        codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    avcodec_open2(codec, nullptr, nullptr);
    return codec;
}

inline void addPictures(AVFormatContext* format, const MovieFixture& fixture)
{
    AVCodecContext* codec = encoderFor(fixture, format);
    AVStream* const stream = avformat_new_stream(format, nullptr);
    avcodec_parameters_from_context(stream->codecpar, codec);
    stream->time_base = codec->time_base;
    stream->avg_frame_rate = codec->framerate;
    stream->sample_aspect_ratio = fixture.pixelAspect;
    if (fixture.matrix) {
        uint8_t* const data
            = av_stream_new_side_data(stream, AV_PKT_DATA_DISPLAYMATRIX, sizeof *fixture.matrix);
        std::memcpy(data, fixture.matrix->data(), sizeof *fixture.matrix);
    }
    AVDictionary* options = nullptr;
    av_dict_set(&options, "movflags", "write_colr", 0);
    [[maybe_unused]] const int code = avformat_write_header(format, &options);
    av_dict_free(&options);
    AVFrame* frame = av_frame_alloc();
    frame->width = codec->width;
    frame->height = codec->height;
    frame->format = codec->pix_fmt;
    av_frame_get_buffer(frame, 0);
    frame->quality = codec->global_quality;
    for (int number = 0; number < fixture.frames; ++number) {
        fillFrame(frame, fixture, number);
        avcodec_send_frame(codec, frame);
        writePackets(format, codec, stream);
    }
    avcodec_send_frame(codec, nullptr);
    writePackets(format, codec, stream);
    av_frame_free(&frame);
    avcodec_free_context(&codec);
}

inline void addSilence(AVFormatContext* format)
{
    AVStream* const stream = avformat_new_stream(format, nullptr);
    stream->codecpar->codec_type = AVMEDIA_TYPE_AUDIO;
    stream->codecpar->codec_id = AV_CODEC_ID_PCM_S16LE;
    stream->codecpar->sample_rate = 8000;
    stream->codecpar->format = AV_SAMPLE_FMT_S16;
    av_channel_layout_default(&stream->codecpar->ch_layout, 1);
    stream->time_base = { 1, 8000 };
    [[maybe_unused]] const int code = avformat_write_header(format, nullptr);
    AVPacket* packet = av_packet_alloc();
    av_new_packet(packet, 1600);
    std::memset(packet->data, 0, 1600);
    packet->duration = 800;
    packet->pts = packet->dts = 0;
    av_interleaved_write_frame(format, packet);
    av_packet_free(&packet);
}

} // namespace movie_bytes

inline QByteArray movieBytes(const MovieFixture& fixture)
{
    av_log_set_level(AV_LOG_QUIET);
    AVFormatContext* format = nullptr;
    avformat_alloc_output_context2(&format, nullptr, fixture.container, nullptr);
    avio_open_dyn_buf(&format->pb);
    if (fixture.isSound)
        movie_bytes::addSilence(format);
    else
        movie_bytes::addPictures(format, fixture);
    av_write_trailer(format);
    uint8_t* data = nullptr;
    const int size = avio_close_dyn_buf(format->pb, &data);
    const QByteArray bytes(reinterpret_cast<const char*>(data), size);
    av_free(data);
    avformat_free_context(format);
    return bytes;
}

} // namespace quorvane::tests
