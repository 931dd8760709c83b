// SPDX-License-Identifier: GPL-3.0-or-later
// How a show begins.
#include "support/ControllerTest.h"

namespace quorvane {

namespace {

using namespace tests;

using Start = ControllerTest;
using Opening = ControllerTest;

TEST_F(Start, RegistersTheDefaultSettings)
{
    UserDefaults fresh;
    SlideController another(fresh, clock, [this] { return screen.makeDisplay(); });
    EXPECT_FALSE(fresh.hasValue(kSlideInterval));

    another.awakeFromNib();

    EXPECT_EQ(fresh.floatValue(kSlideInterval), 5.0);
    EXPECT_EQ(fresh.stringValue(kSort), kSortName);
}

TEST_F(Start, ShowsNothingAndPlaysNothing)
{
    EXPECT_FALSE(controller->isPlaying());
    EXPECT_FALSE(controller->mImageURL());
    EXPECT_EQ(controller->mScreenWindow(), nullptr);
    EXPECT_FALSE(controller->mHintsScreenShown());
    EXPECT_EQ(controller->mFileSequence().count(), 0U);
    EXPECT_EQ(screen.made, 0);
    EXPECT_EQ(clock.validTimers(), 0);
}

TEST_F(Start, WithoutFilesGreets)
{
    controller->applicationDidFinishLaunching();
    settle();

    EXPECT_TRUE(isWelcomeVisible());
    EXPECT_EQ(nothingLeft, 0);
}

TEST_F(Start, WithoutFilesAndWithoutGreetingShowsTheControls)
{
    defaults.setValue(kShowWelcome, false);

    controller->applicationDidFinishLaunching();
    settle();

    EXPECT_FALSE(isWelcomeVisible());
    EXPECT_TRUE(isPanelVisible());
    EXPECT_EQ(nothingLeft, 0);
}

TEST_F(Start, GreetsWhereTheSettingIsUnknown)
{
    UserDefaults empty;
    SlideController another(empty, clock, [this] { return screen.makeDisplay(); });

    another.applicationDidFinishLaunching();

    EXPECT_TRUE(isWelcomeVisible());
}

TEST_F(Start, DoesNotGreetWhileFilesAreBeingCollected)
{
    controller->openFiles(write({ "1.png" }));
    controller->applicationDidFinishLaunching();
    EXPECT_FALSE(isWelcomeVisible());

    settle();

    EXPECT_FALSE(isWelcomeVisible());
    EXPECT_EQ(nothingLeft, 0);
    EXPECT_EQ(screen.shown, "1.png");
}

TEST_F(Start, GreetsOnceItIsClearThatNoFileCanBeShown)
{
    controller->openFiles(write({ "1.txt" }));
    controller->applicationDidFinishLaunching();
    EXPECT_FALSE(isWelcomeVisible());

    settle();

    EXPECT_TRUE(isWelcomeVisible());
    EXPECT_EQ(controller->mScreenWindow(), nullptr);
}

TEST_F(Start, WithFilesThatCannotBeShownAndWithoutGreetingShowsTheControls)
{
    defaults.setValue(kShowWelcome, false);

    controller->openFiles({ path("missing.png") });
    controller->applicationDidFinishLaunching();
    settle();

    EXPECT_TRUE(isPanelVisible());
    EXPECT_EQ(nothingLeft, 0);
}

// Opening.

TEST_F(Opening, ShowsTheFirstSlideAsSoonAsItIsFoundAndAgainWhenAllAre)
{
    controller->openFiles(write({ "2.png", "1.png", "3.png" }));
    settle();

    EXPECT_EQ(screen.asked, Names({ "1.png>", "1.png<" }));
    EXPECT_EQ(current(), "1.png");
    ASSERT_NE(controller->mScreenWindow(), nullptr);
    EXPECT_TRUE(controller->mScreenWindow()->isVisible());
    EXPECT_EQ(screen.made, 1);
    EXPECT_FALSE(controller->isPlaying());
}

TEST_F(Opening, ShowsTheFirstFileBeforeTheOthersAreFound)
{
    HeldCollection held(controller);

    controller->openFiles(write({ "2.png", "1.png" }));
    held.waitForFirstFile();
    MainQueue::drain();

    EXPECT_EQ(screen.asked, Names({ "2.png>" }));
    held.go();
    settle();
    EXPECT_EQ(screen.asked, Names({ "2.png>", "1.png<" }));
}

TEST_F(Opening, SortsWhatWasNamed)
{
    show({ "b.png", "c.png", "a.png" });

    EXPECT_EQ(nameOf(*controller->mFileSequence().URLAtIndex(0)), "a.png");
    EXPECT_EQ(nameOf(*controller->mFileSequence().URLAtIndex(1)), "b.png");
    EXPECT_EQ(nameOf(*controller->mFileSequence().URLAtIndex(2)), "c.png");
}

TEST_F(Opening, LeavesOutWhatAccompaniesAPhotograph)
{
    show({ "1.jpg", "1.png", "2.png" });

    EXPECT_EQ(controller->mFileSequence().count(), 2U);
    EXPECT_EQ(controller->mFileSequence().mRemovedURLs(), std::vector({ url("1.png") }));
}

TEST_F(Opening, TakesAFolderWithAllThatIsInIt)
{
    write({ "1.png", "2.png" });
    const QByteArray folder = path("").chopped(1);

    controller->openFiles({ folder });
    settle();

    EXPECT_EQ(controller->mFileSequence().count(), 2U);
    EXPECT_EQ(screen.shown, "1.png");
}

TEST_F(Opening, AddsToTheShowThatIsThereAndGoesToItsFirstSlide)
{
    show({ "2.png", "3.png" });
    controller->nextSlide();

    controller->openFiles(write({ "1.png" }));
    settle();

    EXPECT_EQ(controller->mFileSequence().count(), 3U);
    EXPECT_EQ(screen.shown, "1.png");
    EXPECT_EQ(screen.asked, Names({ "3.png>", "1.png<" }));
    EXPECT_EQ(screen.made, 1);
}

TEST_F(Opening, OfNothingThatCanBeShownKeepsTheShowThatIsThere)
{
    show123();

    controller->openFiles({ path("missing.png") });
    settle();

    EXPECT_EQ(controller->mFileSequence().count(), 3U);
    EXPECT_EQ(screen.shown, "1.png");
    EXPECT_NE(controller->mScreenWindow(), nullptr);
    EXPECT_FALSE(isWelcomeVisible());
}

TEST_F(Opening, RestartsThePeriodOfAShowThatPlays)
{
    play123(10);
    clock.advance(seconds(6));

    controller->openFiles({ path("missing.png") });
    settle();
    clock.advance(milliseconds(9999));

    EXPECT_EQ(screen.shown, "1.png");
    clock.advance(milliseconds(1));
    EXPECT_EQ(screen.shown, "2.png");
}

TEST_F(Opening, StartsTheTimerIfThePersonWantsIt)
{
    defaults.setValue(kAutoStart, true);
    defaults.setValue(kSlideInterval, 3);

    show123();

    EXPECT_TRUE(controller->isPlaying());
    EXPECT_EQ(playing, std::vector({ true }));
    clock.advance(seconds(3));
    EXPECT_EQ(screen.shown, "2.png");
}

TEST_F(Opening, DoesNotStopTheTimerOfAShowThatPlays)
{
    defaults.setValue(kEndMode, QString(kEndModeWait));
    screen.damaged = { "2.png" };
    defaults.setValue(kAutoStart, true);
    show({ "1.png", "2.png" });
    controller->nextSlide(); // Nothing can take the place of the damaged one.
    ASSERT_FALSE(controller->mImageURL());
    ASSERT_TRUE(controller->isPlaying());

    controller->newFilesFound();
    settle();

    EXPECT_TRUE(controller->isPlaying());
    EXPECT_EQ(screen.asked.back(), "1.png>");
}

TEST_F(Opening, OfFilesOneAfterTheOtherShowsAllOfThem)
{
    controller->openFiles(write({ "2.png" }));
    controller->openFiles(write({ "1.png" }));
    controller->openFiles(write({ "nothing.txt" }));
    settle();

    EXPECT_EQ(controller->mFileSequence().count(), 2U);
    EXPECT_EQ(screen.shown, "1.png");
    EXPECT_FALSE(isWelcomeVisible());
}

TEST_F(Opening, IsNotHeldUpByAStepBackBeforeTheFirstFile)
{
    HeldCollection held(controller);
    screen.damaged = { "1.png" };
    controller->openFiles(write({ "1.png", "2.png" }));
    held.waitForFirstFile();
    MainQueue::drain(); // The first one is damaged, and out.

    controller->previousSlide();
    held.go();
    settle();

    EXPECT_EQ(screen.asked, Names({ "1.png>", "2.png>", "2.png<" }));
}

} // namespace

} // namespace quorvane
