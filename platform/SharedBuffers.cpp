// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/SharedBuffers.h"

#include <algorithm>
#include <numeric>

namespace quorvane {

namespace {

/// Bytes kept for pictures to come: one of 24 megapixels and a few of a screen's size.
constexpr size_t kFreeLimit = size_t(128) << 20;

/// Sizes are rounded up to this, so that pictures of nearly the same size share buffers. Bytes.
constexpr size_t kStep = size_t(1) << 20;

/// Small pictures get this much, so that thumbnails do not take a screen's worth each. Bytes.
constexpr size_t kSmallStep = size_t(64) << 10;

size_t roundedUp(size_t size)
{
    const size_t step = size < kStep ? kSmallStep : kStep;
    return (size + step - 1) / step * step;
}

} // namespace

SharedBuffers::Lease SharedBuffers::take(size_t size, bool& isNew)
{
    const size_t needed = roundedUp(std::max<size_t>(size, 1));
    Buffer buffer;
    {
        const std::lock_guard lock(mMutex);
        const auto fits = std::find_if(mFree.begin(), mFree.end(), [&](const Buffer& candidate) {
            return candidate.memory->size() >= needed && candidate.memory->size() / 2 <= needed;
        });
        isNew = fits == mFree.end();
        if (isNew) {
            buffer.number = ++mLastNumber;
        } else {
            buffer = std::move(*fits);
            mFree.erase(fits);
        }
    }
    if (isNew)
        buffer.memory = SharedMemory::create(needed);
    if (!buffer.memory)
        return nullptr;
    auto giveBackLater = [self = shared_from_this()](Buffer* given) {
        const std::unique_ptr<Buffer> owned(given);
        self->giveBack(std::move(*owned));
    };
    return { new Buffer(std::move(buffer)), giveBackLater };
}

std::vector<std::uint64_t> SharedBuffers::takeForgotten()
{
    const std::lock_guard lock(mMutex);
    return std::exchange(mForgotten, {});
}

void SharedBuffers::close()
{
    const std::lock_guard lock(mMutex);
    mIsClosed = true;
    mFree.clear();
}

void SharedBuffers::giveBack(Buffer buffer)
{
    const std::lock_guard lock(mMutex);
    if (mIsClosed)
        return;
    mFree.push_back(std::move(buffer));
    const auto addSize = [](size_t sum, const Buffer& free) { return sum + free.memory->size(); };
    while (std::accumulate(mFree.begin(), mFree.end(), size_t(0), addSize) > kFreeLimit) {
        mForgotten.push_back(mFree.front().number);
        mFree.erase(mFree.begin());
    }
}

} // namespace quorvane
