// SPDX-License-Identifier: GPL-3.0-or-later
// The first show of a new user.
#include "support/ControllerTest.h"

namespace quorvane {

namespace {

using namespace tests;

using Hints = ControllerTest;

TEST_F(Hints, StandBeforeTheFirstSlideOfANewUser)
{
    defaults.setValue(kHintsShown, false);

    controller->openFiles(write({ "1.png", "2.png" }));
    settle();

    EXPECT_EQ(screen.asked, Names({ "hint screen.png>" }));
    EXPECT_TRUE(controller->mHintsScreenShown());
    EXPECT_EQ(nameOf(*controller->mFileSequence().current()), "1.png");
    EXPECT_TRUE(defaults.boolValue(kHintsShown));
}

TEST_F(Hints, GiveWayToTheSlideBehindThem)
{
    defaults.setValue(kHintsShown, false);
    show123();

    controller->nextSlide();
    EXPECT_FALSE(controller->mHintsScreenShown());
    controller->nextSlide();

    EXPECT_EQ(screen.asked, Names({ "1.png>", "2.png>" }));
}

TEST_F(Hints, GiveWayToTheSlideBehindThemOnAStepBackToo)
{
    defaults.setValue(kHintsShown, false);
    show123();

    controller->previousSlide();
    controller->previousSlide();

    EXPECT_EQ(screen.asked, Names({ "1.png<", "3.png<" }));
}

TEST_F(Hints, CountAsASlideOfAShowThatStartsByItself)
{
    defaults.setValue(kHintsShown, false);
    defaults.setValue(kAutoStart, true);
    defaults.setValue(kSlideInterval, 4);

    show123();
    EXPECT_TRUE(controller->isPlaying());
    EXPECT_TRUE(controller->mHintsScreenShown());

    clock.advance(seconds(4));
    EXPECT_EQ(screen.asked, Names({ "1.png>" }));
    clock.advance(seconds(4));
    EXPECT_EQ(screen.asked, Names({ "1.png>", "2.png>" }));
}

TEST_F(Hints, ComeOncePerUser)
{
    defaults.setValue(kHintsShown, false);
    show123();
    controller->endSlideShow();
    settle();
    screen.forget();

    controller->openFiles({ path("1.png") });
    settle();

    EXPECT_EQ(screen.asked, Names({ "1.png>", "1.png<" }));
}

TEST_F(Hints, ComeWhenAskedFor)
{
    show123();
    controller->nextSlide();

    controller->ShowHintScreen();
    EXPECT_TRUE(controller->mHintsScreenShown());
    controller->nextSlide();

    EXPECT_EQ(screen.asked, Names({ "2.png>", "hint screen.png>", "2.png>" }));
}

TEST_F(Hints, HaveTheSlideBehindThemReadAhead)
{
    defaults.setValue(kHintsShown, false);
    controller->openFiles(write({ "1.png", "2.png" }));

    settle();

    EXPECT_EQ(screen.readAhead, Names({ "1.png" }));
}

TEST_F(Hints, GoWithAnySlideThatIsOpened)
{
    show123();

    controller->ShowHintScreen();
    controller->firstSlide();
    EXPECT_FALSE(controller->mHintsScreenShown());

    controller->ShowHintScreen();
    controller->gotoImageIndex(2);
    EXPECT_FALSE(controller->mHintsScreenShown());
}

TEST_F(Hints, EndWithTheShow)
{
    show123();
    controller->ShowHintScreen();

    controller->endSlideShow();

    EXPECT_FALSE(controller->mHintsScreenShown());
}

TEST_F(Hints, ArePartOfTheProgram)
{
    useRealDisplay();
    defaults.setValue(kHintsShown, false);
    controller->openFiles(write({ "1.png" }));
    settle();

    const auto* const view = controller->mScreenWindow()->findChild<SVLayerView*>();
    ASSERT_NE(view, nullptr);
    ASSERT_NE(view->mCurrentImage(), nullptr);
    EXPECT_EQ(nameOf(view->mCurrentImage()->mURL()), "hint screen.png");
}

} // namespace

} // namespace quorvane
