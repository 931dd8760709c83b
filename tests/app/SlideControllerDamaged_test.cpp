// SPDX-License-Identifier: GPL-3.0-or-later
// What a show does about pictures that cannot be shown.
#include "support/ControllerTest.h"

namespace quorvane {

namespace {

using namespace tests;

using Steps = ControllerTest;
using Damaged = ControllerTest;

TEST_F(Damaged, OnesInTheMiddleGiveWayToTheNext)
{
    screen.damaged = { "2.png" };
    show123();

    controller->nextSlide();

    EXPECT_EQ(screen.asked, Names({ "2.png>", "3.png>" }));
    EXPECT_EQ(current(), "3.png");
    EXPECT_EQ(controller->mFileSequence().count(), 2U);
    EXPECT_EQ(controller->mFileSequence().mRemovedURLs(), std::vector({ url("2.png") }));
    EXPECT_EQ(nameOf(*controller->mFileSequence().current()), "3.png");
}

TEST_F(Damaged, OnesThatAreFoundOutLaterGiveWayToo)
{
    screen.damaged = { "2.png" };
    show123();
    screen.answers = FakeScreen::Answers::WhenTold;
    controller->nextSlide();
    clock.advance(milliseconds(100));

    screen.answer();
    EXPECT_EQ(screen.asked, Names({ "2.png>", "3.png>" }));
    screen.answer();

    EXPECT_EQ(screen.shown, "3.png");
}

TEST_F(Damaged, OnesAreNotMetAgain)
{
    screen.damaged = { "2.png" };
    play123(3);

    clock.advance(seconds(12));

    EXPECT_EQ(screen.asked, Names({ "2.png>", "3.png>", "1.png>", "3.png>", "1.png>" }));
}

TEST_F(Damaged, OnesInARowAreAllPassedOver)
{
    screen.damaged = { "2.png", "3.png", "4.png" };
    show({ "1.png", "2.png", "3.png", "4.png", "5.png" });

    controller->nextSlide();

    EXPECT_EQ(screen.asked, Names({ "2.png>", "3.png>", "4.png>", "5.png>" }));
    EXPECT_EQ(screen.shown, "5.png");
    EXPECT_EQ(controller->mFileSequence().count(), 2U);
}

TEST_F(Damaged, OnesAtTheEndLeadToTheBeginning)
{
    screen.damaged = { "3.png" };
    show123();
    controller->gotoImageIndex(1);
    screen.forget();

    controller->nextSlide();

    EXPECT_EQ(screen.asked, Names({ "3.png>", "1.png>" }));
    EXPECT_EQ(controller->mFileSequence().currentIndex(), 0U);
}

TEST_F(Damaged, OnesAtTheEndLeaveTheLastGoodSlideWhereTheShowWaits)
{
    defaults.setValue(kEndMode, QString(kEndModeWait));
    screen.damaged = { "3.png" };
    show123();
    controller->gotoImageIndex(1);
    screen.forget();

    controller->nextSlide();

    EXPECT_EQ(screen.asked, Names({ "3.png>" }));
    EXPECT_EQ(screen.shown, "2.png");
    EXPECT_EQ(controller->mFileSequence().currentIndex(), 1U);
    EXPECT_FALSE(controller->mImageURL());
}

TEST_F(Damaged, OnesAtTheEndEndAShowThatCloses)
{
    defaults.setValue(kEndMode, QString(kEndModeClose));
    screen.damaged = { "3.png" };
    show123();
    controller->gotoImageIndex(1);

    controller->nextSlide();

    EXPECT_EQ(controller->mScreenWindow(), nullptr);
}

TEST_F(Damaged, OnesAtTheBeginningGiveWayToTheNextWhateverTheEnd)
{
    screen.damaged = { "1.png" };
    for (const QLatin1String mode : { kEndModeRewind, kEndModeWait, kEndModeClose }) {
        defaults.setValue(kEndMode, QString(mode));

        show123();

        EXPECT_EQ(screen.shown, "2.png") << mode.data();
        EXPECT_EQ(controller->mFileSequence().currentIndex(), 0U) << mode.data();
        EXPECT_NE(controller->mScreenWindow(), nullptr) << mode.data();
        controller->endSlideShow();
        settle();
    }
}

TEST_F(Damaged, OnesInARowAtTheBeginningGiveWayToTheFirstGoodOne)
{
    defaults.setValue(kEndMode, QString(kEndModeClose));
    screen.damaged = { "1.png", "2.png" };

    show123();

    EXPECT_EQ(screen.shown, "3.png");
    EXPECT_EQ(controller->mFileSequence().count(), 1U);
}

TEST_F(Damaged, OnesBehindTheHintsGiveWayToTheNext)
{
    defaults.setValue(kHintsShown, false);
    defaults.setValue(kEndMode, QString(kEndModeWait));
    screen.damaged = { "1.png" };
    show123();

    controller->nextSlide();

    EXPECT_EQ(screen.asked, Names({ "1.png>", "2.png>" }));
    EXPECT_FALSE(controller->mHintsScreenShown());
}

TEST_F(Damaged, OnesMetOnTheWayBackGiveWayToTheSlideAfterThem)
{
    screen.damaged = { "2.png" };
    show123();
    controller->gotoImageIndex(2);
    screen.forget();

    controller->previousSlide();
    EXPECT_EQ(screen.asked, Names({ "2.png<", "3.png>" }));
    controller->previousSlide();

    EXPECT_EQ(screen.asked, Names({ "2.png<", "3.png>", "1.png<" }));
}

TEST_F(Damaged, FirstOneMetOnTheWayBackGivesWayToTheSlideAfterIt)
{
    defaults.setValue(kEndMode, QString(kEndModeClose));
    show123();
    controller->nextSlide();
    screen.forget();
    screen.damaged = { "1.png" }; // Since it was shown.

    controller->previousSlide();

    EXPECT_EQ(screen.asked, Names({ "1.png<", "2.png>" }));
    EXPECT_NE(controller->mScreenWindow(), nullptr);
}

TEST_F(Damaged, OnesAloneEndTheShow)
{
    screen.damaged = { "1.png", "2.png", "3.png" };
    controller->openFiles(write({ "1.png", "2.png", "3.png" }));

    settle();

    EXPECT_EQ(screen.asked, Names({ "1.png>", "2.png>", "3.png>" }));
    EXPECT_EQ(controller->mScreenWindow(), nullptr);
    EXPECT_FALSE(controller->mImageURL());
    EXPECT_TRUE(isWelcomeVisible());
    EXPECT_EQ(nothingLeft, 0);
}

TEST_F(Damaged, OnesAloneEndAShowThatStartsByItself)
{
    defaults.setValue(kAutoStart, true);
    defaults.setValue(kShowWelcome, false);
    screen.damaged = { "1.png" };

    show({ "1.png" });

    EXPECT_FALSE(controller->isPlaying());
    EXPECT_EQ(clock.validTimers(), 0);
    EXPECT_TRUE(isPanelVisible());
    EXPECT_EQ(nothingLeft, 0);
}

TEST_F(Damaged, OnesThatGoBadDuringTheShowEndIt)
{
    play123(3);
    screen.damaged = { "1.png", "2.png", "3.png" };

    clock.advance(std::chrono::minutes(1));
    settle();

    EXPECT_EQ(screen.asked, Names({ "2.png>", "3.png>", "1.png>" }));
    EXPECT_EQ(controller->mScreenWindow(), nullptr);
    EXPECT_FALSE(controller->isPlaying());
}

TEST_F(Damaged, OneThatWasNamedTwiceEndsTheShowToo)
{
    screen.damaged = { "1.png" };

    show({ "1.png", "1.png" });

    EXPECT_EQ(controller->mScreenWindow(), nullptr);
    EXPECT_EQ(controller->mFileSequence().count(), 0U);
}

TEST_F(Damaged, FirstOnesWaitForMoreFilesWhileTheyAreCollected)
{
    HeldCollection held(controller);
    screen.damaged = { "1.png" };
    controller->openFiles(write({ "1.png", "2.png" }));
    held.waitForFirstFile();
    MainQueue::drain();
    EXPECT_EQ(controller->mFileSequence().count(), 0U);
    EXPECT_NE(controller->mScreenWindow(), nullptr);

    held.go();
    settle();

    EXPECT_EQ(screen.shown, "2.png");
    EXPECT_EQ(held.found(), 2);
}

TEST_F(Steps, BeyondWhatIsCollectedSoFarDoNotEndTheShow)
{
    defaults.setValue(kEndMode, QString(kEndModeClose));
    HeldCollection held(controller);
    controller->openFiles(write({ "1.png", "2.png" }));
    held.waitForFirstFile();
    MainQueue::drain();

    controller->nextSlide(); // Beyond all that is known so far.
    held.go();
    settle();

    EXPECT_NE(controller->mScreenWindow(), nullptr);
    EXPECT_EQ(screen.shown, "1.png");
    EXPECT_EQ(controller->mFileSequence().count(), 2U);
}

TEST_F(Damaged, OneGoneToByItsPlaceEndsAShowOfOne)
{
    show({ "1.png" });
    screen.damaged = { "1.png" };

    controller->gotoImageIndex(0);
    settle();

    EXPECT_EQ(controller->mScreenWindow(), nullptr);
}

TEST_F(Damaged, HintsGiveWayToTheFirstSlide)
{
    defaults.setValue(kHintsShown, false);
    screen.damaged = { "hint screen.png" };
    controller->openFiles(write({ "1.png", "2.png" }));

    settle();

    EXPECT_EQ(screen.shown, "1.png");
    EXPECT_FALSE(controller->mHintsScreenShown());
}

TEST_F(Damaged, OnesDoNotStopTheTimer)
{
    screen.damaged = { "2.png" };
    play123(3);

    clock.advance(seconds(3));
    EXPECT_EQ(screen.shown, "3.png");
    clock.advance(seconds(3));

    EXPECT_EQ(screen.shown, "1.png");
}

} // namespace

} // namespace quorvane
