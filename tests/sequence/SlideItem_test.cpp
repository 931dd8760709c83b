// SPDX-License-Identifier: GPL-3.0-or-later
// One file of the show: its name, its date, what it is equal to and how it is ordered.
#include "sequence/SlideItem.h"
#include "support/ByteFolder.h"
#include "support/ManualClock.h"

#include <gtest/gtest.h>

#include <ostream>

namespace quorvane {
namespace {

using tests::ByteFolder;

constexpr qint64 kSecond = 1'000'000'000;

/// An item of a file that is not there: it has a name and no attributes.
std::shared_ptr<SlideItem> itemAt(const QByteArray& path)
{
    return SlideItem::itemWithURL(FileURL(path));
}

std::shared_ptr<SlideItem> itemModified(FileTime time)
{
    return SlideItem::itemWithURL(FileURL("/x/a.jpg"), { FileKind::Regular, time, 0 });
}

FileTime fileTime(qint64 nanoseconds) { return FileTime(Duration(nanoseconds)); }

int sign(int order) { return order < 0 ? -1 : (order > 0 ? 1 : 0); }

TEST(SlideItem, KeepsTheURLThatItWasMadeWith)
{
    const ByteFolder folder;
    folder.file("a.jpg");
    folder.link("a.jpg", "z.jpg");

    const auto item = SlideItem::itemWithURL(folder.url("z.jpg"));

    EXPECT_EQ(item->mURL(), folder.url("z.jpg"));
}

TEST(SlideItem, IsNamedByTheTargetOfALink)
{
    const ByteFolder folder;
    folder.file("deep/a.jpg");
    folder.link("deep", "way");
    folder.link("way/a.jpg", "middle.png");
    folder.link("middle.png", "z.jpg");

    EXPECT_EQ(itemAt(folder.path("z.jpg"))->mFileName(), "a.jpg");
    EXPECT_EQ(itemAt(folder.path("way/a.jpg"))->mFileName(), "a.jpg");
}

TEST(SlideItem, HasTheAttributesOfTheTargetOfALink)
{
    const ByteFolder folder;
    folder.file("a.jpg", "12345");
    folder.setModified("a.jpg", 7 * kSecond);
    folder.link("a.jpg", "z.jpg");

    const auto item = SlideItem::itemWithURL(folder.url("z.jpg"));

    ASSERT_TRUE(item->mAttributes());
    EXPECT_EQ(item->mAttributes()->kind, FileKind::Regular);
    EXPECT_EQ(item->mAttributes()->size, 5);
    EXPECT_EQ(item->fileModificationDate(), fileTime(7 * kSecond));
}

TEST(SlideItem, KnowsTheDateToTheNanosecond)
{
    const ByteFolder folder;
    folder.file("a.jpg");
    folder.setModified("a.jpg", 7 * kSecond + 123'456'789);

    EXPECT_EQ(SlideItem::itemWithURL(folder.url("a.jpg"))->fileModificationDate(),
        fileTime(7 * kSecond + 123'456'789));
}

TEST(SlideItem, OfAMissingFileHasANameAndNoAttributes)
{
    const auto item = itemAt("/nowhere/at all/a.jpg");

    EXPECT_EQ(item->mURL(), FileURL("/nowhere/at all/a.jpg"));
    EXPECT_EQ(item->mFileName(), "a.jpg");
    EXPECT_FALSE(item->mAttributes());
    EXPECT_FALSE(item->fileModificationDate());
}

TEST(SlideItem, OfABrokenLinkIsNamedByItself)
{
    const ByteFolder folder;
    folder.link("nothing.jpg", "z.jpg");

    EXPECT_EQ(itemAt(folder.path("z.jpg"))->mFileName(), "z.jpg");
}

TEST(SlideItem, OfTheEmptyURLIsEmpty)
{
    const auto item = SlideItem::itemWithURL(FileURL());

    EXPECT_TRUE(item->mURL().isEmpty());
    EXPECT_EQ(item->mFileName(), "");
    EXPECT_FALSE(item->mAttributes());
    EXPECT_FALSE(item->isJPG());
    EXPECT_LT(item->nameCompare(*itemAt("/x/a.jpg")), 0);
    EXPECT_LT(item->urlCompare(*itemAt("/x/a.jpg")), 0);
    EXPECT_EQ(item->dateCompare(*itemAt("/x/a.jpg")), 0);
}

TEST(SlideItem, TakesAStatusThatIsKnown)
{
    const auto item
        = SlideItem::itemWithURL(FileURL("/x/a.jpg"), { FileKind::Regular, fileTime(5), 3 });

    EXPECT_EQ(item->mFileName(), "a.jpg");
    EXPECT_EQ(item->fileModificationDate(), fileTime(5));
    EXPECT_EQ(item->mAttributes()->size, 3);
}

TEST(SlideItem, KeepsANameThatIsNoText)
{
    EXPECT_EQ(itemAt("/x/\xFF\n\xFE.jpg")->mFileName(), "\xFF\n\xFE.jpg");
}

TEST(SlideItem, ShowsAChangedFileOnlyWhenItIsReadAgain)
{
    const ByteFolder folder;
    folder.file("a.jpg");
    folder.file("b.jpg", "123");
    folder.setModified("a.jpg", 1 * kSecond);
    folder.setModified("b.jpg", 2 * kSecond);
    folder.link("a.jpg", "z.jpg");
    const auto item = SlideItem::itemWithURL(folder.url("z.jpg"));

    folder.remove("z.jpg");
    folder.link("b.jpg", "z.jpg");
    EXPECT_EQ(item->mFileName(), "a.jpg");
    EXPECT_EQ(item->fileModificationDate(), fileTime(1 * kSecond));
    item->refreshAttributes();

    EXPECT_EQ(item->mFileName(), "b.jpg");
    EXPECT_EQ(item->fileModificationDate(), fileTime(2 * kSecond));
    EXPECT_EQ(item->mAttributes()->size, 3);
}

TEST(SlideItem, LosesItsAttributesWhenItIsReadAgainAndGone)
{
    const ByteFolder folder;
    folder.file("a.jpg");
    const auto item = SlideItem::itemWithURL(folder.url("a.jpg"));

    folder.remove("a.jpg");
    item->refreshAttributes();

    EXPECT_FALSE(item->mAttributes());
    EXPECT_EQ(item->mFileName(), "a.jpg");
}

class SlideItemReady : public testing::Test {
protected:
    SlideItemReady() { clock.setFileTime(fileTime(100 * kSecond)); }

    /// An item that is made while the file has the one date, and asked when it has the other.
    bool isReady(qint64 madeAt, qint64 askedAt)
    {
        folder.file("a.jpg");
        folder.setModified("a.jpg", madeAt);
        item = SlideItem::itemWithURL(folder.url("a.jpg"));
        folder.setModified("a.jpg", askedAt);
        return item->isReady(clock);
    }

    ByteFolder folder;
    ManualClock clock;
    std::shared_ptr<SlideItem> item;
};

TEST_F(SlideItemReady, WhenLeftAloneForOneSecond)
{
    EXPECT_TRUE(isReady(99 * kSecond, 99 * kSecond));
}

TEST_F(SlideItemReady, NotWhenChangedWithinTheLastSecond)
{
    EXPECT_FALSE(isReady(99 * kSecond + 1, 99 * kSecond + 1));
    EXPECT_FALSE(isReady(100 * kSecond, 100 * kSecond));
}

TEST_F(SlideItemReady, NotWhenDatedInTheFuture)
{
    EXPECT_FALSE(isReady(200 * kSecond, 200 * kSecond));
}

TEST_F(SlideItemReady, DoesNotReadAgainWhatWasLeftAlone)
{
    EXPECT_TRUE(isReady(99 * kSecond, 100 * kSecond));
    EXPECT_EQ(item->fileModificationDate(), fileTime(99 * kSecond));
}

TEST_F(SlideItemReady, ReadsAgainWhatWasChangedLater)
{
    EXPECT_TRUE(isReady(100 * kSecond, 99 * kSecond));
    EXPECT_EQ(item->fileModificationDate(), fileTime(99 * kSecond));
    EXPECT_TRUE(isReady(200 * kSecond, 1 * kSecond));
    EXPECT_FALSE(isReady(100 * kSecond, 99 * kSecond + 1));
    EXPECT_EQ(item->fileModificationDate(), fileTime(99 * kSecond + 1));
}

TEST_F(SlideItemReady, NotWhenItCannotBeRead)
{
    EXPECT_FALSE(itemAt(folder.path("missing.jpg"))->isReady(clock));
}

TEST_F(SlideItemReady, WhenItHasComeMeanwhile)
{
    const auto late = SlideItem::itemWithURL(folder.url("late.jpg"));
    folder.file("late.jpg");
    folder.setModified("late.jpg", 99 * kSecond);

    EXPECT_TRUE(late->isReady(clock));
}

struct JPGRow {
    const char* path;
    bool isJPG;
};

void PrintTo(const JPGRow& row, std::ostream* out) { *out << row.path; }

class JPGTest : public testing::TestWithParam<JPGRow> { };

TEST_P(JPGTest, FollowsTheThreeLettersOfTheExtension)
{
    EXPECT_EQ(itemAt(GetParam().path)->isJPG(), GetParam().isJPG);
}

INSTANTIATE_TEST_SUITE_P(SlideItem, JPGTest,
    testing::Values(JPGRow { "/x/a.jpg", true }, JPGRow { "/x/a.JPG", true },
        JPGRow { "/x/a.jPg", true }, JPGRow { "/x/a.png.jpg", true }, JPGRow { "/x/a.jpeg", false },
        JPGRow { "/x/a.jpe", false }, JPGRow { "/x/a.png", false }, JPGRow { "/x/.jpg", false },
        JPGRow { "/x/jpg", false }, JPGRow { "/x/a.jpg.png", false },
        JPGRow { "/x.jpg/a", false }));

TEST(SlideItem, IsAJPEGByTheNameOfTheLinkAndNotOfItsTarget)
{
    const ByteFolder folder;
    folder.file("a.png");
    folder.file("b.jpg");
    folder.link("a.png", "z.jpg");
    folder.link("b.jpg", "z.png");

    EXPECT_TRUE(itemAt(folder.path("z.jpg"))->isJPG());
    EXPECT_FALSE(itemAt(folder.path("z.png"))->isJPG());
}

TEST(SlideItem, IsEqualToItemsOfTheSameURLOnly)
{
    const FileStatus early { FileKind::Regular, fileTime(1), 1 };
    const FileStatus late { FileKind::Regular, fileTime(2), 2 };
    const FileURL url("/x/a.jpg");

    EXPECT_EQ(*SlideItem::itemWithURL(url, early), *SlideItem::itemWithURL(url, late));
    EXPECT_FALSE(*itemAt("/x/a.jpg") == *itemAt("/y/a.jpg"));
    EXPECT_FALSE(*itemAt("/x/a.jpg") == *itemAt("/x/A.jpg"));
    EXPECT_FALSE(*itemAt("/x/a.jpg") == *itemAt("/x/./a.jpg"));
    EXPECT_FALSE(*itemAt("/x/a.jpg") == *SlideItem::itemWithURL(FileURL("/x/a.jpg", "p")));
    EXPECT_FALSE(*SlideItem::itemWithURL(FileURL("/x/a.jpg", ""))
        == *SlideItem::itemWithURL(FileURL("/x/a.jpg")));
}

TEST(SlideItem, IsNotEqualToTheTargetOfItsLink)
{
    const ByteFolder folder;
    folder.file("a.jpg");
    folder.link("a.jpg", "z.jpg");

    EXPECT_FALSE(*itemAt(folder.path("a.jpg")) == *itemAt(folder.path("z.jpg")));
}

TEST(SlideItem, HashesByItsURL)
{
    const std::hash<SlideItem> hash;

    EXPECT_EQ(hash(*itemAt("/x/a.jpg")), std::hash<FileURL>()(FileURL("/x/a.jpg")));
    EXPECT_EQ(hash(*itemAt("/x/a.jpg")), hash(*itemModified(fileTime(7))));
    EXPECT_NE(hash(*itemAt("/x/a.jpg")), hash(*itemAt("/x/b.jpg")));
}

/// Two paths and how the first stands to the second.
struct OrderRow {
    const char* left;
    const char* right;
    int order;
};

void PrintTo(const OrderRow& row, std::ostream* out) { *out << row.left << " : " << row.right; }

class NameOrder : public testing::TestWithParam<OrderRow> { };

TEST_P(NameOrder, IsByNumbersAndWithoutCase)
{
    const auto left = itemAt(GetParam().left);
    const auto right = itemAt(GetParam().right);

    EXPECT_EQ(sign(left->nameCompare(*right)), GetParam().order);
    EXPECT_EQ(sign(right->nameCompare(*left)), -GetParam().order);
}

INSTANTIATE_TEST_SUITE_P(SlideItem, NameOrder,
    testing::Values(OrderRow { "/x/img9.jpg", "/x/img10.jpg", -1 },
        OrderRow { "/x/img2.jpg", "/x/img10.jpg", -1 }, OrderRow { "/x/B.jpg", "/x/a.jpg", 1 },
        OrderRow { "/x/B.jpg", "/x/c.jpg", -1 }, OrderRow { "/x/img2.jpg", "/x/IMG2.JPG", 0 },
        OrderRow { "/x/img001.jpg", "/x/img1.jpg", 0 }, OrderRow { "/x/a", "/x/a1", -1 },
        OrderRow { "/x/a_b", "/x/ab", -1 }, OrderRow { "/z/a.jpg", "/a/b.jpg", -1 },
        OrderRow { "/x/1.5.jpg", "/x/1.10.jpg", -1 },
        OrderRow { "/x/\xC3\xA9.jpg", "/x/f.jpg", -1 },
        OrderRow { "/x/\xC3\xA9.jpg", "/x/e\xCC\x81.jpg", 0 }));

class BaseOrder : public testing::TestWithParam<OrderRow> { };

TEST_P(BaseOrder, IsByTheNameWithoutExtension)
{
    const auto left = itemAt(GetParam().left);
    const auto right = itemAt(GetParam().right);

    EXPECT_EQ(sign(left->baseCompare(*right)), GetParam().order);
    EXPECT_EQ(sign(right->baseCompare(*left)), -GetParam().order);
}

INSTANTIATE_TEST_SUITE_P(SlideItem, BaseOrder,
    testing::Values(OrderRow { "/x/a.jpg", "/x/a.png", 0 }, OrderRow { "/x/a.jpg", "/y/a.png", 0 },
        OrderRow { "/x/IMG_1.jpg", "/x/img_1.cr2", -1 },
        OrderRow { "/x/a.b.jpg", "/x/a.c.jpg", -1 }, OrderRow { "/x/img10.jpg", "/x/img9.jpg", -1 },
        OrderRow { "/x/a", "/x/a.jpg", 0 }, OrderRow { "/x/a.", "/x/a.jpg", 1 },
        OrderRow { "/x/.jpg", "/x/.png", -1 }, OrderRow { "/x/img01.jpg", "/x/img1.jpg", -1 }));

class URLOrder : public testing::TestWithParam<OrderRow> { };

TEST_P(URLOrder, IsByThePathLetterForLetter)
{
    const auto left = itemAt(GetParam().left);
    const auto right = itemAt(GetParam().right);

    EXPECT_EQ(sign(left->urlCompare(*right)), GetParam().order);
    EXPECT_EQ(sign(right->urlCompare(*left)), -GetParam().order);
}

INSTANTIATE_TEST_SUITE_P(SlideItem, URLOrder,
    testing::Values(OrderRow { "/x/B/1.jpg", "/x/a/1.jpg", -1 },
        OrderRow { "/x/img10.jpg", "/x/img9.jpg", -1 }, OrderRow { "/x/a.jpg", "/x/a.jpg", 0 },
        OrderRow { "/a/z.jpg", "/b/a.jpg", -1 }, OrderRow { "/x/a", "/x/a.jpg", -1 },
        OrderRow { "/x/z.jpg", "/x/\xC3\xA9.jpg", 1 }));

TEST(SlideItem, IsOrderedByThePathOfTheLinkAndNotOfItsTarget)
{
    const ByteFolder folder;
    folder.file("a.jpg");
    folder.file("m.jpg");
    folder.link("a.jpg", "z.jpg");

    EXPECT_GT(itemAt(folder.path("z.jpg"))->urlCompare(*itemAt(folder.path("m.jpg"))), 0);
    EXPECT_LT(itemAt(folder.path("z.jpg"))->nameCompare(*itemAt(folder.path("m.jpg"))), 0);
}

TEST(SlideItem, AddsTheParameterOfTheAddressToThePathThatHasOne)
{
    const auto item = [](const QByteArray& path, const QByteArray& parameter) {
        return SlideItem::itemWithURL(FileURL(path, parameter));
    };

    EXPECT_LT(item("/x/a", "1")->urlCompare(*item("/x/a", "2")), 0);
    EXPECT_EQ(item("/x/a", "1")->urlCompare(*item("/x/a", "1")), 0);
    EXPECT_GT(item("/x/a", "1")->urlCompare(*item("/x/a", {})), 0);
    EXPECT_LT(item("/x/a", {})->urlCompare(*item("/x/a", "")), 0);
    // ";" stands before letters and behind digits.
    EXPECT_LT(item("/x/a", "z")->urlCompare(*item("/x/ab", {})), 0);
    EXPECT_GT(item("/x/a", "0")->urlCompare(*item("/x/a9", {})), 0);
}

TEST(SlideItem, StandsByItsDateTheOlderFirst)
{
    EXPECT_LT(itemModified(fileTime(1))->dateCompare(*itemModified(fileTime(2))), 0);
    EXPECT_GT(itemModified(fileTime(2))->dateCompare(*itemModified(fileTime(1))), 0);
    EXPECT_EQ(itemModified(fileTime(2))->dateCompare(*itemModified(fileTime(2))), 0);
    EXPECT_LT(itemModified(fileTime(-1))->dateCompare(*itemModified(fileTime(0))), 0);
}

TEST(SlideItem, WithoutADateIsOlderThanAll)
{
    const auto undated = itemAt("/nowhere/a.jpg");

    EXPECT_LT(undated->dateCompare(*itemModified(fileTime(-100 * kSecond))), 0);
    EXPECT_GT(itemModified(fileTime(-100 * kSecond))->dateCompare(*undated), 0);
    EXPECT_EQ(undated->dateCompare(*itemAt("/nowhere/b.jpg")), 0);
}

} // namespace
} // namespace quorvane
