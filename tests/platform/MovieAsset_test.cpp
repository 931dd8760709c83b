// SPDX-License-Identifier: GPL-3.0-or-later
// Movies and music, asked for what lies in them, through the real decoder.
#include "platform/MovieAsset.h"
#include "support/FixtureFolder.h"
#include "support/MovieBytes.h"
#include "support/PictureBytes.h"
#include "support/TrackBytes.h"

#include <gtest/gtest.h>

#include <cmath>

namespace quorvane {

namespace {

using tests::FixtureFolder;
using tests::movieBytes;
using tests::musicBytes;

constexpr int kBound = 300;

// A quarter turn to the right, as containers store it.
constexpr std::array<qint32, 9> kTurned { 0, 1 << 16, 0, -(1 << 16), 0, 0, 0, 0, 1 << 30 };

struct MovieAssetTest : testing::Test {
    FixtureFolder folder;

    MovieAsset asset(const QByteArray& bytes)
    {
        return *MovieAsset::createWithURL(FileURL(folder.write("name", bytes)));
    }
};

/// Which frame of the usual fixture `image` is, by its brightness; -1 for none.
int numberOf(const std::optional<QImage>& image)
{
    if (!image)
        return -1;
    const double luma
        = 16 + qGreen(image->pixel(image->width() / 2, image->height() / 2)) * 219 / 255.0;
    return qRound((luma - 30) / 10);
}

QByteArray quartered(QSize size, const QByteArray& format = "jpg")
{
    return tests::encodedPicture(tests::quarteredPicture(size), format);
}

QByteArray musicWithCover(const QByteArray& picture)
{
    return musicBytes(tests::coverFrame(3, picture));
}

TEST_F(MovieAssetTest, CannotBeMadeOfWhatCannotBeOpened)
{
    EXPECT_FALSE(MovieAsset::createWithURL(FileURL(folder.path("absent"))));
    EXPECT_FALSE(MovieAsset::createWithURL(FileURL(folder.path())));
    EXPECT_FALSE(MovieAsset::createWithURL(FileURL(folder.makePipe("pipe"))));
    EXPECT_FALSE(MovieAsset::createWithURL(FileURL()));
}

TEST_F(MovieAssetTest, TellsWhatAMovieSaysOfItself)
{
    const auto information
        = asset(movieBytes({ .pixelAspect = { 3, 2 }, .matrix = kTurned, .title = "Garden" }))
              .information();

    ASSERT_TRUE(information);
    EXPECT_EQ(information->pictureTracks, 1);
    EXPECT_EQ(information->soundTracks, 0);
    EXPECT_EQ(information->naturalSize, QSize(48, 96));
    EXPECT_EQ(information->seconds, 2);
    EXPECT_EQ(information->title, QStringLiteral("Garden"));
}

TEST_F(MovieAssetTest, TellsOfSoundThatThereIsNoPicture)
{
    const auto information = asset(musicWithCover(quartered({ 30, 20 }))).information();

    ASSERT_TRUE(information);
    EXPECT_EQ(information->pictureTracks, 0);
    EXPECT_EQ(information->soundTracks, 1);
    EXPECT_TRUE(information->naturalSize.isEmpty());
    EXPECT_TRUE(information->title.isEmpty());
    ASSERT_TRUE(information->seconds);
    EXPECT_NEAR(*information->seconds, 0.5, 0.1);
}

TEST_F(MovieAssetTest, BoundsTheTitle)
{
    const QByteArray title = QByteArray("\xE2\x99\xAB").repeated(10'000); // Notes.

    const auto information = asset(movieBytes({ .title = title.constData() })).information();

    ASSERT_TRUE(information);
    EXPECT_EQ(information->title, QString(77, QChar(0x266B)));
}

TEST_F(MovieAssetTest, KnowsNothingOfWhatIsNoMovie)
{
    for (const QByteArray& bytes : { QByteArray(), QByteArray("text"), quartered({ 8, 8 }),
             movieBytes({}).left(64), QByteArray("%PDF-1.4") }) {
        const MovieAsset stranger = asset(bytes);

        EXPECT_FALSE(stranger.information());
        EXPECT_FALSE(stranger.createFrameAtMiddle(kBound));
        EXPECT_FALSE(stranger.createFrameAt(0, kBound));
        EXPECT_FALSE(stranger.createCover(kBound));
    }
}

TEST_F(MovieAssetTest, AnswersEveryQuestionAnew)
{
    const MovieAsset movie = asset(movieBytes({}));

    EXPECT_EQ(numberOf(movie.createFrameAt(0.3, kBound)), 3);
    EXPECT_EQ(numberOf(movie.createFrameAtMiddle(kBound)), 10);
    EXPECT_TRUE(movie.information());
    EXPECT_FALSE(movie.createCover(kBound));
    EXPECT_EQ(numberOf(movie.createFrameAt(1.9, kBound)), 19);
    EXPECT_EQ(numberOf(movie.createFrameAtMiddle(kBound)), 10);
}

TEST_F(MovieAssetTest, ShowsTheNearestFrameBeyondTheEnds)
{
    const MovieAsset movie = asset(movieBytes({}));

    EXPECT_EQ(numberOf(movie.createFrameAt(-1, kBound)), 0);
    EXPECT_EQ(numberOf(movie.createFrameAt(1e9, kBound)), 19);
    EXPECT_EQ(numberOf(movie.createFrameAt(std::nan(""), kBound)), 0);
}

TEST_F(MovieAssetTest, ShrinksAFrameToTheBoundUpright)
{
    const MovieAsset movie = asset(movieBytes({ .matrix = kTurned }));

    EXPECT_EQ(movie.createFrameAt(0, 16)->size(), QSize(12, 16));
    EXPECT_EQ(movie.createFrameAt(0, kBound)->size(), QSize(48, 64));
    EXPECT_EQ(movie.createFrameAtMiddle(32)->size(), QSize(24, 32));
}

TEST_F(MovieAssetTest, HasNoFrameOfSound)
{
    for (const QByteArray& bytes : { tests::trackBytes({ .tracks = "s" }), musicBytes({}),
             musicWithCover(quartered({ 30, 20 })) }) {
        EXPECT_FALSE(asset(bytes).createFrameAtMiddle(kBound));
        EXPECT_FALSE(asset(bytes).createFrameAt(0, kBound));
    }
}

TEST_F(MovieAssetTest, ShowsTheCoverUprightWithinTheBound)
{
    for (const char* format : { "jpg", "png" }) {
        const auto cover = asset(musicWithCover(quartered({ 400, 200 }, format))).createCover(100);

        ASSERT_TRUE(cover) << format;
        EXPECT_EQ(cover->size(), QSize(100, 50));
        EXPECT_EQ(tests::quarters(*cover), QByteArray("rgbw"));
    }
    const auto turned = asset(musicWithCover(tests::withOrientation(quartered({ 60, 40 }), 6)))
                            .createCover(kBound);
    ASSERT_TRUE(turned);
    EXPECT_EQ(turned->size(), QSize(40, 60));
    EXPECT_EQ(tests::quarters(*turned), QByteArray("brwg"));
}

TEST_F(MovieAssetTest, HasNoCoverWhereThereIsNone)
{
    EXPECT_FALSE(asset(musicBytes({})).createCover(kBound));
    EXPECT_FALSE(asset(movieBytes({})).createCover(kBound));
}

TEST_F(MovieAssetTest, HasNoCoverThatCannotBeDecoded)
{
    const QByteArray picture = quartered({ 60, 40 });

    EXPECT_FALSE(asset(musicWithCover("no picture")).createCover(kBound));
    EXPECT_FALSE(asset(musicWithCover(picture.left(picture.size() / 2))).createCover(kBound));
}

TEST_F(MovieAssetTest, BoundsACoverOfAbsurdSize)
{
    QByteArray bitmap = quartered({ 60, 40 }, "bmp");
    bitmap.replace(
        18, 8, tests::numberBytes(quint32(60'000), tests::ByteOrder::Little).repeated(2));
    const QByteArray photograph = tests::withClaimedSize(quartered({ 60, 40 }), 60'000, 60'000);

    EXPECT_FALSE(asset(musicWithCover(bitmap)).createCover(kBound));
    const auto cover = asset(musicWithCover(photograph)).createCover(kBound);
    EXPECT_TRUE(!cover || cover->size() == QSize(kBound, kBound));
}

} // namespace

} // namespace quorvane
