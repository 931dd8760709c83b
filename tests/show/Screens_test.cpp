// SPDX-License-Identifier: GPL-3.0-or-later
// A desktop of two screens: a laptop and, to its right, a projector.
#include "ShowTest.h"

namespace quorvane::show {

namespace {

using namespace std::chrono_literals;

constexpr QRect kLaptop { 0, 0, 1280, 720 };
constexpr QRect kProjector { 1280, 0, 1024, 768 };

struct Screens : ShowTest {
    Screens()
        : ShowTest({ 2304, 768 })
    {
    }

    void SetUp() override
    {
        ShowTest::SetUp();
        if (IsSkipped() || HasFatalFailure())
            return;
        ASSERT_TRUE(desktop.plugIn("LAPTOP", kLaptop, true));
        ASSERT_TRUE(desktop.plugIn("PROJECTOR", kProjector));
        pictures.writeSolid("1.png", kRed, { 2304, 1536 });
        pictures.writeSolid("2.png", kGreen, { 2304, 1536 });
    }

    static QVariantMap filling()
    {
        return { { QStringLiteral("ImageFitMode"), QStringLiteral("FitModeStretch") } };
    }

    /// The show covers that screen and nothing else.
    [[nodiscard]] testing::AssertionResult covers(QRect screen, Pixel colour)
    {
        const QRect other = screen == kLaptop ? kProjector : kLaptop;
        const QString what = screen == kLaptop ? QStringLiteral("the show on the laptop alone")
                                               : QStringLiteral("the show on the projector alone");
        return waitWhileRunning(what, [&] {
            return desktop.colourAt(screen.center()) == colour
                && desktop.colourAt(screen.topLeft() + QPoint(2, 2)) == colour
                && desktop.colourAt(screen.bottomRight() - QPoint(2, 2)) == colour
                && desktop.colourAt(other.center()) == kDesktop
                && desktop.focusedProcess() == viewer->pid();
        });
    }

    /// Chooses the other screen by keys.
    void chooseTheOther()
    {
        const auto windows = desktop.windowsOf(viewer->pid()).size();
        desktop.key(XK_d, { XK_Control_L });
        ASSERT_TRUE(waitWhileRunning(QStringLiteral("the chooser"), [&] {
            return desktop.windowsOf(viewer->pid()).size() > windows
                && desktop.focusedProcess() == viewer->pid();
        }));
        desktop.pause(300ms); // Until the chooser has the keyboard.
        desktop.key(XK_Right);
        desktop.key(XK_Return);
    }
};

TEST_F(Screens, TheMainOneShowsTheFirstShow)
{
    startShow(filling());
    EXPECT_TRUE(covers(kLaptop, kRed));
}

TEST_F(Screens, TheOtherOneTakesTheShowOverAndIsRemembered)
{
    startShow(filling());
    ASSERT_TRUE(covers(kLaptop, kRed));
    desktop.key(XK_Right);
    ASSERT_TRUE(covers(kLaptop, kGreen));

    ASSERT_NO_FATAL_FAILURE(chooseTheOther());
    EXPECT_TRUE(covers(kProjector, kGreen)) << "the same slide";
    EXPECT_TRUE(stores("SVScreenRectFrameTHING", QStringLiteral("{{1280, 0}, {1024, 768}}")));
    EXPECT_TRUE(quits());

    viewer->start({ pictures.path() });
    EXPECT_TRUE(covers(kProjector, kRed));
}

TEST_F(Screens, OneThatIsUnpluggedHandsTheShowToTheOther)
{
    QVariantMap settings = filling();
    settings.insert(
        QStringLiteral("SVScreenRectFrameTHING"), QStringLiteral("{{1280, 0}, {1024, 768}}"));
    startShow(settings);
    ASSERT_TRUE(covers(kProjector, kRed));

    ASSERT_TRUE(desktop.unplug("PROJECTOR"));
    EXPECT_TRUE(waitWhileRunning(QStringLiteral("the show on the laptop"), [&] {
        return desktop.colourAt(kLaptop.center()) == kRed
            && desktop.colourAt(kLaptop.topLeft() + QPoint(2, 2)) == kRed
            && desktop.colourAt(kLaptop.bottomRight() - QPoint(2, 2)) == kRed;
    }));
    for (const QRect& window : desktop.windowsOf(viewer->pid()))
        EXPECT_TRUE(kLaptop.contains(window.center()));

    desktop.key(XK_Right);
    EXPECT_TRUE(waitWhileRunning(QStringLiteral("the next slide"),
        [&] { return desktop.colourAt(kLaptop.center()) == kGreen; }));

    ASSERT_TRUE(desktop.plugIn("PROJECTOR", kProjector));
    desktop.pause(500ms);
    EXPECT_EQ(desktop.colourAt(kLaptop.center()), kGreen) << "it does not jump about";
    EXPECT_TRUE(quits());
}

TEST_F(Screens, ThatComeAndGoTenTimesHarmNothing)
{
    startShow(filling());
    ASSERT_TRUE(covers(kLaptop, kRed));
    for (int i = 0; i < 10; ++i) {
        ASSERT_TRUE(desktop.unplug("PROJECTOR"));
        desktop.key(XK_Right);
        ASSERT_TRUE(desktop.plugIn("PROJECTOR", kProjector));
        desktop.key(XK_Left);
    }
    EXPECT_TRUE(waitWhileRunning(QStringLiteral("a slide"), [&] {
        const Pixel colour = desktop.colourAt(kLaptop.center());
        return colour == kRed || colour == kGreen;
    }));
    EXPECT_TRUE(quits());
}

TEST_F(Screens, WithADenserOneStillShowAllOfThePicture)
{
    viewer->setVariable("QT_SCREEN_SCALE_FACTORS", "LAPTOP=1;PROJECTOR=2");
    startShow(filling());
    ASSERT_TRUE(covers(kLaptop, kRed));
    ASSERT_NO_FATAL_FAILURE(chooseTheOther());
    EXPECT_TRUE(covers(kProjector, kRed));
}

// A window among others.

TEST_F(Screens, LeaveTheLowerLeftQuarterToAWindowAndAllToTheShowAgain)
{
    startShow(filling());
    ASSERT_TRUE(covers(kLaptop, kRed));

    desktop.key(XK_F11);
    EXPECT_TRUE(waitWhileRunning(QStringLiteral("a window in the lower left quarter"), [&] {
        return desktop.colourAt({ 320, 600 }) == kRed && desktop.colourAt({ 320, 300 }) == kDesktop
            && desktop.colourAt({ 700, 600 }) == kDesktop;
    }));
    desktop.pause(300ms);
    const auto windows = desktop.windowsOf(viewer->pid());
    ASSERT_EQ(windows.size(), 1U);
    EXPECT_TRUE(QRect(0, 360, 640, 360).contains(windows.front())) << "with its frame";

    desktop.key(XK_Right);
    EXPECT_TRUE(waitWhileRunning(QStringLiteral("the next slide in the window"), [&] {
        return desktop.colourAt({ 320, 600 }) == kGreen;
    }));

    desktop.key(XK_F11);
    EXPECT_TRUE(covers(kLaptop, kGreen));
}

TEST_F(Screens, HaveAMenuBarThatComesAtTheUpperEdge)
{
    startShow(filling());
    ASSERT_TRUE(covers(kLaptop, kRed));
    const QPoint inTheBar(1000, 8);
    const auto isBarThere = [&] { return desktop.colourAt(inTheBar) != kRed; };
    ASSERT_FALSE(isBarThere());

    desktop.moveMouse({ 1000, 0 });
    EXPECT_TRUE(waitWhileRunning(QStringLiteral("the menu bar"), isBarThere));

    desktop.moveMouse({ 1000, 400 });
    EXPECT_TRUE(waitWhileRunning(QStringLiteral("no menu bar"), [&] { return !isBarThere(); }));
}

TEST_F(Screens, HaveAMenuWhereTheRightButtonIsPressed)
{
    startShow(filling());
    ASSERT_TRUE(covers(kLaptop, kRed));
    desktop.moveMouse({ 600, 200 });
    desktop.holdButton(3, true);
    desktop.holdButton(3, false);
    EXPECT_TRUE(waitWhileRunning(
        QStringLiteral("the menu"), [&] { return desktop.windowsOf(viewer->pid()).size() == 2; }));

    desktop.key(XK_Escape);
    EXPECT_TRUE(waitWhileRunning(QStringLiteral("the menu is gone and the show is not"),
        [&] { return desktop.windowsOf(viewer->pid()).size() == 1; }));
    EXPECT_TRUE(covers(kLaptop, kRed));
}

} // namespace

} // namespace quorvane::show
