// SPDX-License-Identifier: GPL-3.0-or-later
// What becoming the active program does.
#include "support/ControllerTest.h"

namespace quorvane {

namespace {

using namespace tests;

// Screens that have no hardware keep their size; so the window is given another memory of it.
template <QSize SlideWindow::*kField> struct CoveredSize {
    friend QSize& coveredSizeOf(SlideWindow& window) { return window.*kField; }
};
template struct CoveredSize<&SlideWindow::mCoveredSize>;
QSize& coveredSizeOf(SlideWindow& window);

using Activation = ControllerTest;

TEST_F(Activation, GreetsWhoHasNoShow)
{
    controller->applicationWillBecomeActive();

    EXPECT_TRUE(isWelcomeVisible());
}

TEST_F(Activation, DoesNotGreetWhoDoesNotWantIt)
{
    defaults.setValue(kShowWelcome, false);

    controller->applicationWillBecomeActive();
    settle();

    EXPECT_FALSE(isWelcomeVisible());
    EXPECT_EQ(nothingLeft, 0);
}

TEST_F(Activation, GreetsWhereTheSettingIsUnknown)
{
    UserDefaults empty;
    SlideController another(empty, clock, [this] { return screen.makeDisplay(); });

    another.applicationWillBecomeActive();

    EXPECT_TRUE(isWelcomeVisible());
}

TEST_F(Activation, ChangesNothingWhileFilesAreBeingCollected)
{
    HeldCollection held(controller);
    controller->openFiles(write({ "1.png" }));
    held.waitForFirstFile();

    controller->applicationWillBecomeActive();

    EXPECT_FALSE(isWelcomeVisible());
    EXPECT_TRUE(screen.asked.empty());
}

TEST_F(Activation, LeavesAShowAloneThatCoversItsScreen)
{
    show123();
    const auto* const window = controller->mScreenWindow();

    controller->applicationWillBecomeActive();

    EXPECT_EQ(controller->mScreenWindow(), window);
    EXPECT_TRUE(screen.asked.empty());
    EXPECT_FALSE(isWelcomeVisible());
}

TEST_F(Activation, MakesTheWindowAnewWhenTheScreenChanged)
{
    show123();
    controller->nextSlide();
    const QPointer<SlideWindow> before = controller->mScreenWindow();
    coveredSizeOf(*controller->mScreenWindow()) = { 640, 480 };
    screen.forget();

    controller->applicationWillBecomeActive();

    EXPECT_NE(controller->mScreenWindow(), before);
    EXPECT_TRUE(controller->mScreenWindow()->isVisible());
    EXPECT_EQ(screen.asked, Names({ "2.png>" }));
    EXPECT_EQ(screen.made, 2);
    settle();
    EXPECT_TRUE(before.isNull());
}

TEST_F(Activation, KeepsAShowPlayingWhoseWindowIsMadeAnew)
{
    play123(10);
    coveredSizeOf(*controller->mScreenWindow()) = { 640, 480 };

    controller->applicationWillBecomeActive();
    clock.advance(seconds(10));

    EXPECT_TRUE(controller->isPlaying());
    EXPECT_EQ(screen.asked, Names({ "1.png>", "2.png>" }));
}

TEST_F(Activation, BringsSlidesOnScreenThatHaveNoWindow)
{
    controller->mFileSequence().setDelegate(nullptr);
    controller->mFileSequence().addFiles(write({ "1.png" }));

    controller->applicationWillBecomeActive();

    EXPECT_EQ(screen.asked, Names({ "1.png>" }));
    ASSERT_NE(controller->mScreenWindow(), nullptr);
}

TEST_F(Activation, DoesNotBringBackAShowThatJustEnded)
{
    show123();
    controller->endSlideShow(); // The sequence is probably not empty yet.

    controller->applicationWillBecomeActive();

    EXPECT_EQ(controller->mScreenWindow(), nullptr);
    EXPECT_TRUE(screen.asked.empty());
}

TEST_F(Activation, DoesNotPutTheGreetingBeforeAnOpenPanel)
{
    controller->openMenu();

    controller->applicationWillBecomeActive();

    EXPECT_FALSE(isWelcomeVisible());
}

} // namespace

} // namespace quorvane
