// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/MainQueue.h"

#include <QCoreApplication>

#include <deque>
#include <mutex>

namespace quorvane {

namespace {

// A list of our own, with Qt only as the alarm clock: the mutex here is one that the thread
// sanitizer sees, so that it can follow a value from the thread that made it to the main thread.
struct Waiting {
    std::mutex mutex;
    std::deque<std::function<void()>> blocks;
    int wakeUps = 0; ///< Still owed: there was no application.
};

Waiting& waiting()
{
    // Never destroyed: another thread may still have something to say when the program ends.
    static auto* const instance = new Waiting;
    return *instance;
}

/// \return false when nothing waits.
bool runOne()
{
    std::function<void()> block;
    {
        const std::lock_guard lock(waiting().mutex);
        if (waiting().blocks.empty())
            return false;
        block = std::move(waiting().blocks.front());
        waiting().blocks.pop_front();
    }
    block();
    return true;
}

} // namespace

void MainQueue::async(std::function<void()> block)
{
    QCoreApplication* const application = QCoreApplication::instance();
    int wakeUps = 0;
    {
        const std::lock_guard lock(waiting().mutex);
        waiting().blocks.push_back(std::move(block));
        wakeUps = ++waiting().wakeUps;
        if (application)
            waiting().wakeUps = 0;
    }
    // One wake-up a block: input and painting get their turn between two blocks.
    for (int i = 0; application && i < wakeUps; ++i)
        QMetaObject::invokeMethod(
            application, [] { runOne(); }, Qt::QueuedConnection);
}

void MainQueue::drain()
{
    while (runOne()) { }
}

} // namespace quorvane
