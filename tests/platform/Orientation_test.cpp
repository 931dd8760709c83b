// SPDX-License-Identifier: GPL-3.0-or-later
// The eight orientations, by their numbers and pixel by pixel.
#include "platform/Orientation.h"
#include "support/PictureBytes.h"

#include <gtest/gtest.h>

#include <ostream>

namespace quorvane {

/// For messages of tests that fail.
void PrintTo(const AffineTransform& t, std::ostream* out)
{
    *out << "{ " << t.a << ' ' << t.b << ' ' << t.c << ' ' << t.d << ' ' << t.tx << ' ' << t.ty
         << " }";
}

namespace {

using tests::numberedPicture;

/// The pixel of `upright` that a camera held in `orientation` stores at column x of row y: where
/// its first row and its first column lie in the upright picture is what the number says.
QRgb storedPixel(const QImage& upright, int orientation, int x, int y)
{
    const int right = upright.width() - 1;
    const int bottom = upright.height() - 1;
    switch (orientation) {
    case 1: // First row at the top, first column at the left.
        return upright.pixel(x, y);
    case 2: // Top, right.
        return upright.pixel(right - x, y);
    case 3: // Bottom, right.
        return upright.pixel(right - x, bottom - y);
    case 4: // Bottom, left.
        return upright.pixel(x, bottom - y);
    case 5: // First row at the left, first column at the top.
        return upright.pixel(y, x);
    case 6: // Right, top.
        return upright.pixel(right - y, x);
    case 7: // Right, bottom.
        return upright.pixel(right - y, bottom - x);
    default: // Left, bottom.
        return upright.pixel(y, bottom - x);
    }
}

QImage stored(const QImage& upright, int orientation)
{
    const bool turned = orientation >= 5;
    QImage image(turned ? upright.size().transposed() : upright.size(), QImage::Format_RGB32);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            image.setPixel(x, y, storedPixel(upright, orientation, x, y));
    }
    return image;
}

TEST(Orientation, HasTheTransformOfEachNumber)
{
    const AffineTransform expected[] = {
        { 1, 0, 0, 1, 0, 0 },
        { -1, 0, 0, 1, 4000, 0 },
        { -1, 0, 0, -1, 4000, 3000 },
        { 1, 0, 0, -1, 0, 3000 },
        { 0, -1, -1, 0, 3000, 4000 },
        { 0, -1, 1, 0, 0, 4000 },
        { 0, 1, 1, 0, 0, 0 },
        { 0, 1, -1, 0, 3000, 0 },
    };

    for (int orientation = 1; orientation <= 8; ++orientation)
        EXPECT_EQ(orientationTransform(orientation, 4000, 3000), expected[orientation - 1])
            << orientation;
}

TEST(Orientation, IsTheIdentityWhenUprightOnly)
{
    EXPECT_EQ(orientationTransform(1, 5, 7), AffineTransform::identity());
    for (int orientation = 2; orientation <= 8; ++orientation)
        EXPECT_FALSE(orientationTransform(orientation, 5, 7) == AffineTransform::identity());
}

TEST(Orientation, MapsThePictureOntoTheCanvas)
{
    for (int orientation = 1; orientation <= 8; ++orientation) {
        const AffineTransform t = orientationTransform(orientation, 4000, 3000);
        const bool turned = turnsPicture(orientation);

        const double x = t.a * 4000 + t.c * 3000 + t.tx; // Where the far corner goes, and
        const double y = t.b * 4000 + t.d * 3000 + t.ty; // the near one (tx, ty):

        EXPECT_EQ(std::max(x, t.tx), turned ? 3000 : 4000) << orientation;
        EXPECT_EQ(std::max(y, t.ty), turned ? 4000 : 3000) << orientation;
        EXPECT_EQ(std::min(x, t.tx), 0) << orientation;
        EXPECT_EQ(std::min(y, t.ty), 0) << orientation;
    }
}

TEST(Orientation, IsExactInSinglePrecisionOnly)
{
    EXPECT_EQ(orientationTransform(2, 16'777'216, 1).tx, 16'777'216);
    EXPECT_EQ(orientationTransform(2, 16'777'217, 1).tx, 16'777'216);
    EXPECT_EQ(orientationTransform(4, 1, 16'777'217).ty, 16'777'216);
}

TEST(Orientation, TurnsThePictureFromFiveOn)
{
    for (int orientation = 1; orientation <= 4; ++orientation)
        EXPECT_FALSE(turnsPicture(orientation));
    for (int orientation = 5; orientation <= 8; ++orientation)
        EXPECT_TRUE(turnsPicture(orientation));
}

TEST(Orientation, MakesAPictureUprightPixelByPixel)
{
    for (const QSize size : { QSize(67, 41), QSize(41, 67), QSize(1, 1), QSize(1, 33),
             QSize(100, 1), QSize(32, 32), QSize(64, 31), QSize(3, 2) }) {
        const QImage upright = numberedPicture(size);
        for (int orientation = 1; orientation <= 8; ++orientation)
            EXPECT_EQ(uprightImage(stored(upright, orientation), orientation), upright)
                << orientation << ", " << size.width() << "x" << size.height();
    }
}

TEST(Orientation, ReadsEveryFormatOfPixels)
{
    const QImage upright = tests::quarteredPicture({ 40, 36 });
    for (const auto format : { QImage::Format_RGB888, QImage::Format_Indexed8, QImage::Format_RGB16,
             QImage::Format_ARGB32_Premultiplied, QImage::Format_RGBX64 }) {
        const QImage image = stored(upright, 6).convertToFormat(format);

        EXPECT_EQ(uprightImage(image, 6), upright) << format;
    }
}

TEST(Orientation, LeavesAnUprightPictureAsItIs)
{
    QImage image(3, 2, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);

    const QImage upright = uprightImage(image, 1);

    EXPECT_EQ(upright.constBits(), image.constBits());
    EXPECT_TRUE(upright.hasAlphaChannel());
}

TEST(Orientation, MakesTransparencyBlackWhenItTurns)
{
    QImage image(3, 2, QImage::Format_ARGB32);
    image.fill(qRgba(255, 255, 255, 0));
    image.setPixel(0, 0, qRgba(200, 100, 0, 255));
    image.setPixel(1, 0, qRgba(255, 255, 255, 128));

    for (int orientation = 2; orientation <= 8; ++orientation) {
        const QImage upright = uprightImage(image, orientation);
        int black = 0;
        int grey = 0;
        int orange = 0;
        for (int y = 0; y < upright.height(); ++y) {
            for (int x = 0; x < upright.width(); ++x) {
                black += upright.pixel(x, y) == 0xff000000;
                grey += std::abs(qRed(upright.pixel(x, y)) - 128) <= 1;
                orange += upright.pixel(x, y) == qRgb(200, 100, 0);
            }
        }

        EXPECT_FALSE(upright.hasAlphaChannel()) << orientation;
        EXPECT_EQ(black, 4) << orientation;
        EXPECT_EQ(grey, 1) << orientation;
        EXPECT_EQ(orange, 1) << orientation;
    }
}

TEST(Orientation, DoesNotChangeTheStoredPicture)
{
    const QImage before = numberedPicture({ 9, 5 });
    const QImage image = before.copy();

    (void)uprightImage(image, 6);

    EXPECT_EQ(image, before);
}

TEST(Orientation, TurnsNoPictureIntoNone)
{
    EXPECT_TRUE(uprightImage({}, 1).isNull());
    EXPECT_TRUE(uprightImage({}, 6).isNull());
    EXPECT_TRUE(
        transformedImage(numberedPicture({ 2, 2 }), orientationTransform(3, 2, 2), {}).isNull());
}

TEST(Orientation, SaysThatThereIsNoMemoryForTheCanvas)
{
    const QImage image = numberedPicture({ 2, 2 });

    EXPECT_TRUE(
        transformedImage(image, orientationTransform(3, 2, 2), { 1 << 30, 1 << 30 }).isNull());
}

} // namespace

} // namespace quorvane
