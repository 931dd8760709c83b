// SPDX-License-Identifier: GPL-3.0-or-later
// JPEG files of every kind, sound, odd and broken.
#include "decoder/JpegReader.h"
#include "decoder/Readers.h"
#include "support/PictureBytes.h"

#include <QColorSpace>

#include <gtest/gtest.h>

#include <cmath>

namespace quorvane {

namespace {

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

/// As stored, in the size that the reader chooses.
Result<QImage> decoded(const QByteArray& bytes, QSize wanted = { 1 << 20, 1 << 20 })
{
    FileBytes file(bytes);
    auto reader = openJpeg(file);
    if (!reader)
        return tl::unexpected(reader.error());
    auto picture = (*reader)->decode(
        wanted, [](QSize size, QImage::Format format) { return QImage(size, format); });
    if (!picture)
        return tl::unexpected(picture.error());
    return picture->image;
}

/// Nothing if it was decoded.
std::optional<ErrorKind> refusal(const QByteArray& bytes, QSize wanted = { 1 << 20, 1 << 20 })
{
    const auto pixels = decoded(bytes, wanted);
    return pixels ? std::nullopt : std::optional(pixels.error().kind);
}

TEST(JpegReader, KnowsAJpegByItsBeginning)
{
    EXPECT_TRUE(isJpeg(jpeg(noise({ 8, 8 }))));
    EXPECT_TRUE(isJpeg("\xFF\xD8\xFF"));
    EXPECT_FALSE(isJpeg("\xFF\xD8"));
    EXPECT_FALSE(isJpeg("\xFF\xD8\xFE\xE0"));
    EXPECT_FALSE(isJpeg(" \xFF\xD8\xFF\xE0"));
    EXPECT_FALSE(isJpeg({}));
}

TEST(JpegReader, DecodesColours)
{
    const auto pixels = decoded(jpeg(tests::quarteredPicture({ 60, 40 })));

    ASSERT_TRUE(pixels);
    EXPECT_EQ(pixels->size(), QSize(60, 40));
    EXPECT_EQ(tests::quarters(*pixels), QByteArray("rgbw"));
    EXPECT_FALSE(pixels->hasAlphaChannel());
}

TEST(JpegReader, DecodesGrey)
{
    QImage image(16, 8, QImage::Format_Grayscale8);
    image.fill(100);

    const auto pixels = decoded(jpeg(image));

    ASSERT_TRUE(pixels);
    EXPECT_EQ(pixels->pixelColor(15, 7), QColor(100, 100, 100));
}

TEST(JpegReader, DecodesProgressiveFiles)
{
    const QByteArray bytes = progressive(tests::quarteredPicture({ 60, 40 }));
    ASSERT_TRUE(bytes.contains("\xFF\xC2"));

    const auto pixels = decoded(bytes);

    ASSERT_TRUE(pixels);
    EXPECT_EQ(tests::quarters(*pixels), QByteArray("rgbw"));
}

TEST(JpegReader, DecodesTheThinnestPictures)
{
    for (const QSize size : { QSize(1, 1), QSize(1, 500), QSize(500, 1), QSize(9, 7) }) {
        const QByteArray bytes = jpeg(tests::solidPicture(size, Qt::red));
        const auto whole = decoded(bytes);
        const auto small = decoded(bytes, { 1, 1 });

        ASSERT_TRUE(whole && small);
        EXPECT_EQ(whole->size(), size);
        EXPECT_FALSE(small->size().isEmpty());
    }
}

TEST(JpegReader, StoresPixelsAsTheyLieWhateverTheOrientation)
{
    const auto pixels
        = decoded(tests::withOrientation(jpeg(tests::quarteredPicture({ 60, 40 })), 6));

    ASSERT_TRUE(pixels);
    EXPECT_EQ(pixels->size(), QSize(60, 40));
    EXPECT_EQ(tests::quarters(*pixels), QByteArray("rgbw"));
}

TEST(JpegReader, GivesAtLeastTheSizeAskedForInBothDirections)
{
    for (const QSize size : { QSize(203, 97), QSize(97, 203), QSize(64, 64) }) {
        const QByteArray bytes = jpeg(tests::quarteredPicture(size));
        for (int width = 1; width <= size.width(); width += 3) {
            for (int height = 1; height <= size.height(); height += 3) {
                const auto pixels = decoded(bytes, { width, height });

                ASSERT_TRUE(pixels);
                EXPECT_GE(pixels->width(), width);
                EXPECT_GE(pixels->height(), height);
                EXPECT_LE(pixels->width(), size.width());
            }
        }
    }
}

TEST(JpegReader, SkipsMostOfTheWorkForASmallPicture)
{
    const QByteArray bytes = jpeg(tests::quarteredPicture({ 800, 600 }));

    for (const auto& [asked, size] :
        { std::pair(QSize(100, 75), QSize(100, 75)), { { 200, 150 }, { 200, 150 } },
            { { 201, 75 }, { 300, 225 } }, { { 100, 151 }, { 300, 225 } },
            { { 400, 300 }, { 400, 300 } }, { { 5000, 5000 }, { 800, 600 } } }) {
        const auto pixels = decoded(bytes, asked);

        ASSERT_TRUE(pixels);
        EXPECT_EQ(pixels->size(), size) << asked.width();
        EXPECT_EQ(tests::quarters(*pixels), QByteArray("rgbw")) << asked.width();
    }
}

TEST(JpegReader, KeepsTheShapeOfASmallerPicture)
{
    const auto pixels = decoded(jpeg(noise({ 203, 97 })), { 50, 20 });

    ASSERT_TRUE(pixels);
    const double height = 97.0 * pixels->width() / 203;
    EXPECT_LE(std::abs(pixels->height() - height), 1);
}

TEST(JpegReader, RefusesHalfAPicture)
{
    for (const QByteArray& whole : { jpeg(noise({ 64, 64 })), progressive(noise({ 64, 64 })) }) {
        for (const QSize asked : { QSize(64, 64), QSize(8, 8) })
            EXPECT_EQ(refusal(whole.left(whole.size() / 2), asked), ErrorKind::Damaged);
    }
}

TEST(JpegReader, RefusesAPictureWithoutItsLastPixels)
{
    const QByteArray whole = jpeg(noise({ 64, 64 }));

    for (const int missing : { kEndSize + 3, kEndSize + 200 })
        EXPECT_EQ(refusal(whole.chopped(missing)), ErrorKind::Damaged) << missing;
}

TEST(JpegReader, RefusesHalfAPictureThatIsBrokenBesides)
{
    QByteArray half = jpeg(noise({ 64, 64 }));
    half.truncate(half.size() * 3 / 4);
    half.replace(half.size() / 2, 2, QByteArray("\xFF\xD0"));

    EXPECT_EQ(refusal(half), ErrorKind::Damaged);
}

TEST(JpegReader, RefusesHalfAPictureBehindAWholeThumbnail)
{
    const QByteArray whole = jpeg(noise({ 64, 64 }));
    const QByteArray withThumbnail
        = tests::withExif(whole, { .main = {}, .thumbnail = jpeg(noise({ 8, 8 })) });

    EXPECT_EQ(refusal(withThumbnail), std::nullopt);
    EXPECT_EQ(refusal(withThumbnail.chopped(whole.size() / 2)), ErrorKind::Damaged);
}

/// The four quarters, 16 x 16 pixels, coded arithmetically, which Qt does not write.
QByteArray arithmeticJpeg()
{
    return QByteArray::fromBase64(
        "/9j/4AAQSkZJRgABAQAAAQABAAD/2wBDAA0JCgsKCA0LCgsODg0PEyAVExISEyccHhcgLikxMC4pLSwzOko+"
        "MzZGNywtQFdBRkxOUlNSMj5aYVpQYEpRUk//2wBDAQ4ODhMREyYVFSZPNS01T09PT09PT09PT09PT09PT09P"
        "T09PT09PT09PT09PT09PT09PT09PT09PT09PT09PT0//yQARCAAQABADAREAAhEBAxEB/8wACgAQEAUBEBEF"
        "/9oADAMBAAIRAxEAPwD/ACHiUuia5EbfJ9oBdn5wO1y9AmfA/9k=");
}

TEST(JpegReader, DecodesArithmeticFilesAndRefusesThemCutAnywhere)
{
    const QByteArray whole = arithmeticJpeg();
    ASSERT_TRUE(whole.contains("\xFF\xC9"));

    const auto pixels = decoded(whole);

    ASSERT_TRUE(pixels);
    EXPECT_EQ(tests::quarters(*pixels), QByteArray("rgbw"));
    for (qsizetype length = 0; length < whole.size() - kEndSize; ++length)
        EXPECT_TRUE(refusal(whole.left(length))) << length;
}

TEST(JpegReader, RefusesAHeaderThatBreaksAfterAWarning)
{
    QByteArray bytes = jpeg(noise({ 24, 24 }));
    const auto scan = bytes.indexOf("\xFF\xDA");
    bytes[scan + 6] = '\x33'; // A table that is not there,
    bytes.insert(scan, "extra"); // behind bytes that the decoder only warns of.

    EXPECT_EQ(refusal(bytes), ErrorKind::Damaged);
}

TEST(JpegReader, ShowsAPictureThatLacksItsEndMarkerOnly)
{
    const QByteArray plain = jpeg(noise({ 64, 64 }));
    const QByteArray withThumbnail
        = tests::withExif(plain, { .main = {}, .thumbnail = jpeg(noise({ 8, 8 })) });
    const QImage expected = *decoded(plain);

    for (const QByteArray& whole : { plain, withThumbnail }) {
        for (int missing = 1; missing <= kEndSize; ++missing) {
            const auto pixels = decoded(whole.chopped(missing));

            ASSERT_TRUE(pixels) << missing;
            EXPECT_EQ(*pixels, expected) << missing;
        }
    }
}

TEST(JpegReader, BearsWhatTheEyeCanBear)
{
    const QByteArray whole = jpeg(tests::quarteredPicture({ 64, 64 }));

    EXPECT_EQ(refusal(whole + "trailing bytes of a camera"), std::nullopt);
    EXPECT_EQ(refusal(whole + QByteArray(1000, '\0')), std::nullopt);
}

TEST(JpegReader, BearsABrokenSpotWithinThePicture)
{
    QByteArray bytes = jpeg(noise({ 64, 64 }));
    // A marker in the midst of the pixels ends a segment early; the file still ends as it should.
    bytes.replace(bytes.size() * 3 / 4, 2, QByteArray("\xFF\xD0"));

    const auto pixels = decoded(bytes);

    ASSERT_TRUE(pixels);
    EXPECT_EQ(pixels->size(), QSize(64, 64));
}

TEST(JpegReader, RefusesAPictureCutAnywhere)
{
    const QByteArray whole = jpeg(noise({ 24, 24 }));

    for (qsizetype length = 0; length < whole.size() - kEndSize; ++length)
        EXPECT_TRUE(refusal(whole.left(length))) << length;
}

TEST(JpegReader, SurvivesAnyBrokenByte)
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

TEST(JpegReader, DoesNotKnowForeignFiles)
{
    for (const QByteArray& bytes : { QByteArray(), QByteArray("text"), QByteArray("\xFF\xD8\xFF"),
             QByteArray("\xFF\xD8\xFF\xD9"), QByteArray(1000, '\0') })
        EXPECT_EQ(refusal(bytes), ErrorKind::Unsupported);
}

TEST(JpegReader, DecodesFourInks)
{
    const auto pixels = decoded(tests::cmykJpeg());

    ASSERT_TRUE(pixels);
    ASSERT_EQ(pixels->size(), QSize(8, 8));
    EXPECT_GT(pixels->pixelColor(4, 4).red(), 200);
    EXPECT_LT(pixels->pixelColor(4, 4).green(), 16);
    EXPECT_LT(pixels->pixelColor(4, 4).blue(), 16);
}

TEST(JpegReader, TakesInksAsTheyStandWhereNoAdobeProgramWroteThem)
{
    const QByteArray adobes = tests::cmykJpeg();
    QByteArray others = adobes;
    others[3] = '\xED'; // The segment is another one's now.

    const auto inverted = decoded(adobes);
    const auto straight = decoded(others);

    ASSERT_TRUE(inverted && straight);
    EXPECT_NE(inverted->pixel(4, 4), straight->pixel(4, 4));
}

TEST(JpegReader, RefusesTwelveBits)
{
    QByteArray bytes = jpeg(noise({ 16, 16 }));
    bytes[tests::frameHeader(bytes) + 4] = 12;

    EXPECT_TRUE(refusal(bytes));
}

TEST(JpegReader, RefusesASizeBeyondTheLimitOfPixels)
{
    const QByteArray huge = tests::withClaimedSize(jpeg(noise({ 16, 16 })), 60'000, 60'000);

    EXPECT_EQ(refusal(huge), ErrorKind::TooLarge);
}

TEST(JpegReader, TellsTheSizeOfAPictureBeyondTheLimitOfPixels)
{
    FileBytes file(tests::withClaimedSize(jpeg(noise({ 16, 16 })), 60'000, 60'000));

    const auto reader = openJpeg(file);

    ASSERT_TRUE(reader);
    EXPECT_EQ((*reader)->header().size, QSize(60'000, 60'000));
}

TEST(JpegReader, CountsThePixelsItDecodesNotThoseOfTheFile)
{
    const QByteArray huge = tests::withClaimedSize(jpeg(noise({ 16, 16 })), 60'000, 60'000);
    QSize made;
    FileBytes file(huge);
    const auto reader = openJpeg(file);
    ASSERT_TRUE(reader);

    (void)(*reader)->decode({ 7000, 7000 }, [&](QSize size, QImage::Format) {
        made = size;
        return QImage();
    });

    EXPECT_EQ(made, QSize(7500, 7500));
}

TEST(JpegReader, RefusesASizeOfNothing)
{
    const QByteArray bytes = jpeg(noise({ 16, 16 }));

    EXPECT_TRUE(refusal(tests::withClaimedSize(bytes, 0, 16)));
    EXPECT_TRUE(refusal(tests::withClaimedSize(bytes, 16, 0)));
}

TEST(JpegReader, TellsTheOrientationIfItHasAMeaning)
{
    const QByteArray plain = jpeg(noise({ 16, 8 }));
    for (const int tag : { 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 256 }) {
        FileBytes file(tests::withOrientation(plain, static_cast<quint16>(tag)));

        const auto reader = openJpeg(file);

        ASSERT_TRUE(reader);
        EXPECT_EQ((*reader)->header().orientation, tag >= 1 && tag <= 8 ? tag : 1) << tag;
        EXPECT_EQ((*reader)->header().size, QSize(16, 8));
    }
}

TEST(JpegReader, TurnsAPictureUprightOnce)
{
    const auto upright
        = testing::decoded(tests::withOrientation(jpeg(tests::quarteredPicture({ 60, 40 })), 6));

    ASSERT_TRUE(upright);
    EXPECT_EQ(upright->size(), QSize(40, 60));
    EXPECT_EQ(tests::quarters(*upright), QByteArray("brwg"));
}

/// `jpeg` with `profile` in parts of `partSize`, the last of them first.
QByteArray withProfile(QByteArray jpeg, const QByteArray& profile, qsizetype partSize)
{
    const auto count = (profile.size() + partSize - 1) / partSize;
    for (qsizetype part = 0; part < count; ++part) {
        QByteArray contents("ICC_PROFILE\0", 12);
        contents += static_cast<char>(part + 1);
        contents += static_cast<char>(count);
        jpeg = tests::withSegment(jpeg, 0xE2, contents + profile.mid(part * partSize, partSize));
    }
    return jpeg;
}

/// Red, as a program of wide colours stores it: 219, 0, 0 of Adobe RGB is a full red of sRGB.
QByteArray wideRed() { return jpeg(tests::solidPicture({ 16, 16 }, QColor(219, 0, 0))); }

TEST(JpegReader, HonoursAProfileInSeveralPartsInAnyOrder)
{
    const QByteArray profile = QColorSpace(QColorSpace::AdobeRgb).iccProfile();
    for (const qsizetype partSize : { profile.size(), profile.size() / 2 + 1, qsizetype(50) }) {
        const auto shown = testing::decoded(withProfile(wideRed(), profile, partSize));

        ASSERT_TRUE(shown);
        EXPECT_GE(shown->pixelColor(8, 8).red(), 252) << partSize;
    }
}

TEST(JpegReader, IgnoresAProfileThatLacksAPart)
{
    const QByteArray profile = QColorSpace(QColorSpace::AdobeRgb).iccProfile();
    QByteArray incomplete = withProfile(wideRed(), profile, profile.size() / 2 + 1);
    incomplete[6 + 12] = 7; // Part 7 of 2 ...

    const auto shown = testing::decoded(incomplete);

    ASSERT_TRUE(shown);
    EXPECT_LE(shown->pixelColor(8, 8).red(), 225);
}

/// EXIF data of a picture whose colour space is `space` and that is interoperable with `index`.
QByteArray interoperableExif(quint16 space, const QByteArray& index)
{
    using tests::ByteOrder;
    constexpr auto kOrder = ByteOrder::Big;
    const auto entry = [](quint16 tag, quint16 type, quint32 count, const QByteArray& held) {
        return tests::numberBytes(tag, kOrder) + tests::numberBytes(type, kOrder)
            + tests::numberBytes(count, kOrder) + held;
    };
    const auto directory = [](quint16 count, const QByteArray& entries) {
        return tests::numberBytes(count, kOrder) + entries + tests::numberBytes(0U, kOrder);
    };
    const quint32 exifStart = 8 + 2 + 12 + 4;
    const quint32 indexStart = exifStart + 2 + 2 * 12 + 4;
    const QByteArray spaceBytes = tests::numberBytes(space, kOrder) + QByteArray(2, '\0');
    return QByteArray("Exif\0\0MM\0\x2A\0\0\0\x08", 14)
        + directory(1, entry(0x8769, 4, 1, tests::numberBytes(exifStart, kOrder)))
        + directory(2,
            entry(0xA001, 3, 1, spaceBytes)
                + entry(0xA005, 4, 1, tests::numberBytes(indexStart, kOrder)))
        + directory(1, entry(1, 2, 4, index + '\0'));
}

TEST(JpegReader, ConvertsFromAdobeRgbWhereOnlyTheCameraSaysSo)
{
    for (const char* const index : { "R03", "R98" }) {
        const auto shown = testing::decoded(
            tests::withSegment(wideRed(), 0xE1, interoperableExif(0xFFFF, index)));

        ASSERT_TRUE(shown);
        EXPECT_EQ(shown->pixelColor(8, 8).red() >= 252, index == QByteArray("R03")) << index;
    }
}

OpenedPicture thumbnailOf(const QByteArray& bytes)
{
    FileBytes file(bytes);
    return openJpegThumbnail(file);
}

TEST(JpegReader, OpensTheThumbnailInThePicturesOrientation)
{
    const auto reader = thumbnailOf(tests::withExif(jpeg(noise({ 64, 64 })),
        { .main = { { .value = 6 } }, .thumbnail = jpeg(tests::quarteredPicture({ 40, 20 })) }));

    ASSERT_TRUE(reader);
    EXPECT_EQ((*reader)->header().size, QSize(40, 20));
    EXPECT_EQ((*reader)->header().orientation, 6);
    const auto shown = renderedImage(**reader);
    ASSERT_TRUE(shown);
    EXPECT_EQ(tests::quarters(*shown), QByteArray("brwg"));
}

TEST(JpegReader, OpensTheThumbnailOfAPictureThatIsCutShort)
{
    const QByteArray whole = tests::withExif(jpeg(noise({ 64, 64 })),
        { .main = {}, .thumbnail = jpeg(tests::quarteredPicture({ 40, 20 })) });

    EXPECT_TRUE(thumbnailOf(whole.left(whole.size() / 2)));
}

TEST(JpegReader, FindsNoThumbnailWhereThereIsNone)
{
    for (const QByteArray& bytes :
        { jpeg(noise({ 16, 16 })), QByteArray(), tests::withOrientation(wideRed(), 6) })
        EXPECT_EQ(thumbnailOf(bytes).error().kind, ErrorKind::NotFound);
}

TEST(JpegReader, ConvertsAThumbnailAsItsPicture)
{
    const QByteArray picture = tests::withExif(wideRed(), { .main = {}, .thumbnail = wideRed() });
    const QByteArray profile = QColorSpace(QColorSpace::AdobeRgb).iccProfile();

    const auto reader = thumbnailOf(withProfile(picture, profile, profile.size()));

    ASSERT_TRUE(reader);
    EXPECT_GE(renderedImage(**reader)->pixelColor(8, 8).red(), 252);
}

TEST(JpegReader, HasARowInTheTable)
{
    EXPECT_EQ(testing::formatNameOf(wideRed()), QByteArray("JPEG"));
}

} // namespace

} // namespace quorvane
