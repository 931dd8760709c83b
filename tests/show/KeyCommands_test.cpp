// SPDX-License-Identifier: GPL-3.0-or-later
// Digits, space and the other keys that start, time and stop a show.
#include "ShowTest.h"

namespace quorvane::show {

namespace {

using std::chrono::duration;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

struct KeyCommands : ShowTest {
    [[nodiscard]] testing::AssertionResult stands(double interval = 5)
    {
        pictures.writeSolid("1.png", kRed);
        pictures.writeSolid("2.png", kGreen);
        pictures.writeSolid("3.png", kBlue);
        pictures.writeSolid("4.png", kYellow);
        startShow({ { QStringLiteral("slideInterval"), interval } });
        return ready(kRed);
    }

    /// Runs at one slide a second and has just gone to the second slide.
    [[nodiscard]] testing::AssertionResult runs()
    {
        if (auto standing = stands(); !standing)
            return standing;
        desktop.key(XK_1);
        return shows(kGreen);
    }
};

TEST_F(KeyCommands, ADigitStartsTheShowAndIsKept)
{
    ASSERT_TRUE(stands());

    const auto pressed = steady_clock::now();
    ASSERT_TRUE(leadsTo(XK_1, kGreen));
    const duration<double> first = steady_clock::now() - pressed;

    EXPECT_GT(first.count(), 0.6);
    EXPECT_LT(first.count(), 2.5);
    EXPECT_TRUE(stores("slideInterval", 1.0));
    EXPECT_TRUE(shows(kBlue));
}

TEST_F(KeyCommands, ALargerDigitLengthensTheSlideThatIsOnTheScreen)
{
    ASSERT_TRUE(runs());

    const auto changed = steady_clock::now();
    ASSERT_TRUE(leadsTo(XK_3, kBlue));
    const duration<double> gap = steady_clock::now() - changed;

    EXPECT_GT(gap.count(), 2.4);
    EXPECT_LT(gap.count(), 4.5);
    EXPECT_TRUE(stores("slideInterval", 3.0));
}

TEST_F(KeyCommands, ASmallerDigitEndsASlideThatHasStoodThatLong)
{
    ASSERT_TRUE(stands());
    desktop.key(XK_9);
    ASSERT_TRUE(stores("slideInterval", 9.0));
    ASSERT_TRUE(staysFor(milliseconds(1800)));

    const auto pressed = steady_clock::now();
    ASSERT_TRUE(leadsTo(XK_1, kGreen));

    EXPECT_LT(duration<double>(steady_clock::now() - pressed).count(), 0.9);
}

TEST_F(KeyCommands, ZeroStopsTheShow)
{
    ASSERT_TRUE(runs());

    desktop.key(XK_0);

    EXPECT_TRUE(staysFor(milliseconds(2500)));
    EXPECT_TRUE(stores("slideInterval", 1.0));
}

TEST_F(KeyCommands, ALetterStopsTheShow)
{
    ASSERT_TRUE(runs());

    desktop.key(XK_a);

    EXPECT_TRUE(staysFor(milliseconds(2500)));
}

TEST_F(KeyCommands, ModifiersAloneDoNotStopTheShow)
{
    ASSERT_TRUE(runs());

    desktop.key(XK_Shift_L);
    desktop.key(XK_Control_L);

    EXPECT_TRUE(shows(kBlue));
    EXPECT_TRUE(shows(kYellow));
}

TEST_F(KeyCommands, SpaceStopsTheShowAndStepsOnce)
{
    ASSERT_TRUE(stands());
    desktop.key(XK_2);
    ASSERT_TRUE(shows(kGreen));

    const auto pressed = steady_clock::now();
    ASSERT_TRUE(leadsTo(XK_space, kBlue));

    EXPECT_LT(duration<double>(steady_clock::now() - pressed).count(), 1.5);
    EXPECT_TRUE(staysFor(milliseconds(3500)));
}

} // namespace

} // namespace quorvane::show
