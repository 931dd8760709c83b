// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/FolderWatches.h"
#include "support/ByteFolder.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <map>

namespace quorvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using tests::ByteFolder;

class FolderWatchesTest : public testing::Test {
protected:
    FolderWatchesTest() { watches->watch(folder.path()); }

    /// What has happened, by name, each file's events together.
    std::map<std::string, int> events() const
    {
        std::map<std::string, int> kinds;
        for (const FolderEvent& event : watches->read()) {
            const bool isFolder = event.path == folder.path();
            const QByteArray name = isFolder ? "." : event.path.mid(folder.path().size() + 1);
            kinds[name.toStdString()] |= static_cast<int>(event.kinds);
        }
        return kinds;
    }

    void rename(const QByteArray& from, const QByteArray& to) const
    {
        ASSERT_EQ(std::rename(folder.path(from).constData(), folder.path(to).constData()), 0);
    }

    ByteFolder folder;
    const std::shared_ptr<FolderWatches> watches = FolderWatches::create();
};

TEST_F(FolderWatchesTest, HaveNothingToTellAtFirst)
{
    EXPECT_THAT(events(), IsEmpty());
    EXPECT_EQ(watches->count(), 1U);
}

TEST_F(FolderWatchesTest, TellOfANewFileWhenItBeginsAndWhenItIsDone)
{
    const int file = open(folder.path("a").constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    EXPECT_THAT(events(), ElementsAre(Pair("a", FolderEvent::Created)));

    ASSERT_EQ(write(file, "x", 1), 1);
    EXPECT_THAT(events(), IsEmpty());

    close(file);
    EXPECT_THAT(events(), ElementsAre(Pair("a", FolderEvent::Created | FolderEvent::Modified)));
}

TEST_F(FolderWatchesTest, TellOfAFileThatIsWrittenAgain)
{
    folder.file("a");
    events();

    folder.file("a", "more");

    EXPECT_THAT(events(), ElementsAre(Pair("a", FolderEvent::Modified)));
}

TEST_F(FolderWatchesTest, TellOfRemovedFilesAndFolders)
{
    folder.file("a");
    folder.folder("b");
    events();

    folder.remove("a");
    std::filesystem::remove(folder.path("b").toStdString());

    EXPECT_THAT(
        events(), ElementsAre(Pair("a", FolderEvent::Removed), Pair("b", FolderEvent::Removed)));
}

TEST_F(FolderWatchesTest, TellOfBothNamesOfAFileThatIsRenamed)
{
    folder.file("a");
    events();

    rename("a", "b");

    EXPECT_THAT(events(),
        ElementsAre(Pair("a", FolderEvent::Renamed),
            Pair("b", FolderEvent::Renamed | FolderEvent::Modified)));
}

TEST_F(FolderWatchesTest, TellOfAFolderWhatItIsCalled)
{
    folder.folder("a");
    EXPECT_THAT(events(), ElementsAre(Pair("a", FolderEvent::Created)));

    rename("a", "b");
    EXPECT_THAT(
        events(), ElementsAre(Pair("a", FolderEvent::Renamed), Pair("b", FolderEvent::Renamed)));
}

TEST_F(FolderWatchesTest, KnowNamesThatAreNoText)
{
    const QByteArray name = "\xff\xfe;\n";
    folder.file(name);

    EXPECT_EQ(events().count(name.toStdString()), 1U);
}

TEST_F(FolderWatchesTest, DoNotTellOfFoldersThatNobodyNamed)
{
    folder.folder("sub");
    events();

    folder.file("sub/a");

    EXPECT_THAT(events(), IsEmpty());
}

TEST_F(FolderWatchesTest, TellOfAMovedFolderByTheNameOfTheLastWalk)
{
    watches->watch(folder.folder("one"));
    rename("one", "two");
    watches->watch(folder.path("two"));
    events();
    watches->watch(folder.path("two")); // Letting go of the moved one took this with it.

    folder.file("two/a");

    EXPECT_THAT(events(), ElementsAre(Pair("two/a", FolderEvent::Created | FolderEvent::Modified)));
}

TEST_F(FolderWatchesTest, TellOfAWatchedFolderThatGoesAndForgetIt)
{
    watches->watch(folder.folder("sub"));
    events();
    std::filesystem::remove(folder.path("sub").toStdString());

    EXPECT_THAT(events(), ElementsAre(Pair("sub", FolderEvent::Removed)));
    EXPECT_EQ(watches->count(), 1U);

    folder.folder("sub");
    watches->watch(folder.path("sub"));
    EXPECT_EQ(watches->count(), 2U);
}

TEST_F(FolderWatchesTest, ForgetWhatAWalkDidNotMeet)
{
    watches->watch(folder.folder("sub"));
    events();

    watches->beginRound();
    watches->watch(folder.path());
    watches->endRound();

    EXPECT_EQ(watches->count(), 1U);
    folder.file("sub/a");
    EXPECT_THAT(events(), IsEmpty());
}

TEST_F(FolderWatchesTest, KeepAllWhenAWalkIsBrokenOff)
{
    watches->watch(folder.folder("sub"));

    watches->beginRound();
    watches->beginRound();
    watches->watch(folder.path("sub"));
    watches->watch(folder.path());
    watches->endRound();

    EXPECT_EQ(watches->count(), 2U);
}

TEST_F(FolderWatchesTest, MindNoFolderThatIsNotThere)
{
    watches->watch(folder.path("nowhere"));
    watches->watch(folder.file("a"));

    EXPECT_EQ(watches->count(), 1U);
}

TEST_F(FolderWatchesTest, SayWhenTheKernelCouldNotKeepAll)
{
    folder.file("a");
    folder.file("b");
    for (int i = 0; i < 20'000; ++i) // More than it keeps; two alike in a row count once.
        close(open(folder.path(i % 2 ? "a" : "b").constData(), O_WRONLY | O_CLOEXEC));

    bool isLost = false;
    for (int i = 0; i < 100 && !isLost; ++i)
        for (const FolderEvent& event : watches->read())
            isLost |= event.kinds.testFlag(FolderEvent::Lost) && event.path.isEmpty();

    EXPECT_TRUE(isLost);
}

TEST(FolderWatches, AreNotThereWhenTheSystemHasNoMore)
{
    rlimit before = {};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit none { 0, before.rlim_max };
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);

    const auto watches = FolderWatches::create();

    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_EQ(watches, nullptr);
}

} // namespace
} // namespace quorvane
