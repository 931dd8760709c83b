// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/MovieTracks.h"

#include "decoder/MovieReader.h"
#include "decoder/PictureReader.h"
#include "platform/Orientation.h"

#include <QStringDecoder>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <span>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace quorvane {

namespace {

constexpr int kNoMovie = AV_DISPOSITION_ATTACHED_PIC | AV_DISPOSITION_TIMED_THUMBNAILS;

std::span<AVStream* const> streamsOf(const AVFormatContext& format)
{
    return { format.streams, format.nb_streams };
}

bool isPictureTrack(const AVStream& stream)
{
    return stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO && !(stream.disposition & kNoMovie);
}

QSize naturalSizeOf(AVFormatContext& format, const AVStream& track)
{
    const double width = std::round(track.codecpar->width * pixelAspectOf(format, track, nullptr));
    if (width < 1 || width > kPixelLimit)
        return {};
    const QSize stored(static_cast<int>(width), track.codecpar->height);
    if (!isReasonable(stored))
        return {};
    return turnsPicture(orientationOf(track)) ? stored.transposed() : stored;
}

/// Old files have whatever their maker's machine wrote.
QString textOf(const char* bytes)
{
    QStringDecoder decoder(QStringDecoder::Utf8);
    const QString text = decoder(QByteArrayView(bytes));
    return (decoder.hasError() ? QString::fromLatin1(bytes) : text).simplified();
}

const char* entryOf(const AVDictionary* dictionary, const char* key)
{
    const AVDictionaryEntry* const entry = av_dict_get(dictionary, key, nullptr, 0);
    return entry ? entry->value : nullptr;
}

QString titleOf(const AVFormatContext& format)
{
    constexpr char kTitle[] = "title";
    const char* title = entryOf(format.metadata, kTitle);
    // There the file has no words of its own. Elsewhere a track's title tells it from the others.
    const bool isInTracks = qstrcmp(format.iformat->name, "ogg") == 0;
    for (const AVStream* const stream : streamsOf(format)) {
        if (!title && isInTracks)
            title = entryOf(stream->metadata, kTitle);
    }
    return title ? textOf(title) : QString();
}

bool isFrontCover(const AVStream& stream)
{
    const char* const kind = entryOf(stream.metadata, "comment");
    return kind && qstrcmp(kind, "Cover (front)") == 0;
}

} // namespace

const AVStream* pictureTrack(const AVFormatContext& format)
{
    const AVStream* found = nullptr;
    for (const AVStream* const stream : streamsOf(format)) {
        if (!isPictureTrack(*stream))
            continue;
        if (!found || (stream->disposition & ~found->disposition & AV_DISPOSITION_DEFAULT))
            found = stream;
    }
    return found;
}

double pixelAspectOf(AVFormatContext& format, const AVStream& track, AVFrame* frame)
{
    // The library reads from the track only.
    const AVRational aspect
        = av_guess_sample_aspect_ratio(&format, const_cast<AVStream*>(&track), frame);
    const double ratio = aspect.den > 0 ? av_q2d(aspect) : 0;
    // Beyond these no pixel is meant.
    return ratio >= 0.05 && ratio <= 20 ? ratio : 1;
}

int orientationOf(const AVStream& track)
{
    size_t size = 0;
    const uint8_t* const data = av_stream_get_side_data(&track, AV_PKT_DATA_DISPLAYMATRIX, &size);
    qint32 matrix[9];
    if (!data || size < sizeof matrix)
        return 1;
    std::memcpy(matrix, data, sizeof matrix);
    return orientationOfMatrix(matrix);
}

std::optional<double> secondsOf(const AVFormatContext& format)
{
    if (format.duration == AV_NOPTS_VALUE || format.duration < 0)
        return {};
    // A track whose length has all bits set does not know it (ISO/IEC 14496-12, media header); the
    // library takes that for a number and stretches the file to it.
    for (const AVStream* const stream : streamsOf(format)) {
        if (stream->duration == UINT32_MAX)
            return {};
    }
    return static_cast<double>(format.duration) / AV_TIME_BASE;
}

MovieInformation informationOf(AVFormatContext& format)
{
    MovieInformation information;
    for (const AVStream* const stream : streamsOf(format)) {
        information.pictureTracks += isPictureTrack(*stream) ? 1 : 0;
        information.soundTracks += stream->codecpar->codec_type == AVMEDIA_TYPE_AUDIO ? 1 : 0;
    }
    if (const AVStream* const track = pictureTrack(format))
        information.naturalSize = naturalSizeOf(format, *track);
    information.seconds = secondsOf(format);
    information.title = titleOf(format);
    return information;
}

QByteArray coverOf(const AVFormatContext& format)
{
    const AVStream* found = nullptr;
    for (const AVStream* const stream : streamsOf(format)) {
        const bool isCover
            = (stream->disposition & AV_DISPOSITION_ATTACHED_PIC) && stream->attached_pic.size > 0;
        if (isCover && (!found || (isFrontCover(*stream) && !isFrontCover(*found))))
            found = stream;
    }
    if (!found)
        return {};
    return { reinterpret_cast<const char*>(found->attached_pic.data), found->attached_pic.size };
}

} // namespace quorvane
