// SPDX-License-Identifier: GPL-3.0-or-later
// How the show moves from slide to slide, by itself and by hand.
#include "support/ControllerTest.h"

#include <limits>
#include <ostream>
#include <thread>

namespace quorvane {

namespace {

using namespace tests;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

using Timing = ControllerTest;
using Steps = ControllerTest;
using Damaged = ControllerTest;
using Callbacks = ControllerTest;
using RealDisplay = ControllerTest;

// The timer.

TEST_F(Timing, StartDoesNotAdvanceAtOnce)
{
    play123(3);
    EXPECT_TRUE(controller->isPlaying());
    EXPECT_EQ(controller->mSlideTime(), 3.0);

    clock.advance(milliseconds(2999));
    EXPECT_TRUE(screen.asked.empty());

    clock.advance(milliseconds(1));
    EXPECT_EQ(screen.asked, Names({ "2.png>" }));
}

TEST_F(Timing, SlidesChangeOneIntervalApart)
{
    play123(3);

    clock.advance(seconds(3));
    EXPECT_EQ(screen.asked, Names({ "2.png>" }));
    clock.advance(milliseconds(2999));
    EXPECT_EQ(screen.asked, Names({ "2.png>" }));
    clock.advance(milliseconds(1));
    EXPECT_EQ(screen.asked, Names({ "2.png>", "3.png>" }));
    clock.advance(seconds(6));
    EXPECT_EQ(screen.asked, Names({ "2.png>", "3.png>", "1.png>", "2.png>" }));
}

TEST_F(Timing, TheNextPeriodBeginsBeforeTheSlideIsAskedFor)
{
    play123(3);
    int timers = 0;
    screen.onAsked = [&] {
        timers = clock.validTimers();
        screen.onAsked = nullptr;
        clock.advance(seconds(2)); // As if the display took its time.
    };

    clock.advance(seconds(5));
    EXPECT_EQ(timers, 1);
    EXPECT_EQ(screen.asked, Names({ "2.png>" }));

    clock.advance(seconds(1));
    EXPECT_EQ(screen.asked, Names({ "2.png>", "3.png>" }));
}

TEST_F(Timing, ThereIsNeverMoreThanOneTimer)
{
    play123(3);
    controller->Start();
    controller->nextSlide();
    clock.advance(seconds(7));

    EXPECT_EQ(clock.validTimers(), 1);
}

TEST_F(Timing, AStepByHandRestartsThePeriod)
{
    play123(3);
    clock.advance(seconds(2));

    controller->nextSlide();
    clock.advance(milliseconds(2999));
    EXPECT_EQ(screen.asked, Names({ "2.png>" }));
    clock.advance(milliseconds(1));
    EXPECT_EQ(screen.asked, Names({ "2.png>", "3.png>" }));
}

TEST_F(Timing, AStepBackRestartsThePeriodToo)
{
    play123(3);
    clock.advance(seconds(2));

    controller->previousSlide();
    clock.advance(milliseconds(2999));
    EXPECT_EQ(screen.asked, Names({ "3.png<" }));
    clock.advance(milliseconds(1));
    EXPECT_EQ(screen.asked, Names({ "3.png<", "1.png>" }));
}

TEST_F(Timing, GoingToTheFirstSlideRestartsThePeriodToo)
{
    play123(3);
    clock.advance(seconds(2));

    controller->firstSlide();
    clock.advance(milliseconds(2999));
    EXPECT_EQ(screen.asked, Names({ "1.png<" }));
    clock.advance(milliseconds(1));
    EXPECT_EQ(screen.asked, Names({ "1.png<", "2.png>" }));
}

TEST_F(Timing, AStepThatIsIgnoredRestartsThePeriodAsWell)
{
    play123(3);
    screen.isBusy = true;
    clock.advance(seconds(2));

    controller->nextSlide();
    screen.isBusy = false;
    clock.advance(milliseconds(2999));

    EXPECT_TRUE(screen.asked.empty());
}

TEST_F(Timing, StepsDoNotStartAShowThatIsStopped)
{
    show123();

    controller->nextSlide();
    controller->previousSlide();
    controller->firstSlide();
    controller->gotoImageIndex(1);

    EXPECT_FALSE(controller->isPlaying());
    EXPECT_EQ(clock.validTimers(), 0);
}

TEST_F(Timing, PlayStartsAndStops)
{
    show123();

    controller->Play();
    EXPECT_TRUE(controller->isPlaying());
    controller->Play();
    EXPECT_FALSE(controller->isPlaying());

    EXPECT_EQ(playing, std::vector({ true, false }));
    clock.advance(std::chrono::hours(1));
    EXPECT_TRUE(screen.asked.empty());
}

TEST_F(Timing, StartOfAShowThatPlaysChangesNothing)
{
    play123(3);
    clock.advance(seconds(2));
    playing.clear();

    controller->Start();

    EXPECT_TRUE(playing.empty());
    clock.advance(seconds(1));
    EXPECT_EQ(screen.asked, Names({ "2.png>" }));
}

TEST_F(Timing, StopOfAShowThatIsStoppedTellsNobody)
{
    show123();

    controller->Stop();

    EXPECT_TRUE(playing.empty());
}

TEST_F(Timing, StartTakesTheStoredIntervalWhateverTheLastSlideTook)
{
    play123(3);
    clock.advance(seconds(3));
    controller->Stop();
    clock.advance(seconds(60));
    controller->nextSlide();
    screen.forget();

    controller->Start();

    EXPECT_EQ(controller->mSlideTime(), 3.0);
    clock.advance(seconds(3));
    EXPECT_EQ(screen.asked.size(), 1U);
}

TEST_F(Timing, AShorterIntervalThatIsOverAlreadyAdvancesAtOnce)
{
    play123(10);
    clock.advance(seconds(6));

    defaults.setValue(kSlideInterval, 4);

    EXPECT_EQ(screen.asked, Names({ "2.png>" }));
    EXPECT_EQ(controller->mSlideTime(), 4.0);
    clock.advance(milliseconds(3999));
    EXPECT_EQ(screen.asked, Names({ "2.png>" }));
    clock.advance(milliseconds(1));
    EXPECT_EQ(screen.asked, Names({ "2.png>", "3.png>" }));
}

TEST_F(Timing, AnIntervalThatIsJustOverAdvancesAtOnce)
{
    play123(10);
    clock.advance(seconds(6));

    defaults.setValue(kSlideInterval, 6);

    EXPECT_EQ(screen.asked, Names({ "2.png>" }));
}

TEST_F(Timing, ALongerIntervalCountsTheTimeThatThePersonHasWaited)
{
    play123(10);
    clock.advance(seconds(6));

    defaults.setValue(kSlideInterval, 20);

    clock.advance(milliseconds(13999));
    EXPECT_TRUE(screen.asked.empty());
    clock.advance(milliseconds(1));
    EXPECT_EQ(screen.asked, Names({ "2.png>" }));
    clock.advance(milliseconds(19999));
    EXPECT_EQ(screen.asked, Names({ "2.png>" }));
    clock.advance(milliseconds(1));
    EXPECT_EQ(screen.asked, Names({ "2.png>", "3.png>" }));
}

TEST_F(Timing, AnEqualIntervalChangesNothing)
{
    play123(10);
    clock.advance(seconds(6));

    defaults.setValue(kSlideInterval, 10);

    clock.advance(milliseconds(3999));
    EXPECT_TRUE(screen.asked.empty());
    clock.advance(milliseconds(1));
    EXPECT_EQ(screen.asked, Names({ "2.png>" }));
}

TEST_F(Timing, AnIntervalForAShowThatIsStoppedWaitsForTheStart)
{
    show123();

    defaults.setValue(kSlideInterval, 2);

    EXPECT_FALSE(controller->isPlaying());
    EXPECT_EQ(controller->mSlideTime(), 2.0);
    EXPECT_EQ(clock.validTimers(), 0);
}

TEST_F(Timing, OtherSettingsDoNotTouchTheTimer)
{
    play123(10);
    clock.advance(seconds(6));

    defaults.setValue(kAddInterval, 1);
    defaults.setValue(kEndMode, QString(kEndModeWait));

    clock.advance(milliseconds(3999));
    EXPECT_TRUE(screen.asked.empty());
}

TEST_F(Timing, ALastSlideThatIsOverTimeEndsTheShow)
{
    defaults.setValue(kEndMode, QString(kEndModeClose));
    play123(10);
    controller->gotoImageIndex(2);
    clock.advance(seconds(6));

    defaults.setValue(kSlideInterval, 4);

    EXPECT_FALSE(controller->isPlaying());
    EXPECT_EQ(controller->mScreenWindow(), nullptr);
}

struct StoredInterval {
    const char* name;
    QVariant value;

    friend void PrintTo(const StoredInterval& row, std::ostream* stream) { *stream << row.name; }
};

struct OddInterval : ControllerTest, testing::WithParamInterface<StoredInterval> {
    /// A show that spins would keep the clock busy for ever.
    OddInterval()
    {
        constexpr size_t kFarTooMany = 100;
        screen.onAsked = [this] {
            if (screen.asked.size() > kFarTooMany)
                controller->Stop();
        };
    }
};

/// Ten slides in a second, at the most.
constexpr size_t kMostSlides = 10;

TEST_P(OddInterval, NeverSpins)
{
    show123();
    defaults.setValue(kSlideInterval, GetParam().value);

    controller->Start();
    clock.advance(seconds(1));

    EXPECT_LE(screen.asked.size(), kMostSlides);
    EXPECT_EQ(clock.validTimers(), 1);
    EXPECT_TRUE(controller->isPlaying());
}

TEST_P(OddInterval, NeverSpinsWhenItIsSetDuringTheShow)
{
    play123(10);
    clock.advance(seconds(6));

    defaults.setValue(kSlideInterval, GetParam().value);
    clock.advance(seconds(1));

    EXPECT_LE(screen.asked.size(), kMostSlides + 1);
    EXPECT_EQ(clock.validTimers(), 1);
}

TEST_P(OddInterval, GivesWayToAnOrdinaryOne)
{
    show123();
    defaults.setValue(kSlideInterval, GetParam().value);
    controller->Start();
    screen.forget();

    defaults.setValue(kSlideInterval, 3);
    clock.advance(milliseconds(2999));
    EXPECT_TRUE(screen.asked.empty());
    clock.advance(milliseconds(1));

    EXPECT_EQ(screen.asked.size(), 1U);
}

INSTANTIATE_TEST_SUITE_P(Values, OddInterval,
    testing::Values(StoredInterval { "nothing", 0 }, StoredInterval { "less", -5 },
        StoredInterval { "tiny", 1e-9 }, StoredInterval { "notANumber", kNan },
        StoredInterval { "infinite", kInfinity }, StoredInterval { "minusInfinite", -kInfinity },
        StoredInterval { "huge", 1e300 }, StoredInterval { "garbage", QStringLiteral("soon") },
        StoredInterval { "empty", QString() }, StoredInterval { "bytes", QByteArray("5") },
        StoredInterval { "list", QVariantList { 5 } }),
    [](const auto& test) { return test.param.name; });

TEST_F(Timing, AnIntervalThatIsTextCountsAsTheNumberItBeginsWith)
{
    play123(10);
    controller->Stop();
    defaults.setValue(kSlideInterval, QStringLiteral("2.5 seconds"));

    controller->Start();

    EXPECT_EQ(controller->mSlideTime(), 2.5);
}

TEST_F(Timing, APersonWhoActsHasFiveSecondsToLook)
{
    play123(10);
    clock.advance(seconds(6)); // Four are left.

    screen.display->interact();
    clock.advance(milliseconds(4999));
    EXPECT_TRUE(screen.asked.empty());
    clock.advance(milliseconds(1));
    EXPECT_EQ(screen.asked, Names({ "2.png>" }));
    clock.advance(milliseconds(9999));
    EXPECT_EQ(screen.asked, Names({ "2.png>" }));
    clock.advance(milliseconds(1));
    EXPECT_EQ(screen.asked, Names({ "2.png>", "3.png>" }));
}

TEST_F(Timing, APersonWhoActsEarlyLosesNoTime)
{
    play123(10);
    clock.advance(seconds(4)); // Six are left.

    screen.display->interact();
    clock.advance(milliseconds(5999));
    EXPECT_TRUE(screen.asked.empty());
    clock.advance(milliseconds(1));
    EXPECT_EQ(screen.asked, Names({ "2.png>" }));
}

TEST_F(Timing, APersonWhoActsWithExactlyFiveSecondsLeftLosesNone)
{
    play123(10);
    clock.advance(seconds(5));

    screen.display->interact();
    clock.advance(seconds(5));

    EXPECT_EQ(screen.asked, Names({ "2.png>" }));
}

TEST_F(Timing, APersonWhoActsDoesNotStartAShowThatIsStopped)
{
    show123();

    screen.display->interact();

    EXPECT_EQ(clock.validTimers(), 0);
    EXPECT_FALSE(controller->isPlaying());
}

// Steps.

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

// Damaged pictures.

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
    EXPECT_EQ(nothingLeft, 1);
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

// What the sequence tells.

TEST_F(Callbacks, OfAFirstFileActOnTheMainThread)
{
    controller->mFileSequence().setDelegate(nullptr);
    controller->mFileSequence().addFiles(write({ "1.png" }));

    std::thread([this] { controller->firstFileFound(); }).join();
    EXPECT_TRUE(screen.asked.empty());

    MainQueue::drain();
    EXPECT_EQ(screen.asked, Names({ "1.png>" }));
    controller->mFileSequence().setDelegate(controller.get());
}

TEST_F(Callbacks, OfAFirstFileThatIsGoneAgainDoNothing)
{
    controller->firstFileFound();
    MainQueue::drain();

    EXPECT_EQ(controller->mScreenWindow(), nullptr);
    EXPECT_TRUE(screen.asked.empty());
}

TEST_F(Callbacks, OfAFirstFileThatIsDamagedStartNoTimer)
{
    defaults.setValue(kAutoStart, true);
    screen.damaged = { "1.png" };
    controller->mFileSequence().setDelegate(nullptr);
    controller->mFileSequence().addFiles(write({ "1.png" }));

    controller->firstFileFound();
    settle();

    EXPECT_EQ(controller->mScreenWindow(), nullptr);
    EXPECT_FALSE(controller->isPlaying());
}

TEST_F(Callbacks, OfNewFilesLeaveAShowAloneThatPlays)
{
    defaults.setValue(kShowNewItemsASAP, true);
    play123(10);

    controller->newFilesFound();
    settle();

    EXPECT_TRUE(screen.asked.empty());
}

TEST_F(Callbacks, OfNewFilesLeaveAShowAloneThatIsStopped)
{
    defaults.setValue(kShowNewItemsASAP, false);
    show123();

    controller->newFilesFound();
    settle();

    EXPECT_TRUE(screen.asked.empty());
}

TEST_F(Callbacks, OfNewFilesStepOnAtOnceWhereThePersonWantsIt)
{
    defaults.setValue(kShowNewItemsASAP, true);
    show123();

    std::thread([this] { controller->newFilesFound(); }).join();
    EXPECT_TRUE(screen.asked.empty());
    settle();

    EXPECT_EQ(screen.asked, Names({ "2.png>", "2.png>" }));
}

TEST_F(Callbacks, OfNewFilesStepOnWhenNothingIsShown)
{
    defaults.setValue(kShowNewItemsASAP, false);
    defaults.setValue(kEndMode, QString(kEndModeWait));
    screen.damaged = { "2.png" };
    play123(10);
    controller->mFileSequence().remove(url("3.png"));
    controller->nextSlide();
    ASSERT_FALSE(controller->mImageURL());
    controller->mFileSequence().addFile(write({ "4.png" }).front());

    controller->newFilesFound();
    settle();

    EXPECT_EQ(screen.asked, Names({ "2.png>", "4.png>", "4.png>" }));
    EXPECT_TRUE(controller->isPlaying());
}

TEST_F(Callbacks, OfAChangedFileShowItAgainAtOnce)
{
    show123();

    controller->currentFileChanged();

    EXPECT_EQ(screen.asked, Names({ "1.png>" }));
}

TEST_F(Callbacks, OfAChangedFileFromAnotherThreadReachTheMainThread)
{
    show123();

    std::thread([this] { controller->currentFileChanged(); }).join();
    EXPECT_TRUE(screen.asked.empty());
    settle();

    EXPECT_EQ(screen.asked, Names({ "1.png>" }));
}

TEST_F(Callbacks, OfAChangedFileAreDroppedDuringATransition)
{
    show123();
    screen.isBusy = true;

    controller->currentFileChanged();

    EXPECT_TRUE(screen.asked.empty());
}

// With the display that the program uses.

/// The name of the picture on the screen; empty for none.
std::string shownBy(const SlideController& controller)
{
    const auto* const window = controller.mScreenWindow();
    const auto* const view = window ? window->findChild<SVLayerView*>() : nullptr;
    return view && view->mCurrentImage() ? nameOf(view->mCurrentImage()->mURL()) : std::string();
}

TEST_F(RealDisplay, ShowsOneSlideAfterTheOther)
{
    useRealDisplay();
    files.write("1.png", kRed);
    files.write("2.png", kGreen);
    show({});
    controller->openFiles({ path("1.png"), path("2.png") });
    settle();
    EXPECT_EQ(shownBy(*controller), "1.png");

    defaults.setValue(kSlideInterval, 3);
    controller->Start();
    clock.advance(seconds(3));
    settle();
    EXPECT_EQ(shownBy(*controller), "2.png");
    clock.advance(seconds(3));
    settle();
    EXPECT_EQ(shownBy(*controller), "1.png");
}

TEST_F(RealDisplay, PassesOverDamagedPicturesWhereverTheyAre)
{
    useRealDisplay();
    defaults.setValue(kEndMode, QString(kEndModeWait));
    std::vector<QByteArray> paths;
    for (const char* const name : { "1.png", "3.png", "4.png", "6.png" })
        paths.push_back(files.write(name, "no picture").path());
    paths.push_back(files.write("2.png", kRed).path());
    paths.push_back(files.write("5.png", kGreen).path());

    controller->openFiles(paths);
    settle();
    EXPECT_EQ(shownBy(*controller), "2.png");
    controller->nextSlide();
    settle();
    EXPECT_EQ(shownBy(*controller), "5.png");
    controller->nextSlide();
    settle();
    EXPECT_EQ(shownBy(*controller), "5.png");
    controller->previousSlide();
    settle();

    EXPECT_EQ(shownBy(*controller), "2.png");
    EXPECT_EQ(controller->mFileSequence().count(), 2U);
}

TEST_F(RealDisplay, EndsAShowOfDamagedPictures)
{
    useRealDisplay();
    defaults.setValue(kAutoStart, true);
    std::vector<QByteArray> paths;
    for (const char* const name : { "1.png", "2.jpg", "3.gif", "4.png", "5.png", "6.png" })
        paths.push_back(files.write(name, "no picture").path());

    controller->openFiles(paths);
    settle();

    EXPECT_EQ(controller->mScreenWindow(), nullptr);
    EXPECT_FALSE(controller->isPlaying());
    EXPECT_TRUE(isWelcomeVisible());
}

TEST_F(RealDisplay, GivesUpOnAFileThatDoesNotAnswer)
{
    useRealDisplay();
    files.write("1.png", kRed);
    files.write("2.png", kGreen);
    {
        const HeldCollection held(controller);
        const BusyPool pool;
        controller->openFiles({ path("1.png"), path("2.png") });
        held.waitForFirstFile();
        held.go();
        MainQueue::drain();
        ASSERT_NE(controller->mScreenWindow(), nullptr);

        clock.advance(seconds(10));
    }
    settle();

    EXPECT_EQ(shownBy(*controller), "2.png");
    EXPECT_EQ(controller->mFileSequence().mRemovedURLs(), std::vector({ url("1.png") }));
}

TEST_F(RealDisplay, ShowsASecondShowAfterTheFirst)
{
    useRealDisplay();
    files.write("1.png", kRed);
    files.write("2.png", kGreen);
    controller->openFiles({ path("1.png") });
    settle();

    controller->endSlideShow();
    controller->openFiles({ path("2.png") });
    settle();

    EXPECT_EQ(shownBy(*controller), "2.png");
}

} // namespace

} // namespace quorvane
