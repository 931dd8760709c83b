// SPDX-License-Identifier: GPL-3.0-or-later
// One slide becomes the next as the setting says, and nothing flashes on the way.
#include "ShowTest.h"

namespace quorvane::show {

namespace {

using namespace std::chrono_literals;

/// Larger than the screen, so that they fill it.
constexpr QSize kLarge { 1280, 720 };

struct Transition : ShowTest {
    void start(const char* transition, Pixel first, Pixel second)
    {
        pictures.writeSolid("1.png", first, kLarge);
        pictures.writeSolid("2.png", second, kLarge);
        startShow({ { QStringLiteral("transition"), QString::fromLatin1(transition) } });
    }
};

int redOf(Pixel pixel) { return static_cast<int>(pixel.rgb >> 16U & 0xFFU); }
int greenOf(Pixel pixel) { return static_cast<int>(pixel.rgb >> 8U & 0xFFU); }

TEST_F(Transition, ThatFadesPassesFromTheOneColourToTheOther)
{
    start("Cross Fade", kRed, kGreen);
    ASSERT_TRUE(ready(kRed));

    desktop.startRecording(middle());
    ASSERT_TRUE(leadsTo(XK_Right, kGreen));
    const auto changes = desktop.takeRecording();

    EXPECT_GE(changes.size(), 8U) << "that was a cut";
    for (size_t i = 1; i < changes.size(); ++i) {
        EXPECT_LE(redOf(changes[i].colour), redOf(changes[i - 1].colour));
        EXPECT_GE(greenOf(changes[i].colour), greenOf(changes[i - 1].colour));
    }
}

struct NamedTransition : Transition, testing::WithParamInterface<const char*> { };

TEST_P(NamedTransition, EndsWithTheNextSlide)
{
    start(GetParam(), kRed, kGreen);
    ASSERT_TRUE(ready(kRed));

    ASSERT_TRUE(leadsTo(XK_Right, kGreen));
    desktop.pause(1000ms);
    EXPECT_EQ(desktop.colourAt(middle()), kGreen);
}

INSTANTIATE_TEST_SUITE_P(Each, NamedTransition,
    testing::Values("Cross Fade", "Fast Cross Fade", "Flip", "Slide", "Rotate Left Right",
        "Rotate Left", "Shrink", "Expand", "Bar Swipe", "Swipe", "Mod", "All"));

struct WhiteTransition : NamedTransition { };

TEST_P(WhiteTransition, BetweenWhiteSlidesStaysWhite)
{
    const Pixel white { 0xffffff };
    start(GetParam(), white, white);
    ASSERT_TRUE(ready(white));

    desktop.startRecording(middle());
    desktop.key(XK_Right);
    desktop.pause(1300ms);

    for (const auto& change : desktop.takeRecording())
        EXPECT_GE(greenOf(change.colour), 0xfd);
}

INSTANTIATE_TEST_SUITE_P(Each, WhiteTransition,
    testing::Values("Cross Fade", "Fast Cross Fade", "Mod", "Swipe", "Bar Swipe"));

TEST_F(Transition, IsOverBeforeTheNextStep)
{
    start("Cross Fade", kRed, kGreen);
    pictures.writeSolid("3.png", kBlue, kLarge);
    ASSERT_TRUE(ready(kRed));

    desktop.key(XK_Right);
    desktop.pause(300ms);
    desktop.key(XK_Right); // Ignored: the first one is still coming.

    EXPECT_TRUE(shows(kGreen));
    EXPECT_TRUE(staysFor(1200ms));
}

struct Zooming : ShowTest { };

TEST_F(Zooming, InAndOffAgainEndsWhereItBegan)
{
    pictures.writeSolid("1.png", kRed, { 640, 360 });
    startShow();
    ASSERT_TRUE(ready(kRed));
    const QPoint beside(middle().x() - 400, middle().y());
    ASSERT_EQ(desktop.colourAt(beside), kBlack);

    desktop.key(XK_plus, { XK_Control_L });
    EXPECT_TRUE(waitWhileRunning(
        QStringLiteral("the zoomed picture"), [&] { return desktop.colourAt(beside) == kRed; }));

    desktop.pause(1200ms);
    desktop.key(XK_0, { XK_Control_L });
    EXPECT_TRUE(waitWhileRunning(QStringLiteral("the picture in its size"),
        [&] { return desktop.colourAt(beside) == kBlack; }));
    EXPECT_EQ(desktop.colourAt(middle()), kRed);
}

} // namespace

} // namespace quorvane::show
