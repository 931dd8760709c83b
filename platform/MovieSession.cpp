// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/MovieSession.h"

#include "platform/SystemClock.h"

#include <pthread.h>

#include <system_error>
#include <thread>
#include <utility>

namespace quorvane {

namespace {

/// Runs a block that a disk may hold for ever. \return false when there is no thread for it.
template <typename Block> bool runAside(Block block)
{
    try {
        std::thread([block = std::move(block)] {
            pthread_setname_np(pthread_self(), "movie file");
            block();
        }).detach();
    } catch (const std::system_error&) {
        return false;
    }
    return true;
}

} // namespace

MovieSession::MovieSession(
    const FileURL& url, std::function<void()> onChange, std::shared_ptr<const Doorbell> bell)
    : mUrl(url)
    , mOnChange(std::move(onChange))
    , mBell(std::move(bell))
{
}

void MovieSession::openFile()
{
    if (!runAside([self = shared_from_this()] { self->open(); }))
        end(MovieEnd::Failed);
}

void MovieSession::open()
{
    auto descriptor = openForReading(mUrl);
    const auto version = descriptor ? versionOf(*descriptor) : std::nullopt;
    if (!version) {
        end(MovieEnd::Failed);
    } else if (writersOf(*descriptor) == Writers::Some) {
        end(MovieEnd::Unfinished);
    } else {
        auto file = std::make_shared<MovieFile>(MovieFile { std::move(*descriptor), *version });
        const std::lock_guard lock(mMutex);
        mFile = std::move(file);
    }
    mBell->ring();
}

void MovieSession::stop()
{
    {
        const std::lock_guard lock(mMutex);
        mIsStopped = true;
    }
    mBell->ring();
}

bool MovieSession::isStopped() const
{
    const std::lock_guard lock(mMutex);
    return mIsStopped;
}

MovieState MovieSession::state() const
{
    const std::lock_guard lock(mMutex);
    mIsAnnounced = false;
    return mState;
}

std::optional<MovieEnd> MovieSession::whetherEnded() const
{
    const std::lock_guard lock(mMutex);
    return mState.end;
}

std::shared_ptr<const MovieFile> MovieSession::file() const
{
    const std::lock_guard lock(mMutex);
    return mFile;
}

std::optional<MovieWishes> MovieSession::takeWishes()
{
    const std::lock_guard lock(mMutex);
    if (!std::exchange(mIsWishNew, false))
        return {};
    return mWishes;
}

void MovieSession::end(MovieEnd end)
{
    announce([end](MovieState& state) { state.end = state.end.value_or(end); });
}

void MovieSession::failToOpen()
{
    const auto decide = [self = shared_from_this(), opened = file()] {
        const bool mayBeHalf = opened
            && mayBeIncomplete(opened->descriptor, opened->version, self->mUrl.path(), false,
                SystemClock().fileTime());
        self->end(mayBeHalf ? MovieEnd::Unfinished : MovieEnd::Failed);
    };
    if (!runAside(decide))
        end(MovieEnd::Failed);
}

} // namespace quorvane
