// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/FileBytes.h"
#include "decoder/RadianceReader.h"
#include "decoder/Rendering.h"

#include <gtest/gtest.h>

namespace quorvane {
namespace {

const QByteArray kHeader = "#?RADIANCE\n# made by hand\nFORMAT=32-bit_rle_rgbe\n\n";

/// Light of 0.5 in one channel: 128 with the exponent 128.
QByteArray pixel(bool red, bool green, bool blue)
{
    QByteArray bytes;
    for (const bool isOn : { red, green, blue })
        bytes += static_cast<char>(isOn ? 0x80 : 0);
    return bytes + static_cast<char>(0x80);
}

Result<QImage> decoded(const QByteArray& bytes)
{
    FileBytes file(bytes);
    auto reader = openRadiance(file);
    if (!reader)
        return tl::unexpected(reader.error());
    return renderedImage(**reader);
}

TEST(RadianceReader, KnowsItsSignatures)
{
    EXPECT_TRUE(isRadiance("#?RADIANCE\n"));
    EXPECT_TRUE(isRadiance("#?RGBE\n"));
    EXPECT_FALSE(isRadiance("#!/bin/sh\n"));
}

TEST(RadianceReader, ReadsPixelsThatAreNotPacked)
{
    const auto image
        = decoded(kHeader + "-Y 1 +X 2\n" + pixel(true, false, false) + pixel(false, false, true));

    ASSERT_TRUE(image);
    EXPECT_EQ(image->size(), QSize(2, 1));
    EXPECT_NEAR(qRed(image->pixel(0, 0)), 188, 1);
    EXPECT_LT(qBlue(image->pixel(0, 0)), 8);
    EXPECT_NEAR(qBlue(image->pixel(1, 0)), 188, 1);
}

TEST(RadianceReader, ReadsTheOldRepetitions)
{
    const auto image
        = decoded(kHeader + "-Y 1 +X 4\n" + pixel(true, false, false) + QByteArray("\1\1\1\3", 4));

    ASSERT_TRUE(image);
    EXPECT_EQ(image->pixel(3, 0), image->pixel(0, 0));
}

TEST(RadianceReader, ReadsPackedLines)
{
    QByteArray line("\2\2\0\x8", 4);
    line += QByteArray("\x88\x80", 2); // Red, eight times.
    line += QByteArray("\x8\0\0\0\0\x80\x80\x80\x80", 9); // Green, one by one.
    line += QByteArray("\x88\0", 2) + QByteArray("\x88\x80", 2);

    const auto image = decoded(kHeader + "-Y 1 +X 8\n" + line);

    ASSERT_TRUE(image);
    EXPECT_NEAR(qRed(image->pixel(7, 0)), 188, 1);
    EXPECT_LT(qGreen(image->pixel(3, 0)), 8);
    EXPECT_NEAR(qGreen(image->pixel(4, 0)), 188, 1);
}

TEST(RadianceReader, TellsHowThePictureLies)
{
    FileBytes upsideDown(kHeader + "+Y 3 +X 2\n");
    FileBytes turned(kHeader + "+X 2 -Y 3\n");

    const auto first = openRadiance(upsideDown);
    const auto second = openRadiance(turned);

    ASSERT_TRUE(first && second);
    EXPECT_EQ((*first)->header().orientation, 4);
    EXPECT_EQ((*second)->header().orientation, 5);
    EXPECT_EQ((*second)->header().size, QSize(3, 2));
}

TEST(RadianceReader, RefusesAFileThatEndsTooSoon)
{
    const QByteArray whole
        = kHeader + "-Y 2 +X 1\n" + pixel(true, true, true) + pixel(true, true, true);

    ASSERT_TRUE(decoded(whole));
    for (qsizetype length = 0; length < whole.size(); ++length) {
        const auto image = decoded(whole.first(length));
        ASSERT_FALSE(image) << length;
        EXPECT_EQ(image.error().kind, ErrorKind::Damaged);
    }
}

TEST(RadianceReader, RefusesRunsThatDoNotFitTheLine)
{
    EXPECT_FALSE(
        decoded(kHeader + "-Y 1 +X 2\n" + pixel(true, true, true) + QByteArray("\1\1\1\x9", 4)));
    EXPECT_FALSE(decoded(
        kHeader + "-Y 1 +X 8\n" + QByteArray("\2\2\0\x8\x89\x80", 6) + QByteArray(40, '\0')));
}

TEST(RadianceReader, RefusesSizesBeforeAnythingIsAllocated)
{
    FileBytes large(kHeader + "-Y 1000000 +X 1000000\n");
    FileBytes negative(kHeader + "-Y -5 +X 5\n");

    const auto tooLarge = openRadiance(large);

    ASSERT_FALSE(tooLarge);
    EXPECT_EQ(tooLarge.error().kind, ErrorKind::TooLarge);
    EXPECT_FALSE(openRadiance(negative));
}

} // namespace
} // namespace quorvane
