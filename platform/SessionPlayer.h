// SPDX-License-Identifier: GPL-3.0-or-later
// A movie player whose movie another program plays.
#pragma once

#include "platform/LifeGuard.h"
#include "platform/MoviePlayer.h"
#include "platform/MovieSession.h"

#include <memory>

namespace quorvane {

class MoviePool;

/// Brings what is said of a movie to the main thread. Thread: main.
class SessionPlayer final : public MoviePlayer {
public:
    /// \param pool  may go first: nothing more happens then.
    SessionPlayer(MoviePool& pool, const FileURL& url, const MoviePlayerOptions& options);
    ~SessionPlayer() override;

    SessionPlayer(const SessionPlayer&) = delete;
    SessionPlayer& operator=(const SessionPlayer&) = delete;

    void play() override { setPlaying(!mState.end); }
    void pause() override { setPlaying(false); }
    bool isPlaying() const override { return mIsPlaying; }
    void seek(double seconds) override;
    double position() const override { return mState.position; }
    std::optional<double> duration() const override { return mState.duration; }
    void setVolume(double volume) override;
    double volume() const override { return mVolume; }
    void setMuted(bool isMuted) override;
    bool isMuted() const override { return mIsMuted; }
    QSize naturalSize() const override { return mState.naturalSize; }
    std::optional<bool> hasPicture() const override { return mState.hasPicture; }
    QString title() const override { return mState.title; }
    void setTargetSize(QSize size) override;
    QImage currentFrame() const override { return mState.frame; }

private:
    void setPlaying(bool isPlaying);
    void tellControlled();
    void deliver();

    std::shared_ptr<MovieSession> mSession;
    MovieState mState; ///< As it was told.
    bool mIsPlaying = false;
    double mVolume = 1;
    bool mIsMuted = false;
    LifeGuard mGuard;
};

} // namespace quorvane
