// SPDX-License-Identifier: GPL-3.0-or-later
// Sees each frame that comes on an X screen.
#pragma once

#include <QByteArray>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>

struct _XDisplay;

namespace quorvane::bench {

/// Something was drawn on the screen; all that comes within a few milliseconds is one frame.
struct ScreenFrame {
    std::uint32_t drawn
        = 0; ///< Milliseconds of the server's clock. Only differences mean anything.
    std::chrono::steady_clock::time_point seen; ///< When we heard of it.
};

/// A connection of its own to a server, which reports what is drawn in any window. It costs the
/// program that draws nothing. Thread: the one that made it.
class FrameWatch {
public:
    /// \param displayName  as in DISPLAY.
    /// \return null when the server does not answer or does not report what is drawn.
    static std::unique_ptr<FrameWatch> open(const QByteArray& displayName);

    ~FrameWatch();
    FrameWatch(const FrameWatch&) = delete;
    FrameWatch& operator=(const FrameWatch&) = delete;

    /// The next frame that has not been asked for; none if it does not come within `limit`.
    std::optional<ScreenFrame> nextFrame(std::chrono::milliseconds limit);

    /// Forgets what has come so far. \return how many frames that was.
    int dropFrames();

private:
    FrameWatch(_XDisplay* display, int damageEvent);
    bool waitForEvent(std::chrono::steady_clock::time_point end);

    _XDisplay* mDisplay; ///< Ours to close.
    int mDamageEvent; ///< Number of the event that reports.
    std::optional<std::uint32_t> mLast; ///< When the last frame that was handed out was drawn.
};

} // namespace quorvane::bench
