// SPDX-License-Identifier: GPL-3.0-or-later
#include "display/Placement.h"
#include "platform/UserDefaults.h"
#include "settings/SettingsCatalogue.h"
#include "support/GeometryMatchers.h"

#include <QWidget>

#include <gtest/gtest.h>

namespace quorvane {
namespace {

using namespace tests;

constexpr double kMoviePixels = 2 * 3840 * 2160;

const QRectF kWhole { 0, 0, 200, 100 };
const QRectF kKept { 80, 35, 40, 30 };
const QRectF kShrunk { 0, 25, 200, 50 };
const QRectF kEnlarged { 100 - 200.0 / 3, 0, 400.0 / 3, 100 };
const QRectF kFilled { 0, -25, 200, 150 };

/// In a view of 200 by 100 points.
Placement placement(const char* mode, double pixelRatio = 1, QRectF bounds = kWhole)
{
    return { mode ? QString::fromLatin1(mode) : QString(), bounds, pixelRatio };
}

TEST(Placement, ReadsTheViewAndTheSetting)
{
    UserDefaults defaults;
    QWidget view;
    view.resize(300, 150);

    const auto withoutMode = Placement::in(view, defaults);
    defaults.setValue(kImageFitMode, QString());
    const auto withAnEmptyOne = Placement::in(view, defaults);
    defaults.setValue(kImageFitMode, QString(kFitModeFill));
    const auto withMode = Placement::in(view, defaults);

    EXPECT_TRUE(withoutMode.fitMode.isNull());
    EXPECT_EQ(withoutMode.bounds, QRectF(0, 0, 300, 150));
    EXPECT_EQ(withoutMode.pixelRatio, view.devicePixelRatioF());
    EXPECT_EQ(withAnEmptyOne.rectForMovie({ 40, 30 }), QRectF(0, 0, 300, 150));
    EXPECT_EQ(withMode.fitMode, kFitModeFill);
}

TEST(Placement, GivesAMovieItsRoomByTheFitMode)
{
    struct Row {
        const char* mode; ///< Null for none.
        QRectF small;
        QRectF large;
    };
    const Row rows[] = { { nullptr, kKept, kShrunk }, { "FitModeFit", kKept, kShrunk },
        { "FitModeZoom", kEnlarged, kShrunk }, { "FitModeFill", kFilled, { -100, 0, 400, 100 } },
        { "FitModeStretch", kWhole, kWhole }, { "fitmodefit", kWhole, kWhole },
        { "", kWhole, kWhole } };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.mode ? row.mode : "none");

        EXPECT_EQ(placement(row.mode).rectForMovie({ 40, 30 }), row.small);
        EXPECT_EQ(placement(row.mode).rectForMovie({ 400, 100 }), row.large);
    }
}

TEST(Placement, GivesAllOfTheViewToAMovieOfUnknownSize)
{
    for (const char* mode : { "FitModeFit", "FitModeZoom", "FitModeFill", "FitModeStretch" }) {
        for (const QSizeF size : { QSizeF(), QSizeF(0, 30), QSizeF(40, 0), QSizeF(-40, 30) }) {
            SCOPED_TRACE(mode);

            EXPECT_TRUE(isExactly(placement(mode).rectForMovie(size), kWhole));
            EXPECT_TRUE(isExactly(placement(mode).pictureRectForMovie(size), kWhole));
        }
    }
}

TEST(Placement, NeverDistortsAMovie)
{
    for (const char* mode : { "FitModeFit", "FitModeZoom", "FitModeFill" }) {
        SCOPED_TRACE(mode);
        const auto in = placement(mode);
        EXPECT_EQ(in.pictureRectForMovie({ 40, 30 }), in.rectForMovie({ 40, 30 }));
    }
    // It is fitted into the room where a picture would be stretched.
    const auto stretching = placement("FitModeStretch");
    EXPECT_EQ(stretching.pictureRectForMovie({ 40, 30 }), kEnlarged);
    EXPECT_EQ(stretching.pictureRectForMovie({ 400, 100 }), kShrunk);
    EXPECT_EQ(stretching.rectFor({ 40, 30 }), kWhole);
}

TEST(Placement, CountsAMoviesDevicePixels)
{
    EXPECT_EQ(placement("FitModeFit").deviceSizeForMovie({ 40, 30 }), QSize(40, 30));
    EXPECT_EQ(placement("FitModeFit", 2).deviceSizeForMovie({ 40, 30 }), QSize(80, 60));
    EXPECT_EQ(placement("FitModeFill", 2).deviceSizeForMovie({ 40, 30 }), QSize(400, 300));
    EXPECT_EQ(placement("FitModeStretch", 2).deviceSizeForMovie({ 400, 100 }), QSize(400, 100));
    EXPECT_EQ(placement("FitModeFit", 1.5).deviceSizeForMovie({}), QSize(300, 150));
}

TEST(Placement, AsksForNoMorePixelsOfAMovieThanTwoLargeScreensHave)
{
    const auto screen = placement("FitModeFit", 1, { 0, 0, 7680, 2160 });
    const auto strip = placement("FitModeFill", 2).deviceSizeForMovie({ 10000, 1 });

    EXPECT_EQ(screen.deviceSizeForMovie({ 7680, 2160 }), QSize(7680, 2160));
    const double pixels = double(strip.width()) * strip.height();
    EXPECT_LT(std::abs(pixels / kMoviePixels - 1), 0.02);
    EXPECT_LT(std::abs(double(strip.width()) / strip.height() / 10000 - 1), 0.03);
}

TEST(Placement, AsksForAPixelAtLeast)
{
    EXPECT_EQ(placement("FitModeFit").deviceSizeForMovie({ 100000, 1 }).height(), 1);
    EXPECT_EQ(placement("FitModeFit", 1, {}).deviceSizeForMovie({}), QSize(1, 1));
}

TEST(Placement, AsksForMorePixelsOfAPicture)
{
    const auto pixels = placement("FitModeFill", 2).deviceSizeFor({ 10000, 1 });

    EXPECT_LT(std::abs(double(pixels.width()) * pixels.height() / 64e6 - 1), 0.02);
    EXPECT_EQ(Placement::bounded({ 8000, 8000 }), QSize(8000, 8000));
    EXPECT_EQ(Placement::bounded({ 16000, 16000 }), QSize(8000, 8000));
}

} // namespace
} // namespace quorvane
