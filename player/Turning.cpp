// SPDX-License-Identifier: GPL-3.0-or-later
#include "player/Turning.h"

#include <algorithm>

namespace quorvane {

namespace {

/// Where the upper left pixel comes from, and how far apart in memory, counted in pixels, those are
/// that come to lie side by side and one below the other.
struct Path {
    const std::uint32_t* start;
    std::ptrdiff_t toTheRight;
    std::ptrdiff_t down;
};

Path pathThrough(const Pixels<const std::byte>& from, int degrees)
{
    const auto* const first = reinterpret_cast<const std::uint32_t*>(from.data);
    const auto row = static_cast<std::ptrdiff_t>(from.step / sizeof(std::uint32_t));
    const std::ptrdiff_t right = from.width - 1;
    const std::ptrdiff_t bottom = (from.height - 1) * row;
    switch (degrees) {
    case 90:
        return { first + bottom, -row, 1 };
    case 180:
        return { first + bottom + right, -1, -row };
    default:
        return { first + right, row, -1 };
    }
}

// Of a square. By squares, so that the lines of the processor's cache that a column crosses are
// used whole.
constexpr int kSide = 16;

void turnSquare(const Path& path, const Pixels<std::byte>& to, int left, int top)
{
    const int right = std::min(left + kSide, to.width);
    const int bottom = std::min(top + kSide, to.height);
    for (int y = top; y < bottom; ++y) {
        auto* const row
            = reinterpret_cast<std::uint32_t*>(to.data + static_cast<std::size_t>(y) * to.step);
        const auto* const source = path.start + y * path.down;
        for (int x = left; x < right; ++x)
            row[x] = source[x * path.toTheRight];
    }
}

} // namespace

void turn(const Pixels<const std::byte>& from, const Pixels<std::byte>& to, int degrees)
{
    const Path path = pathThrough(from, degrees);
    for (int top = 0; top < to.height; top += kSide) {
        for (int left = 0; left < to.width; left += kSide)
            turnSquare(path, to, left, top);
    }
}

} // namespace quorvane
