// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/FakeReader.h"
#include "decoder/Rendering.h"

#include <gtest/gtest.h>

namespace quorvane {

namespace {

using tests::FakeReader;
using tests::kFakeColour;

TEST(Rendering, TellsTheSizeOnceUpright)
{
    for (int orientation = 1; orientation <= 8; ++orientation) {
        const QSize expected = orientation > 4 ? QSize(3, 4) : QSize(4, 3);
        EXPECT_EQ(uprightSize({ { 4, 3 }, orientation }), expected) << orientation;
    }
}

TEST(Rendering, HasTheReaderWriteStraightIntoTheCanvas)
{
    FakeReader reader({ { 4, 3 }, 1 });
    QImage canvas(4, 3, QImage::Format_RGB32);
    const uchar* const memory = canvas.constBits();

    ASSERT_TRUE(renderUpright(reader, canvas));

    EXPECT_EQ(canvas.constBits(), memory);
    EXPECT_EQ(canvas.pixel(3, 2), kFakeColour);
}

TEST(Rendering, CopiesWhatTheReaderHasInItsOwnMemory)
{
    FakeReader reader({ { 4, 3 }, 1 });
    reader.takesMakersMemory = false;
    QImage canvas(4, 3, QImage::Format_RGB32);
    const uchar* const memory = canvas.constBits();

    ASSERT_TRUE(renderUpright(reader, canvas));

    EXPECT_EQ(canvas.constBits(), memory);
    EXPECT_EQ(canvas.pixel(3, 2), kFakeColour);
}

TEST(Rendering, ScalesWhatTheReaderHasInAnotherSize)
{
    FakeReader reader({ { 40, 30 }, 1 });
    reader.delivered = { 20, 15 };
    QImage canvas(4, 3, QImage::Format_RGB32);

    ASSERT_TRUE(renderUpright(reader, canvas));

    EXPECT_EQ(reader.wanted, QSize(4, 3));
    EXPECT_EQ(canvas.pixel(3, 2), kFakeColour);
}

TEST(Rendering, AsksForTheSizeAsStored)
{
    FakeReader reader({ { 40, 30 }, 6 });
    QImage canvas(3, 4, QImage::Format_RGB32);

    ASSERT_TRUE(renderUpright(reader, canvas));

    EXPECT_EQ(reader.wanted, QSize(4, 3));
    EXPECT_EQ(canvas.pixel(2, 3), kFakeColour);
}

TEST(Rendering, KeepsTransparencyUnlessItTurns)
{
    for (const int orientation : { 1, 3 }) {
        FakeReader reader({ { 4, 3 }, orientation });
        reader.format = QImage::Format_ARGB32_Premultiplied;
        reader.colour = 0x80402010;

        const auto image = renderedImage(reader);

        ASSERT_TRUE(image);
        EXPECT_EQ(image->hasAlphaChannel(), orientation == 1) << orientation;
    }
}

TEST(Rendering, GivesThePicturesOwnSizeUnlessTold)
{
    FakeReader reader({ { 4, 3 }, 8 });

    EXPECT_EQ(renderedImage(reader)->size(), QSize(3, 4));
    EXPECT_EQ(renderedImage(reader, { 6, 8 })->size(), QSize(6, 8));
}

TEST(Rendering, HandsOnWhatTheReaderRefuses)
{
    FakeReader reader({ { 4, 3 }, 1 });
    reader.isDamaged = true;

    const auto image = renderedImage(reader);

    ASSERT_FALSE(image);
    EXPECT_EQ(image.error().kind, ErrorKind::Damaged);
}

TEST(Rendering, RefusesPixelsThatNobodyAskedFor)
{
    FakeReader reader({ { 4, 3 }, 1 });
    reader.takesMakersMemory = false;
    reader.format = QImage::Format_Grayscale8;

    EXPECT_FALSE(renderedImage(reader));
}

} // namespace

} // namespace quorvane
