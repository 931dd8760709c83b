// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/PlanarPicture.h"

#include <gtest/gtest.h>

#include <array>

namespace quorvane {
namespace {

QRgb rawPixel(const QImage& image, int x, int y)
{
    return reinterpret_cast<const QRgb*>(image.constScanLine(y))[x];
}

TEST(PlanarPicture, PutsTheColoursWhereTheyBelong)
{
    const std::array<uchar, 2> red { 10, 20 };
    const std::array<uchar, 2> green { 30, 40 };
    const std::array<uchar, 2> blue { 50, 60 };
    QImage image(2, 1, QImage::Format_RGB32);

    makePixels(
        { { 2, 1 }, { red.data(), 2 }, { green.data(), 2 }, { blue.data(), 2 }, {} }, 1, image);

    EXPECT_EQ(rawPixel(image, 0, 0), qRgb(10, 30, 50));
    EXPECT_EQ(rawPixel(image, 1, 0), qRgb(20, 40, 60));
}

TEST(PlanarPicture, TakesMeansAlsoOfTheSmallerBlocksAtTheEdges)
{
    const std::array<uchar, 9> plane { 0, 10, 100, 20, 30, 200, 7, 9, 77 };
    QImage image(2, 2, QImage::Format_RGB32);

    const Plane all { plane.data(), 3 };
    makePixels({ { 3, 3 }, all, all, all, {} }, 2, image);

    EXPECT_EQ(qRed(rawPixel(image, 0, 0)), 15);
    EXPECT_EQ(qRed(rawPixel(image, 1, 0)), 150);
    EXPECT_EQ(qRed(rawPixel(image, 0, 1)), 8);
    EXPECT_EQ(qRed(rawPixel(image, 1, 1)), 77);
}

TEST(PlanarPicture, MultipliesStraightAlphaInAndBoundsPremultipliedColours)
{
    const std::array<uchar, 1> color { 200 };
    const std::array<uchar, 1> alpha { 128 };
    const Plane all { color.data(), 1 };
    QImage image(1, 1, QImage::Format_ARGB32_Premultiplied);

    makePixels({ { 1, 1 }, all, all, all, { alpha.data(), 1 }, false }, 1, image);
    EXPECT_EQ(rawPixel(image, 0, 0), qRgba(100, 100, 100, 128));

    makePixels({ { 1, 1 }, all, all, all, { alpha.data(), 1 }, true }, 1, image);
    EXPECT_EQ(rawPixel(image, 0, 0), qRgba(128, 128, 128, 128));
}

TEST(PlanarPicture, NeverDividesBelowWhatIsWanted)
{
    EXPECT_EQ(divisorFor({ 4000, 3000 }, { 4000, 3000 }), 1);
    EXPECT_EQ(divisorFor({ 4000, 3000 }, { 2001, 1500 }), 1);
    EXPECT_EQ(divisorFor({ 4000, 3000 }, { 2000, 1500 }), 2);
    EXPECT_EQ(divisorFor({ 4000, 3000 }, { 1000, 700 }), 4);
    EXPECT_EQ(divisorFor({ 4000, 3000 }, { 10, 10 }), 8);
    EXPECT_EQ(dividedSize({ 17, 16 }, 8), QSize(3, 2));
}

} // namespace
} // namespace quorvane
