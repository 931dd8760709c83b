// SPDX-License-Identifier: GPL-3.0-or-later
// The slides of the ad folder, between those of the show.
#include "support/ByteFolder.h"
#include "support/ControllerTest.h"

namespace quorvane {

namespace {

using namespace tests;

struct AddsTest : ControllerTest {
    AddsTest()
    {
        defaults.setValue(kShowAdds, true);
        defaults.setValue(kAddInterval, 2);
        defaults.setValue(kEndMode, QString(kEndModeWait));
    }

    /// Makes a folder with ads of these names the ad folder.
    void setAdds(std::initializer_list<const char*> names, const QByteArray& folder = "ads")
    {
        adds.folder(folder);
        for (const char* const name : names)
            adds.file(folder + '/' + name);
        defaults.setValue(kAddFolder, Bookmark::bookmarkForPath(adds.path(folder))->data());
    }

    /// What is on the screen at the beginning, and after each of so many steps.
    Names steps(int count)
    {
        Names shown { screen.shown };
        for (int i = 0; i < count; ++i) {
            controller->nextSlide();
            shown.push_back(screen.shown);
        }
        return shown;
    }

    /// Another controller, which has not counted anything yet.
    void restart()
    {
        makeController([this] { return screen.makeDisplay(); });
        controller->awakeFromNib();
        screen.forget();
    }

    void showMany() { show({ "1.png", "2.png", "3.png", "4.png", "5.png", "6.png", "7.png" }); }

    /// From now on no folder is found until `stop` lets it be.
    void holdFolders()
    {
        DesktopServices services = desktop();
        services.bookmarks.resolve = [stop = stop](const Bookmark& bookmark) {
            stop.halt();
            return bookmark.resolve();
        };
        controller = std::make_unique<SlideController>(
            defaults, clock, [this] { return screen.makeDisplay(); }, services);
        controller->awakeFromNib();
    }

    /// Starts a show of four slides, which asks for its ads.
    void startWhileHeld() const
    {
        controller->openFiles(write({ "1.png", "2.png", "3.png", "4.png" }));
        controller->waitUntilIdle(std::chrono::minutes(1));
        MainQueue::drain();
        stop.waitForArrival();
    }

    const ByteFolder adds;
    const Stop stop;
};

using Adds = AddsTest;
using DamagedAdds = AddsTest;
using AddFolder = AddsTest;

TEST_F(Adds, ComeAfterThreeSlidesAtFirstWhereTwoStandBetweenThem)
{
    setAdds({ "ad.png" });
    showMany();

    EXPECT_EQ(steps(8),
        Names(
            { "1.png", "2.png", "3.png", "ad.png", "4.png", "5.png", "6.png", "7.png", "7.png" }));
}

TEST_F(Adds, ComeAgainAfterEveryTwoSlides)
{
    defaults.setValue(kEndMode, QString(kEndModeRewind));
    setAdds({ "ad.png" });
    showMany();

    EXPECT_EQ(steps(9),
        Names({ "1.png", "2.png", "3.png", "ad.png", "4.png", "5.png", "ad.png", "6.png", "7.png",
            "ad.png" }));
}

TEST_F(Adds, ComeOnEveryStepWithNoSlidesBetweenThem)
{
    defaults.setValue(kAddInterval, 0);
    defaults.setValue(kEndMode, QString(kEndModeRewind));
    defaults.setValue(kSort, QString(kSortName));
    setAdds({ "a.png" });
    show123();

    EXPECT_EQ(steps(3), Names({ "1.png", "a.png", "a.png", "a.png" }));
    EXPECT_EQ(controller->mFileSequence().currentIndex(), 0U) << "the show stands still";
}

TEST_F(Adds, WithNoSlidesBetweenThemGiveWayToTheShowAtTheirEnd)
{
    defaults.setValue(kAddInterval, 0);
    setAdds({ "ad.png" });
    show123();

    EXPECT_EQ(steps(4), Names({ "1.png", "ad.png", "2.png", "3.png", "3.png" }));
}

TEST_F(Adds, AreAllShownOnceWhereTheShowWaits)
{
    defaults.setValue(kAddInterval, 0);
    setAdds({ "a.png", "b.png", "c.png" });
    show123();

    Names shown = steps(4);

    std::sort(shown.begin() + 1, shown.begin() + 4); // They stand as the disk lists them.
    EXPECT_EQ(shown, Names({ "1.png", "a.png", "b.png", "c.png", "2.png" }));
}

TEST_F(Adds, BeginAgainWhereTheShowDoes)
{
    defaults.setValue(kAddInterval, 0);
    defaults.setValue(kEndMode, QString(kEndModeRewind));
    setAdds({ "a.png", "b.png" });
    show123();

    Names shown = steps(4);

    std::sort(shown.begin() + 1, shown.end());
    EXPECT_EQ(shown, Names({ "1.png", "a.png", "a.png", "b.png", "b.png" }));
}

TEST_F(Adds, ComeBeforeTheEndOfAShowThatCloses)
{
    defaults.setValue(kEndMode, QString(kEndModeClose));
    setAdds({ "ad.png" });
    show123();

    EXPECT_EQ(steps(3), Names({ "1.png", "2.png", "3.png", "ad.png" }));
    controller->nextSlide();
    EXPECT_EQ(controller->mScreenWindow(), nullptr);
}

TEST_F(Adds, AreOpenedForward)
{
    defaults.setValue(kAddInterval, 0);
    setAdds({ "ad.png" });
    show123();

    controller->nextSlide();

    EXPECT_EQ(screen.asked, Names({ "ad.png>" }));
    EXPECT_EQ(current(), "ad.png");
}

TEST_F(Adds, ComeByTheTimerToo)
{
    setAdds({ "ad.png" });
    play123(3);

    clock.advance(seconds(9));
    EXPECT_EQ(screen.shown, "ad.png");
    EXPECT_TRUE(controller->isPlaying());
}

TEST_F(Adds, AreOnlyForWhoWantsThem)
{
    defaults.setValue(kShowAdds, false);
    setAdds({ "ad.png" });
    const int before = FolderAccess::count();
    show123();

    EXPECT_EQ(steps(4), Names({ "1.png", "2.png", "3.png", "3.png", "3.png" }));
    EXPECT_EQ(FolderAccess::count(), before);
}

TEST_F(Adds, EndAsSoonAsNobodyWantsThem)
{
    setAdds({ "ad.png" });
    showMany();
    steps(2);

    defaults.setValue(kShowAdds, false);
    EXPECT_EQ(steps(2), Names({ "3.png", "4.png", "5.png" }));

    defaults.setValue(kShowAdds, true);
    EXPECT_EQ(steps(1), Names({ "5.png", "ad.png" })) << "the count stood still";
}

TEST_F(Adds, ObeyAnIntervalThatChanges)
{
    setAdds({ "ad.png" });
    showMany();
    defaults.setValue(kAddInterval, 3);

    EXPECT_EQ(steps(4), Names({ "1.png", "2.png", "3.png", "4.png", "ad.png" }));
}

TEST_F(Adds, AreNotCountedByOtherSteps)
{
    defaults.setValue(kEndMode, QString(kEndModeRewind));
    setAdds({ "ad.png" });
    showMany();
    controller->gotoImageIndex(3);
    controller->previousSlide();
    controller->previousSlide();
    controller->firstSlide();

    EXPECT_EQ(steps(3), Names({ "1.png", "2.png", "3.png", "ad.png" }));
}

TEST_F(Adds, AreLeftBackwardForTheSlideBefore)
{
    setAdds({ "ad.png" });
    showMany();
    steps(3);
    ASSERT_EQ(screen.shown, "ad.png");

    controller->previousSlide();

    EXPECT_EQ(screen.shown, "2.png");
}

TEST_F(Adds, DoNotStandBetweenTheHintsAndTheFirstSlide)
{
    defaults.setValue(kHintsShown, false);
    defaults.setValue(kAddInterval, 0);
    setAdds({ "ad.png" });
    show123();

    EXPECT_EQ(steps(2), Names({ "hint screen.png", "1.png", "ad.png" }));
}

TEST_F(Adds, AreReadAheadWhenTheyAreDue)
{
    setAdds({ "ad.png" });
    showMany();
    steps(4);

    EXPECT_EQ(screen.readAhead, Names({ "3.png", "ad.png", "4.png", "5.png" }));
}

TEST_F(Adds, AreNotReadAheadWhenThereIsNoneLeft)
{
    defaults.setValue(kAddInterval, 0);
    setAdds({ "ad.png" });
    show123();
    steps(1);

    EXPECT_EQ(screen.readAhead, Names({ "2.png" }));
}

TEST_F(Adds, KeepTheirCountWhenTheFolderIsReadAgain)
{
    setAdds({ "ad.png" });
    showMany();
    steps(1);

    controller->firstFileFound(); // The show begins once more.
    settle();

    EXPECT_EQ(steps(2), Names({ "2.png", "3.png", "ad.png" }));
}

TEST_F(Adds, AreTheSameAgainInTheNextShow)
{
    defaults.setValue(kAddInterval, 0);
    setAdds({ "ad.png" });
    show123();
    EXPECT_EQ(steps(2), Names({ "1.png", "ad.png", "2.png" }));
    controller->endSlideShow();
    settle();

    show123();

    EXPECT_EQ(steps(2), Names({ "1.png", "ad.png", "2.png" }));
}

TEST_F(Adds, AreNoSlidesThatCouldBeThrownAway)
{
    setAdds({ "ad.png" });
    showMany();
    steps(3);
    ASSERT_EQ(screen.shown, "ad.png");

    controller->trashSlide();
    settle();

    EXPECT_EQ(screen.shown, "ad.png");
    EXPECT_TRUE(QFile::exists(QFile::decodeName(adds.path("ads/ad.png"))));
    EXPECT_EQ(controller->mFileSequence().count(), 7U);
    controller->nextSlide();
    controller->trashSlide();
    settle();
    EXPECT_EQ(controller->mFileSequence().count(), 6U) << "a slide can be";
}

// Ads that cannot be shown.

TEST_F(DamagedAdds, GiveWayToTheNextSlide)
{
    screen.damaged = { "ad.png" };
    setAdds({ "ad.png" });
    showMany();

    EXPECT_EQ(steps(5), Names({ "1.png", "2.png", "3.png", "4.png", "5.png", "6.png" }));
    EXPECT_EQ(controller->mFileSequence().count(), 7U);
    EXPECT_TRUE(controller->mFileSequence().mRemovedURLs().empty());
}

TEST_F(DamagedAdds, GiveWayWhenTheyAreFoundOutLaterToo)
{
    screen.damaged = { "ad.png" };
    setAdds({ "ad.png" });
    showMany();
    steps(2);
    screen.answers = FakeScreen::Answers::WhenTold;
    screen.forget();

    controller->nextSlide();
    EXPECT_EQ(current(), "ad.png");
    screen.answer();

    EXPECT_EQ(screen.asked, Names({ "ad.png>", "4.png>" }));
    EXPECT_EQ(current(), "4.png");
}

TEST_F(DamagedAdds, AreNotMetAgain)
{
    defaults.setValue(kEndMode, QString(kEndModeRewind));
    screen.damaged = { "ad.png" };
    setAdds({ "ad.png" });
    showMany();

    steps(20);

    EXPECT_EQ(std::count(screen.asked.begin(), screen.asked.end(), "ad.png>"), 1);
}

TEST_F(DamagedAdds, HideNoneOfTheOthers)
{
    defaults.setValue(kAddInterval, 0);
    for (const char* const damaged : { "a.png", "b.png", "c.png" }) {
        screen.damaged = { damaged };
        setAdds({ "a.png", "b.png", "c.png" });
        show123();

        Names shown = steps(3);
        std::sort(shown.begin() + 1, shown.begin() + 3);
        Names expected { "1.png", "a.png", "b.png", "c.png" };
        std::erase(expected, damaged);
        expected.emplace_back("2.png");
        EXPECT_EQ(shown, expected);

        screen.damaged.clear();
        controller->endSlideShow();
        settle();
        defaults.setValue(kAddFolder, QByteArray());
        restart();
    }
}

TEST_F(DamagedAdds, AtTheEndOfTheShowLeaveItsLastSlide)
{
    screen.damaged = { "ad.png" };
    setAdds({ "ad.png" });
    show123();

    EXPECT_EQ(steps(3), Names({ "1.png", "2.png", "3.png", "3.png" }));
    EXPECT_EQ(current(), "3.png");
}

TEST_F(DamagedAdds, AtTheEndOfAShowThatClosesEndIt)
{
    defaults.setValue(kEndMode, QString(kEndModeClose));
    screen.damaged = { "ad.png" };
    setAdds({ "ad.png" });
    show123();
    steps(2);

    controller->nextSlide();

    EXPECT_EQ(controller->mScreenWindow(), nullptr);
}

TEST_F(DamagedAdds, AloneEndNoShow)
{
    defaults.setValue(kAddInterval, 0);
    screen.damaged = { "a.png", "b.png", "c.png" };
    setAdds({ "a.png", "b.png", "c.png" });
    show123();

    EXPECT_EQ(steps(2), Names({ "1.png", "2.png", "3.png" }));
}

TEST_F(DamagedAdds, ThatAreSlidesAsWellLeaveTheShowOnlyThere)
{
    // The folder of the show is the ad folder.
    defaults.setValue(kAddInterval, 1);
    screen.damaged = { "1.png" };
    const auto paths = write({ "1.png", "2.png" });
    defaults.setValue(kAddFolder, Bookmark::bookmarkForPath(path("").chopped(1))->data());
    controller->openFiles({ path("").chopped(1) });
    settle();
    EXPECT_EQ(screen.shown, "2.png");
    EXPECT_EQ(controller->mFileSequence().count(), 1U);

    steps(4);

    EXPECT_EQ(controller->mFileSequence().count(), 1U);
    EXPECT_EQ(screen.shown, "2.png");
}

TEST_F(DamagedAdds, SlidesBesideThemGiveWayAsEver)
{
    screen.damaged = { "2.png" };
    setAdds({ "ad.png" });
    showMany();

    Names shown = steps(6);
    std::erase(shown, "ad.png");

    EXPECT_EQ(shown, Names({ "1.png", "3.png", "4.png", "5.png", "6.png", "7.png" }));
}

// The folder.

TEST_F(AddFolder, ThatIsGoneIsDoneWithout)
{
    setAdds({ "ad.png" });
    std::filesystem::remove_all(adds.path("ads").toStdString());
    const int before = FolderAccess::count();
    show123();

    EXPECT_EQ(steps(3), Names({ "1.png", "2.png", "3.png", "3.png" }));
    EXPECT_EQ(FolderAccess::count(), before);
}

TEST_F(AddFolder, ThatIsNoBookmarkIsDoneWithout)
{
    for (const QVariant& value : { QVariant(QByteArray()), QVariant(QByteArray("garbage")),
             QVariant(QStringLiteral("/")), QVariant(1) }) {
        defaults.setValue(kAddFolder, value);
        show123();

        EXPECT_EQ(steps(3), Names({ "1.png", "2.png", "3.png", "3.png" }));
        controller->endSlideShow();
        settle();
        restart();
    }
}

TEST_F(AddFolder, WithoutPicturesIsDoneWithout)
{
    setAdds({ "text.txt" });
    show123();

    EXPECT_EQ(steps(3), Names({ "1.png", "2.png", "3.png", "3.png" }));
}

TEST_F(AddFolder, ThatGoesDuringTheShowIsDoneWithoutFromThenOn)
{
    setAdds({ "a.png", "b.png" });
    showMany();
    std::filesystem::remove_all(adds.path("ads").toStdString());
    screen.damaged = { "a.png", "b.png" };

    EXPECT_EQ(steps(6), Names({ "1.png", "2.png", "3.png", "4.png", "5.png", "6.png", "7.png" }));
}

TEST_F(AddFolder, IsReadAtTheStartOfEachShow)
{
    defaults.setValue(kAddInterval, 0);
    setAdds({ "old.png" }, "old");
    show123();
    setAdds({ "new.png" }, "new");
    EXPECT_EQ(steps(1), Names({ "1.png", "old.png" }));
    controller->endSlideShow();
    settle();

    show123();

    EXPECT_EQ(steps(1), Names({ "1.png", "new.png" }));
}

TEST_F(AddFolder, IsHeldAsLongAsTheShowLasts)
{
    const int before = FolderAccess::count();
    setAdds({ "ad.png" });
    show123();
    EXPECT_EQ(FolderAccess::count(), before + 1);
    controller->firstFileFound();
    settle();
    EXPECT_EQ(FolderAccess::count(), before + 1);

    controller->endSlideShow();
    EXPECT_EQ(FolderAccess::count(), before);
    settle();

    show123();
    controller.reset();
    EXPECT_EQ(FolderAccess::count(), before);
}

TEST_F(AddFolder, OfAnEarlierShowIsForgotten)
{
    defaults.setValue(kAddInterval, 0);
    setAdds({ "a.png", "b.png" });
    show123();
    controller->endSlideShow();
    settle();
    defaults.setValue(kAddFolder, QByteArray());

    show123();

    EXPECT_EQ(steps(1), Names({ "1.png", "2.png" }));
}

TEST_F(AddFolder, ThatAnswersAfterTheEndIsNotRead)
{
    const int before = FolderAccess::count();
    holdFolders();
    setAdds({ "ad.png" });
    startWhileHeld();

    controller->endSlideShow();
    stop.release();
    settle();

    EXPECT_EQ(FolderAccess::count(), before);
}

TEST_F(AddFolder, WhoseDiskDoesNotAnswerHoldsNothingUp)
{
    holdFolders();
    setAdds({ "ad.png" });
    startWhileHeld();

    EXPECT_EQ(steps(3), Names({ "1.png", "2.png", "3.png", "4.png" }));
    stop.release();
    settle();
    EXPECT_EQ(steps(1), Names({ "4.png", "4.png" })) << "it is not the turn of an ad";
}

} // namespace

} // namespace quorvane
