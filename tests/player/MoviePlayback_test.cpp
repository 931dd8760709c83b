// SPDX-License-Identifier: GPL-3.0-or-later
#include "player/MoviePlayback.h"

#include <gtest/gtest.h>

namespace quorvane {
namespace {

TEST(MoviePlayback, IsReadyWheneverTheMovieComesWhileItWarmsUp)
{
    for (int moment = 0; moment < 12; ++moment) {
        const Doorbell bell;
        int looks = 0;

        EXPECT_TRUE(MoviePlayback::make(bell, [&] { return looks++ >= moment; })) << moment;

        EXPECT_LT(looks, moment + 2000) << "Seconds after the movie came";
    }
}

} // namespace
} // namespace quorvane
