// SPDX-License-Identifier: GPL-3.0-or-later
// Durations and numbers of seconds.
#include "platform/Clock.h"

#include <gtest/gtest.h>

#include <limits>

namespace quorvane {

namespace {

using namespace std::chrono_literals;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNoNumber = std::numeric_limits<double>::quiet_NaN();
constexpr Duration kTenYears = std::chrono::hours(24 * 365 * 10);

TEST(Clock, TurnsSecondsIntoADuration)
{
    EXPECT_EQ(durationFromSeconds(0), 0ns);
    EXPECT_EQ(durationFromSeconds(1.5), 1500ms);
    EXPECT_EQ(durationFromSeconds(-0.25), -250ms);
    EXPECT_EQ(durationFromSeconds(1e-9), 1ns);
}

TEST(Clock, TakesWhatIsNoNumberForNothing)
{
    EXPECT_EQ(durationFromSeconds(kNoNumber), 0ns);
    EXPECT_EQ(durationFromSeconds(-kNoNumber), 0ns);
}

TEST(Clock, TakesTheNearestForWhatIsTooLarge)
{
    EXPECT_EQ(durationFromSeconds(kInfinity), kTenYears);
    EXPECT_EQ(durationFromSeconds(-kInfinity), -kTenYears);
    EXPECT_EQ(durationFromSeconds(1e300), kTenYears);
    EXPECT_EQ(durationFromSeconds(-1e300), -kTenYears);
}

TEST(Clock, LeavesTheLongestDurationAsItIs)
{
    const double longest = secondsFromDuration(kTenYears);

    EXPECT_EQ(durationFromSeconds(longest), kTenYears);
    EXPECT_EQ(durationFromSeconds(longest - 1), kTenYears - 1s);
}

TEST(Clock, TurnsADurationIntoSeconds)
{
    EXPECT_DOUBLE_EQ(secondsFromDuration(1500ms), 1.5);
    EXPECT_DOUBLE_EQ(secondsFromDuration(-1ns), -1e-9);
    EXPECT_DOUBLE_EQ(secondsFromDuration(24h), 86400);
}

} // namespace

} // namespace quorvane
