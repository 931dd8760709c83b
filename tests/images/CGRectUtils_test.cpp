// SPDX-License-Identifier: GPL-3.0-or-later
#include "images/CGRectUtils.h"
#include "images/SVImage.h"
#include "support/GeometryMatchers.h"

#include <gtest/gtest.h>

namespace quorvane {
namespace {

using tests::isExactly;

constexpr QSizeF kScreen { 1920, 1080 };

struct Fit {
    const char* what;
    QSizeF picture;
    QSizeF screen;
    bool expand;
    QRectF expected;
};

const Fit kFits[] = {
    { "small, kept", { 400, 300 }, kScreen, false, { 760, 390, 400, 300 } },
    { "small, enlarged to the height", { 400, 300 }, kScreen, true, { 240, 0, 1440, 1080 } },
    { "small, enlarged to the width", { 400, 100 }, kScreen, true, { 0, 300, 1920, 480 } },
    { "wide, shrunk", { 4000, 1000 }, kScreen, false, { 0, 300, 1920, 480 } },
    { "wide, shrunk though it may grow", { 4000, 1000 }, kScreen, true, { 0, 300, 1920, 480 } },
    { "a fractional origin", { 401, 300 }, kScreen, false, { 759.5, 390, 401, 300 } },
    { "a fractional origin upwards", { 400, 301 }, kScreen, false, { 760, 389.5, 400, 301 } },
    { "of the very size", kScreen, kScreen, false, { 0, 0, 1920, 1080 } },
    { "of the very size, may grow", kScreen, kScreen, true, { 0, 0, 1920, 1080 } },
    { "too high", { 300, 2000 }, kScreen, false, { 879, 0, 162, 1080 } },
    { "too high by one", { 1920, 1081 }, { 3840, 1080 }, false,
        { (3840 - 1080.0 / 1081 * 1920) * 0.5, 0, 1080.0 / 1081 * 1920, 1080 } },
    { "too wide by one", { 1921, 1080 }, { 1920, 2160 }, false,
        { 0, (2160 - 1920.0 / 1921 * 1080) * 0.5, 1920, 1920.0 / 1921 * 1080 } },
    { "as wide as the area", { 1920, 300 }, kScreen, false, { 0, 390, 1920, 300 } },
    { "as high as the area", { 300, 1080 }, kScreen, false, { 810, 0, 300, 1080 } },
    { "cut to whole numbers", { 640.9, 480.5 }, { 800, 600 }, false, { 80, 60, 640, 480 } },
    { "cut before it is compared", { 800.9, 600.9 }, { 800, 600 }, false, { 0, 0, 800, 600 } },
    { "cut before it is scaled", { 400.9, 300.9 }, kScreen, true, { 240, 0, 1440, 1080 } },
    { "cut to nothing", { 0.6, 0.6 }, kScreen, false, { 960, 540, 0, 0 } },
    { "cut to no width", { 0.6, 100 }, kScreen, true, { 960, 0, 0, 1080 } },
    { "an area of fractions", { 64, 64 }, { 50.5, 32.25 }, false, { 9.125, 0, 32.25, 32.25 } },
    // 49 * (1 / 49) falls short of 1, which tells the side that was computed.
    { "a tie, the full width", { 49, 49 }, { 1, 1 }, false,
        { 0, (1 - 1.0 / 49 * 49) * 0.5, 1, 1.0 / 49 * 49 } },
};

TEST(CGRectUtils, FitsAPictureInto)
{
    ASSERT_NE(1.0 / 49 * 49, 1.0);
    for (const Fit& fit : kFits) {
        EXPECT_TRUE(isExactly(
            CGRectUtils::rectToFitSize(fit.picture, fit.screen, fit.expand), fit.expected))
            << fit.what;
    }
}

TEST(CGRectUtils, FitsAsTheImageDoes)
{
    for (const Fit& fit : kFits) {
        EXPECT_TRUE(
            isExactly(SVImage::rectToFitSize(fit.picture, fit.screen, fit.expand), fit.expected))
            << fit.what;
    }
}

struct Fill {
    const char* what;
    QSizeF picture;
    QSizeF screen;
    QRectF expected;
};

const Fill kFills[] = {
    { "wide", { 4000, 1000 }, kScreen, { -1200, 0, 4320, 1080 } },
    { "high", { 1000, 4000 }, kScreen, { 0, -3300, 1920, 7680 } },
    { "small", { 400, 300 }, kScreen, { 0, -180, 1920, 1440 } },
    { "small and wide", { 400, 100 }, kScreen, { -1200, 0, 4320, 1080 } },
    { "of the very size", kScreen, kScreen, { 0, 0, 1920, 1080 } },
    { "cut before it is scaled", { 400.9, 300.9 }, kScreen, { 0, -180, 1920, 1440 } },
    { "a fractional origin", { 3, 2 }, { 2, 2 }, { -0.5, 0, 3, 2 } },
    { "a tie, the full height", { 49, 49 }, { 1, 1 },
        { (1 - 1.0 / 49 * 49) * 0.5, 0, 1.0 / 49 * 49, 1 } },
};

TEST(CGRectUtils, FillsTheAreaWith)
{
    for (const Fill& fill : kFills) {
        EXPECT_TRUE(
            isExactly(CGRectUtils::rectToFillSize(fill.picture, fill.screen), fill.expected))
            << fill.what;
    }
}

} // namespace
} // namespace quorvane
