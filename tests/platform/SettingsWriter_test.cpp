// SPDX-License-Identifier: GPL-3.0-or-later
// The thread that writes settings.
#include "SettingsLog.h"
#include "platform/FileDescriptor.h"
#include "platform/FileLock.h"
#include "platform/SettingsWriter.h"

#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstring>
#include <utility>

namespace quorvane {

namespace {

/// Far more than any write takes; reached only if one never ends.
constexpr std::chrono::milliseconds kLong { 30'000 };
constexpr std::chrono::milliseconds kNone { 0 };

const QString kA = QStringLiteral("a");
const QString kB = QStringLiteral("b");

FileLock lockOf(const tests::SettingsFolder& folder)
{
    auto lock = FileLock::take(folder.path("settings.plist.lock"), FileLock::Patience::Wait);
    if (!lock)
        qFatal("the test gets no lock");
    return std::move(*lock);
}

SettingsWriter writerIn(const tests::SettingsFolder& folder)
{
    return SettingsWriter(SettingsFile(folder.path()), {}, {});
}

/// Counts how often files of a folder were moved into place.
class Moves {
public:
    explicit Moves(const tests::SettingsFolder& folder)
        : mNotify(inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
    {
        inotify_add_watch(mNotify.get(), folder.path(".").constData(), IN_MOVED_TO);
    }

    int count() const
    {
        alignas(inotify_event) std::array<char, 65536> buffer {};
        const ssize_t size = read(mNotify.get(), buffer.data(), buffer.size());
        int events = 0;
        for (ssize_t at = 0; at < size; ++events) {
            inotify_event event {};
            std::memcpy(&event, buffer.data() + at, sizeof event);
            at += static_cast<ssize_t>(sizeof event + event.len);
        }
        return events;
    }

private:
    FileDescriptor mNotify;
};

TEST(SettingsWriter, WritesWhatItIsGiven)
{
    const tests::SettingsFolder folder;
    SettingsWriter writer = writerIn(folder);

    writer.post(kA, 1);
    writer.post(kB, true);

    EXPECT_TRUE(writer.flush(kLong));
    EXPECT_EQ(folder.values(), (QVariantMap { { kA, qlonglong(1) }, { kB, true } }));
}

TEST(SettingsWriter, HasNothingToDoWithoutAChange)
{
    const tests::SettingsFolder folder;
    SettingsWriter writer = writerIn(folder);

    EXPECT_TRUE(writer.flush(kNone));
    EXPECT_TRUE(writer.stop(kNone));
    EXPECT_EQ(folder.names(), QStringList());
}

TEST(SettingsWriter, WritesAtItsEndWhatIsStillToBeWritten)
{
    const tests::SettingsFolder folder;
    {
        SettingsWriter writer = writerIn(folder);
        writer.post(kA, 1);
    }

    EXPECT_EQ(folder.values(), (QVariantMap { { kA, qlonglong(1) } }));
}

TEST(SettingsWriter, WritesTogetherWhatHasComeMeanwhile)
{
    const tests::SettingsFolder folder;
    SettingsWriter writer = writerIn(folder);
    const Moves moves(folder);
    {
        const FileLock held = lockOf(folder);
        for (int i = 0; i < 1000; ++i)
            writer.post(QString::number(i % 10), i); // Returns, though nothing can be written.
        EXPECT_FALSE(writer.flush(kNone));
    }

    EXPECT_TRUE(writer.flush(kLong));
    EXPECT_EQ(folder.values().size(), 10);
    EXPECT_EQ(folder.values().value(QStringLiteral("7")), QVariant(qlonglong(997)));
    EXPECT_LE(moves.count(), 2); // What the thread had in its hands, and all the rest.
}

TEST(SettingsWriter, SaysAProblemOnceAndTriesAgainAtTheNextChange)
{
    const tests::SettingsLog log;
    const tests::SettingsFolder folder;
    folder.write("in the way", "sub");
    SettingsWriter writer(SettingsFile(folder.path("sub/settings.plist")), {}, {});

    writer.post(kA, 1);
    EXPECT_FALSE(writer.flush(kLong));
    writer.post(kB, 2);
    EXPECT_FALSE(writer.flush(kLong));
    writer.post(kA, 3);
    EXPECT_FALSE(writer.flush(kLong));
    EXPECT_EQ(log.lines().size(), 1);
    ASSERT_EQ(unlink(folder.path("sub").constData()), 0);
    writer.post(QStringLiteral("c"), 4);

    EXPECT_TRUE(writer.flush(kLong));
    EXPECT_EQ(folder.values("sub/settings.plist"),
        (QVariantMap {
            { kA, qlonglong(3) }, { kB, qlonglong(2) }, { QStringLiteral("c"), qlonglong(4) } }));
    EXPECT_EQ(log.lines().size(), 1);
}

TEST(SettingsWriter, PrefersTheNewerChangeWhenTheOlderOneFails)
{
    const tests::SettingsFolder folder;
    SettingsWriter writer = writerIn(folder);
    writer.post(kB, 1);
    ASSERT_TRUE(writer.flush(kLong));
    ASSERT_EQ(chmod(folder.path().constData(), 0444), 0);
    // The line is written between the failure and the return of its change to the others.
    const tests::SettingsLog log([&] { writer.post(kA, 2); });
    writer.post(kA, 1);
    EXPECT_FALSE(writer.flush(kLong));
    ASSERT_EQ(chmod(folder.path().constData(), 0600), 0);

    writer.post(kB, 3);

    EXPECT_TRUE(writer.flush(kLong));
    EXPECT_EQ(folder.values(), (QVariantMap { { kA, qlonglong(2) }, { kB, qlonglong(3) } }));
}

TEST(SettingsWriter, SaysAProblemAnewAfterAllWasWell)
{
    const tests::SettingsLog log;
    const tests::SettingsFolder folder;
    SettingsWriter writer = writerIn(folder);
    writer.post(kA, 1);
    ASSERT_TRUE(writer.flush(kLong));

    for (const mode_t mode : { 0444U, 0600U, 0444U }) {
        ASSERT_EQ(chmod(folder.path().constData(), mode), 0);
        writer.post(kA, 2);
        EXPECT_EQ(writer.flush(kLong), mode == 0600U);
    }

    EXPECT_EQ(log.lines().size(), 2);
}

TEST(SettingsWriter, KeepsSilentOnAProblemThatTheLogKnows)
{
    const tests::SettingsLog log;
    const tests::SettingsFolder folder;
    ASSERT_EQ(mkfifo(folder.path().constData(), 0600), 0);
    const SettingsFile file(folder.path());
    SettingsWriter writer(file, {}, file.load().error().message);

    writer.post(kA, 1);

    EXPECT_FALSE(writer.flush(kLong));
    EXPECT_EQ(log.lines(), QStringList());
}

TEST(SettingsWriter, LeavesTheOldFileWhenTheDiskIsFull)
{
    const tests::SettingsLog log;
    const tests::SettingsFolder folder;
    SettingsWriter writer = writerIn(folder);
    writer.post(kA, 1);
    ASSERT_TRUE(writer.flush(kLong));
    const QByteArray before = folder.read();
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit {};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &limit), 0);
    const rlimit small { 64, limit.rlim_max };
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);

    for (int i = 0; i < 5; ++i) {
        writer.post(kA, i);
        EXPECT_FALSE(writer.flush(kLong));
    }

    setrlimit(RLIMIT_FSIZE, &limit);
    std::signal(SIGXFSZ, handler);
    EXPECT_EQ(folder.read(), before);
    EXPECT_EQ(folder.names().size(), 2); // The file and its lock.
    EXPECT_EQ(log.lines().size(), 1);
    writer.post(kB, 2);
    EXPECT_TRUE(writer.flush(kLong));
    EXPECT_EQ(folder.values(), (QVariantMap { { kA, qlonglong(4) }, { kB, qlonglong(2) } }));
}

TEST(SettingsWriter, RestoresWhatItKnewWhenTheFileIsDamagedMeanwhile)
{
    const tests::SettingsLog log;
    const tests::SettingsFolder folder;
    SettingsWriter writer(SettingsFile(folder.path()), { { kA, 1 } }, {});
    writer.post(kA, 3);
    ASSERT_TRUE(writer.flush(kLong));
    folder.write("hello");

    writer.post(kB, 2);

    EXPECT_TRUE(writer.flush(kLong));
    EXPECT_EQ(folder.values(), (QVariantMap { { kA, qlonglong(3) }, { kB, qlonglong(2) } }));
    EXPECT_EQ(folder.read("settings.plist.damaged"), QByteArray("hello"));
}

TEST(SettingsWriter, DoesNotWaitForEverAtItsEnd)
{
    const tests::SettingsFolder folder;
    const FileLock held = lockOf(folder); // A viewer that stands still.

    // In a process of its own: the thread that is left behind ends with it.
    const pid_t child = fork();
    if (child == 0) {
        SettingsWriter writer = writerIn(folder);
        writer.post(kA, 1);
        _exit(writer.stop(kNone) ? 1 : 0);
    }
    int status = -1;
    waitpid(child, &status, 0);

    EXPECT_EQ(status, 0);
    EXPECT_TRUE(folder.read().isNull());
}

} // namespace

} // namespace quorvane
