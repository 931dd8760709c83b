// SPDX-License-Identifier: GPL-3.0-or-later
// A show with the display that the program uses.
#include "support/ControllerTest.h"

namespace quorvane {

namespace {

using namespace tests;

using RealDisplay = ControllerTest;

/// The name of the picture on the screen; empty for none.
std::string shownBy(const SlideController& controller)
{
    const auto* const window = controller.mScreenWindow();
    const auto* const view = window ? window->findChild<SVLayerView*>() : nullptr;
    return view && view->mCurrentImage() ? nameOf(view->mCurrentImage()->mURL()) : std::string();
}

TEST_F(RealDisplay, ShowsOneSlideAfterTheOther)
{
    useRealDisplay();
    files.write("1.png", kRed);
    files.write("2.png", kGreen);
    show({});
    controller->openFiles({ path("1.png"), path("2.png") });
    settle();
    EXPECT_EQ(shownBy(*controller), "1.png");

    defaults.setValue(kSlideInterval, 3);
    controller->Start();
    clock.advance(seconds(3));
    settle();
    EXPECT_EQ(shownBy(*controller), "2.png");
    clock.advance(seconds(3));
    settle();
    EXPECT_EQ(shownBy(*controller), "1.png");
}

TEST_F(RealDisplay, PassesOverDamagedPicturesWhereverTheyAre)
{
    useRealDisplay();
    defaults.setValue(kEndMode, QString(kEndModeWait));
    std::vector<QByteArray> paths;
    for (const char* const name : { "1.png", "3.png", "4.png", "6.png" })
        paths.push_back(files.write(name, "no picture").path());
    paths.push_back(files.write("2.png", kRed).path());
    paths.push_back(files.write("5.png", kGreen).path());

    controller->openFiles(paths);
    settle();
    EXPECT_EQ(shownBy(*controller), "2.png");
    controller->nextSlide();
    settle();
    EXPECT_EQ(shownBy(*controller), "5.png");
    controller->nextSlide();
    settle();
    EXPECT_EQ(shownBy(*controller), "5.png");
    controller->previousSlide();
    settle();

    EXPECT_EQ(shownBy(*controller), "2.png");
    EXPECT_EQ(controller->mFileSequence().count(), 2U);
}

TEST_F(RealDisplay, EndsAShowOfDamagedPictures)
{
    useRealDisplay();
    defaults.setValue(kAutoStart, true);
    std::vector<QByteArray> paths;
    for (const char* const name : { "1.png", "2.jpg", "3.gif", "4.png", "5.png", "6.png" })
        paths.push_back(files.write(name, "no picture").path());

    controller->openFiles(paths);
    settle();

    EXPECT_EQ(controller->mScreenWindow(), nullptr);
    EXPECT_FALSE(controller->isPlaying());
    EXPECT_TRUE(isWelcomeVisible());
}

TEST_F(RealDisplay, GivesUpOnAFileThatDoesNotAnswer)
{
    useRealDisplay();
    files.write("1.png", kRed);
    files.write("2.png", kGreen);
    {
        const HeldCollection held(controller);
        const BusyPool pool;
        controller->openFiles({ path("1.png"), path("2.png") });
        held.waitForFirstFile();
        held.go();
        MainQueue::drain();
        ASSERT_NE(controller->mScreenWindow(), nullptr);

        clock.advance(seconds(25));
    }
    settle();

    EXPECT_EQ(shownBy(*controller), "2.png");
    EXPECT_EQ(controller->mFileSequence().mRemovedURLs(), std::vector({ url("1.png") }));
}

TEST_F(RealDisplay, ShowsASecondShowAfterTheFirst)
{
    useRealDisplay();
    files.write("1.png", kRed);
    files.write("2.png", kGreen);
    controller->openFiles({ path("1.png") });
    settle();

    controller->endSlideShow();
    controller->openFiles({ path("2.png") });
    settle();

    EXPECT_EQ(shownBy(*controller), "2.png");
}

} // namespace

} // namespace quorvane
