// SPDX-License-Identifier: GPL-3.0-or-later
// Players that die, stop or talk nonsense, and what is left of them.
#include "platform/DecoderProgram.h"
#include "platform/FileDescriptor.h"
#include "platform/FileStability.h"
#include "platform/MainQueue.h"
#include "platform/MoviePool.h"
#include "platform/Sanitizer.h"
#include "platform/SessionPlayer.h"
#include "support/ByteFolder.h"
#include "support/EventWaiting.h"
#include "support/MovieBytes.h"
#include "support/MovieListener.h"
#include "support/Processes.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>

#include <algorithm>
#include <vector>

namespace quorvane {
namespace {

using std::chrono::milliseconds;
using tests::isRunning;
using tests::waitUntil;

constexpr QSize kTarget { 64, 48 };
constexpr MoviePlayerOptions kSilent { .hasSound = false };

/// A movie on a test's screen.
struct Showing {
    Showing(MoviePool& pool, const FileURL& url)
        : player(std::make_unique<SessionPlayer>(pool, url, kSilent))
    {
        player->addObserver(listener);
        player->setTargetSize(kTarget);
        player->play();
    }

    testing::AssertionResult waitForFirstFrame() const
    {
        return waitUntil([this] { return listener.frames > 0; });
    }

    testing::AssertionResult waitForEnd() const
    {
        return waitUntil([this] { return listener.hasEnded(); });
    }

    tests::MovieListener listener;
    std::unique_ptr<MoviePlayer> player;
};

struct MoviePoolTest : testing::Test {
    /// Those of other pools of this process.
    MoviePoolTest()
        : before(tests::childProcesses())
    {
    }

    std::vector<pid_t> players() const
    {
        auto all = tests::childProcesses();
        std::erase_if(all, [this](pid_t process) {
            return std::find(before.begin(), before.end(), process) != before.end();
        });
        return all;
    }

    /// \return the one that is kept ready.
    pid_t spareOf(MoviePool& pool) const
    {
        pool.prepare();
        EXPECT_TRUE(waitUntil([this] { return players().size() == 1; }));
        const auto all = players();
        return all.empty() ? -1 : all.front();
    }

    /// Written long ago.
    FileURL file(const QByteArray& name, const QByteArray& bytes) const
    {
        folder.file(name, bytes);
        const timespec longAgo { 1'000'000'000, 0 };
        const timespec times[] = { longAgo, longAgo };
        utimensat(AT_FDCWD, folder.path(name).constData(), times, 0);
        // A program that was started meanwhile has it open for a moment, as this one had.
        const auto opened = openForReading(folder.url(name));
        EXPECT_TRUE(waitUntil([&] { return writersOf(*opened) != Writers::Some; }));
        return folder.url(name);
    }

    FileURL longMovie() const { return file("long.mov", tests::movieBytes({})); }
    FileURL shortMovie() const
    {
        return file("short.mov", tests::movieBytes({ .frames = 3, .framesPerSecond = 30 }));
    }

    const std::vector<pid_t> before;
    tests::ByteFolder folder;
    MoviePool::Options real { .program = playerProgram(), .endLimit = milliseconds(100) };
    MoviePool::Options fake { .program = QUORVANE_FAKE_PLAYER, .endLimit = milliseconds(100) };
};

TEST_F(MoviePoolTest, KeepsOnePlayerReady)
{
    MoviePool pool(real);
    const pid_t spare = spareOf(pool);
    pool.prepare();

    Showing showing(pool, longMovie());

    ASSERT_TRUE(showing.waitForFirstFrame());
    EXPECT_TRUE(waitUntil([&] { return players().size() == 2; })) << "The next one";
    EXPECT_TRUE(isRunning(spare)) << "Which plays";
    showing.player.reset();
    EXPECT_TRUE(waitUntil([&] { return players().size() == 1; }));
    EXPECT_FALSE(isRunning(spare));
}

TEST_F(MoviePoolTest, LetsAPlayerGoThatNobodyNeeds)
{
    fake.spareLimit = milliseconds(500);
    MoviePool pool(fake);

    pool.prepare();

    EXPECT_TRUE(waitUntil([&] { return players().size() == 1; }));
    EXPECT_TRUE(waitUntil([&] { return players().empty(); }));
}

TEST_F(MoviePoolTest, FailsOnceWhenItsPlayerIsKilled)
{
    MoviePool pool(real);
    const pid_t player = spareOf(pool);
    Showing showing(pool, longMovie());
    ASSERT_TRUE(showing.waitForFirstFrame());

    kill(player, SIGKILL);

    ASSERT_TRUE(showing.waitForEnd());
    EXPECT_EQ(showing.listener.heard, "first failed ");
    EXPECT_FALSE(showing.player->isPlaying());
    EXPECT_FALSE(showing.player->currentFrame().isNull()) << "The last frame stays";
    showing.player->play();
    showing.player->seek(1);
    Showing next(pool, shortMovie());
    ASSERT_TRUE(next.waitForEnd());
    EXPECT_EQ(next.listener.heard, "first finished ");
    EXPECT_EQ(showing.listener.heard, "first failed ");
}

TEST_F(MoviePoolTest, PlaysAlthoughTheOneThatWasReadyIsGone)
{
    MoviePool pool(real);
    const pid_t spare = spareOf(pool);
    kill(spare, SIGKILL);
    ASSERT_TRUE(waitUntil([&] { return !isRunning(spare); }));

    Showing showing(pool, shortMovie());

    ASSERT_TRUE(showing.waitForEnd());
}

TEST_F(MoviePoolTest, WaitsForNoPlayerThatStands)
{
    MoviePool pool(real);
    const pid_t player = spareOf(pool);
    Showing showing(pool, longMovie());
    ASSERT_TRUE(showing.waitForFirstFrame());

    kill(player, SIGSTOP);

    for (int i = 0; i < 5000; ++i) // More than a socket holds.
        showing.player->seek(i / 5000.);
    Showing next(pool, shortMovie());
    ASSERT_TRUE(next.waitForEnd());
    EXPECT_EQ(next.listener.heard, "first finished ");
    EXPECT_FALSE(showing.listener.hasEnded());
    showing.player.reset();
    EXPECT_TRUE(waitUntil([&] { return !isRunning(player); })) << "It is not left behind";
}

TEST_F(MoviePoolTest, GoesOnWithAPlayerThatStoodForAWhile)
{
    MoviePool pool(real);
    const pid_t player = spareOf(pool);
    Showing showing(pool, longMovie());
    showing.player->pause();
    ASSERT_TRUE(showing.waitForFirstFrame());
    kill(player, SIGSTOP);
    for (int i = 0; i < 5000; ++i)
        showing.player->seek(i / 5000.);
    showing.player->seek(1.8);

    kill(player, SIGCONT);

    EXPECT_TRUE(waitUntil([&] { return std::abs(showing.player->position() - 1.8) < 0.001; }));
}

TEST_F(MoviePoolTest, EndsItsPlayersWhenItGoes)
{
    auto pool = std::make_unique<MoviePool>(real);
    const Showing showing(*pool, longMovie());
    ASSERT_TRUE(showing.waitForFirstFrame());
    ASSERT_TRUE(waitUntil([&] { return players().size() == 2; }));

    pool.reset();

    EXPECT_TRUE(waitUntil([&] { return players().empty(); }));
}

TEST_F(MoviePoolTest, BelievesNoNonsense)
{
    const char* const words[] = { "huge", "flat", "nan", "negative", "odd-end", "odd-picture",
        "endless", "stranger", "wide", "high", "overlapping", "odd-step", "vast", "empty",
        "odd-kind", "ready", "short", "crash", "leave", "close" };
    for (const QByteArray word : words) // Before a program is started, which would have them open.
        file(word, "known " + word + " finish stay");
    MoviePool pool(fake);
    for (const QByteArray word : words) {
        Showing showing(pool, folder.url(word));

        ASSERT_TRUE(showing.waitForEnd()) << word.toStdString();

        EXPECT_EQ(showing.listener.heard, "failed ") << word.toStdString();
        EXPECT_TRUE(showing.player->currentFrame().isNull());
        EXPECT_LE(showing.player->naturalSize().width(), 64) << word.toStdString();
    }
    EXPECT_TRUE(waitUntil([&] { return players().size() <= 1; }));
}

TEST_F(MoviePoolTest, BelievesSense)
{
    MoviePool pool(fake);
    Showing showing(pool, file("words", "known frame finish"));

    ASSERT_TRUE(showing.waitForEnd());

    EXPECT_EQ(showing.listener.heard, "first finished ");
    EXPECT_EQ(showing.player->naturalSize(), kTarget);
}

TEST_F(MoviePoolTest, HearsNoSecondEnd)
{
    MoviePool pool(fake);
    Showing showing(pool, file("words", "known frame finish fail crash"));
    ASSERT_TRUE(showing.waitForEnd());
    ASSERT_TRUE(waitUntil([&] { return players().size() <= 1; }));

    MainQueue::drain();

    EXPECT_EQ(showing.listener.heard, "first finished ");
}

TEST_F(MoviePoolTest, FailsWhenNothingIsHeardOfTheMovie)
{
    fake.openLimit = milliseconds(50);
    MoviePool pool(fake);

    Showing showing(pool, file("words", "stay"));

    ASSERT_TRUE(showing.waitForEnd());
    EXPECT_EQ(showing.listener.heard, "failed ");
    EXPECT_TRUE(waitUntil([&] { return players().size() <= 1; }))
        << "It stays, unless it is killed";
}

TEST_F(MoviePoolTest, FailsWithoutAProgram)
{
    MoviePool pool({ .program = folder.path("none") });
    pool.prepare();

    Showing showing(pool, shortMovie());

    ASSERT_TRUE(showing.waitForEnd());
    EXPECT_EQ(showing.listener.heard, "failed ");
}

TEST_F(MoviePoolTest, FailsWithAProgramThatEndsAtOnce)
{
    MoviePool pool({ .program = "/bin/true" });
    for (int i = 0; i < 5; ++i) {
        Showing showing(pool, shortMovie());

        ASSERT_TRUE(showing.waitForEnd());
        EXPECT_EQ(showing.listener.heard, "failed ");
    }
}

TEST_F(MoviePoolTest, DrawsOverNoFrameThatIsHeld)
{
    MoviePool pool(fake);
    std::vector<QImage> held;
    Showing showing(pool, file("words", "known" + QByteArray(" frame").repeated(12) + " finish"));
    showing.listener.onFrame = [&] { held.push_back(showing.player->currentFrame()); };

    ASSERT_TRUE(showing.waitForEnd());

    ASSERT_FALSE(held.empty());
    EXPECT_EQ(qRed(held.back().pixel(63, 47)), 12);
    for (std::size_t i = 1; i < held.size(); ++i)
        EXPECT_GT(qRed(held[i].pixel(0, 0)), qRed(held[i - 1].pixel(0, 0)));
    showing.player.reset();
    EXPECT_EQ(qRed(held.back().pixel(63, 47)), 12) << "They outlive the movie";
}

TEST_F(MoviePoolTest, LendsTheSameMemoryAgain)
{
    MoviePool pool(fake);
    std::vector<const uchar*> places;
    Showing showing(pool, file("words", "known" + QByteArray(" frame").repeated(50) + " finish"));
    showing.listener.onFrame
        = [&] { places.push_back(showing.player->currentFrame().constBits()); };

    ASSERT_TRUE(showing.waitForEnd());

    std::sort(places.begin(), places.end());
    places.erase(std::unique(places.begin(), places.end()), places.end());
    EXPECT_LE(places.size(), 4U);
}

TEST_F(MoviePoolTest, PlaysNothingThatIsBeingWritten)
{
    MoviePool pool(real);
    const FileURL url = shortMovie();
    const FileDescriptor writer(open(folder.path("short.mov").constData(), O_WRONLY | O_CLOEXEC));

    Showing showing(pool, url);

    ASSERT_TRUE(showing.waitForEnd());
    EXPECT_EQ(showing.listener.heard, "unfinished ");
    EXPECT_EQ(showing.listener.informed, 0);
}

TEST_F(MoviePoolTest, TakesAPieceThatWasJustWrittenForUnfinished)
{
    MoviePool pool(real);
    const QByteArray whole = tests::movieBytes({});
    folder.file("half.mov", whole.left(whole.size() / 2));

    Showing showing(pool, folder.url("half.mov"));

    ASSERT_TRUE(showing.waitForEnd());
    EXPECT_EQ(showing.listener.heard, "unfinished ");
}

TEST_F(MoviePoolTest, GivesThePlayerNoFileButTheMovie)
{
    MoviePool pool(real);
    const pid_t player = spareOf(pool);
    const FileURL url = longMovie();
    Showing showing(pool, url);
    ASSERT_TRUE(showing.waitForFirstFrame());

    const QByteArray status = tests::statusOf(player);

    EXPECT_TRUE(status.contains("NoNewPrivs:\t1\n"));
    QFile limits(QStringLiteral("/proc/%1/limits").arg(player));
    ASSERT_TRUE(limits.open(QIODevice::ReadOnly));
    const QByteArray text = limits.readAll();
    EXPECT_EQ(text.contains("Max data size             unlimited"), kHasSanitizer);
    EXPECT_TRUE(text.contains("Max core file size        1 "));
    QDir descriptors(QStringLiteral("/proc/%1/fd").arg(player));
    int files = 0;
    for (const QFileInfo& descriptor : descriptors.entryInfoList(QDir::System | QDir::Files))
        files += descriptor.symLinkTarget().endsWith(QStringLiteral(".mov")) ? 1 : 0;
    EXPECT_EQ(files, 1);
}

} // namespace
} // namespace quorvane
