// SPDX-License-Identifier: GPL-3.0-or-later
// A show whose files come, go and are written while it runs.
#include "support/ControllerTest.h"

#include <gmock/gmock.h>

namespace quorvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using namespace tests;

struct WatchedShow : ControllerTest {
    WatchedShow() { defaults.setValue(kShowNewItemsASAP, true); }

    /// Opens the folder with what is in it.
    void open(std::initializer_list<const char*> names)
    {
        write(names);
        controller->openFiles({ files.url("").path() });
        settle();
        screen.forget();
    }

    void pass(seconds span)
    {
        QCoreApplication::processEvents(); // What the kernel tells.
        settle();
        clock.advance(span);
        settle();
    }

    Names slides() const
    {
        Names names;
        for (size_t i = 0; i < controller->mFileSequence().count(); ++i)
            names.push_back(nameOf(*controller->mFileSequence().URLAtIndex(i)));
        return names;
    }
};

TEST_F(WatchedShow, ShowsAFileThatComesWhileItStands)
{
    open({ "1.png", "2.png" });

    write({ "3.png" });
    pass(seconds(5));

    EXPECT_THAT(screen.asked, ElementsAre("3.png>", "3.png>")); // The start of a show again.
    EXPECT_EQ(current(), "3.png");
}

TEST_F(WatchedShow, ShowsAFileThatComesInItsTurnWhileItPlays)
{
    open({ "1.png", "2.png" });
    defaults.setValue(kSlideInterval, 60.0);
    controller->Start();

    write({ "3.png" });
    pass(seconds(5));
    EXPECT_THAT(screen.asked, IsEmpty());

    controller->nextSlide();
    EXPECT_EQ(current(), "3.png");
}

TEST_F(WatchedShow, BeginsWithTheFirstFileThatComes)
{
    open({});
    ASSERT_TRUE(isWelcomeVisible());

    write({ "1.png" });
    pass(seconds(5));

    EXPECT_EQ(screen.shown, "1.png");
    EXPECT_FALSE(isWelcomeVisible());
}

TEST_F(WatchedShow, ShowsTheCurrentFileAnewWhenItIsWritten)
{
    open({ "1.png", "2.png" });

    write({ "1.png" });
    pass(seconds(1));

    EXPECT_THAT(screen.asked, ElementsAre("1.png>"));
}

TEST_F(WatchedShow, KeepsTheSlideOnScreenWhenItsFileGoes)
{
    open({ "1.png", "2.png", "3.png" });

    files.remove("1.png");
    pass(seconds(5));

    EXPECT_THAT(screen.asked, IsEmpty());
    EXPECT_EQ(screen.shown, "1.png");
    EXPECT_THAT(slides(), ElementsAre("2.png", "3.png"));
}

TEST_F(WatchedShow, StaysWhenAStepFindsThatItsOnlyFileIsGone)
{
    open({ "1.png" });
    screen.damaged = { "1.png" };
    controller->nextSlide();
    ASSERT_THAT(slides(), IsEmpty());
    EXPECT_NE(controller->mScreenWindow(), nullptr);
    EXPECT_FALSE(isWelcomeVisible());

    write({ "2.png" });
    pass(seconds(5));

    EXPECT_EQ(screen.shown, "2.png");
}

TEST_F(WatchedShow, StaysWhenNoPictureIsOpenedAfterItsOnlyFileIsGone)
{
    open({ "1.png" });
    screen.damaged = { "1.png" };
    controller->nextSlide();
    ASSERT_THAT(slides(), IsEmpty());

    controller->openFiles(write({ "a.txt" }));
    settle();

    ASSERT_THAT(slides(), IsEmpty());
    EXPECT_NE(controller->mScreenWindow(), nullptr);
    EXPECT_FALSE(isWelcomeVisible());
}

TEST_F(WatchedShow, ThatClosesAtItsEndClosesWhenItsOnlyFileIsGone)
{
    defaults.setValue(kEndMode, kEndModeClose);
    open({ "1.png" });
    screen.damaged = { "1.png" };

    controller->reloadCurrent();
    settle();

    EXPECT_EQ(controller->mScreenWindow(), nullptr);
}

TEST_F(WatchedShow, WithNothingThatCanBeShownEnds)
{
    screen.damaged = { "1.png" };
    open({ "1.png" });

    EXPECT_EQ(controller->mScreenWindow(), nullptr);
    EXPECT_TRUE(isWelcomeVisible());
}

struct UnfinishedSlide : WatchedShow { };

TEST_F(UnfinishedSlide, IsPassedOverAndNotTakenOutForGood)
{
    open({ "1.png", "2.png", "3.png" });
    screen.unfinished = { "2.png" };

    controller->nextSlide();

    EXPECT_THAT(screen.asked, ElementsAre("2.png>", "3.png>"));
    EXPECT_EQ(screen.shown, "3.png");
    EXPECT_THAT(slides(), ElementsAre("1.png", "3.png"));
    EXPECT_THAT(controller->mFileSequence().mRemovedURLs(), IsEmpty());
}

TEST_F(UnfinishedSlide, JoinsTheShowWhenItIsFinished)
{
    open({ "1.png", "2.png", "3.png" });
    screen.unfinished = { "2.png" };
    controller->nextSlide();
    screen.unfinished.clear();

    pass(seconds(1));

    EXPECT_THAT(slides(), ElementsAre("1.png", "3.png", "2.png"));
    EXPECT_EQ(screen.shown, "2.png");
}

TEST_F(UnfinishedSlide, JoinsAShowWithoutAWatchToo)
{
    controller->openFiles(write({ "1.png", "2.png", "3.png" }));
    settle();
    screen.unfinished = { "2.png" };
    controller->nextSlide();
    screen.unfinished.clear();

    pass(seconds(1));

    EXPECT_EQ(slides().size(), 3U);
    EXPECT_EQ(screen.shown, "2.png");
}

TEST_F(UnfinishedSlide, AtTheBeginningGivesWayToTheNext)
{
    screen.unfinished = { "1.png" };
    write({ "1.png", "2.png" });
    controller->openFiles({ files.url("").path() });
    settle();

    EXPECT_EQ(screen.shown, "2.png");
    EXPECT_THAT(slides(), ElementsAre("2.png"));
}

TEST_F(UnfinishedSlide, ThatIsTheOnlyOneIsWaitedFor)
{
    screen.unfinished = { "1.png" };
    controller->openFiles(write({ "1.png" }));
    settle();
    EXPECT_NE(controller->mScreenWindow(), nullptr);
    EXPECT_FALSE(isWelcomeVisible());

    screen.unfinished.clear();
    pass(seconds(1));

    EXPECT_EQ(screen.shown, "1.png");
}

TEST_F(UnfinishedSlide, ThatIsTheOnlyOneMayBeLeft)
{
    screen.unfinished = { "1.png" };
    controller->openFiles(write({ "1.png" }));
    settle();

    controller->endSlideShow();
    settle();
    screen.unfinished.clear();
    pass(seconds(5));

    EXPECT_EQ(controller->mScreenWindow(), nullptr);
    EXPECT_TRUE(isWelcomeVisible());
}

TEST_F(UnfinishedSlide, StaysOnScreenAsItWasAndIsTriedAgain)
{
    open({ "1.png", "2.png" });
    screen.unfinished = { "1.png" };
    controller->reloadCurrent();
    EXPECT_THAT(screen.asked, ElementsAre("1.png>"));
    EXPECT_THAT(slides(), ElementsAre("1.png", "2.png"));
    EXPECT_EQ(current(), "1.png");

    clock.advance(seconds(1));
    EXPECT_THAT(screen.asked, ElementsAre("1.png>", "1.png>"));
    screen.unfinished.clear();
    clock.advance(seconds(1));
    EXPECT_EQ(screen.asked.size(), 3U);
    clock.advance(seconds(4));
    EXPECT_EQ(screen.asked.size(), 3U);
}

TEST_F(UnfinishedSlide, IsTriedAgainAfterTheTransition)
{
    open({ "1.png", "2.png" });
    screen.unfinished = { "1.png" };
    controller->reloadCurrent();
    screen.isBusy = true;
    clock.advance(seconds(1));
    EXPECT_EQ(screen.asked.size(), 1U);

    screen.isBusy = false;
    screen.unfinished.clear();
    clock.advance(seconds(1));

    EXPECT_EQ(screen.asked.size(), 2U);
}

TEST_F(UnfinishedSlide, IsNotTriedAgainOnceAnotherIsShown)
{
    open({ "1.png", "2.png" });
    screen.unfinished = { "1.png" };
    controller->reloadCurrent();
    controller->nextSlide();
    screen.forget();

    clock.advance(seconds(3));

    EXPECT_THAT(screen.asked, IsEmpty());
}

TEST_F(UnfinishedSlide, IsNotTriedAgainAfterTheShow)
{
    open({ "1.png", "2.png" });
    screen.unfinished = { "1.png" };
    controller->reloadCurrent();

    controller->endSlideShow();
    screen.forget();
    pass(seconds(3));

    EXPECT_THAT(screen.asked, IsEmpty());
}

} // namespace
} // namespace quorvane
