// SPDX-License-Identifier: GPL-3.0-or-later
#include "layers/Drawing.h"
#include "layers/Layer.h"
#include "layers/LayerAnimator.h"
#include "support/GeometryMatchers.h"

#include <QPainter>

#include <gtest/gtest.h>

#include <string>

namespace quorvane {
namespace {

using tests::isExactly;

constexpr QRgb kRed = 0xffff0000;
constexpr QRgb kGreen = 0xff00ff00;
constexpr QRgb kBlue = 0xff0000ff;
constexpr QRgb kBlack = 0xff000000;

QImage solid(QRgb colour, QSize size = { 1, 1 })
{
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(colour);
    return image;
}

/// No two neighbours alike, so that any filter and any shift shows.
QImage noise(QSize size)
{
    QImage image(size, QImage::Format_RGB32);
    quint32 state = 1;
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            state = state * 1664525U + 1013904223U;
            image.setPixel(x, y, 0xff000000U | (state >> 8));
        }
    }
    return image;
}

/// Paints a view on black.
QImage painted(const std::vector<Draw>& draws, QSizeF view, double pixelRatio = 1)
{
    QImage canvas((view * pixelRatio).toSize(), QImage::Format_ARGB32_Premultiplied);
    canvas.fill(Qt::black);
    QPainter painter(&canvas);
    paint(painter, draws, view, pixelRatio);
    return canvas;
}

/// One letter a pixel, from the top down; "?" for a mixture.
std::vector<std::string> letters(const QImage& image)
{
    std::vector<std::string> rows;
    for (int y = 0; y < image.height(); ++y) {
        std::string row;
        for (int x = 0; x < image.width(); ++x) {
            const QRgb pixel = image.pixel(x, y);
            row += pixel == kRed  ? 'r'
                : pixel == kGreen ? 'g'
                : pixel == kBlue  ? 'b'
                : pixel == kBlack ? '.'
                                  : '?';
        }
        rows.push_back(row);
    }
    return rows;
}

using Rows = std::vector<std::string>;

struct DrawListTest : testing::Test {
    Layer root;
    Layer a;
    Layer b;
    Layer c;

    DrawListTest()
    {
        root.setFrame({ 0, 0, 100, 100 });
        a.setContents(solid(kRed));
        b.setContents(solid(kGreen));
        c.setContents(solid(kBlue));
        for (Layer* layer : { &a, &b, &c }) {
            layer->setFrame({ 1, 2, 30, 40 });
            root.addSublayer(*layer);
        }
    }

    /// The layers drawn, by the colours of their pictures, hindmost first.
    std::string order() const
    {
        std::string result;
        for (const Draw& draw : drawList(root, 0))
            result += letters(draw.contents).front();
        return result;
    }
};

TEST_F(DrawListTest, TellsWhereWhatAndHowDense)
{
    a.setOpacity(0.5);

    const std::vector<Draw> draws = drawList(root, 0);

    ASSERT_EQ(draws.size(), 3U);
    EXPECT_TRUE(isExactly(draws[0].rect, { 1, 2, 30, 40 }));
    EXPECT_EQ(draws[0].opacity, 0.5);
    EXPECT_EQ(draws[0].contents, a.contents());
    EXPECT_EQ(draws[1].opacity, 1);
    EXPECT_EQ(draws[1].contents, b.contents());
}

TEST_F(DrawListTest, FollowsTheOrderOfTheLayers)
{
    EXPECT_EQ(order(), "rgb");
    root.addSublayer(a);
    EXPECT_EQ(order(), "gbr");
}

TEST_F(DrawListTest, PutsAHigherZPositionInFront)
{
    a.setZPosition(10000);
    EXPECT_EQ(order(), "gbr");
    b.setZPosition(-1);
    EXPECT_EQ(order(), "gbr");
    c.setZPosition(-2);
    EXPECT_EQ(order(), "bgr");
}

TEST_F(DrawListTest, FollowsTheOrderOfTheLayersAtOneZPosition)
{
    a.setZPosition(1);
    c.setZPosition(1);
    EXPECT_EQ(order(), "grb");
    root.addSublayer(a);
    EXPECT_EQ(order(), "gbr");
}

TEST_F(DrawListTest, PutsTheForemostInFrontOfAnyZPosition)
{
    a.setForemost(true);
    b.setZPosition(10000);

    EXPECT_EQ(order(), "bgr");
}

TEST_F(DrawListTest, TellsHowALayerIsTurned)
{
    a.setAnchorPoint({ 0, 0 });
    a.setPosition({ 5, 6 });
    a.setRotationZ(1.5);

    const Draw draw = drawList(root, 0).front();

    EXPECT_TRUE(isExactly(draw.rect, { 5, 6, 30, 40 }));
    EXPECT_EQ(draw.rotation, 1.5);
    EXPECT_EQ(draw.pivot, QPointF(5, 6));
}

TEST_F(DrawListTest, ShowsWhatAnAnimationMakesOfALayer)
{
    LayerAnimator animator(root);
    a.addAnimation({ ValueChange { KeyPath::BoundsWidth, 30, 10 }, 2 }, "narrow");
    animator.beginFrame(0);

    EXPECT_TRUE(isExactly(drawList(root, 1).front().rect, { 6, 2, 20, 40 }));
    EXPECT_TRUE(isExactly(a.frame(), { 1, 2, 30, 40 }));
}

TEST_F(DrawListTest, DissolvesOneLayerIntoAnotherWithoutADip)
{
    LayerAnimator animator(root);
    c.setContents({});
    b.setOpacity(0);
    animator.beginFrame(0);
    animator.commit(0);
    for (Layer* const layer : { &a, &b })
        layer->addAnimation({ TransitionKind::Fade, 1 }, "transition");
    a.setOpacity(0);
    b.setOpacity(1);
    animator.beginFrame(0);

    for (const double progress : { 0.1, 0.5, 0.9 }) {
        const auto draws = drawList(root, progress);
        ASSERT_EQ(draws.size(), 2U) << progress;
        EXPECT_EQ(draws[0].contents, a.contents());
        EXPECT_DOUBLE_EQ(draws[0].opacity, 1 - progress);
        EXPECT_DOUBLE_EQ(draws[1].opacity, progress);
        EXPECT_EQ(draws[0].composition, Composition::Add);
        EXPECT_EQ(draws[1].composition, Composition::Add);
    }
    EXPECT_EQ(drawList(root, 0).size(), 1U) << "nothing of the new one yet";
    EXPECT_EQ(drawList(root, 1).size(), 1U) << "nothing of the old one any more";
}

TEST_F(DrawListTest, GivesEachPictureItsPartInATransition)
{
    for (const auto kind : { TransitionKind::BarsSwipe, TransitionKind::Swipe, TransitionKind::Mod,
             TransitionKind::Push }) {
        LayerAnimator animator(root);
        a.setOpacity(1);
        animator.beginFrame(0);
        animator.commit(0);
        a.addAnimation({ kind, 1 }, "transition");
        a.setOpacity(0);
        animator.beginFrame(0);

        const Draw draw = drawList(root, 0.25).front();

        EXPECT_EQ(draw.contents, a.contents());
        EXPECT_EQ(draw.effect, (Effect { kind, 0.25, false }));
        EXPECT_EQ(draw.composition, Composition::Over);
        EXPECT_EQ(order(), "rgb") << "where there was nothing, nothing arrives";
        a.removeAllAnimations();
    }
}

TEST_F(DrawListTest, LeavesOutWhatShowsNothing)
{
    a.setOpacity(0);
    EXPECT_EQ(order(), "gb");
    b.setContents({});
    EXPECT_EQ(order(), "b");
    c.setFrame({ 1, 2, 0, 40 });
    EXPECT_EQ(order(), "");
    c.setFrame({ 1, 2, 30, 0 });
    EXPECT_EQ(order(), "");
}

TEST_F(DrawListTest, LimitsTheOpacity)
{
    a.setOpacity(7);
    b.setOpacity(-1);

    const std::vector<Draw> draws = drawList(root, 0);

    EXPECT_EQ(order(), "rb");
    EXPECT_EQ(draws.front().opacity, 1);
}

TEST_F(DrawListTest, DoesNotShowTheRootItself)
{
    Layer alone;
    alone.setFrame({ 0, 0, 10, 10 });
    alone.setContents(solid(kRed));

    EXPECT_TRUE(drawList(alone, 0).empty());
}

TEST_F(DrawListTest, ChangesNothing)
{
    a.setZPosition(1);

    drawList(root, 0);

    EXPECT_EQ(root.sublayers(), (std::vector<Layer*> { &a, &b, &c }));
}

struct DeviceRow {
    const char* what;
    QRectF rect;
    double viewHeight;
    double pixelRatio;
    QRect expected;
};

const DeviceRow kDeviceRows[] = {
    { "turned round", { 10, 20, 100, 50 }, 200, 1, { 10, 130, 100, 50 } },
    { "beyond the view", { -30, -20, 100, 300 }, 200, 1, { -30, -80, 100, 300 } },
    { "two pixels a point", { 10, 20, 100, 50 }, 200, 2, { 20, 260, 200, 100 } },
    { "half a point, two pixels each", { 10.5, 20.5, 100, 50 }, 200, 2, { 21, 259, 200, 100 } },
    { "a pixel and a half", { 10, 20, 100, 50 }, 200, 1.5, { 15, 195, 150, 75 } },
    { "a pixel and a half, odd", { 1, 1, 5, 5 }, 10, 1.5, { 2, 6, 7, 8 } },
    { "a pixel and a quarter", { 10, 20, 100, 50 }, 200, 1.25, { 13, 163, 125, 62 } },
    { "a pixel and a quarter, odd", { 1, 1, 2, 2 }, 9, 1.25, { 1, 8, 3, 2 } },
    { "rounded down", { 0.25, 0, 10, 10 }, 10, 1, { 0, 0, 10, 10 } },
    { "rounded up", { 0.75, 0, 10, 10 }, 10, 1, { 1, 0, 10, 10 } },
    { "each edge for itself", { 0.25, 0.25, 10.5, 10.5 }, 20, 1, { 0, 9, 11, 11 } },
    { "a tie", { 0.5, 0, 10, 10 }, 10, 1, { 1, 0, 10, 10 } },
    { "a fraction of a pixel", { 3.125, 3.125, 0.25, 0.25 }, 10, 1, { 3, 7, 1, 1 } },
    { "nothing", { 5, 5, 0, 0 }, 10, 1, { 5, 5, 1, 1 } },
    { "a strip that fills a screen", { -1472790, 0, 2947500, 1080 }, 1080, 1,
        { -1472790, 0, 2947500, 1080 } },
};

TEST(DeviceRect, IsTheWholePixelsOf)
{
    for (const DeviceRow& row : kDeviceRows)
        EXPECT_EQ(deviceRect(row.rect, row.viewHeight, row.pixelRatio), row.expected) << row.what;
}

TEST(DeviceRect, LeavesNoGapBetweenNeighbours)
{
    for (const double ratio : { 1.0, 1.25, 1.5, 1.75, 2.0 }) {
        for (double edge = 3; edge < 9; edge += 0.3) {
            const QRect left = deviceRect({ 0, 0, edge, edge }, 10, ratio);
            const QRect right = deviceRect({ edge, edge, 10 - edge, 10 - edge }, 10, ratio);

            EXPECT_EQ(left.right() + 1, right.left());
            EXPECT_EQ(right.bottom() + 1, left.top());
        }
    }
}

TEST(DeviceRect, CoversTheViewWithAPictureOfItsSize)
{
    for (const double ratio : { 1.0, 1.25, 1.5, 2.0, 3.0 }) {
        EXPECT_EQ(deviceRect({ 0, 0, 1024, 768 }, 768, ratio),
            QRect(QPoint(0, 0), QSize(qRound(1024 * ratio), qRound(768 * ratio))));
    }
}

TEST(Paint, PutsPicturesOverEachOther)
{
    const std::vector<Draw> draws = { { { 0, 0, 4, 3 }, 1, solid(kRed) },
        { { 3, 2, 4, 3 }, 1, solid(kGreen) }, { { 6, 4, 5, 5 }, 1, solid(kBlue) } };

    EXPECT_EQ(letters(painted(draws, { 8, 6 })),
        (Rows { "......bb", //
            "...gggbb", //
            "...gggg.", //
            "rrrgggg.", //
            "rrrr....", //
            "rrrr...." }));
}

TEST(Paint, PutsTheUpperEdgeOfAPictureUpwards)
{
    QImage picture(2, 2, QImage::Format_RGB32);
    picture.setPixel(0, 0, kRed);
    picture.setPixel(1, 0, kGreen);
    picture.setPixel(0, 1, kBlue);
    picture.setPixel(1, 1, kBlack);

    EXPECT_EQ(letters(painted({ { { 1, 0, 2, 2 }, 1, picture } }, { 4, 3 })),
        (Rows { "....", //
            ".rg.", //
            ".b.." }));
}

TEST(Paint, PaintsNothingWithoutDraws)
{
    EXPECT_EQ(letters(painted({}, { 2, 2 })), (Rows { "..", ".." }));
}

TEST(Paint, PaintsAtLeastOnePixel)
{
    const Draw dot { { 1.125, 1.125, 0.25, 0.25 }, 1, solid(kRed, { 8, 8 }) };

    EXPECT_EQ(letters(painted({ dot }, { 3, 3 })), (Rows { "...", "...", ".r." }));
}

TEST(Paint, LeavesOutWhatLiesOutside)
{
    const std::vector<Draw> draws
        = { { { 4, 0, 2, 2 }, 1, solid(kRed) }, { { 0, 4, 2, 2 }, 1, solid(kRed) },
              { { -2, 0, 2, 2 }, 1, solid(kRed) }, { { 0, -2, 2, 2 }, 1, solid(kRed) } };

    EXPECT_EQ(letters(painted(draws, { 4, 4 })), (Rows { "....", "....", "....", "...." }));
}

TEST(Paint, PaintsOnlyInTheView)
{
    QImage canvas(6, 4, QImage::Format_ARGB32_Premultiplied);
    canvas.fill(Qt::black);
    {
        QPainter painter(&canvas);
        paint(painter, { { { -9, -9, 30, 30 }, 1, solid(kRed) } }, { 4, 2 }, 1);
    }

    EXPECT_EQ(letters(canvas), (Rows { "rrrr..", "rrrr..", "......", "......" }));
}

TEST(Paint, MixesByOpacity)
{
    const std::vector<Draw> draws
        = { { { 0, 0, 2, 2 }, 1, solid(kRed) }, { { 0, 0, 2, 2 }, 0.5, solid(kBlue) } };

    const QRgb mixed = painted(draws, { 2, 2 }).pixel(1, 1);

    EXPECT_NEAR(qRed(mixed), 128, 1);
    EXPECT_EQ(qGreen(mixed), 0);
    EXPECT_NEAR(qBlue(mixed), 128, 1);
}

TEST(Paint, KeepsTheOpacityOfOnePictureFromTheNext)
{
    const std::vector<Draw> draws
        = { { { 0, 0, 1, 1 }, 0.5, solid(kRed) }, { { 1, 0, 1, 1 }, 1, solid(kBlue) } };

    EXPECT_EQ(letters(painted(draws, { 2, 1 })), Rows { "?b" });
}

TEST(Paint, LetsWhatIsTransparentShowThrough)
{
    QImage hole = solid(kGreen, { 2, 1 });
    hole.setPixelColor(0, 0, Qt::transparent);
    const std::vector<Draw> draws
        = { { { 0, 0, 2, 1 }, 1, solid(kRed) }, { { 0, 0, 2, 1 }, 1, hole } };

    EXPECT_EQ(letters(painted(draws, { 2, 1 })), Rows { "rg" });
}

TEST(Paint, CopiesAPictureThatHasThePixelsItCovers)
{
    // Odd heights too, that are no whole number of pixels.
    for (const double pixelRatio : { 1.0, 1.25, 1.5, 1.75, 2.0 }) {
        for (const int viewHeight : { 40, 51, 53, 61, 62, 63 }) {
            const QRectF rect(3.5, (viewHeight - 27) * 0.5, 40, 27);
            const QRect target = deviceRect(rect, viewHeight, pixelRatio);
            const QImage picture = noise(target.size());

            const QImage canvas
                = painted({ { rect, 1, picture } }, QSizeF(50, viewHeight), pixelRatio);

            EXPECT_EQ(canvas.copy(target).convertToFormat(QImage::Format_RGB32), picture)
                << pixelRatio << " " << viewHeight;
        }
    }
}

TEST(Paint, CoversTheWholeViewWithAPictureOfItsSize)
{
    for (const double pixelRatio : { 1.0, 1.25, 1.5, 1.75, 2.0 }) {
        for (const int side : { 40, 51, 53, 61, 62, 63 }) {
            const QImage canvas = painted(
                { { QRectF(0, 0, side, side), 1, solid(kRed) } }, QSizeF(side, side), pixelRatio);

            EXPECT_EQ(canvas.convertToFormat(QImage::Format_RGB32),
                solid(kRed, canvas.size()).convertToFormat(QImage::Format_RGB32))
                << pixelRatio << " " << side;
        }
    }
}

TEST(Paint, CopiesThePartOfSuchAPictureThatIsOnTheDevice)
{
    const QImage picture = noise({ 60, 40 });

    const QImage canvas = painted({ { { -7, -11, 60, 40 }, 1, picture } }, { 50, 20 });

    EXPECT_EQ(canvas.convertToFormat(QImage::Format_RGB32), picture.copy(7, 9, 50, 20));
}

TEST(Paint, StretchesAPictureToItsRectangle)
{
    QImage picture(2, 1, QImage::Format_RGB32);
    picture.setPixel(0, 0, kRed);
    picture.setPixel(1, 0, kBlue);

    const QImage canvas = painted({ { { 10, 10, 80, 60 }, 1, picture } }, { 100, 80 });

    EXPECT_EQ(canvas.pixel(9, 40), kBlack);
    EXPECT_EQ(canvas.pixel(10, 10), kRed);
    EXPECT_EQ(canvas.pixel(10, 69), kRed);
    EXPECT_EQ(canvas.pixel(89, 10), kBlue);
    EXPECT_EQ(canvas.pixel(89, 69), kBlue);
    EXPECT_EQ(canvas.pixel(90, 40), kBlack);
    EXPECT_EQ(canvas.pixel(40, 70), kBlack);
    EXPECT_EQ(canvas.pixel(40, 9), kBlack);
}

TEST(Paint, FiltersWhatItStretches)
{
    QImage picture(2, 1, QImage::Format_RGB32);
    picture.setPixel(0, 0, kBlack);
    picture.setPixel(1, 0, kRed);

    const QImage canvas = painted({ { { 0, 0, 64, 8 }, 1, picture } }, { 64, 8 });

    EXPECT_NEAR(qRed(canvas.pixel(32, 4)), 128, 8);
}

TEST(Paint, FillsAScreenWithAStrip)
{
    QImage strip(65500, 24, QImage::Format_RGB32);
    strip.fill(kRed);
    QPainter(&strip).fillRect(32750, 0, 32750, 24, QColor::fromRgb(kBlue));
    const double width = 65500.0 * 360 / 24;

    const QImage canvas
        = painted({ { { (640 - width) / 2, 0, width, 360 }, 1, strip } }, { 640, 360 });

    for (const int y : { 0, 180, 359 }) {
        EXPECT_EQ(canvas.pixel(0, y), kRed) << y;
        EXPECT_EQ(canvas.pixel(300, y), kRed) << y;
        EXPECT_EQ(canvas.pixel(340, y), kBlue) << y;
        EXPECT_EQ(canvas.pixel(639, y), kBlue) << y;
    }
}

TEST(Paint, FillsAScreenWithAnUprightStrip)
{
    QImage strip(2, 60000, QImage::Format_RGB32);
    strip.fill(kRed);
    QPainter(&strip).fillRect(0, 30000, 2, 30000, QColor::fromRgb(kBlue));
    const double height = 60000.0 * 800 / 2;

    const QImage canvas
        = painted({ { { 0, (600 - height) / 2, 800, height }, 1, strip } }, { 800, 600 });

    for (const int x : { 0, 400, 799 }) {
        EXPECT_EQ(canvas.pixel(x, 0), kRed) << x;
        EXPECT_EQ(canvas.pixel(x, 599), kBlue) << x;
    }
}

TEST(Paint, TakesPointsForPixels)
{
    EXPECT_EQ(letters(painted({ { { 1, 1, 1, 2 }, 1, solid(kRed) } }, { 3, 4 }, 2)),
        (Rows { "......", //
            "......", //
            "..rr..", //
            "..rr..", //
            "..rr..", //
            "..rr..", //
            "......", //
            "......" }));
}

TEST(Paint, RoundsAHalfPixelLikeItsNeighbours)
{
    const std::vector<Draw> draws
        = { { { 0, 0, 3, 3 }, 1, solid(kRed) }, { { 3, 0, 3, 3 }, 1, solid(kGreen) } };

    EXPECT_EQ(letters(painted(draws, { 6, 4 }, 1.5)),
        (Rows { ".........", ".........", "rrrrrgggg", "rrrrrgggg", "rrrrrgggg", "rrrrrgggg" }));
}

TEST(DeviceRect, BoundsAStripThatReachesBeyondAllNumbers)
{
    const QRect strip = deviceRect({ -1e12, 0, 2e12, 1080 }, 1080, 1);

    EXPECT_EQ(strip.top(), 0);
    EXPECT_EQ(strip.height(), 1080);
    EXPECT_GT(strip.width(), 1 << 29);
    EXPECT_LT(strip.left(), 0);
}

TEST(Paint, AddsLightWhereItIsTold)
{
    const QRectF all(0, 0, 4, 4);
    std::vector<Draw> draws { { all, 0.25, solid(0xffffffff) }, { all, 0.75, solid(0xffffffff) } };
    EXPECT_LT(qRed(painted(draws, { 4, 4 }).pixel(1, 1)), 210) << "one in front of the other";

    draws[0].composition = draws[1].composition = Composition::Add;

    EXPECT_GE(qRed(painted(draws, { 4, 4 }).pixel(1, 1)), 254);
}

TEST(Paint, DissolvesPicturesOfDifferentPlaces)
{
    // The first one to the left, the second one to the right, both in the middle.
    std::vector<Draw> draws { { { 0, 0, 6, 4 }, 0.25, noise({ 6, 4 }) },
        { { 2, 0, 6, 4 }, 0.75, noise({ 6, 4 }).mirrored(true, true) } };
    draws[0].composition = draws[1].composition = Composition::Add;

    const QImage image = painted(draws, { 8, 4 });

    for (int x = 0; x < 8; ++x) {
        const int first = x < 6 ? qGreen(draws[0].contents.pixel(x, 1)) : 0;
        const int second = x >= 2 ? qGreen(draws[1].contents.pixel(x - 2, 1)) : 0;
        EXPECT_NEAR(qGreen(image.pixel(x, 1)), first * 0.25 + second * 0.75, 2) << x;
    }
}

TEST(Paint, DissolvesTransparentPicturesToo)
{
    const QRectF all(0, 0, 4, 4);
    std::vector<Draw> draws { { all, 0.25, solid(0x80804020) }, { all, 0.75, solid(0x40102030) } };
    draws[0].composition = draws[1].composition = Composition::Add;

    const QRgb pixel = painted(draws, { 4, 4 }).pixel(1, 1);

    EXPECT_NEAR(qRed(pixel), 0x80 * 0.25 + 0x10 * 0.75, 2);
    EXPECT_NEAR(qBlue(pixel), 0x20 * 0.25 + 0x30 * 0.75, 2);
}

TEST(Paint, LeavesThePainterAsItWas)
{
    QImage canvas(4, 4, QImage::Format_ARGB32_Premultiplied);
    QPainter painter(&canvas);
    Draw draw { { 0, 0, 4, 4 }, 0.5, solid(kRed) };
    draw.composition = Composition::Add;

    paint(painter, { draw }, { 4, 4 }, 1);

    EXPECT_EQ(painter.opacity(), 1);
    EXPECT_EQ(painter.compositionMode(), QPainter::CompositionMode_SourceOver);
}

TEST(Paint, TurnsCounterClockwiseAboutThePivot)
{
    // From the pivot to the right; a quarter turn takes it upwards.
    Draw draw { { 50, 50, 40, 10 }, 1, solid(kGreen, { 40, 10 }) };
    draw.pivot = { 50, 50 };
    draw.rotation = 1.5707963;

    const QImage image = painted({ draw }, { 100, 100 });

    EXPECT_EQ(image.pixel(45, 99 - 70), kGreen) << "left of the pivot now, and above it";
    EXPECT_EQ(image.pixel(45, 99 - 45), kBlack);
    EXPECT_EQ(image.pixel(70, 99 - 55), kBlack) << "where it was";
}

TEST(Paint, TurnsOnADenseScreenToo)
{
    Draw draw { { 50, 50, 40, 10 }, 1, solid(kGreen, { 40, 10 }) };
    draw.pivot = { 50, 50 };
    draw.rotation = 1.5707963;

    const QImage image = painted({ draw }, { 100, 100 }, 2);

    EXPECT_EQ(image.pixel(90, 199 - 140), kGreen);
}

/// A picture that hides what is behind it.
Draw opaque(QRectF rect, double opacity = 1)
{
    return { .rect = rect,
        .opacity = opacity,
        .contents = solid(kRed).convertToFormat(QImage::Format_RGB32) };
}

TEST(Background, IsNeededWhereNoOpaquePictureStands)
{
    const QSizeF view(20, 10);
    EXPECT_EQ(uncovered({}, view, 1), QRegion(0, 0, 20, 10));
    EXPECT_EQ(uncovered({ opaque({ 0, 0, 20, 10 }) }, view, 1), QRegion());
    EXPECT_EQ(uncovered({ opaque({ 5, 0, 15, 4 }) }, view, 2),
        QRegion(0, 0, 40, 20).subtracted(QRegion(10, 12, 30, 8)));
}

TEST(Background, IsNeededBehindAllThatLetsItThrough)
{
    const QSizeF view(20, 10);
    const QRegion all(0, 0, 20, 10);
    const QRectF rect(0, 0, 20, 10);

    EXPECT_EQ(uncovered({ opaque(rect, 0.5) }, view, 1), all);

    Draw turned = opaque(rect);
    turned.rotation = 0.1;
    EXPECT_EQ(uncovered({ turned }, view, 1), all);

    Draw veil = opaque(rect);
    veil.contents = solid(0x80ff0000);
    EXPECT_EQ(uncovered({ veil }, view, 1), all);

    Draw moving = opaque(rect);
    moving.effect = Effect { TransitionKind::Swipe, 0.5, false };
    EXPECT_EQ(uncovered({ moving }, view, 1), all);
}

TEST(Background, IsNotNeededWhereTwoPicturesDissolveIntoEachOther)
{
    Draw before = opaque({ 0, 0, 15, 10 }, 0.25);
    Draw after = opaque({ 5, 0, 15, 10 }, 0.75);
    before.composition = after.composition = Composition::Add;

    EXPECT_EQ(uncovered({ before, after }, { 20, 10 }, 1),
        QRegion(0, 0, 20, 10).subtracted(QRegion(5, 0, 10, 10)));
}

} // namespace
} // namespace quorvane
