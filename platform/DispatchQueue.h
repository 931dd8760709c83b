// SPDX-License-Identifier: GPL-3.0-or-later
// Work away from the main thread.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace quorvane {

/// Runs blocks on threads of its own. With one thread, the default, it is serial: blocks run one
/// after the other in the order handed in. Threads are started by the first block.
class DispatchQueue {
public:
    /// How soon a block is wanted. Within one priority the order is that of handing in.
    enum class Priority {
        Urgent, ///< Somebody is waiting for it.
        Ahead, ///< Wanted soon: runs when nothing urgent waits.
    };

    /// \param name     shown by debuggers; a thread name holds its last 15 bytes.
    /// \param threads  how many blocks may run at a time; 1 = serial.
    explicit DispatchQueue(std::string name, int threads = 1);

    /// Drops the blocks that have not begun and waits for those that have.
    ~DispatchQueue();

    DispatchQueue(const DispatchQueue&) = delete;
    DispatchQueue& operator=(const DispatchQueue&) = delete;

    /// Hands in a block and returns at once. Thread: any.
    void async(std::function<void()> block, Priority priority = Priority::Urgent);

    /// Waits until all that was handed in is done. Thread: any but the queue's own.
    void drain();

    /// The same with a limit. \return false when the limit came first.
    bool drainFor(std::chrono::milliseconds limit);

    /// The queue for work that may run side by side, a thread for each processor, two at least. It
    /// is never destroyed: a file on a folder that no longer answers may hold a thread for ever.
    static DispatchQueue& global();

private:
    void startThreads();
    void work();
    bool isIdle() const { return mRunning == 0 && mUrgent.empty() && mAhead.empty(); }
    std::function<void()> takeNext();

    const std::string mName;
    const int mThreadCount;
    std::mutex mMutex; // Guards all below.
    std::condition_variable mWork;
    std::condition_variable mIdle;
    std::deque<std::function<void()>> mUrgent;
    std::deque<std::function<void()>> mAhead;
    int mRunning = 0;
    bool mEnding = false;
    std::vector<std::thread> mThreads;
};

} // namespace quorvane
