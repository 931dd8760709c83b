// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/DecodeQueue.h"

#include <fcntl.h>

#include <algorithm>

namespace quorvane {

DecodeQueue::DecodeQueue(std::function<void()> changed)
    : mChanged(std::move(changed))
{
}

DecodeTicket DecodeQueue::add(const FileDescriptor& file, DecodeRequest request, DecodeDone done)
{
    auto job = std::make_shared<DecodeJob>();
    job->file = FileDescriptor(fcntl(file.get(), F_DUPFD_CLOEXEC, 0));
    if (job->file.get() < 0)
        return 0;
    job->request = std::move(request);
    job->done = std::move(done);
    {
        const std::lock_guard lock(mMutex);
        job->ticket = ++mLastTicket;
        mWaiting.push_back(job);
    }
    mChanged();
    return job->ticket;
}

void DecodeQueue::cancel(DecodeTicket ticket)
{
    {
        const std::lock_guard lock(mMutex);
        const JobPointer job = find(ticket);
        if (!job)
            return;
        job->isCancelled = true;
        std::erase(mWaiting, job);
        std::erase(mUnderWay, job);
    }
    mFinished.notify_all();
    mChanged();
}

void DecodeQueue::setPriority(DecodeTicket ticket, DecodeRequest::Priority priority)
{
    const std::lock_guard lock(mMutex);
    if (const JobPointer job = find(ticket))
        job->request.priority = priority;
}

DecodeQueue::JobPointer DecodeQueue::take(DecoderAbility ability)
{
    const std::lock_guard lock(mMutex);
    return begin(mIsSuspended ? nullptr : firstWaiting(ability));
}

DecodeQueue::JobPointer DecodeQueue::takeDemanding()
{
    const std::lock_guard lock(mMutex);
    const auto found = std::find_if(mWaiting.begin(), mWaiting.end(),
        [](const JobPointer& job) { return job->needsFresh || job->needsEverything; });
    return begin(found == mWaiting.end() ? nullptr : *found);
}

DecodeQueue::JobPointer DecodeQueue::begin(JobPointer job)
{
    if (job) {
        std::erase(mWaiting, job);
        mUnderWay.push_back(job);
    }
    return job;
}

DecodeQueue::JobPointer DecodeQueue::first() const
{
    const std::lock_guard lock(mMutex);
    return mIsSuspended ? nullptr : firstWaiting({ .isFresh = true, .knowsEverything = true });
}

void DecodeQueue::putBack(const JobPointer& job)
{
    const std::lock_guard lock(mMutex);
    if (std::erase(mUnderWay, job) > 0)
        mWaiting.insert(mWaiting.begin(), job);
}

void DecodeQueue::finish(const JobPointer& job)
{
    {
        const std::lock_guard lock(mMutex);
        std::erase(mUnderWay, job);
        std::erase(mWaiting, job);
    }
    mFinished.notify_all();
}

void DecodeQueue::drain()
{
    std::unique_lock lock(mMutex);
    mFinished.wait(lock, [this] { return mWaiting.empty() && mUnderWay.empty(); });
}

void DecodeQueue::setSuspended(bool isSuspended)
{
    {
        const std::lock_guard lock(mMutex);
        mIsSuspended = isSuspended;
    }
    mChanged();
}

DecodeQueue::JobPointer DecodeQueue::find(DecodeTicket ticket) const
{
    for (const auto* const jobs : { &mWaiting, &mUnderWay }) {
        const auto found = std::find_if(jobs->begin(), jobs->end(),
            [&](const JobPointer& job) { return job->ticket == ticket; });
        if (found != jobs->end())
            return *found;
    }
    return nullptr;
}

DecodeQueue::JobPointer DecodeQueue::firstWaiting(DecoderAbility ability) const
{
    JobPointer best;
    for (const JobPointer& job : mWaiting) {
        const bool suits = (ability.isFresh || !job->needsFresh)
            && (ability.knowsEverything || !job->needsEverything);
        if (suits && (!best || job->request.priority < best->request.priority))
            best = job;
    }
    return best;
}

} // namespace quorvane
