// SPDX-License-Identifier: GPL-3.0-or-later
// How a show ends.
#include "support/ControllerTest.h"

namespace quorvane {

namespace {

using namespace tests;

using End = ControllerTest;

TEST_F(End, StopsClearsAndTakesTheWindowAwayInThisOrder)
{
    play123(10);
    auto* const window = controller->mScreenWindow();
    playing.clear();
    Names order;
    QObject::connect(controller.get(), &SlideController::playingChanged,
        [&](bool isPlaying) { order.emplace_back(isPlaying ? "plays" : "stops"); });
    screen.onClear = [&] { order.emplace_back(window->isVisible() ? "clears" : "clears late"); };
    screen.onDelegateGone = [&] { order.emplace_back("lets go"); };

    controller->endSlideShow();

    EXPECT_EQ(order, Names({ "stops", "clears", "lets go" }));
    EXPECT_FALSE(window->isVisible());
    EXPECT_EQ(controller->mScreenWindow(), nullptr);
    EXPECT_FALSE(controller->mImageURL());
    EXPECT_EQ(clock.validTimers(), 0);
    screen.onClear = nullptr;
    screen.onDelegateGone = nullptr;
}

TEST_F(End, EmptiesTheSequenceOnItsQueue)
{
    show123();

    controller->endSlideShow();
    settle();

    EXPECT_EQ(controller->mFileSequence().count(), 0U);
    EXPECT_EQ(controller->mFileSequence().currentIndex(), 0U);
}

TEST_F(End, ForgetsTheDecodedPictures)
{
    show123();
    SVImageCache::imageWithURL(files.write("4.png", kRed));
    ASSERT_FALSE(SVImageCache::instance().images().empty());

    controller->endSlideShow();

    EXPECT_TRUE(SVImageCache::instance().images().empty());
}

TEST_F(End, TakesWindowAndDisplayAlong)
{
    show123();
    const QPointer<SlideWindow> window = controller->mScreenWindow();

    controller->endSlideShow();
    settle();

    EXPECT_TRUE(window.isNull());
    EXPECT_EQ(screen.display, nullptr);
}

TEST_F(End, WithoutAShowDoesNoHarm)
{
    controller->endSlideShow();
    controller->endSlideShow();
    settle();

    EXPECT_EQ(screen.clears, 0);
    EXPECT_TRUE(isWelcomeVisible());
}

TEST_F(End, BeforeTheFirstSlideLeavesTheControlsToWhoWantsNoGreeting)
{
    defaults.setValue(kShowWelcome, false);
    HeldCollection held(controller);
    controller->openFiles(write({ "1.png" }));
    held.waitForFirstFile();

    controller->endSlideShow();
    held.go();
    settle();

    EXPECT_TRUE(isPanelVisible());
    EXPECT_EQ(nothingLeft, 0);
}

TEST_F(End, DoesNotSwallowTheOpeningThatFollows)
{
    show123();
    files.write("4.png", QByteArray());

    controller->endSlideShow();
    controller->openFiles({ path("4.png") });
    settle();

    EXPECT_EQ(screen.shown, "4.png");
    EXPECT_EQ(controller->mFileSequence().count(), 1U);
    EXPECT_FALSE(isWelcomeVisible());
    EXPECT_EQ(screen.made, 2);
}

TEST_F(End, DoesNotSwallowWhatFollowsAnOpeningThatIsStillCollecting)
{
    HeldCollection held(controller);
    controller->openFiles(write({ "1.png", "2.png" }));
    held.waitForFirstFile();
    MainQueue::drain();

    controller->endSlideShow();
    controller->openFiles(write({ "3.png" }));
    held.go();
    settle();

    EXPECT_EQ(screen.asked, Names({ "1.png>", "3.png>", "3.png<" }));
    EXPECT_EQ(controller->mFileSequence().count(), 1U);
}

TEST_F(End, EndsACollectionThatIsUnderWay)
{
    HeldCollection held(controller);
    controller->openFiles(write({ "1.png", "2.png", "3.png" }));
    held.waitForFirstFile();

    controller->endSlideShow();
    // Whatever is found now would be a first file again.
    controller->mFileSequence().remove(url("1.png"));
    held.go();
    settle();

    EXPECT_EQ(held.found(), 1);
    EXPECT_TRUE(isWelcomeVisible());
}

TEST_F(End, EndsACollectionThatWaitsForAnother)
{
    HeldCollection held(controller);
    controller->openFiles(write({ "1.png" }));
    held.waitForFirstFile();
    controller->openFiles(write({ "2.png" }));

    controller->endSlideShow();
    controller->mFileSequence().remove(url("1.png"));
    held.go();
    settle();

    EXPECT_EQ(held.found(), 1);
}

TEST_F(End, OfAShowThatHasNotBegunAfterOneThatIsStillCollectingEndsBoth)
{
    HeldCollection held(controller);
    controller->openFiles(write({ "1.png" }));
    held.waitForFirstFile();
    controller->endSlideShow();
    controller->openFiles(write({ "2.png" }));

    controller->endSlideShow();
    held.go();
    settle();

    EXPECT_EQ(held.found(), 1);
    EXPECT_EQ(controller->mScreenWindow(), nullptr);
    EXPECT_TRUE(isWelcomeVisible());
}

TEST_F(End, IsNotUndoneByAFirstFileThatWasFoundBefore)
{
    HeldCollection held(controller);
    controller->openFiles(write({ "1.png" }));
    held.waitForFirstFile(); // The controller's part still waits for the main thread.

    controller->endSlideShow();
    MainQueue::drain();

    EXPECT_EQ(controller->mScreenWindow(), nullptr);
    EXPECT_TRUE(screen.asked.empty());
    EXPECT_FALSE(isWelcomeVisible());
    held.go();
    settle();
    EXPECT_EQ(controller->mScreenWindow(), nullptr);
    EXPECT_TRUE(isWelcomeVisible());
}

TEST_F(End, IsNotUndoneByACollectionThatWasDoneBefore)
{
    controller->openFiles(write({ "1.png", "2.png" }));
    controller->waitUntilIdle(std::chrono::minutes(1));

    controller->endSlideShow(); // The sequence is probably not empty yet.
    MainQueue::drain();
    settle();

    EXPECT_EQ(controller->mScreenWindow(), nullptr);
    EXPECT_TRUE(screen.asked.empty());
    EXPECT_TRUE(isWelcomeVisible());
}

TEST_F(End, IsNotUndoneByNewFilesThatWereFoundBefore)
{
    show123();
    controller->newFilesFound();

    controller->endSlideShow(); // The sequence is probably not empty yet.
    MainQueue::drain();
    settle();

    EXPECT_EQ(controller->mScreenWindow(), nullptr);
    EXPECT_TRUE(screen.asked.empty());
}

TEST_F(End, LetsGoOfADisplayThatIsStillLoading)
{
    screen.answers = FakeScreen::Answers::WhenTold;
    show123();
    FakeDisplay* const display = screen.display;
    ASSERT_TRUE(display->isWaiting());

    controller->endSlideShow();
    EXPECT_FALSE(display->isWaiting());
    display->setImageWithURL(url("1.png"), true);
    display->answer(); // Nobody hears it.

    EXPECT_FALSE(controller->mImageURL());
    settle();
}

} // namespace

} // namespace quorvane
