// SPDX-License-Identifier: GPL-3.0-or-later
#include "Readers.h"

#include <gtest/gtest.h>

namespace quorvane {

namespace {

using testing::decoded;
using testing::formatNameOf;

const QByteArray kXbm("#define dot_width 9\n#define dot_height 1\n"
                      "static unsigned char dot_bits[] = { 0x01, 0x01 };\n");

const QByteArray kXpm("/* XPM */\nstatic char *dot[] = {\n\"2 1 2 1\",\n\". c #ff8000\",\n"
                      "\"o c None\",\n\".o\" };\n");

TEST(QtReader, ReadsXbm)
{
    const auto image = decoded(kXbm);

    ASSERT_TRUE(image);
    EXPECT_EQ(formatNameOf(kXbm), "XBM");
    ASSERT_EQ(image->size(), QSize(9, 1));
    EXPECT_EQ(image->format(), QImage::Format_RGB32);
    EXPECT_EQ(image->pixel(0, 0), qRgb(0, 0, 0));
    EXPECT_EQ(image->pixel(1, 0), qRgb(255, 255, 255));
    EXPECT_EQ(image->pixel(8, 0), qRgb(0, 0, 0));
}

TEST(QtReader, CallsAnXbmCutShortDamaged)
{
    const auto image = decoded(kXbm.left(kXbm.indexOf(", 0x01")));

    ASSERT_FALSE(image);
    EXPECT_EQ(image.error().kind, ErrorKind::Damaged);
}

TEST(QtReader, TakesNoOtherSourceTextForAnXbm)
{
    EXPECT_EQ(formatNameOf("#define window_width 9\n#define window_height 1\nint x;\n"), "");
}

TEST(QtReader, ReadsXpmWithTransparency)
{
    const auto image = decoded(kXpm);

    ASSERT_TRUE(image);
    EXPECT_EQ(formatNameOf(kXpm), "XPM");
    ASSERT_EQ(image->format(), QImage::Format_ARGB32_Premultiplied);
    EXPECT_EQ(image->pixel(0, 0), qRgb(255, 128, 0));
    EXPECT_EQ(qAlpha(image->pixel(1, 0)), 0);
}

TEST(QtReader, CallsAnXpmCutShortDamaged)
{
    const auto image = decoded(kXpm.left(kXpm.indexOf("\"o c")));

    ASSERT_FALSE(image);
    EXPECT_EQ(image.error().kind, ErrorKind::Damaged);
}

TEST(QtReader, RefusesAPictureThatIsTooLarge)
{
    QByteArray huge = kXbm;
    huge.replace("dot_width 9", "dot_width 32000").replace("dot_height 1", "dot_height 32000");

    const auto image = decoded(huge);

    ASSERT_FALSE(image);
    EXPECT_EQ(image.error().kind, ErrorKind::TooLarge);
}

} // namespace

} // namespace quorvane
