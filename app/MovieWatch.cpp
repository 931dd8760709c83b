// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/MovieWatch.h"

#include <utility>

namespace quorvane {

namespace {

/// No disk that turns takes that long, and no audience waits longer.
constexpr std::chrono::seconds kPatience { 5 };

} // namespace

MovieWatch::MovieWatch(MoviePlayer& player, Clock& clock, std::function<void(MovieEnd)> ended)
    : mPlayer(player)
    , mClock(clock)
    , mEnded(std::move(ended))
    , mLastProgress(clock.now())
{
    mPlayer.addObserver(*this);
    wait(kPatience);
}

MovieWatch::~MovieWatch() { mPlayer.removeObserver(*this); }

void MovieWatch::movieInformationChanged() { moviePositionMoved(); }

void MovieWatch::movieFrameChanged() { mLastProgress = mClock.now(); }

/// Of a movie whose picture has not come, sound is no progress.
void MovieWatch::moviePositionMoved()
{
    if (mPlayer.hasPicture() == false || !mPlayer.currentFrame().isNull())
        mLastProgress = mClock.now();
}

void MovieWatch::movieEnded(MovieEnd end) { finish(end); }

void MovieWatch::wait(Duration time)
{
    mTimer = mClock.scheduleTimer(time, Clock::Repetition::Once, [this] { look(); });
}

void MovieWatch::look()
{
    if (!mPlayer.isPlaying())
        mLastProgress = mClock.now(); // It is not supposed to go on.
    const Duration left = mLastProgress + kPatience - mClock.now();
    if (left > Duration::zero())
        wait(left);
    else
        finish(MovieEnd::Failed);
}

void MovieWatch::finish(MovieEnd end)
{
    mTimer.reset();
    if (const auto ended = std::exchange(mEnded, {}))
        ended(end);
}

} // namespace quorvane
