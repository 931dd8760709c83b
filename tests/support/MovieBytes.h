// SPDX-License-Identifier: GPL-3.0-or-later
// Tiny movies for tests, encoded in memory: length, shape and turning as the test wants them.
#pragma once

#include "support/ContainerBytes.h"

#include <QByteArray>
#include <QSize>

#include <array>
#include <cstdint>
#include <cstring>
#include <functional>
#include <optional>
#include <vector>

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
    AVCodecID codec = AV_CODEC_ID_MPEG4;
    const char* container = "mov";
    AVRational pixelAspect { 1, 1 };
    std::optional<std::array<qint32, 9>> matrix = {};
    AVColorSpace colorSpace = AVCOL_SPC_SMPTE170M;
    AVColorRange range = AVCOL_RANGE_MPEG;
    bool isSound = false; ///< A track of sound instead of the pictures.
    double soundSeconds = 0.1; ///< How long it is then.
    std::int16_t loudness = 0; ///< And its samples, upwards and downwards. 0 is silence.
    int silentPackets = 0; ///< Of 24 ms each, in a track beside the pictures.
    const char* title = nullptr;
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
    AVCodecContext* const codec = avcodec_alloc_context3(avcodec_find_encoder(fixture.codec));
    codec->width = fixture.size.width();
    codec->height = fixture.size.height();
    codec->pix_fmt = AV_PIX_FMT_YUV420P;
    codec->time_base = { 1, fixture.framesPerSecond };
    codec->framerate = { fixture.framesPerSecond, 1 };
    codec->gop_size = fixture.keyEvery;
    codec->max_b_frames = fixture.codec == AV_CODEC_ID_MPEG2VIDEO ? 2 : 0;
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

/// A track of sound as it comes with MPEG-2, which has nothing in it yet.
struct SilentTrack {
    explicit SilentTrack(AVFormatContext* of)
        : format(of)
        , codec(avcodec_alloc_context3(avcodec_find_encoder(AV_CODEC_ID_MP2)))
        , stream(avformat_new_stream(of, nullptr))
    {
        codec->sample_rate = 48000;
        codec->sample_fmt = AV_SAMPLE_FMT_S16;
        codec->time_base = { 1, codec->sample_rate };
        av_channel_layout_default(&codec->ch_layout, 1);
        avcodec_open2(codec, nullptr, nullptr);
        avcodec_parameters_from_context(stream->codecpar, codec);
    }

    ~SilentTrack() { avcodec_free_context(&codec); }

    void write(int packets)
    {
        AVFrame* frame = av_frame_alloc();
        frame->nb_samples = codec->frame_size;
        frame->format = codec->sample_fmt;
        av_channel_layout_copy(&frame->ch_layout, &codec->ch_layout);
        av_frame_get_buffer(frame, 0);
        std::memset(frame->data[0], 0, static_cast<std::size_t>(frame->nb_samples) * 2);
        for (frame->pts = 0; frame->pts < std::int64_t(packets) * frame->nb_samples;
             frame->pts += frame->nb_samples) {
            avcodec_send_frame(codec, frame);
            writePackets(format, codec, stream);
        }
        av_frame_free(&frame);
    }

    AVFormatContext* format;
    AVCodecContext* codec;
    AVStream* stream;
};

inline void writePictures(
    AVFormatContext* format, AVCodecContext* codec, AVStream* stream, const MovieFixture& fixture)
{
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
    std::optional<SilentTrack> silence;
    if (fixture.silentPackets > 0)
        silence.emplace(format);
    AVDictionary* options = nullptr;
    av_dict_set(&options, "movflags", "write_colr", 0);
    [[maybe_unused]] const int code = avformat_write_header(format, &options);
    av_dict_free(&options);
    writePictures(format, codec, stream, fixture);
    if (silence)
        silence->write(fixture.silentPackets);
    avcodec_free_context(&codec);
}

/// A square wave.
inline void addSound(AVFormatContext* format, const MovieFixture& fixture)
{
    constexpr int kSamplesPerSecond = 8000;
    constexpr int kHalfWave = 20; // Samples.
    AVStream* const stream = avformat_new_stream(format, nullptr);
    stream->codecpar->codec_type = AVMEDIA_TYPE_AUDIO;
    stream->codecpar->codec_id = AV_CODEC_ID_PCM_S16LE;
    stream->codecpar->sample_rate = kSamplesPerSecond;
    stream->codecpar->format = AV_SAMPLE_FMT_S16;
    av_channel_layout_default(&stream->codecpar->ch_layout, 1);
    stream->time_base = { 1, kSamplesPerSecond };
    [[maybe_unused]] const int code = avformat_write_header(format, nullptr);
    std::vector<std::int16_t> samples(
        static_cast<std::size_t>(fixture.soundSeconds * kSamplesPerSecond));
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<std::int16_t>(
            i / kHalfWave % 2 == 0 ? fixture.loudness : -fixture.loudness);
    AVPacket* packet = av_packet_alloc();
    av_new_packet(packet, static_cast<int>(samples.size() * sizeof(std::int16_t)));
    std::memcpy(packet->data, samples.data(), static_cast<std::size_t>(packet->size));
    packet->duration = static_cast<std::int64_t>(samples.size());
    packet->pts = packet->dts = 0;
    av_interleaved_write_frame(format, packet);
    av_packet_free(&packet);
}

} // namespace movie_bytes

inline QByteArray movieBytes(const MovieFixture& fixture)
{
    AVFormatContext* const format = makeContainer(fixture.container);
    av_dict_set(&format->metadata, "title", fixture.title, 0);
    if (fixture.isSound)
        movie_bytes::addSound(format, fixture);
    else
        movie_bytes::addPictures(format, fixture);
    return bytesOf(format);
}

} // namespace quorvane::tests
