// SPDX-License-Identifier: GPL-3.0-or-later
// The player's conversation with the viewer.
#pragma once

#include "platform/Doorbell.h"
#include "platform/PlayerProtocol.h"
#include "player/FrameMemory.h"
#include "player/MoviePlayback.h"

#include <deque>
#include <memory>

namespace quorvane {

/// Plays one movie, until the viewer is gone or has enough of it.
class Session {
public:
    explicit Session(int socket);

    /// Returns at the end. \return false when the library is not one that we know how to use.
    bool run();

private:
    bool isAwaited() const;
    bool hearViewer();
    bool hear(const ToPlayer& message, FileDescriptor file);
    void play();
    void tell(const MovieNews& news);
    void send(const FromPlayer& message);
    void sendWaiting();
    short awaitSomething() const;

    const int mSocket;
    Doorbell mBell;
    FrameMemory mMemory;
    std::unique_ptr<MoviePlayback> mPlayback;
    MovieNews mTold; ///< As the viewer knows it.
    std::deque<FromPlayer> mWaiting; ///< For the viewer to listen. Few: frames need loans.
};

} // namespace quorvane
