// SPDX-License-Identifier: GPL-3.0-or-later
// Every real movie plays, and every damaged one comes to an end.
#include "corpus/CorpusManifest.h"
#include "platform/FileURL.h"
#include "platform/MoviePlayer.h"
#include "support/EventWaiting.h"
#include "support/MovieListener.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace quorvane {

namespace {

using tests::CorpusFile;
using tests::waitUntil;
using Fate = CorpusFile::Fate;

constexpr QSize kTarget { 160, 120 };

/// How much of a movie's end is played, in seconds.
constexpr double kTail = 0.3;

/// A movie that begins.
struct Screening {
    explicit Screening(const CorpusFile& file)
        : player(MoviePlayer::playerWithURL(FileURL(file.path()), { .hasSound = false }))
    {
        player->addObserver(listener);
        player->setTargetSize(kTarget);
        player->play();
    }

    /// What it does comes to an end, or goes on so long that it plays.
    testing::AssertionResult comesToSomething() const
    {
        return waitUntil([this] { return listener.hasEnded() || player->position() > 1; });
    }

    testing::AssertionResult playsItsTail(std::optional<double> seconds) const
    {
        if (seconds && *seconds > 2 * kTail)
            player->seek(*seconds - kTail);
        return waitUntil([this] { return listener.hasEnded(); });
    }

    tests::MovieListener listener;
    std::unique_ptr<MoviePlayer> player;
};

class CorpusMoviePlayed : public testing::TestWithParam<CorpusFile> { };

TEST_P(CorpusMoviePlayed, UprightAndToItsEnd)
{
    const Screening screening(GetParam());

    ASSERT_TRUE(waitUntil([&] { return screening.listener.frames > 0; }));
    EXPECT_NEAR(screening.player->naturalSize().width(), GetParam().size.width(), 2);
    EXPECT_NEAR(screening.player->naturalSize().height(), GetParam().size.height(), 2);
    EXPECT_EQ(screening.player->currentFrame().size(), kTarget);
    ASSERT_TRUE(screening.playsItsTail(screening.player->duration()));

    EXPECT_TRUE(screening.listener.heard.ends_with("finished ")) << screening.listener.heard;
}

class CorpusSoundPlayed : public testing::TestWithParam<CorpusFile> { };

TEST_P(CorpusSoundPlayed, WithoutAPictureAndToItsEnd)
{
    const Screening screening(GetParam());

    ASSERT_TRUE(waitUntil([&] { return screening.player->hasPicture().has_value(); }));
    EXPECT_FALSE(*screening.player->hasPicture());
    ASSERT_TRUE(screening.playsItsTail(screening.player->duration()));

    EXPECT_EQ(screening.listener.heard, "finished ");
}

class CorpusMovieRefused : public testing::TestWithParam<CorpusFile> { };

TEST_P(CorpusMovieRefused, WithoutAFrame)
{
    const Screening screening(GetParam());

    ASSERT_TRUE(screening.comesToSomething());

    EXPECT_EQ(screening.listener.heard, "failed ");
}

class CorpusMovieDamaged : public testing::TestWithParam<CorpusFile> { };

TEST_P(CorpusMovieDamaged, PlaysOrEnds)
{
    const Screening screening(GetParam());

    EXPECT_TRUE(screening.comesToSomething());
}

std::vector<CorpusFile> damagedMovies(Fate fate)
{
    auto files = tests::corpusFiles({ fate });
    std::erase_if(
        files, [](const CorpusFile& file) { return !file.name.startsWith("damaged-movies/"); });
    return files;
}

INSTANTIATE_TEST_SUITE_P(
    Corpus, CorpusMoviePlayed, testing::ValuesIn(tests::corpusFiles({ Fate::Movie })));
INSTANTIATE_TEST_SUITE_P(
    Corpus, CorpusSoundPlayed, testing::ValuesIn(tests::corpusFiles({ Fate::Audio })));
INSTANTIATE_TEST_SUITE_P(
    Corpus, CorpusMovieRefused, testing::ValuesIn(damagedMovies(Fate::Dropped)));
INSTANTIATE_TEST_SUITE_P(
    Corpus, CorpusMovieDamaged, testing::ValuesIn(damagedMovies(Fate::Either)));

} // namespace

} // namespace quorvane
