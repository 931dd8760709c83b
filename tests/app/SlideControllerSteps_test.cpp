// SPDX-License-Identifier: GPL-3.0-or-later
// How the show moves by hand.
#include "support/ControllerTest.h"

namespace quorvane {

namespace {

using namespace tests;

using Steps = ControllerTest;

TEST_F(Steps, GoForwardAndBack)
{
    show123();

    controller->nextSlide();
    controller->nextSlide();
    controller->previousSlide();

    EXPECT_EQ(screen.asked, Names({ "2.png>", "3.png>", "2.png<" }));
    EXPECT_EQ(current(), "2.png");
    EXPECT_EQ(controller->mFileSequence().currentIndex(), 1U);
}

TEST_F(Steps, GoToTheFirstSlideBackward)
{
    show123();
    controller->nextSlide();
    screen.forget();

    controller->firstSlide();

    EXPECT_EQ(screen.asked, Names({ "1.png<" }));
}

TEST_F(Steps, WithoutSlidesDoNothing)
{
    controller->nextSlide();
    controller->previousSlide();
    controller->firstSlide();
    controller->gotoImageIndex(0);
    controller->reloadCurrent();
    settle();

    EXPECT_EQ(controller->mScreenWindow(), nullptr);
    EXPECT_EQ(screen.made, 0);
}

TEST_F(Steps, AreDroppedDuringATransition)
{
    show123();
    screen.isBusy = true;

    controller->nextSlide();
    controller->previousSlide();
    controller->reloadCurrent();
    EXPECT_TRUE(screen.asked.empty());
    EXPECT_EQ(controller->mFileSequence().currentIndex(), 0U);

    screen.isBusy = false;
    settle();
    EXPECT_TRUE(screen.asked.empty()); // Not merely put off.
    controller->nextSlide();
    EXPECT_EQ(screen.asked, Names({ "2.png>" }));
}

TEST_F(Steps, AreDroppedForASecondWhileAPictureIsBeingDecoded)
{
    show123();
    screen.answers = FakeScreen::Answers::WhenTold;
    controller->nextSlide();

    clock.advance(milliseconds(999));
    controller->nextSlide();
    controller->previousSlide();
    controller->reloadCurrent();

    EXPECT_EQ(screen.asked, Names({ "2.png>" }));
    EXPECT_EQ(controller->mFileSequence().currentIndex(), 1U);
}

TEST_F(Steps, OvertakeAPictureThatTakesASecond)
{
    show123();
    screen.answers = FakeScreen::Answers::WhenTold;
    controller->nextSlide();
    clock.advance(seconds(1));

    controller->nextSlide();
    screen.answer();

    EXPECT_EQ(screen.asked, Names({ "2.png>", "3.png>" }));
    EXPECT_EQ(screen.shown, "3.png");
}

TEST_F(Steps, BackOvertakeAPictureThatTakesASecondToo)
{
    show123();
    screen.answers = FakeScreen::Answers::WhenTold;
    controller->nextSlide();
    clock.advance(seconds(1));

    controller->previousSlide();

    EXPECT_EQ(screen.asked, Names({ "2.png>", "1.png<" }));
}

TEST_F(Steps, ThatOvertookWaitASecondAgain)
{
    show123();
    screen.answers = FakeScreen::Answers::WhenTold;
    controller->nextSlide();
    clock.advance(seconds(1));
    controller->nextSlide();

    clock.advance(milliseconds(999));
    controller->nextSlide();

    EXPECT_EQ(screen.asked, Names({ "2.png>", "3.png>" }));
}

TEST_F(Steps, OfTheTimerNeverOvertake)
{
    play123(3);
    screen.answers = FakeScreen::Answers::WhenTold;

    clock.advance(seconds(31));
    EXPECT_EQ(screen.asked, Names({ "2.png>" }));
    screen.answer();
    EXPECT_EQ(screen.shown, "2.png");

    clock.advance(seconds(2));
    EXPECT_EQ(screen.asked, Names({ "2.png>", "3.png>" }));
}

TEST_F(Steps, OfTheTimerAreDroppedDuringATransition)
{
    play123(3);
    screen.isBusy = true;
    clock.advance(seconds(3));
    EXPECT_TRUE(screen.asked.empty());

    screen.isBusy = false;
    clock.advance(seconds(3));
    EXPECT_EQ(screen.asked, Names({ "2.png>" }));
}

TEST_F(Steps, BeyondTheLastSlideBeginAgainWhereThePersonWantsIt)
{
    defaults.setValue(kEndMode, QString(kEndModeRewind));
    show123();
    controller->gotoImageIndex(2);
    screen.forget();

    controller->nextSlide();

    EXPECT_EQ(screen.asked, Names({ "1.png>" }));
}

TEST_F(Steps, BeyondTheLastSlideEndTheShowWhereThePersonWantsIt)
{
    defaults.setValue(kEndMode, QString(kEndModeClose));
    play123(3);

    clock.advance(seconds(6));
    EXPECT_EQ(screen.shown, "3.png");
    EXPECT_NE(controller->mScreenWindow(), nullptr);
    clock.advance(seconds(3));

    EXPECT_EQ(controller->mScreenWindow(), nullptr);
    EXPECT_FALSE(controller->isPlaying());
    settle();
    EXPECT_EQ(controller->mFileSequence().count(), 0U);
    EXPECT_TRUE(isWelcomeVisible());
}

TEST_F(Steps, BeyondTheLastSlideWaitForMoreWhereThePersonWantsIt)
{
    defaults.setValue(kEndMode, QString(kEndModeWait));
    play123(3);

    clock.advance(seconds(30));
    EXPECT_EQ(screen.asked, Names({ "2.png>", "3.png>" }));
    EXPECT_TRUE(controller->isPlaying());
    EXPECT_EQ(controller->mFileSequence().currentIndex(), 2U);

    controller->mFileSequence().addFile(write({ "4.png" }).front());
    clock.advance(milliseconds(2999));
    EXPECT_EQ(screen.shown, "3.png");
    clock.advance(milliseconds(1));
    EXPECT_EQ(screen.shown, "4.png");
}

TEST_F(Steps, BeyondTheLastSlideWaitWhereTheSettingIsUnknown)
{
    defaults.setValue(kEndMode, QStringLiteral("EndModeDance"));
    play123(3);

    clock.advance(seconds(30));

    EXPECT_EQ(screen.shown, "3.png");
    EXPECT_TRUE(controller->isPlaying());
}

TEST_F(Steps, BackFromTheFirstSlideLeadToTheLastWhateverTheEnd)
{
    for (const QLatin1String mode : { kEndModeRewind, kEndModeWait, kEndModeClose }) {
        defaults.setValue(kEndMode, QString(mode));
        show123();

        controller->previousSlide();

        EXPECT_EQ(screen.asked, Names({ "3.png<" })) << mode.data();
        controller->endSlideShow();
        settle();
    }
}

TEST_F(Steps, ToAPlaceGoForwardOrBackwardAsTheWayLeads)
{
    show123();

    controller->gotoImageIndex(2);
    controller->gotoImageIndex(1);
    controller->gotoImageIndex(1);

    EXPECT_EQ(screen.asked, Names({ "3.png>", "2.png<", "2.png<" }));
}

TEST_F(Steps, ToAPlaceBeyondTheEndGoNowhere)
{
    show123();
    controller->nextSlide();
    screen.forget();

    controller->gotoImageIndex(3);
    controller->gotoImageIndex(FileSequence::kBeforeFirst);

    EXPECT_TRUE(screen.asked.empty());
    EXPECT_EQ(controller->mFileSequence().currentIndex(), 1U);
    EXPECT_EQ(current(), "2.png");
}

TEST_F(Steps, ToAPlaceBringTheWindowToTheFront)
{
    show123();
    QWidget other;
    other.show();
    QApplication::setActiveWindow(&other);
    QCoreApplication::processEvents();
    ASSERT_FALSE(controller->mScreenWindow()->isActiveWindow());

    controller->gotoImageIndex(1);
    QCoreApplication::processEvents();

    EXPECT_TRUE(controller->mScreenWindow()->isActiveWindow());
}

TEST_F(Steps, BringAWindowBackThatIsNotVisible)
{
    show123();
    controller->mScreenWindow()->hide();

    controller->nextSlide();

    EXPECT_TRUE(controller->mScreenWindow()->isVisible());
    EXPECT_EQ(screen.made, 1);
}

TEST_F(Steps, HideTheMousePointer)
{
    show123();
    controller->mScreenWindow()->unsetCursor();

    controller->nextSlide();

    EXPECT_EQ(controller->mScreenWindow()->cursor().shape(), Qt::BlankCursor);
}

TEST_F(Steps, HaveTheNextSlideReadAhead)
{
    show123();

    controller->nextSlide();
    controller->nextSlide();

    EXPECT_EQ(screen.readAhead, Names({ "3.png", "1.png" }));
}

TEST_F(Steps, HaveNothingReadAheadThatIsNotThere)
{
    screen.damaged = { "2.png" };
    defaults.setValue(kEndMode, QString(kEndModeWait));
    show({ "1.png", "2.png" });

    controller->nextSlide();
    controller->reloadCurrent();

    EXPECT_EQ(screen.asked, Names({ "2.png>", "1.png>" }));
    EXPECT_TRUE(screen.readAhead.empty());
}

TEST_F(Steps, HaveNothingReadAheadBeforeTheSlideIsThere)
{
    show123();
    screen.answers = FakeScreen::Answers::WhenTold;

    controller->nextSlide();
    EXPECT_TRUE(screen.readAhead.empty());
    screen.answer();

    EXPECT_EQ(screen.readAhead, Names({ "3.png" }));
}

TEST_F(Steps, ShowTheCurrentSlideAgainForward)
{
    show123();
    controller->nextSlide();
    screen.forget();

    controller->reloadCurrent();

    EXPECT_EQ(screen.asked, Names({ "2.png>" }));
    EXPECT_EQ(controller->mFileSequence().currentIndex(), 1U);
}

} // namespace

} // namespace quorvane
