// SPDX-License-Identifier: GPL-3.0-or-later
// The players of movies that are running, and which movie each of them plays.
#pragma once

#include "platform/Doorbell.h"

#include <QByteArray>

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace quorvane {

class MovieSeat;
class MovieSession;
class ServiceProcess;

/// Gives each movie a player, a program of its own, and ends that with the movie: what a library
/// loses or spoils does not outlive the clip that it was lost on. One player is kept ready for the
/// next movie. One thread speaks to all of them. Thread: any.
class MoviePool {
public:
    struct Options {
        QByteArray program; ///< The player's path.
        std::chrono::milliseconds openLimit { 30'000 }; ///< Until something is heard of a movie.
        std::chrono::milliseconds endLimit { 1000 }; ///< For a player to end by itself.
        std::chrono::milliseconds spareLimit { 300'000 }; ///< Keeping one that nobody needs.
    };

    explicit MoviePool(Options options);

    /// Ends the players. The movies' states do not change any more, but for files being opened.
    ~MoviePool();

    MoviePool(const MoviePool&) = delete;
    MoviePool& operator=(const MoviePool&) = delete;

    /// Has a player ready soon.
    void prepare();

    /// A movie made with bell(). Never waits.
    void play(const std::shared_ptr<MovieSession>& session, bool hasSound);

    /// Rung when there is something to do.
    std::shared_ptr<const Doorbell> bell() const { return mBell; }

private:
    using Moment = std::chrono::steady_clock::time_point;

    /// A player that has nothing to do any more.
    struct Leaver {
        std::unique_ptr<ServiceProcess> player;
        Moment limit;
    };

    void startThread();

    // All of these run on the pool's thread.
    void work();
    void wait();
    Moment nextDeadline() const;
    bool isOneAwaited() const;
    void seatNewcomers();
    void serveSeats();
    void keepSpare();
    void hearSpare();
    void endLeavers();
    void letGo(std::unique_ptr<ServiceProcess> player);
    std::unique_ptr<ServiceProcess> startPlayer() const;

    const Options mOptions;
    const std::shared_ptr<const Doorbell> mBell = std::make_shared<Doorbell>();
    std::atomic<bool> mIsEnding = false;
    std::atomic<bool> mIsSpareWanted = false;

    std::mutex mMutex; // Guards the next one.
    std::vector<std::unique_ptr<MovieSeat>> mNewcomers;

    std::mutex mThreadMutex; // Guards the next one. The thread itself never takes it.
    std::thread mThread;

    // The thread's own.
    std::vector<std::unique_ptr<MovieSeat>> mSeats;
    std::unique_ptr<ServiceProcess> mSpare;
    Moment mSpareEnd; ///< Of the spare, if there is one.
    bool mIsSpareReady = false;
    int mFailedStarts = 0; ///< Spares that ended before they were ready, in a row.
    std::vector<Leaver> mLeavers;
};

} // namespace quorvane
