// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/DispatchQueue.h"

#include <pthread.h>

#include <algorithm>

namespace quorvane {

namespace {

/// The kernel keeps 15 bytes and a terminator; the end of our names tells more than their
/// beginning.
constexpr size_t kThreadNameLimit = 15;

void nameThread(const std::string& name)
{
    const size_t cut = name.size() > kThreadNameLimit ? name.size() - kThreadNameLimit : 0;
    pthread_setname_np(pthread_self(), name.c_str() + cut);
}

} // namespace

DispatchQueue::DispatchQueue(std::string name, int threads)
    : mName(std::move(name))
    , mThreadCount(threads)
{
}

DispatchQueue::~DispatchQueue()
{
    // Dropped blocks are destroyed outside the lock: what they hold may call back.
    std::deque<std::function<void()>> urgent;
    std::deque<std::function<void()>> ahead;
    {
        const std::lock_guard lock(mMutex);
        mEnding = true;
        urgent.swap(mUrgent);
        ahead.swap(mAhead);
    }
    mWork.notify_all();
    for (std::thread& thread : mThreads)
        thread.join();
}

void DispatchQueue::async(std::function<void()> block, Priority priority)
{
    {
        const std::lock_guard lock(mMutex);
        (priority == Priority::Urgent ? mUrgent : mAhead).push_back(std::move(block));
        if (mThreads.empty())
            startThreads();
    }
    mWork.notify_one();
}

void DispatchQueue::drain()
{
    std::unique_lock lock(mMutex);
    mIdle.wait(lock, [this] { return isIdle(); });
}

bool DispatchQueue::drainFor(std::chrono::milliseconds limit)
{
    std::unique_lock lock(mMutex);
    return mIdle.wait_for(lock, limit, [this] { return isIdle(); });
}

DispatchQueue& DispatchQueue::global()
{
    static DispatchQueue* const instance = new DispatchQueue(
        "quorvane.global", static_cast<int>(std::max(2U, std::thread::hardware_concurrency())));
    return *instance;
}

void DispatchQueue::startThreads()
{
    mThreads.reserve(static_cast<size_t>(mThreadCount));
    for (int i = 0; i < mThreadCount; ++i)
        mThreads.emplace_back([this] { work(); });
}

void DispatchQueue::work()
{
    nameThread(mName);
    std::unique_lock lock(mMutex);
    while (true) {
        mWork.wait(lock, [this] { return mEnding || !mUrgent.empty() || !mAhead.empty(); });
        if (mEnding)
            return;
        std::function<void()> block = takeNext();
        ++mRunning;
        lock.unlock();
        block();
        block = nullptr;
        lock.lock();
        --mRunning;
        if (isIdle())
            mIdle.notify_all();
    }
}

std::function<void()> DispatchQueue::takeNext()
{
    auto& blocks = mUrgent.empty() ? mAhead : mUrgent;
    std::function<void()> block = std::move(blocks.front());
    blocks.pop_front();
    return block;
}

} // namespace quorvane
