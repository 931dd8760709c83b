// SPDX-License-Identifier: GPL-3.0-or-later
// How a show begins and ends, which windows stand around it, and what outlives what.
#include "support/ControllerTest.h"

#include <QStandardPaths>

namespace quorvane {

namespace {

using namespace tests;

// Screens that have no hardware keep their size; so the window is given another memory of it.
template <QSize SlideWindow::*kField> struct CoveredSize {
    friend QSize& coveredSizeOf(SlideWindow& window) { return window.*kField; }
};
template struct CoveredSize<&SlideWindow::mCoveredSize>;
QSize& coveredSizeOf(SlideWindow& window);

using Start = ControllerTest;
using Opening = ControllerTest;
using Hints = ControllerTest;
using Activation = ControllerTest;
using Welcome = ControllerTest;
using End = ControllerTest;
using Panel = ControllerTest;
using Lifetime = ControllerTest;

// Start.

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

TEST_F(Start, WithoutFilesAndWithoutGreetingLeavesNothing)
{
    defaults.setValue(kShowWelcome, false);

    controller->applicationDidFinishLaunching();
    settle();

    EXPECT_FALSE(isWelcomeVisible());
    EXPECT_EQ(nothingLeft, 1);
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

TEST_F(Start, WithFilesThatCannotBeShownAndWithoutGreetingLeavesNothing)
{
    defaults.setValue(kShowWelcome, false);

    controller->openFiles({ path("missing.png") });
    controller->applicationDidFinishLaunching();
    settle();

    EXPECT_EQ(nothingLeft, 1);
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

// Hints.

TEST_F(Hints, StandBeforeTheFirstSlideOfANewUser)
{
    defaults.setValue(kHintsShown, false);

    controller->openFiles(write({ "1.png", "2.png" }));
    settle();

    EXPECT_EQ(screen.asked, Names({ "hint screen.png>" }));
    EXPECT_TRUE(controller->mHintsScreenShown());
    EXPECT_EQ(nameOf(*controller->mFileSequence().current()), "1.png");
    EXPECT_TRUE(defaults.boolValue(kHintsShown));
}

TEST_F(Hints, GiveWayToTheSlideBehindThem)
{
    defaults.setValue(kHintsShown, false);
    show123();

    controller->nextSlide();
    EXPECT_FALSE(controller->mHintsScreenShown());
    controller->nextSlide();

    EXPECT_EQ(screen.asked, Names({ "1.png>", "2.png>" }));
}

TEST_F(Hints, GiveWayToTheSlideBehindThemOnAStepBackToo)
{
    defaults.setValue(kHintsShown, false);
    show123();

    controller->previousSlide();
    controller->previousSlide();

    EXPECT_EQ(screen.asked, Names({ "1.png<", "3.png<" }));
}

TEST_F(Hints, CountAsASlideOfAShowThatStartsByItself)
{
    defaults.setValue(kHintsShown, false);
    defaults.setValue(kAutoStart, true);
    defaults.setValue(kSlideInterval, 4);

    show123();
    EXPECT_TRUE(controller->isPlaying());
    EXPECT_TRUE(controller->mHintsScreenShown());

    clock.advance(seconds(4));
    EXPECT_EQ(screen.asked, Names({ "1.png>" }));
    clock.advance(seconds(4));
    EXPECT_EQ(screen.asked, Names({ "1.png>", "2.png>" }));
}

TEST_F(Hints, ComeOncePerUser)
{
    defaults.setValue(kHintsShown, false);
    show123();
    controller->endSlideShow();
    settle();
    screen.forget();

    controller->openFiles({ path("1.png") });
    settle();

    EXPECT_EQ(screen.asked, Names({ "1.png>", "1.png<" }));
}

TEST_F(Hints, ComeWhenAskedFor)
{
    show123();
    controller->nextSlide();

    controller->ShowHintScreen();
    EXPECT_TRUE(controller->mHintsScreenShown());
    controller->nextSlide();

    EXPECT_EQ(screen.asked, Names({ "2.png>", "hint screen.png>", "2.png>" }));
}

TEST_F(Hints, HaveTheSlideBehindThemReadAhead)
{
    defaults.setValue(kHintsShown, false);
    controller->openFiles(write({ "1.png", "2.png" }));

    settle();

    EXPECT_EQ(screen.readAhead, Names({ "1.png" }));
}

TEST_F(Hints, GoWithAnySlideThatIsOpened)
{
    show123();

    controller->ShowHintScreen();
    controller->firstSlide();
    EXPECT_FALSE(controller->mHintsScreenShown());

    controller->ShowHintScreen();
    controller->gotoImageIndex(2);
    EXPECT_FALSE(controller->mHintsScreenShown());
}

TEST_F(Hints, EndWithTheShow)
{
    show123();
    controller->ShowHintScreen();

    controller->endSlideShow();

    EXPECT_FALSE(controller->mHintsScreenShown());
}

TEST_F(Hints, ArePartOfTheProgram)
{
    useRealDisplay();
    defaults.setValue(kHintsShown, false);
    controller->openFiles(write({ "1.png" }));
    settle();

    const auto* const view = controller->mScreenWindow()->findChild<SVLayerView*>();
    ASSERT_NE(view, nullptr);
    ASSERT_NE(view->mCurrentImage(), nullptr);
    EXPECT_EQ(nameOf(view->mCurrentImage()->mURL()), "hint screen.png");
}

// Activation.

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

// The welcome window.

TEST_F(Welcome, GoesWhenTheFirstSlideComes)
{
    controller->applicationDidFinishLaunching();
    ASSERT_TRUE(isWelcomeVisible());

    show123();

    EXPECT_FALSE(isWelcomeVisible());
    EXPECT_EQ(nothingLeft, 0);
}

TEST_F(Welcome, StaysWhileWhatWasOpenedCannotBeShown)
{
    controller->applicationDidFinishLaunching();

    show({ "1.txt" });

    EXPECT_TRUE(isWelcomeVisible());
    EXPECT_EQ(nothingLeft, 0);
}

TEST_F(Welcome, ComesBackAfterTheShow)
{
    show123();

    controller->endSlideShow();
    settle();

    EXPECT_TRUE(isWelcomeVisible());
    EXPECT_EQ(nothingLeft, 0);
}

TEST_F(Welcome, DoesNotComeBackWhereNobodyWantsIt)
{
    defaults.setValue(kShowWelcome, false);
    show123();

    controller->endSlideShow();
    settle();

    EXPECT_FALSE(isWelcomeVisible());
    EXPECT_EQ(nothingLeft, 1);
}

TEST_F(Welcome, DoesNotComeBackWhenTheShowWasClosedByHand)
{
    show123();

    EXPECT_FALSE(controller->mScreenWindow()->close());
    settle();

    EXPECT_FALSE(isWelcomeVisible());
    EXPECT_EQ(nothingLeft, 1);
    EXPECT_EQ(controller->mScreenWindow(), nullptr);
    EXPECT_EQ(controller->mFileSequence().count(), 0U);
}

TEST_F(Welcome, ComesBackAfterAShowThatFollowedOneClosedByHand)
{
    show123();
    controller->mScreenWindow()->close();
    controller->openFiles({ path("2.png") });
    settle();
    ASSERT_EQ(nothingLeft, 0);

    controller->endSlideShow();
    settle();

    EXPECT_TRUE(isWelcomeVisible());
    EXPECT_EQ(nothingLeft, 0);
}

TEST_F(Welcome, ClosedByHandWithoutAShowLeavesNothing)
{
    controller->applicationDidFinishLaunching();

    visibleWindow<WelcomeController>()->close();

    EXPECT_EQ(nothingLeft, 1);
}

TEST_F(Welcome, ClosedByHandDuringAShowLeavesTheShow)
{
    show123();
    controller->ShowWelcomeScreen();

    visibleWindow<WelcomeController>()->close();

    EXPECT_EQ(nothingLeft, 0);
    EXPECT_NE(controller->mScreenWindow(), nullptr);
}

TEST_F(Welcome, ClosedByHandWhileFilesAreBeingCollectedLeavesThem)
{
    controller->applicationDidFinishLaunching();
    controller->openFiles(write({ "1.png" }));

    visibleWindow<WelcomeController>()->close();
    EXPECT_EQ(nothingLeft, 0);

    settle();
    EXPECT_EQ(screen.shown, "1.png");
}

TEST_F(Welcome, IsMadeOnce)
{
    controller->ShowWelcomeScreen();
    const auto* const window = visibleWindow<WelcomeController>();
    show123();
    controller->endSlideShow();
    settle();

    EXPECT_EQ(visibleWindow<WelcomeController>(), window);
}

TEST_F(Welcome, OpensThePanel)
{
    controller->ShowWelcomeScreen();

    visibleWindow<WelcomeController>()->OpenFolder();

    EXPECT_NE(visibleWindow<OpenPanel>(), nullptr);
}

// The end of a show.

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

TEST_F(End, LeavesNothingOnceOnly)
{
    defaults.setValue(kShowWelcome, false);
    HeldCollection held(controller);
    controller->openFiles(write({ "1.png" }));
    held.waitForFirstFile();

    controller->endSlideShow();
    held.go();
    settle();

    EXPECT_EQ(nothingLeft, 1);
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

// The open panel.

TEST_F(Panel, BeginsWithThePersonsPictures)
{
    const QString pictures = QStandardPaths::writableLocation(QStandardPaths::PicturesLocation);
    ASSERT_TRUE(QDir().mkpath(pictures));

    controller->openMenu();

    EXPECT_EQ(visibleWindow<OpenPanel>()->directory().absolutePath(), pictures);
}

TEST_F(Panel, BeginsWhereTheLastOneEnded)
{
    const QByteArray folder = path("").chopped(1);
    defaults.setValue(kLastUsedOpenDirectory, QString::fromLatin1(FileURL(folder).encoded()));

    controller->openMenu();

    EXPECT_EQ(QFile::encodeName(visibleWindow<OpenPanel>()->directory().absolutePath()), folder);
}

TEST_F(Panel, BeginsSomewhereWhereTheStoredAddressIsBad)
{
    for (const char* const address :
        { "no address", "http://elsewhere/x", "file:///nowhere/at/all" }) {
        defaults.setValue(kLastUsedOpenDirectory, QLatin1String(address));
        controller->openMenu();

        auto* const panel = visibleWindow<OpenPanel>();
        ASSERT_NE(panel, nullptr) << address;
        panel->reject();
        settle();
    }
}

TEST_F(Panel, ComesOnceAtATime)
{
    controller->openMenu();
    const auto* const panel = visibleWindow<OpenPanel>();

    controller->openMenu();

    EXPECT_EQ(visibleWindow<OpenPanel>(), panel);
    const auto windows = QApplication::topLevelWidgets();
    EXPECT_EQ(std::count_if(windows.begin(), windows.end(),
                  [](QWidget* window) { return qobject_cast<OpenPanel*>(window); }),
        1);
}

TEST_F(Panel, ComesAgainAfterItWasLeft)
{
    show123();
    controller->openMenu();
    visibleWindow<OpenPanel>()->reject();
    settle();
    EXPECT_EQ(visibleWindow<OpenPanel>(), nullptr);

    controller->openMenu();

    EXPECT_NE(visibleWindow<OpenPanel>(), nullptr);
}

TEST_F(Panel, ChangesNothingWhenItIsCancelled)
{
    play123(10);
    controller->openMenu();

    auto* const panel = visibleWindow<OpenPanel>();
    panel->setDirectory(QDir::rootPath());
    panel->reject();
    settle();

    EXPECT_TRUE(controller->isPlaying());
    EXPECT_EQ(controller->mFileSequence().count(), 3U);
    EXPECT_TRUE(screen.asked.empty());
    EXPECT_TRUE(defaults.stringValue(kLastUsedOpenDirectory).isEmpty());
    EXPECT_FALSE(isWelcomeVisible());
    EXPECT_EQ(nothingLeft, 0);
}

TEST_F(Panel, EndsTheOldShowAndStartsTheNewOneWithWhatWasChosen)
{
    play123(10);
    const PictureFiles others;
    others.write("8.png", QByteArray());
    others.write("9.png", QByteArray());
    const QByteArray folder = others.url("").path().chopped(1);
    controller->openMenu();

    auto* const panel = visibleWindow<OpenPanel>();
    panel->setDirectory(QFile::decodeName(folder));
    panel->accept();
    EXPECT_EQ(screen.clears, 1);
    EXPECT_EQ(controller->mScreenWindow(), nullptr);
    settle();

    EXPECT_EQ(controller->mFileSequence().count(), 2U);
    EXPECT_EQ(screen.asked, Names({ "8.png>" }));
    EXPECT_FALSE(controller->isPlaying());
    EXPECT_FALSE(isWelcomeVisible());
    EXPECT_EQ(nothingLeft, 0);
    EXPECT_EQ(defaults.stringValue(kLastUsedOpenDirectory),
        QString::fromLatin1(FileURL(folder).encoded()));
}

TEST_F(Panel, KeepsWhatAccompaniesAPhotograph)
{
    write({ "1.jpg", "1.png" });
    controller->openMenu();

    auto* const panel = visibleWindow<OpenPanel>();
    panel->setDirectory(QFile::decodeName(path("").chopped(1)));
    panel->accept();
    settle();

    EXPECT_EQ(controller->mFileSequence().count(), 2U);
}

TEST_F(Panel, TakesTheWelcomeWindowAwayWithTheFirstSlide)
{
    write({ "1.png" });
    controller->ShowWelcomeScreen();
    controller->openSelected();

    auto* const panel = visibleWindow<OpenPanel>();
    panel->setDirectory(QFile::decodeName(path("").chopped(1)));
    panel->accept();
    EXPECT_TRUE(isWelcomeVisible());
    settle();

    EXPECT_FALSE(isWelcomeVisible());
    EXPECT_EQ(screen.shown, "1.png");
}

TEST_F(Panel, GreetsAgainWhenNothingChosenCanBeShown)
{
    show123();
    const PictureFiles empty;
    controller->openMenu();

    auto* const panel = visibleWindow<OpenPanel>();
    panel->setDirectory(QFile::decodeName(empty.url("").path()));
    panel->accept();
    settle();

    EXPECT_TRUE(isWelcomeVisible());
    EXPECT_EQ(controller->mScreenWindow(), nullptr);
}

TEST_F(Panel, StaysWhenTheShowUnderItEnds)
{
    defaults.setValue(kEndMode, QString(kEndModeClose));
    show({ "1.png" });
    controller->Start();
    controller->openMenu();

    clock.advance(seconds(5));
    settle();

    ASSERT_EQ(controller->mScreenWindow(), nullptr);
    auto* const panel = visibleWindow<OpenPanel>();
    ASSERT_NE(panel, nullptr);
    EXPECT_FALSE(isWelcomeVisible());
    EXPECT_EQ(nothingLeft, 0);
    panel->setDirectory(QFile::decodeName(path("").chopped(1)));
    panel->accept();
    settle();
    EXPECT_EQ(screen.shown, "1.png");
}

TEST_F(Panel, CancelledAfterTheShowUnderItEndedGreets)
{
    show123();
    controller->openMenu();
    controller->endSlideShow();
    settle();

    visibleWindow<OpenPanel>()->reject();
    settle();

    EXPECT_TRUE(isWelcomeVisible());
    EXPECT_EQ(nothingLeft, 0);
}

TEST_F(Panel, CancelledAfterTheWelcomeWindowWasClosedLeavesNothing)
{
    controller->ShowWelcomeScreen();
    controller->openSelected();
    visibleWindow<WelcomeController>()->close();
    ASSERT_EQ(nothingLeft, 0);

    visibleWindow<OpenPanel>()->reject();
    settle();

    EXPECT_EQ(nothingLeft, 1);
    EXPECT_FALSE(isWelcomeVisible());
}

TEST_F(Panel, CancelledBesideTheWelcomeWindowLeavesIt)
{
    defaults.setValue(kShowWelcome, false);
    controller->ShowWelcomeScreen();
    controller->openSelected();

    visibleWindow<OpenPanel>()->reject();
    settle();

    EXPECT_TRUE(isWelcomeVisible());
    EXPECT_EQ(nothingLeft, 0);
}

// Lifetimes. Most of these only fail under a sanitizer.

TEST_F(Lifetime, EndsWhileACollectionIsUnderWay)
{
    HeldCollection held(controller);
    held.repetitions = 2000;
    controller->openFiles(write({ "1.png", "2.png", "3.png" }));
    held.waitForFirstFile();
    MainQueue::drain();
    ASSERT_NE(controller->mScreenWindow(), nullptr);
    screen.onDelegateGone = [&] { held.go(); }; // When the controller is half gone.

    controller.reset();
    MainQueue::drain();

    EXPECT_EQ(held.found(), 1);
    screen.onDelegateGone = nullptr;
}

TEST_F(Lifetime, EndsBeforeACollectionThatWaits)
{
    {
        HeldCollection held(controller);
        held.go();
        for (int i = 0; i < 20; ++i)
            controller->openFiles(write({ "1.png" }));
        controller->endSlideShow();
        controller->openFiles(write({ "2.png" }));

        controller.reset();
    }
    MainQueue::drain();

    EXPECT_EQ(screen.display, nullptr);
}

TEST_F(Lifetime, EndsBeforeWhatWasFoundReachesTheMainThread)
{
    controller->openFiles(write({ "1.png" }));
    controller->newFilesFound();
    controller->waitUntilIdle(std::chrono::minutes(1));

    controller.reset();
    MainQueue::drain();

    EXPECT_EQ(screen.made, 0);
}

TEST_F(Lifetime, EndsWhileAPictureIsLoading)
{
    screen.answers = FakeScreen::Answers::WhenTold;
    show123();
    ASSERT_TRUE(screen.isWaiting());

    controller.reset();

    EXPECT_EQ(screen.display, nullptr);
}

TEST_F(Lifetime, EndsWhileAPictureIsBeingDecoded)
{
    useRealDisplay();
    const BusyPool pool;
    HeldCollection held(controller);
    controller->openFiles({ files.write("1.png", kRed).path() });
    held.waitForFirstFile();
    MainQueue::drain();
    ASSERT_NE(controller->mScreenWindow(), nullptr);
    held.go();

    controller.reset();
    pool.release();
    DispatchQueue::global().drain();
    MainQueue::drain();

    EXPECT_TRUE(SVImageCache::instance().images().empty());
}

TEST_F(Lifetime, EndsWhileThePanelIsUp)
{
    controller->openMenu();
    const QPointer<OpenPanel> panel = visibleWindow<OpenPanel>();
    controller.reset();
    EXPECT_TRUE(panel.isNull());
}

TEST_F(Lifetime, EndsWhileThePanelIsUpOverAShow)
{
    show123();
    controller->openMenu();
    const QPointer<OpenPanel> panel = visibleWindow<OpenPanel>();
    ASSERT_FALSE(panel.isNull());

    controller.reset();

    EXPECT_TRUE(panel.isNull());
}

TEST_F(Lifetime, EndsRightAfterThePanelWasLeft)
{
    for (const bool isAccepted : { true, false }) {
        makeController([this] { return screen.makeDisplay(); });
        show123();
        controller->openMenu();
        auto* const panel = visibleWindow<OpenPanel>();
        isAccepted ? panel->accept() : panel->reject();

        controller.reset();
        MainQueue::drain();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    EXPECT_EQ(visibleWindow<OpenPanel>(), nullptr);
}

TEST_F(Lifetime, EndsWithTheShowInTheMiddle)
{
    play123(5);
    controller->ShowWelcomeScreen();

    controller.reset();

    EXPECT_EQ(clock.validTimers(), 0);
    EXPECT_FALSE(isWelcomeVisible());
}

TEST_F(Lifetime, OfADisplayIsNotOverWhileItCalls)
{
    screen.answers = FakeScreen::Answers::WhenTold;
    screen.damaged = { "1.png" };
    show({ "1.png" });
    const QPointer<QWidget> display = screen.display;

    screen.answer(); // The only slide cannot be shown: the show ends under the display's feet.

    EXPECT_FALSE(display.isNull());
    EXPECT_EQ(controller->mScreenWindow(), nullptr);
    settle();
    EXPECT_TRUE(display.isNull());
}

TEST_F(Lifetime, OfTheRealDisplayIsNotOverWhileItCalls)
{
    useRealDisplay();
    controller->openFiles({ files.write("1.png", "no picture").path() });

    settle();

    EXPECT_EQ(controller->mScreenWindow(), nullptr);
    EXPECT_TRUE(isWelcomeVisible());
}

TEST_F(Lifetime, OfTheWindowIsNotOverWhileItIsBeingClosed)
{
    show123();
    const QPointer<SlideWindow> window = controller->mScreenWindow();

    window->close();

    EXPECT_FALSE(window.isNull());
    settle();
    EXPECT_TRUE(window.isNull());
}

} // namespace

} // namespace quorvane
