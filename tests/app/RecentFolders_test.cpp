// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/RecentFolders.h"
#include "platform/FolderFinder.h"
#include "platform/MainQueue.h"
#include "platform/UserDefaults.h"
#include "settings/SettingsCatalogue.h"
#include "support/BusyPool.h"
#include "support/ByteFolder.h"

#include <gtest/gtest.h>

#include <string>

namespace quorvane {

namespace {

using namespace tests;

using Names = std::vector<std::string>;

struct RecentFoldersTest : testing::Test {
    static void settle()
    {
        constexpr int kRounds = 3; // What is removed is followed by a change.
        for (int i = 0; i < kRounds; ++i) {
            FolderFinder::drain();
            MainQueue::drain();
        }
    }

    /// Holds the question for the bookmark, or for the path, of this folder.
    BookmarkServices holding(const char* name)
    {
        BookmarkServices services;
        services.bookmarkForPath = [this, held = files.path(name)](const QByteArray& path) {
            if (path == held)
                stop.halt();
            return Bookmark::bookmarkForPath(path);
        };
        services.resolve = [this, held = files.path(name)](const Bookmark& bookmark) {
            if (bookmark.path() == held)
                stop.halt();
            return bookmark.resolve();
        };
        return services;
    }

    void remember(const char* name)
    {
        recents.remember(files.folder(name));
        settle();
    }

    void removeFolder(const char* name) const { ASSERT_EQ(rmdir(files.path(name).constData()), 0); }

    static std::string name(const QByteArray& path)
    {
        return path.mid(path.lastIndexOf('/') + 1).toStdString();
    }

    static Names names(const RecentFolders& list)
    {
        Names names;
        for (const QByteArray& path : list.paths())
            names.push_back(name(path));
        return names;
    }
    Names names() const { return names(recents); }

    Names stored() const
    {
        Names names;
        for (const QVariant& item : defaults.arrayValue(kRecentFolderBookmarks)) {
            const auto bookmark = Bookmark::fromData(item.toByteArray());
            names.push_back(bookmark ? name(bookmark->path()) : "?");
        }
        return names;
    }

    const ByteFolder files;
    const Stop stop;
    UserDefaults defaults;
    FolderFinder finder;
    int changes = 0;
    RecentFolders recents { defaults, finder, [this] { ++changes; } };
};

using Remembering = RecentFoldersTest;
using Loading = RecentFoldersTest;
using Looking = RecentFoldersTest;
using Clearing = RecentFoldersTest;

TEST_F(Remembering, PutsTheNewestInFront)
{
    remember("a");
    remember("b");

    EXPECT_EQ(names(), Names({ "b", "a" }));
    EXPECT_EQ(stored(), Names({ "b", "a" }));
    EXPECT_EQ(changes, 2);
}

TEST_F(Remembering, AFolderAgainMovesItToTheFront)
{
    for (const char* const name : { "a", "b", "c", "a", "a" })
        remember(name);

    EXPECT_EQ(names(), Names({ "a", "c", "b" }));
    EXPECT_EQ(stored(), names());
}

TEST_F(Remembering, AnEleventhFolderDropsTheOldest)
{
    for (const char* const name : { "0", "1", "2", "3", "4", "5", "6", "7", "8", "9" })
        remember(name);
    EXPECT_EQ(recents.count(), 10U);
    remember("10");

    EXPECT_EQ(names(), Names({ "10", "9", "8", "7", "6", "5", "4", "3", "2", "1" }));
    EXPECT_EQ(stored(), names());
}

TEST_F(Remembering, IsForFoldersThatAreThere)
{
    recents.remember(files.file("file"));
    recents.remember(files.path("missing"));
    recents.remember({});
    settle();

    EXPECT_TRUE(names().empty());
    EXPECT_EQ(changes, 0);
    EXPECT_FALSE(defaults.hasValue(kRecentFolderBookmarks));
}

TEST_F(Remembering, NeverPutsAnEmptyEntryIntoTheList)
{
    BookmarkServices failing;
    failing.bookmarkForPath = [](const QByteArray&) { return std::optional<Bookmark>(); };
    FolderFinder failingFinder(failing);
    RecentFolders list(defaults, failingFinder, [] {});

    list.remember(files.folder("a"));
    settle();

    EXPECT_EQ(list.count(), 0U);
    EXPECT_TRUE(stored().empty());
}

TEST_F(Remembering, TakesTwoSpellingsForOneFolder)
{
    remember("a");
    remember("b");
    recents.remember(files.path("a/"));
    settle();

    EXPECT_EQ(names(), Names({ "a", "b" }));
}

TEST_F(Remembering, ComparesPathsByTheirBytes)
{
    for (const char* const name : { "a", "A", "\xC3\xBC", "u\xCC\x88", "\xFF", "\xFE" })
        remember(name);

    EXPECT_EQ(recents.count(), 6U);
}

TEST_F(Remembering, KeepsTheOrderOfOpeningWhicheverDiskAnswersFirst)
{
    FolderFinder slow(holding("slow"));
    RecentFolders list(defaults, slow, [] {});
    list.remember(files.folder("old"));
    settle();

    list.remember(files.folder("slow"));
    stop.waitForArrival();
    list.remember(files.folder("fast"));
    while (list.count() < 2)
        MainQueue::drain();
    stop.release();
    settle();

    EXPECT_EQ(names(list), Names({ "fast", "slow", "old" }));
    EXPECT_EQ(stored(), names(list));
}

TEST_F(Remembering, DoesNotMoveAFolderBackThatWasOpenedOnceMore)
{
    FolderFinder slow(holding("a/")); // One of two spellings.
    RecentFolders list(defaults, slow, [] {});
    files.folder("a");
    list.remember(files.path("a/"));
    stop.waitForArrival();
    list.remember(files.folder("b"));
    list.remember(files.path("a"));
    while (list.count() < 2)
        MainQueue::drain();

    stop.release();
    settle();

    EXPECT_EQ(names(list), Names({ "a", "b" }));
}

TEST_F(Loading, GivesWhatWasStored)
{
    for (const char* const name : { "a", "\xFF b", "c" })
        remember(name);

    RecentFolders later(defaults, finder, [this] { ++changes; });
    later.load();

    EXPECT_EQ(names(later), Names({ "c", "\xFF b", "a" }));
    EXPECT_EQ(changes, 3) << "nothing has changed";
}

TEST_F(Loading, PassesOverWhatIsNoData)
{
    remember("a");
    const QVariantList list { QStringLiteral("text"), 1, true, QVariantList(), QVariantMap(),
        defaults.arrayValue(kRecentFolderBookmarks).front(), 2.5 };
    defaults.setValue(kRecentFolderBookmarks, list);
    changes = 0;

    RecentFolders later(defaults, finder, [this] { ++changes; });
    later.load();

    EXPECT_EQ(names(later), Names({ "a" }));
    EXPECT_EQ(changes, 0);
    EXPECT_EQ(defaults.arrayValue(kRecentFolderBookmarks), list) << "nothing was removed";
}

TEST_F(Loading, PassesOverAValueThatIsNoList)
{
    for (const QVariant& value : { QVariant(QStringLiteral("text")), QVariant(QByteArray("\x01")),
             QVariant(QVariantMap()), QVariant(5) }) {
        defaults.setValue(kRecentFolderBookmarks, value);

        recents.load();

        EXPECT_EQ(recents.count(), 0U);
        EXPECT_EQ(defaults.value(kRecentFolderBookmarks).typeId(),
            value.typeId() == QMetaType::Int ? QMetaType::LongLong : value.typeId());
    }
}

TEST_F(Loading, TakesBookmarksThatItDoesNotUnderstandOutOfTheStore)
{
    remember("a");
    defaults.setValue(kRecentFolderBookmarks,
        QVariantList { QByteArray(), QByteArray("garbage"),
            defaults.arrayValue(kRecentFolderBookmarks).front(), QByteArray("\x02later") });

    RecentFolders later(defaults, finder, [] {});
    later.load();

    EXPECT_EQ(names(later), Names({ "a" }));
    EXPECT_EQ(stored(), Names({ "a" }));
}

TEST_F(Loading, KeepsTenFoldersEachOnce)
{
    QVariantList list;
    for (int i = 0; i < 25; ++i)
        list << Bookmark::bookmarkForPath(files.folder(QByteArray::number(i / 2)))->data();
    defaults.setValue(kRecentFolderBookmarks, list);

    recents.load();

    EXPECT_EQ(names(), Names({ "0", "1", "2", "3", "4", "5", "6", "7", "8", "9" }));
    EXPECT_EQ(stored(), names());
}

TEST_F(Loading, PutsNewFoldersBeforeTheOldOnes)
{
    remember("a");
    RecentFolders later(defaults, finder, [] {});
    later.load();

    later.remember(files.folder("b"));
    settle();

    EXPECT_EQ(names(later), Names({ "b", "a" }));
}

TEST_F(Looking, KeepsFoldersThatAreThere)
{
    remember("a");
    remember("b");
    const QVariant before = defaults.value(kRecentFolderBookmarks);
    changes = 0;

    recents.look();
    settle();

    EXPECT_EQ(names(), Names({ "b", "a" }));
    EXPECT_EQ(changes, 0);
    EXPECT_EQ(defaults.value(kRecentFolderBookmarks), before);
}

TEST_F(Looking, TakesOutWhatIsGone)
{
    for (const char* const name : { "a", "b", "c", "d" })
        remember(name);
    removeFolder("b");
    removeFolder("d");
    files.file("d");
    changes = 0;

    recents.look();
    EXPECT_EQ(names(), Names({ "d", "c", "b", "a" })) << "nobody waits for a disk";
    settle();

    EXPECT_EQ(names(), Names({ "c", "a" }));
    EXPECT_EQ(stored(), names());
    EXPECT_EQ(changes, 2);
}

TEST_F(Looking, TakesOutWhatIsStale)
{
    BookmarkServices services;
    services.resolve = [](const Bookmark& bookmark) {
        return std::optional(ResolvedBookmark { FileURL(bookmark.path()), true });
    };
    FolderFinder staleFinder(services);
    RecentFolders list(defaults, staleFinder, [] {});
    list.remember(files.folder("a"));
    settle();

    list.look();
    settle();

    EXPECT_EQ(list.count(), 0U);
    EXPECT_TRUE(stored().empty());
}

TEST_F(Looking, LeavesAFolderAloneWhoseDiskDoesNotAnswer)
{
    FolderFinder slow(holding("hanging"));
    RecentFolders list(defaults, slow, [this] { ++changes; });
    for (const char* const name : { "hanging", "gone", "there" })
        defaults.setValue(kRecentFolderBookmarks,
            QVariantList { Bookmark::bookmarkForPath(files.folder(name))->data() }
                + defaults.arrayValue(kRecentFolderBookmarks));
    list.load();
    removeFolder("gone");

    list.look();
    stop.waitForArrival();
    while (changes < 1)
        MainQueue::drain();

    EXPECT_EQ(names(list), Names({ "there", "hanging" }));
    EXPECT_EQ(stored(), names(list));
    stop.release();
    settle();
    EXPECT_EQ(names(list), Names({ "there", "hanging" }));
}

TEST_F(Looking, DoesNotTakeOutWhatWasRememberedMeanwhile)
{
    BookmarkServices services;
    services.resolve = [this](const Bookmark&) {
        stop.halt();
        return std::optional<ResolvedBookmark>(); // Plugged in a moment too late.
    };
    FolderFinder slow(services);
    RecentFolders list(defaults, slow, [this] { ++changes; });
    list.remember(files.folder("a"));
    settle();
    list.look();
    stop.waitForArrival();

    list.remember(files.path("a"));
    while (changes < 2)
        MainQueue::drain();
    stop.release();
    settle();

    EXPECT_EQ(names(list), Names({ "a" }));
    EXPECT_EQ(stored(), Names({ "a" }));
}

TEST_F(Clearing, ForgetsAll)
{
    remember("a");
    remember("b");
    changes = 0;

    recents.clear();

    EXPECT_TRUE(names().empty());
    EXPECT_EQ(changes, 1);
    EXPECT_TRUE(defaults.hasValue(kRecentFolderBookmarks));
    EXPECT_TRUE(stored().empty());
}

TEST_F(Clearing, ForgetsWhatIsAboutToBeRemembered)
{
    recents.remember(files.folder("a"));
    recents.clear();
    settle();
    EXPECT_TRUE(names().empty());

    remember("b");
    EXPECT_EQ(names(), Names({ "b" }));
}

TEST_F(Clearing, IsNotUndoneByAnAnswerThatComesLate)
{
    remember("a");
    removeFolder("a");
    recents.look();
    FolderFinder::drain();
    recents.clear();
    changes = 0;

    settle();

    EXPECT_EQ(changes, 0);
}

TEST_F(RecentFoldersTest, KnowsThePlaceOfAFolder)
{
    remember("a");
    remember("b");

    EXPECT_EQ(recents.indexOf(files.path("b")), 0U);
    EXPECT_EQ(recents.indexOf(files.path("a")), 1U);
    EXPECT_FALSE(recents.indexOf(files.path("c")));
    EXPECT_EQ(recents.at(1).path(), files.path("a"));
}

} // namespace

} // namespace quorvane
