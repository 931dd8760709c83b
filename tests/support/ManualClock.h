// SPDX-License-Identifier: GPL-3.0-or-later
// A clock that moves only when a test says so.
#pragma once

#include "platform/Clock.h"

#include <algorithm>
#include <vector>

namespace quorvane {

class ManualClock : public Clock {
public:
    TimePoint now() const override { return mNow; }
    FileTime fileTime() const override { return mFileTime; }

    /// Sets the clock on the wall; timers do not notice.
    void setFileTime(FileTime time) { mFileTime = time; }

    [[nodiscard]] std::unique_ptr<Timer> scheduleTimer(
        Duration interval, Repetition repetition, std::function<void()> block) override
    {
        return std::make_unique<ManualTimer>(*this, interval, repetition, std::move(block));
    }

    /// Fires what falls due within `span`, in order of time, each at its own moment.
    void advance(Duration span)
    {
        const TimePoint end = mNow + span;
        while (ManualTimer* timer = nextDue(end)) {
            moveTo(std::max(mNow, timer->fireDate()));
            timer->fire();
        }
        moveTo(end);
    }

    /// How many timers would still fire.
    int validTimers() const
    {
        return static_cast<int>(std::count_if(
            mTimers.begin(), mTimers.end(), [](const auto* timer) { return timer->isValid(); }));
    }

private:
    class ManualTimer : public Timer {
    public:
        ManualTimer(ManualClock& clock, Duration interval, Repetition repetition,
            std::function<void()> block)
            : mClock(clock)
            , mInterval(interval)
            , mRepetition(repetition)
            , mBlock(std::move(block))
            , mDate(clock.mNow + interval)
        {
            mClock.mTimers.push_back(this);
        }
        ~ManualTimer() override { std::erase(mClock.mTimers, this); }
        ManualTimer(const ManualTimer&) = delete;
        ManualTimer& operator=(const ManualTimer&) = delete;

        bool isValid() const override { return mValid; }
        TimePoint fireDate() const override { return mDate; }
        void setFireDate(TimePoint date) override
        {
            if (mValid)
                mDate = date;
        }
        void fire() override
        {
            if (!mValid)
                return;
            if (mRepetition == Repetition::Once)
                mValid = false;
            else
                mDate += mInterval;
            const auto block = mBlock; // The block may destroy this timer.
            block();
        }
        void invalidate() override { mValid = false; }

    private:
        ManualClock& mClock;
        Duration mInterval;
        Repetition mRepetition;
        std::function<void()> mBlock;
        TimePoint mDate;
        bool mValid = true;
    };

    ManualTimer* nextDue(TimePoint end) const
    {
        ManualTimer* next = nullptr;
        for (ManualTimer* timer : mTimers) {
            if (timer->isValid() && timer->fireDate() <= end
                && (!next || timer->fireDate() < next->fireDate()))
                next = timer;
        }
        return next;
    }

    void moveTo(TimePoint moment)
    {
        mFileTime += moment - mNow;
        mNow = moment;
    }

    TimePoint mNow { std::chrono::hours(1) };
    FileTime mFileTime { std::chrono::hours(24 * 365 * 56) };
    std::vector<ManualTimer*> mTimers;
};

} // namespace quorvane
