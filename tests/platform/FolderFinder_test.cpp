// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/FolderFinder.h"
#include "platform/MainQueue.h"
#include "support/BusyPool.h"
#include "support/ByteFolder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>

namespace quorvane {

namespace {

using namespace tests;

struct FolderFinderTest : testing::Test {
    /// Has all questions answered.
    static void settle()
    {
        FolderFinder::drain();
        MainQueue::drain();
    }

    FolderFinder::Resolved note(const std::string& name)
    {
        return [this, name](const std::optional<ResolvedBookmark>& folder) {
            answers.push_back(name + (folder ? " found" : " lost"));
        };
    }

    Bookmark bookmark(const char* name) const
    {
        return *Bookmark::bookmarkForPath(files.folder(name));
    }

    /// Holds every question for a folder of that name.
    BookmarkServices holding(const char* name)
    {
        BookmarkServices services;
        services.resolve = [this, path = files.path(name)](const Bookmark& asked) {
            ++asks;
            if (asked.path() == path)
                stop.halt();
            return asked.resolve();
        };
        return services;
    }

    const ByteFolder files;
    const Stop stop;
    std::atomic<int> asks = 0;
    std::vector<std::string> answers;
};

TEST_F(FolderFinderTest, MakesBookmarks)
{
    FolderFinder finder;
    std::vector<std::optional<QByteArray>> paths;
    const auto note = [&](const std::optional<Bookmark>& made) {
        paths.push_back(made ? std::optional(made->path()) : std::nullopt);
    };

    finder.bookmarkForPath(files.folder("a"), note);
    settle();
    finder.bookmarkForPath(files.path("missing"), note);
    settle();

    EXPECT_EQ(paths, (std::vector<std::optional<QByteArray>> { files.path("a"), std::nullopt }));
}

TEST_F(FolderFinderTest, ResolvesBookmarks)
{
    FolderFinder finder;
    const Bookmark a = bookmark("a");

    finder.resolve(a, note("a"));
    settle();
    ASSERT_EQ(rmdir(a.path().constData()), 0);
    finder.resolve(a, note("a"));
    settle();

    EXPECT_EQ(answers, (std::vector<std::string> { "a found", "a lost" }));
}

TEST_F(FolderFinderTest, AnswersFromTheEventLoopOnly)
{
    FolderFinder finder;

    finder.resolve(bookmark("a"), note("a"));
    FolderFinder::drain();
    EXPECT_TRUE(answers.empty());

    MainQueue::drain();
    EXPECT_EQ(answers.size(), 1U);
}

TEST_F(FolderFinderTest, AnswersForOthersWhileADiskDoesNotAnswer)
{
    FolderFinder finder(holding("hanging"));
    finder.resolve(bookmark("hanging"), note("hanging"));
    stop.waitForArrival();

    finder.resolve(bookmark("a"), [&](const auto&) { answers.emplace_back("a"); });
    finder.bookmarkForPath(files.path("a"), [&](const auto&) { answers.emplace_back("made"); });
    while (answers.size() < 2)
        MainQueue::drain();
    EXPECT_EQ(answers.size(), 2U);

    stop.release();
    settle();
    EXPECT_EQ(answers.back(), "hanging found");
}

TEST_F(FolderFinderTest, AsksOnceWhileAQuestionIsOpen)
{
    FolderFinder finder(holding("a"));
    const Bookmark a = bookmark("a");

    for (int i = 0; i < 100; ++i)
        finder.resolve(a, note(std::to_string(i)));
    stop.waitForArrival();
    stop.release();
    settle();

    EXPECT_EQ(asks, 1);
    ASSERT_EQ(answers.size(), 100U);
    EXPECT_EQ(answers.front(), "0 found");
    EXPECT_EQ(answers.back(), "99 found");
    finder.resolve(a, note("again"));
    settle();
    EXPECT_EQ(asks, 2);
}

TEST_F(FolderFinderTest, CanBeAskedFromAnAnswer)
{
    FolderFinder finder;
    const Bookmark a = bookmark("a");

    finder.resolve(a, [&](const auto&) { finder.resolve(a, note("second")); });
    settle();
    settle();

    EXPECT_EQ(answers, std::vector<std::string>({ "second found" }));
}

TEST_F(FolderFinderTest, TellsNobodyOnceItIsGone)
{
    {
        FolderFinder finder(holding("a"));
        finder.resolve(bookmark("a"), note("a"));
        stop.waitForArrival();
    }

    stop.release();
    settle();

    EXPECT_TRUE(answers.empty());
}

} // namespace

} // namespace quorvane
