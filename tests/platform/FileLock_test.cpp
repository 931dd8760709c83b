// SPDX-License-Identifier: GPL-3.0-or-later
// The lock between processes.
#include "SettingsLog.h"
#include "platform/FileLock.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace quorvane {

namespace {

TEST(FileLock, ExcludesEveryOtherOne)
{
    const tests::SettingsFolder folder;

    const auto first = FileLock::take(folder.path("lock"), FileLock::Patience::Wait);
    const auto second = FileLock::take(folder.path("lock"), FileLock::Patience::Try);
    const FileDescriptor plain(open(folder.path("lock").constData(), O_RDWR | O_CLOEXEC));

    EXPECT_TRUE(first);
    EXPECT_NE(flock(plain.get(), LOCK_SH | LOCK_NB), 0); // Not even shared.
    ASSERT_FALSE(second);
    EXPECT_EQ(second.error().kind, ErrorKind::NotWritable);
}

TEST(FileLock, ExcludesAnotherProcess)
{
    const tests::SettingsFolder folder;
    const auto lock = FileLock::take(folder.path("lock"), FileLock::Patience::Wait);

    const pid_t child = fork();
    if (child == 0)
        _exit(FileLock::take(folder.path("lock"), FileLock::Patience::Try) ? 1 : 0);
    int status = -1;
    waitpid(child, &status, 0);

    EXPECT_EQ(status, 0);
}

TEST(FileLock, IsFreeAgainAtItsEnd)
{
    const tests::SettingsFolder folder;
    {
        const auto first = FileLock::take(folder.path("lock"), FileLock::Patience::Wait);
    }

    const auto second = FileLock::take(folder.path("lock"), FileLock::Patience::Try);

    EXPECT_TRUE(second);
}

TEST(FileLock, MakesAFileForTheUserAlone)
{
    const tests::SettingsFolder folder;

    const auto lock = FileLock::take(folder.path("lock"), FileLock::Patience::Wait);

    struct stat status { };
    ASSERT_EQ(stat(folder.path("lock").constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600U);
}

TEST(FileLock, FailsWithoutAFolderAndOnALink)
{
    const tests::SettingsFolder folder;
    ASSERT_EQ(symlink("elsewhere", folder.path("link").constData()), 0);

    EXPECT_FALSE(FileLock::take(folder.path("missing/lock"), FileLock::Patience::Wait));
    EXPECT_FALSE(FileLock::take(folder.path("link"), FileLock::Patience::Wait));
    EXPECT_EQ(folder.names(), QStringList { QStringLiteral("link") });
}

TEST(FileLock, IsNotHeldUpByAPipe)
{
    const tests::SettingsFolder folder;
    ASSERT_EQ(mkfifo(folder.path("lock").constData(), 0600), 0);

    const auto lock = FileLock::take(folder.path("lock"), FileLock::Patience::Wait);

    EXPECT_TRUE(lock);
}

} // namespace

} // namespace quorvane
