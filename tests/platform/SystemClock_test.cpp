// SPDX-License-Identifier: GPL-3.0-or-later
// Timers on Qt's event loop. What they decide is tested with a moment set by hand; only where the
// event loop itself is at stake does a millisecond pass.
#include "platform/SystemClock.h"

#include <QCoreApplication>
#include <QEvent>
#include <QTimer>

#include <gtest/gtest.h>

#include <functional>

namespace quorvane {

namespace {

using namespace std::chrono_literals;
using Repetition = Clock::Repetition;

/// Runs the event loop until `done`. \return false if it was not within the time that only a test
/// that fails needs.
bool runUntil(const std::function<bool()>& done)
{
    QTimer limit;
    limit.setSingleShot(true);
    limit.start(20s);
    while (!done() && limit.isActive())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    return done();
}

/// Counts how often a timer wakes the program while it lives.
class WakeUps : public QObject {
public:
    WakeUps() { QCoreApplication::instance()->installEventFilter(this); }
    int count() const { return mCount; }

    bool eventFilter(QObject* object, QEvent* event) override
    {
        mCount += event->type() == QEvent::Timer;
        return QObject::eventFilter(object, event);
    }

private:
    int mCount = 0;
};

/// The system's timers, by a clock that stands still unless it is moved.
class StandingClock : public SystemClock {
public:
    TimePoint now() const override { return mNow; }
    void advance(Duration span) { mNow += span; }

private:
    TimePoint mNow { 1h };
};

struct SystemTimer : testing::Test {
    StandingClock clock;
    int fired = 0;

    std::unique_ptr<Timer> timer(Duration interval, Repetition repetition = Repetition::Once)
    {
        return clock.scheduleTimer(interval, repetition, [this] { ++fired; });
    }

    /// All that is due in the event loop now.
    static void runLoopOnce() { QCoreApplication::processEvents(); }
};

TEST(SystemClock, NeverGoesBack)
{
    const SystemClock clock;

    const TimePoint first = clock.now();
    const TimePoint second = clock.now();

    EXPECT_LE(first, second);
    EXPECT_GT(first, TimePoint());
}

TEST(SystemClock, TellsTheTimeOfFiles)
{
    const SystemClock clock;

    EXPECT_GT(clock.fileTime(), FileTime(std::chrono::sys_days(std::chrono::year(2024) / 1 / 1)));
    EXPECT_LT(clock.fileTime(), FileTime(std::chrono::sys_days(std::chrono::year(2200) / 1 / 1)));
}

TEST(SystemClock, FiresByItselfAfterTheInterval)
{
    SystemClock clock;
    TimePoint fired;
    const TimePoint before = clock.now();
    const auto timer = clock.scheduleTimer(1ms, Repetition::Once, [&] { fired = clock.now(); });
    const TimePoint due = timer->fireDate();

    ASSERT_TRUE(runUntil([&] { return fired != TimePoint(); }));

    EXPECT_GE(due, before + 1ms);
    EXPECT_GE(fired, due);
    EXPECT_FALSE(timer->isValid());
}

TEST(SystemClock, FiresAgainAndAgain)
{
    SystemClock clock;
    int fired = 0;
    const auto timer = clock.scheduleTimer(1ms, Repetition::Repeating, [&] { ++fired; });

    ASSERT_TRUE(runUntil([&] { return fired == 3; }));

    EXPECT_TRUE(timer->isValid());
}

TEST_F(SystemTimer, KnowsWhenItFires)
{
    const auto one = timer(5s);

    EXPECT_EQ(one->fireDate(), clock.now() + 5s);
    EXPECT_TRUE(one->isValid());
    EXPECT_EQ(fired, 0);
}

TEST_F(SystemTimer, FiresOnceOnly)
{
    const auto one = timer(0s);
    ASSERT_TRUE(runUntil([this] { return fired > 0; }));

    runLoopOnce();
    one->fire();

    EXPECT_EQ(fired, 1);
    EXPECT_FALSE(one->isValid());
}

TEST_F(SystemTimer, IsNotValidAnyMoreWithinTheBlockOfItsOnlyTime)
{
    std::unique_ptr<Timer> one;
    bool valid = true;
    one = clock.scheduleTimer(1s, Repetition::Once, [&] { valid = one->isValid(); });

    one->fire();

    EXPECT_FALSE(valid);
}

TEST_F(SystemTimer, FiresSoonAtAMomentInThePast)
{
    const auto one = timer(1h);

    one->setFireDate(clock.now() - 10min);

    EXPECT_EQ(one->fireDate(), clock.now() - 10min);
    EXPECT_EQ(fired, 0);
    EXPECT_TRUE(runUntil([this] { return fired == 1; }));
}

TEST_F(SystemTimer, FiresSoonAtTheBeginningOfTime)
{
    const auto one = timer(1h);

    one->setFireDate(TimePoint());

    EXPECT_TRUE(runUntil([this] { return fired == 1; }));
}

TEST_F(SystemTimer, FiresSoonAfterANegativeInterval)
{
    const auto one = timer(-1h);

    EXPECT_TRUE(runUntil([this] { return fired == 1; }));
}

TEST_F(SystemTimer, ForgetsTheMomentItWasMovedFrom)
{
    const auto one = timer(0s);
    const WakeUps wakeUps;

    one->setFireDate(clock.now() + 1h);
    runLoopOnce();

    EXPECT_EQ(fired, 0);
    EXPECT_EQ(wakeUps.count(), 0);
    EXPECT_EQ(one->fireDate(), clock.now() + 1h);
}

TEST_F(SystemTimer, NeverFiresBeforeItsMoment)
{
    const auto one = timer(1ms);
    const WakeUps wakeUps;

    ASSERT_TRUE(runUntil([&] { return wakeUps.count() >= 2; }));
    EXPECT_EQ(fired, 0);

    clock.advance(1ms);
    EXPECT_TRUE(runUntil([this] { return fired == 1; }));
}

TEST_F(SystemTimer, IsNotWokenForLessThanAMillisecondTooEarly)
{
    const auto one = timer(1ns);

    const int before = fired;
    clock.advance(1ns);

    EXPECT_EQ(before, 0);
    EXPECT_TRUE(runUntil([this] { return fired == 1; }));
}

TEST_F(SystemTimer, NeverFiresAfterInvalidate)
{
    const auto one = timer(0s, Repetition::Repeating);
    const WakeUps wakeUps;

    one->invalidate();
    one->setFireDate(clock.now() - 1s);
    one->fire();
    runLoopOnce();

    EXPECT_FALSE(one->isValid());
    EXPECT_EQ(fired, 0);
    EXPECT_EQ(wakeUps.count(), 0);
}

TEST_F(SystemTimer, KeepsItsMomentOnceInvalid)
{
    const auto one = timer(5s);
    const TimePoint due = one->fireDate();
    one->invalidate();

    one->setFireDate(due + 1h);

    EXPECT_EQ(one->fireDate(), due);
}

TEST_F(SystemTimer, IsCancelledByItsEnd)
{
    auto one = timer(0s);

    one.reset();
    runLoopOnce();

    EXPECT_EQ(fired, 0);
}

TEST_F(SystemTimer, MayEndWithinItsBlock)
{
    for (const auto repetition : { Repetition::Once, Repetition::Repeating }) {
        const auto held = std::make_shared<int>(7);
        int seen = 0;
        std::unique_ptr<Timer> one;
        one = clock.scheduleTimer(0s, repetition, [&one, &seen, held] {
            one.reset();
            seen = *held; // What the block holds is still there.
        });

        ASSERT_TRUE(runUntil([&] { return !one; }));
        runLoopOnce();

        EXPECT_EQ(seen, 7);
        EXPECT_EQ(held.use_count(), 1);
    }
}

TEST_F(SystemTimer, MayBeInvalidatedWithinItsBlock)
{
    std::unique_ptr<Timer> one;
    one = clock.scheduleTimer(0s, Repetition::Repeating, [&] {
        ++fired;
        one->invalidate();
    });

    ASSERT_TRUE(runUntil([this] { return fired > 0; }));
    runLoopOnce();

    EXPECT_EQ(fired, 1);
}

TEST_F(SystemTimer, MayBeMovedWithinItsBlock)
{
    std::unique_ptr<Timer> one;
    one = clock.scheduleTimer(
        1s, Repetition::Repeating, [&] { one->setFireDate(clock.now() + 1h); });

    one->fire();

    EXPECT_EQ(one->fireDate(), clock.now() + 1h);
}

TEST_F(SystemTimer, FiresNowWhenTold)
{
    const auto one = timer(1h);

    one->fire();

    EXPECT_EQ(fired, 1);
    EXPECT_FALSE(one->isValid());
}

TEST_F(SystemTimer, BeginsANewIntervalWhenARepeatingOneIsFired)
{
    const auto one = timer(10s, Repetition::Repeating);
    clock.advance(4s);

    one->fire();

    EXPECT_EQ(fired, 1);
    EXPECT_TRUE(one->isValid());
    EXPECT_EQ(one->fireDate(), clock.now() + 10s);
}

TEST_F(SystemTimer, ThatRepeatsIsNotMadeLateByHavingBeenLate)
{
    const TimePoint start = clock.now();
    const auto one = timer(16ms, Repetition::Repeating);

    clock.advance(19ms);
    ASSERT_TRUE(runUntil([this] { return fired == 1; }));
    EXPECT_EQ(one->fireDate(), start + 32ms);

    clock.advance(16ms * 5); // What nobody had time for is left out.
    ASSERT_TRUE(runUntil([this] { return fired == 2; }));
    EXPECT_EQ(one->fireDate(), start + 112ms);
}

TEST_F(SystemTimer, KnowsItsNextMomentWithinTheBlock)
{
    TimePoint next;
    std::unique_ptr<Timer> one;
    one = clock.scheduleTimer(10s, Repetition::Repeating, [&] { next = one->fireDate(); });

    one->fire();

    EXPECT_EQ(next, clock.now() + 10s);
}

TEST_F(SystemTimer, WaitsYearsWithoutWakingTheProgram)
{
    // The first wraps round to nothing in 32 bits of milliseconds, the next to a negative number.
    for (const Duration interval : { Duration(std::chrono::milliseconds(1LL << 32)),
             Duration(std::chrono::milliseconds((1LL << 32) - 1)), Duration(24h * 365 * 10) }) {
        const WakeUps wakeUps;
        const auto one = timer(interval, Repetition::Repeating);

        for (int i = 0; i < 3; ++i)
            runLoopOnce();

        EXPECT_EQ(one->fireDate(), clock.now() + interval);
        EXPECT_TRUE(one->isValid());
        EXPECT_EQ(fired, 0);
        EXPECT_EQ(wakeUps.count(), 0);
    }
}

TEST_F(SystemTimer, ComesBackFromAVeryDistantMoment)
{
    const auto one = timer(durationFromSeconds(1e300));

    one->setFireDate(clock.now());

    EXPECT_TRUE(runUntil([this] { return fired == 1; }));
}

} // namespace

} // namespace quorvane
