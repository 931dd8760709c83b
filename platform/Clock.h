// SPDX-License-Identifier: GPL-3.0-or-later
// Time and timers. Nothing else in the program reads a clock or waits by one.
#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace quorvane {

using Duration = std::chrono::nanoseconds;

/// A moment that only differences are taken of; never set back.
using TimePoint = std::chrono::time_point<std::chrono::steady_clock, Duration>;

/// A moment as file systems store it: since 1970, by the clock on the wall, which may be set back.
using FileTime = std::chrono::sys_time<Duration>;

/// \return `seconds` as a duration; what is no number or too large for one becomes the nearest.
Duration durationFromSeconds(double seconds);

/// `duration` in seconds.
double secondsFromDuration(Duration duration);

/// A block that runs at a moment. Destroying the timer cancels it, also from within the block.
/// Thread: main.
class Timer {
public:
    virtual ~Timer() = default;

    /// False once a one-shot timer has fired, or after invalidate().
    virtual bool isValid() const = 0;

    /// When it fires next.
    virtual TimePoint fireDate() const = 0;

    /// Moves that moment; no effect on a timer that is not valid. A moment in the past fires soon.
    virtual void setFireDate(TimePoint date) = 0;

    /// Runs the block now. A one-shot timer is no longer valid afterwards.
    virtual void fire() = 0;

    /// Never fires again.
    virtual void invalidate() = 0;
};

/// Where time comes from: the system's, or one that a test moves by hand.
class Clock {
public:
    enum class Repetition { Once, Repeating };

    virtual ~Clock() = default;

    virtual TimePoint now() const = 0;
    virtual FileTime fileTime() const = 0;

    /// A timer that fires one `interval` from now, and each further interval if it repeats.
    [[nodiscard]] virtual std::unique_ptr<Timer> scheduleTimer(
        Duration interval, Repetition repetition, std::function<void()> block)
        = 0;
};

} // namespace quorvane
