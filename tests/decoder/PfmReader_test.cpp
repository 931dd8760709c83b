// SPDX-License-Identifier: GPL-3.0-or-later
#include "Bytes.h"
#include "Readers.h"

#include <gtest/gtest.h>

namespace quorvane {

namespace {

using testing::big;
using testing::decoded;
using testing::formatNameOf;
using testing::little;

const QByteArray kOne = little(1.0F);
const QByteArray kNone = little(0.0F);

TEST(PfmReader, ReadsRowsFromTheBottom)
{
    const QByteArray file = "PF\n1 2\n-1.0\n" + kOne + kNone + kNone + kNone + kNone + kOne;

    const auto image = decoded(file);

    ASSERT_TRUE(image);
    EXPECT_EQ(formatNameOf(file), "portable float map");
    EXPECT_EQ(image->pixel(0, 1), qRgb(255, 0, 0));
    EXPECT_EQ(image->pixel(0, 0), qRgb(0, 0, 255));
}

TEST(PfmReader, ReadsGreyOfTheOtherByteOrder)
{
    const auto image = decoded("Pf\n2 1\n1.0\n" + big(1.0F) + big(0.0F));

    ASSERT_TRUE(image);
    EXPECT_EQ(image->pixel(0, 0), qRgb(255, 255, 255));
    EXPECT_EQ(image->pixel(1, 0), qRgb(0, 0, 0));
}

TEST(PfmReader, PassesOverCommentsButNotOverSamplesThatLookLikeOne)
{
    const auto image
        = decoded("Pf\n# made by hand\n2 1\n1.0\n" + QByteArray("#\0\0\0", 4) + big(1.0F));

    ASSERT_TRUE(image);
    EXPECT_EQ(image->pixel(1, 0), qRgb(255, 255, 255));
}

TEST(PfmReader, CallsAFileCutShortDamaged)
{
    const QByteArray file = "Pf\n2 1\n-1.0\n" + kOne + kOne;
    for (qsizetype size = 3; size < file.size(); ++size) {
        const auto image = decoded(file.left(size));
        ASSERT_FALSE(image) << size;
        EXPECT_EQ(image.error().kind, ErrorKind::Damaged) << size;
    }
}

TEST(PfmReader, RefusesAPictureThatIsTooLarge)
{
    const auto image = decoded("Pf\n100000 100000\n-1.0\n");

    ASSERT_FALSE(image);
    EXPECT_EQ(image.error().kind, ErrorKind::TooLarge);
}

} // namespace

} // namespace quorvane
