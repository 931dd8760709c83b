// SPDX-License-Identifier: GPL-3.0-or-later
#include "player/MovieOptions.h"

#include <iterator>
#include <string>

namespace quorvane {

namespace {

struct Option {
    const char* name;
    const char* value;
};

constexpr Option kOptions[] = {
    // A player without a face, settings or scripts.
    { "config", "no" },
    { "terminal", "no" },
    { "load-scripts", "no" },
    { "load-stats-overlay", "no" },
    { "load-osd-console", "no" },
    { "load-auto-profiles", "no" },
    { "ytdl", "no" },
    { "osc", "no" },
    { "osd-level", "0" },
    { "video-osd", "no" },
    { "input-default-bindings", "no" },
    { "input-builtin-bindings", "no" },
    { "input-vo-keyboard", "no" },
    { "input-media-keys", "no" },
    { "save-position-on-quit", "no" },
    { "resume-playback", "no" },
    // One file: no reader but libavformat's, which is told below what it may read; and nothing that
    // the file refers to or that lies beside it.
    { "demuxer", "lavf" },
    { "access-references", "no" },
    { "ordered-chapters", "no" },
    { "load-unsafe-playlists", "no" },
    { "autoload-files", "no" },
    { "sub-auto", "no" },
    { "audio-file-auto", "no" },
    { "cover-art-auto", "no" },
    // One picture and one sound track. The cover of a record is no movie.
    { "sid", "no" },
    { "audio-display", "no" },
    { "vo", "libmpv" },
    // It waits at its beginning and at its end.
    { "pause", "yes" },
    { "keep-open", "yes" },
    { "idle", "yes" },
    // Frames come when they are to be seen, and fill the size that the view wants.
    { "video-timing-offset", "0" },
    { "keepaspect", "no" },
    { "video-rotate", "no" }, // The renderer asserts that nobody asks it for that.
    { "sws-fast", "yes" },
    { "sws-scaler", "bilinear" },
    { "sws-allow-zimg", "no" },
    // Of a file that lies here; the library would take five times as much.
    { "demuxer-max-bytes", "32MiB" },
    { "demuxer-max-back-bytes", "0" },
    { "audio-client-name", "Quorvane" },
};

// Without a sound device the movie is silent. PipeWire answers to the first name, too.
constexpr char kSound[] = "pulse,alsa,null";
constexpr char kSilence[] = "null";

// Movies and sound, as TypeTable knows them, and the plain streams in some of them. None of these
// names other files, as the formats of playlists do.
constexpr char kContainers[] = "mov,matroska,webm,avi,ogg,flv,live_flv,asf,mpeg,mpegts,mpegvideo,"
                               "m4v,h264,hevc,dv,wav,w64,mp3,"
                               "aac,flac,aiff,au,caf,ac3,eac3,amr,amrnb,amrwb,loas";

// Of one frame. A few bytes can ask for as much memory as they like.
constexpr char kMostPixels[] = "67108864"; // 8192 x 8192.

/// Libraries' own options, which are pairs in an option.
bool setPairs(mpv_handle* library, const char* name, const Option* pairs, int count)
{
    std::string text;
    for (int i = 0; i < count; ++i) {
        const std::string value(pairs[i].value);
        text += (i == 0 ? "" : ",") + std::string(pairs[i].name) + "=%"
            + std::to_string(value.size()) + '%' + value;
    }
    return mpv_set_option_string(library, name, text.c_str()) >= 0;
}

} // namespace

bool setOptions(mpv_handle* library)
{
    // No protocol is called so.
    constexpr Option kReading[]
        = { { "format_whitelist", kContainers }, { "protocol_whitelist", "none" } };
    constexpr Option kDecoding[] = { { "max_pixels", kMostPixels } };
    for (const Option& option : kOptions) {
        if (mpv_set_option_string(library, option.name, option.value) < 0)
            return false;
    }
    return setPairs(library, "demuxer-lavf-o", kReading, std::size(kReading))
        && setPairs(library, "vd-lavc-o", kDecoding, std::size(kDecoding));
}

void setDevices(mpv_handle* library, bool hasSound, bool hasGraphicsCard)
{
    mpv_set_property_string(library, "ao", hasSound ? kSound : kSilence);
    // Only what is known to decode as the processor does; its frames are fetched, as they are drawn
    // here in any case.
    mpv_set_property_string(library, "hwdec", hasGraphicsCard ? "auto-copy-safe" : "no");
}

} // namespace quorvane
