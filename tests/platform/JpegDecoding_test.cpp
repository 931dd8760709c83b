// SPDX-License-Identifier: GPL-3.0-or-later
// JPEG files of every kind, sound, odd and broken.
#include "platform/JpegDecoding.h"
#include "support/PictureBytes.h"

#include <gtest/gtest.h>

#include <cmath>

namespace quorvane {

namespace {

constexpr qint64 kPixelLimit = 1 << 24;

/// An end-of-image marker.
constexpr int kEndSize = 2;

QByteArray jpeg(const QImage& image) { return tests::encodedPicture(image, "jpg"); }

/// Noise does not compress: cut in half, such a file lacks about half its rows.
QImage noise(QSize size)
{
    QImage image(size, QImage::Format_RGB32);
    quint32 state = 1;
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            state = state * 1664525 + 1013904223;
            image.setPixel(x, y, state >> 8);
        }
    }
    return image;
}

QByteArray progressive(const QImage& image)
{
    QBuffer buffer;
    QImageWriter writer(&buffer, "jpg");
    writer.setProgressiveScanWrite(true);
    return writer.write(image) ? buffer.data() : QByteArray();
}

Result<PixelBuffer> decoded(const QByteArray& bytes, int longerSideAtLeast = 0)
{
    return decodeJpegPixels(bytes, longerSideAtLeast, kPixelLimit);
}

/// Nothing if it was decoded.
std::optional<ErrorKind> refusal(const QByteArray& bytes, int longerSideAtLeast = 0)
{
    const auto pixels = decoded(bytes, longerSideAtLeast);
    return pixels ? std::nullopt : std::optional(pixels.error().kind);
}

TEST(JpegDecoding, KnowsAJpegByItsBeginning)
{
    EXPECT_TRUE(isJpeg(jpeg(noise({ 8, 8 }))));
    EXPECT_TRUE(isJpeg("\xFF\xD8\xFF"));
    EXPECT_FALSE(isJpeg("\xFF\xD8"));
    EXPECT_FALSE(isJpeg("\xFF\xD8\xFE\xE0"));
    EXPECT_FALSE(isJpeg(" \xFF\xD8\xFF\xE0"));
    EXPECT_FALSE(isJpeg({}));
}

TEST(JpegDecoding, DecodesColours)
{
    const auto pixels = decoded(jpeg(tests::quarteredPicture({ 60, 40 })));

    ASSERT_TRUE(pixels);
    EXPECT_EQ(pixels->size(), QSize(60, 40));
    EXPECT_EQ(tests::quarters(pixels->image()), QByteArray("rgbw"));
    EXPECT_FALSE(pixels->image().hasAlphaChannel());
}

TEST(JpegDecoding, DecodesGrey)
{
    QImage image(16, 8, QImage::Format_Grayscale8);
    image.fill(100);

    const auto pixels = decoded(jpeg(image));

    ASSERT_TRUE(pixels);
    EXPECT_EQ(pixels->image().pixelColor(15, 7), QColor(100, 100, 100));
}

TEST(JpegDecoding, DecodesProgressiveFiles)
{
    const QByteArray bytes = progressive(tests::quarteredPicture({ 60, 40 }));
    ASSERT_TRUE(bytes.contains("\xFF\xC2"));

    const auto pixels = decoded(bytes);

    ASSERT_TRUE(pixels);
    EXPECT_EQ(tests::quarters(pixels->image()), QByteArray("rgbw"));
}

TEST(JpegDecoding, DecodesTheThinnestPictures)
{
    for (const QSize size : { QSize(1, 1), QSize(1, 500), QSize(500, 1), QSize(9, 7) }) {
        const QByteArray bytes = jpeg(tests::solidPicture(size, Qt::red));
        const auto whole = decoded(bytes);
        const auto small = decoded(bytes, 10);

        ASSERT_TRUE(whole && small);
        EXPECT_EQ(whole->size(), size);
        EXPECT_FALSE(small->size().isEmpty());
    }
}

TEST(JpegDecoding, StoresPixelsAsTheyLieWhateverTheOrientation)
{
    const auto pixels
        = decoded(tests::withOrientation(jpeg(tests::quarteredPicture({ 60, 40 })), 6));

    ASSERT_TRUE(pixels);
    EXPECT_EQ(pixels->size(), QSize(60, 40));
    EXPECT_EQ(tests::quarters(pixels->image()), QByteArray("rgbw"));
}

TEST(JpegDecoding, GivesAtLeastTheSizeAskedFor)
{
    for (const QSize size : { QSize(203, 97), QSize(97, 203), QSize(64, 64) }) {
        const QByteArray bytes = jpeg(tests::quarteredPicture(size));
        const int longest = std::max(size.width(), size.height());
        for (int asked = 1; asked <= longest + 1; ++asked) {
            const auto pixels = decoded(bytes, asked);

            ASSERT_TRUE(pixels) << asked;
            const int longer = std::max(pixels->size().width(), pixels->size().height());
            EXPECT_GE(longer, std::min(asked, longest));
            EXPECT_LE(longer, longest);
        }
    }
}

TEST(JpegDecoding, SkipsMostOfTheWorkForASmallPicture)
{
    const QByteArray bytes = jpeg(tests::quarteredPicture({ 800, 600 }));

    for (const auto& [asked, size] : { std::pair(100, QSize(100, 75)), { 200, QSize(200, 150) },
             { 400, QSize(400, 300) }, { 0, QSize(800, 600) }, { 5000, QSize(800, 600) } }) {
        const auto pixels = decoded(bytes, asked);

        ASSERT_TRUE(pixels);
        EXPECT_EQ(pixels->size(), size) << asked;
        EXPECT_EQ(tests::quarters(pixels->image()), QByteArray("rgbw")) << asked;
    }
}

TEST(JpegDecoding, KeepsTheShapeOfASmallerPicture)
{
    const auto pixels = decoded(jpeg(noise({ 203, 97 })), 50);

    ASSERT_TRUE(pixels);
    const double height = 97.0 * pixels->size().width() / 203;
    EXPECT_LE(std::abs(pixels->size().height() - height), 1);
}

TEST(JpegDecoding, RefusesHalfAPicture)
{
    for (const QByteArray& whole : { jpeg(noise({ 64, 64 })), progressive(noise({ 64, 64 })) }) {
        for (const int asked : { 0, 8 })
            EXPECT_EQ(refusal(whole.left(whole.size() / 2), asked), ErrorKind::Damaged) << asked;
    }
}

TEST(JpegDecoding, RefusesAPictureWithoutItsLastPixels)
{
    const QByteArray whole = jpeg(noise({ 64, 64 }));

    for (const int missing : { kEndSize + 3, kEndSize + 200 })
        EXPECT_EQ(refusal(whole.chopped(missing)), ErrorKind::Damaged) << missing;
}

TEST(JpegDecoding, RefusesHalfAPictureThatIsBrokenBesides)
{
    QByteArray half = jpeg(noise({ 64, 64 }));
    half.truncate(half.size() * 3 / 4);
    half.replace(half.size() / 2, 2, QByteArray("\xFF\xD0"));

    EXPECT_EQ(refusal(half), ErrorKind::Damaged);
}

TEST(JpegDecoding, RefusesHalfAPictureBehindAWholeThumbnail)
{
    const QByteArray whole = jpeg(noise({ 64, 64 }));
    const QByteArray withThumbnail
        = tests::withExif(whole, { .main = {}, .thumbnail = jpeg(noise({ 8, 8 })) });

    EXPECT_EQ(refusal(withThumbnail), std::nullopt);
    EXPECT_EQ(refusal(withThumbnail.chopped(whole.size() / 2)), ErrorKind::Damaged);
}

TEST(JpegDecoding, RefusesAHeaderThatBreaksAfterAWarning)
{
    QByteArray bytes = jpeg(noise({ 24, 24 }));
    const auto scan = bytes.indexOf("\xFF\xDA");
    bytes[scan + 6] = '\x33'; // A table that is not there,
    bytes.insert(scan, "extra"); // behind bytes that the decoder only warns of.

    EXPECT_EQ(refusal(bytes), ErrorKind::Damaged);
}

TEST(JpegDecoding, ShowsAPictureThatLacksItsEndMarkerOnly)
{
    const QByteArray plain = jpeg(noise({ 64, 64 }));
    const QByteArray withThumbnail
        = tests::withExif(plain, { .main = {}, .thumbnail = jpeg(noise({ 8, 8 })) });
    const QImage expected = decoded(plain)->image();

    for (const QByteArray& whole : { plain, withThumbnail }) {
        for (int missing = 1; missing <= kEndSize; ++missing) {
            const auto pixels = decoded(whole.chopped(missing));

            ASSERT_TRUE(pixels) << missing;
            EXPECT_EQ(pixels->image(), expected) << missing;
        }
    }
}

TEST(JpegDecoding, BearsWhatTheEyeCanBear)
{
    const QByteArray whole = jpeg(tests::quarteredPicture({ 64, 64 }));

    EXPECT_EQ(refusal(whole + "trailing bytes of a camera"), std::nullopt);
    EXPECT_EQ(refusal(whole + QByteArray(1000, '\0')), std::nullopt);
}

TEST(JpegDecoding, BearsABrokenSpotWithinThePicture)
{
    QByteArray bytes = jpeg(noise({ 64, 64 }));
    // A marker in the midst of the pixels ends a segment early; the file still ends as it should.
    bytes.replace(bytes.size() * 3 / 4, 2, QByteArray("\xFF\xD0"));

    const auto pixels = decoded(bytes);

    ASSERT_TRUE(pixels);
    EXPECT_EQ(pixels->size(), QSize(64, 64));
}

TEST(JpegDecoding, RefusesAPictureCutAnywhere)
{
    const QByteArray whole = jpeg(noise({ 24, 24 }));

    for (qsizetype length = 0; length < whole.size() - kEndSize; ++length)
        EXPECT_TRUE(refusal(whole.left(length))) << length;
}

TEST(JpegDecoding, SurvivesAnyBrokenByte)
{
    const QByteArray whole = jpeg(tests::quarteredPicture({ 16, 16 }));

    for (qsizetype at = 2; at < whole.size(); ++at) {
        for (const char byte : QByteArray("\x00\x01\x7F\xFF", 4)) {
            QByteArray broken = whole;
            broken[at] = byte;
            (void)refusal(broken);
        }
    }
}

TEST(JpegDecoding, DoesNotKnowForeignFiles)
{
    for (const QByteArray& bytes : { QByteArray(), QByteArray("text"), QByteArray("\xFF\xD8\xFF"),
             QByteArray("\xFF\xD8\xFF\xD9"), QByteArray(1000, '\0') })
        EXPECT_EQ(refusal(bytes), ErrorKind::Unsupported);
}

TEST(JpegDecoding, LeavesFourInksToOthers)
{
    EXPECT_EQ(refusal(tests::cmykJpeg()), ErrorKind::Unsupported);
}

TEST(JpegDecoding, RefusesTwelveBits)
{
    QByteArray bytes = jpeg(noise({ 16, 16 }));
    bytes[tests::frameHeader(bytes) + 4] = 12;

    EXPECT_TRUE(refusal(bytes));
}

TEST(JpegDecoding, RefusesASizeBeyondTheLimitOfPixels)
{
    const QByteArray small = jpeg(noise({ 16, 16 }));

    EXPECT_EQ(refusal(tests::withClaimedSize(small, 60'000, 60'000)), ErrorKind::TooLarge);
    EXPECT_EQ(decodeJpegPixels(small, 0, 16 * 16 - 1).error().kind, ErrorKind::TooLarge);
    EXPECT_TRUE(decodeJpegPixels(small, 0, 16 * 16));
}

TEST(JpegDecoding, CountsThePixelsItDecodesNotThoseOfTheFile)
{
    const QByteArray bytes = jpeg(noise({ 160, 160 }));

    EXPECT_TRUE(decodeJpegPixels(bytes, 20, 20 * 20));
}

TEST(JpegDecoding, RefusesASizeOfNothing)
{
    const QByteArray bytes = jpeg(noise({ 16, 16 }));

    EXPECT_TRUE(refusal(tests::withClaimedSize(bytes, 0, 16)));
    EXPECT_TRUE(refusal(tests::withClaimedSize(bytes, 16, 0)));
}

} // namespace

} // namespace quorvane
