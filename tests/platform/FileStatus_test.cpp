// SPDX-License-Identifier: GPL-3.0-or-later
// What a path leads to.
#include "platform/FileStatus.h"
#include "support/FixtureFolder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace quorvane {

namespace {

using namespace std::chrono_literals;
using tests::FixtureFolder;

std::optional<FileKind> kindOf(const std::optional<FileStatus>& status)
{
    return status ? std::optional(status->kind) : std::nullopt;
}

void setModified(const QByteArray& path, timespec moment)
{
    const timespec times[] = { { 0, UTIME_OMIT }, moment };
    ASSERT_EQ(utimensat(AT_FDCWD, path.constData(), times, AT_SYMLINK_NOFOLLOW), 0);
}

TEST(FileStatus, TellsTheKinds)
{
    const FixtureFolder folder;

    EXPECT_EQ(kindOf(fileStatus(folder.write("file"))), FileKind::Regular);
    EXPECT_EQ(kindOf(fileStatus(folder.makeFolder("folder"))), FileKind::Folder);
    EXPECT_EQ(kindOf(fileStatus(folder.makePipe("pipe"))), FileKind::Special);
    EXPECT_EQ(kindOf(fileStatus(folder.makeSocket("socket"))), FileKind::Special);
    EXPECT_EQ(kindOf(fileStatus("/dev/null")), FileKind::Special);
}

TEST(FileStatus, FollowsLinksToTheirEnd)
{
    const FixtureFolder folder;
    folder.write("file", "12345");
    folder.makeFolder("folder");
    folder.makeLink("one", "file");

    EXPECT_EQ(kindOf(fileStatus(folder.makeLink("two", "one"))), FileKind::Regular);
    EXPECT_EQ(fileStatus(folder.path("two"))->size, 5);
    EXPECT_EQ(kindOf(fileStatus(folder.makeLink("three", "folder"))), FileKind::Folder);
}

TEST(FileStatus, IsNothingWhereThePathLeadsNowhere)
{
    const FixtureFolder folder;
    folder.write("file");

    EXPECT_FALSE(fileStatus(folder.path("absent")));
    EXPECT_FALSE(fileStatus(folder.makeLink("dangling", "absent")));
    EXPECT_FALSE(fileStatus(folder.makeLink("circle", "circle")));
    EXPECT_FALSE(fileStatus(folder.path("file/below")));
    EXPECT_FALSE(fileStatus({}));
}

TEST(FileStatus, TellsTheSize)
{
    const FixtureFolder folder;
    const QByteArray large = folder.write("large");
    ASSERT_EQ(truncate(large.constData(), off_t(5) << 32), 0);

    EXPECT_EQ(fileStatus(folder.write("empty"))->size, 0);
    EXPECT_EQ(fileStatus(folder.write("seven", "1234567"))->size, 7);
    EXPECT_EQ(fileStatus(large)->size, qint64(5) << 32);
}

TEST(FileStatus, TellsWhenTheContentsChangedToTheNanosecond)
{
    const FixtureFolder folder;
    const QByteArray path = folder.write("file");

    setModified(path, { 1'700'000'000, 123'456'789 });
    EXPECT_EQ(fileStatus(path)->modified, FileTime(1'700'000'000s + 123'456'789ns));

    setModified(path, { -5, 500'000'000 });
    EXPECT_EQ(fileStatus(path)->modified, FileTime(-5s + 500ms));
}

TEST(FileStatus, KnowsNamesOfAnyBytes)
{
    const FixtureFolder folder;
    for (const QByteArray& name :
        { QByteArray("\xFF\x80"), QByteArray("a\nb"), QByteArray(255, 'n') })
        EXPECT_EQ(kindOf(fileStatus(folder.write(name))), FileKind::Regular);
}

TEST(LinkStatus, TakesALinkForALink)
{
    const FixtureFolder folder;
    folder.write("file", "12345");
    const QByteArray link = folder.makeLink("link", "file");
    setModified(link, { 1'600'000'000, 0 });

    ASSERT_TRUE(linkStatus(link));
    EXPECT_EQ(linkStatus(link)->kind, FileKind::Link);
    EXPECT_EQ(linkStatus(link)->modified, FileTime(1'600'000'000s));
    EXPECT_EQ(linkStatus(link)->size, 4); // As long as what it says.
    EXPECT_EQ(kindOf(linkStatus(folder.makeLink("dangling", "absent"))), FileKind::Link);
}

TEST(LinkStatus, TellsTheOtherKindsLikeFileStatus)
{
    const FixtureFolder folder;

    EXPECT_EQ(kindOf(linkStatus(folder.write("file"))), FileKind::Regular);
    EXPECT_EQ(kindOf(linkStatus(folder.makeFolder("folder"))), FileKind::Folder);
    EXPECT_EQ(kindOf(linkStatus(folder.makePipe("pipe"))), FileKind::Special);
    EXPECT_FALSE(linkStatus(folder.path("absent")));
}

TEST(ResolvingLinks, ResolvesEveryLinkInThePath)
{
    const FixtureFolder folder;
    const QByteArray root = resolvingLinks(folder.path()); // The temporary folder may be a link.
    folder.makeFolder("real");
    folder.write("real/file");
    folder.makeLink("folder", "real");
    folder.makeLink("real/link", "file");

    EXPECT_EQ(resolvingLinks(folder.path("folder/link")), root + "/real/file");
    EXPECT_EQ(resolvingLinks(folder.path("folder/../folder/")), root + "/real");
}

TEST(ResolvingLinks, LeavesAPathThatLeadsNowhereAsItIs)
{
    const FixtureFolder folder;
    folder.makeLink("dangling", "absent");
    folder.makeLink("circle", "circle");

    for (const QByteArray& path : { folder.path("absent/../x"), folder.path("dangling"),
             folder.path("circle"), QByteArray("/no/./such/file") })
        EXPECT_EQ(resolvingLinks(path), path);
}

TEST(ResolvingLinks, KeepsNamesOfAnyBytes)
{
    const FixtureFolder folder;
    folder.write("\xFF\n");
    folder.makeLink("link", "\xFF\n");

    EXPECT_TRUE(resolvingLinks(folder.path("link")).endsWith("/\xFF\n"));
}

} // namespace

} // namespace quorvane
