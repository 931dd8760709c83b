// SPDX-License-Identifier: GPL-3.0-or-later
// Small pictures of folders, from disks that may never answer.
#include "platform/MainQueue.h"
#include "support/BusyPool.h"
#include "support/ByteFolder.h"
#include "support/EventWaiting.h"
#include "support/HeldDecoder.h"
#include "support/PictureFiles.h"
#include "welcome/FolderPictures.h"
#include "welcome/FolderStrips.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <set>

namespace quorvane {

namespace {

using namespace tests;
using testing::ElementsAre;

constexpr QSize kPicture { 80, 60 };

/// Folders in `dead` answer when they are let go.
struct FolderStripsTest : testing::Test {
    ~FolderStripsTest() override
    {
        stop.release();
        settle();
    }

    void settle()
    {
        for (int round = 0; round < 2; ++round) {
            FolderStrips::drain();
            MainQueue::drain();
        }
    }

    /// \return the folder's path.
    QByteArray album(const QByteArray& name, const std::vector<QRgb>& colours)
    {
        files.folder(name);
        int number = 0;
        for (const QRgb colour : colours)
            files.file(name + '/' + QByteArray::number(++number) + ".png",
                encoded(solid(colour, kPicture), "png"));
        return files.path(name);
    }

    std::optional<std::vector<FileURL>> find(const QByteArray& folder)
    {
        ++finds;
        if (dead.count(folder) != 0)
            stop.halt();
        return firstPicturesOf(folder);
    }

    std::vector<QRgb> coloursOf(const QByteArray& folder) const
    {
        std::vector<QRgb> colours;
        for (const QImage& tile : strips->stripOf(folder).tiles)
            colours.push_back(tile.pixel(tile.rect().center()));
        return colours;
    }

    ByteFolder files;
    Stop stop;
    std::set<QByteArray> dead; ///< Not changed while folders are looked at.
    std::atomic<int> finds = 0;
    std::vector<QByteArray> changes;
    std::optional<FolderStrips> strips { std::in_place,
        [this](const QByteArray& folder) { return find(folder); },
        [this](const QByteArray& folder) { changes.push_back(folder); } };
};

TEST_F(FolderStripsTest, HoldTheFirstFivePictures)
{
    const QByteArray folder = album("a", { kRed, kGreen, kBlue, kYellow, kBlack, kRed });

    strips->setFolders({ folder });
    settle();

    EXPECT_THAT(coloursOf(folder), ElementsAre(kRed, kGreen, kBlue, kYellow, kBlack));
    EXPECT_EQ(strips->stripOf(folder).state, FolderStrip::State::Complete);
    EXPECT_EQ(strips->stripOf(folder).length, 5U);
}

TEST_F(FolderStripsTest, AreAsShortAsTheFolderHasPictures)
{
    const QByteArray folder = album("a", { kRed, kGreen });

    strips->setFolders({ folder });
    settle();

    EXPECT_THAT(coloursOf(folder), ElementsAre(kRed, kGreen));
    EXPECT_EQ(strips->stripOf(folder).length, 2U);
}

TEST_F(FolderStripsTest, PassOverWhatCannotBeDecoded)
{
    const QByteArray folder = album("a", { kRed, kGreen, kBlue });
    files.file("a/2.png", "no picture");

    strips->setFolders({ folder });
    settle();

    EXPECT_THAT(coloursOf(folder), ElementsAre(kRed, kBlue));
    EXPECT_EQ(strips->stripOf(folder).length, 2U);
}

TEST_F(FolderStripsTest, AreFilledToTheEdgeWithTheMiddleOfAPicture)
{
    const QRgb corners[] = { kRed, kGreen, kBlue, kYellow };
    const QByteArray folder = files.folder("a");
    files.file("a/wide.png", encoded(quartered(corners, { 240, 40 }), "png"));
    files.file("a/high.png", encoded(quartered(corners, { 30, 240 }), "png"));

    strips->setFolders({ folder });
    settle();

    ASSERT_EQ(strips->stripOf(folder).tiles.size(), 2U);
    for (const QImage& tile : strips->stripOf(folder).tiles) {
        EXPECT_EQ(tile.size(), 2 * kTileSize);
        const int right = tile.width() - 20;
        const int low = tile.height() - 20;
        EXPECT_TRUE(isNearly(tile.pixel(20, 20), kRed));
        EXPECT_TRUE(isNearly(tile.pixel(right, 20), kGreen));
        EXPECT_TRUE(isNearly(tile.pixel(20, low), kBlue));
        EXPECT_TRUE(isNearly(tile.pixel(right, low), kYellow));
        EXPECT_TRUE(isNearly(tile.pixel(tile.width() / 2, 0), tile.pixel(tile.width() / 2, 5)));
        EXPECT_EQ(qAlpha(tile.pixel(0, tile.height() / 2)), 255);
    }
}

TEST_F(FolderStripsTest, HaveRoundCorners)
{
    const QByteArray folder = album("a", { kRed });

    strips->setFolders({ folder });
    settle();

    const QImage tile = strips->stripOf(folder).tiles.at(0);
    for (const QPoint corner : { tile.rect().topLeft(), tile.rect().bottomRight() })
        EXPECT_EQ(qAlpha(tile.pixel(corner)), 0);
}

TEST_F(FolderStripsTest, TakeAPictureOfOnePixelWidth)
{
    const QByteArray folder = files.folder("a");
    files.file("a/line.png", encoded(solid(kRed, { 1, 200 }), "png"));

    strips->setFolders({ folder });
    settle();

    EXPECT_THAT(coloursOf(folder), ElementsAre(kRed));
}

TEST_F(FolderStripsTest, KnowTheirLengthBeforeThePictures)
{
    const HeldDecoder held;
    const QByteArray folder = album("a", { kRed, kGreen });

    strips->setFolders({ folder });

    EXPECT_TRUE(waitUntil([&] { return strips->stripOf(folder).length == 2; }));
    EXPECT_TRUE(strips->stripOf(folder).tiles.empty());
    EXPECT_EQ(strips->stripOf(folder).state, FolderStrip::State::Looking);
}

TEST_F(FolderStripsTest, GrowPictureByPicture)
{
    const QByteArray folder = album("a", { kRed, kGreen });
    std::vector<size_t> sizes;
    strips.emplace(firstPicturesOf,
        [&](const QByteArray& changed) { sizes.push_back(strips->stripOf(changed).tiles.size()); });

    strips->setFolders({ folder });
    settle();

    EXPECT_THAT(sizes, ElementsAre(0, 1, 2));
}

TEST_F(FolderStripsTest, SayThatAFolderIsGone)
{
    const QByteArray folder = files.path("gone");

    strips->setFolders({ folder });
    settle();

    EXPECT_EQ(strips->stripOf(folder).state, FolderStrip::State::Gone);
    EXPECT_THAT(changes, ElementsAre(folder));
}

TEST_F(FolderStripsTest, AreLookingUntilTheFolderAnswers)
{
    const QByteArray folder = album("dead", { kRed });
    dead = { folder };

    strips->setFolders({ folder });

    stop.waitForArrival();
    EXPECT_EQ(strips->stripOf(folder).state, FolderStrip::State::Looking);
    EXPECT_TRUE(changes.empty());
}

TEST_F(FolderStripsTest, DoNotWaitForFoldersThatNeverAnswer)
{
    std::vector<QByteArray> list;
    for (int i = 0; i < 9; ++i)
        list.push_back(album("dead" + QByteArray::number(i), {}));
    dead = { list.begin(), list.end() };
    const QByteArray alive = album("alive", { kRed });
    list.push_back(alive);

    strips->setFolders(list);

    EXPECT_TRUE(
        waitUntil([&] { return strips->stripOf(alive).state == FolderStrip::State::Complete; }));
    EXPECT_THAT(coloursOf(alive), ElementsAre(kRed));
}

TEST_F(FolderStripsTest, DoNotHoldUpTheEndOfTheProgram)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const QByteArray folder = files.folder("dead");

    EXPECT_EXIT(
        {
            dead = { folder };
            strips->setFolders({ folder });
            stop.waitForArrival();
            strips.reset();
            std::exit(0);
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(FolderStripsTest, DropWhatComesAfterTheFolderHasLeft)
{
    const QByteArray folder = album("dead", { kRed });
    dead = { folder };
    strips->setFolders({ folder });
    stop.waitForArrival();

    strips->setFolders({});
    stop.release();
    settle();

    EXPECT_TRUE(changes.empty());
    EXPECT_TRUE(strips->stripOf(folder).tiles.empty());
}

TEST_F(FolderStripsTest, HoldOneThreadForAFolderThatComesBack)
{
    const QByteArray folder = album("dead", { kRed });
    dead = { folder };
    strips->setFolders({ folder });
    stop.waitForArrival();

    strips->setFolders({});
    strips->setFolders({ folder });
    stop.release();
    settle();

    EXPECT_EQ(finds, 1);
    EXPECT_THAT(coloursOf(folder), ElementsAre(kRed));
}

TEST_F(FolderStripsTest, LookAgainWhereTheyHadGivenUp)
{
    const QByteArray folder = album("dead", { kRed });
    dead = { folder };
    strips->setFolders({ folder });
    stop.waitForArrival();
    strips->setFolders({});
    stop.release();
    FolderStrips::drain(); // It has ended early, which is not known here yet.

    strips->setFolders({ folder });
    settle();

    EXPECT_EQ(finds, 2);
    EXPECT_THAT(coloursOf(folder), ElementsAre(kRed));
}

TEST_F(FolderStripsTest, LookAgainWhereTheyHadGivenUpOnAFolderThatHadBeenGone)
{
    const QByteArray folder = files.path("dead");
    strips->setFolders({ folder });
    settle();
    album("dead", { kRed });
    dead = { folder };
    strips->setFolders({ folder });
    stop.waitForArrival();
    strips->setFolders({});
    stop.release();
    FolderStrips::drain();

    strips->setFolders({ folder });
    settle();

    EXPECT_EQ(strips->stripOf(folder).state, FolderStrip::State::Complete);
    EXPECT_THAT(coloursOf(folder), ElementsAre(kRed));
}

TEST_F(FolderStripsTest, AreKeptOfFoldersThatStay)
{
    const QByteArray a = album("a", { kRed });
    const QByteArray b = album("b", { kGreen });
    strips->setFolders({ a });
    settle();

    strips->setFolders({ b, a });

    EXPECT_THAT(coloursOf(a), ElementsAre(kRed)) << "at once";
    settle();
    EXPECT_EQ(finds, 2);
    EXPECT_THAT(coloursOf(b), ElementsAre(kGreen));
}

TEST_F(FolderStripsTest, AreForgottenOfFoldersThatLeave)
{
    const QByteArray folder = album("a", { kRed });
    strips->setFolders({ folder });
    settle();

    strips->setFolders({});
    strips->setFolders({ folder });

    EXPECT_TRUE(coloursOf(folder).empty());
    settle();
    EXPECT_EQ(finds, 2);
    EXPECT_THAT(coloursOf(folder), ElementsAre(kRed));
}

TEST_F(FolderStripsTest, ComeWhenAFolderHasComeBackToDisk)
{
    strips->setFolders({ files.path("gone"), files.folder("empty") });
    settle();
    const QByteArray gone = album("gone", { kRed });
    const QByteArray empty = album("empty", { kGreen });

    strips->setFolders({ gone, empty });
    settle();

    EXPECT_THAT(coloursOf(gone), ElementsAre(kRed));
    EXPECT_THAT(coloursOf(empty), ElementsAre(kGreen));
}

TEST_F(FolderStripsTest, AreOneForAFolderThatIsListedTwice)
{
    const QByteArray folder = album("a", { kRed });

    strips->setFolders({ folder, folder });
    settle();

    EXPECT_EQ(finds, 1);
    EXPECT_THAT(coloursOf(folder), ElementsAre(kRed));
}

TEST_F(FolderStripsTest, TellNobodyWhenTheyAreDestroyed)
{
    const QByteArray folder = album("dead", { kRed });
    dead = { folder };
    strips->setFolders({ folder });
    stop.waitForArrival();

    strips.reset();
    stop.release();
    settle();

    EXPECT_TRUE(changes.empty());
}

TEST_F(FolderStripsTest, HaveNothingDecodedAfterTheirEnd)
{
    const HeldDecoder held;
    const QByteArray folder = album("dead", { kRed });
    dead = { folder };
    strips->setFolders({ folder });
    stop.waitForArrival();

    strips.reset();
    stop.release();

    FolderStrips::drain(); // Would wait for the decoder for ever.
}

} // namespace

} // namespace quorvane
