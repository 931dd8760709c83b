// SPDX-License-Identifier: GPL-3.0-or-later
// Where a picture's edges lie, by each way to fit it.
#include "ShowTest.h"

namespace quorvane::show {

namespace {

constexpr QSize kPictureSize { 400, 300 };
constexpr int kBandHeight = 30;

struct FitMode : ShowTest {
    /// Red, with a green band along the upper edge: stretching shows it, filling cuts it off.
    static QByteArray bandedPicture()
    {
        QImage image = solidPicture(kRed, kPictureSize);
        for (int y = 0; y < kBandHeight; ++y) {
            for (int x = 0; x < kPictureSize.width(); ++x)
                image.setPixel(x, y, 0xff000000U | kGreen.rgb);
        }
        return encoded(image, "png");
    }

    [[nodiscard]] testing::AssertionResult showsPicture(
        const QByteArray& bytes, const QString& mode)
    {
        pictures.write("1.png", bytes);
        startShow({ { QStringLiteral("ImageFitMode"), mode } });
        return ready(kRed);
    }

    /// The picture covers `rectangle` and the rest of the screen is black. `margin` pixels on both
    /// sides of each edge are left alone: a scaled picture may be soft there.
    [[nodiscard]] testing::AssertionResult covers(QRect rectangle, int margin)
    {
        const int x = rectangle.center().x();
        const int y = rectangle.center().y() + rectangle.height() / 4; // Below the band.
        const QPoint outside[] { { rectangle.left() - margin, y },
            { rectangle.right() + margin, y }, { x, rectangle.top() - margin },
            { x, rectangle.bottom() + margin } };
        const int in = margin - 1;
        const QPoint inside[] { { rectangle.left() + in, y }, { rectangle.right() - in, y },
            { x, rectangle.top() + in }, { x, rectangle.bottom() - in } };
        const QRect screen(QPoint(), desktop.size());
        return waitWhileRunning(QStringLiteral("the picture's edges are where they belong"), [&] {
            bool right = true;
            for (const QPoint point : outside)
                right = right && (!screen.contains(point) || desktop.colourAt(point) == kBlack);
            for (const QPoint point : inside)
                right = right && desktop.colourAt(point) != kBlack;
            return right;
        });
    }
};

TEST_F(FitMode, FitCentresASmallPictureAtItsSize)
{
    ASSERT_TRUE(showsPicture(bandedPicture(), QStringLiteral("FitModeFit")));

    EXPECT_TRUE(covers({ 440, 210, 400, 300 }, 1));
}

TEST_F(FitMode, FitShrinksAWidePictureToTheScreen)
{
    const QByteArray wide = encoded(solidPicture(kRed, { 2560, 720 }), "png");

    ASSERT_TRUE(showsPicture(wide, QStringLiteral("FitModeFit")));

    EXPECT_TRUE(covers({ 0, 180, 1280, 360 }, 3));
}

TEST_F(FitMode, FitShrinksATallPictureToTheScreen)
{
    const QByteArray tall = encoded(solidPicture(kRed, { 1000, 2000 }), "png");

    ASSERT_TRUE(showsPicture(tall, QStringLiteral("FitModeFit")));

    EXPECT_TRUE(covers({ 460, 0, 360, 720 }, 3));
}

TEST_F(FitMode, ZoomEnlargesToTheNearerEdges)
{
    ASSERT_TRUE(showsPicture(bandedPicture(), QStringLiteral("FitModeZoom")));

    EXPECT_TRUE(covers({ 160, 0, 960, 720 }, 3));
}

TEST_F(FitMode, FillCutsWhatDoesNotFit)
{
    ASSERT_TRUE(showsPicture(bandedPicture(), QStringLiteral("FitModeFill")));

    EXPECT_TRUE(covers({ 0, 0, 1280, 720 }, 3));
    EXPECT_EQ(desktop.colourAt({ 640, 5 }), kRed); // The band is above the screen.
}

TEST_F(FitMode, StretchShowsAllOfThePicture)
{
    ASSERT_TRUE(showsPicture(bandedPicture(), QStringLiteral("FitModeStretch")));

    EXPECT_TRUE(covers({ 0, 0, 1280, 720 }, 3));
    EXPECT_EQ(desktop.colourAt({ 640, 5 }), kGreen);
    EXPECT_EQ(desktop.colourAt({ 640, 66 }), kGreen); // The band is 72 pixels high here.
    EXPECT_EQ(desktop.colourAt({ 640, 78 }), kRed);
}

TEST_F(FitMode, KeysChangeTheModeAndItIsKept)
{
    ASSERT_TRUE(showsPicture(bandedPicture(), QStringLiteral("FitModeFit")));

    desktop.key(XK_3, { XK_Control_L });
    EXPECT_TRUE(covers({ 160, 0, 960, 720 }, 3));
    EXPECT_TRUE(stores("ImageFitMode", QStringLiteral("FitModeZoom")));

    desktop.key(XK_4, { XK_Control_L });
    EXPECT_TRUE(covers({ 0, 0, 1280, 720 }, 3));
    EXPECT_TRUE(stores("ImageFitMode", QStringLiteral("FitModeFill")));

    desktop.key(XK_5, { XK_Control_L });
    EXPECT_TRUE(waitWhileRunning(QStringLiteral("the band at the upper edge"), [&] {
        return desktop.colourAt({ 640, 5 }) == kGreen;
    }));
    EXPECT_TRUE(stores("ImageFitMode", QStringLiteral("FitModeStretch")));

    desktop.key(XK_2, { XK_Control_L });
    EXPECT_TRUE(covers({ 440, 210, 400, 300 }, 1));
    EXPECT_TRUE(stores("ImageFitMode", QStringLiteral("FitModeFit")));
    EXPECT_EQ(viewer->settings()->value(QStringLiteral("slideInterval")), 5.0); // No digit key.
}

} // namespace

} // namespace quorvane::show
