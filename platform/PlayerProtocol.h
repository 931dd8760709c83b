// SPDX-License-Identifier: GPL-3.0-or-later
// What the viewer and a player of movies say to each other.
//
// Over a socket that keeps messages apart (SOCK_SEQPACKET); each message is one of these
// structures. The player says Ready once. The viewer sends Wishes, then Open with the movie's
// descriptor, and Wishes again whenever they change. It lends memory for one frame at a time: the
// player draws the next frame that is due into it and says Frame, whereupon the memory is the
// viewer's again and the viewer lends other memory. Both programs are of one build, so there are no
// versions.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace quorvane {

/// The argument of a player that is only to say by its exit status whether it could play.
constexpr char kCheckOption[] = "--check";

/// Bytes from one row of a frame to the next: whole lines of the processor's cache, which is also
/// what its widest instructions want.
constexpr std::size_t frameStep(int width)
{
    constexpr std::size_t line = 64;
    constexpr std::size_t bytesPerPixel = 4;
    return (static_cast<std::size_t>(width) * bytesPerPixel + line - 1) / line * line;
}

/// Bytes of a frame.
constexpr std::size_t frameBytes(int width, int height)
{
    return frameStep(width) * static_cast<std::size_t>(height);
}

/// What the viewer wants of the movie, as in MoviePlayer.
struct MovieWishes {
    std::uint32_t isPlaying = 0;
    std::uint32_t isMuted = 0;
    double volume = 1;
    double moment = 0; ///< In seconds: where to go, once.
    std::uint64_t momentNumber = 0; ///< Another moment has another number; 0 if there is none.
    std::int32_t width = 0; ///< The target size; empty for no frames.
    std::int32_t height = 0;
};

/// From the viewer. Fields that a kind does not name mean nothing.
struct ToPlayer {
    enum class Kind : std::uint32_t {
        Wishes, ///< `wishes`.
        Open, ///< `hasSound`, `hasGraphicsCard`; the movie's descriptor comes along.
        Lend, ///< `loan`, `buffer`, `bufferSize`; the first time that a buffer is named, its
              ///< descriptor comes along. An earlier loan is void.
        Forget, ///< `buffer` will not be named again.
    };
    Kind kind = Kind::Wishes;
    MovieWishes wishes = {};
    std::uint32_t hasSound = 0;
    std::uint32_t hasGraphicsCard = 0; ///< Which may then decode.
    std::uint64_t loan = 0; ///< Counted from 1.
    std::uint64_t buffer = 0;
    std::uint64_t bufferSize = 0; ///< Bytes.
};

/// What the player knows of the movie.
struct MovieNews {
    enum class Picture : std::uint32_t { Unknown, None, There };
    enum class End : std::uint32_t { None, Finished, Failed };
    std::int32_t width = 0; ///< The natural size, upright; 0 while it is unknown.
    std::int32_t height = 0;
    Picture picture = Picture::Unknown;
    End end = End::None;
    std::uint32_t isDurationKnown = 0;
    double duration = 0; ///< In seconds.
    double position = 0; ///< In seconds.
    std::array<char, 256> title {}; ///< UTF-8, ended by a zero.
};

/// From the player. The viewer trusts nothing in it.
struct FromPlayer {
    enum class Kind : std::uint32_t {
        Ready,
        News, ///< `news`.
        Frame, ///< `loan`, `width`, `height`, `step`: in the memory of that loan is a frame.
    };
    Kind kind = Kind::Ready;
    MovieNews news = {};
    std::uint64_t loan = 0;
    std::int32_t width = 0; ///< Pixels of four bytes: blue, green, red, nothing.
    std::int32_t height = 0;
    std::uint64_t step = 0; ///< Bytes from row to row.
};

} // namespace quorvane
