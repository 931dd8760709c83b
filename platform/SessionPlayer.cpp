// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/SessionPlayer.h"

#include "platform/MainQueue.h"
#include "platform/MoviePool.h"

#include <algorithm>
#include <cmath>
#include <tuple>
#include <utility>

namespace quorvane {

SessionPlayer::SessionPlayer(MoviePool& pool, const FileURL& url, const MoviePlayerOptions& options)
{
    const auto onChange
        = [deliver = mGuard.wrap([this] { deliver(); })] { MainQueue::async(deliver); };
    mSession = std::make_shared<MovieSession>(url, onChange, pool.bell());
    pool.play(mSession, options.hasSound);
}

SessionPlayer::~SessionPlayer() { mSession->stop(); }

void SessionPlayer::seek(double seconds)
{
    if (!std::isfinite(seconds))
        return;
    mSession->wish([&](MovieWishes& wishes) {
        wishes.moment = std::max(seconds, 0.);
        ++wishes.momentNumber;
    });
}

void SessionPlayer::setVolume(double volume)
{
    mVolume = std::isfinite(volume) ? std::clamp(volume, 0., 1.) : mVolume;
    mSession->wish([this](MovieWishes& wishes) { wishes.volume = mVolume; });
    tellControlled();
}

void SessionPlayer::setMuted(bool isMuted)
{
    mIsMuted = isMuted;
    mSession->wish([&](MovieWishes& wishes) { wishes.isMuted = isMuted ? 1 : 0; });
    tellControlled();
}

void SessionPlayer::setTargetSize(QSize size)
{
    mSession->wish([&](MovieWishes& wishes) {
        wishes.width = size.width();
        wishes.height = size.height();
    });
}

void SessionPlayer::setPlaying(bool isPlaying)
{
    mIsPlaying = isPlaying;
    mSession->wish([&](MovieWishes& wishes) { wishes.isPlaying = isPlaying ? 1 : 0; });
    tellControlled();
}

void SessionPlayer::tellControlled()
{
    tell([](auto& observer) { observer.movieControlled(); });
}

void SessionPlayer::deliver()
{
    const MovieState before = std::exchange(mState, mSession->state());
    const auto informationOf = [](const MovieState& state) {
        return std::tie(state.naturalSize, state.hasPicture, state.title, state.duration);
    };
    const bool isInformed = informationOf(before) != informationOf(mState);
    const bool isFirstFrame = before.frameNumber == 0 && mState.frameNumber != 0;
    const bool isFrame = before.frameNumber != mState.frameNumber;
    const bool isMoved = before.position < mState.position || mState.position < before.position;
    const auto end = before.end ? std::nullopt : mState.end;
    if (end)
        mIsPlaying = false;

    // Each of them may destroy the player.
    const auto news = [&](bool isNew, void (MovieObserver::*happened)()) {
        return !isNew || tell([&](auto& observer) { (observer.*happened)(); });
    };
    if (news(isInformed, &MovieObserver::movieInformationChanged)
        && news(isFirstFrame, &MovieObserver::movieFirstFrameReady)
        && news(isFrame, &MovieObserver::movieFrameChanged)
        && news(isMoved, &MovieObserver::moviePositionMoved) && end)
        tell([&](auto& observer) { observer.movieEnded(*end); });
}

} // namespace quorvane
