// SPDX-License-Identifier: GPL-3.0-or-later
#include "images/SVImage.h"
#include "platform/TypeIdentifier.h"
#include "support/GeometryMatchers.h"
#include "support/MovieBytes.h"
#include "support/PictureFiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

namespace quorvane {
namespace {

using namespace tests;

using Audiovisual = TypeIdentifier::DecodersForTesting::Audiovisual;

constexpr AffineTransform kIdentity = AffineTransform::identity();
constexpr AffineTransform kZero {};

/// Without memory for the upright pixels.
class UnbakedImage : public SVImage {
protected:
    QImage bakedImage(QSize /*canvasSize*/) const override { return {}; }
};

/// Remembers what it is asked for.
class RecordingImage : public SVImage {
public:
    mutable std::vector<QSize> canvases;

protected:
    QImage bakedImage(QSize canvasSize) const override
    {
        canvases.push_back(canvasSize);
        return SVImage::bakedImage(canvasSize);
    }
};

struct SVImageTest : testing::Test {
    PictureFiles files;
    const QByteArray notAPicture = "The quick brown fox";

    /// A JPEG picture of `size` with `orientation`.
    FileURL turned(qint64 orientation, QSize size = { 64, 32 }) const
    {
        return files.write("turned.jpg", withExif(encoded(solid(kRed, size), "jpg"), orientation));
    }
};

QRgb centre(const QImage& image) { return image.pixel(image.width() / 2, image.height() / 2); }

TEST_F(SVImageTest, IsEmptyBeforeItIsLoaded)
{
    const SVImage image;

    EXPECT_TRUE(image.getCGImage().isNull());
    EXPECT_EQ(image.getTransform(), kZero);
    EXPECT_FALSE(image.turnedImage());
    EXPECT_EQ(image.width(), 0);
    EXPECT_EQ(image.height(), 0);
    EXPECT_TRUE(image.mURL().isEmpty());
    EXPECT_EQ(image.pictureSize(), QSize(0, 0));
}

TEST_F(SVImageTest, LoadsAPicture)
{
    const FileURL url = files.write("a.png", kGreen, { 40, 30 });

    const auto image = SVImage::imageWithURL(url);

    ASSERT_TRUE(image);
    EXPECT_EQ(image->getCGImage().size(), QSize(40, 30));
    EXPECT_EQ(image->getCGImage().pixel(39, 29), kGreen);
    EXPECT_EQ(image->width(), 40);
    EXPECT_EQ(image->height(), 30);
    EXPECT_EQ(image->pictureSize(), QSize(40, 30));
    EXPECT_EQ(image->getTransform(), kIdentity);
    EXPECT_FALSE(image->turnedImage());
    EXPECT_EQ(image->mURL(), url);
}

TEST_F(SVImageTest, IsNothingWhereNothingCanBeDecoded)
{
    EXPECT_EQ(SVImage::imageWithURL(files.url("missing.png")), nullptr);
    EXPECT_EQ(SVImage::imageWithURL(files.write("text.png", notAPicture)), nullptr);
    EXPECT_EQ(SVImage::imageWithURL(files.write("empty.png", QByteArray())), nullptr);
    EXPECT_EQ(SVImage::imageWithURL(FileURL()), nullptr);
}

TEST_F(SVImageTest, KeepsPixelsAndURLWhenAFileCannotBeOpened)
{
    const FileURL url = files.write("a.png", kGreen);
    SVImage image;
    image.loadFromURL(url);

    image.loadFromURL(files.url("missing.png"));

    EXPECT_EQ(image.mURL(), url);
    EXPECT_EQ(image.width(), 40);
    EXPECT_EQ(image.getCGImage().size(), QSize(40, 30));
}

TEST_F(SVImageTest, HasNoPixelsAfterAFileThatCannotBeDecoded)
{
    const FileURL text = files.write("text.png", notAPicture);
    SVImage image;
    image.loadFromURL(files.write("a.png", kGreen));

    image.loadFromURL(text);

    EXPECT_EQ(image.mURL(), text);
    EXPECT_TRUE(image.getCGImage().isNull());
    EXPECT_EQ(image.pictureSize(), QSize(0, 0));
    EXPECT_EQ(image.getTransform(), kIdentity);
}

TEST_F(SVImageTest, CountsAsUprightFromTheBeginningOfALoad)
{
    UnbakedImage image;
    image.loadFromURL(turned(6));
    ASSERT_TRUE(image.turnedImage());

    image.loadFromURL(files.url("missing.png"));

    EXPECT_FALSE(image.turnedImage());
    EXPECT_EQ(image.getTransform(), kIdentity);
}

TEST_F(SVImageTest, ShowsTheFirstFrameOfAnAnimation)
{
    const auto image = SVImage::imageWithURL(files.write("a.gif", animatedGif()));

    ASSERT_TRUE(image);
    EXPECT_EQ(image->getCGImage().size(), QSize(1, 1));
    EXPECT_EQ(image->getCGImage().pixel(0, 0), kRed);
}

TEST_F(SVImageTest, MakesAPictureOfPixels)
{
    const auto image = SVImage::imageWithImage(solid(kBlue, { 8, 6 }));

    EXPECT_EQ(image->getCGImage(), solid(kBlue, { 8, 6 }));
    EXPECT_EQ(image->pictureSize(), QSize(8, 6));
    EXPECT_TRUE(image->mURL().isEmpty());
    EXPECT_EQ(image->getTransform(), kZero);
    EXPECT_FALSE(image->turnedImage());
}

TEST_F(SVImageTest, RefreshReadsTheFileAgain)
{
    const auto image = SVImage::imageWithURL(files.write("a.png", kGreen));
    files.write("a.png", kBlue, { 20, 10 });

    image->refresh();

    EXPECT_EQ(image->getCGImage().size(), QSize(20, 10));
    EXPECT_EQ(image->getCGImage().pixel(0, 0), kBlue);
    EXPECT_EQ(image->pictureSize(), QSize(20, 10));
    EXPECT_EQ(image->mURL(), files.url("a.png"));
}

TEST_F(SVImageTest, RefreshLeavesNoPixelsWhenTheFileIsGone)
{
    const auto image = SVImage::imageWithURL(files.write("a.png", kGreen));
    files.remove("a.png");

    image->refresh();

    EXPECT_TRUE(image->getCGImage().isNull());
    EXPECT_EQ(image->pictureSize(), QSize(0, 0));
    EXPECT_EQ(image->mURL(), files.url("a.png"));
}

TEST_F(SVImageTest, TakesAnyURL)
{
    SVImage image;

    image.setMURL(FileURL("/a/b.png"));

    EXPECT_EQ(image.mURL(), FileURL("/a/b.png"));
}

TEST(SVImageOrientation, IsOneUnlessItIsOneToEight)
{
    for (int orientation = 1; orientation <= 8; ++orientation)
        EXPECT_EQ(SVImage::orientation({ orientation }), orientation);
    for (const int odd :
        { 0, 9, -1, 65535, 257, std::numeric_limits<int>::min(), std::numeric_limits<int>::max() })
        EXPECT_EQ(SVImage::orientation({ odd }), 1) << odd;
}

TEST(SVImageOrientation, GivesTheTransformThatTurnsUpright)
{
    const QImage stored = solid(kRed, { 40, 30 });
    const AffineTransform expected[] = { { 1, 0, 0, 1, 0, 0 }, { -1, 0, 0, 1, 40, 0 },
        { -1, 0, 0, -1, 40, 30 }, { 1, 0, 0, -1, 0, 30 }, { 0, -1, -1, 0, 30, 40 },
        { 0, -1, 1, 0, 0, 40 }, { 0, 1, 1, 0, 0, 0 }, { 0, 1, -1, 0, 30, 0 } };

    for (int orientation = 1; orientation <= 8; ++orientation)
        EXPECT_EQ(SVImage::imageTransform({ orientation }, stored), expected[orientation - 1])
            << orientation;
    for (const int odd : { 0, 9, -1 })
        EXPECT_EQ(SVImage::imageTransform({ odd }, stored), kIdentity) << odd;
}

TEST_F(SVImageTest, TurnsEveryOrientationUpright)
{
    struct Row {
        qint64 orientation;
        QRgb stored[4]; ///< So that all are alike when upright.
    };
    const Row rows[]
        = { { 1, { kRed, kGreen, kBlue, kYellow } }, { 2, { kGreen, kRed, kYellow, kBlue } },
              { 3, { kYellow, kBlue, kGreen, kRed } }, { 4, { kBlue, kYellow, kRed, kGreen } },
              { 5, { kRed, kBlue, kGreen, kYellow } }, { 6, { kGreen, kYellow, kRed, kBlue } },
              { 7, { kYellow, kGreen, kBlue, kRed } }, { 8, { kBlue, kRed, kYellow, kGreen } } };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.orientation);
        const QSize stored = row.orientation > 4 ? QSize(32, 64) : QSize(64, 32);
        const QByteArray jpeg = encoded(quartered(row.stored, stored), "jpg");

        const auto image
            = SVImage::imageWithURL(files.write("a.jpg", withExif(jpeg, row.orientation)));

        ASSERT_TRUE(image);
        ASSERT_EQ(image->getCGImage().size(), QSize(64, 32));
        EXPECT_EQ(image->getTransform(), kIdentity);
        EXPECT_FALSE(image->turnedImage());
        EXPECT_PRED2(isNearly, image->getCGImage().pixel(4, 4), kRed);
        EXPECT_PRED2(isNearly, image->getCGImage().pixel(59, 4), kGreen);
        EXPECT_PRED2(isNearly, image->getCGImage().pixel(4, 27), kBlue);
        EXPECT_PRED2(isNearly, image->getCGImage().pixel(59, 27), kYellow);
    }
}

TEST_F(SVImageTest, SwapsWidthAndHeightOfATurnedPhotograph)
{
    const auto image = SVImage::imageWithURL(turned(6, { 400, 300 }));

    ASSERT_TRUE(image);
    EXPECT_EQ(image->width(), 300);
    EXPECT_EQ(image->height(), 400);
    EXPECT_TRUE(isExactly(image->rectToFitScreen({ 1920, 1080 }, false), { 810, 340, 300, 400 }));
}

TEST_F(SVImageTest, RedrawsNothingThatIsUpright)
{
    const QByteArray jpeg = encoded(solid(kRed, { 64, 32 }), "jpg");
    RecordingImage image;

    image.loadFromURL(files.write("none.jpg", jpeg));
    for (const qint64 upright : { 1, 0, 9, -1, 65535 })
        image.loadFromURL(turned(upright));

    EXPECT_TRUE(image.canvases.empty());
    EXPECT_EQ(image.getTransform(), kIdentity);
    EXPECT_FALSE(image.turnedImage());
    EXPECT_EQ(image.getCGImage().size(), QSize(64, 32));
}

TEST_F(SVImageTest, TurnsOntoACanvasOfTheUprightSize)
{
    RecordingImage image;

    image.loadFromURL(turned(3));
    image.loadFromURL(turned(8));
    image.loadImageWithTransform(); // Upright by now.

    EXPECT_EQ(image.canvases, (std::vector { QSize(64, 32), QSize(32, 64) }));
}

TEST_F(SVImageTest, KeepsTheTransparencyOfAnUprightPicture)
{
    QImage clear(4, 2, QImage::Format_ARGB32);
    clear.fill(Qt::transparent);
    clear.setPixelColor(0, 0, QColor::fromRgba(kRed));

    for (const FileURL& url :
        { files.write("a.png", clear), files.write("a.tif", transparentTiff(clear, 1)) }) {
        const auto image = SVImage::imageWithURL(url);

        ASSERT_TRUE(image) << url.path().constData();
        EXPECT_EQ(image->getCGImage().pixel(0, 0), kRed);
        EXPECT_EQ(image->getCGImage().pixelColor(3, 1).alpha(), 0);
    }
}

TEST_F(SVImageTest, MakesBlackOfTheTransparencyOfATurnedPicture)
{
    QImage clear(4, 2, QImage::Format_ARGB32);
    clear.fill(Qt::transparent);
    clear.setPixelColor(0, 0, QColor::fromRgba(kRed));

    for (const quint16 orientation : { quint16(3), quint16(6) }) {
        const auto image
            = SVImage::imageWithURL(files.write("a.tif", transparentTiff(clear, orientation)));

        ASSERT_TRUE(image);
        const QImage& upright = image->getCGImage();
        EXPECT_EQ(upright.size(), orientation == 6 ? QSize(2, 4) : QSize(4, 2));
        EXPECT_FALSE(upright.hasAlphaChannel());
        EXPECT_EQ(upright.pixel(0, 0), kBlack);
        EXPECT_EQ(orientation == 6 ? upright.pixel(1, 0) : upright.pixel(3, 1), kRed);
    }
}

TEST_F(SVImageTest, SaysWhatIsToBeDoneWithoutMemoryForTurning)
{
    for (int orientation = 2; orientation <= 8; ++orientation) {
        SCOPED_TRACE(orientation);
        UnbakedImage image;

        image.loadFromURL(turned(orientation));

        EXPECT_EQ(image.getCGImage().size(), QSize(64, 32));
        EXPECT_EQ(image.width(), 64);
        EXPECT_EQ(image.height(), 32);
        EXPECT_EQ(image.turnedImage(), orientation > 4);
        EXPECT_EQ(
            image.getTransform(), SVImage::imageTransform({ orientation }, image.getCGImage()));
    }
}

TEST_F(SVImageTest, PlacesAPictureByItsPixels)
{
    const auto image = SVImage::imageWithImage(solid(kRed, { 40, 10 }));

    EXPECT_TRUE(isExactly(image->rectToFitScreen({ 100, 50 }, false), { 30, 20, 40, 10 }));
    EXPECT_TRUE(isExactly(image->rectToFitScreen({ 100, 50 }, true), { 0, 12.5, 100, 25 }));
    EXPECT_TRUE(isExactly(image->rectToFillScreen({ 100, 50 }), { -50, 0, 200, 50 }));
}

TEST_F(SVImageTest, PlacesAPictureThatIsStillToBeTurnedByItsUprightSize)
{
    for (int orientation = 2; orientation <= 8; ++orientation) {
        SCOPED_TRACE(orientation);
        const bool swaps = orientation > 4;
        UnbakedImage image;

        image.loadFromURL(turned(orientation, { 40, 10 }));

        EXPECT_TRUE(isExactly(image.rectToFitScreen({ 100, 50 }, false),
            swaps ? QRectF(45, 5, 10, 40) : QRectF(30, 20, 40, 10)));
        EXPECT_TRUE(isExactly(image.rectToFitScreen({ 100, 50 }, true),
            swaps ? QRectF(43.75, 0, 12.5, 50) : QRectF(0, 12.5, 100, 25)));
        EXPECT_TRUE(isExactly(image.rectToFillScreen({ 100, 50 }),
            swaps ? QRectF(0, -175, 100, 400) : QRectF(-50, 0, 200, 50)));
    }
}

/// Pixels of a picture of 40 x 30, as the decoder hands them over.
DecodeAnswer decoded(QRgb colour, QSize size)
{
    return { PixelBuffer::fromImage(solid(colour, size)), { 40, 30 }, 6 };
}

TEST_F(SVImageTest, IsAsLargeAsThePictureWhateverItsPixels)
{
    const FileURL url("/a.png");
    for (const QSize size : { QSize(20, 15), QSize(80, 60), QSize(7, 90) }) {
        const auto image = SVImage::imageWithPixels(url, decoded(kRed, size));

        ASSERT_TRUE(image);
        EXPECT_EQ(image->mURL(), url);
        EXPECT_EQ(image->getCGImage(), solid(kRed, size));
        EXPECT_EQ(image->pictureSize(), QSize(40, 30));
        EXPECT_EQ(image->width(), 40);
        EXPECT_EQ(image->height(), 30);
        EXPECT_EQ(image->displayedSize(), QSizeF(40, 30));
        EXPECT_TRUE(isExactly(image->rectToFitScreen({ 100, 50 }, false), { 30, 10, 40, 30 }));
        EXPECT_TRUE(isExactly(image->rectToFillScreen({ 80, 30 }), { 0, -15, 80, 60 }));
    }
}

TEST_F(SVImageTest, IsUprightWhenItComesFromTheDecoder)
{
    const auto image = SVImage::imageWithPixels(FileURL("/a.png"), decoded(kRed, { 20, 15 }));

    ASSERT_TRUE(image);
    EXPECT_EQ(image->getTransform(), kIdentity);
    EXPECT_FALSE(image->turnedImage());
}

TEST_F(SVImageTest, IsNothingWithoutPixels)
{
    EXPECT_EQ(SVImage::imageWithPixels(FileURL("/a.png"), { {}, { 40, 30 } }), nullptr);
}

TEST_F(SVImageTest, TakesItsPixelsInAnotherSize)
{
    UnbakedImage image;
    image.loadFromURL(turned(6, { 64, 32 }));
    ASSERT_TRUE(image.turnedImage());

    image.setPixels(decoded(kBlue, { 8, 6 }));

    EXPECT_EQ(image.getCGImage(), solid(kBlue, { 8, 6 }));
    EXPECT_EQ(image.pictureSize(), QSize(40, 30));
    EXPECT_EQ(image.getTransform(), kIdentity);
    EXPECT_FALSE(image.turnedImage());
    EXPECT_EQ(image.mURL(), files.url("turned.jpg"));
}

struct Thumbnail {
    const char* what;
    QSize picture; ///< kRed.
    QSize embedded; ///< kGreen; empty for none.
    qint64 orientation;
    QSize expected;
    QRgb colour;
};

const Thumbnail kThumbnails[] = {
    { "none embedded", { 400, 200 }, {}, 1, { 300, 150 }, kRed },
    { "a small one embedded", { 400, 300 }, { 160, 120 }, 1, { 300, 225 }, kRed },
    { "a large one embedded", { 640, 480 }, { 320, 240 }, 1, { 300, 225 }, kGreen },
    { "one just too small", { 400, 400 }, { 299, 299 }, 1, { 300, 300 }, kRed },
    { "one that is wide enough", { 400, 400 }, { 300, 16 }, 1, { 300, 16 }, kGreen },
    { "one that is high enough", { 400, 400 }, { 16, 300 }, 1, { 16, 300 }, kGreen },
    { "a small one in a small picture", { 200, 100 }, { 160, 80 }, 1, { 200, 100 }, kRed },
    { "a small picture", { 120, 80 }, {}, 1, { 120, 80 }, kRed },
    { "a turned picture", { 400, 200 }, {}, 6, { 150, 300 }, kRed },
    { "a turned small picture", { 120, 80 }, {}, 8, { 80, 120 }, kRed },
    { "turned, a large one embedded", { 640, 480 }, { 320, 240 }, 6, { 225, 300 }, kGreen },
    { "turned, a small one embedded", { 400, 300 }, { 160, 120 }, 8, { 225, 300 }, kRed },
    { "a strip", { 3000, 4 }, {}, 1, { 300, 1 }, kRed },
    { "an odd orientation", { 400, 200 }, {}, 9, { 300, 150 }, kRed },
};

TEST_F(SVImageTest, MakesAThumbnailOf)
{
    for (const Thumbnail& row : kThumbnails) {
        SCOPED_TRACE(row.what);
        const QByteArray embedded
            = row.embedded.isEmpty() ? QByteArray() : encoded(solid(kGreen, row.embedded), "jpg");
        const QByteArray jpeg = encoded(solid(kRed, row.picture), "jpg");

        const auto thumbnail = SVImage::imageThumbFromURL(
            files.write("a.jpg", withExif(jpeg, row.orientation, embedded)));

        ASSERT_TRUE(thumbnail);
        EXPECT_EQ(thumbnail->size(), row.expected);
        EXPECT_PRED2(isNearly, centre(*thumbnail), row.colour);
    }
}

TEST_F(SVImageTest, TurnsAThumbnailUpright)
{
    const QRgb stored[4] = { kGreen, kYellow, kRed, kBlue };
    const QByteArray jpeg = encoded(quartered(stored, { 320, 640 }), "jpg");
    const QByteArray embedded = encoded(quartered(stored, { 150, 300 }), "jpg");

    for (const QByteArray& file : { withExif(jpeg, 6), withExif(jpeg, 6, embedded) }) {
        const auto thumbnail = SVImage::imageThumbFromURL(files.write("a.jpg", file));

        ASSERT_TRUE(thumbnail);
        ASSERT_EQ(thumbnail->size(), QSize(300, 150));
        EXPECT_PRED2(isNearly, thumbnail->pixel(30, 30), kRed);
        EXPECT_PRED2(isNearly, thumbnail->pixel(270, 30), kGreen);
        EXPECT_PRED2(isNearly, thumbnail->pixel(30, 120), kBlue);
    }
}

TEST_F(SVImageTest, MakesAThumbnailOfOtherFormats)
{
    const auto wide = SVImage::imageThumbFromURL(files.write("a.png", kGreen, { 600, 200 }));
    const auto frame = SVImage::imageThumbFromURL(files.write("c.gif", animatedGif()));

    ASSERT_TRUE(wide && frame);
    EXPECT_EQ(wide->size(), QSize(300, 100));
    EXPECT_EQ(frame->pixel(0, 0), kRed);
}

TEST_F(SVImageTest, HasNoThumbnailOfWhatCannotBeDecoded)
{
    EXPECT_FALSE(SVImage::imageThumbFromURL(files.url("missing.jpg")));
    EXPECT_FALSE(SVImage::imageThumbFromURL(files.write("text.jpg", notAPicture)));
}

struct MovieName {
    const char* name;
    bool isMovie;
};

const MovieName kMovieNames[] = {
    { "a.mov", true },
    { "a.MP4", true },
    { "a.mkv", true },
    { "a.mp3", true }, // What plays is a movie, with or without pictures.
    { "a.gif", false },
    { "a.GIF", false },
    { "a.Gif", false },
    { "a.jpg", false },
    { "a.txt", false },
    { "mov", false },
};

TEST_F(SVImageTest, TakesFilesOfAudiovisualTypesForMovies)
{
    const TypeIdentifier::DecodersForTesting decoders(
        { QStringLiteral("jpg"), QStringLiteral("gif") }, Audiovisual::All);
    for (const auto& [name, isMovie] : kMovieNames)
        EXPECT_EQ(SVImage::isMovieURL(files.write(name, notAPicture)), isMovie) << name;

    EXPECT_FALSE(SVImage::isMovieURL({}));
    EXPECT_FALSE(SVImage::isMovieURL(files.url("missing.mov")));
}

TEST_F(SVImageTest, TakesNothingForAMovieThatCannotBePlayed)
{
    const TypeIdentifier::DecodersForTesting decoders({ QStringLiteral("jpg") }, Audiovisual::None);

    EXPECT_FALSE(SVImage::isMovieURL(files.write("a.mov", notAPicture)));
}

TEST_F(SVImageTest, MakesTheThumbnailOfAMovieFromItsMiddle)
{
    // Half of the two seconds is the eleventh frame, whose brightness is 130.
    const FileURL url = files.write("a.mp4", movieBytes({}));

    const auto thumbnail = SVImage::videoThumbFromURL(url);

    ASSERT_TRUE(thumbnail);
    EXPECT_EQ(thumbnail->size(), QSize(64, 48));
    const int shade = qRound((130 - 16) * 255 / 219.0);
    EXPECT_PRED2(isNearly, centre(*thumbnail), qRgb(shade, shade, shade));
}

TEST_F(SVImageTest, MakesTheThumbnailOfAMovieUprightAndNoLongerThan300Pixels)
{
    const std::array<qint32, 9> toTheRight { 0, 1 << 16, 0, -(1 << 16), 0, 0, 0, 0, 1 << 30 };

    const auto thumbnail = SVImage::videoThumbFromURL(
        files.write("a.mov", movieBytes({ .size = { 640, 320 }, .matrix = toTheRight })));

    ASSERT_TRUE(thumbnail);
    EXPECT_EQ(thumbnail->size(), QSize(150, 300));
}

TEST_F(SVImageTest, HasNoThumbnailOfAMovieThatCannotBeDecoded)
{
    EXPECT_FALSE(SVImage::videoThumbFromURL(files.url("missing.mov")));
    EXPECT_FALSE(SVImage::videoThumbFromURL(files.write("text.mov", notAPicture)));
    EXPECT_FALSE(SVImage::videoThumbFromURL(files.write("a.mov", movieBytes({ .isSound = true }))));
}

TEST_F(SVImageTest, ChoosesTheThumbnailByTheKindOfTheFile)
{
    const TypeIdentifier::DecodersForTesting decoders({ QStringLiteral("jpg") }, Audiovisual::All);
    const QByteArray picture = encoded(solid(kRed, { 40, 30 }), "jpg");

    EXPECT_TRUE(SVImage::thumbNailFromURL(files.write("a.mov", movieBytes({}))));
    EXPECT_TRUE(SVImage::thumbNailFromURL(files.write("a.jpg", picture)));
    EXPECT_FALSE(SVImage::thumbNailFromURL(files.write("b.jpg", movieBytes({}))));
    EXPECT_FALSE(SVImage::thumbNailFromURL(files.write("b.mov", picture)));
}

TEST_F(SVImageTest, NeedsThePictureOnlyWhereTheEmbeddedThumbnailIsSmall)
{
    const QByteArray jpeg = encoded(solid(kRed, { 400, 300 }), "jpg");
    const QByteArray headOnly = jpeg.left(jpeg.indexOf("\xFF\xDA"));
    const QByteArray large = encoded(solid(kGreen, { 320, 240 }), "jpg");
    const QByteArray small = encoded(solid(kGreen, { 160, 120 }), "jpg");

    EXPECT_TRUE(SVImage::imageThumbFromURL(files.write("a.jpg", withExif(headOnly, 1, large))));
    EXPECT_FALSE(SVImage::imageThumbFromURL(files.write("b.jpg", withExif(headOnly, 1, small))));
}

} // namespace
} // namespace quorvane
