// SPDX-License-Identifier: GPL-3.0-or-later
// What the program says before it stops.
#include "platform/Assertion.h"

#include <gtest/gtest.h>

#include <csignal>

namespace quorvane {

namespace {

TEST(AssertionDeathTest, WritesTextAndPlaceAndAborts)
{
    EXPECT_EXIT(Assertion::fail("no such mode", "Show", 417), testing::KilledBySignal(SIGABRT),
        "assertion failure in Show:417: no such mode\n");
}

TEST(AssertionDeathTest, NamesTheConditionOnAParameter)
{
    EXPECT_EXIT(Assertion::invalidParameter("index < count", "Sequence", 9),
        testing::KilledBySignal(SIGABRT),
        "assertion failure in Sequence:9: Invalid parameter not satisfying: index < count\n");
}

TEST(AssertionDeathTest, TakesSignsOfTheTextAsTheyAre)
{
    EXPECT_EXIT(Assertion::fail("100% %s %n", "A", 1), testing::KilledBySignal(SIGABRT),
        "A:1: 100% %s %n\n");
}

} // namespace

} // namespace quorvane
