// SPDX-License-Identifier: GPL-3.0-or-later
// A hand on the mouse: the large pointer, and a zoomed picture that is dragged.
#include "ShowTest.h"

namespace quorvane::show {

namespace {

using namespace std::chrono_literals;

constexpr unsigned kLeftButton = 1;
constexpr unsigned kWheelUp = 4;

/// From the pointer's tip to a place inside of it, at its full size and at the smallest.
constexpr QPoint kInside { 24, 40 };
constexpr QPoint kInsideWhenSmall { 6, 9 };

struct Pointer : ShowTest {
    [[nodiscard]] testing::AssertionResult becomes(QPoint where, bool isPointer)
    {
        const QString what
            = isPointer ? QStringLiteral("the pointer") : QStringLiteral("no pointer");
        return waitWhileRunning(
            what, [&] { return (desktop.colourAt(where) != kRed) == isPointer; });
    }
};

TEST_F(Pointer, FollowsTheHandAsLongAsTheButtonIsHeld)
{
    pictures.writeSolid("1.png", kRed, { 1280, 720 });
    startShow();
    ASSERT_TRUE(ready(kRed));
    const QPoint first(400, 200);
    const QPoint second(700, 300);
    desktop.moveMouse(first);
    ASSERT_TRUE(staysFor(300ms));
    ASSERT_EQ(desktop.colourAt(first + kInside), kRed);

    desktop.holdButton(kLeftButton, true);
    EXPECT_TRUE(becomes(first + kInside, true));

    desktop.moveMouse(second);
    EXPECT_TRUE(becomes(second + kInside, true));
    EXPECT_EQ(desktop.colourAt(first + kInside), kRed) << "nothing is left behind";
    EXPECT_EQ(desktop.colourAt(second - QPoint(3, 3)), kRed) << "the tip is at the mouse";

    desktop.holdButton(kLeftButton, false);
    EXPECT_TRUE(becomes(second + kInside, false));
    EXPECT_EQ(colourCount(), 1U);
}

TEST_F(Pointer, IsMadeSmallerByTheWheel)
{
    pictures.writeSolid("1.png", kRed, { 1280, 720 });
    startShow();
    ASSERT_TRUE(ready(kRed));
    const QPoint place(400, 200);
    desktop.moveMouse(place);
    for (int i = 0; i < 2; ++i) {
        desktop.holdButton(kWheelUp, true);
        desktop.holdButton(kWheelUp, false);
    }

    desktop.holdButton(kLeftButton, true);
    EXPECT_TRUE(becomes(place + kInsideWhenSmall, true));
    EXPECT_EQ(desktop.colourAt(place + kInside), kRed);
    desktop.holdButton(kLeftButton, false);
}

TEST_F(Pointer, WithCtrlDragsAZoomedPicture)
{
    QImage halves = solidPicture(kRed, { 1280, 720 });
    for (int y = 0; y < halves.height(); ++y)
        for (int x = halves.width() / 2; x < halves.width(); ++x)
            halves.setPixel(x, y, 0xff000000U | kGreen.rgb);
    pictures.write("1.png", encoded(halves, "png"));
    startShow();
    ASSERT_TRUE(ready(kRed));
    const QPoint left = middle() - QPoint(50, 0);
    ASSERT_EQ(desktop.colourAt(left), kRed);
    desktop.moveMouse(middle());
    desktop.key(XK_plus, { XK_Control_L });
    desktop.pause(1200ms);

    desktop.holdKey(XK_Control_L, true);
    desktop.holdButton(kLeftButton, true);
    desktop.moveMouse(middle() - QPoint(60, 20));
    desktop.moveMouse(middle() - QPoint(120, 40));
    EXPECT_TRUE(waitWhileRunning(QStringLiteral("the picture, moved to the left"),
        [&] { return desktop.colourAt(left) == kGreen; }));

    desktop.moveMouse(QPoint(0, 0));
    desktop.pause(200ms);
    EXPECT_EQ(desktop.colourAt({ 1279, 719 }), kGreen) << "it goes on covering the screen";
    EXPECT_EQ(desktop.colourAt({ 0, 0 }), kRed);
    desktop.holdButton(kLeftButton, false);
    desktop.holdKey(XK_Control_L, false);
}

TEST_F(Pointer, AtWorkHoldsTheNextSlideBack)
{
    pictures.writeSolid("1.png", kRed, { 1280, 720 });
    pictures.writeSolid("2.png", kGreen, { 1280, 720 });
    startShow({ { QStringLiteral("autoStart"), true }, { QStringLiteral("slideInterval"), 3.0 } });
    ASSERT_TRUE(ready(kRed));
    const QPoint corner(1270, 710);

    // Longer than the interval; each move begins it anew.
    for (int i = 0; i < 25; ++i) {
        desktop.moveMouse(QPoint(300 + i, 300));
        desktop.holdButton(kLeftButton, true);
        desktop.pause(100ms);
        desktop.holdButton(kLeftButton, false);
        desktop.pause(100ms);
        EXPECT_EQ(desktop.colourAt(corner), kRed);
    }
    EXPECT_TRUE(waitWhileRunning(QStringLiteral("the next slide, when the hand rests"),
        [&] { return desktop.colourAt(corner) == kGreen; }));
}

} // namespace

} // namespace quorvane::show
