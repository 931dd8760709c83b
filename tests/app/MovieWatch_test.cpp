// SPDX-License-Identifier: GPL-3.0-or-later
// When a movie is over, also one that does not say so.
#include "app/MovieWatch.h"
#include "support/FakeMoviePlayer.h"
#include "support/ManualClock.h"

#include <gtest/gtest.h>

#include <optional>

namespace quorvane {

namespace {

using namespace tests;
using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr QSize kSize { 64, 48 };

struct Watch : testing::Test {
    Watch()
    {
        player->play();
        watch.emplace(*player, clock, [this](MovieEnd end) {
            ends += end == MovieEnd::Finished ? "finished " : "failed ";
            if (onEnd)
                onEnd();
        });
    }

    /// A movie that shows something already.
    void begin() const
    {
        movie.player->open(kSize, 10.);
        movie.player->showFrame();
    }

    FakeMovie movie;
    std::shared_ptr<MoviePlayer> player = movie.makePlayer();
    ManualClock clock;
    std::string ends;
    std::function<void()> onEnd;
    std::optional<MovieWatch> watch;
};

TEST_F(Watch, HearsTheEndOnce)
{
    begin();

    movie.player->end();
    clock.advance(seconds(60));

    EXPECT_EQ(ends, "finished ");
    EXPECT_EQ(clock.validTimers(), 0);
}

TEST_F(Watch, HearsOfAFailure)
{
    movie.player->end(MovieEnd::Failed);

    EXPECT_EQ(ends, "failed ");
}

TEST_F(Watch, EndsAMovieWithoutAFirstFrameAfterFiveSeconds)
{
    clock.advance(milliseconds(4999));
    EXPECT_EQ(ends, "");

    clock.advance(milliseconds(1));
    EXPECT_EQ(ends, "failed ");
}

TEST_F(Watch, TakesSoundForNoProgressWhileThePictureHasNotCome)
{
    movie.player->open(kSize, 10.);
    for (int i = 1; i <= 9; ++i) {
        clock.advance(milliseconds(500));
        movie.player->goOnTo(i * 0.5);
    }
    EXPECT_EQ(ends, "");

    clock.advance(milliseconds(500));
    EXPECT_EQ(ends, "failed ");
}

TEST_F(Watch, TakesSoundForProgressWhereThereIsNoPicture)
{
    movie.player->open({}, 20.);
    for (int i = 1; i <= 20; ++i) {
        clock.advance(seconds(1));
        movie.player->goOnTo(i);
    }

    EXPECT_EQ(ends, "");
}

TEST_F(Watch, EndsAMovieThatStandsStillForFiveSeconds)
{
    begin();
    clock.advance(seconds(3));
    movie.player->goOnTo(3);

    clock.advance(milliseconds(4999));
    EXPECT_EQ(ends, "");
    clock.advance(milliseconds(1));
    EXPECT_EQ(ends, "failed ");
}

TEST_F(Watch, WaitsForAMovieAsLongAsItGoesOn)
{
    begin();
    for (int i = 1; i <= 30; ++i) {
        clock.advance(seconds(4));
        if (i % 2 == 0)
            movie.player->showFrame();
        else
            movie.player->goOnTo(4 * i);
    }

    EXPECT_EQ(ends, "");
}

TEST_F(Watch, WaitsForAPausedMovieForEver)
{
    begin();
    player->pause();

    clock.advance(std::chrono::hours(24));

    EXPECT_EQ(ends, "");
}

TEST_F(Watch, GivesAMovieThatGoesOnAfterAPauseItsFiveSeconds)
{
    begin();
    player->pause();
    clock.advance(seconds(17));
    player->play();

    clock.advance(seconds(2));
    EXPECT_EQ(ends, "");
    clock.advance(seconds(8));
    EXPECT_EQ(ends, "failed ");
}

TEST_F(Watch, HearsNothingAfterItGaveUp)
{
    clock.advance(seconds(5));
    movie.player->end();

    EXPECT_EQ(ends, "failed ");
}

TEST_F(Watch, MayBeDestroyedByTheEnd)
{
    onEnd = [this] {
        watch.reset();
        player.reset();
    };

    movie.player->end();

    EXPECT_EQ(movie.gone, 1);
}

TEST_F(Watch, MayBeDestroyedWhenItGivesUp)
{
    onEnd = [this] {
        watch.reset();
        player.reset();
    };

    clock.advance(seconds(5));

    EXPECT_EQ(movie.gone, 1);
}

} // namespace

} // namespace quorvane
