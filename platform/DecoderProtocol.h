// SPDX-License-Identifier: GPL-3.0-or-later
// What the viewer and its decoder say to each other.
//
// Over a socket that keeps messages apart (SOCK_SEQPACKET); each message is one of these
// structures. The decoder says Ready once. For a file the viewer sends Open with the file's
// descriptor; the decoder answers Opened or Failed. Then the viewer, knowing the size, sends
// Render; the decoder answers Rendered or Failed. Either may be followed by the next Open. Where
// the viewer wants to know what a movie says of itself, Described takes the place of Opened and is
// all. Both programs are of one build, so there are no versions.
#pragma once

#include <array>
#include <cstdint>

namespace quorvane {

/// The argument of a decoder that is to know the formats of photographs only, and to be ready at
/// once for that.
constexpr char kPhotographsOption[] = "--photographs";

/// The length of a movie that does not tell it.
constexpr double kUnknownSeconds = -1;

/// From the viewer. Fields that a kind does not name mean nothing.
struct ToDecoder {
    enum class Kind : std::uint32_t {
        Open, ///< `what`, `seconds`; a descriptor comes along.
        Render, ///< `width`, `height`, `buffer`, `bufferSize`; the first time that a buffer is
                ///< named, its descriptor comes along.
        Forget, ///< `buffer` will not be named again. No answer.
        Target, ///< What pixels are converted to from now on: the descriptor of an ICC
                ///< profile comes along; without one it is sRGB. No answer.
    };
    Kind kind = Kind::Open;
    std::uint32_t what = 0; ///< DecodeRequest::What.
    std::int32_t width = 0; ///< Of the pixels wanted, four bytes, without gaps
    std::int32_t height = 0; ///< between the rows.
    std::uint64_t buffer = 0;
    std::uint64_t bufferSize = 0; ///< Bytes; at least those of the pixels.
    double seconds = 0; ///< DecodeRequest::seconds.
};

/// From the decoder. The viewer trusts nothing in it.
struct FromDecoder {
    enum class Kind : std::uint32_t {
        Ready, ///< `text`: what this kernel lacks to confine the decoder.
        Opened, ///< `width`, `height` of the picture, as large as it is, and `orientation`.
        Described, ///< `width`, `height` of a movie, 0 without a picture; `pictureTracks`,
                   ///< `soundTracks`, `seconds`; `text`: its title, cut where it is too long.
        Rendered, ///< `isOpaque`. The pixels are in the buffer.
        Failed, ///< `error`, `text`.
        Unknown, ///< A decoder for photographs alone does not know what this file is.
    };
    Kind kind = Kind::Ready;
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::int32_t orientation = 1; ///< How to turn what will be rendered: 1 unless as stored.
    std::uint32_t isOpaque = 0;
    std::uint32_t error = 0; ///< ErrorKind.
    std::int32_t pictureTracks = 0;
    std::int32_t soundTracks = 0;
    double seconds = kUnknownSeconds;
    std::array<char, 232> text {}; ///< UTF-8, ended by a zero.
};

} // namespace quorvane
