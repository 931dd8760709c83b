// SPDX-License-Identifier: GPL-3.0-or-later
#include "display/SVFilterImage.h"
#include "support/GeometryMatchers.h"
#include "support/PictureFiles.h"

#include <gtest/gtest.h>

namespace quorvane {
namespace {

using namespace tests;

constexpr QRectF kCanvas { 0, 0, 40, 30 };

QImage drawn(const QImage& image, const QRectF& drawRect, const QRectF& imageRect = kCanvas)
{
    return SVFilterImage::imageWithCGImage(image, drawRect, imageRect)->mCGImage();
}

TEST(SVFilterImage, IsBlackAroundThePicture)
{
    const QImage image = drawn(solid(kRed, { 10, 5 }), { 20, 10, 10, 5 });

    ASSERT_EQ(image.size(), QSize(40, 30));
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const bool isInside = QRect(20, 15, 10, 5).contains(x, y);
            ASSERT_EQ(image.pixel(x, y), isInside ? kRed : kBlack) << x << ", " << y;
        }
    }
}

TEST(SVFilterImage, CountsFromTheLowerLeft)
{
    const QImage image = drawn(solid(kRed, { 4, 6 }), { 0, 0, 4, 6 });

    EXPECT_EQ(image.pixel(0, 29), kRed);
    EXPECT_EQ(image.pixel(3, 24), kRed);
    EXPECT_EQ(image.pixel(4, 29), kBlack);
    EXPECT_EQ(image.pixel(0, 23), kBlack);
    EXPECT_EQ(image.pixel(0, 0), kBlack);
}

TEST(SVFilterImage, KeepsThePictureUpright)
{
    const QImage picture = quartered({ kRed, kGreen, kBlue, kYellow }, { 40, 30 });

    EXPECT_EQ(drawn(picture, kCanvas), picture);
}

TEST(SVFilterImage, StretchesThePictureToItsPlace)
{
    const QImage image
        = drawn(quartered({ kRed, kGreen, kBlue, kYellow }, { 4, 4 }), { 0, 0, 40, 15 });

    EXPECT_EQ(image.pixel(2, 16), kRed);
    EXPECT_EQ(image.pixel(37, 16), kGreen);
    EXPECT_EQ(image.pixel(2, 28), kBlue);
    EXPECT_EQ(image.pixel(37, 28), kYellow);
    EXPECT_EQ(image.pixel(20, 14), kBlack);
}

TEST(SVFilterImage, SmoothsWhatItStretches)
{
    const QImage image = drawn(quartered({ kBlack, kRed, kBlack, kRed }, { 2, 2 }), kCanvas);

    EXPECT_GT(qRed(image.pixel(20, 15)), qRed(kRed) / 4);
    EXPECT_LT(qRed(image.pixel(20, 15)), qRed(kRed) * 3 / 4);
}

TEST(SVFilterImage, CutsWhatReachesBeyondIt)
{
    const QImage picture = quartered({ kRed, kGreen, kBlue, kYellow }, { 80, 60 });

    const QImage image = drawn(picture, { -20, -15, 80, 60 });

    ASSERT_EQ(image.size(), QSize(40, 30));
    EXPECT_EQ(image, picture.copy(20, 15, 40, 30));
}

TEST(SVFilterImage, ShowsBlackThroughTransparentPictures)
{
    QImage half(40, 30, QImage::Format_ARGB32);
    half.fill(QColor(255, 255, 255, 128));

    const QImage image = drawn(half, kCanvas);

    EXPECT_NEAR(qGreen(image.pixel(20, 15)), 128, 1);
    EXPECT_EQ(qAlpha(image.pixel(20, 15)), 255);
}

TEST(SVFilterImage, HasFourBytesForEachPixel)
{
    for (const int width : { 1, 3, 17, 40 }) {
        const QImage image = drawn(solid(kRed, { 4, 4 }), {}, QRectF(0, 0, width, 2));
        EXPECT_EQ(image.bytesPerLine(), 4 * width);
        EXPECT_EQ(image.depth(), 32);
        EXPECT_FALSE(image.hasAlphaChannel());
    }
}

TEST(SVFilterImage, HasWholePixelsWhereverItsRectangleLies)
{
    const QImage image = drawn(solid(kRed, { 4, 4 }), { 0, 0, 4, 4 }, { 100, -7, 20.9, 10.9 });

    ASSERT_EQ(image.size(), QSize(20, 10));
    EXPECT_EQ(image.pixel(0, 9), kRed);
    EXPECT_EQ(image.pixel(19, 0), kBlack);
}

TEST(SVFilterImage, HasNoPictureOfNoPixels)
{
    for (const QSizeF size : { QSizeF(0, 0), QSizeF(0, 30), QSizeF(40, 0), QSizeF(-40, -30),
             QSizeF(0.9, 30), QSizeF(40, 0.9) }) {
        const auto empty = SVFilterImage::imageWithCGImage(
            solid(kRed, { 4, 4 }), { 0, 0, 4, 4 }, { QPointF(), size });
        ASSERT_TRUE(empty);
        EXPECT_TRUE(empty->mCGImage().isNull()) << testing::PrintToString(size);
        EXPECT_TRUE(empty->mCIImage().isNull()) << testing::PrintToString(size);
    }
}

TEST(SVFilterImage, OfNoPictureIsBlack)
{
    EXPECT_EQ(drawn({}, { 0, 0, 10, 10 }), solid(kBlack, { 40, 30 }));
}

TEST(SVFilterImage, GivesEffectsTheSamePixels)
{
    const QRectF rect(5, 6, 40, 30);

    const auto image = SVFilterImage::imageWithCGImage(solid(kRed, { 4, 4 }), { 0, 0, 4, 4 }, rect);

    EXPECT_EQ(image->mCIImage(), image->mCGImage());
    EXPECT_TRUE(isExactly(image->mImageRect(), rect));
}

} // namespace
} // namespace quorvane
