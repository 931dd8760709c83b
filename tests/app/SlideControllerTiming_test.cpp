// SPDX-License-Identifier: GPL-3.0-or-later
// When the show moves on by itself.
#include "support/ControllerTest.h"

#include <limits>
#include <ostream>

namespace quorvane {

namespace {

using namespace tests;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

using Timing = ControllerTest;

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

} // namespace

} // namespace quorvane
