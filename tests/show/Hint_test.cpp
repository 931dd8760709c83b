// SPDX-License-Identifier: GPL-3.0-or-later
// The picture that greets a new user.
#include "ShowTest.h"

namespace quorvane::show {

namespace {

struct Hint : ShowTest {
    [[nodiscard]] testing::AssertionResult greets(bool autoStart = false)
    {
        pictures.writeSolid("1.png", kRed, desktop.size());
        pictures.writeSolid("2.png", kGreen, desktop.size());
        startShow({ { QStringLiteral("HintsShown"), false },
            { QStringLiteral("autoStart"), autoStart }, { QStringLiteral("slideInterval"), 2.0 } });
        return waitWhileRunning(QStringLiteral("a picture of many colours, and the keyboard"), [&] {
            constexpr size_t kManyColours = 4; // A slide over the bare desktop has two.
            return colourCount() >= kManyColours && desktop.focusedProcess() == viewer->pid();
        });
    }
};

TEST_F(Hint, StandsInFrontOfTheFirstSlide)
{
    ASSERT_TRUE(greets());

    desktop.startRecording(middle());
    ASSERT_TRUE(leadsTo(XK_Right, kRed));
    ASSERT_TRUE(leadsTo(XK_Right, kGreen));

    const auto colours = coloursOf(desktop.takeRecording());
    EXPECT_EQ(std::vector(colours.end() - 2, colours.end()), std::vector({ kRed, kGreen }));
    EXPECT_TRUE(stores("HintsShown", true));
}

TEST_F(Hint, GivesWayToTheFirstSlideBackwardToo)
{
    ASSERT_TRUE(greets());

    ASSERT_TRUE(leadsTo(XK_Left, kRed));
}

TEST_F(Hint, CountsAsASlideOfAShowThatStartsByItself)
{
    ASSERT_TRUE(greets(true));

    desktop.startRecording(middle());
    ASSERT_TRUE(shows(kRed));
    ASSERT_TRUE(shows(kGreen));

    const auto changes = desktop.takeRecording();
    ASSERT_GE(changes.size(), 3U);
    EXPECT_EQ(changes[changes.size() - 2].colour, kRed);
    EXPECT_GT(gapsOf(changes).back(), 1.5);
}

TEST_F(Hint, ComesOnce)
{
    ASSERT_TRUE(greets());
    ASSERT_TRUE(stores("HintsShown", true));

    ASSERT_TRUE(quits());
    ASSERT_TRUE(desktop.waitFor(QStringLiteral("the bare desktop"),
        [&] { return desktop.colourAt(middle()) == kDesktop; }));
    desktop.startRecording(middle());
    viewer->start({ pictures.path() });
    ASSERT_TRUE(ready(kRed));

    EXPECT_TRUE(showedOnly({ kDesktop, kBlack, kRed }, desktop.takeRecording()));
}

} // namespace

} // namespace quorvane::show
