// SPDX-License-Identifier: GPL-3.0-or-later
// A picture file as the rest of the program sees it.
#include "platform/ImageSource.h"
#include "support/FixtureFolder.h"
#include "support/PictureBytes.h"

#include <gtest/gtest.h>

namespace quorvane {

namespace {

using tests::FixtureFolder;
using From = ThumbnailOptions::From;

/// How the four quarters of a stored picture look once it is upright, by its orientation.
constexpr const char* kUprightQuarters[]
    = { "rgbw", "rgbw", "grwb", "wbgr", "bwrg", "rbgw", "brwg", "wgbr", "gwrb", "rgbw" };

struct ImageSourceTest : testing::Test {
    FixtureFolder folder;

    std::optional<ImageSource> source(const QByteArray& bytes)
    {
        return ImageSource::createWithURL(FileURL(folder.write("name", bytes)));
    }

    std::optional<QImage> thumbnail(
        const QByteArray& bytes, From from = From::ImageIfAbsent, int bound = 300)
    {
        const auto opened = source(bytes);
        return opened ? opened->createThumbnailAtIndex0({ from, bound }) : std::nullopt;
    }
};

QByteArray quartered(QSize size, const QByteArray& format = "jpg")
{
    return tests::encodedPicture(tests::quarteredPicture(size), format);
}

/// A file whose embedded thumbnail is told from the picture: it is all blue.
QByteArray withThumbnail(QSize size, QSize thumbnail, quint16 orientation = 1)
{
    return tests::withExif(quartered(size),
        { .main = { { .value = orientation } },
            .thumbnail = tests::encodedPicture(tests::solidPicture(thumbnail, Qt::blue), "jpg") });
}

TEST_F(ImageSourceTest, CannotBeMadeOfWhatCannotBeOpened)
{
    EXPECT_FALSE(ImageSource::createWithURL(FileURL(folder.path("absent"))));
    EXPECT_FALSE(ImageSource::createWithURL(FileURL(folder.path())));
    EXPECT_FALSE(ImageSource::createWithURL(FileURL(folder.makePipe("pipe"))));
    EXPECT_FALSE(ImageSource::createWithURL(FileURL()));
}

TEST_F(ImageSourceTest, HasNoPictureOfAForeignFile)
{
    for (const QByteArray& bytes : { QByteArray(), QByteArray("text") }) {
        const auto opened = source(bytes);

        ASSERT_TRUE(opened);
        EXPECT_FALSE(opened->createImageAtIndex0());
        EXPECT_FALSE(opened->createThumbnailAtIndex0({ From::ImageIfAbsent, 300 }));
        EXPECT_FALSE(opened->createThumbnailAtIndex0({ From::ImageAlways, 300 }));
    }
}

TEST_F(ImageSourceTest, GivesThePictureAsStoredWithItsOrientation)
{
    for (quint16 orientation = 0; orientation <= 9; ++orientation) {
        const auto picture = source(tests::withOrientation(quartered({ 60, 40 }), orientation))
                                 ->createImageAtIndex0();

        ASSERT_TRUE(picture);
        EXPECT_EQ(picture->pixels.size(), QSize(60, 40));
        EXPECT_EQ(tests::quarters(picture->pixels.image()), QByteArray("rgbw"));
        ASSERT_TRUE(picture->properties);
        const bool isKnown = orientation >= 1 && orientation <= 8;
        EXPECT_EQ(picture->properties->orientation, isKnown ? orientation : 1);
    }
}

TEST_F(ImageSourceTest, TakesAFileWithoutExifForUpright)
{
    for (const char* format : { "jpg", "png", "bmp" }) {
        const auto picture = source(quartered({ 6, 4 }, format))->createImageAtIndex0();

        ASSERT_TRUE(picture && picture->properties) << format;
        EXPECT_EQ(picture->properties->orientation, 1) << format;
    }
}

TEST_F(ImageSourceTest, ReadsAFileThatIsGoneSinceItWasOpened)
{
    const auto opened = source(quartered({ 60, 40 }));
    ASSERT_TRUE(opened);

    folder.remove("name");

    EXPECT_TRUE(opened->createImageAtIndex0());
    EXPECT_TRUE(opened->createThumbnailAtIndex0({ From::ImageAlways, 30 }));
}

TEST_F(ImageSourceTest, BoundsTheLongerSideOfAThumbnail)
{
    EXPECT_EQ(thumbnail(quartered({ 800, 600 }))->size(), QSize(300, 225));
    EXPECT_EQ(thumbnail(quartered({ 600, 800 }))->size(), QSize(225, 300));
    EXPECT_EQ(thumbnail(quartered({ 301, 10 }))->size().width(), 300);
    EXPECT_EQ(thumbnail(quartered({ 800, 600 }, "png"))->size(), QSize(300, 225));
    EXPECT_EQ(thumbnail(quartered({ 800, 600 }, "webp"))->size(), QSize(300, 225));
}

TEST_F(ImageSourceTest, EnlargesNothing)
{
    for (const From from : { From::ImageIfAbsent, From::ImageAlways }) {
        EXPECT_EQ(thumbnail(quartered({ 120, 80 }), from)->size(), QSize(120, 80));
        EXPECT_EQ(thumbnail(quartered({ 300, 300 }), from)->size(), QSize(300, 300));
        EXPECT_EQ(thumbnail(quartered({ 120, 80 }, "png"), from)->size(), QSize(120, 80));
    }
}

TEST_F(ImageSourceTest, MakesThumbnailsOfTheThinnestPictures)
{
    for (const char* format : { "png", "jpg", "webp" }) {
        const auto wide = thumbnail(quartered({ 4000, 1 }, format));
        const auto high = thumbnail(quartered({ 1, 4000 }, format));

        ASSERT_TRUE(wide && high) << format;
        EXPECT_EQ(wide->size(), QSize(300, 1)) << format;
        EXPECT_EQ(high->size(), QSize(1, 300)) << format;
    }
}

TEST_F(ImageSourceTest, TakesASmallEmbeddedThumbnailAsItIs)
{
    const auto small = thumbnail(withThumbnail({ 800, 600 }, { 160, 120 }));

    ASSERT_TRUE(small);
    EXPECT_EQ(small->size(), QSize(160, 120));
    EXPECT_EQ(tests::quarters(*small), QByteArray("bbbb"));
}

TEST_F(ImageSourceTest, BoundsALargerEmbeddedThumbnail)
{
    const auto small = thumbnail(withThumbnail({ 800, 600 }, { 320, 240 }));

    ASSERT_TRUE(small);
    EXPECT_EQ(small->size(), QSize(300, 225));
    EXPECT_EQ(tests::quarters(*small), QByteArray("bbbb"));
}

TEST_F(ImageSourceTest, TakesThePictureWhenToldInSpiteOfAThumbnail)
{
    const auto small = thumbnail(withThumbnail({ 800, 600 }, { 160, 120 }), From::ImageAlways);

    ASSERT_TRUE(small);
    EXPECT_EQ(small->size(), QSize(300, 225));
    EXPECT_EQ(tests::quarters(*small), QByteArray("rgbw"));
}

TEST_F(ImageSourceTest, TurnsTheEmbeddedThumbnailLikeThePicture)
{
    const auto small = thumbnail(withThumbnail({ 800, 600 }, { 160, 120 }, 6));

    ASSERT_TRUE(small);
    EXPECT_EQ(small->size(), QSize(120, 160));
}

TEST_F(ImageSourceTest, TakesThePictureWhereTheThumbnailIsDamaged)
{
    const auto small = thumbnail(tests::withExif(
        quartered({ 800, 600 }), { .main = { { .value = 6 } }, .thumbnail = "no picture" }));

    ASSERT_TRUE(small);
    EXPECT_EQ(small->size(), QSize(225, 300));
    EXPECT_EQ(tests::quarters(*small), QByteArray("brwg"));
}

TEST_F(ImageSourceTest, TakesTheThumbnailWhereThePictureIsDamaged)
{
    const QByteArray whole = withThumbnail({ 800, 600 }, { 160, 120 });
    const QByteArray half = whole.left(whole.size() * 3 / 4);

    const auto small = thumbnail(half);

    ASSERT_TRUE(small);
    EXPECT_EQ(small->size(), QSize(160, 120));
    EXPECT_FALSE(thumbnail(half, From::ImageAlways));
    EXPECT_FALSE(source(half)->createImageAtIndex0());
}

TEST_F(ImageSourceTest, MakesThumbnailsUpright)
{
    const QByteArray plain = quartered({ 800, 600 });
    for (quint16 orientation = 0; orientation <= 9; ++orientation) {
        const bool turned = orientation >= 5 && orientation <= 8;

        const auto small = thumbnail(tests::withOrientation(plain, orientation));

        ASSERT_TRUE(small);
        EXPECT_EQ(small->size(), turned ? QSize(225, 300) : QSize(300, 225)) << orientation;
        EXPECT_EQ(tests::quarters(*small), QByteArray(kUprightQuarters[orientation]))
            << orientation;
    }
}

TEST_F(ImageSourceTest, KeepsTheTransparencyOfAnUprightThumbnail)
{
    QImage image(600, 400, QImage::Format_ARGB32);
    image.fill(Qt::transparent);

    const auto small = thumbnail(tests::encodedPicture(image, "png"));

    ASSERT_TRUE(small);
    EXPECT_EQ(small->pixelColor(100, 100).alpha(), 0);
}

} // namespace

} // namespace quorvane
