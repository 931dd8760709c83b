// SPDX-License-Identifier: GPL-3.0-or-later
// Replacing files whole.
#include "SettingsLog.h"
#include "platform/FileReplacement.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>

namespace quorvane {

namespace {

mode_t modeOf(const QByteArray& path)
{
    struct stat status { };
    return stat(path.constData(), &status) == 0 ? status.st_mode & 07777 : 0;
}

ino_t numberOf(const QByteArray& path)
{
    struct stat status { };
    return lstat(path.constData(), &status) == 0 ? status.st_ino : 0;
}

TEST(FileReplacement, FindsTheFolderOfAPath)
{
    EXPECT_EQ(folderOf("/a/b/c"), QByteArray("/a/b"));
    EXPECT_EQ(folderOf("/a"), QByteArray("/"));
    EXPECT_EQ(folderOf("a"), QByteArray("."));
    EXPECT_EQ(folderOf("a/b"), QByteArray("a"));
}

TEST(FileReplacement, FollowsLinksToAnEndThatNeedNotExist)
{
    const tests::SettingsFolder folder;
    ASSERT_EQ(symlink("two", folder.path("one").constData()), 0);
    ASSERT_EQ(symlink(folder.path("three").constData(), folder.path("two").constData()), 0);

    EXPECT_EQ(endOfLinks(folder.path("one")).value(), folder.path("three"));
    EXPECT_EQ(endOfLinks(folder.path("three")).value(), folder.path("three"));
    EXPECT_EQ(endOfLinks("/no/such/file").value(), QByteArray("/no/such/file"));
}

TEST(FileReplacement, DoesNotFollowLinksInACircle)
{
    const tests::SettingsFolder folder;
    ASSERT_EQ(symlink("two", folder.path("one").constData()), 0);
    ASSERT_EQ(symlink("one", folder.path("two").constData()), 0);

    EXPECT_FALSE(endOfLinks(folder.path("one")));
}

TEST(FileReplacement, MakesFoldersForTheUserAlone)
{
    const tests::SettingsFolder folder;

    const auto made = makeFolder(folder.path("a/b/c"));
    const auto again = makeFolder(folder.path("a/b/c"));

    EXPECT_TRUE(made);
    EXPECT_TRUE(again);
    EXPECT_EQ(modeOf(folder.path("a")), 0700U);
    EXPECT_EQ(modeOf(folder.path("a/b/c")), 0700U);
}

TEST(FileReplacement, MakesNoFolderBelowAFile)
{
    const tests::SettingsFolder folder;
    folder.write("x", "file");

    const auto made = makeFolder(folder.path("file/a/b"));

    ASSERT_FALSE(made);
    EXPECT_EQ(made.error().kind, ErrorKind::NotWritable);
}

TEST(FileReplacement, MakesANewFileForTheUserAlone)
{
    const tests::SettingsFolder folder;

    const auto replaced = replaceFile(folder.path("file"), "new");

    ASSERT_TRUE(replaced) << replaced.error().message.toStdString();
    EXPECT_EQ(folder.read("file"), QByteArray("new"));
    EXPECT_EQ(modeOf(folder.path("file")), 0600U);
    EXPECT_EQ(folder.names(), QStringList { QStringLiteral("file") });
}

TEST(FileReplacement, KeepsThePermissionsAndNothingElse)
{
    const tests::SettingsFolder folder;
    folder.write("the old contents, longer", "file");
    ASSERT_EQ(chmod(folder.path("file").constData(), 0664), 0);
    const ino_t before = numberOf(folder.path("file"));

    const auto replaced = replaceFile(folder.path("file"), "new");

    ASSERT_TRUE(replaced);
    EXPECT_EQ(folder.read("file"), QByteArray("new"));
    EXPECT_EQ(modeOf(folder.path("file")), 0664U);
    EXPECT_NE(numberOf(folder.path("file")), before); // Another file: nobody saw it half written.
}

TEST(FileReplacement, TakesAwayWhatAnEarlierProcessLeft)
{
    const tests::SettingsFolder folder;
    folder.write("half of so", ".file.new");

    ASSERT_TRUE(replaceFile(folder.path("file"), "new"));

    EXPECT_EQ(folder.names(), QStringList { QStringLiteral("file") });
    EXPECT_EQ(folder.read("file"), QByteArray("new"));
}

TEST(FileReplacement, WritesThroughNoLinkThatLiesInItsWay)
{
    const tests::SettingsFolder folder;
    folder.write("precious", "other");
    ASSERT_EQ(symlink("other", folder.path(".file.new").constData()), 0);

    ASSERT_TRUE(replaceFile(folder.path("file"), "new"));

    EXPECT_EQ(folder.read("other"), QByteArray("precious"));
    EXPECT_EQ(folder.read("file"), QByteArray("new"));
}

TEST(FileReplacement, LeavesTheOldFileWhenTheDiskIsFull)
{
    const tests::SettingsFolder folder;
    folder.write("old", "file");
    const auto before = std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit {};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &limit), 0);
    const rlimit small { 100, limit.rlim_max };
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);

    const auto replaced = replaceFile(folder.path("file"), QByteArray(1000, 'x'));

    setrlimit(RLIMIT_FSIZE, &limit);
    std::signal(SIGXFSZ, before);
    ASSERT_FALSE(replaced);
    EXPECT_EQ(replaced.error().kind, ErrorKind::NotWritable);
    EXPECT_EQ(folder.read("file"), QByteArray("old"));
    EXPECT_EQ(folder.names(), QStringList { QStringLiteral("file") });
}

TEST(FileReplacement, LeavesNothingBesideAFolderInItsPlace)
{
    const tests::SettingsFolder folder;
    ASSERT_TRUE(makeFolder(folder.path("file/inside")));

    const auto replaced = replaceFile(folder.path("file"), "new");

    EXPECT_FALSE(replaced);
    EXPECT_EQ(folder.names(), QStringList { QStringLiteral("file") });
}

TEST(FileReplacement, RenamesToAFreeNameOnly)
{
    const tests::SettingsFolder folder;
    folder.write("from", "from");
    folder.write("taken", "taken");

    const auto taken = renameToFreeName(folder.path("from"), folder.path("taken"));
    const auto free = renameToFreeName(folder.path("from"), folder.path("free"));
    const auto missing = renameToFreeName(folder.path("from"), folder.path("other"));

    ASSERT_FALSE(taken);
    EXPECT_EQ(taken.error().kind, ErrorKind::InvalidArgument);
    EXPECT_TRUE(free);
    ASSERT_FALSE(missing);
    EXPECT_EQ(missing.error().kind, ErrorKind::NotWritable);
    EXPECT_EQ(folder.read("taken"), QByteArray("taken"));
    EXPECT_EQ(folder.read("free"), QByteArray("from"));
    EXPECT_TRUE(folder.read("from").isNull());
}

} // namespace

} // namespace quorvane
