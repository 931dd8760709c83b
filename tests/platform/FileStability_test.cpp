// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/FileDescriptor.h"
#include "platform/FileStability.h"
#include "support/ByteFolder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

namespace quorvane {
namespace {

using namespace std::chrono_literals;
using tests::ByteFolder;

constexpr FileTime kNow { 2'000'000'000s };

class FileStability : public testing::Test {
protected:
    /// A file last written so long before now.
    FileDescriptor put(Duration age, const QByteArray& contents = "picture") const
    {
        folder.file("a", contents);
        folder.setModified("a", (kNow - age).time_since_epoch().count());
        return openForReading(folder.url("a")).value();
    }

    FileDescriptor openForWriting() const
    {
        return FileDescriptor(open(folder.path("a").constData(), O_WRONLY | O_CLOEXEC));
    }

    bool mayBeIncomplete(const FileDescriptor& file, const FileVersion& before, bool wasRead) const
    {
        return quorvane::mayBeIncomplete(file, before, folder.path("a"), wasRead, kNow);
    }

    ByteFolder folder;
};

TEST_F(FileStability, KnowsWhetherSomebodyWrites)
{
    const FileDescriptor file = put(1h);
    EXPECT_EQ(writersOf(file), Writers::None);
    {
        const FileDescriptor writer = openForWriting();
        EXPECT_EQ(writersOf(file), Writers::Some);
    }
    EXPECT_EQ(writersOf(file), Writers::None);
}

TEST_F(FileStability, DoesNotCountWhoReads)
{
    const FileDescriptor file = put(1h);
    const FileDescriptor other = openForReading(folder.url("a")).value();

    EXPECT_EQ(writersOf(file), Writers::None);
}

TEST_F(FileStability, DoesNotKnowWhoWritesWhatTheKernelDoesNotTellAbout)
{
    const FileDescriptor folderItself(open(folder.path().constData(), O_RDONLY | O_CLOEXEC));

    EXPECT_EQ(writersOf(folderItself), Writers::Unknown);
    EXPECT_EQ(writersOf(FileDescriptor()), Writers::Unknown);
}

TEST_F(FileStability, DoesNotHoldUpWhoComesToWrite)
{
    const FileDescriptor file = put(1h);
    ASSERT_EQ(writersOf(file), Writers::None);

    const FileDescriptor writer(
        open(folder.path("a").constData(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));

    EXPECT_GE(writer.get(), 0);
}

TEST_F(FileStability, TellsVersionsApart)
{
    const FileDescriptor file = put(1h);
    const auto before = versionOf(file);
    ASSERT_TRUE(before);
    EXPECT_EQ(versionOf(folder.path("a")), before);

    put(1h, "a longer picture");
    EXPECT_NE(versionOf(folder.path("a")), before);

    put(2h);
    EXPECT_NE(versionOf(folder.path("a")), before);

    folder.file("b", "picture");
    ASSERT_EQ(std::rename(folder.path("b").constData(), folder.path("a").constData()), 0);
    folder.setModified("a", (kNow - 1h).time_since_epoch().count());
    EXPECT_NE(versionOf(folder.path("a")), before);

    folder.remove("a");
    EXPECT_FALSE(versionOf(folder.path("a")));
    EXPECT_FALSE(versionOf(FileDescriptor()));
}

TEST_F(FileStability, CountsAFileAsQuietAfterASecond)
{
    const auto isQuietAfter = [](Duration age) { return isQuiet({ 0, 0, 0, kNow - age }, kNow); };

    EXPECT_FALSE(isQuietAfter(0s));
    EXPECT_FALSE(isQuietAfter(999ms));
    EXPECT_TRUE(isQuietAfter(1s));
    EXPECT_FALSE(isQuietAfter(-999ms));
    EXPECT_TRUE(isQuietAfter(-1h));
}

TEST_F(FileStability, CountsAFileAsAtRestThatNobodyHasTouchedForFiveSecondsOrIsAboutTo)
{
    const FileDescriptor fresh = put(4s);
    EXPECT_FALSE(isAtRest(fresh, *versionOf(fresh), kNow));

    const FileDescriptor old = put(5s);
    EXPECT_TRUE(isAtRest(old, *versionOf(old), kNow));

    const FileDescriptor writer = openForWriting();
    EXPECT_FALSE(isAtRest(old, *versionOf(old), kNow));
}

TEST_F(FileStability, TrustsWhatWasReadOfAFileThatNobodyWrites)
{
    const FileDescriptor file = put(0s);

    EXPECT_FALSE(mayBeIncomplete(file, *versionOf(file), true));
}

TEST_F(FileStability, DoesNotTrustWhatWasReadWhileSomebodyWrites)
{
    const FileDescriptor file = put(0s);
    const FileDescriptor writer = openForWriting();

    EXPECT_TRUE(mayBeIncomplete(file, *versionOf(file), true));
}

TEST_F(FileStability, TrustsWhatWasReadOfAFileThatIsMerelyLeftOpen)
{
    const FileDescriptor file = put(5s);
    const FileDescriptor writer = openForWriting();

    EXPECT_FALSE(mayBeIncomplete(file, *versionOf(file), true));
    EXPECT_TRUE(mayBeIncomplete(file, *versionOf(file), false));
}

TEST_F(FileStability, DoesNotTrustWhatWasReadOfAFileThatChangedMeanwhile)
{
    const FileDescriptor file = put(1h);
    const auto before = versionOf(file);
    put(1h, "longer than before");

    EXPECT_TRUE(mayBeIncomplete(file, *before, true));
}

TEST_F(FileStability, GivesAFileThatMadeNoSenseASecondChanceWhileItIsNew)
{
    const FileDescriptor fresh = put(500ms);
    EXPECT_TRUE(mayBeIncomplete(fresh, *versionOf(fresh), false));

    const FileDescriptor old = put(1s);
    EXPECT_FALSE(mayBeIncomplete(old, *versionOf(old), false));
}

TEST_F(FileStability, ExpectsNothingMoreOfAFileThatIsGone)
{
    const FileDescriptor file = put(0s);
    const auto before = versionOf(file);
    folder.remove("a");

    EXPECT_FALSE(mayBeIncomplete(file, *before, false));
}

} // namespace
} // namespace quorvane
