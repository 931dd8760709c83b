// SPDX-License-Identifier: GPL-3.0-or-later
// What is on screen at the moments of each transition, in the numbers of what is drawn.
#include "display/SVLayerView.h"
#include "images/SVImage.h"
#include "layers/Drawing.h"
#include "layers/ModPattern.h"
#include "platform/DispatchQueue.h"
#include "platform/MainQueue.h"
#include "platform/UserDefaults.h"
#include "settings/SettingsCatalogue.h"
#include "support/GeometryMatchers.h"
#include "support/ManualClock.h"
#include "support/PictureFiles.h"

#include <gtest/gtest.h>

#include <cmath>
#include <optional>

namespace quorvane {
namespace {

using namespace tests;
using namespace std::chrono_literals;

constexpr double kW = 200;
constexpr double kH = 100;
constexpr double kTolerance = 1e-3;

// As the animations have them: single precision.
constexpr double kEdgeOn = 1.57075F;
constexpr double kUpsideDown = 3.1415F;

/// Shares of ease-in's progress.
double easeIn(double p) { return TimingFunction::easeIn().progressAt(p); }
double easeOut(double p) { return TimingFunction::easeOut().progressAt(p); }

/// A view, and two pictures for it.
struct Stage {
    UserDefaults defaults;
    ManualClock clock;
    SVLayerView view { defaults, clock };
    std::shared_ptr<SVImage> before = SVImage::imageWithImage(solid(kRed, { 40, 30 }));
    std::shared_ptr<SVImage> after = SVImage::imageWithImage(solid(kGreen, { 60, 80 }));
    QRectF beforeRect { 80, 35, 40, 30 };
    QRectF afterRect { 70, 10, 60, 80 };

    Stage()
    {
        view.resize(int(kW), int(kH));
        choose("None");
    }

    void choose(const char* title) { defaults.setValue(kTransition, QString::fromLatin1(title)); }

    void paint()
    {
        QImage image(view.size(), QImage::Format_RGB32);
        view.render(&image);
    }

    /// The first picture is on screen; the second one begins to come.
    void begin(const char* title, bool forward = true)
    {
        choose("None");
        view.setImage(before, true);
        paint();
        choose(title);
        view.setImage(after, forward);
        clock.advance(0ms);
        paint();
        began = clock.now();
    }

    /// What is drawn when `seconds` have passed since it began.
    std::vector<Draw> drawsAt(double seconds)
    {
        return drawList(
            view.mBackgroundLayer(), secondsFromDuration(began.time_since_epoch()) + seconds);
    }

    /// That of the picture in those draws; an empty one if there is none.
    static Draw drawOf(const std::vector<Draw>& draws, const std::shared_ptr<SVImage>& image)
    {
        for (const Draw& draw : draws) {
            if (draw.contents.cacheKey() == image->getCGImage().cacheKey())
                return draw;
        }
        return { {}, 0, {} };
    }
    Draw f(double seconds) { return drawOf(drawsAt(seconds), before); }
    Draw t(double seconds) { return drawOf(drawsAt(seconds), after); }

    /// Whether the old picture is drawn in front of the new one.
    bool isOldInFront(double seconds)
    {
        const auto draws = drawsAt(seconds);
        return draws.size() == 2 && draws[1].contents.cacheKey() == before->getCGImage().cacheKey();
    }

    /// It lasts that long, and then the new picture stands alone in its place.
    void expectDuration(Duration duration)
    {
        EXPECT_TRUE(view.isBusy());
        clock.advance(duration - 20ms);
        EXPECT_TRUE(view.isBusy());
        clock.advance(40ms);
        EXPECT_FALSE(view.isBusy());
        EXPECT_EQ(clock.validTimers(), 0) << "frames are drawn although nothing moves";
        paint();
        const auto draws = drawsAt(100);
        ASSERT_EQ(draws.size(), 1U);
        EXPECT_TRUE(isNearly(draws[0].rect, afterRect));
        EXPECT_EQ(draws[0].opacity, 1);
        EXPECT_EQ(draws[0].rotation, 0);
    }

    static bool isNearly(const QRectF& a, const QRectF& b)
    {
        return std::abs(a.x() - b.x()) < kTolerance && std::abs(a.y() - b.y()) < kTolerance
            && std::abs(a.width() - b.width()) < kTolerance
            && std::abs(a.height() - b.height()) < kTolerance;
    }

    TimePoint began;
};

struct Transitions : testing::Test, Stage { };

constexpr double kMoments[] = { 0, 0.1, 0.3, 0.5, 0.7, 0.9 };

TEST_F(Transitions, NoneCutsInOneFrame)
{
    begin("None");

    EXPECT_FALSE(view.isBusy());
    EXPECT_EQ(clock.validTimers(), 0);
    ASSERT_EQ(drawsAt(0).size(), 1U);
    EXPECT_TRUE(isExactly(t(0).rect, afterRect));
}

TEST_F(Transitions, OfAnUnknownNameShowEverySecondSlide)
{
    for (const char* const title : { "Unknown", "cross fade", "" }) {
        begin(title);
        EXPECT_FALSE(view.isBusy()) << title;
        EXPECT_EQ(drawsAt(0).size(), 1U) << title;
        EXPECT_EQ(f(0).opacity, 1) << "the old picture stays";
        std::swap(before, after);
        std::swap(beforeRect, afterRect);
    }
}

TEST_F(Transitions, CrossFadeDissolvesInASecond)
{
    begin("Cross Fade");

    for (const double p : kMoments) {
        EXPECT_NEAR(f(p).opacity, 1 - p, kTolerance);
        EXPECT_NEAR(t(p).opacity, p, kTolerance);
        EXPECT_TRUE(isExactly(f(p).rect, beforeRect));
        if (p > 0) {
            EXPECT_TRUE(isExactly(t(p).rect, afterRect));
        }
        EXPECT_EQ(f(p).composition, Composition::Add);
    }
    expectDuration(1s);
}

TEST_F(Transitions, FastCrossFadeTakesAFifthOfASecond)
{
    begin("Fast Cross Fade");

    EXPECT_NEAR(f(0.05).opacity, 0.75, kTolerance);
    EXPECT_NEAR(t(0.05).opacity, 0.25, kTolerance);
    expectDuration(200ms);
}

TEST_F(Transitions, FlipTurnsBothAboutTheirLowerEdges)
{
    begin("Flip");

    for (const double p : kMoments) {
        const double oldShare = std::cos(kEdgeOn * p);
        const double newShare = std::cos(kEdgeOn * (1 - p));
        EXPECT_TRUE(isNearly(f(p).rect, { 80, 35, 40, 30 * oldShare })) << p;
        // The first time the new picture turns about its middle: its layer never turned before.
        EXPECT_TRUE(isNearly(t(p).rect, { 70, 50 - 40 * newShare, 60, 80 * newShare })) << p;
        EXPECT_EQ(f(p).opacity, 1);
        EXPECT_EQ(t(p).opacity, 1);
        EXPECT_TRUE(isOldInFront(p));
    }
    expectDuration(1s);
}

TEST_F(Transitions, FlipTurnsTheNewPictureAboutItsLowerEdgeFromTheSecondTimeOn)
{
    begin("Flip");
    clock.advance(2s);
    std::swap(before, after);
    view.setImage(after, true);
    clock.advance(0ms);
    paint();
    began = clock.now();

    EXPECT_TRUE(isNearly(t(0.5).rect, { 80, 35, 40, 30 * std::cos(kEdgeOn / 2) }));
}

TEST_F(Transitions, FlipLooksTheSameBackward)
{
    begin("Flip");
    const QRectF forwardOld = f(0.3).rect;
    const QRectF forwardNew = t(0.3).rect;

    Stage backward;
    backward.begin("Flip", false);

    EXPECT_EQ(backward.f(0.3).rect, forwardOld);
    EXPECT_EQ(backward.t(0.3).rect, forwardNew);
}

TEST_F(Transitions, RotateLeftRightSwingsOutAndInAgain)
{
    begin("Rotate Left Right");

    for (const double p : kMoments) {
        const double seconds = 2 * p;
        EXPECT_NEAR(f(seconds).rotation, kUpsideDown * easeIn(p), kTolerance) << p;
        EXPECT_NEAR(t(seconds).rotation, kUpsideDown * (1 - easeOut(p)), kTolerance) << p;
        EXPECT_EQ(f(seconds).pivot, beforeRect.topLeft());
        EXPECT_EQ(t(seconds).pivot, afterRect.topLeft());
        EXPECT_TRUE(isExactly(f(seconds).rect, beforeRect));
        EXPECT_TRUE(isExactly(t(seconds).rect, afterRect));
        EXPECT_TRUE(isOldInFront(seconds));
    }
    expectDuration(2s);
}

TEST_F(Transitions, RotateLeftTurnsBothCounterClockwise)
{
    begin("Rotate Left");

    for (const double p : kMoments) {
        EXPECT_NEAR(f(2 * p).rotation, kUpsideDown * easeIn(p), kTolerance) << p;
        EXPECT_NEAR(t(2 * p).rotation, -kUpsideDown * (1 - easeOut(p)), kTolerance) << p;
        EXPECT_EQ(f(2 * p).opacity, 1);
    }
    expectDuration(2s);
}

TEST_F(Transitions, RotateLeftTurnsTheOtherWayBackward)
{
    begin("Rotate Left", false);

    for (const double p : kMoments) {
        EXPECT_NEAR(f(2 * p).rotation, -kUpsideDown * easeIn(p), kTolerance) << p;
        EXPECT_NEAR(t(2 * p).rotation, kUpsideDown * (1 - easeOut(p)), kTolerance) << p;
    }
    expectDuration(2s);
}

TEST_F(Transitions, ShrinkUncoversTheNewPicture)
{
    begin("Shrink");

    for (const double p : kMoments) {
        const double left = 1 - easeIn(p);
        const QRectF expected(100 - 20 * left, 50 - 15 * left, 40 * left, 30 * left);
        EXPECT_TRUE(isNearly(f(p).rect, expected)) << p;
        EXPECT_EQ(f(p).opacity, 1);
        EXPECT_TRUE(isExactly(t(p).rect, afterRect));
        EXPECT_TRUE(isOldInFront(p));
    }
    expectDuration(1s);
}

TEST_F(Transitions, ExpandGrowsTheNewPictureInFrontOfTheFadingOldOne)
{
    begin("Expand");

    for (const double p : kMoments) {
        const double grown = easeOut(p);
        if (p > 0) {
            const QRectF expected(100 - 30 * grown, 50 - 40 * grown, 60 * grown, 80 * grown);
            EXPECT_TRUE(isNearly(t(p).rect, expected)) << p;
            EXPECT_FALSE(isOldInFront(p));
        }
        EXPECT_NEAR(f(p).opacity, 1 - easeIn(p), kTolerance);
        EXPECT_TRUE(isExactly(f(p).rect, beforeRect));
    }
    expectDuration(1s);
}

TEST_F(Transitions, SlideMovesBothToTheLeftAsOneStrip)
{
    begin("Slide");

    for (const double p : kMoments) {
        EXPECT_TRUE(isNearly(f(1.4 * p).rect, beforeRect.translated(-kW * p, 0))) << p;
        EXPECT_TRUE(isNearly(t(1.4 * p).rect, afterRect.translated(kW * (1 - p), 0))) << p;
        EXPECT_EQ(f(1.4 * p).opacity, 1);
        EXPECT_EQ(t(1.4 * p).opacity, 1);
    }
    expectDuration(1400ms);
}

TEST_F(Transitions, SlideMovesToTheRightBackward)
{
    begin("Slide", false);

    for (const double p : kMoments) {
        EXPECT_TRUE(isNearly(f(1.4 * p).rect, beforeRect.translated(kW * p, 0))) << p;
        EXPECT_TRUE(isNearly(t(1.4 * p).rect, afterRect.translated(-kW * (1 - p), 0))) << p;
    }
    expectDuration(1400ms);
}

struct FilterRow {
    const char* title;
    TransitionKind kind;
    Duration duration;
};

const FilterRow kFilters[] = {
    { "Bar Swipe", TransitionKind::BarsSwipe, 600ms },
    { "Swipe", TransitionKind::Swipe, 400ms },
    { "Test", TransitionKind::Swipe, 400ms },
};

TEST_F(Transitions, OfAShapeTakeTheOldPictureFromInFrontOfTheNewOne)
{
    for (const auto& [title, kind, duration] : kFilters) {
        SCOPED_TRACE(title);
        Stage shown;
        shown.begin(title);
        const double half = secondsFromDuration(duration) / 2;

        ASSERT_TRUE(shown.f(half).effect);
        EXPECT_EQ(shown.f(half).effect->kind, kind);
        EXPECT_NEAR(shown.f(half).effect->progress, 0.5, kTolerance);
        EXPECT_FALSE(shown.f(half).effect->isArriving);
        EXPECT_EQ(shown.t(half).effect, std::nullopt);
        EXPECT_EQ(shown.t(half).opacity, 1);
        EXPECT_TRUE(shown.isOldInFront(half));
        shown.expectDuration(duration);
    }
}

TEST_F(Transitions, ModGivesEachPictureItsShare)
{
    begin("Mod");

    EXPECT_EQ(f(0.35).effect->kind, TransitionKind::Mod);
    EXPECT_NEAR(f(0.35).effect->progress, 0.5, kTolerance);
    EXPECT_FALSE(f(0.35).effect->isArriving);
    EXPECT_TRUE(t(0.35).effect->isArriving);
    EXPECT_EQ(t(0.35).effect->behind, f(0.35).rect) << "it is seen through the old one's holes";
    EXPECT_TRUE(isOldInFront(0.35));
    expectDuration(700ms);
}

TEST_F(Transitions, ModFindsItsHolesMadeBeforehand)
{
    for (const char* const title : { "None", "Mod", "All" }) {
        DispatchQueue::global().drain();
        MainQueue::drain();
        ModPattern::keep(nullptr);
        choose(title);
        view.clearImage();
        view.setImage(before, true);
        DispatchQueue::global().drain();
        MainQueue::drain();
        const bool isKept = ModPattern::kept(view.size(), view.devicePixelRatioF()) != nullptr;
        EXPECT_EQ(isKept, QByteArray(title) != "None") << title;
    }
}

TEST_F(Transitions, OfAShapeAreSeenAfterOnesThatPutTheOldPictureInFront)
{
    for (const char* const title : { "Bar Swipe", "Swipe", "None" }) {
        Stage shown;
        shown.begin("Flip"); // It leaves a picture far in front.
        shown.clock.advance(2s);
        shown.choose(title);
        std::swap(shown.before, shown.after);
        shown.view.setImage(shown.after, true);
        shown.clock.advance(0ms);
        shown.began = shown.clock.now();
        EXPECT_EQ(shown.view.mCurrentLayer().zPosition(), 0) << title;
        EXPECT_EQ(shown.view.mPreviousLayer().zPosition(), 0) << title;
    }
}

/// What tells the transitions of the round apart, as it is a tenth of a second after it began.
std::string nameOf(Stage& shown)
{
    const Draw f = shown.f(0.1);
    const Draw t = shown.t(0.1);
    if (f.effect)
        return f.effect->kind == TransitionKind::Mod  ? "mod"
            : f.effect->kind == TransitionKind::Swipe ? "swipe"
                                                      : "bar swipe";
    if (f.composition == Composition::Add)
        return f.opacity > 0.8 ? "cross fade" : "fast cross fade";
    if (t.rotation != 0)
        return t.rotation > 0 ? "rotate" : "rotate left";
    if (t.rect.height() < 0.5 * t.rect.width())
        return "flip";
    if (f.rect.width() < shown.beforeRect.width() - kTolerance)
        return "shrink";
    if (f.opacity < 1)
        return "expand";
    return f.rect.x() < shown.beforeRect.x() ? "slide" : "nothing";
}

TEST_F(Transitions, AllGoesRoundOneAfterTheOther)
{
    const std::vector<std::string> round { "cross fade", "flip", "rotate", "rotate left",
        "fast cross fade", "shrink", "expand", "bar swipe", "mod", "swipe", "slide" };
    std::vector<std::string> seen;
    for (size_t i = 0; i < 2 * round.size() + 1; ++i) {
        Stage shown;
        shown.begin("All", i % 2 == 0); // The direction is nothing to it.
        seen.push_back(nameOf(shown));
    }

    // It goes on where other views left off.
    const auto first = std::find(seen.begin(), seen.end(), "slide") + 1;
    ASSERT_LE(first + 12 - seen.begin(), static_cast<std::ptrdiff_t>(seen.size()));
    std::vector<std::string> twelve = round;
    twelve.push_back("cross fade");
    EXPECT_EQ(std::vector<std::string>(first, first + 12), twelve);
}

TEST_F(Transitions, RefuseOtherPicturesWhileTheyRun)
{
    begin("Cross Fade");
    const auto shown = view.mCurrentImage();

    view.setImageWithURL(FileURL("/anything.jpg"), true);

    EXPECT_FALSE(view.isLoading());
    EXPECT_TRUE(view.ImageOK());
    EXPECT_EQ(view.mCurrentImage(), shown);
}

TEST_F(Transitions, CutWhenAPictureComesWhileTheyRun)
{
    begin("Cross Fade");
    const auto third = SVImage::imageWithImage(solid(kBlue, { 20, 20 }));

    view.setImage(third, true);

    EXPECT_EQ(view.mCurrentLayer().opacity(), 1);
    EXPECT_EQ(view.mPreviousLayer().opacity(), 0);
    EXPECT_FALSE(view.mCurrentLayer().animationForKey("transition"));
}

TEST_F(Transitions, DoNotComeWithTheFirstPicture)
{
    choose("Slide");

    view.setImage(before, true);
    clock.advance(0ms);

    EXPECT_FALSE(view.isBusy());
    EXPECT_EQ(clock.validTimers(), 0);
}

TEST_F(Transitions, EndWhenTheViewIsCleared)
{
    begin("Cross Fade");

    view.clearImage();

    EXPECT_FALSE(view.isBusy());
    EXPECT_TRUE(drawsAt(0.5).empty());
    clock.advance(100ms);
    EXPECT_EQ(clock.validTimers(), 0);
}

TEST_F(Transitions, LeaveTheAnchorsBehindThatTheNextOnesStartFrom)
{
    begin("Slide");
    clock.advance(2s);

    EXPECT_EQ(view.mPreviousLayer().anchorPoint(), QPointF(1, 0));
    EXPECT_EQ(view.mCurrentLayer().anchorPoint(), QPointF(0, 0));
}

TEST_F(Transitions, DrawAFrameForEachOfTheScreensFrames)
{
    begin("Cross Fade");
    ASSERT_EQ(clock.validTimers(), 1);

    clock.advance(990ms);
    EXPECT_EQ(clock.validTimers(), 1);
    clock.advance(50ms);
    EXPECT_EQ(clock.validTimers(), 0);
}

TEST_F(Transitions, OfAWhiteSlideIntoTheSameStayWhite)
{
    const QImage white = solid(0xffffffff, { 200, 100 });
    before = SVImage::imageWithImage(white);
    after = SVImage::imageWithImage(white.copy());
    for (const char* const title :
        { "Cross Fade", "Fast Cross Fade", "Mod", "Swipe", "Bar Swipe", "Slide" }) {
        begin(title);
        for (int i = 0; i < 40; ++i) {
            clock.advance(37ms);
            QImage image(view.size(), QImage::Format_RGB32);
            view.render(&image);
            for (const QPoint place : { QPoint(10, 10), QPoint(100, 50), QPoint(199, 99) })
                ASSERT_GE(qGreen(image.pixel(place)), 254) << title << " at " << i * 37;
        }
    }
}

TEST_F(Transitions, ThatMoveBecomeQuickFadesWhereMovementIsUnwelcome)
{
    bool isReduced = true;
    view.setReducesMotion([&] { return isReduced; });
    for (const char* const title : { "Flip", "Slide", "Rotate Left Right", "Rotate Left", "Shrink",
             "Expand", "Bar Swipe", "Swipe", "Mod", "All", "Test" }) {
        begin(title);
        const auto* const animation = view.mCurrentLayer().animationForKey("transition");
        ASSERT_TRUE(animation) << title;
        EXPECT_EQ(std::get<TransitionKind>(animation->change), TransitionKind::Fade) << title;
        EXPECT_EQ(animation->duration, 0.2) << title;
        EXPECT_EQ(defaults.stringValue(kTransition), QString::fromLatin1(title));
        clock.advance(3s);
    }

    begin("Cross Fade");
    EXPECT_EQ(view.mCurrentLayer().animationForKey("transition")->duration, 1) << "moves nothing";
    clock.advance(3s);

    isReduced = false;
    begin("Slide");
    EXPECT_TRUE(view.mCurrentLayer().animationForKey("transition2"));
}

TEST_F(Transitions, PushIsThereForWhoAsksForIt)
{
    begin("None");
    view.transitionPush_BuildInFrom(
        const_cast<Layer&>(view.mPreviousLayer()), const_cast<Layer&>(view.mCurrentLayer()));
    clock.advance(0ms);

    EXPECT_EQ(view.mCurrentLayer().animationForKey("transition")->duration, 1);
    EXPECT_EQ(view.mPreviousLayer().opacity(), 0);
    const std::vector<Layer*> inOrder { const_cast<Layer*>(&view.mPreviousLayer()),
        const_cast<Layer*>(&view.mCurrentLayer()), const_cast<Layer*>(&view.mCursorLayer()) };
    EXPECT_EQ(view.mBackgroundLayer().sublayers(), inOrder);
}

TEST_F(Transitions, DriftIsNone)
{
    begin("None");

    view.driftEffect();
    clock.advance(0ms);

    EXPECT_FALSE(view.isBusy());
    const Animation* const drift = view.mCurrentLayer().animationForKey("driftx");
    ASSERT_TRUE(drift);
    EXPECT_EQ(drift->duration, 30);
    EXPECT_EQ(std::get<ValueChange>(drift->change).from, 0);
    EXPECT_EQ(std::get<ValueChange>(drift->change).to, 60);
    began = clock.now();
    EXPECT_NEAR(t(15).rect.center().x(), 60 * easeOut(0.5), kTolerance);

    clock.advance(31s);
    EXPECT_FALSE(view.mCurrentLayer().animationForKey("driftx"));
    EXPECT_TRUE(isExactly(view.mCurrentLayer().frame(), afterRect)) << "back in its place";
}

TEST_F(Transitions, DriftGivesWayToAnother)
{
    begin("None");
    view.driftEffect();
    clock.advance(0ms);

    view.driftEffect();
    clock.advance(0ms);

    EXPECT_FALSE(view.isBusy());
    EXPECT_TRUE(view.mCurrentLayer().animationForKey("driftx"));
}

} // namespace
} // namespace quorvane
