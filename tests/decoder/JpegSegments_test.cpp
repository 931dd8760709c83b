// SPDX-License-Identifier: GPL-3.0-or-later
// What stands before the pixels of JPEG files, sound and broken.
#include "decoder/JpegSegments.h"
#include "support/PictureBytes.h"

#include <gtest/gtest.h>

namespace quorvane {

namespace {

QByteArray plainJpeg()
{
    return tests::encodedPicture(tests::solidPicture({ 16, 8 }, Qt::red), "jpg");
}

QByteArray profilePart(int number, int count, const QByteArray& contents)
{
    return QByteArray("ICC_PROFILE\0", 12) + static_cast<char>(number) + static_cast<char>(count)
        + contents;
}

QByteArray profileOf(const std::vector<JpegSegment>& segments) { return iccProfileOf(segments); }

TEST(JpegSegments, AreToldInTheirOrder)
{
    const QByteArray jpeg
        = tests::withSegment(tests::withSegment(plainJpeg(), 0xE5, "second"), 0xFE, "first");

    const auto segments = jpegSegments(jpeg);

    ASSERT_GE(segments.size(), 2U);
    EXPECT_EQ(segments[0].kind, 0xFE);
    EXPECT_EQ(segments[0].contents, QByteArray("first"));
    EXPECT_EQ(segments[1].kind, 0xE5);
    EXPECT_EQ(segments[1].contents, QByteArray("second"));
}

TEST(JpegSegments, EndWhereThePixelsBegin)
{
    for (const JpegSegment& segment : jpegSegments(plainJpeg()))
        EXPECT_NE(segment.kind, 0xDA);
}

TEST(JpegSegments, PutAProfileTogether)
{
    EXPECT_EQ(profileOf({ { 0xE2, profilePart(2, 3, "b") }, { 0xE1, profilePart(9, 9, "x") },
                  { 0xE2, profilePart(3, 3, "c") }, { 0xE2, profilePart(1, 3, "a") } }),
        QByteArray("abc"));
}

TEST(JpegSegments, HaveNoProfileWhereAPartIsMissingOrNumberedWrongly)
{
    EXPECT_EQ(profileOf({ { 0xE2, profilePart(1, 2, "a") } }), QByteArray());
    EXPECT_EQ(profileOf({ { 0xE2, profilePart(0, 1, "a") } }), QByteArray());
    EXPECT_EQ(profileOf({ { 0xE2, profilePart(2, 1, "a") } }), QByteArray());
    EXPECT_EQ(profileOf({ { 0xE2, profilePart(1, 1, "") } }), QByteArray());
    EXPECT_EQ(profileOf({ { 0xE2, "MPF" } }), QByteArray());
    EXPECT_EQ(profileOf({}), QByteArray());
}

TEST(JpegSegments, KnowAdobesPrograms)
{
    EXPECT_TRUE(hasAdobeSegment(jpegSegments(tests::cmykJpeg())));
    EXPECT_FALSE(hasAdobeSegment(jpegSegments(plainJpeg())));
}

TEST(JpegSegments, SurviveBeingCutAnywhere)
{
    const QByteArray whole = tests::withSegment(plainJpeg(), 0xE2, profilePart(1, 1, "profile"));
    for (qsizetype length = 0; length < whole.size(); ++length)
        (void)jpegSegments(whole.left(length));
}

} // namespace

} // namespace quorvane
