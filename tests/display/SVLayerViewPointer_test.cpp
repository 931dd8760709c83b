// SPDX-License-Identifier: GPL-3.0-or-later
#include "display/PointerState.h"
#include "display/SVLayerView.h"
#include "images/PointerImage.h"
#include "images/SVImage.h"
#include "platform/UserDefaults.h"
#include "settings/SettingsCatalogue.h"
#include "support/GeometryMatchers.h"
#include "support/ManualClock.h"
#include "support/PictureFiles.h"

#include <QApplication>
#include <QMouseEvent>
#include <QWheelEvent>

#include <gtest/gtest.h>

#include <optional>

namespace quorvane {
namespace {

using namespace tests;
using namespace std::chrono_literals;

struct CountingDelegate : SVImageDisplayDelegate {
    int delays = 0;
    void delayNextImage() override { ++delays; }
    void movieAppeared() override { }
    void imageWithURLFinished(const FileURL& /*url*/) override { }
};

std::shared_ptr<const PointerImage> greenSquare(int side)
{
    const QByteArray size = QByteArray::number(side);
    return std::make_shared<PointerImage>(QStringLiteral("Square"),
        "<svg xmlns='http://www.w3.org/2000/svg' width='" + size + "' height='" + size
            + "'><rect width='100%' height='100%' fill='#00c000'/></svg>");
}

/// How many times the system pointer is hidden, and by what.
bool systemPointerIsHidden()
{
    const QCursor* const cursor = QGuiApplication::overrideCursor();
    return cursor && cursor->shape() == Qt::BlankCursor;
}

struct Pointer : testing::Test {
    UserDefaults defaults;
    ManualClock clock;
    std::optional<SVLayerView> made { std::in_place, defaults, clock };
    SVLayerView& view = *made;
    CountingDelegate delegate;

    Pointer()
    {
        PointerState::instance() = {};
        defaults.setValue(kTransition, QStringLiteral("None"));
        defaults.setValue(kCursor, QStringLiteral("Square"));
        view.resize(500, 300);
        view.setDelegate(&delegate);
        view.setMCursorImage(greenSquare(64));
        view.setImage(SVImage::imageWithImage(solid(kRed, { 500, 300 })), true);
    }
    ~Pointer() override { made.reset(); }
    Pointer(const Pointer&) = delete;
    Pointer& operator=(const Pointer&) = delete;

    void send(QEvent::Type type, QPointF where, Qt::MouseButton button, Qt::MouseButtons buttons,
        Qt::KeyboardModifiers modifiers)
    {
        QMouseEvent event(type, where, view.mapToGlobal(where), button, buttons, modifiers);
        QApplication::sendEvent(&view, &event);
    }
    void press(QPointF where, Qt::KeyboardModifiers modifiers = {},
        Qt::MouseButton button = Qt::LeftButton)
    {
        send(QEvent::MouseButtonPress, where, button, button, modifiers);
    }
    void drag(QPointF where, Qt::KeyboardModifiers modifiers = {})
    {
        send(QEvent::MouseMove, where, Qt::NoButton, Qt::LeftButton, modifiers);
    }
    void release(QPointF where)
    {
        send(QEvent::MouseButtonRelease, where, Qt::LeftButton, Qt::NoButton, {});
    }
    void scroll(double deltaY)
    {
        QWheelEvent event({ 10, 10 }, view.mapToGlobal(QPointF(10, 10)), {},
            QPoint(0, static_cast<int>(deltaY * 120)), Qt::NoButton, {}, Qt::NoScrollPhase, false);
        QApplication::sendEvent(&view, &event);
    }
    void leave()
    {
        QEvent event(QEvent::Leave);
        QApplication::sendEvent(&view, &event);
    }
    void zoomIn()
    {
        view.zoomIn();
        clock.advance(2s);
    }

    const Layer& overlay() const { return view.mCursorLayer(); }
    QImage screen()
    {
        QImage image(view.size(), QImage::Format_RGB32);
        view.render(&image);
        return image;
    }
};

TEST_F(Pointer, IsNotSeenBeforeAPress)
{
    EXPECT_EQ(overlay().zPosition(), 2);
    EXPECT_FALSE(systemPointerIsHidden());
    EXPECT_EQ(screen(), solid(kRed, { 500, 300 }).convertToFormat(QImage::Format_RGB32));
}

TEST_F(Pointer, AppearsWithItsUpperLeftCornerWhereThePressIs)
{
    press({ 100, 80 });

    EXPECT_EQ(overlay().opacity(), 1);
    EXPECT_EQ(overlay().anchorPoint(), QPointF(0, 0));
    EXPECT_EQ(overlay().frame(), QRectF(100, 300 - 80 - 64, 64, 64));
    EXPECT_TRUE(systemPointerIsHidden());
    const QImage image = screen();
    EXPECT_EQ(image.pixel(100, 80), kGreen);
    EXPECT_EQ(image.pixel(163, 143), kGreen);
    EXPECT_EQ(image.pixel(99, 80), kRed);
    EXPECT_EQ(image.pixel(100, 79), kRed);
    EXPECT_EQ(image.pixel(164, 143), kRed);
}

TEST_F(Pointer, FollowsTheHandAndGoesWithTheRelease)
{
    press({ 100, 80 });
    drag({ 200, 120 });

    EXPECT_EQ(overlay().frame(), QRectF(200, 300 - 120 - 64, 64, 64));
    EXPECT_EQ(screen().pixel(100, 80), kRed);

    release({ 200, 120 });
    EXPECT_EQ(overlay().opacity(), 0);
    EXPECT_FALSE(systemPointerIsHidden());
    EXPECT_EQ(screen().pixel(210, 130), kRed);
}

TEST_F(Pointer, IsDrawnInFrontOfAPictureThatATransitionLifts)
{
    defaults.setValue(kTransition, QStringLiteral("Flip"));
    view.setImage(SVImage::imageWithImage(solid(kBlue, { 500, 300 })), true);
    clock.advance(100ms);
    ASSERT_GT(view.mPreviousLayer().zPosition(), overlay().zPosition());

    press({ 100, 80 });
    EXPECT_EQ(screen().pixel(110, 90), kGreen);
}

TEST_F(Pointer, ShowsThePictureThatTheSettingNames)
{
    defaults.setValue(kCursor, QStringLiteral("Arrow"));
    press({ 10, 10 });

    ASSERT_TRUE(view.mCursorImage());
    EXPECT_EQ(view.mCursorImage()->name(), QStringLiteral("Arrow"));
}

TEST_F(Pointer, KeepsAPictureWhoseNameIsUnchanged)
{
    const auto before = view.mCursorImage();
    view.updateCursor();
    EXPECT_EQ(view.mCursorImage(), before);
}

TEST_F(Pointer, OfAnUnknownNameIsEmptyAndTheSystemPointerHiddenAllTheSame)
{
    press({ 100, 80 });
    release({ 100, 80 });
    defaults.setValue(kCursor, QStringLiteral("No Such Pointer"));
    press({ 100, 80 });

    EXPECT_FALSE(view.mCursorImage());
    EXPECT_TRUE(view.cursorRect().isEmpty());
    EXPECT_TRUE(systemPointerIsHidden());
    EXPECT_EQ(screen().pixel(110, 90), kRed);
}

TEST_F(Pointer, SizeIsCutToWholePoints)
{
    scroll(0.6);
    EXPECT_EQ(view.cursorRect(), QRectF(0, 0, 44, 44));
}

TEST_F(Pointer, SizeFollowsTheWheelWithinLimits)
{
    scroll(1);
    EXPECT_EQ(view.cursorRect().size(), QSizeF(32, 32));
    scroll(1);
    EXPECT_EQ(view.cursorRect().size(), QSizeF(12, 12)) << "a fifth, not nothing";
    scroll(-5);
    EXPECT_EQ(view.cursorRect().size(), QSizeF(64, 64));
}

TEST_F(Pointer, KeepsItsLowerLeftCornerWhenTheWheelTurnsUntilTheNextMove)
{
    press({ 100, 80 });
    scroll(1);
    EXPECT_EQ(overlay().frame(), QRectF(100, 300 - 80 - 64, 32, 32));

    drag({ 100, 80 });
    EXPECT_EQ(overlay().frame(), QRectF(100, 300 - 80 - 32, 32, 32));
}

TEST_F(Pointer, WheelZoomsNoPictureAndHoldsNoSlideBack)
{
    const QRectF before = view.mCurrentLayer().frame();
    scroll(1);
    EXPECT_EQ(view.mCurrentLayer().frame(), before);
    EXPECT_EQ(delegate.delays, 0);
}

TEST_F(Pointer, HoldsTheSlideBackAtOnceAndAgainFromTheSecondSecondOn)
{
    press({ 10, 10 });
    EXPECT_EQ(delegate.delays, 1);

    clock.advance(1s);
    drag({ 20, 10 });
    EXPECT_EQ(delegate.delays, 1) << "not within the first second";

    clock.advance(1ms);
    drag({ 30, 10 });
    drag({ 40, 10 });
    press({ 40, 10 });
    EXPECT_EQ(delegate.delays, 4) << "each time from then on";
}

TEST_F(Pointer, HoldsTheSlideBackForAllViewsTogether)
{
    press({ 10, 10 });
    SVLayerView other(defaults, clock);
    other.setDelegate(&delegate);
    other.delaySlideShow();
    EXPECT_EQ(delegate.delays, 1);
}

TEST_F(Pointer, OtherButtonsAndAMouseThatOnlyMovesDoNothing)
{
    press({ 10, 10 }, {}, Qt::RightButton);
    press({ 10, 10 }, {}, Qt::MiddleButton);
    send(QEvent::MouseMove, { 20, 20 }, Qt::NoButton, Qt::NoButton, {});

    EXPECT_EQ(delegate.delays, 0);
    EXPECT_EQ(overlay().opacity(), 0);
    EXPECT_FALSE(systemPointerIsHidden());
}

TEST_F(Pointer, IsHiddenAndShownInBalanceOverAThousandPresses)
{
    for (int i = 0; i < 1000; ++i) {
        press({ 10, 10 });
        press({ 10, 10 });
        drag({ 20, 20 });
        EXPECT_TRUE(systemPointerIsHidden());
        if (i % 3 == 0)
            leave();
        release({ 20, 20 });
        release({ 20, 20 });
        EXPECT_FALSE(QGuiApplication::overrideCursor()) << "after press " << i;
    }
}

TEST_F(Pointer, GoesWhenTheMouseLeavesTheView)
{
    press({ 10, 10 });
    leave();

    EXPECT_EQ(overlay().opacity(), 0);
    EXPECT_FALSE(systemPointerIsHidden());
}

TEST_F(Pointer, DraggedOutOfTheViewGivesTheSystemPointerBack)
{
    press({ 10, 10 });
    drag({ -5, 10 });
    EXPECT_FALSE(systemPointerIsHidden());
    EXPECT_EQ(overlay().opacity(), 0);

    drag({ 10, 10 });
    EXPECT_FALSE(systemPointerIsHidden()) << "there would be no pointer at all";
    release({ 10, 10 });
    EXPECT_FALSE(QGuiApplication::overrideCursor());
}

TEST_F(Pointer, StaysWithTheHandWhenTheScreenChangesItsSize)
{
    press({ 100, 80 });
    view.resize(500, 200);
    screen(); // Hears of it when it is drawn.

    EXPECT_EQ(overlay().frame(), QRectF(100, 200 - 80 - 64, 64, 64));
    EXPECT_EQ(screen().pixel(100, 80), kGreen);
}

TEST_F(Pointer, GoesWhenTheWindowIsNoLongerTheActiveOne)
{
    press({ 10, 10 });
    QEvent event(QEvent::ActivationChange);
    QApplication::sendEvent(&view, &event);

    EXPECT_EQ(overlay().opacity(), 0);
    EXPECT_FALSE(systemPointerIsHidden());
}

TEST_F(Pointer, ComesBackWhenTheViewGoesAway)
{
    press({ 10, 10 });
    made.reset();
    EXPECT_FALSE(QGuiApplication::overrideCursor());
}

TEST_F(Pointer, WithCtrlOnAPictureThatIsNotZoomedIsThePlainOne)
{
    press({ 100, 80 }, Qt::ControlModifier);
    EXPECT_EQ(overlay().opacity(), 1);
    EXPECT_TRUE(systemPointerIsHidden());

    drag({ 120, 80 }, Qt::ControlModifier);
    EXPECT_EQ(overlay().frame().x(), 120);
}

TEST_F(Pointer, WithCtrlOnAZoomedPictureIsAHandThatMovesIt)
{
    zoomIn();
    const QPointF before = view.mCurrentLayer().position();
    press({ 100, 80 }, Qt::ControlModifier);

    EXPECT_EQ(view.cursor().shape(), Qt::ClosedHandCursor);
    EXPECT_EQ(overlay().opacity(), 0);
    EXPECT_FALSE(systemPointerIsHidden());

    drag({ 90, 60 }, Qt::ControlModifier);
    drag({ 91, 70 }, Qt::ControlModifier);
    EXPECT_EQ(view.mCurrentLayer().position(), before + QPointF(-9, 10)) << "y counts upwards";
    EXPECT_EQ(delegate.delays, 1);

    release({ 91, 70 });
    EXPECT_NE(view.cursor().shape(), Qt::ClosedHandCursor);
}

TEST_F(Pointer, WithCtrlPressedOnTheWayTurnsIntoTheHand)
{
    zoomIn();
    press({ 100, 80 });
    ASSERT_TRUE(systemPointerIsHidden());

    drag({ 90, 80 }, Qt::ControlModifier);
    EXPECT_FALSE(systemPointerIsHidden());
    EXPECT_EQ(view.cursor().shape(), Qt::ClosedHandCursor);

    drag({ 80, 80 });
    EXPECT_TRUE(systemPointerIsHidden());
    EXPECT_EQ(overlay().frame().x(), 80);
}

TEST_F(Pointer, OnAZoomedPictureWithoutCtrlMovesNothing)
{
    zoomIn();
    const QPointF before = view.mCurrentLayer().position();
    press({ 100, 80 });
    drag({ 90, 60 });
    EXPECT_EQ(view.mCurrentLayer().position(), before);
    EXPECT_EQ(overlay().opacity(), 1);
}

} // namespace
} // namespace quorvane
