// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/Bookmark.h"
#include "platform/FileStatus.h"
#include "support/ByteFolder.h"

#include <gtest/gtest.h>

#include <utility>

namespace quorvane {

namespace {

struct BookmarkTest : testing::Test {
    /// What the bookmark of a folder finds after it was stored.
    static std::optional<ResolvedBookmark> found(const QByteArray& data)
    {
        const auto bookmark = Bookmark::fromData(data);
        return bookmark ? bookmark->resolve() : std::nullopt;
    }
    QByteArray dataOf(const QByteArray& name) const
    {
        const auto bookmark = Bookmark::bookmarkForPath(files.path(name));
        return bookmark ? bookmark->data() : QByteArray();
    }

    const tests::ByteFolder files;
};

TEST_F(BookmarkTest, FindsItsFolderAgain)
{
    const QByteArray path = files.folder("a");

    const auto folder = found(dataOf("a"));

    ASSERT_TRUE(folder);
    EXPECT_EQ(folder->url, FileURL(path));
    EXPECT_FALSE(folder->isStale);
}

TEST_F(BookmarkTest, KeepsThePathByteForByte)
{
    for (const char* const name : { "gr\xC3\xBC\xC3\x9F"
                                    "e",
             "\xFF\xFE no text", "a;b", "a%20b", "line\nbreak", " " }) {
        const QByteArray path = files.folder(name);

        const auto bookmark = Bookmark::fromData(dataOf(name));

        ASSERT_TRUE(bookmark) << name;
        EXPECT_EQ(bookmark->path(), path);
        ASSERT_TRUE(bookmark->resolve()) << name;
        EXPECT_EQ(bookmark->resolve()->url.path(), path);
    }
}

TEST_F(BookmarkTest, TellsItsPathWhenTheFolderIsGone)
{
    const QByteArray path = files.folder("a");
    const QByteArray data = dataOf("a");
    ASSERT_EQ(rmdir(path.constData()), 0);

    EXPECT_EQ(Bookmark::fromData(data)->path(), path);
    EXPECT_FALSE(found(data));
}

TEST_F(BookmarkTest, DoesNotFindAFolderThatWasRenamed)
{
    const QByteArray path = files.folder("a");
    const QByteArray data = dataOf("a");
    ASSERT_EQ(rename(path.constData(), files.path("b").constData()), 0);

    EXPECT_FALSE(found(data));
}

TEST_F(BookmarkTest, DoesNotTakeAFileForItsFolder)
{
    const QByteArray path = files.folder("a");
    const QByteArray data = dataOf("a");
    ASSERT_EQ(rmdir(path.constData()), 0);
    files.file("a");

    EXPECT_FALSE(found(data));
}

TEST_F(BookmarkTest, FindsAnotherFolderInThePlaceOfItsOwn)
{
    const QByteArray path = files.folder("a");
    const QByteArray data = dataOf("a");
    ASSERT_EQ(rename(path.constData(), files.path("b").constData()), 0);
    files.folder("a");
    ASSERT_NE(dataOf("a"), data) << "it is another one";

    const auto folder = found(data);

    ASSERT_TRUE(folder) << "as a stick is that was plugged in again";
    EXPECT_FALSE(folder->isStale);
    EXPECT_EQ(folder->url.path(), path);
}

TEST_F(BookmarkTest, IsTheSameForTheSameFolder)
{
    files.folder("a");

    EXPECT_EQ(dataOf("a"), dataOf("a"));
    EXPECT_FALSE(dataOf("a").isEmpty());
}

TEST_F(BookmarkTest, OfALinkKeepsThePathOfTheLink)
{
    files.folder("a");
    const QByteArray link = files.link("a", "link");

    const auto folder = found(dataOf("link"));

    ASSERT_TRUE(folder);
    EXPECT_EQ(folder->url.path(), link);
}

TEST_F(BookmarkTest, IsMadeOfFoldersOnly)
{
    files.file("file");
    files.link("nowhere", "dangling");
    files.pipe("pipe");

    for (const char* const name : { "file", "dangling", "pipe", "missing" })
        EXPECT_FALSE(Bookmark::bookmarkForPath(files.path(name))) << name;
    for (const QByteArray& path :
        { QByteArray(), QByteArray("."), QByteArray("usr"), QByteArray("/\0", 2) })
        EXPECT_FALSE(Bookmark::bookmarkForPath(path)) << path.toStdString();
}

TEST_F(BookmarkTest, HasOneSpellingOfAFolder)
{
    const QByteArray path = files.folder("a");
    files.folder("a/b");

    for (const char* const tail : { "", "/", "///", "/.", "/./", "/b/.." })
        EXPECT_EQ(dataOf(QByteArray("a") + tail), dataOf("a")) << tail;
    EXPECT_EQ(Bookmark::bookmarkForPath("//" + path)->path(), path);
    EXPECT_EQ(Bookmark::bookmarkForPath(files.path() + "/.//./a")->path(), path);
    for (const char* const root : { "/", "//", "/.", "/.." })
        EXPECT_EQ(Bookmark::bookmarkForPath(root)->path(), "/") << root;
    EXPECT_EQ(Bookmark::bookmarkForPath(files.folder("..."))->path(), files.path("..."));
}

TEST_F(BookmarkTest, AboveALinkIsWhatTheDiskSays)
{
    const QByteArray real = resolvingLinks(files.folder("a"));
    files.folder("a/b");
    files.link("a/b", "link");

    EXPECT_EQ(Bookmark::bookmarkForPath(files.path("link/.."))->path(), real);
}

TEST_F(BookmarkTest, IsReadForEverInThisForm)
{
    const QByteArray stored("\x01" // Version, device, inode, length, path.
                            "\x00\x00\x00\x00\x00\x00\x08\x02"
                            "\x00\x00\x00\x00\x00\x12\xD6\x87"
                            "\x00\x00\x00\x06"
                            "/a/\xFF b",
        1 + 8 + 8 + 4 + 6);

    const auto bookmark = Bookmark::fromData(stored);

    ASSERT_TRUE(bookmark);
    EXPECT_EQ(bookmark->path(), "/a/\xFF b");
    EXPECT_EQ(bookmark->data(), stored);
}

TEST_F(BookmarkTest, CutShortAnywhereLeadsNowhere)
{
    files.folder("a");
    files.folder("a/b");
    const QByteArray data = dataOf("a/b");

    for (qsizetype size = 0; size < data.size(); ++size)
        EXPECT_FALSE(Bookmark::fromData(data.first(size))) << size;
    EXPECT_TRUE(Bookmark::fromData(data));
    EXPECT_FALSE(Bookmark::fromData(data + '/'));
}

TEST_F(BookmarkTest, OfALaterVersionLeadsNowhere)
{
    files.folder("a");
    QByteArray data = dataOf("a");

    for (const int version : { 0, 2, 255 }) {
        data[0] = static_cast<char>(version);
        EXPECT_FALSE(Bookmark::fromData(data)) << version;
    }
}

TEST_F(BookmarkTest, OfGarbageLeadsNowhere)
{
    const QByteArray head = QByteArray(1, '\x01') + QByteArray(16, '\0');
    const QByteArray rows[] = { "", "book", QByteArray(100, '\0'), QByteArray(100, '\xFF'), "/home",
        head + QByteArray("\0\0\0\0", 4),
        head
            + QByteArray("\0\0\0\x01"
                         "a",
                5),
        head + QByteArray("\0\0\0\x03/\0a", 7), head + QByteArray("\xFF\xFF\xFF\xFF/", 5) };

    for (const QByteArray& row : rows)
        EXPECT_FALSE(Bookmark::fromData(row)) << row.toHex().toStdString();
}

TEST(FolderAccessTest, IsCountedFromBeginningToEnd)
{
    const int before = FolderAccess::count();
    {
        const FolderAccess one { FileURL("/a") };
        const FolderAccess same { FileURL("/a") };
        EXPECT_EQ(FolderAccess::count(), before + 2);
        EXPECT_EQ(one.url(), FileURL("/a"));
    }
    EXPECT_EQ(FolderAccess::count(), before);
}

TEST(FolderAccessTest, GoesOnWhenItIsHandedOver)
{
    const int before = FolderAccess::count();
    {
        FolderAccess one { FileURL("/a") };
        FolderAccess two(std::move(one));
        EXPECT_EQ(FolderAccess::count(), before + 1);
        EXPECT_EQ(two.url(), FileURL("/a"));

        FolderAccess three { FileURL("/b") };
        three = std::move(two);
        EXPECT_EQ(FolderAccess::count(), before + 1) << "to /b it has ended";
        EXPECT_EQ(three.url(), FileURL("/a"));
    }
    EXPECT_EQ(FolderAccess::count(), before);
}

} // namespace

} // namespace quorvane
