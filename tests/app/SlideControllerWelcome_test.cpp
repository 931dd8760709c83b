// SPDX-License-Identifier: GPL-3.0-or-later
// When the welcome window comes and goes.
#include "support/ControllerTest.h"

namespace quorvane {

namespace {

using namespace tests;

using Welcome = ControllerTest;

TEST_F(Welcome, GoesWhenTheFirstSlideComes)
{
    controller->applicationDidFinishLaunching();
    ASSERT_TRUE(isWelcomeVisible());

    show123();

    EXPECT_FALSE(isWelcomeVisible());
    EXPECT_EQ(nothingLeft, 0);
}

TEST_F(Welcome, StaysWhileWhatWasOpenedCannotBeShown)
{
    controller->applicationDidFinishLaunching();

    show({ "1.txt" });

    EXPECT_TRUE(isWelcomeVisible());
    EXPECT_EQ(nothingLeft, 0);
}

TEST_F(Welcome, ComesBackAfterTheShow)
{
    show123();

    controller->endSlideShow();
    settle();

    EXPECT_TRUE(isWelcomeVisible());
    EXPECT_EQ(nothingLeft, 0);
}

TEST_F(Welcome, DoesNotComeBackWhereNobodyWantsIt)
{
    defaults.setValue(kShowWelcome, false);
    show123();

    controller->endSlideShow();
    settle();

    EXPECT_FALSE(isWelcomeVisible());
    EXPECT_TRUE(isPanelVisible()) << "an invisible program could not even be ended";
}

TEST_F(Welcome, DoesNotComeBackWhenTheShowWasClosedByHand)
{
    show123();

    EXPECT_FALSE(controller->mScreenWindow()->close());
    settle();

    EXPECT_FALSE(isWelcomeVisible());
    EXPECT_EQ(nothingLeft, 1);
    EXPECT_EQ(controller->mScreenWindow(), nullptr);
    EXPECT_EQ(controller->mFileSequence().count(), 0U);
}

TEST_F(Welcome, ComesBackAfterAShowThatFollowedOneClosedByHand)
{
    show123();
    controller->mScreenWindow()->close();
    controller->openFiles({ path("2.png") });
    settle();
    ASSERT_EQ(nothingLeft, 0);

    controller->endSlideShow();
    settle();

    EXPECT_TRUE(isWelcomeVisible());
    EXPECT_EQ(nothingLeft, 0);
}

TEST_F(Welcome, ClosedByHandWithoutAShowLeavesNothing)
{
    controller->applicationDidFinishLaunching();

    visibleWindow<WelcomeController>()->close();

    EXPECT_EQ(nothingLeft, 1);
}

TEST_F(Welcome, ClosedByHandDuringAShowLeavesTheShow)
{
    show123();
    controller->ShowWelcomeScreen();

    visibleWindow<WelcomeController>()->close();

    EXPECT_EQ(nothingLeft, 0);
    EXPECT_NE(controller->mScreenWindow(), nullptr);
}

TEST_F(Welcome, ClosedByHandWhileFilesAreBeingCollectedLeavesThem)
{
    controller->applicationDidFinishLaunching();
    controller->openFiles(write({ "1.png" }));

    visibleWindow<WelcomeController>()->close();
    EXPECT_EQ(nothingLeft, 0);

    settle();
    EXPECT_EQ(screen.shown, "1.png");
}

TEST_F(Welcome, IsMadeOnce)
{
    controller->ShowWelcomeScreen();
    const auto* const window = visibleWindow<WelcomeController>();
    show123();
    controller->endSlideShow();
    settle();

    EXPECT_EQ(visibleWindow<WelcomeController>(), window);
}

TEST_F(Welcome, OpensThePanel)
{
    controller->ShowWelcomeScreen();

    visibleWindow<WelcomeController>()->OpenFolder();

    EXPECT_NE(visibleWindow<OpenPanel>(), nullptr);
}

} // namespace

} // namespace quorvane
