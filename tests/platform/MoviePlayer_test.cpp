// SPDX-License-Identifier: GPL-3.0-or-later
// Movies of a few frames, played for real.
#include "platform/FileDescriptor.h"
#include "platform/FileStability.h"
#include "platform/MainQueue.h"
#include "platform/MoviePlayer.h"
#include "support/ByteFolder.h"
#include "support/EventWaiting.h"
#include "support/FakeMoviePlayer.h"
#include "support/MovieBytes.h"
#include "support/MovieListener.h"
#include "support/Processes.h"
#include "support/SoundDevice.h"
#include "support/TrackBytes.h"

#include <QDir>
#include <QProcess>

#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <sys/stat.h>

#include <cmath>
#include <string>
#include <vector>

namespace quorvane {
namespace {

using tests::ByteFolder;
using tests::movieBytes;
using tests::waitUntil;

constexpr QSize kTarget { 64, 48 };
constexpr MoviePlayerOptions kSilent { .hasSound = false };

// A quarter turn, as containers store it.
constexpr std::array<qint32, 9> kTurned { 0, 1 << 16, 0, -(1 << 16), 0, 0, 0, 0, 1 << 30 };

/// A movie on a test's screen.
struct Screening {
    explicit Screening(const FileURL& url, QSize target = kTarget)
        : player(MoviePlayer::playerWithURL(url, kSilent))
    {
        player->addObserver(listener);
        player->setTargetSize(target);
    }

    testing::AssertionResult waitForFirstFrame() const
    {
        return waitUntil([&] { return listener.frames > 0; });
    }

    testing::AssertionResult waitForEnd() const
    {
        return waitUntil([&] { return listener.hasEnded(); });
    }

    /// The last digits differ from time to time.
    bool isAt(double seconds) const { return std::abs(player->position() - seconds) < 1e-6; }

    /// Of the pixel in the middle, from 0 to 255.
    int brightness() const
    {
        const QImage frame = player->currentFrame();
        return qGreen(frame.pixel(frame.width() / 2, frame.height() / 2));
    }

    tests::MovieListener listener;
    std::unique_ptr<MoviePlayer> player;
};

/// What the usual fixture has painted in this frame, as the screen shows it.
int brightnessOf(int frame)
{
    return static_cast<int>(std::lround((30 + 10 * frame - 16) * 255. / 219));
}

qsizetype entriesOf(const char* folder)
{
    return QDir(QLatin1String(folder)).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size();
}

/// How often a word is in a file.
qsizetype countIn(const char* path, const char* word)
{
    QFile file { QString::fromLatin1(path) };
    return file.open(QIODevice::ReadOnly) ? file.readAll().count(word) : -1;
}

struct MoviePlayerTest : testing::Test {
    FileURL movie(const tests::MovieFixture& fixture = {}, const QByteArray& name = "a.mov") const
    {
        return file(name, movieBytes(fixture));
    }

    /// Written long ago.
    FileURL file(const QByteArray& name, const QByteArray& bytes) const
    {
        folder.file(name, bytes);
        leaveAlone(name);
        return folder.url(name);
    }

    void leaveAlone(const QByteArray& name) const
    {
        const timespec longAgo { 1'000'000'000, 0 };
        const timespec times[] = { longAgo, longAgo };
        utimensat(AT_FDCWD, folder.path(name).constData(), times, 0);
        // A program that was started meanwhile has it open for a moment, as this one had.
        const auto opened = openForReading(folder.url(name));
        EXPECT_TRUE(waitUntil([&] { return writersOf(*opened) != Writers::Some; }));
    }

    FileURL shortMovie() const
    {
        return movie({ .frames = 3, .framesPerSecond = 30 }, "short.mov");
    }

    ByteFolder folder;
};

TEST_F(MoviePlayerTest, ShowsItsFirstFrameAndWaits)
{
    const Screening screening(movie());

    ASSERT_TRUE(screening.waitForFirstFrame());

    EXPECT_FALSE(screening.player->isPlaying());
    EXPECT_EQ(screening.listener.heard, "first ");
    EXPECT_EQ(screening.player->currentFrame().size(), kTarget);
    EXPECT_EQ(screening.player->currentFrame().format(), QImage::Format_RGB32);
    EXPECT_NEAR(screening.brightness(), brightnessOf(0), 3);
    EXPECT_TRUE(screening.isAt(0));
}

TEST_F(MoviePlayerTest, PlaysToItsEndOnce)
{
    Screening screening(shortMovie());

    screening.player->play();

    EXPECT_TRUE(screening.player->isPlaying());
    ASSERT_TRUE(screening.waitForEnd());
    EXPECT_EQ(screening.listener.heard, "first finished ");
    EXPECT_FALSE(screening.player->isPlaying());
    EXPECT_GT(screening.listener.moves, 0);
    EXPECT_NEAR(screening.brightness(), brightnessOf(2), 3) << "The last frame stays";
    screening.player->play();
    EXPECT_FALSE(screening.player->isPlaying());
    screening.player->seek(0);
    ASSERT_TRUE(waitUntil([&] { return screening.isAt(0); }));
    EXPECT_EQ(screening.listener.heard, "first finished ");
}

TEST_F(MoviePlayerTest, ShowsItsFramesAsItGoesOn)
{
    Screening screening(movie({ .frames = 10, .framesPerSecond = 20 }));

    screening.player->play();

    ASSERT_TRUE(screening.waitForEnd());
    EXPECT_GE(screening.listener.frames, 5); // Of a machine that is busy with others.
    EXPECT_LE(screening.listener.frames, 12);
}

TEST_F(MoviePlayerTest, StandsStillWhilePaused)
{
    Screening screening(movie());
    screening.player->play();
    ASSERT_TRUE(waitUntil([&] { return screening.player->position() >= 0.1; }));

    screening.player->pause();
    screening.player->seek(0.5);

    EXPECT_FALSE(screening.player->isPlaying());
    ASSERT_TRUE(waitUntil([&] { return screening.isAt(0.5); }));
    Screening other(shortMovie());
    other.player->play();
    ASSERT_TRUE(other.waitForEnd()); // It takes longer than a frame of this one.
    EXPECT_TRUE(screening.isAt(0.5));
    EXPECT_FALSE(screening.listener.hasEnded());
}

TEST_F(MoviePlayerTest, GoesOnAfterAPause)
{
    Screening screening(shortMovie());
    screening.player->play();
    screening.player->pause();
    ASSERT_TRUE(screening.waitForFirstFrame());

    screening.player->play();

    ASSERT_TRUE(screening.waitForEnd());
    EXPECT_EQ(screening.listener.heard, "first finished ");
}

TEST_F(MoviePlayerTest, GoesToExactlyTheMoment)
{
    Screening screening(movie());
    ASSERT_TRUE(screening.waitForFirstFrame());

    screening.player->seek(0.7); // Two frames behind one that can be decoded by itself.

    ASSERT_TRUE(waitUntil([&] { return screening.isAt(0.7); }));
    ASSERT_TRUE(waitUntil([&] { return screening.brightness() > brightnessOf(6) + 3; }));
    EXPECT_NEAR(screening.brightness(), brightnessOf(7), 3);
}

TEST_F(MoviePlayerTest, GoesThereAsSoonAsItIsOpen)
{
    Screening screening(movie());

    screening.player->seek(0.3);
    screening.player->seek(1.2);

    EXPECT_TRUE(waitUntil([&] { return screening.isAt(1.2); }));
}

TEST_F(MoviePlayerTest, EndsBeyondTheEndOnlyWhenItPlays)
{
    for (const bool isSound : { false, true }) {
        Screening screening(movie({ .isSound = isSound }));
        screening.player->seek(1000);
        ASSERT_TRUE(waitUntil([&] { return screening.listener.informed > 0; }));
        Screening other(shortMovie());
        other.player->play();
        ASSERT_TRUE(other.waitForEnd());
        EXPECT_FALSE(screening.listener.hasEnded()) << isSound;

        screening.player->play();

        ASSERT_TRUE(screening.waitForEnd()) << isSound;
        EXPECT_EQ(screening.listener.heard, isSound ? "finished " : "first finished ");
    }
}

TEST_F(MoviePlayerTest, GoesOnFromWhereItWasPutAfterItsEnd)
{
    Screening screening(movie());
    ASSERT_TRUE(screening.waitForFirstFrame());
    screening.player->seek(1000);
    ASSERT_TRUE(waitUntil([&] { return screening.player->position() > 1.8; }));

    screening.player->seek(0.5);
    screening.player->play();

    ASSERT_TRUE(waitUntil([&] { return screening.isAt(0.7); }));
    EXPECT_EQ(screening.listener.heard, "first ");
}

TEST_F(MoviePlayerTest, GoesToOtherMomentsWhilePlaying)
{
    Screening screening(movie());
    screening.player->play();
    ASSERT_TRUE(waitUntil([&] { return screening.player->position() >= 0.1; }));

    for (int i = 0; i < 40; ++i) {
        screening.player->seek(i % 2 == 0 ? 1.9 : 0.3);
        QCoreApplication::processEvents();
    }
    screening.player->seek(1.8);

    ASSERT_TRUE(screening.waitForEnd());
    EXPECT_EQ(screening.listener.heard, "first finished ");
}

TEST_F(MoviePlayerTest, EndsWhereItHasSoundButNoPicture)
{
    // Only its first frame can be decoded by itself; and it is large enough to take a moment to
    // search.
    const FileURL url = movie({ .size = { 320, 240 },
        .frames = 20,
        .framesPerSecond = 10,
        .keyEvery = 100,
        .codec = AV_CODEC_ID_MPEG2VIDEO,
        .container = "mpegts",
        .silentPackets = 84,
        .pixel = [](int frame, double x, double y) {
            const int noise = static_cast<int>(frame * 37 + x * 6400 + y * 4800) % 200;
            return tests::Yuv { 30 + noise, 128, 128 };
        } });
    for (int i = 0; i < 5; ++i) {
        const Screening screening(url);
        screening.player->play();
        ASSERT_TRUE(screening.waitForFirstFrame());

        screening.player->seek(1.7);

        ASSERT_TRUE(screening.waitForEnd());
        EXPECT_EQ(screening.listener.heard, "first finished ");
    }
}

TEST_F(MoviePlayerTest, IgnoresMomentsThatAreNoNumbers)
{
    Screening screening(movie());
    ASSERT_TRUE(screening.waitForFirstFrame());

    screening.player->seek(0.5);
    screening.player->seek(std::nan(""));
    screening.player->seek(INFINITY);

    EXPECT_TRUE(waitUntil([&] { return screening.isAt(0.5); }));
    screening.player->seek(-3);
    EXPECT_TRUE(waitUntil([&] { return screening.isAt(0); }));
}

TEST_F(MoviePlayerTest, KnowsHowLongItIs)
{
    const Screening screening(movie());

    EXPECT_EQ(screening.player->duration(), std::nullopt);
    ASSERT_TRUE(screening.waitForFirstFrame());

    EXPECT_EQ(screening.player->duration(), 2);
    EXPECT_GT(screening.listener.informed, 0);
}

TEST_F(MoviePlayerTest, HasTheSizeThatIsSeen)
{
    struct {
        const char* name;
        tests::MovieFixture fixture;
        QSize expected;
    } const rows[] = {
        { "plain.mov", {}, { 64, 48 } },
        { "wide.mov", { .pixelAspect = { 2, 1 } }, { 128, 48 } },
        { "turned.mov", { .matrix = kTurned }, { 48, 64 } },
        { "both.mov", { .pixelAspect = { 2, 1 }, .matrix = kTurned }, { 48, 128 } },
    };
    for (const auto& row : rows) {
        const Screening screening(movie(row.fixture, row.name));

        EXPECT_TRUE(screening.player->naturalSize().isEmpty());
        ASSERT_TRUE(screening.waitForFirstFrame());

        EXPECT_EQ(screening.player->naturalSize(), row.expected) << row.name;
        EXPECT_EQ(screening.player->hasPicture(), true) << row.name;
    }
}

TEST_F(MoviePlayerTest, TurnsWhatIsToBeTurned)
{
    const auto leftIsBright = [](int, double x, double) {
        return tests::Yuv { x < 0.5 ? 235 : 16, 128, 128 };
    };
    const QSize target(48, 64);
    const Screening screening(movie({ .matrix = kTurned, .pixel = leftIsBright }), target);

    ASSERT_TRUE(screening.waitForFirstFrame());

    const QImage frame = screening.player->currentFrame();
    ASSERT_EQ(frame.size(), target);
    EXPECT_GT(qGreen(frame.pixel(4, 8)), 240); // Turned to the right: its left is on top.
    EXPECT_GT(qGreen(frame.pixel(44, 8)), 240);
    EXPECT_LT(qGreen(frame.pixel(4, 56)), 15);
    EXPECT_LT(qGreen(frame.pixel(44, 56)), 15);
}

TEST_F(MoviePlayerTest, HasItsColours)
{
    const auto red = [](int, double, double) { return tests::Yuv { 81, 90, 240 }; }; // BT.601
    const Screening screening(movie({ .pixel = red }));

    ASSERT_TRUE(screening.waitForFirstFrame());

    const QColor colour = screening.player->currentFrame().pixelColor(32, 24);
    EXPECT_GT(colour.red(), 248);
    EXPECT_LT(colour.green(), 8);
    EXPECT_LT(colour.blue(), 8);
}

TEST_F(MoviePlayerTest, FillsWhateverSizeIsAskedFor)
{
    const auto white = [](int, double, double) { return tests::Yuv { 235, 128, 128 }; };
    Screening screening(movie({ .pixel = white }), {});
    ASSERT_TRUE(waitUntil([&] { return !screening.player->naturalSize().isEmpty(); }));
    EXPECT_TRUE(screening.player->currentFrame().isNull());

    for (const QSize size : { QSize(200, 100), QSize(1, 1), QSize(37, 53) }) {
        screening.player->setTargetSize(size);

        ASSERT_TRUE(waitUntil([&] { return screening.player->currentFrame().size() == size; }));
        const QImage frame = screening.player->currentFrame();
        const QPoint corners[] = { { 0, 0 }, frame.rect().topRight(), frame.rect().bottomLeft(),
            frame.rect().bottomRight(), frame.rect().center() };
        for (const QPoint& corner : corners)
            EXPECT_GT(qGreen(frame.pixel(corner)), 250) << size.width() << ' ' << corner.x();
    }
    EXPECT_EQ(screening.listener.heard, "first ");
}

TEST_F(MoviePlayerTest, KeepsAFrameThatSomebodyHolds)
{
    Screening screening(movie({ .frames = 8, .framesPerSecond = 40 }));
    ASSERT_TRUE(screening.waitForFirstFrame());
    const QImage held = screening.player->currentFrame();
    const QImage before = held.copy();

    screening.player->play();

    ASSERT_TRUE(screening.waitForEnd());
    EXPECT_EQ(held, before);
    screening.player.reset();
    EXPECT_EQ(held, before);
}

TEST_F(MoviePlayerTest, HasOpaquePixels)
{
    const Screening screening(movie());

    ASSERT_TRUE(screening.waitForFirstFrame());

    const QImage frame = screening.player->currentFrame();
    for (int y = 0; y < frame.height(); ++y) {
        const auto* const line = reinterpret_cast<const QRgb*>(frame.constScanLine(y));
        for (int x = 0; x < frame.width(); ++x)
            ASSERT_EQ(qAlpha(line[x]), 255) << x << ' ' << y;
    }
}

TEST_F(MoviePlayerTest, PlaysSoundWithoutAPicture)
{
    Screening screening(movie({ .isSound = true, .title = "A song" }));

    screening.player->play();

    ASSERT_TRUE(screening.waitForEnd());
    EXPECT_EQ(screening.listener.heard, "finished ");
    EXPECT_EQ(screening.player->hasPicture(), false);
    EXPECT_EQ(screening.player->title(), QStringLiteral("A song"));
    EXPECT_TRUE(screening.player->naturalSize().isEmpty());
    EXPECT_TRUE(screening.player->currentFrame().isNull());
}

TEST_F(MoviePlayerTest, HasNoTitleThatItDoesNotSay)
{
    const Screening screening(movie());

    ASSERT_TRUE(screening.waitForFirstFrame());

    EXPECT_TRUE(screening.player->title().isEmpty());
}

TEST_F(MoviePlayerTest, KeepsItsVolume)
{
    Screening screening(shortMovie());
    EXPECT_EQ(screening.player->volume(), 1);
    EXPECT_FALSE(screening.player->isMuted());

    screening.player->setVolume(0.25);
    screening.player->setMuted(true);

    EXPECT_EQ(screening.player->volume(), 0.25);
    EXPECT_TRUE(screening.player->isMuted());
    screening.player->setVolume(7);
    EXPECT_EQ(screening.player->volume(), 1);
    screening.player->setVolume(-1);
    EXPECT_EQ(screening.player->volume(), 0);
    screening.player->setVolume(std::nan(""));
    EXPECT_EQ(screening.player->volume(), 0);
}

TEST_F(MoviePlayerTest, EndsAtOnceIfThereIsNothingToPlay)
{
    const QByteArray whole = movieBytes({});
    struct {
        const char* name;
        FileURL url;
    } const rows[] = {
        { "missing", folder.url("missing.mov") },
        { "a folder", folder.url("") },
        { "empty", file("empty.mov", {}) },
        { "text", file("text.mp4", QByteArray("Dear diary, nothing moved today.\n").repeated(99)) },
        { "zeros", file("zeros.mp4", QByteArray(9999, '\0')) },
        { "half", file("half.mov", whole.left(whole.size() / 2)) },
        { "no frames", file("none.mov", movieBytes({ .frames = 0 })) },
        { "a picture", file("picture.mp4", "P6 1 1 255 abc") },
    };
    for (const auto& row : rows) {
        Screening screening(row.url);

        screening.player->play();

        ASSERT_TRUE(screening.waitForEnd()) << row.name;
        EXPECT_EQ(screening.listener.heard, "failed ") << row.name;
        EXPECT_FALSE(screening.player->isPlaying());
    }
}

TEST_F(MoviePlayerTest, SaysThatItCannotBePlayedWithoutBeingTold)
{
    const Screening screening(folder.url("missing.mov"));

    ASSERT_TRUE(screening.waitForEnd());

    EXPECT_EQ(screening.listener.heard, "failed ");
}

TEST_F(MoviePlayerTest, PlaysWhatIsThereOfADamagedMovie)
{
    const QByteArray whole
        = movieBytes({ .frames = 6, .framesPerSecond = 30, .container = "matroska" });
    folder.file("cut.mkv", whole.left(whole.size() * 3 / 4));
    Screening screening(folder.url("cut.mkv"));

    screening.player->play();

    ASSERT_TRUE(screening.waitForEnd());
    EXPECT_EQ(screening.listener.heard, "first finished ");
}

TEST_F(MoviePlayerTest, PlaysTheContainersOfMovies)
{
    for (const char* container : { "mp4", "3gp", "matroska", "mpegts", "nut" }) {
        const bool isKnown = std::string(container) != "nut";
        const auto name = QByteArray(container) + ".movie";
        Screening screening(
            movie({ .frames = 8, .framesPerSecond = 60, .container = container }, name));

        screening.player->play();

        ASSERT_TRUE(screening.waitForEnd()) << container;
        EXPECT_EQ(screening.listener.heard, isKnown ? "first finished " : "failed ") << container;
    }
}

TEST_F(MoviePlayerTest, PlaysTheContainersOfSound)
{
    for (const char* container : { "wav", "w64", "caf", "aiff", "mov", "matroska" }) {
        Screening screening(
            movie({ .container = container, .isSound = true }, QByteArray(container) + ".sound"));

        screening.player->play();

        ASSERT_TRUE(screening.waitForEnd()) << container;
        EXPECT_EQ(screening.listener.heard, "finished ") << container;
        EXPECT_EQ(screening.player->hasPicture(), false) << container;
    }
}

TEST_F(MoviePlayerTest, TakesNamesThatAreNoText)
{
    Screening screening(movie({ .frames = 2, .framesPerSecond = 25 }, "\xff,%20:\n=.mov"));

    screening.player->play();

    ASSERT_TRUE(screening.waitForEnd());
    EXPECT_EQ(screening.listener.heard, "first finished ");
}

TEST_F(MoviePlayerTest, OpensNoFileThatAnotherOneNames)
{
    movie({}, "other.mov");
    const QByteArray other = folder.path("other.mov");
    const int watch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    ASSERT_GE(inotify_add_watch(watch, other.constData(), IN_OPEN), 0);
    const std::pair<const char*, QByteArray> rows[] = {
        { "list.mp4", "#EXTM3U\n#EXTINF:2,Other\n" + other + '\n' },
        { "names.mp4", other + "\nother.mov\n" },
        { "stream.mp4",
            "#EXTM3U\n#EXT-X-VERSION:3\n#EXT-X-TARGETDURATION:2\n#EXT-X-MEDIA-SEQUENCE:0\n"
            "#EXTINF:2,\n"
                + other + "\n#EXT-X-ENDLIST\n" },
        { "edit.mp4", "# mpv EDL v0\n" + other + ",0,1\n" },
        { "sheet.mp4", "FILE \"other.mov\" WAVE\n  TRACK 01 AUDIO\n    INDEX 01 00:00:00\n" },
        { "shares.mp4", "[playlist]\nFile1=" + other + "\nNumberOfEntries=1\nVersion=2\n" },
        { "concat.mp4", "ffconcat version 1.0\nfile 'other.mov'\nfile '" + other + "'\n" },
        { "sdp.mp4",
            "v=0\no=- 0 0 IN IP4 127.0.0.1\ns=a\nc=IN IP4 127.0.0.1\nt=0 0\nm=video 5004 RTP/AVP "
            "96\n" },
        { "dash.mp4",
            "<?xml version=\"1.0\"?><MPD xmlns=\"urn:mpeg:dash:schema:mpd:2011\" type=\"static\" "
            "mediaPresentationDuration=\"PT2S\"><Period><AdaptationSet "
            "mimeType=\"video/mp4\"><Representation id=\"0\"><BaseURL>"
                + other + "</BaseURL></Representation></AdaptationSet></Period></MPD>" },
        { "reference.mp4", "[Reference]\nRef1=file://" + other + '\n' },
    };
    for (const auto& [name, contents] : rows) {
        Screening screening(file(name, contents));

        screening.player->play();

        ASSERT_TRUE(screening.waitForEnd()) << name;
        EXPECT_EQ(screening.listener.heard, "failed ") << name;
    }
    char events[4096];
    EXPECT_LT(read(watch, events, sizeof events), 0) << "The other file has been opened";
    const int opened = open(other.constData(), O_RDONLY | O_CLOEXEC);
    EXPECT_GT(read(watch, events, sizeof events), 0) << "This test does not see it";
    close(opened);
    close(watch);
}

TEST_F(MoviePlayerTest, OpensNoFileThatLiesBesideIt)
{
    movie({ .frames = 2, .framesPerSecond = 25 }, "a.mov");
    folder.file("a.srt", "1\n00:00:00,000 --> 00:00:01,000\nWords\n");
    movie({ .isSound = true }, "a.mka");
    const int watch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    for (const char* name : { "a.srt", "a.mka" })
        ASSERT_GE(inotify_add_watch(watch, folder.path(name).constData(), IN_OPEN), 0);
    Screening screening(folder.url("a.mov"));

    screening.player->play();

    ASSERT_TRUE(screening.waitForEnd());
    char events[4096];
    EXPECT_LT(read(watch, events, sizeof events), 0);
    close(watch);
}

TEST_F(MoviePlayerTest, PlaysTwoAtOnce)
{
    const FileURL url = movie({ .frames = 6, .framesPerSecond = 30 });
    Screening first(url);
    Screening second(url);

    first.player->play();
    second.player->play();

    ASSERT_TRUE(first.waitForEnd());
    ASSERT_TRUE(second.waitForEnd());
    EXPECT_EQ(first.listener.heard, "first finished ");
    EXPECT_EQ(second.listener.heard, "first finished ");
}

TEST_F(MoviePlayerTest, MayBeDestroyedByWhatItTells)
{
    Screening screening(shortMovie());
    screening.listener.onEnded = [&] { screening.player.reset(); };

    screening.player->play();

    ASSERT_TRUE(screening.waitForEnd());
    MainQueue::drain();
    EXPECT_EQ(screening.listener.heard, "first finished ");
}

TEST_F(MoviePlayerTest, TellsNothingMoreWhenItWasDestroyedMeanwhile)
{
    Screening screening(shortMovie());
    screening.listener.onFirstFrame = [&] { screening.player.reset(); };

    ASSERT_TRUE(waitUntil([&] { return !screening.player; }));

    EXPECT_EQ(screening.listener.heard, "first ");
    EXPECT_EQ(screening.listener.frames, 0) << "That would have come next";
}

TEST_F(MoviePlayerTest, SaysNothingWhenItIsGone)
{
    Screening other(movie({ .frames = 12, .framesPerSecond = 30 }, "other.mov"));
    Screening screening(shortMovie());
    ASSERT_TRUE(screening.waitForFirstFrame());
    screening.player->play();
    const int before = screening.listener.frames;

    screening.player.reset();

    other.player->play();
    ASSERT_TRUE(other.waitForEnd());
    EXPECT_EQ(screening.listener.frames, before);
    EXPECT_EQ(screening.listener.heard, "first ");
}

/// Also leaves nothing behind: what is compared is counted when the first one has gone, too.
TEST_F(MoviePlayerTest, DoesNotTakeWhatItHasReadForTheLength)
{
    QByteArray bytes = movieBytes({ .frames = 30, .framesPerSecond = 10, .container = "matroska" });
    // The element that holds the length, and that nothing is known of it.
    const QByteArray length("\x44\x89\x88", 3);
    const auto place = bytes.indexOf(length);
    ASSERT_GE(place, 0);
    bytes.replace(place + length.size(), 8, QByteArray(8, '\0'));
    folder.file("stream.mkv", bytes);

    Screening screening(folder.url("stream.mkv"));
    screening.player->play();
    ASSERT_TRUE(screening.waitForEnd());

    EXPECT_FALSE(screening.player->duration().has_value());
}

TEST_F(MoviePlayerTest, EndsWithItsFramesWhateverLengthItClaims)
{
    // Twenty hours in units of a 10240th of a second, and more in those of the whole.
    folder.file("long.mov",
        tests::withClaimedDuration(
            movieBytes({ .frames = 4, .framesPerSecond = 20 }), 20 * 3600 * 10240));

    Screening screening(folder.url("long.mov"));
    screening.player->play();

    ASSERT_TRUE(screening.waitForEnd());
    EXPECT_TRUE(screening.listener.heard.ends_with("finished ")) << screening.listener.heard;
    EXPECT_GE(screening.listener.frames, 4);
    EXPECT_GE(screening.player->duration(), 20 * 3600);
}

TEST_F(MoviePlayerTest, MayBeDestroyedAtAnyMomentAndLeavesNothingBehind)
{
    const FileURL url = movie({ .frames = 4, .framesPerSecond = 100 });
    const auto threads = [] { return entriesOf("/proc/self/task"); };
    const auto descriptors = [] { return entriesOf("/proc/self/fd"); };
    const auto processes = [] { return tests::childProcesses(getpid(), "quorvane-movies").size(); };
    const auto memory = [] { return countIn("/proc/self/maps", "quorvane-pixels"); };
    MoviePlayer::prepare();
    ASSERT_TRUE(waitUntil([&] { return processes() == 1; })) << "The player that is kept ready";
    const auto threadsBefore = threads();
    const auto descriptorsBefore = descriptors();
    const auto memoryBefore = memory();

    for (int i = 0; i < 50; ++i) {
        Screening screening(url);
        screening.player->play();
        if (i % 7 == 0) {
            ASSERT_TRUE(screening.waitForEnd());
        } else if (i % 3 == 0) {
            ASSERT_TRUE(waitUntil([&] { return screening.listener.informed > 0; }));
            screening.player->seek(i / 1000.);
        } else {
            for (int turn = 0; turn < i * 3; ++turn)
                QCoreApplication::processEvents();
        }
    }

    EXPECT_TRUE(waitUntil([&] { return threads() <= threadsBefore; })) << threads();
    EXPECT_TRUE(waitUntil([&] { return processes() == 1; })) << processes();
    EXPECT_TRUE(waitUntil([&] { return descriptors() <= descriptorsBefore; })) << descriptors();
    EXPECT_TRUE(waitUntil([&] { return memory() <= memoryBefore; })) << memory();
}

TEST_F(MoviePlayerTest, IsNotMadeOfNothing)
{
    EXPECT_EQ(MoviePlayer::playerWithURL(FileURL(), kSilent), nullptr);
}

/// Movies in a process of its own.
struct MovieProcess : MoviePlayerTest {
    /// \return what it writes, and behind "|" the lines of its log.
    QByteArray played(const QByteArray& decoder, const std::vector<FileURL>& urls,
        const std::vector<std::pair<const char*, const char*>>& environment = {}) const
    {
        QProcess process;
        QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
        for (const auto& [name, value] : environment)
            variables.insert(QLatin1String(name), QLatin1String(value));
        process.setProcessEnvironment(variables);
        QStringList arguments { QString::fromUtf8(decoder) };
        for (const FileURL& url : urls)
            arguments.append(QString::fromLatin1(url.encoded()));
        process.start(QStringLiteral(QUORVANE_PLAY_MOVIE), arguments);
        EXPECT_TRUE(process.waitForFinished());
        EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(process.exitCode(), 0);
        return process.readAllStandardOutput() + '|' + process.readAllStandardError();
    }
};

TEST_F(MovieProcess, NeverHasAMovieLibraryInTheViewer)
{
    EXPECT_EQ(played(QUORVANE_DECODER, { shortMovie() }), "finished |");
}

TEST_F(MovieProcess, LeavesTheTerminalAlone)
{
    QByteArray bytes = movieBytes({ .frames = 6, .framesPerSecond = 30, .container = "matroska" });
    for (qsizetype i = bytes.size() / 3; i < bytes.size(); i += 7)
        bytes[i] = '\x55';
    const FileURL damaged = file("damaged.mkv", bytes);

    const QByteArray answer
        = played(QUORVANE_DECODER, { shortMovie(), damaged, shortMovie(), damaged });

    EXPECT_TRUE(answer.endsWith("|")) << answer.toStdString();
}

TEST_F(MovieProcess, IsSilentWithoutASoundDevice)
{
    const FileURL sound = movie({ .isSound = true });

    EXPECT_EQ(played(QUORVANE_DECODER, { sound, sound },
                  { { "QUORVANE_SOUND", "1" }, { "PULSE_SERVER", "unix:/nonexistent" },
                      { "ALSA_CONFIG_PATH", "/nonexistent" } }),
        "finished finished |");
}

struct MovieSound : MovieProcess {
    static constexpr int kLoudness = 12000;
    static constexpr int kSamples = 4000; // Half a second.

    void SetUp() override
    {
        ASSERT_TRUE(tests::waitUntil([this] { return device.isReady(); }));
    }

    /// Of a movie that is played with these variables, too.
    tests::SoundDevice::Heard heard(const std::vector<std::pair<const char*, const char*>>& more)
    {
        const FileURL sound
            = movie({ .isSound = true, .soundSeconds = 0.5, .loudness = kLoudness });
        const QByteArray address = device.address();
        auto environment = more;
        environment.insert(environment.end(),
            { { "QUORVANE_SOUND", "1" }, { "PULSE_SERVER", address.constData() } });
        EXPECT_EQ(played(QUORVANE_DECODER, { sound }, environment), "finished |");
        return device.heard();
    }

    tests::SoundDevice device;
};

TEST_F(MovieSound, IsHeardToItsEnd)
{
    const auto sound = heard({});

    // The server smooths where it begins and ends.
    EXPECT_NEAR(sound.samples, kSamples, kSamples / 10);
    EXPECT_NEAR(sound.loudest, kLoudness, kLoudness / 10);
}

TEST_F(MovieSound, IsLowerAtALowerVolume)
{
    const auto sound = heard({ { "QUORVANE_VOLUME", "0.5" } });

    EXPECT_GT(sound.loudest, 0);
    EXPECT_LE(sound.loudest, kLoudness / 2);
}

TEST_F(MovieSound, IsSilenceWhileItIsMuted)
{
    const auto sound = heard({ { "QUORVANE_MUTED", "1" } });

    EXPECT_EQ(sound.loudest, 0);
}

TEST_F(MovieProcess, SaysOnceThatThePlayerIsMissing)
{
    const QByteArray answer
        = played(folder.path("quorvane-decoder"), { shortMovie(), shortMovie() });

    EXPECT_TRUE(answer.startsWith("none none |Movies are not played: ")) << answer.toStdString();
    EXPECT_EQ(answer.count('\n'), 1) << answer.toStdString();
}

TEST_F(MovieProcess, PlaysWhereNumbersAreWrittenInAnotherWay)
{
    EXPECT_EQ(played(QUORVANE_DECODER, { shortMovie() },
                  { { "LC_ALL", "de_DE.UTF-8" }, { "LC_NUMERIC", "de_DE.UTF-8" } }),
        "finished |");
}

TEST_F(MovieProcess, TakesItsPlayersAlongWhenItEndsInTheMiddleOfAMovie)
{
    const QByteArray answer = played(QUORVANE_DECODER, { movie() }, { { "QUORVANE_LEAVE", "1" } });

    ASSERT_TRUE(answer.endsWith(" |")) << answer.toStdString();
    for (const QByteArray& player : answer.chopped(2).split(' '))
        EXPECT_TRUE(waitUntil([&] { return !tests::isRunning(player.toInt()); }));
}

/// Does something when it hears of a new position.
struct Mover : MovieObserver {
    void moviePositionMoved() override
    {
        ++moves;
        onMove();
    }

    int moves = 0;
    std::function<void()> onMove = [] {};
};

struct MovieObservers : testing::Test {
    MovieObservers()
    {
        player->addObserver(first);
        player->addObserver(second);
    }

    void move() const { movie.player->goOnTo(1); }

    tests::FakeMovie movie;
    std::unique_ptr<MoviePlayer> player = movie.makePlayer();
    Mover first;
    Mover second;
};

TEST_F(MovieObservers, AllHear)
{
    move();

    EXPECT_EQ(first.moves, 1);
    EXPECT_EQ(second.moves, 1);
}

TEST_F(MovieObservers, HearNothingOnceTheyAreGone)
{
    player->removeObserver(first);

    move();

    EXPECT_EQ(first.moves, 0);
    EXPECT_EQ(second.moves, 1);
}

TEST_F(MovieObservers, MayTakeTheNextOneAway)
{
    first.onMove = [this] { player->removeObserver(second); };

    move();

    EXPECT_EQ(second.moves, 0);
}

TEST_F(MovieObservers, ThatComeMeanwhileHearOfTheNextThing)
{
    Mover third;
    first.onMove = [&] { player->addObserver(third); };

    move();
    EXPECT_EQ(third.moves, 0);
    first.onMove = [] {};
    move();

    EXPECT_EQ(third.moves, 1);
}

TEST_F(MovieObservers, MayDestroyThePlayer)
{
    first.onMove = [this] { player.reset(); };

    move();

    EXPECT_EQ(movie.gone, 1);
    EXPECT_EQ(second.moves, 0);
}

} // namespace
} // namespace quorvane
