// SPDX-License-Identifier: GPL-3.0-or-later
// Walks through folders, sound ones and others.
#include "platform/DirectoryWalker.h"
#include "support/FixtureFolder.h"
#include "support/Unprivileged.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <climits>
#include <map>
#include <set>
#include <string>

namespace quorvane {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using tests::FixtureFolder;
using tests::Unprivileged;

using Entries = std::vector<DirectoryEntry>;

/// All that `walker` still meets.
Entries rest(DirectoryWalker& walker)
{
    Entries entries;
    while (auto entry = walker.next())
        entries.push_back(std::move(*entry));
    return entries;
}

Entries walk(const QByteArray& folder)
{
    DirectoryWalker walker(folder);
    return rest(walker);
}

std::vector<std::string> paths(const Entries& entries)
{
    std::vector<std::string> result;
    for (const DirectoryEntry& entry : entries)
        result.push_back(entry.relativePath.toStdString());
    return result;
}

/// Goes on until the entry `path` has been met.
bool walkTo(DirectoryWalker& walker, const QByteArray& path)
{
    while (const auto entry = walker.next()) {
        if (entry->relativePath == path)
            return true;
    }
    return false;
}

/// Whether each folder comes before what it holds, and all of that before anything else.
bool isDepthFirst(const Entries& entries)
{
    std::vector<QByteArray> parents { {} };
    for (const DirectoryEntry& entry : entries) {
        if (entry.level < 1 || static_cast<size_t>(entry.level) > parents.size())
            return false;
        parents.resize(static_cast<size_t>(entry.level));
        const auto slash = entry.relativePath.lastIndexOf('/');
        if (entry.relativePath.left(std::max<qsizetype>(slash, 0)) != parents.back())
            return false;
        parents.push_back(entry.relativePath);
    }
    return true;
}

/// Lowers how many descriptors this program may have, while it lives.
class DescriptorLimit {
public:
    explicit DescriptorLimit(rlim_t limit)
    {
        getrlimit(RLIMIT_NOFILE, &mBefore);
        const rlimit lowered { limit, mBefore.rlim_max };
        setrlimit(RLIMIT_NOFILE, &lowered);
    }
    ~DescriptorLimit() { setrlimit(RLIMIT_NOFILE, &mBefore); }
    DescriptorLimit(const DescriptorLimit&) = delete;
    DescriptorLimit& operator=(const DescriptorLimit&) = delete;

private:
    rlimit mBefore = {};
};

/// "d", "d/d", and so on down to `levels`, each between two files with names of their own: in
/// whatever order the file system lists names, much is left to read after some of the folders.
void makeDeepTree(const FixtureFolder& folder, int levels)
{
    QByteArray path;
    for (int level = 0; level < levels; ++level) {
        folder.write(path + 'a' + QByteArray::number(level));
        folder.makeFolder(path + 'd');
        folder.write(path + 'z' + QByteArray::number(level));
        path += "d/";
    }
}

TEST(DirectoryWalker, MeetsAllThatLiesInAFolder)
{
    const FixtureFolder folder;
    folder.write("file");
    folder.write(".hidden");
    folder.makeFolder("empty");
    folder.makeFolder("sub");
    folder.write("sub/file");
    folder.makeFolder("sub/.hidden");
    folder.write("sub/.hidden/file");

    EXPECT_THAT(paths(walk(folder.path())),
        UnorderedElementsAre(
            "file", ".hidden", "empty", "sub", "sub/file", "sub/.hidden", "sub/.hidden/file"));
}

TEST(DirectoryWalker, MeetsAFolderBeforeWhatItHolds)
{
    const FixtureFolder folder;
    for (const char* name : { "a", "a/b", "a/b/c", "d", "d/e" }) {
        folder.makeFolder(name);
        folder.write(QByteArray(name) + "/1");
        folder.write(QByteArray(name) + "/2");
    }

    const Entries entries = walk(folder.path());

    EXPECT_EQ(entries.size(), 15U);
    EXPECT_TRUE(isDepthFirst(entries));
}

TEST(DirectoryWalker, CountsLevelsFromOne)
{
    const FixtureFolder folder;
    folder.makeFolder("a");
    folder.makeFolder("a/b");
    folder.write("a/b/c");
    folder.write("d");

    std::map<std::string, int> levels;
    for (const DirectoryEntry& entry : walk(folder.path()))
        levels[entry.relativePath.toStdString()] = entry.level;

    EXPECT_THAT(levels,
        UnorderedElementsAre(testing::Pair("a", 1), testing::Pair("a/b", 2),
            testing::Pair("a/b/c", 3), testing::Pair("d", 1)));
}

TEST(DirectoryWalker, TellsTheKindOfTheEntryItself)
{
    const FixtureFolder folder;
    folder.write("file");
    folder.makeFolder("folder");
    folder.makePipe("pipe");
    folder.makeSocket("socket");
    folder.makeLink("link", "file");
    folder.makeLink("folder-link", "folder");
    folder.makeLink("dangling", "absent");

    std::map<std::string, FileKind> kinds;
    for (const DirectoryEntry& entry : walk(folder.path()))
        kinds[entry.relativePath.toStdString()] = entry.kind;

    EXPECT_THAT(kinds,
        UnorderedElementsAre(testing::Pair("file", FileKind::Regular),
            testing::Pair("folder", FileKind::Folder), testing::Pair("pipe", FileKind::Special),
            testing::Pair("socket", FileKind::Special), testing::Pair("link", FileKind::Link),
            testing::Pair("folder-link", FileKind::Link),
            testing::Pair("dangling", FileKind::Link)));
}

TEST(DirectoryWalker, DoesNotEnterASkippedFolder)
{
    const FixtureFolder folder;
    folder.makeFolder("a");
    folder.write("a/1");
    folder.makeFolder("b");
    folder.write("b/1");
    DirectoryWalker walker(folder.path());

    Entries entries;
    while (auto entry = walker.next()) {
        if (entry->relativePath == "a")
            walker.skipDescendants();
        entries.push_back(std::move(*entry));
    }

    EXPECT_THAT(paths(entries), UnorderedElementsAre("a", "b", "b/1"));
}

TEST(DirectoryWalker, SkipsNothingAfterAFile)
{
    const FixtureFolder folder;
    folder.makeFolder("a");
    folder.write("a/1");
    folder.write("a/2");
    folder.makeFolder("a/b");
    folder.write("a/b/1");
    DirectoryWalker walker(folder.path());
    walker.skipDescendants(); // Nothing was given yet.

    Entries entries;
    while (auto entry = walker.next()) {
        if (entry->kind == FileKind::Regular)
            walker.skipDescendants();
        entries.push_back(std::move(*entry));
    }

    EXPECT_THAT(paths(entries), UnorderedElementsAre("a", "a/1", "a/2", "a/b", "a/b/1"));
}

TEST(DirectoryWalker, MeetsLinksButDoesNotFollowThem)
{
    const FixtureFolder elsewhere;
    elsewhere.write("outside");
    const FixtureFolder folder;
    folder.makeLink("out", elsewhere.path());

    EXPECT_THAT(paths(walk(folder.path())), ElementsAre("out"));
}

TEST(DirectoryWalker, ComesToAnEndInACircleOfLinks)
{
    const FixtureFolder folder;
    folder.makeFolder("a");
    folder.makeLink("a/up", "..");
    folder.makeLink("a/here", ".");
    folder.makeLink("self", "self");

    EXPECT_THAT(paths(walk(folder.path())), UnorderedElementsAre("a", "a/up", "a/here", "self"));
}

TEST(DirectoryWalker, FollowsTheLinkWhereItBegins)
{
    const FixtureFolder folder;
    folder.makeFolder("real");
    folder.makeFolder("real/sub");
    folder.write("real/sub/file");
    const QByteArray link = folder.makeLink("link", "real");

    EXPECT_THAT(paths(walk(link)), ElementsAre("sub", "sub/file"));
}

TEST(DirectoryWalker, GivesPathsWithoutDoubleSlashes)
{
    const FixtureFolder folder;
    folder.makeFolder("sub");
    folder.write("sub/file");

    EXPECT_THAT(paths(walk(folder.path() + '/')), ElementsAre("sub", "sub/file"));
}

TEST(DirectoryWalker, IsAtItsEndWhereNoFolderIs)
{
    const FixtureFolder folder;

    EXPECT_THAT(walk(folder.path("absent")), IsEmpty());
    EXPECT_THAT(walk(folder.write("file")), IsEmpty());
    EXPECT_THAT(walk(folder.makePipe("pipe")), IsEmpty());
    EXPECT_THAT(walk(folder.makeLink("dangling", "absent")), IsEmpty());
    EXPECT_THAT(walk({}), IsEmpty());
}

TEST(DirectoryWalker, StaysAtItsEnd)
{
    const FixtureFolder folder;
    folder.write("file");
    DirectoryWalker walker(folder.path());
    ASSERT_EQ(rest(walker).size(), 1U);

    walker.skipDescendants();

    EXPECT_FALSE(walker.next());
    EXPECT_FALSE(walker.next());
}

TEST(DirectoryWalker, PassesOverAFolderRemovedAfterItWasMet)
{
    const FixtureFolder folder;
    folder.makeFolder("a");
    folder.makeFolder("b");
    folder.write("b/1");
    folder.makeFolder("c");
    folder.write("c/1");
    DirectoryWalker walker(folder.path());
    const auto first = walker.next();
    ASSERT_TRUE(first);

    if (first->relativePath != "a")
        folder.remove(first->relativePath + "/1");
    folder.remove(first->relativePath);
    const Entries others = rest(walker);

    EXPECT_EQ(others.size(), first->relativePath == "a" ? 4U : 3U);
    for (const DirectoryEntry& entry : others)
        EXPECT_FALSE(entry.relativePath.startsWith(first->relativePath));
}

TEST(DirectoryWalker, GoesOnWhenTheFolderItReadsVanishes)
{
    const FixtureFolder folder;
    folder.makeFolder("a");
    folder.makeFolder("a/b");
    folder.makeFolder("a/b/c");
    DirectoryWalker walker(folder.path());
    ASSERT_TRUE(walkTo(walker, "a/b"));

    for (const char* name : { "a/b/c", "a/b", "a" })
        folder.remove(name);
    folder.write("later"); // The rest of the walk may or may not meet it.

    for (const DirectoryEntry& entry : rest(walker))
        EXPECT_EQ(entry.relativePath, QByteArray("later"));
}

TEST(DirectoryWalker, PassesOverWhatItMayNotRead)
{
    if (!Unprivileged::isPossible())
        GTEST_SKIP() << "this superuser keeps all rights";
    const FixtureFolder folder;
    folder.setMode("", 0755);
    folder.makeFolder("closed");
    folder.write("closed/1");
    folder.makeFolder("open");
    folder.write("open/1");
    folder.setMode("closed", 0);

    Entries entries;
    Entries ofClosed;
    {
        const Unprivileged unprivileged;
        entries = walk(folder.path());
        ofClosed = walk(folder.path("closed"));
    }
    folder.setMode("closed", 0755);

    EXPECT_THAT(paths(entries), UnorderedElementsAre("closed", "open", "open/1"));
    EXPECT_THAT(ofClosed, IsEmpty());
}

TEST(DirectoryWalker, DoesNotEnterALinkThatTookAFoldersPlace)
{
    const FixtureFolder elsewhere;
    elsewhere.write("outside");
    const FixtureFolder folder;
    folder.makeFolder("sub");
    folder.write("sub/inside");
    DirectoryWalker walker(folder.path());
    ASSERT_TRUE(walkTo(walker, "sub"));

    folder.remove("sub/inside");
    folder.remove("sub");
    folder.makeLink("sub", elsewhere.path());

    EXPECT_THAT(paths(rest(walker)), testing::Not(testing::Contains("sub/outside")));
}

TEST(DirectoryWalker, DoesNotEnterAPipeThatTookAFoldersPlace)
{
    const FixtureFolder folder;
    folder.makeFolder("sub");
    DirectoryWalker walker(folder.path());
    ASSERT_TRUE(walkTo(walker, "sub"));

    folder.remove("sub");
    folder.makePipe("sub");

    for (const DirectoryEntry& entry : rest(walker))
        EXPECT_EQ(entry.level, 1);
}

TEST(DirectoryWalker, GivesNamesByteForByte)
{
    const QByteArray invalid("\xFF\xC3(");
    const QByteArray lines("a\nb\r");
    const QByteArray longest(255, 'n');
    const QByteArray dots("...");
    const FixtureFolder folder;
    folder.makeFolder(invalid);
    folder.write(invalid + '/' + lines);
    folder.write(longest);
    folder.makeFolder(dots);
    folder.write("..a");

    EXPECT_THAT(paths(walk(folder.path())),
        UnorderedElementsAre(invalid.toStdString(), (invalid + '/' + lines).toStdString(),
            longest.toStdString(), dots.toStdString(), "..a"));
}

TEST(DirectoryWalker, WalksADeepTreeWholeWithFewDescriptors)
{
    constexpr int kLevels = 300;
    const FixtureFolder folder;
    makeDeepTree(folder, kLevels);
    const DescriptorLimit limit(100);

    const Entries entries = walk(folder.path());

    ASSERT_EQ(entries.size(), size_t(kLevels) * 3);
    EXPECT_TRUE(isDepthFirst(entries));
    const auto deepest = std::max_element(entries.begin(), entries.end(),
        [](const auto& a, const auto& b) { return a.level < b.level; });
    EXPECT_EQ(deepest->level, kLevels);
    const auto found = paths(entries);
    EXPECT_EQ(std::set(found.begin(), found.end()).size(), entries.size());
}

TEST(DirectoryWalker, SkipsInADeepTree)
{
    const FixtureFolder folder;
    makeDeepTree(folder, 100);
    DirectoryWalker walker(folder.path());

    size_t count = 0;
    while (const auto entry = walker.next()) {
        ++count;
        if (entry->kind == FileKind::Folder && entry->level == 80)
            walker.skipDescendants();
    }

    EXPECT_EQ(count, 80U * 3);
}

TEST(DirectoryWalker, GivesItsDescriptorsBack)
{
    const FixtureFolder folder;
    makeDeepTree(folder, 20);
    const DescriptorLimit limit(100);

    for (int i = 0; i < 50; ++i) {
        DirectoryWalker walker(folder.path());
        ASSERT_TRUE(walkTo(walker, QByteArray("d/").repeated(15) + 'd'));
    }
}

TEST(DirectoryWalker, PassesOverPathsTooLongForTheKernel)
{
    const FixtureFolder folder;
    const QByteArray name(250, 'n');
    QByteArray path;
    while (folder.path(path).size() + 1 + name.size() < PATH_MAX) {
        path += name;
        folder.makeFolder(path);
        path += '/';
    }
    folder.write("later");
    path.chop(1);
    // Two more levels, which no path from above reaches: made aside and moved there.
    folder.makeFolder("side");
    folder.makeFolder("side/" + name);
    folder.makeFolder("side/" + name + '/' + name);
    folder.rename("side", path.chopped(name.size()) + "side");

    const Entries entries = walk(folder.path());

    EXPECT_THAT(paths(entries), testing::Contains("later"));
    EXPECT_TRUE(isDepthFirst(entries));
    folder.rename(path.chopped(name.size()) + "side", "side"); // Else nobody could remove it.
}

} // namespace

} // namespace quorvane
