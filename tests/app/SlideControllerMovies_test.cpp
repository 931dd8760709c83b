// SPDX-License-Identifier: GPL-3.0-or-later
// Movies among the slides of a show.
#include "support/ByteFolder.h"
#include "support/ControllerTest.h"

namespace quorvane {

namespace {

using namespace tests;

constexpr QSize kSize { 64, 48 };

struct Movies : ControllerTest {
    /// Shows 1.png, 2.mov and 3.png, with the movie on screen.
    void showMovie()
    {
        show({ "1.png", "2.mov", "3.png" });
        step();
        appear();
    }

    /// The same of a show that plays.
    void playMovie(double interval)
    {
        show({ "1.png", "2.mov", "3.png", "4.png" });
        defaults.setValue(kSlideInterval, interval);
        controller->Start();
        step();
        appear();
    }

    void step() const { controller->nextSlide(); }

    /// The movie's first frame is there.
    void appear() const
    {
        movie.player->open(kSize, 40.);
        movie.player->showFrame();
        screen.display->showMovieFrame();
    }

    void space() const { controller->keyDown(QStringLiteral(" "), Qt::Key_Space); }

    bool isMovieThere() const { return controller->mMoviePlayer() != nullptr; }

    /// Lets the movie play on for as long, with a sign of life each second.
    void playFor(int length)
    {
        for (int i = 1; i <= length; ++i) {
            clock.advance(seconds(1));
            movie.player->goOnTo(i);
        }
    }

    const TypeIdentifier::DecodersForTesting types { { QStringLiteral("png") },
        TypeIdentifier::DecodersForTesting::Audiovisual::All };
};

// The timer.

TEST_F(Movies, PlayToTheirEndHoweverLongTheyAre)
{
    playMovie(5);

    playFor(39);
    EXPECT_EQ(current(), "2.mov");
    EXPECT_FALSE(controller->isPlaying());
    movie.player->end();

    EXPECT_EQ(current(), "3.png");
    EXPECT_TRUE(controller->isPlaying());
    clock.advance(milliseconds(4999));
    EXPECT_EQ(current(), "3.png");
    clock.advance(milliseconds(1));
    EXPECT_EQ(current(), "4.png");
}

TEST_F(Movies, ComeInTheirTurnWhenTheTimerSteps)
{
    show({ "1.png", "2.mov", "3.png" });
    defaults.setValue(kSlideInterval, 3.);
    controller->Start();

    clock.advance(seconds(3));

    EXPECT_EQ(current(), "2.mov");
    EXPECT_TRUE(controller->mMovieIsPlaying());
    EXPECT_FALSE(controller->isPlaying());
    EXPECT_EQ(playing, std::vector<bool>({ true, false }));
}

TEST_F(Movies, OfAStoppedShowAreFollowedByTheNextSlideWhichStays)
{
    showMovie();

    movie.player->end();
    EXPECT_EQ(current(), "3.png");
    clock.advance(seconds(60));

    EXPECT_EQ(current(), "3.png");
    EXPECT_FALSE(controller->isPlaying());
}

TEST_F(Movies, LetAShowBeStartedThatRunsAfterThem)
{
    showMovie();

    controller->Play();
    EXPECT_FALSE(controller->isPlaying());
    EXPECT_EQ(current(), "2.mov");
    movie.player->end();

    EXPECT_TRUE(controller->isPlaying());
    EXPECT_EQ(current(), "3.png");
}

TEST_F(Movies, LetAShowBeStoppedThatWouldGoOnAfterThem)
{
    playMovie(5);

    controller->Play();
    movie.player->end();

    EXPECT_FALSE(controller->isPlaying());
    EXPECT_EQ(current(), "3.png");
}

TEST_F(Movies, TakeADigitForTheTimeAfterThem)
{
    showMovie();

    controller->keyDown(QStringLiteral("7"), Qt::Key_7);
    EXPECT_FALSE(controller->isPlaying());
    clock.advance(seconds(1));
    EXPECT_EQ(current(), "2.mov");
    movie.player->end();

    EXPECT_TRUE(controller->isPlaying());
    EXPECT_EQ(controller->mSlideTime(), 7);
}

TEST_F(Movies, TakeAKeyForAShowThatStaysAfterThem)
{
    for (const auto& [text, key] : { std::pair("0", Qt::Key_0), std::pair("x", Qt::Key_X) }) {
        playMovie(5);

        controller->keyDown(QLatin1String(text), key);
        EXPECT_TRUE(controller->mMovieIsPlaying());
        movie.player->end();

        EXPECT_EQ(current(), "3.png") << text;
        EXPECT_FALSE(controller->isPlaying()) << text;
        controller->endSlideShow();
        settle();
    }
}

TEST_F(Movies, ThatArePausedDoNotStopTheShowAfterThem)
{
    playMovie(5);

    space();
    space();
    movie.player->end();

    EXPECT_TRUE(controller->isPlaying());
}

// Steps.

TEST_F(Movies, AreStoppedByAStepAndThePlayingShowResumes)
{
    playMovie(5);

    step();

    EXPECT_EQ(current(), "3.png");
    EXPECT_FALSE(isMovieThere());
    EXPECT_TRUE(controller->isPlaying());
    EXPECT_TRUE(movie.asked.ends_with("pause ")) << movie.asked;
    clock.advance(seconds(5));
    EXPECT_EQ(current(), "4.png");
}

TEST_F(Movies, AreStoppedByEveryWayToAnotherSlide)
{
    struct Way {
        const char* slide;
        std::function<void(SlideController&)> go;
    };
    const Way ways[] = { { "3.png", [](auto& show) { show.nextSlide(); } },
        { "1.png", [](auto& show) { show.previousSlide(); } },
        { "1.png", [](auto& show) { show.firstSlide(); } },
        { "3.png", [](auto& show) { show.gotoImageIndex(2); } } };
    show({ "1.png", "2.mov", "3.png" });
    for (const Way& way : ways) {
        controller->gotoImageIndex(1);
        appear();
        const auto player = std::weak_ptr(controller->mMoviePlayer());

        way.go(*controller);

        EXPECT_EQ(current(), way.slide);
        EXPECT_FALSE(isMovieThere());
        EXPECT_TRUE(player.expired()) << way.slide; // The display has let it go, too.
    }
}

TEST_F(Movies, GiveWayToTheNextMovie)
{
    show({ "1.mov", "2.mov" });
    appear();

    step();

    EXPECT_EQ(current(), "2.mov");
    EXPECT_EQ(movie.made, 2);
    EXPECT_TRUE(controller->mMovieIsPlaying());
}

TEST_F(Movies, IgnoreTheEndOfOneThatWasLeft)
{
    show({ "1.mov", "2.mov", "3.png" });
    appear();
    const auto first = controller->mMoviePlayer();
    FakeMoviePlayer* const fake = movie.player;
    step();

    fake->end();

    EXPECT_EQ(current(), "2.mov");
    EXPECT_TRUE(isMovieThere());
}

TEST_F(Movies, EndOnceWhateverThePlayerSays)
{
    showMovie();

    const auto player = controller->mMoviePlayer();
    FakeMoviePlayer* const fake = movie.player;
    fake->end(MovieEnd::Finished);
    fake->end(MovieEnd::Failed);
    clock.advance(seconds(20));

    EXPECT_EQ(current(), "3.png");
}

TEST_F(Movies, WaitAtTheirEndForATransitionThatIsStillRunning)
{
    show({ "1.png", "2.mov", "3.png" });
    step();
    screen.isBusy = true;

    movie.player->open(kSize, 0.1);
    movie.player->showFrame();
    movie.player->end();
    EXPECT_EQ(current(), "2.mov");
    clock.advance(seconds(2));
    EXPECT_EQ(current(), "2.mov");
    screen.isBusy = false;
    clock.advance(seconds(1));

    EXPECT_EQ(current(), "3.png");
}

// Pause.

TEST_F(Movies, PauseAndGoOnWithSpace)
{
    playMovie(5);

    space();
    EXPECT_FALSE(controller->mMovieIsPlaying());
    clock.advance(seconds(60));
    EXPECT_EQ(current(), "2.mov");
    EXPECT_FALSE(controller->isPlaying());
    space();

    EXPECT_TRUE(controller->mMovieIsPlaying());
    EXPECT_FALSE(controller->isPlaying());
    EXPECT_EQ(current(), "2.mov");
}

TEST_F(Movies, PauseAndGoOnWithMediaKeys)
{
    showMovie();

    controller->pauseMedia();
    EXPECT_FALSE(controller->mMovieIsPlaying());
    controller->pauseMedia();
    EXPECT_FALSE(controller->mMovieIsPlaying());
    controller->playMedia();
    EXPECT_TRUE(controller->mMovieIsPlaying());
    controller->playMedia();

    EXPECT_TRUE(controller->mMovieIsPlaying());
    EXPECT_FALSE(controller->isPlaying());
}

TEST_F(Movies, HaveItSaidWhenTheyArePaused)
{
    showMovie();
    int changes = 0;
    QObject::connect(controller.get(), &SlideController::slideChanged, [&] { ++changes; });

    movie.player->pause(); // By the floating controls.

    EXPECT_EQ(changes, 1);
    EXPECT_FALSE(controller->mMovieIsPlaying());
}

TEST_F(Movies, LeaveMediaKeysToTheShowAtAPicture)
{
    show123();

    controller->playMedia();
    EXPECT_TRUE(controller->isPlaying());
    controller->pauseMedia();

    EXPECT_FALSE(controller->isPlaying());
}

// What cannot be played.

TEST_F(Movies, ThatCannotBeOpenedAreSkipped)
{
    playMovie(5);

    movie.player->end(MovieEnd::Failed);
    clock.advance({});

    EXPECT_EQ(current(), "3.png");
    EXPECT_TRUE(controller->isPlaying());
    EXPECT_EQ(controller->mFileSequence().count(), 4U);
}

TEST_F(Movies, ThatShowNothingForFiveSecondsAreSkipped)
{
    show({ "1.png", "2.mov", "3.png" });
    step();

    clock.advance(milliseconds(4999));
    EXPECT_EQ(current(), "2.mov");
    clock.advance(milliseconds(1));

    EXPECT_EQ(current(), "3.png");
}

TEST_F(Movies, ThatDoNotGoOnForFiveSecondsEnd)
{
    showMovie();

    clock.advance(seconds(5));

    EXPECT_EQ(current(), "3.png");
}

TEST_F(Movies, AreSkippedWhereNoPlayerCanBeMade)
{
    show({ "1.png", "2.mov", "3.mov", "4.png" });
    hasPlayers = false;

    step();
    clock.advance({});

    EXPECT_EQ(current(), "4.png");
}

TEST_F(Movies, OfWhichNoneCanBePlayedEndTheShow)
{
    show({ "1.mov", "2.mov" });

    for (int i = 0; i < 5 && movie.player; ++i) {
        movie.player->end(MovieEnd::Failed);
        clock.advance({});
    }
    settle();

    EXPECT_EQ(current(), "");
    EXPECT_TRUE(isWelcomeVisible());
}

TEST_F(Movies, ThatFailOneAfterTheOtherDoNotMakeTheShowRace)
{
    show({ "1.mov", "2.mov" });
    appear();
    step();
    movie.made = 0;

    for (int i = 0; i < 100; ++i) {
        if (movie.player)
            movie.player->end(MovieEnd::Failed);
        clock.advance(milliseconds(100));
    }

    EXPECT_GT(movie.made, 5);
    EXPECT_LT(movie.made, 15);
    EXPECT_NE(current(), "");
}

// Files that change.

TEST_F(Movies, ThatAreBeingWrittenArePutOff)
{
    show({ "1.png", "2.mov", "3.png" });
    step();

    movie.player->end(MovieEnd::Unfinished);
    settle();

    EXPECT_EQ(current(), "3.png");
    EXPECT_EQ(controller->mFileSequence().count(), 2U);
    EXPECT_TRUE(controller->mFileSequence().awaitsFiles());
}

TEST_F(Movies, ThatAreWrittenAnewWhileTheyPlayStayUntilTheyAreFinished)
{
    showMovie();

    controller->currentFileChanged();
    movie.player->end(MovieEnd::Unfinished);
    EXPECT_EQ(current(), "2.mov");
    EXPECT_EQ(screen.shown, "2.mov");
    clock.advance(seconds(1));

    EXPECT_EQ(current(), "2.mov");
    EXPECT_TRUE(controller->mMovieIsPlaying());
    EXPECT_EQ(movie.made, 3);
}

TEST_F(Movies, BeginAgainWhenTheirFileWasReplaced)
{
    playMovie(5);

    controller->currentFileChanged();

    EXPECT_EQ(movie.made, 2);
    EXPECT_EQ(current(), "2.mov");
    EXPECT_FALSE(controller->isPlaying());
    movie.player->end();
    clock.advance({});
    EXPECT_TRUE(controller->isPlaying());
}

TEST_F(Movies, ArePlayedOnWhileNewFilesCome)
{
    defaults.setValue(kShowNewItemsASAP, true);
    playMovie(5);

    controller->newFilesFound();
    settle();

    EXPECT_EQ(current(), "2.mov");
    EXPECT_EQ(movie.made, 1);
}

TEST_F(Movies, GoToTheTrashAndTheNextSlideComes)
{
    playMovie(5);

    controller->trashSlide();
    settle();

    EXPECT_FALSE(QFile::exists(QFile::decodeName(path("2.mov"))));
    EXPECT_EQ(current(), "3.png");
    EXPECT_FALSE(isMovieThere());
    EXPECT_TRUE(controller->isPlaying());
}

TEST_F(Movies, ThatCannotGoToTheTrashPlayOn)
{
    showMovie();
    ASSERT_TRUE(QFile::remove(QFile::decodeName(path("2.mov")))); // There is nothing to move.

    controller->trashSlide();
    settle();

    EXPECT_EQ(current(), "2.mov");
    EXPECT_TRUE(controller->mMovieIsPlaying());
}

// The show around them.

TEST_F(Movies, BeginAShowOnce)
{
    show({ "1.mov", "2.png" });

    EXPECT_EQ(current(), "1.mov");
    EXPECT_EQ(movie.made, 1);
}

TEST_F(Movies, BeginAShowThatGoesOnByItself)
{
    defaults.setValue(kAutoStart, true);
    defaults.setValue(kSlideInterval, 5.);
    show({ "1.mov", "2.png", "3.png" });
    appear();

    movie.player->end();

    EXPECT_EQ(current(), "2.png");
    EXPECT_TRUE(controller->isPlaying());
}

TEST_F(Movies, StopWithTheShow)
{
    playMovie(5);

    controller->endSlideShow();
    settle();

    EXPECT_FALSE(isMovieThere());
    EXPECT_FALSE(controller->isPlaying());
    EXPECT_EQ(movie.player, nullptr);
    clock.advance(seconds(60));
    EXPECT_EQ(current(), "");
}

TEST_F(Movies, AtTheEndOfTheListStayOnScreen)
{
    defaults.setValue(kEndMode, QString(kEndModeWait));
    show({ "1.png", "2.mov" });
    step();
    appear();

    movie.player->end();

    EXPECT_EQ(current(), "2.mov");
    EXPECT_EQ(screen.shown, "2.mov");
    EXPECT_FALSE(isMovieThere());
}

TEST_F(Movies, AtTheEndOfTheListEndAShowThatCloses)
{
    defaults.setValue(kEndMode, QString(kEndModeClose));
    show({ "1.png", "2.mov" });
    step();
    appear();

    movie.player->end();
    settle();

    EXPECT_EQ(current(), "");
}

TEST_F(Movies, AloneInAShowThatBeginsAgainPlayAgain)
{
    defaults.setValue(kEndMode, QString(kEndModeRewind));
    show({ "1.mov" });
    appear();

    movie.player->end();

    EXPECT_EQ(current(), "1.mov");
    EXPECT_EQ(movie.made, 2);
    EXPECT_TRUE(controller->mMovieIsPlaying());
}

TEST_F(Movies, AreOpenedWithTheApplicationForMovies)
{
    defaults.setValue(kMovieEditorPath, QStringLiteral("/usr/bin/cutter"));
    defaults.setValue(kImageEditorPath, QStringLiteral("/usr/bin/painter"));
    showMovie();

    controller->openSlide();
    EXPECT_FALSE(controller->mMovieIsPlaying()); // Two would be heard.
    controller->previousSlide();
    controller->openSlide();

    EXPECT_EQ(opened, Names({ "2.mov by /usr/bin/cutter", "1.png by /usr/bin/painter" }));
}

TEST_F(Movies, HaveTheNextPictureDecodedAhead)
{
    showMovie();

    EXPECT_EQ(screen.readAhead, Names({ "3.png" }));
}

TEST_F(Movies, AreAnnouncedByTheSlideBeforeThem)
{
    show({ "1.png", "2.png", "3.mov" });
    preparations = 0;

    step();
    EXPECT_EQ(preparations, 1);
    EXPECT_TRUE(screen.readAhead.empty());
    step();

    EXPECT_EQ(preparations, 1);
}

TEST_F(Movies, GoOnInAnotherWindow)
{
    playMovie(5);
    const auto player = controller->mMoviePlayer();

    controller->ShowChooseScreen();
    controller->ChangeScreen();
    settle();

    EXPECT_EQ(controller->mMoviePlayer(), player);
    EXPECT_EQ(screen.movie, player);
    EXPECT_EQ(movie.made, 1);
    EXPECT_TRUE(controller->mMovieIsPlaying());
    movie.player->end();
    EXPECT_TRUE(controller->isPlaying());
}

TEST_F(Movies, ThatArePausedStaySoInAnotherWindow)
{
    playMovie(5);
    space();

    controller->ShowChooseScreen();
    controller->ChangeScreen();

    EXPECT_FALSE(controller->mMovieIsPlaying());
}

struct MovieAdds : Movies {
    MovieAdds()
    {
        defaults.setValue(kShowAdds, true);
        defaults.setValue(kAddInterval, 1);
        adds.file("a.mov");
        defaults.setValue(kAddFolder, Bookmark::bookmarkForPath(adds.path())->data());
    }

    ByteFolder adds;
};

TEST_F(MovieAdds, PlayToTheirEndAndTheShowGoesOn)
{
    show123();
    step();
    step();
    EXPECT_EQ(current(), "a.mov");
    appear();

    movie.player->end();

    EXPECT_EQ(current(), "3.png");
}

TEST_F(MovieAdds, ThatAreBeingWrittenGiveWay)
{
    show123();
    step();
    step();

    movie.player->end(MovieEnd::Unfinished);
    settle();

    EXPECT_EQ(current(), "3.png");
}

} // namespace

} // namespace quorvane
