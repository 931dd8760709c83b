// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/Clock.h"

#include <algorithm>
#include <cmath>

namespace quorvane {

namespace {

/// Ten years: longer than any show, far from the limit of a 64-bit count of nanoseconds.
constexpr double kLongestSeconds = 10.0 * 365 * 24 * 3600;

} // namespace

Duration durationFromSeconds(double seconds)
{
    if (std::isnan(seconds))
        return Duration::zero();
    const double limited = std::clamp(seconds, -kLongestSeconds, kLongestSeconds);
    return std::chrono::duration_cast<Duration>(std::chrono::duration<double>(limited));
}

double secondsFromDuration(Duration duration)
{
    return std::chrono::duration<double>(duration).count();
}

} // namespace quorvane
