// SPDX-License-Identifier: GPL-3.0-or-later
// Files of movies and music for tests, of which only the outside matters: their tracks, what they
// say of themselves, the pictures attached to them.
#pragma once

#include "support/ContainerBytes.h"

#include <QByteArray>
#include <QtEndian>

#include <cstring>
#include <span>
#include <string_view>
#include <vector>

extern "C" {
#include <libavformat/avformat.h>
}

namespace quorvane::tests {

/// A second of tracks that nobody has compressed.
struct TrackFixture {
    std::string_view tracks; ///< 'p' for one of pictures, 's' for one of silence, 'o' for one of
                             ///< silence that Ogg files can have.
    const char* container = "mov";
    const char* flags = "0"; ///< Of the MOV writer.
    const char* trackTitle = nullptr;
};

namespace track_bytes {

constexpr int kSide = 16;
constexpr int kRate = 8000;

inline void makeOpus(AVCodecParameters& codec)
{
    constexpr char kHead[] = "OpusHead\1\1\0\0\x80\xBB\0\0\0\0"; // And the zero that ends it.
    codec.codec_id = AV_CODEC_ID_OPUS;
    codec.format = AV_SAMPLE_FMT_FLT;
    codec.sample_rate = 48000;
    codec.extradata_size = sizeof kHead;
    codec.extradata
        = static_cast<uint8_t*>(av_mallocz(sizeof kHead + AV_INPUT_BUFFER_PADDING_SIZE));
    std::memcpy(codec.extradata, kHead, sizeof kHead);
}

inline AVStream* addTrack(AVFormatContext* format, char kind, const char* title)
{
    AVStream* const stream = avformat_new_stream(format, nullptr);
    av_dict_set(&stream->metadata, "title", title, 0);
    AVCodecParameters& codec = *stream->codecpar;
    const bool isPicture = kind == 'p';
    codec.codec_type = isPicture ? AVMEDIA_TYPE_VIDEO : AVMEDIA_TYPE_AUDIO;
    codec.codec_id = isPicture ? AV_CODEC_ID_RAWVIDEO : AV_CODEC_ID_PCM_S16LE;
    codec.format = isPicture ? int(AV_PIX_FMT_RGB24) : int(AV_SAMPLE_FMT_S16);
    stream->time_base = { 1, kRate };
    if (isPicture) {
        codec.width = codec.height = kSide;
        codec.codec_tag = MKTAG('r', 'a', 'w', ' ');
    } else {
        codec.sample_rate = kRate;
        av_channel_layout_default(&codec.ch_layout, 1);
    }
    if (kind == 'o')
        makeOpus(codec);
    return stream;
}

inline void writeTrack(AVFormatContext* format, AVStream* stream)
{
    const bool isPicture = stream->codecpar->codec_type == AVMEDIA_TYPE_VIDEO;
    AVPacket* packet = av_packet_alloc();
    av_new_packet(packet, isPicture ? kSide * kSide * 3 : 2 * kRate);
    std::memset(packet->data, 0, static_cast<size_t>(packet->size));
    packet->stream_index = stream->index;
    packet->flags = AV_PKT_FLAG_KEY;
    packet->pts = packet->dts = 0;
    packet->duration = stream->time_base.den;
    av_interleaved_write_frame(format, packet);
    av_packet_free(&packet);
}

/// Four bytes of a length with seven bits each, as tags of music have them.
inline QByteArray sevenBitLength(qsizetype length)
{
    QByteArray bytes(4, '\0');
    for (int i = 0; i < 4; ++i)
        bytes[3 - i] = static_cast<char>(length >> (7 * i) & 127);
    return bytes;
}

} // namespace track_bytes

inline QByteArray trackBytes(const TrackFixture& fixture)
{
    AVFormatContext* const format = makeContainer(fixture.container);
    for (const char kind : fixture.tracks)
        track_bytes::addTrack(format, kind, fixture.trackTitle);
    AVDictionary* options = nullptr;
    av_dict_set(&options, "movflags", fixture.flags, 0);
    [[maybe_unused]] const int code = avformat_write_header(format, &options);
    av_dict_free(&options);
    for (AVStream* const stream : std::span(format->streams, format->nb_streams))
        track_bytes::writeTrack(format, stream);
    return bytesOf(format);
}

/// \param duration  in the units of the MOV file's boxes; replaces that of the whole and of each
///                  track.
inline QByteArray withClaimedDuration(QByteArray movie, quint32 duration)
{
    for (const char* const box : { "mvhd", "mdhd" }) {
        for (qsizetype at = movie.indexOf(box); at >= 0; at = movie.indexOf(box, at + 1))
            qToBigEndian(duration, movie.data() + at + 20);
    }
    return movie;
}

/// One frame of a tag of music.
inline QByteArray tagFrame(const char* name, const QByteArray& contents)
{
    QByteArray size(4, '\0');
    qToBigEndian(static_cast<quint32>(contents.size()), size.data());
    return name + size + QByteArray(2, '\0') + contents;
}

/// \param kind  3 for the front cover, 4 for the back. \param picture  a file.
inline QByteArray coverFrame(char kind, const QByteArray& picture, const char* type = "image/jpeg")
{
    return tagFrame("APIC",
        QByteArray(1, '\0') + type + QByteArray(1, '\0') + kind + QByteArray(1, '\0') + picture);
}

/// Half a second of silence as MP3. \param frames  of the tag before it.
inline QByteArray musicBytes(const QByteArray& frames)
{
    QByteArray music
        = QByteArray("ID3\3\0\0", 6) + track_bytes::sevenBitLength(frames.size()) + frames;
    for (int i = 0; i < 20; ++i) // 128 kbit a second, 44.1 kHz.
        music += QByteArray("\xFF\xFB\x90\x00", 4) + QByteArray(413, '\0');
    return music;
}

} // namespace quorvane::tests
