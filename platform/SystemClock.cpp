// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/SystemClock.h"

#include <QTimer>

#include <algorithm>

namespace quorvane {

namespace {

/// Qt's timers count milliseconds in 32 bits, which hold 24.8 days.
constexpr std::chrono::milliseconds kLongestWait = std::chrono::hours(24 * 20);

class SystemTimer final : public Timer {
public:
    SystemTimer(const Clock& clock, Duration interval, Clock::Repetition repetition,
        std::function<void()> block)
        : mClock(clock)
        , mInterval(interval)
        , mRepeats(repetition == Clock::Repetition::Repeating)
        , mBlock(std::move(block))
    {
        mTimer.setSingleShot(true);
        mTimer.setTimerType(Qt::PreciseTimer);
        mTimer.callOnTimeout([this] { elapsed(); });
        setFireDate(clock.now() + interval);
    }

    bool isValid() const override { return mValid; }
    TimePoint fireDate() const override { return mFireDate; }

    void setFireDate(TimePoint date) override
    {
        if (!mValid)
            return;
        mFireDate = date;
        // Rounded up: a timer may be late by less than a millisecond, never early.
        const auto wait = std::chrono::ceil<std::chrono::milliseconds>(date - mClock.now());
        mTimer.start(std::clamp(wait, std::chrono::milliseconds::zero(), kLongestWait));
    }

    void fire() override
    {
        if (!mValid)
            return;
        if (mRepeats)
            setFireDate(nextMoment());
        else
            invalidate();
        // A copy: the block may destroy this timer.
        const std::function<void()> block = mBlock;
        block();
    }

    void invalidate() override
    {
        mValid = false;
        mTimer.stop();
    }

private:
    /// Counts from the moment that was planned, so that being late once does not make all others
    /// late. Moments that are over are left out.
    TimePoint nextMoment() const
    {
        const TimePoint now = mClock.now();
        const TimePoint next = std::min(mFireDate, now) + mInterval;
        if (next > now || mInterval <= Duration::zero())
            return next;
        return next + ((now - next) / mInterval + 1) * mInterval;
    }

    void elapsed()
    {
        if (mClock.now() < mFireDate)
            setFireDate(mFireDate); // The wait was longer than one turn of the timer below.
        else
            fire();
    }

    const Clock& mClock;
    const Duration mInterval;
    const bool mRepeats;
    const std::function<void()> mBlock;
    TimePoint mFireDate;
    bool mValid = true;
    QTimer mTimer;
};

} // namespace

TimePoint SystemClock::now() const { return std::chrono::steady_clock::now(); }

FileTime SystemClock::fileTime() const { return std::chrono::system_clock::now(); }

std::unique_ptr<Timer> SystemClock::scheduleTimer(
    Duration interval, Repetition repetition, std::function<void()> block)
{
    return std::make_unique<SystemTimer>(*this, interval, repetition, std::move(block));
}

} // namespace quorvane
