// SPDX-License-Identifier: GPL-3.0-or-later
// A show that runs by itself. These tests measure real time, with room for a busy machine.
#include "ShowTest.h"

#include <algorithm>
#include <numeric>

namespace quorvane::show {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

struct Timer : ShowTest {
    /// Four slides; the show starts by itself and is on its first one.
    [[nodiscard]] testing::AssertionResult plays(double interval)
    {
        pictures.writeSolid("1.png", kRed);
        pictures.writeSolid("2.png", kGreen);
        pictures.writeSolid("3.png", kBlue);
        pictures.writeSolid("4.png", kYellow);
        startShow({ { QStringLiteral("autoStart"), true },
            { QStringLiteral("slideInterval"), interval } });
        return ready(kRed);
    }
};

TEST_F(Timer, ChangesComeOneIntervalApart)
{
    ASSERT_TRUE(plays(2));

    const auto changes = desktop.recordColours(middle(), milliseconds(9500));

    const auto gaps = gapsOf(changes);
    ASSERT_GE(gaps.size(), 3U) << testing::PrintToString(coloursOf(changes));
    EXPECT_GT(*std::min_element(gaps.begin(), gaps.end()), 1.5);
    EXPECT_LT(*std::max_element(gaps.begin(), gaps.end()), 3.5);
    const double mean
        = std::accumulate(gaps.begin(), gaps.end(), 0.0) / static_cast<double>(gaps.size());
    EXPECT_NEAR(mean, 2.0, 0.35);
}

TEST_F(Timer, SlidesFollowEachOtherInOrder)
{
    ASSERT_TRUE(plays(1));

    const auto changes = desktop.recordColours(middle(), milliseconds(5500));

    const auto colours = coloursOf(changes);
    ASSERT_GE(colours.size(), 4U);
    EXPECT_EQ(std::vector(colours.begin(), colours.begin() + 4),
        std::vector({ kRed, kGreen, kBlue, kYellow }));
}

TEST_F(Timer, AManualStepRestartsTheInterval)
{
    ASSERT_TRUE(plays(2));
    ASSERT_TRUE(shows(kGreen));
    desktop.recordColours(middle(), seconds(1));

    desktop.startRecording(middle());
    const auto pressed = std::chrono::steady_clock::now();
    ASSERT_TRUE(leadsTo(XK_Right, kBlue));
    ASSERT_TRUE(shows(kYellow));
    const auto changes = desktop.takeRecording();

    EXPECT_EQ(coloursOf(changes), std::vector({ kGreen, kBlue, kYellow }));
    const std::chrono::duration<double> gap = changes.back().when - pressed;
    EXPECT_GT(gap.count(), 1.6);
    EXPECT_LT(gap.count(), 3.5);
}

TEST_F(Timer, WithoutAutoStartNothingMoves)
{
    pictures.writeSolid("1.png", kRed);
    pictures.writeSolid("2.png", kGreen);
    startShow({ { QStringLiteral("slideInterval"), 1.0 } });
    ASSERT_TRUE(ready(kRed));

    EXPECT_TRUE(staysFor(milliseconds(2500)));
}

} // namespace

} // namespace quorvane::show
