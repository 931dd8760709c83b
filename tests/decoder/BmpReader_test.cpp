// SPDX-License-Identifier: GPL-3.0-or-later
#include "Bytes.h"
#include "Readers.h"

#include <gtest/gtest.h>

namespace quorvane {

namespace {

using testing::bytes;
using testing::decoded;
using testing::formatNameOf;
using testing::little;

/// What stands in the headers of a small BMP.
struct Bmp {
    int width = 2;
    int height = 2;
    int depth = 24;
    quint32 compression = 0;
    QByteArray behindHeader; ///< Masks, table of colours.
    QByteArray pixels;
    quint32 used = 0;
};

QByteArray fileOf(const Bmp& bmp)
{
    const QByteArray info = little(quint32(40)) + little(qint32(bmp.width))
        + little(qint32(bmp.height)) + little(quint16(1)) + little(quint16(bmp.depth))
        + little(bmp.compression) + little(quint32(0)) + little(quint32(0)) + little(quint32(0))
        + little(bmp.used) + little(quint32(0));
    const auto offset = static_cast<quint32>(14 + info.size() + bmp.behindHeader.size());
    return "BM" + little(quint32(0)) + little(quint32(0)) + little(offset) + info + bmp.behindHeader
        + bmp.pixels;
}

const QByteArray kBlueGreenBelowRedWhite
    = bytes({ 255, 0, 0, 0, 255, 0, 0, 0, /**/ 0, 0, 255, 255, 255, 255, 0, 0 });

const QByteArray kTwoColours = bytes({ 10, 20, 30, 0, 255, 255, 255, 0 });

Bmp indexed(int depth, quint32 compression, const QByteArray& pixels)
{
    Bmp bmp;
    bmp.depth = depth;
    bmp.compression = compression;
    bmp.behindHeader = kTwoColours;
    bmp.used = 2;
    bmp.pixels = pixels;
    return bmp;
}

ErrorKind errorOf(const QByteArray& file)
{
    const auto image = decoded(file);
    return image ? ErrorKind::Other : image.error().kind;
}

TEST(BmpReader, ReadsRowsFromTheBottom)
{
    Bmp bmp;
    bmp.pixels = kBlueGreenBelowRedWhite;

    const auto image = decoded(fileOf(bmp));

    ASSERT_TRUE(image) << image.error().message.toStdString();
    EXPECT_EQ(image->format(), QImage::Format_RGB32);
    EXPECT_EQ(image->pixel(0, 0), qRgb(255, 0, 0));
    EXPECT_EQ(image->pixel(1, 0), qRgb(255, 255, 255));
    EXPECT_EQ(image->pixel(0, 1), qRgb(0, 0, 255));
    EXPECT_EQ(image->pixel(1, 1), qRgb(0, 255, 0));
}

TEST(BmpReader, ReadsRowsFromTheTopWhenTheHeightIsNegative)
{
    Bmp bmp;
    bmp.height = -2;
    bmp.pixels = kBlueGreenBelowRedWhite;

    const auto image = decoded(fileOf(bmp));

    ASSERT_TRUE(image);
    EXPECT_EQ(image->pixel(0, 0), qRgb(0, 0, 255));
}

TEST(BmpReader, ToleratesMissingPaddingOfTheLastRow)
{
    Bmp bmp;
    bmp.pixels = kBlueGreenBelowRedWhite.chopped(2);

    EXPECT_TRUE(decoded(fileOf(bmp)));
}

TEST(BmpReader, CallsAMissingPixelDamaged)
{
    Bmp bmp;
    bmp.pixels = kBlueGreenBelowRedWhite.chopped(3);

    EXPECT_EQ(errorOf(fileOf(bmp)), ErrorKind::Damaged);
}

TEST(BmpReader, ReadsIndexedPixelsOfEveryDepth)
{
    const QByteArray rowOfOneBit = bytes({ 0x40, 0, 0, 0 });
    const QByteArray rowOfTwoBits = bytes({ 0x10, 0, 0, 0 });
    const QByteArray rowOfFourBits = bytes({ 0x01, 0, 0, 0 });
    const QByteArray rowOfEightBits = bytes({ 0, 1, 0, 0 });
    const std::pair<int, QByteArray> rows[]
        = { { 1, rowOfOneBit }, { 2, rowOfTwoBits }, { 4, rowOfFourBits }, { 8, rowOfEightBits } };
    for (const auto& [depth, row] : rows) {
        const auto image = decoded(fileOf(indexed(depth, 0, row + row)));

        ASSERT_TRUE(image) << depth;
        EXPECT_EQ(image->pixel(0, 0), qRgb(30, 20, 10)) << depth;
        EXPECT_EQ(image->pixel(1, 1), qRgb(255, 255, 255)) << depth;
    }
}

TEST(BmpReader, ShowsColoursBeyondTheTableAsBlack)
{
    const auto image = decoded(fileOf(indexed(8, 0, bytes({ 7, 1, 0, 0, 0, 0, 0, 0 }))));

    ASSERT_TRUE(image);
    EXPECT_EQ(image->pixel(0, 1), qRgb(0, 0, 0));
}

TEST(BmpReader, StretchesFiveBitsToWhite)
{
    Bmp bmp;
    bmp.depth = 16;
    bmp.height = 1;
    bmp.pixels = little(quint16(0x7FFF)) + little(quint16(0x7C00));

    const auto image = decoded(fileOf(bmp));

    ASSERT_TRUE(image);
    EXPECT_EQ(image->pixel(0, 0), qRgb(255, 255, 255));
    EXPECT_EQ(image->pixel(1, 0), qRgb(255, 0, 0));
}

TEST(BmpReader, ObeysMasks)
{
    Bmp bmp;
    bmp.depth = 16;
    bmp.height = 1;
    bmp.compression = 3;
    bmp.behindHeader = little(quint32(0xF800)) + little(quint32(0x07E0)) + little(quint32(0x001F));
    bmp.pixels = little(quint16(0x07E0)) + little(quint16(0x001F));

    const auto image = decoded(fileOf(bmp));

    ASSERT_TRUE(image);
    EXPECT_EQ(image->pixel(0, 0), qRgb(0, 255, 0));
    EXPECT_EQ(image->pixel(1, 0), qRgb(0, 0, 255));
}

Bmp withAlphaMask(quint32 first, quint32 second)
{
    Bmp bmp;
    bmp.depth = 32;
    bmp.height = 1;
    bmp.compression = 6;
    bmp.behindHeader = little(quint32(0xFF0000)) + little(quint32(0x00FF00))
        + little(quint32(0x0000FF)) + little(quint32(0xFF000000));
    bmp.pixels = little(first) + little(second);
    return bmp;
}

TEST(BmpReader, MultipliesAlphaIn)
{
    const auto image = decoded(fileOf(withAlphaMask(0x80FF0000, 0xFFFFFFFF)));

    ASSERT_TRUE(image);
    ASSERT_EQ(image->format(), QImage::Format_ARGB32_Premultiplied);
    EXPECT_EQ(*reinterpret_cast<const QRgb*>(image->constScanLine(0)), qRgba(128, 0, 0, 128));
}

TEST(BmpReader, ShowsAPictureWhoseAlphaIsZeroEverywhere)
{
    const auto image = decoded(fileOf(withAlphaMask(0x00FF0000, 0x00FFFFFF)));

    ASSERT_TRUE(image);
    EXPECT_EQ(image->format(), QImage::Format_RGB32);
    EXPECT_EQ(image->pixel(0, 0), qRgb(255, 0, 0));
}

TEST(BmpReader, IgnoresTheFourthByteWithoutAMaskForIt)
{
    Bmp bmp;
    bmp.depth = 32;
    bmp.height = 1;
    bmp.pixels = little(quint32(0x80FF0000)) + little(quint32(0x00FFFFFF));

    const auto image = decoded(fileOf(bmp));

    ASSERT_TRUE(image);
    EXPECT_EQ(image->format(), QImage::Format_RGB32);
    EXPECT_EQ(image->pixel(0, 0), qRgb(255, 0, 0));
}

TEST(BmpReader, ReadsTheOldestHeader)
{
    const QByteArray header = little(quint32(12)) + little(quint16(2)) + little(quint16(1))
        + little(quint16(1)) + little(quint16(1));
    const QByteArray table = bytes({ 10, 20, 30, 255, 255, 255 });
    const QByteArray file = "BM" + little(quint32(0)) + little(quint32(0)) + little(quint32(32))
        + header + table + bytes({ 0x40, 0, 0, 0 });

    const auto image = decoded(file);

    ASSERT_TRUE(image);
    EXPECT_EQ(image->size(), QSize(2, 1));
    EXPECT_EQ(image->pixel(0, 0), qRgb(30, 20, 10));
    EXPECT_EQ(image->pixel(1, 0), qRgb(255, 255, 255));
}

TEST(BmpReader, ReadsRunsOfEightBits)
{
    // Two of the second colour; the end of the row; two as they are; the end.
    const QByteArray runs = bytes({ 2, 1, 0, 0, 1, 0, 1, 1, 0, 1 });

    const auto image = decoded(fileOf(indexed(8, 1, runs)));

    ASSERT_TRUE(image);
    EXPECT_EQ(image->pixel(0, 1), qRgb(255, 255, 255));
    EXPECT_EQ(image->pixel(1, 1), qRgb(255, 255, 255));
    EXPECT_EQ(image->pixel(0, 0), qRgb(30, 20, 10));
    EXPECT_EQ(image->pixel(1, 0), qRgb(255, 255, 255));
}

TEST(BmpReader, ReadsPlainPixelsAndJumpsBetweenRuns)
{
    Bmp bmp = indexed(8, 1, bytes({ 0, 3, 1, 0, 1, 0, 0, 2, 1, 1, 1, 1, 0, 1 }));
    bmp.width = 5;
    bmp.height = 2;

    const auto image = decoded(fileOf(bmp));

    ASSERT_TRUE(image);
    EXPECT_EQ(image->pixel(0, 1), qRgb(255, 255, 255));
    EXPECT_EQ(image->pixel(1, 1), qRgb(30, 20, 10));
    EXPECT_EQ(image->pixel(2, 1), qRgb(255, 255, 255));
    EXPECT_EQ(image->pixel(4, 0), qRgb(255, 255, 255));
    EXPECT_EQ(image->pixel(3, 0), qRgb(30, 20, 10));
}

TEST(BmpReader, ReadsRunsOfFourBits)
{
    Bmp bmp = indexed(4, 2, bytes({ 3, 0x01, 0, 0, 0, 3, 0x10, 0x10, 0, 1 }));
    bmp.width = 3;

    const auto image = decoded(fileOf(bmp));

    ASSERT_TRUE(image);
    EXPECT_EQ(image->pixel(0, 1), qRgb(30, 20, 10));
    EXPECT_EQ(image->pixel(1, 1), qRgb(255, 255, 255));
    EXPECT_EQ(image->pixel(2, 1), qRgb(30, 20, 10));
    EXPECT_EQ(image->pixel(0, 0), qRgb(255, 255, 255));
    EXPECT_EQ(image->pixel(2, 0), qRgb(255, 255, 255));
}

TEST(BmpReader, DoesWithoutTheEndMarkWhenAllPixelsAreThere)
{
    EXPECT_TRUE(decoded(fileOf(indexed(8, 1, bytes({ 2, 1, 0, 0, 2, 1 })))));
}

TEST(BmpReader, CallsRunsThatEndTooSoonDamaged)
{
    const QByteArray runs = bytes({ 2, 1, 0, 0, 1, 0, 0, 3, 1 });
    for (qsizetype size = 0; size <= runs.size(); ++size)
        EXPECT_EQ(errorOf(fileOf(indexed(8, 1, runs.left(size)))), ErrorKind::Damaged) << size;
}

TEST(BmpReader, SurvivesRunsThatLeaveThePicture)
{
    EXPECT_TRUE(decoded(fileOf(indexed(8, 1, bytes({ 255, 1, 0, 2, 255, 255, 9, 1, 0, 1 })))));
}

TEST(BmpReader, RefusesWhatItCannotRead)
{
    Bmp jpegInside;
    jpegInside.compression = 4;
    jpegInside.pixels = kBlueGreenBelowRedWhite;
    Bmp odd;
    odd.depth = 3;
    odd.pixels = kBlueGreenBelowRedWhite;

    EXPECT_EQ(errorOf(fileOf(jpegInside)), ErrorKind::Unsupported);
    EXPECT_EQ(errorOf(fileOf(odd)), ErrorKind::Unsupported);
}

TEST(BmpReader, RefusesSizesThatAreNone)
{
    Bmp huge;
    huge.width = 1 << 20;
    huge.height = 1 << 20;
    Bmp negative;
    negative.width = -2;
    Bmp lowest;
    lowest.height = std::numeric_limits<int>::min();

    EXPECT_EQ(errorOf(fileOf(huge)), ErrorKind::TooLarge);
    EXPECT_EQ(errorOf(fileOf(negative)), ErrorKind::Damaged);
    EXPECT_EQ(errorOf(fileOf(lowest)), ErrorKind::Damaged);
}

TEST(BmpReader, IsKnownByItsHeader)
{
    Bmp bmp;
    bmp.pixels = kBlueGreenBelowRedWhite;

    EXPECT_EQ(formatNameOf(fileOf(bmp)), "BMP");
    EXPECT_NE(formatNameOf("BM is also how a text may begin"), "BMP");
}

} // namespace

} // namespace quorvane
