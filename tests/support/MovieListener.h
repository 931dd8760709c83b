// SPDX-License-Identifier: GPL-3.0-or-later
// Notes down what it hears of a movie.
#pragma once

#include "platform/MoviePlayer.h"

#include <functional>
#include <string>

namespace quorvane::tests {

struct MovieListener : MovieObserver {
    void movieInformationChanged() override { ++informed; }
    void movieFirstFrameReady() override
    {
        heard += frames == 0 ? "first " : "late ";
        if (onFirstFrame)
            onFirstFrame();
    }

    void movieFrameChanged() override
    {
        ++frames;
        if (onFrame)
            onFrame();
    }

    void moviePositionMoved() override { ++moves; }
    void movieEnded(MovieEnd end) override
    {
        ++ends;
        heard += end == MovieEnd::Finished ? "finished "
            : end == MovieEnd::Failed      ? "failed "
                                           : "unfinished ";
        if (onEnded)
            onEnded();
    }

    bool hasEnded() const { return ends > 0; }

    std::string heard; ///< "first finished " and the like.
    int informed = 0;
    int frames = 0;
    int moves = 0;
    int ends = 0;
    std::function<void()> onFirstFrame;
    std::function<void()> onFrame;
    std::function<void()> onEnded;
};

} // namespace quorvane::tests
