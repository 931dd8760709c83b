// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/FakeReader.h"
#include "decoder/Readers.h"
#include "support/PictureBytes.h"

#include <gtest/gtest.h>

namespace quorvane {

namespace {

TEST(PictureFormats, RefuseSizesThatCannotBeShown)
{
    EXPECT_TRUE(isReasonable({ 1, 1 }));
    EXPECT_TRUE(isReasonable({ 30000, 17000 }));
    EXPECT_FALSE(isReasonable({ 60000, 60000 }));
    EXPECT_FALSE(isReasonable({ 2147483647, 2147483647 }));
    EXPECT_FALSE(isReasonable({ 0, 5 }));
    EXPECT_FALSE(isReasonable({ 5, -5 }));
}

TEST(PictureFormats, TakePageDescriptionsForNoPictures)
{
    const Formats formats { tests::kFakeTable };
    for (const QByteArray head : { "%PDF-1.7 x", "%!PS x", "\xC5\xD0\xD3\xC6 x" }) {
        FileBytes file(head);
        EXPECT_FALSE(formatOf(file, formats)) << head.data();
    }
    FileBytes picture(QByteArray("4x3"));
    EXPECT_TRUE(formatOf(picture, formats));
    FileBytes empty((QByteArray()));
    EXPECT_FALSE(formatOf(empty, formats));
}

TEST(PictureFormats, OfPhotographsAreAmongAll)
{
    for (const PictureFormat& format : photographFormats().pictures) {
        const auto& all = allFormats().pictures;
        EXPECT_TRUE(std::any_of(all.begin(), all.end(), [&](const PictureFormat& other) {
            return qstrcmp(other.name, format.name) == 0 && other.open == format.open;
        })) << format.name;
    }
    EXPECT_FALSE(photographFormats().openMovieFrame);
    EXPECT_TRUE(allFormats().openMovieFrame);
}

} // namespace

} // namespace quorvane
