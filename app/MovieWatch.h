// SPDX-License-Identifier: GPL-3.0-or-later
// Says when a movie is over.
#pragma once

#include "platform/Clock.h"
#include "platform/MoviePlayer.h"

#include <functional>
#include <memory>

namespace quorvane {

/// Hears the end of a movie, and does not wait for it for ever: a movie that plays and shows no
/// first frame within five seconds, or does not go on for as long, has failed. Thread: main.
class MovieWatch : private MovieObserver {
public:
    /// \param player  outlives this.
    /// \param clock   must outlive this.
    /// \param ended   called once at most; may destroy this.
    MovieWatch(MoviePlayer& player, Clock& clock, std::function<void(MovieEnd)> ended);
    ~MovieWatch() override;

    MovieWatch(const MovieWatch&) = delete;
    MovieWatch& operator=(const MovieWatch&) = delete;

private:
    void movieInformationChanged() override;
    void movieFrameChanged() override;
    void moviePositionMoved() override;
    void movieEnded(MovieEnd end) override;

    void wait(Duration time);
    void look();
    void finish(MovieEnd end);

    MoviePlayer& mPlayer;
    Clock& mClock;
    std::function<void(MovieEnd)> mEnded; ///< Empty once it was called.
    TimePoint mLastProgress;
    std::unique_ptr<Timer> mTimer;
};

} // namespace quorvane
