// SPDX-License-Identifier: GPL-3.0-or-later
#include "layers/EffectPainting.h"
#include "layers/ModPattern.h"

#include <QPainter>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

namespace quorvane {

namespace {

constexpr QSize kSize { 400, 300 };
constexpr QRgb kOld = 0xFFE02040;
constexpr QRgb kNew = 0xFF30B0F0;

QImage solid(QRgb colour, QSize size = kSize)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(colour);
    return image;
}

/// Different everywhere, so that what moves is seen to.
QImage striped()
{
    QImage image(kSize, QImage::Format_RGB32);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            image.setPixel(x, y, qRgb(x % 256, y % 256, 99));
    }
    return image;
}

QImage painted(const std::vector<Draw>& draws, QSizeF view = kSize, double pixelRatio = 1)
{
    QImage canvas((view * pixelRatio).toSize(), QImage::Format_RGB32);
    canvas.fill(Qt::black);
    QPainter painter(&canvas);
    paint(painter, draws, view, pixelRatio);
    return canvas;
}

Draw drawOf(const QImage& image, TransitionKind kind, double progress, bool isArriving)
{
    Draw draw { QRectF(QPointF(), kSize), 1, image };
    draw.effect = Effect { kind, progress, isArriving };
    return draw;
}

/// The old picture by its share in front of the new one.
QImage swiped(TransitionKind kind, double progress, const QImage& before, const QImage& after)
{
    return painted(
        { { QRectF(QPointF(), kSize), 1, after }, drawOf(before, kind, progress, false) });
}

int apart(QRgb a, QRgb b)
{
    return std::max({ std::abs(qRed(a) - qRed(b)), std::abs(qGreen(a) - qGreen(b)),
        std::abs(qBlue(a) - qBlue(b)) });
}

int mostApart(const QImage& a, const QImage& b)
{
    int most = 0;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x)
            most = std::max(most, apart(a.pixel(x, y), b.pixel(x, y)));
    }
    return most;
}

QRgb mixed(QRgb before, QRgb after, double share)
{
    const auto mix = [&](int a, int b) { return int(std::lround(a + (b - a) * share)); };
    return qRgb(mix(qRed(before), qRed(after)), mix(qGreen(before), qGreen(after)),
        mix(qBlue(before), qBlue(after)));
}

TEST(EffectPainting, IsExactAtBothEnds)
{
    const QImage before = striped();
    for (const auto kind : { TransitionKind::BarsSwipe, TransitionKind::Swipe }) {
        EXPECT_EQ(swiped(kind, 0, before, solid(kNew)),
            painted({ { QRectF(QPointF(), kSize), 1, before } }));
        EXPECT_EQ(swiped(kind, 1, before, solid(kNew)), solid(kNew));
    }
    for (const auto kind : { TransitionKind::Mod, TransitionKind::Swipe, TransitionKind::Push }) {
        EXPECT_EQ(painted({ drawOf(before, kind, 0, false) }), before);
        EXPECT_EQ(painted({ drawOf(before, kind, 1, false) }), solid(0xFF000000));
        EXPECT_EQ(painted({ drawOf(before, kind, 0, true) }), solid(0xFF000000));
        EXPECT_EQ(painted({ drawOf(before, kind, 1, true) }), before);
    }
}

TEST(EffectPainting, SwipesASoftEdgeFromTheLeftToTheRight)
{
    for (const double progress : { 0.1, 0.5, 0.9 }) {
        const QImage image = swiped(TransitionKind::Swipe, progress, solid(kOld), solid(kNew));
        for (const int x : { 0, 50, 150, 250, 399 }) {
            const double share = swipeShare(x + 0.5, kSize.width(), progress);
            EXPECT_LE(apart(image.pixel(x, 7), mixed(kOld, kNew, share)), 2)
                << progress << " at " << x;
            EXPECT_EQ(image.pixel(x, 7), image.pixel(x, 290));
        }
    }
}

TEST(EffectPainting, SwipesOver300PointsOfSoftness)
{
    // Half way through a picture of 1920 points, the edge lies from 810 to 1110.
    EXPECT_EQ(swipeShare(810, 1920, 0.5), 1);
    EXPECT_EQ(swipeShare(960, 1920, 0.5), 0.5);
    EXPECT_EQ(swipeShare(1110, 1920, 0.5), 0);
}

TEST(EffectPainting, LetsStripsFallOutOfThePicture)
{
    const QImage before = striped();
    constexpr double kProgress = 0.4;
    const QImage image = swiped(TransitionKind::BarsSwipe, kProgress, before, solid(kNew));

    for (int strip = 0; strip * 30 < kSize.width(); ++strip) {
        const int x = strip * 30 + 5;
        const int fallen = int(std::lround(barFall(strip, kProgress) * kSize.height()));
        for (const int y : { 0, 100, 299 }) {
            const QRgb expected = y < fallen ? kNew : before.pixel(x, y - fallen);
            EXPECT_EQ(image.pixel(x, y), expected) << strip << ' ' << y;
        }
    }
}

TEST(EffectPainting, StaggersTheStrips)
{
    for (int strip = 0; strip < 64; ++strip) {
        EXPECT_EQ(barFall(strip, 0), 0);
        EXPECT_EQ(barFall(strip, 1), 1);
        EXPECT_NE(barFall(strip, 0.6), barFall(strip + 1, 0.6));
        EXPECT_LE(barFall(strip, 0.5), barFall(strip, 0.6));
    }
}

/// The new picture behind the old one, each with its part.
std::vector<Draw> modDraws(const QImage& before, const QImage& after, double progress)
{
    std::vector<Draw> draws { drawOf(after, TransitionKind::Mod, progress, true),
        drawOf(before, TransitionKind::Mod, progress, false) };
    draws[0].effect->behind = draws[1].rect;
    return draws;
}

TEST(EffectPainting, ShowsTheNewPictureOfAModThroughHoles)
{
    const QImage image = painted(modDraws(solid(kOld), solid(kNew), 0.5));

    int holes = 0;
    int rest = 0;
    for (int y = 0; y < kSize.height(); ++y) {
        for (int x = 0; x < kSize.width(); ++x) {
            const double share = modShare(x + 0.5, kSize.height() - y - 0.5, 0.5);
            EXPECT_LE(apart(image.pixel(x, y), mixed(kOld, kNew, share)), 3) << x << ' ' << y;
            holes += share == 1 ? 1 : 0;
            rest += share == 0 ? 1 : 0;
        }
    }
    const int pixels = kSize.width() * kSize.height();
    EXPECT_GT(holes, pixels / 5);
    EXPECT_GT(rest, pixels / 10);
}

TEST(EffectPainting, ShowsTheNewPictureWholeBehindTheOldOneInAMod)
{
    // In the middle of the old picture, so that the two patterns do not lie on each other.
    std::vector<Draw> draws = modDraws(solid(0xFFFFFFFF), solid(0xFFFFFFFF), 0.5);
    draws[0].rect = { 130, 40, 150, 200 };
    draws[0].contents = solid(0xFF808080, { 150, 200 });

    const QImage image = painted(draws);

    for (int y = 70; y < 250; y += 3) {
        for (int x = 135; x < 275; x += 3)
            ASSERT_GE(qGreen(image.pixel(x, y)), 0x7E) << "nothing of either at " << x << ' ' << y;
    }
}

TEST(EffectPainting, UncoversThePlaceInTheLowerLeftOfAModFirst)
{
    EXPECT_EQ(modShare(150, 150, 0.1), 1);
    EXPECT_EQ(modShare(1800, 1000, 0), 0);
    EXPECT_EQ(modShare(1800, 1000, 1), 1);
}

TEST(EffectPainting, NeverTakesBackWhatItHasUncovered)
{
    for (int x = 0; x < 2000; x += 173) {
        for (int step = 0; step < 20; ++step) {
            EXPECT_LE(modShare(x, 500, step / 20.0), modShare(x, 500, (step + 1) / 20.0));
            EXPECT_LE(swipeShare(x, 2000, step / 20.0), swipeShare(x, 2000, (step + 1) / 20.0));
        }
    }
}

TEST(EffectPainting, HasNoDipBetweenTwoPicturesThatAreTheSame)
{
    const QImage white = solid(0xFFFFFFFF);
    for (const double progress : { 0.1, 0.25, 0.5, 0.9 }) {
        EXPECT_LE(mostApart(painted(modDraws(white, white, progress)), white), 1) << progress;
        EXPECT_LE(mostApart(swiped(TransitionKind::Swipe, progress, white, white), white), 1);
        EXPECT_EQ(mostApart(swiped(TransitionKind::BarsSwipe, progress, white, white), white), 0);
    }
}

TEST(EffectPainting, CountsFromThePictureNotFromTheView)
{
    Draw draw = drawOf(solid(kOld), TransitionKind::Swipe, 0.5, false);
    draw.rect.translate(100, 50);

    const QImage image = painted({ draw }, { 600, 400 });

    const QImage alone = painted({ drawOf(solid(kOld), TransitionKind::Swipe, 0.5, false) });
    EXPECT_EQ(image.copy(QRect(QPoint(100, 50), kSize)), alone);
}

TEST(EffectPainting, MeasuresInPointsOnADenseScreen)
{
    const QImage image
        = painted({ drawOf(solid(kOld), TransitionKind::BarsSwipe, 0.5, false) }, kSize, 2);

    const QImage plain = painted({ drawOf(solid(kOld), TransitionKind::BarsSwipe, 0.5, false) });
    // Edges may lie a pixel apart, but not the middle of a strip.
    int different = 0;
    for (int x = 3; x < kSize.width(); x += 30) {
        for (int y = 10; y < kSize.height(); y += 40)
            different += image.pixel(2 * x, 2 * y) == plain.pixel(x, y) ? 0 : 1;
    }
    EXPECT_LE(different, 3);
}

TEST(EffectPainting, NeedsOnePatternForPicturesOfAllSizes)
{
    ModPattern::keep(nullptr);
    EXPECT_FALSE(ModPattern::kept({ 10, 10 }, 1));
    const auto large = std::make_shared<const ModPattern>(QSize(600, 500), 1);
    const QImage alone = painted({ drawOf(striped(), TransitionKind::Mod, 0.5, false) });

    ModPattern::keep(large);

    EXPECT_EQ(painted({ drawOf(striped(), TransitionKind::Mod, 0.5, false) }), alone);
    EXPECT_EQ(ModPattern::of(kSize, 1), large);
    EXPECT_FALSE(ModPattern::kept(kSize, 2));
    EXPECT_FALSE(ModPattern::kept({ 601, 500 }, 1));
}

TEST(EffectPainting, PaintsTheVisiblePartOfAModThatStandsOut)
{
    Draw draw = drawOf(striped(), TransitionKind::Mod, 0.5, false);
    const QImage whole = painted({ draw });
    draw.rect.translate(-100, -50);

    const QImage image = painted({ draw }, { 200, 200 });

    EXPECT_EQ(image, whole.copy(100, 50, 200, 200));
}

TEST(EffectPainting, PushesTheOldPictureOutToTheLeft)
{
    const QImage image = painted({ drawOf(solid(kOld), TransitionKind::Push, 0.25, false),
        drawOf(solid(kNew), TransitionKind::Push, 0.25, true) });

    EXPECT_EQ(image.pixel(0, 0), kOld);
    EXPECT_EQ(image.pixel(299, 0), kOld);
    EXPECT_EQ(image.pixel(300, 0), kNew);
    EXPECT_EQ(image.pixel(399, 299), kNew);
}

TEST(EffectPainting, ScalesAPictureOfOtherPixels)
{
    for (const auto kind :
        { TransitionKind::Mod, TransitionKind::Swipe, TransitionKind::BarsSwipe }) {
        const QImage small = painted({ drawOf(solid(kOld, { 40, 30 }), kind, 0.5, false) });
        const QImage same = painted({ drawOf(solid(kOld), kind, 0.5, false) });
        EXPECT_LE(mostApart(small, same), 2);
    }
}

} // namespace

} // namespace quorvane
