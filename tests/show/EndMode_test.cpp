// SPDX-License-Identifier: GPL-3.0-or-later
// What comes after the last slide.
#include "ShowTest.h"

namespace quorvane::show {

namespace {

struct EndMode : ShowTest {
    /// Two slides, the second one on the screen.
    [[nodiscard]] testing::AssertionResult standsAtTheEnd(
        const QString& mode, const QVariantMap& more = {})
    {
        pictures.writeSolid("1.png", kRed);
        pictures.writeSolid("2.png", kGreen);
        QVariantMap changes = more;
        changes.insert(QStringLiteral("EndMode"), mode);
        startShow(changes);
        if (auto started = ready(kRed); !started)
            return started;
        return leadsTo(XK_Right, kGreen);
    }
};

TEST_F(EndMode, WaitStaysOnTheLastSlide)
{
    ASSERT_TRUE(standsAtTheEnd(QStringLiteral("EndModeWait")));

    desktop.startRecording(middle());
    desktop.key(XK_Right);
    ASSERT_TRUE(leadsTo(XK_Left, kRed));

    EXPECT_EQ(coloursOf(desktop.takeRecording()), std::vector({ kGreen, kRed }));
}

TEST_F(EndMode, WaitStaysOnTheLastSlideWhileTheTimerRuns)
{
    ASSERT_TRUE(standsAtTheEnd(QStringLiteral("EndModeWait")));

    desktop.key(XK_1);

    EXPECT_TRUE(staysFor(std::chrono::milliseconds(2500)));
}

TEST_F(EndMode, RewindGoesToTheFirstSlide)
{
    ASSERT_TRUE(standsAtTheEnd(QStringLiteral("EndModeRewind")));

    ASSERT_TRUE(leadsTo(XK_Right, kRed));
    ASSERT_TRUE(leadsTo(XK_Right, kGreen));
}

TEST_F(EndMode, CloseEndsTheShow)
{
    ASSERT_TRUE(standsAtTheEnd(QStringLiteral("EndModeClose")));

    desktop.key(XK_Right);

    EXPECT_TRUE(endsTheShow());
}

TEST_F(EndMode, CloseEndsTheShowByTheTimerToo)
{
    ASSERT_TRUE(standsAtTheEnd(QStringLiteral("EndModeClose")));

    desktop.key(XK_1);

    EXPECT_TRUE(endsTheShow());
}

TEST_F(EndMode, CloseLeavesTheWelcomeWindow)
{
    ASSERT_TRUE(standsAtTheEnd(
        QStringLiteral("EndModeClose"), { { QStringLiteral("ShowWelcome"), true } }));

    desktop.key(XK_Right);

    EXPECT_TRUE(welcomes());
}

} // namespace

} // namespace quorvane::show
