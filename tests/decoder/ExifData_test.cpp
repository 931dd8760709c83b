// SPDX-License-Identifier: GPL-3.0-or-later
// EXIF data of sound cameras and of others.
#include "decoder/ExifData.h"
#include "decoder/JpegSegments.h"
#include "support/PictureBytes.h"

#include <gtest/gtest.h>

namespace quorvane {

namespace {

using tests::ByteOrder;
using tests::ExifFixture;
using tests::ExifTag;

QByteArray plainJpeg()
{
    return tests::encodedPicture(tests::solidPicture({ 16, 8 }, Qt::red), "jpg");
}

/// As the picture readers look for them.
std::optional<int> exifOrientation(const QByteArray& jpeg)
{
    return PictureExif(exifDataOf(jpegSegments(jpeg))).orientationTag();
}

QByteArray exifThumbnail(const QByteArray& jpeg)
{
    return PictureExif(exifDataOf(jpegSegments(jpeg))).thumbnail();
}

std::optional<int> orientationOf(const ExifFixture& exif)
{
    return exifOrientation(tests::withExif(plainJpeg(), exif));
}

struct PictureExifInBothOrders : testing::TestWithParam<ByteOrder> { };

TEST_P(PictureExifInBothOrders, TellsTheOrientationWhateverNumberItIs)
{
    for (const quint32 value : { 0U, 1U, 2U, 3U, 4U, 5U, 6U, 7U, 8U, 9U, 256U, 0xFFFFU })
        EXPECT_EQ(
            orientationOf({ GetParam(), { { .value = value } }, {}, {} }), static_cast<int>(value));
}

TEST_P(PictureExifInBothOrders, TellsAnOrientationWrittenAsALongNumber)
{
    EXPECT_EQ(orientationOf({ GetParam(), { { .type = ExifTag::kLong, .value = 6 } }, {}, {} }), 6);
    EXPECT_EQ(
        orientationOf({ GetParam(), { { .type = ExifTag::kLong, .value = 0x10006 } }, {}, {} }),
        0x10006);
    EXPECT_EQ(
        orientationOf({ GetParam(), { { .type = ExifTag::kLong, .value = 0xFFFFFFFF } }, {}, {} }),
        -1);
}

TEST_P(PictureExifInBothOrders, HasNoOrientationWithoutTheTag)
{
    const ExifTag width { 0x0100, ExifTag::kShort, 6 };

    EXPECT_EQ(orientationOf({ GetParam(), { width }, {}, {} }), std::nullopt);
    EXPECT_EQ(orientationOf({ GetParam(), {}, {}, {} }), std::nullopt);
}

TEST_P(PictureExifInBothOrders, FindsTheOrientationAmongOtherTags)
{
    const ExifTag width { 0x0100, ExifTag::kShort, 3 };
    const ExifTag unit { 0x0128, ExifTag::kShort, 2 };

    EXPECT_EQ(orientationOf({ GetParam(), { width, { .value = 8 }, unit }, {}, {} }), 8);
}

TEST_P(PictureExifInBothOrders, HasNoOrientationThatIsNoNumber)
{
    EXPECT_EQ(orientationOf({ GetParam(), { { .type = ExifTag::kByte, .value = 6 } }, {}, {} }),
        std::nullopt);
    EXPECT_EQ(orientationOf({ GetParam(), { { .value = 6, .count = 0 } }, {}, {} }), std::nullopt);
}

TEST_P(PictureExifInBothOrders, DoesNotTakeTheThumbnailsOrientationForThePictures)
{
    const ExifTag turned { .value = 8 };

    EXPECT_EQ(orientationOf({ GetParam(), {}, { turned }, plainJpeg() }), std::nullopt);
    EXPECT_EQ(orientationOf({ GetParam(), { { .value = 3 } }, { turned }, plainJpeg() }), 3);
}

TEST_P(PictureExifInBothOrders, FindsTheOrientationBehindOtherSegmentsAndFillBytes)
{
    const QByteArray jpeg
        = tests::withExif(plainJpeg(), { GetParam(), { { .value = 6 } }, {}, {} });
    const QByteArray comment = QByteArray("\xFF\xFE\x00\x08", 4) + QByteArray("seaside", 6);

    EXPECT_EQ(exifOrientation(jpeg.left(2) + comment + jpeg.mid(2)), 6);
    EXPECT_EQ(exifOrientation(jpeg.left(2) + comment + "\xFF\xFF" + jpeg.mid(2)), 6);
}

TEST_P(PictureExifInBothOrders, HasNoOrientationWhereASegmentIsBroken)
{
    const QByteArray jpeg
        = tests::withExif(plainJpeg(), { GetParam(), { { .value = 6 } }, {}, {} });
    const QByteArray tooShort("\xFF\xFE\x00\x01", 4);
    const QByteArray tooLong("\xFF\xFE\xFF\xFF", 4);

    EXPECT_EQ(exifOrientation(jpeg.left(2) + tooShort + jpeg.mid(2)), std::nullopt);
    EXPECT_EQ(exifOrientation(jpeg.left(2) + tooLong + jpeg.mid(2)), std::nullopt);
    EXPECT_EQ(exifOrientation(jpeg.left(3)), std::nullopt);
}

TEST_P(PictureExifInBothOrders, FindsTheEmbeddedThumbnail)
{
    const QByteArray thumbnail = plainJpeg();

    const QByteArray jpeg
        = tests::withExif(plainJpeg(), { GetParam(), { { .value = 6 } }, {}, thumbnail });

    EXPECT_EQ(exifThumbnail(jpeg), thumbnail);
}

INSTANTIATE_TEST_SUITE_P(BothByteOrders, PictureExifInBothOrders,
    testing::Values(ByteOrder::Big, ByteOrder::Little),
    [](const auto& row) { return row.param == ByteOrder::Big ? "Big" : "Little"; });

TEST(PictureExif, IsNothingWithoutExif)
{
    for (const QByteArray& bytes :
        { plainJpeg(), QByteArray(), QByteArray("text"), QByteArray("\xFF\xD8\xFF"),
            tests::encodedPicture(tests::solidPicture({ 4, 4 }, Qt::red), "png") }) {
        EXPECT_EQ(exifOrientation(bytes), std::nullopt);
        EXPECT_TRUE(exifThumbnail(bytes).isEmpty());
    }
}

TEST(PictureExif, HasNoThumbnailWhereOnlyThePictureIsDescribed)
{
    EXPECT_TRUE(exifThumbnail(tests::withOrientation(plainJpeg(), 6)).isEmpty());
}

TEST(PictureExif, IsFoundBehindOtherSegments)
{
    const QByteArray exif = tests::withOrientation(plainJpeg(), 6);

    const QByteArray behindPreview = tests::withSegment(exif, 0xE2, QByteArray(60'000, 'x'));

    EXPECT_EQ(exifOrientation(behindPreview), 6);
}

TEST(PictureExif, IsFoundBehindAnotherSegmentOfItsKind)
{
    const QByteArray exif = tests::withOrientation(plainJpeg(), 6);

    const QByteArray behindMetadata = tests::withSegment(
        exif, 0xE1, QByteArray("http://ns.adobe.com/xap/1.0/\0<x:xmpmeta/>", 42));

    EXPECT_EQ(exifOrientation(behindMetadata), 6);
}

TEST(PictureExif, SurvivesBeingCutAnywhere)
{
    const QByteArray whole = tests::withExif(
        plainJpeg(), { ByteOrder::Big, { { .value = 6 } }, { { .value = 8 } }, plainJpeg() });

    for (qsizetype length = 0; length < whole.size(); ++length) {
        const auto orientation = exifOrientation(whole.left(length));
        EXPECT_TRUE(!orientation || *orientation == 6) << length;
        (void)exifThumbnail(whole.left(length));
    }
}

TEST(PictureExif, SurvivesAnyBrokenByte)
{
    const QByteArray whole = tests::withExif(plainJpeg(),
        { ByteOrder::Little, { { .value = 6 } }, { { .value = 8 } }, QByteArray(64, 't') });
    const QByteArray segment
        = tests::exifSegment({ ByteOrder::Little, { { .value = 6 } }, { { .value = 8 } }, {} });

    for (qsizetype at = 0; at < segment.size() + 6; ++at) {
        for (const char byte : QByteArray("\x00\x01\x7F\x80\xFF", 5)) {
            QByteArray broken = whole;
            broken[at] = byte;
            (void)exifOrientation(broken);
            EXPECT_LE(exifThumbnail(broken).size(), broken.size());
        }
    }
}

TEST(PictureExif, NeedsNoLettersInFront)
{
    const QByteArray segment
        = tests::exifSegment({ ByteOrder::Little, { { .value = 6 } }, {}, {} });

    EXPECT_EQ(PictureExif(segment).orientation(), 6);
    EXPECT_EQ(PictureExif(segment.mid(6)).orientation(), 6);
}

} // namespace

} // namespace quorvane
