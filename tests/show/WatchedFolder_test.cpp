// SPDX-License-Identifier: GPL-3.0-or-later
// A folder that lives while it is shown.
#include "ShowTest.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <random>
#include <set>

namespace quorvane::show {

namespace {

using std::chrono::milliseconds;

struct WatchedFolder : ShowTest {
    void startWatched(const QVariantMap& more = {})
    {
        QVariantMap changes = more;
        changes.insert(QStringLiteral("showNewItemsASAP"), true);
        startShow(changes);
    }

    void rename(const QByteArray& from, const QByteArray& to) const
    {
        ASSERT_EQ(std::rename(pictures.path(from).constData(), pictures.path(to).constData()), 0);
    }

    /// Writes a file in twenty pieces within four seconds. \param closes  between the pieces, as
    /// programs do that append.
    void writeSlowly(const QByteArray& name, const QByteArray& bytes, bool closes)
    {
        constexpr int kPieces = 20;
        const auto size = bytes.size() / kPieces + 1;
        int file = -1;
        for (int i = 0; i < kPieces; ++i) {
            if (file < 0)
                file = open(pictures.path(name).constData(),
                    O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
            ASSERT_GE(file, 0);
            const QByteArray piece = bytes.mid(i * size, size);
            ASSERT_EQ(
                write(file, piece.constData(), static_cast<size_t>(piece.size())), piece.size());
            if (closes || i + 1 == kPieces) {
                close(file);
                file = -1;
            }
            desktop.pause(milliseconds(200));
        }
    }
};

TEST_F(WatchedFolder, ANewFileIsTheNextSlide)
{
    pictures.writeSolid("1.png", kRed);
    pictures.writeSolid("3.png", kBlue);
    startWatched(
        { { QStringLiteral("autoStart"), true }, { QStringLiteral("slideInterval"), 60.0 } });
    ASSERT_TRUE(ready(kRed));

    pictures.writeSolid("2.png", kGreen);
    desktop.pause(milliseconds(2500));

    EXPECT_EQ(desktop.colourAt(middle()), kRed); // In its turn, while the show plays.
    EXPECT_TRUE(leadsTo(XK_Right, kGreen));
    EXPECT_TRUE(leadsTo(XK_Right, kBlue));
}

TEST_F(WatchedFolder, ANewFileIsShownAtOnceWhileTheShowStands)
{
    pictures.writeSolid("1.png", kRed);
    startWatched();
    ASSERT_TRUE(ready(kRed));

    desktop.startRecording(middle());
    pictures.writeSolid("2.png", kGreen);

    EXPECT_TRUE(shows(kGreen));
    EXPECT_TRUE(showedOnly({ kRed, kGreen }, desktop.takeRecording()));
}

TEST_F(WatchedFolder, ANewFolderBringsItsFiles)
{
    pictures.writeSolid("1.png", kRed);
    startWatched();
    ASSERT_TRUE(ready(kRed));

    pictures.makeFolder("sub");
    pictures.writeSolid("sub/2.png", kGreen);
    ASSERT_TRUE(shows(kGreen));
    pictures.writeSolid("sub/3.png", kBlue);

    EXPECT_TRUE(shows(kBlue));
}

TEST_F(WatchedFolder, AFileThatIsWrittenAnewIsShownAnew)
{
    pictures.writeSolid("1.png", kRed);
    pictures.writeSolid("2.png", kBlue);
    startWatched();
    ASSERT_TRUE(ready(kRed));

    desktop.startRecording(middle());
    pictures.writeSolid("1.png", kGreen);
    ASSERT_TRUE(shows(kGreen));
    pictures.writeSolid(".new", kYellow);
    rename(".new", "1.png"); // As editors save.

    EXPECT_TRUE(shows(kYellow));
    EXPECT_EQ(coloursOf(desktop.takeRecording()), std::vector({ kRed, kGreen, kYellow }));
}

TEST_F(WatchedFolder, ADeletedFileLeavesTheShowButNotTheScreen)
{
    pictures.writeSolid("1.png", kRed);
    pictures.writeSolid("2.png", kGreen);
    pictures.writeSolid("3.png", kBlue);
    startWatched();
    ASSERT_TRUE(ready(kRed));

    pictures.remove("1.png");
    ASSERT_TRUE(staysFor(kUntilLooked));

    EXPECT_TRUE(leadsTo(XK_Right, kGreen)); // The last slide is the current one now.
    EXPECT_TRUE(leadsTo(XK_Right, kBlue));
    EXPECT_TRUE(leadsTo(XK_Right, kGreen));
}

TEST_F(WatchedFolder, AFolderThatIsEmptiedAndFilledAgainGoesOn)
{
    pictures.writeSolid("1.png", kRed);
    startWatched();
    ASSERT_TRUE(ready(kRed));
    pictures.remove("1.png");
    ASSERT_TRUE(staysFor(milliseconds(2500)));

    pictures.writeSolid("2.png", kGreen);

    EXPECT_TRUE(shows(kGreen));
}

TEST_F(WatchedFolder, APictureInASecondFormatIsShownOnce)
{
    pictures.writeSolid("1.png", kRed);
    startWatched();
    ASSERT_TRUE(ready(kRed));

    desktop.startRecording(middle());
    pictures.writeSolid(".other", kBlue);
    pictures.write("2.jpg", encoded(solidPicture(kGreen), "jpg"));
    rename(".other", "2.png");
    ASSERT_TRUE(waitWhileRunning(QStringLiteral("the JPEG"), [this] {
        const Pixel colour = desktop.colourAt(middle());
        return colour.rgb != kRed.rgb && colour.rgb != kBlue.rgb;
    }));

    ASSERT_TRUE(leadsTo(XK_Right, kRed));
    for (const ColourChange& change : desktop.takeRecording())
        EXPECT_NE(change.colour, kBlue);
}

TEST_F(WatchedFolder, AFileThatIsBeingCopiedWhenTheShowBeginsIsNotLost)
{
    const QByteArray bytes = encoded(solidPicture(kGreen), "png");
    const auto half = bytes.size() / 2;
    pictures.writeSolid("1.png", kRed);
    pictures.writeSolid("3.png", kBlue);
    const int file = open(pictures.path("2.png").constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_EQ(write(file, bytes.constData(), static_cast<size_t>(half)), half);
    startWatched();
    ASSERT_TRUE(ready(kRed));
    ASSERT_TRUE(leadsTo(XK_Right, kBlue));

    ASSERT_EQ(write(file, bytes.constData() + half, static_cast<size_t>(bytes.size() - half)),
        bytes.size() - half);
    close(file);

    EXPECT_TRUE(shows(kGreen));
}

TEST_F(WatchedFolder, TheOnlyFileOfAShowMayStillBeCopied)
{
    const QByteArray bytes = encoded(solidPicture(kGreen), "png");
    const auto half = bytes.size() / 2;
    const int file = open(pictures.path("1.png").constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_EQ(write(file, bytes.constData(), static_cast<size_t>(half)), half);
    startWatched();
    ASSERT_TRUE(shows(kBlack));
    desktop.pause(milliseconds(1500));

    ASSERT_EQ(write(file, bytes.constData() + half, static_cast<size_t>(bytes.size() - half)),
        bytes.size() - half);
    close(file);

    EXPECT_TRUE(shows(kGreen));
}

struct SlowFile {
    const char* name;
    const char* format;
    bool closes;

    friend void PrintTo(const SlowFile& file, std::ostream* out)
    {
        *out << file.format << (file.closes ? "Appended" : "Copied");
    }
};

struct HalfCopied : WatchedFolder, testing::WithParamInterface<SlowFile> { };

TEST_P(HalfCopied, FileIsNeverShownHalfAndNeverLost)
{
    pictures.writeSolid("1.png", kRed, desktop.size());
    pictures.writeSolid("2.png", kBlue, desktop.size());
    startWatched(
        { { QStringLiteral("slideInterval"), 0.3 }, { QStringLiteral("autoStart"), true } });
    ASSERT_TRUE(ready(kRed));
    const QPoint nearTheEnd(middle().x(), GetParam().format == QByteArray("bmp") ? 3 : 700);
    const QByteArray bytes = encoded(solidPicture(kGreen, desktop.size()), GetParam().format);

    desktop.startRecording(nearTheEnd);
    writeSlowly(GetParam().name, bytes, GetParam().closes);
    ASSERT_TRUE(waitWhileRunning(QStringLiteral("the new picture"), [&] {
        const Pixel colour = desktop.colourAt(nearTheEnd);
        return colour != kRed && colour != kBlue;
    }));

    for (const ColourChange& change : desktop.takeRecording()) {
        const bool isGreen = (change.colour.rgb & 0xff00U) > 0xb000U
            && (change.colour.rgb & 0xff00ffU) < 0x200020U;
        EXPECT_TRUE(isGreen || change.colour == kRed || change.colour == kBlue)
            << testing::PrintToString(change.colour);
    }
}

INSTANTIATE_TEST_SUITE_P(Each, HalfCopied,
    testing::Values(SlowFile { "3.bmp", "bmp", false }, SlowFile { "3.bmp", "bmp", true },
        SlowFile { "3.jpg", "jpg", false }, SlowFile { "3.png", "png", true }),
    testing::PrintToStringParamName());

/// Every picture of the show is copied, renamed, removed and overwritten, in place and piece by
/// piece, faster than the show steps.
TEST_F(WatchedFolder, InTurmoilShowsNothingHalf)
{
    constexpr int kChanges = 1500;
    constexpr int kFiles = 12;
    const std::vector<Pixel> colours { kRed, kGreen, kBlue, kYellow, kMagenta, kCyan };
    std::vector<QByteArray> contents;
    for (const Pixel colour : colours)
        contents.push_back(encoded(solidPicture(colour, desktop.size()), "bmp"));
    pictures.write("0.bmp", contents.front());
    startWatched(
        { { QStringLiteral("slideInterval"), 0.1 }, { QStringLiteral("autoStart"), true } });
    ASSERT_TRUE(ready(kRed));

    std::mt19937 random(7); // NOLINT: the same changes every time.
    const auto below = [&random](quint32 bound) { return static_cast<quint32>(random()) % bound; };
    const auto anyName = [&] { return QByteArray::number(below(kFiles)) + ".bmp"; };
    const QPoint nearTheEnd(middle().x(), 3);
    std::vector<std::pair<int, QByteArray>> writers; // With what is still to be written.
    desktop.startRecording(nearTheEnd);
    for (int i = 0; i < kChanges && viewer->running(); ++i) {
        const QByteArray name = pictures.path(anyName());
        const QByteArray& bytes = contents[below(static_cast<quint32>(contents.size()))];
        switch (below(5)) {
        case 0: // In place.
        case 1: {
            const int file = open(name.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
            const auto half = bytes.size() / 2;
            ASSERT_EQ(write(file, bytes.constData(), static_cast<size_t>(half)), half);
            writers.emplace_back(file, bytes.mid(half));
            break;
        }
        case 2:
            std::rename(name.constData(), pictures.path(anyName()).constData());
            break;
        case 3:
            unlink(name.constData());
            break;
        default:
            break;
        }
        if (writers.size() > 3 || (i + 1 == kChanges && !writers.empty())) {
            for (const auto& [file, rest] : writers) {
                EXPECT_EQ(
                    write(file, rest.constData(), static_cast<size_t>(rest.size())), rest.size());
                close(file);
            }
            writers.clear();
        }
        desktop.pause(milliseconds(5));
    }
    pictures.write("1.bmp", contents[1]);
    desktop.pause(kUntilLooked);

    EXPECT_TRUE(viewer->running());
    const std::set<Pixel> allowed(colours.begin(), colours.end());
    EXPECT_TRUE(showedOnly(allowed, desktop.takeRecording()));
}

} // namespace

} // namespace quorvane::show
