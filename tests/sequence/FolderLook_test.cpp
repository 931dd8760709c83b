// SPDX-License-Identifier: GPL-3.0-or-later
// What a look at a folder finds, on a disk that forbids things.
#include "platform/FolderWatches.h"
#include "platform/TypeIdentifier.h"
#include "sequence/FolderLook.h"
#include "support/ByteFolder.h"
#include "support/Unprivileged.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quorvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using tests::ByteFolder;

constexpr qint64 kLongAgo = 1'000'000'000'000'000'000;

class FolderLookTest : public testing::Test {
protected:
    FolderLookTest()
    {
        watch.folder = folder.path();
        watch.watches = FolderWatches::create();
        order.wallNow = FileTime(std::chrono::nanoseconds(2 * kLongAgo));
        order.now = TimePoint(std::chrono::hours(1));
    }

    FileURL put(const QByteArray& name) const
    {
        folder.file(name);
        folder.setModified(name, kLongAgo);
        return folder.url(name);
    }

    FolderLook look() { return lookAt(watch, order, listed, takenOut, unfinished); }

    std::vector<std::string> names(const SlideItems& items) const
    {
        std::vector<std::string> names;
        for (const auto& item : items)
            names.push_back(item->mURL().path().mid(folder.path().size() + 1).toStdString());
        std::sort(names.begin(), names.end());
        return names;
    }

    const TypeIdentifier::DecodersForTesting decoders { { QStringLiteral("jpg") } };
    ByteFolder folder;
    FolderWatch watch;
    LookOrder order;
    SlideList::Snapshot listed;
    std::vector<FileURL> takenOut;
    UnfinishedFiles unfinished;
};

TEST_F(FolderLookTest, FindsNothingWhereItMayNotReadAndAllWhenItMayAgain)
{
    if (!tests::Unprivileged::isPossible())
        GTEST_SKIP() << "the superuser cannot lay down any rights here";
    put("sub/b.jpg");
    listed.items = { SlideItem::itemWithURL(put("a.jpg")) };

    FolderLook forbidden;
    {
        const tests::Unprivileged unprivileged;
        forbidden = look();
    }
    listed.items.clear();
    const FolderLook allowed = look();

    EXPECT_THAT(names(forbidden.gone), ElementsAre("a.jpg"));
    EXPECT_THAT(forbidden.fresh, IsEmpty());
    EXPECT_THAT(names(allowed.fresh), ElementsAre("a.jpg", "sub/b.jpg"));
}

TEST_F(FolderLookTest, NeedsNoWatches)
{
    watch.watches = nullptr;
    put("sub/b.jpg");

    EXPECT_THAT(names(look().fresh), ElementsAre("sub/b.jpg"));
}

TEST_F(FolderLookTest, WatchesTheFoldersThatItMeetsAndForgetsTheOthers)
{
    put("one/two/a.jpg");
    look();
    EXPECT_EQ(watch.watches->count(), 3U);

    ASSERT_EQ(std::rename(folder.path("one/two").constData(), folder.path(".two").constData()), 0);
    look();

    EXPECT_EQ(watch.watches->count(), 2U);
}

TEST_F(FolderLookTest, WatchesNoFolderWhoseFilesAreTooDeep)
{
    put("one/two/a.jpg");
    order.maxLevel = 2;

    look();

    EXPECT_EQ(watch.watches->count(), 2U);
}

TEST_F(FolderLookTest, ThatIsBrokenOffFindsNothing)
{
    put("a.jpg");
    watch.isOver = true;

    const FolderLook found = look();

    EXPECT_THAT(found.fresh, IsEmpty());
    EXPECT_THAT(found.gone, IsEmpty());
}

} // namespace
} // namespace quorvane
