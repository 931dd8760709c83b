// SPDX-License-Identifier: GPL-3.0-or-later
// Movies among the slides of a running show.
#include "InstalledTest.h"
#include "support/MovieBytes.h"
#include "support/Processes.h"

#include <QFile>

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

namespace quorvane::show {

namespace {

using namespace std::chrono_literals;
using std::chrono::milliseconds;
using tests::movieBytes;
using tests::MovieFixture;
using tests::Yuv;

// What the lumas below become on a screen: grey has one value for all three colours.
constexpr Pixel kGrey { 0x808080 };
constexpr Pixel kSilver { 0xc0c0c0 };

constexpr int kFramesPerSecond = 10;

// A quarter turn, as containers store it.
constexpr std::array<qint32, 9> kTurned { 0, 1 << 16, 0, -(1 << 16), 0, 0, 0, 0, 1 << 30 };

Yuv lumaOf(Pixel grey) { return { grey == kGrey ? 126 : 181, 128, 128 }; }

MovieFixture clip(Pixel colour, double seconds)
{
    return { .size = { 320, 240 },
        .frames = static_cast<int>(seconds * kFramesPerSecond),
        .framesPerSecond = kFramesPerSecond,
        .pixel = [colour](int, double, double) { return lumaOf(colour); } };
}

struct Movies : InstalledTest {
    /// Red, a movie, blue.
    void writeSlides(const QByteArray& movie, const QByteArray& name = "2.mov") const
    {
        pictures.writeSolid("1.png", kRed);
        pictures.write(name, movie);
        pictures.writeSolid("3.png", kBlue);
    }

    void play(double interval)
    {
        startShow({ { QStringLiteral("autoStart"), true },
            { QStringLiteral("slideInterval"), interval } });
    }

    /// Whether the controls float over a movie of one colour.
    bool hasControls() { return colourCount() > 2; } // The movie, and black around it.

    std::vector<pid_t> players() const
    {
        return tests::childProcesses(viewer->pid(), "quorvane-movies");
    }
};

TEST_F(Movies, PlayInTheirTurnWithNothingBlackAroundThem)
{
    writeSlides(movieBytes(clip(kGrey, 1)));
    play(1);
    ASSERT_TRUE(ready(kRed));

    desktop.startRecording(middle());
    for (const Pixel colour : { kGrey, kBlue, kRed, kGrey, kBlue })
        ASSERT_TRUE(shows(colour));
    const auto changes = desktop.takeRecording();

    EXPECT_EQ(coloursOf(changes), std::vector({ kRed, kGrey, kBlue, kRed, kGrey, kBlue }));
}

TEST_F(Movies, PlayToTheirEndAndTheNextIntervalBeginsThen)
{
    writeSlides(movieBytes(clip(kGrey, 4)));
    play(1.5);
    ASSERT_TRUE(ready(kRed));

    desktop.startRecording(middle());
    for (const Pixel colour : { kGrey, kBlue, kRed })
        ASSERT_TRUE(shows(colour));
    const auto gaps = gapsOf(desktop.takeRecording());

    ASSERT_EQ(gaps.size(), 2U);
    EXPECT_GT(gaps[0], 3.5);
    EXPECT_LT(gaps[0], 6.0);
    EXPECT_GT(gaps[1], 1.0);
    EXPECT_LT(gaps[1], 3.0);
}

TEST_F(Movies, OfAStoppedShowAreFollowedByTheNextSlide)
{
    writeSlides(movieBytes(clip(kGrey, 1)));
    startShow();
    ASSERT_TRUE(ready(kRed));

    ASSERT_TRUE(leadsTo(XK_Right, kGrey));
    ASSERT_TRUE(shows(kBlue));

    EXPECT_TRUE(staysFor(2500ms));
}

TEST_F(Movies, PauseWithSpaceAndGoOnWithSpace)
{
    writeSlides(movieBytes(clip(kGrey, 2)));
    startShow();
    ASSERT_TRUE(ready(kRed));
    ASSERT_TRUE(leadsTo(XK_Right, kGrey));

    desktop.key(XK_space);
    EXPECT_TRUE(staysFor(4s));
    desktop.key(XK_space);

    EXPECT_TRUE(shows(kBlue));
}

TEST_F(Movies, AreLeftByAStep)
{
    writeSlides(movieBytes(clip(kGrey, 60)));
    startShow();
    ASSERT_TRUE(ready(kRed));

    ASSERT_TRUE(leadsTo(XK_Right, kGrey));
    ASSERT_TRUE(leadsTo(XK_Right, kBlue));
    ASSERT_TRUE(leadsTo(XK_Left, kGrey));
    ASSERT_TRUE(leadsTo(XK_Left, kRed));

    EXPECT_TRUE(quits());
}

TEST_F(Movies, FollowEachOtherWithNothingBlackBetweenThem)
{
    writeSlides(movieBytes(clip(kGrey, 1)));
    pictures.write("2b.mov", movieBytes(clip(kSilver, 1)));
    startShow();
    ASSERT_TRUE(ready(kRed));

    desktop.startRecording(middle());
    ASSERT_TRUE(leadsTo(XK_Right, kGrey));
    ASSERT_TRUE(shows(kSilver));
    ASSERT_TRUE(shows(kBlue));

    EXPECT_TRUE(showedOnly({ kRed, kGrey, kSilver, kBlue }, desktop.takeRecording()));
}

TEST_F(Movies, ComeAfterATransitionHasBegun)
{
    writeSlides(movieBytes(clip(kGrey, 1)));
    startShow({ { QStringLiteral("transition"), QStringLiteral("Cross Fade") },
        { QStringLiteral("ImageFitMode"), QStringLiteral("FitModeFill") } });
    ASSERT_TRUE(ready(kRed));
    ASSERT_TRUE(leadsTo(XK_Left, kBlue));

    desktop.startRecording(middle());
    desktop.key(XK_Home); // Red, by a fade.
    ASSERT_TRUE(shows(kRed));
    desktop.pause(1200ms);
    ASSERT_TRUE(leadsTo(XK_Right, kGrey));
    ASSERT_TRUE(shows(kBlue));
    for (const auto& change : desktop.takeRecording())
        EXPECT_NE(change.colour, kBlack);
}

TEST_F(Movies, ThatCannotBePlayedCostNothingButThemselves)
{
    const QByteArray whole = movieBytes(clip(kGrey, 1));
    writeSlides(whole.left(whole.size() / 2), "2a.mov"); // The index lay behind.
    pictures.write("2b.mp4", QByteArray());
    pictures.write("2c.mkv", "no movie at all");
    pictures.write("2d.mov", whole.left(40));
    pictures.write("2e.avi", encoded(solidPicture(kYellow), "png"));
    pictures.write("2f.mp3", QByteArray(3000, '\0'));
    startShow();
    ASSERT_TRUE(ready(kRed));

    desktop.startRecording(middle());
    ASSERT_TRUE(leadsTo(XK_Right, kBlue));

    EXPECT_TRUE(showedOnly({ kRed, kBlue }, desktop.takeRecording()));
    EXPECT_TRUE(quits());
}

TEST_F(Movies, OfWhichNoneCanBePlayedEndTheShow)
{
    pictures.write("1.mov", "no movie");
    pictures.write("2.mp4", QByteArray());
    startShow();

    EXPECT_TRUE(endsTheShow());
}

TEST_F(Movies, AreFittedAndCropped)
{
    const MovieFixture movie { .size = { 320, 240 },
        .frames = 600,
        .framesPerSecond = kFramesPerSecond,
        .pixel = [](int, double x, double) { return lumaOf(x < 0.5 ? kGrey : kSilver); } };
    writeSlides(movieBytes(movie));
    startShow();
    ASSERT_TRUE(ready(kRed));
    const QPoint left = middle() - QPoint(150, 0);
    const QPoint right = middle() + QPoint(150, 0);
    const QPoint corner(3, 3);

    desktop.key(XK_Right); // No larger than it is.
    ASSERT_TRUE(waitWhileRunning(QStringLiteral("the movie"),
        [&] { return desktop.colourAt(left) == kGrey && desktop.colourAt(right) == kSilver; }));
    EXPECT_EQ(desktop.colourAt(middle() - QPoint(164, 0)), kBlack);
    EXPECT_EQ(desktop.colourAt(middle() - QPoint(0, 124)), kBlack);

    EXPECT_EQ(desktop.colourAt(corner), kBlack);
    EXPECT_TRUE(quits());

    startShow({ { QStringLiteral("ImageFitMode"), QStringLiteral("FitModeFill") } });
    ASSERT_TRUE(ready(kRed));
    desktop.key(XK_Right);
    EXPECT_TRUE(waitWhileRunning(QStringLiteral("the movie over the whole screen"),
        [&] { return desktop.colourAt(corner) == kGrey; }));
    EXPECT_TRUE(quits());

    // Never distorted: 4 to 3 leaves black at the sides.
    startShow({ { QStringLiteral("ImageFitMode"), QStringLiteral("FitModeStretch") } });
    ASSERT_TRUE(ready(kRed));
    desktop.key(XK_Right);
    EXPECT_TRUE(waitWhileRunning(QStringLiteral("the movie from top to bottom"), [&] {
        return desktop.colourAt({ middle().x() - 100, 3 }) == kGrey;
    }));
    EXPECT_EQ(desktop.colourAt(corner), kBlack);
}

TEST_F(Movies, OfTurnedPhonesAreUpright)
{
    writeSlides(movieBytes({ .size = { 320, 240 },
        .frames = 600,
        .framesPerSecond = kFramesPerSecond,
        .matrix = kTurned,
        .pixel = [](int, double x, double) { return lumaOf(x < 0.5 ? kGrey : kSilver); } }));
    startShow();
    ASSERT_TRUE(ready(kRed));

    desktop.key(XK_Right);

    const QPoint above = middle() - QPoint(0, 150);
    const QPoint below = middle() + QPoint(0, 150);
    EXPECT_TRUE(waitWhileRunning(QStringLiteral("a high movie, its left half above"),
        [&] { return desktop.colourAt(above) == kGrey && desktop.colourAt(below) == kSilver; }));
    EXPECT_EQ(desktop.colourAt(middle() - QPoint(130, 0)), kBlack);
}

TEST_F(Movies, StayWithTheirLastFrameAtTheEndOfTheShow)
{
    pictures.writeSolid("1.png", kRed);
    pictures.write("2.mov", movieBytes(clip(kGrey, 1)));
    startShow({ { QStringLiteral("EndMode"), QStringLiteral("EndModeWait") } });
    ASSERT_TRUE(ready(kRed));

    ASSERT_TRUE(leadsTo(XK_Right, kGrey));

    EXPECT_TRUE(staysFor(3s));
    EXPECT_TRUE(leadsTo(XK_Left, kRed));
}

TEST_F(Movies, AreLeftByEscape)
{
    writeSlides(movieBytes(clip(kGrey, 60)));
    startShow();
    ASSERT_TRUE(ready(kRed));
    ASSERT_TRUE(leadsTo(XK_Right, kGrey));

    desktop.key(XK_Escape);

    EXPECT_TRUE(endsTheShow());
}

TEST_F(Movies, OfSoundAloneShowACalmScreenAndEnd)
{
    writeSlides(movieBytes({ .isSound = true, .soundSeconds = 1, .title = "A title" }));
    startShow();
    ASSERT_TRUE(ready(kRed));

    desktop.startRecording({ 20, 20 });
    ASSERT_TRUE(leadsTo(XK_Right, kBlue));
    const auto changes = desktop.takeRecording();

    EXPECT_TRUE(std::any_of(changes.begin(), changes.end(), [](const ColourChange& change) {
        return change.colour != kBlack
            && change.colour != kDesktop; // The corner is dark, not bare.
    }));
}

TEST_F(Movies, HaveControlsThatComeWithTheMouseAndGo)
{
    writeSlides(movieBytes(clip(kGrey, 60)));
    startShow({ { QStringLiteral("ImageFitMode"), QStringLiteral("FitModeFill") } });
    ASSERT_TRUE(ready(kRed));
    desktop.moveMouse({ 300, 200 });
    ASSERT_TRUE(leadsTo(XK_Right, kGrey));
    ASSERT_FALSE(hasControls());

    desktop.moveMouse({ 340, 220 });
    ASSERT_TRUE(waitWhileRunning(QStringLiteral("the controls"), [&] { return hasControls(); }));
    EXPECT_TRUE(waitWhileRunning(
        QStringLiteral("the movie without controls"), [&] { return !hasControls(); }));
}

TEST_F(Movies, KeepToThemselvesWhatIsDoneToTheirControls)
{
    writeSlides(movieBytes(clip(kGrey, 60)));
    startShow({ { QStringLiteral("ImageFitMode"), QStringLiteral("FitModeFill") } });
    ASSERT_TRUE(ready(kRed));
    ASSERT_TRUE(leadsTo(XK_Right, kGrey));
    desktop.moveMouse({ 340, 220 });
    ASSERT_TRUE(waitWhileRunning(QStringLiteral("the controls"), [&] { return hasControls(); }));

    // Anywhere on the panel, between two of its parts.
    const QPoint panel(middle().x() - 274, 640);
    desktop.moveMouse(panel);
    desktop.holdButton(1, true);
    desktop.pause(500ms);
    const Pixel inside
        = desktop.colourAt(panel + QPoint(-40, 40)); // Where a large pointer would be.
    desktop.holdButton(1, false);

    EXPECT_EQ(inside, kGrey);
    EXPECT_EQ(desktop.colourAt(middle()), kGrey);
}

TEST_F(Movies, AreDrivenByKeysInTheirControls)
{
    writeSlides(movieBytes(clip(kGrey, 2)));
    startShow();
    ASSERT_TRUE(ready(kRed));
    ASSERT_TRUE(leadsTo(XK_Right, kGrey));

    desktop.key(XK_Tab);
    desktop.key(XK_space); // Presses the button that has the keyboard.
    EXPECT_TRUE(staysFor(2500ms));
    desktop.key(XK_Escape); // Leaves the controls, not the show.
    EXPECT_TRUE(staysFor(500ms));
    desktop.key(XK_space);

    EXPECT_TRUE(shows(kBlue));
}

TEST_F(Movies, MayBeDeletedWhileTheyPlay)
{
    writeSlides(movieBytes(clip(kGrey, 5)));
    startShow();
    ASSERT_TRUE(ready(kRed));
    ASSERT_TRUE(leadsTo(XK_Right, kGrey));

    pictures.remove("2.mov");
    EXPECT_TRUE(staysFor(3s)); // Longer than the folder's news take.

    EXPECT_TRUE(waitWhileRunning(QStringLiteral("a slide after the movie"),
        [&] { return desktop.colourAt(middle()) != kGrey; }));
    EXPECT_TRUE(quits());
}

TEST_F(Movies, MayBeOverwrittenWhileTheyPlay)
{
    writeSlides(movieBytes(clip(kGrey, 3)));
    play(1);
    ASSERT_TRUE(ready(kRed));
    ASSERT_TRUE(shows(kGrey));

    pictures.write("2.mov", QByteArray(5000, 'x'));

    EXPECT_TRUE(shows(kBlue));
    EXPECT_TRUE(shows(kRed));
    EXPECT_TRUE(quits());
}

TEST_F(Movies, ThatAreStillBeingCopiedComeWhenTheyAreWhole)
{
    pictures.writeSolid("1.png", kRed);
    pictures.writeSolid("3.png", kBlue);
    play(1);
    ASSERT_TRUE(ready(kRed));
    const QByteArray bytes = movieBytes(clip(kGrey, 1));
    const int file = open(pictures.path("2.mov").constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_GE(file, 0);
    const auto put = [file](const QByteArray& part) {
        return write(file, part.constData(), static_cast<size_t>(part.size())) == part.size();
    };

    desktop.startRecording(middle());
    ASSERT_TRUE(put(bytes.left(bytes.size() / 2)));
    desktop.pause(8s);
    EXPECT_TRUE(showedOnly({ kRed, kBlue }, desktop.takeRecording()));
    ASSERT_TRUE(put(bytes.mid(bytes.size() / 2)));
    close(file);

    EXPECT_TRUE(shows(kGrey));
}

TEST_F(Movies, WhoseFileIsBeingWrittenFromTheStartComeWhenItIsWhole)
{
    const QByteArray bytes = movieBytes(clip(kGrey, 1));
    writeSlides(bytes.left(bytes.size() / 2));
    const int file = open(pictures.path("2.mov").constData(), O_WRONLY | O_APPEND | O_CLOEXEC);
    ASSERT_GE(file, 0);
    play(1);
    ASSERT_TRUE(ready(kRed));
    ASSERT_TRUE(shows(kBlue));

    const QByteArray rest = bytes.mid(bytes.size() / 2);
    ASSERT_EQ(write(file, rest.constData(), static_cast<size_t>(rest.size())), rest.size());
    close(file);

    EXPECT_TRUE(shows(kGrey));
}

TEST_F(Movies, CostAShowOfPhotographsNothing)
{
    pictures.writeSolid("1.png", kRed);
    pictures.writeSolid("2.png", kGreen);
    startShow();
    ASSERT_TRUE(ready(kRed));
    ASSERT_TRUE(leadsTo(XK_Right, kGreen));

    QFile maps(QStringLiteral("/proc/%1/maps").arg(viewer->pid()));
    ASSERT_TRUE(maps.open(QIODevice::ReadOnly));
    const QByteArray mapped = maps.readAll();
    EXPECT_TRUE(mapped.contains("libQt6Core"));
    EXPECT_FALSE(mapped.contains("libmpv"));
    EXPECT_FALSE(mapped.contains("libavcodec"));
    EXPECT_TRUE(players().empty());
}

TEST_F(Movies, EndWithTheProgramThatPlaysThemAndTheShowGoesOn)
{
    writeSlides(movieBytes(clip(kGrey, 60)));
    pictures.write("4.mov", movieBytes(clip(kSilver, 60)));
    startShow();
    ASSERT_TRUE(ready(kRed));
    ASSERT_TRUE(leadsTo(XK_Right, kGrey));
    ASSERT_FALSE(players().empty());

    for (const pid_t player : players())
        ::kill(player, SIGKILL);

    ASSERT_TRUE(shows(kBlue));
    EXPECT_TRUE(leadsTo(XK_Right, kSilver));
    EXPECT_TRUE(quits());
}

TEST_F(Movies, ThatHangAreLeftAfterFiveSeconds)
{
    writeSlides(movieBytes(clip(kGrey, 60)));
    startShow();
    ASSERT_TRUE(ready(kRed));
    ASSERT_TRUE(leadsTo(XK_Right, kGrey));

    const auto stopped = players();
    for (const pid_t player : stopped)
        ::kill(player, SIGSTOP);

    EXPECT_TRUE(shows(kBlue));
    EXPECT_TRUE(quits());
    for (const pid_t player : stopped) // One that was stopped before it knew that it is to go.
        ::kill(player, SIGKILL);
}

TEST_F(Movies, LeaveNoProgramBehind)
{
    writeSlides(movieBytes(clip(kGrey, 60)));
    startShow();
    ASSERT_TRUE(ready(kRed));
    ASSERT_TRUE(leadsTo(XK_Right, kGrey));
    const auto before = players();
    ASSERT_FALSE(before.empty());

    killed = true;
    viewer->kill(SIGKILL);

    EXPECT_TRUE(desktop.waitFor(QStringLiteral("no player"),
        [&] { return std::none_of(before.begin(), before.end(), tests::isRunning); }));
}

TEST_F(Movies, AreNotListedWhereTheyCannotBePlayed)
{
    ASSERT_TRUE(install());
    ASSERT_TRUE(QFile::remove(prefix.filePath(QStringLiteral("libexec/quorvane/quorvane-movies"))));
    writeSlides(movieBytes(clip(kGrey, 60)));
    pictures.write("4.mov", movieBytes(clip(kSilver, 60)));
    viewer->setProgram(QFile::encodeName(prefix.filePath(QStringLiteral("bin/quorvane"))));
    startShow();
    ASSERT_TRUE(ready(kRed));

    EXPECT_TRUE(leadsTo(XK_Right, kBlue));
    EXPECT_TRUE(leadsTo(XK_Right, kRed));
    EXPECT_EQ(viewer->standardError().count("Movies are not played"), 1);
    EXPECT_TRUE(quits());
}

TEST_F(Movies, PlayOnTheOtherBase)
{
    writeSlides(movieBytes(clip(kGrey, 2)));
    viewer->setVariable("ASAN_OPTIONS", QByteArrayLiteral("detect_leaks=0")); // The driver's.
    viewer->setVariable("QUORVANE_RENDERER", QByteArrayLiteral("opengl"));
    startShow();
    ASSERT_TRUE(ready(kRed));

    desktop.startRecording(middle());
    ASSERT_TRUE(leadsTo(XK_Right, kGrey));
    ASSERT_TRUE(shows(kBlue));

    EXPECT_TRUE(showedOnly({ kRed, kGrey, kBlue }, desktop.takeRecording()));
    EXPECT_TRUE(quits());
}

} // namespace

} // namespace quorvane::show
