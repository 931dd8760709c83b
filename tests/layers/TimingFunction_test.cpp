// SPDX-License-Identifier: GPL-3.0-or-later
#include "layers/TimingFunction.h"

#include <gtest/gtest.h>

namespace quorvane {

namespace {

constexpr double kTolerance = 2e-6; ///< The last digit of the table is rounded.

struct Row {
    double time;
    double easeIn;
    double easeOut;
    double easeInEaseOut;
};

constexpr Row kRows[] = {
    { 0, 0, 0, 0 },
    { 0.1, 0.017027, 0.160572, 0.019722 },
    { 0.2, 0.062282, 0.308366, 0.081660 },
    { 0.25, 0.093465, 0.378140, 0.129162 },
    { 0.3, 0.129577, 0.445186, 0.187396 },
    { 0.4, 0.214861, 0.570880, 0.331884 },
    { 0.5, 0.315357, 0.684643, 0.5 },
    { 0.6, 0.429120, 0.785139, 0.668116 },
    { 0.7, 0.554814, 0.870423, 0.812604 },
    { 0.75, 0.621861, 0.906535, 0.870838 },
    { 0.8, 0.691634, 0.937718, 0.918340 },
    { 0.9, 0.839428, 0.982973, 0.980278 },
    { 1, 1, 1, 1 },
};

TEST(TimingFunction, FollowsItsCurve)
{
    for (const Row& row : kRows) {
        EXPECT_NEAR(TimingFunction::easeIn().progressAt(row.time), row.easeIn, kTolerance);
        EXPECT_NEAR(TimingFunction::easeOut().progressAt(row.time), row.easeOut, kTolerance);
        EXPECT_NEAR(
            TimingFunction::easeInEaseOut().progressAt(row.time), row.easeInEaseOut, kTolerance);
        EXPECT_DOUBLE_EQ(TimingFunction::linear().progressAt(row.time), row.time);
    }
}

TEST(TimingFunction, StaysBetweenItsEnds)
{
    for (const TimingFunction& curve : { TimingFunction(), TimingFunction::easeIn() }) {
        EXPECT_EQ(curve.progressAt(-5), 0);
        EXPECT_EQ(curve.progressAt(5), 1);
    }
}

TEST(TimingFunction, IsLinearUnlessSaid)
{
    EXPECT_EQ(TimingFunction(), TimingFunction::linear());
    EXPECT_NE(TimingFunction::easeIn(), TimingFunction::easeOut());
}

} // namespace

} // namespace quorvane
