// SPDX-License-Identifier: GPL-3.0-or-later
// Turns a frame upright.
#pragma once

#include <cstddef>
#include <cstdint>

namespace quorvane {

/// Pixels in memory.
template <typename Byte> struct Pixels {
    Byte* data;
    std::size_t step; ///< Bytes from row to row; whole pixels.
    int width;
    int height;
};

/// Turns to the right. \param degrees  90, 180 or 270. \param to  has the size that comes out.
void turn(const Pixels<const std::byte>& from, const Pixels<std::byte>& to, int degrees);

} // namespace quorvane
