// SPDX-License-Identifier: GPL-3.0-or-later
// A container of movies or music that is written into memory.
#pragma once

#include <QByteArray>

extern "C" {
#include <libavformat/avformat.h>
}

namespace quorvane::tests {

/// Tracks, a header and packets follow, and bytesOf(). \param name  as libavformat calls it.
inline AVFormatContext* makeContainer(const char* name)
{
    av_log_set_level(AV_LOG_QUIET);
    AVFormatContext* format = nullptr;
    avformat_alloc_output_context2(&format, nullptr, name, nullptr);
    avio_open_dyn_buf(&format->pb);
    return format;
}

/// The finished file. \param format  is destroyed.
inline QByteArray bytesOf(AVFormatContext* format)
{
    av_write_trailer(format);
    uint8_t* data = nullptr;
    const int size = avio_close_dyn_buf(format->pb, &data);
    const QByteArray bytes(reinterpret_cast<const char*>(data), size);
    av_free(data);
    avformat_free_context(format);
    return bytes;
}

} // namespace quorvane::tests
