// SPDX-License-Identifier: GPL-3.0-or-later
// What the sequence tells its controller.
#include "support/ControllerTest.h"

#include <thread>

namespace quorvane {

namespace {

using namespace tests;

using Callbacks = ControllerTest;

TEST_F(Callbacks, OfAFirstFileActOnTheMainThread)
{
    controller->mFileSequence().setDelegate(nullptr);
    controller->mFileSequence().addFiles(write({ "1.png" }));

    std::thread([this] { controller->firstFileFound(); }).join();
    EXPECT_TRUE(screen.asked.empty());

    MainQueue::drain();
    EXPECT_EQ(screen.asked, Names({ "1.png>" }));
    controller->mFileSequence().setDelegate(controller.get());
}

TEST_F(Callbacks, OfAFirstFileThatIsGoneAgainDoNothing)
{
    controller->firstFileFound();
    MainQueue::drain();

    EXPECT_EQ(controller->mScreenWindow(), nullptr);
    EXPECT_TRUE(screen.asked.empty());
}

TEST_F(Callbacks, OfAFirstFileThatIsDamagedStartNoTimer)
{
    defaults.setValue(kAutoStart, true);
    screen.damaged = { "1.png" };
    controller->mFileSequence().setDelegate(nullptr);
    controller->mFileSequence().addFiles(write({ "1.png" }));

    controller->firstFileFound();
    settle();

    EXPECT_EQ(controller->mScreenWindow(), nullptr);
    EXPECT_FALSE(controller->isPlaying());
}

TEST_F(Callbacks, OfNewFilesLeaveAShowAloneThatPlays)
{
    defaults.setValue(kShowNewItemsASAP, true);
    play123(10);

    controller->newFilesFound();
    settle();

    EXPECT_TRUE(screen.asked.empty());
}

TEST_F(Callbacks, OfNewFilesLeaveAShowAloneThatIsStopped)
{
    defaults.setValue(kShowNewItemsASAP, false);
    show123();

    controller->newFilesFound();
    settle();

    EXPECT_TRUE(screen.asked.empty());
}

TEST_F(Callbacks, OfNewFilesStepOnAtOnceWhereThePersonWantsIt)
{
    defaults.setValue(kShowNewItemsASAP, true);
    show123();

    std::thread([this] { controller->newFilesFound(); }).join();
    EXPECT_TRUE(screen.asked.empty());
    settle();

    EXPECT_EQ(screen.asked, Names({ "2.png>", "2.png>" }));
}

TEST_F(Callbacks, OfNewFilesStepOnWhenNothingIsShown)
{
    defaults.setValue(kShowNewItemsASAP, false);
    defaults.setValue(kEndMode, QString(kEndModeWait));
    screen.damaged = { "2.png" };
    play123(10);
    controller->mFileSequence().remove(url("3.png"));
    controller->nextSlide();
    ASSERT_FALSE(controller->mImageURL());
    controller->mFileSequence().addFile(write({ "4.png" }).front());

    controller->newFilesFound();
    settle();

    EXPECT_EQ(screen.asked, Names({ "2.png>", "4.png>", "4.png>" }));
    EXPECT_TRUE(controller->isPlaying());
}

TEST_F(Callbacks, OfAChangedFileShowItAgainAtOnce)
{
    show123();

    controller->currentFileChanged();

    EXPECT_EQ(screen.asked, Names({ "1.png>" }));
}

TEST_F(Callbacks, OfAChangedFileFromAnotherThreadReachTheMainThread)
{
    show123();

    std::thread([this] { controller->currentFileChanged(); }).join();
    EXPECT_TRUE(screen.asked.empty());
    settle();

    EXPECT_EQ(screen.asked, Names({ "1.png>" }));
}

TEST_F(Callbacks, OfAChangedFileAreDroppedDuringATransition)
{
    show123();
    screen.isBusy = true;

    controller->currentFileChanged();

    EXPECT_TRUE(screen.asked.empty());
}

} // namespace

} // namespace quorvane
