// SPDX-License-Identifier: GPL-3.0-or-later
// Puts the order of what several threads do into the hands of a test.
#pragma once

#include "platform/Decoding.h"
#include "platform/DispatchQueue.h"
#include "platform/MainQueue.h"

#include <algorithm>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace quorvane::tests {

/// Shut at first. Thread: any.
class Gate {
public:
    /// Lets everybody through, now and later.
    void open()
    {
        const std::lock_guard lock(mMutex);
        mIsOpen = true;
        mOpened.notify_all();
    }

    /// Waits until the gate is open.
    void pass()
    {
        std::unique_lock lock(mMutex);
        mOpened.wait(lock, [this] { return mIsOpen; });
    }

private:
    std::mutex mMutex;
    std::condition_variable mOpened;
    bool mIsOpen = false;
};

/// A place in a block where a test may hold it. Copies are the same place. Thread: any.
class Stop {
public:
    /// For the block: says that it is here, and stays until it is let go.
    void halt() const
    {
        mArrived->open();
        mReleased->pass();
    }

    /// For the test: waits until the block is here.
    void waitForArrival() const { mArrived->pass(); }

    void release() const { mReleased->open(); }

private:
    std::shared_ptr<Gate> mArrived = std::make_shared<Gate>();
    std::shared_ptr<Gate> mReleased = std::make_shared<Gate>();
};

/// Keeps every thread of the global queue busy, so that what is handed in waits. They are let go at
/// the end of its life at the latest. Thread: main.
class BusyPool {
public:
    BusyPool()
        : mStops(std::max(2U, std::thread::hardware_concurrency()))
    {
        for (const Stop& stop : mStops)
            DispatchQueue::global().async([stop] { stop.halt(); });
        for (const Stop& stop : mStops)
            stop.waitForArrival();
    }

    ~BusyPool()
    {
        release();
        DispatchQueue::global().drain();
    }

    BusyPool(const BusyPool&) = delete;
    BusyPool& operator=(const BusyPool&) = delete;

    void release() const
    {
        for (const Stop& stop : mStops)
            stop.release();
    }

    /// Lets one thread go, which then does alone, one after the other, what waits.
    void releaseOne() const { mStops.front().release(); }

private:
    std::vector<Stop> mStops;
};

/// Has everything done that was handed to the global queue, to the decoder and to the main thread,
/// and what that handed in: a picture is decoded, shown, and decoded in another size.
inline void settle()
{
    constexpr int kRounds = 4;
    for (int i = 0; i < kRounds; ++i) {
        DispatchQueue::global().drain();
        drainDecoding();
        DispatchQueue::global().drain(); // What was decoded is checked there.
        MainQueue::drain();
    }
}

} // namespace quorvane::tests
