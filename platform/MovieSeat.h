// SPDX-License-Identifier: GPL-3.0-or-later
// A movie and the player that plays it.
#pragma once

#include "platform/FrameLoans.h"
#include "platform/PlayerProtocol.h"

#include <chrono>
#include <memory>

namespace quorvane {

class MovieSession;
class ServiceProcess;

/// The conversation about one movie. What the player says is checked; one that talks nonsense
/// counts as dead. Thread: the pool's.
class MovieSeat {
public:
    using Moment = std::chrono::steady_clock::time_point;

    MovieSeat(std::shared_ptr<MovieSession> session, bool hasSound);
    ~MovieSeat();

    MovieSeat(const MovieSeat&) = delete;
    MovieSeat& operator=(const MovieSeat&) = delete;

    /// Once. \param player  nullptr if none can be started, which ends the movie.
    void setPlayer(std::unique_ptr<ServiceProcess> player);

    /// Nobody else uses it any more afterwards. May be nullptr.
    std::unique_ptr<ServiceProcess> takePlayer();

    /// To wait for messages.
    int socket() const;

    /// Whether something is to be said as soon as the player listens again.
    bool isStuck() const { return mIsStuck; }

    /// Hears what the player says, and tells it what is new.
    /// \param deadline  for something to be heard of the movie at all, when it is opened now.
    void serve(Moment now, std::chrono::milliseconds openLimit);

    /// When nothing has been heard of the movie by then, it cannot be opened.
    Moment deadline() const { return mDeadline; }

    /// Whether somebody waits for its first frame, or its sound.
    bool isAwaited() const { return mIsAwaited && (!mIsHeardOf || mWishes.width > 0); }

    /// There is nothing left to be said about it.
    bool isOver() const;

private:
    bool hear(const FromPlayer& message);
    bool hear(const MovieNews& news);
    void hearAll();
    bool showFrame(const FromPlayer& message);
    void speak(Moment deadline);
    void sayWishes();
    void open(Moment deadline);
    void fail();

    const std::shared_ptr<MovieSession> mSession;
    const bool mHasSound;
    std::unique_ptr<ServiceProcess> mPlayer;
    FrameLoans mLoans;
    MovieWishes mWishes;
    bool mAreWishesSaid = false;
    bool mIsOpened = false;
    bool mIsHeardOf = false;
    bool mIsAwaited = true;
    bool mIsFailed = false;
    bool mIsStuck = false;
    Moment mDeadline = Moment::max();
};

} // namespace quorvane
