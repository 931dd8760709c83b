// SPDX-License-Identifier: GPL-3.0-or-later
// Pictures that are taken away while they are shown.
#include "ShowTest.h"

namespace quorvane::show {

namespace {

using std::chrono::milliseconds;

struct VanishingFiles : ShowTest {
    [[nodiscard]] testing::AssertionResult showsThree()
    {
        pictures.writeSolid("1.png", kRed);
        pictures.writeSolid("2.png", kGreen);
        pictures.writeSolid("3.png", kBlue);
        startShow();
        return ready(kRed);
    }

    /// From red by way of green, or not, and blue to red.
    [[nodiscard]] testing::AssertionResult goesRound(bool& withoutGreen)
    {
        desktop.key(XK_Right);
        if (auto next = waitWhileRunning(QStringLiteral("another slide"),
                [&] { return desktop.colourAt(middle()) != kRed; });
            !next) {
            return next;
        }
        withoutGreen = desktop.colourAt(middle()) == kBlue;
        if (!withoutGreen) {
            if (auto third = leadsTo(XK_Right, kBlue); !third)
                return third;
        }
        desktop.pause(milliseconds(200));
        return leadsTo(XK_Right, kRed);
    }
};

TEST_F(VanishingFiles, ADeletedFileIsLeftOutSoon)
{
    ASSERT_TRUE(showsThree());
    desktop.startRecording(middle());

    pictures.remove("2.png");

    // It may have been read ahead or not yet be missed: some rounds may still show it.
    constexpr int kRounds = 40;
    bool leftOut = false;
    for (int round = 0; round < kRounds && !leftOut; ++round)
        ASSERT_TRUE(goesRound(leftOut));
    EXPECT_TRUE(leftOut);
    EXPECT_TRUE(showedOnly({ kRed, kGreen, kBlue }, desktop.takeRecording()));
}

TEST_F(VanishingFiles, ADeletedFolderEndsTheShowCalmly)
{
    ASSERT_TRUE(showsThree());

    pictures.removeAll();

    constexpr int kPresses = 60;
    for (int i = 0; i < kPresses && viewer->running(); ++i) {
        desktop.key(XK_Right);
        desktop.pause(milliseconds(150));
    }
    desktop.key(XK_Escape);
    EXPECT_TRUE(leaves());
}

TEST_F(VanishingFiles, ADeletedFolderEndsARunningShowCalmly)
{
    ASSERT_TRUE(showsThree());
    desktop.key(XK_1);

    pictures.removeAll();

    desktop.pause(milliseconds(6000));
    desktop.key(XK_Escape);
    EXPECT_TRUE(leaves());
}

} // namespace

} // namespace quorvane::show
