// SPDX-License-Identifier: GPL-3.0-or-later
// Opening files that anybody may have made.
#include "platform/FileDescriptor.h"
#include "support/FixtureFolder.h"
#include "support/Unprivileged.h"

#include <QDirIterator>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>

namespace quorvane {

namespace {

using tests::FixtureFolder;
using tests::Unprivileged;

constexpr qint64 kPlenty = 1 << 20;

int openNull() { return open("/dev/null", O_RDONLY | O_CLOEXEC); }

bool isOpen(int descriptor) { return fcntl(descriptor, F_GETFD) != -1; }

/// Notices whether a file is opened while this lives.
class OpenWatch {
public:
    explicit OpenWatch(const QByteArray& path)
        : mDescriptor(inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
    {
        mWatching = inotify_add_watch(mDescriptor, path.constData(), IN_OPEN) >= 0;
    }
    ~OpenWatch() { close(mDescriptor); }
    OpenWatch(const OpenWatch&) = delete;
    OpenWatch& operator=(const OpenWatch&) = delete;

    bool sawNothing() const
    {
        std::array<char, 4096> buffer;
        return mWatching && read(mDescriptor, buffer.data(), buffer.size()) < 0 && errno == EAGAIN;
    }

private:
    int mDescriptor;
    bool mWatching;
};

/// What openForReading() says of `path`; nothing if it is open.
std::optional<ErrorKind> refusal(const QByteArray& path)
{
    const auto file = openForReading(FileURL(path));
    return file ? std::nullopt : std::optional(file.error().kind);
}

QByteArray contents(const QByteArray& path, qint64 limit = kPlenty)
{
    const auto file = openForReading(FileURL(path));
    return file ? readAll(*file, limit).value_or(QByteArray("refused")) : QByteArray("closed");
}

/// A file that Qt itself compiled in; empty where there is none.
QByteArray anyResource()
{
    QDirIterator resources(
        QStringLiteral(":/qt-project.org"), QDir::Files, QDirIterator::Subdirectories);
    return resources.hasNext() ? resources.next().toUtf8() : QByteArray();
}

TEST(FileDescriptor, IsEmptyByDefault) { EXPECT_EQ(FileDescriptor().get(), -1); }

TEST(FileDescriptor, ClosesWhatItOwns)
{
    const int descriptor = openNull();
    {
        const FileDescriptor file(descriptor);
        EXPECT_EQ(file.get(), descriptor);
        EXPECT_TRUE(isOpen(descriptor));
    }
    EXPECT_FALSE(isOpen(descriptor));
}

TEST(FileDescriptor, HandsOwnershipOn)
{
    const int descriptor = openNull();
    FileDescriptor from(descriptor);
    {
        const FileDescriptor to(std::move(from));
        EXPECT_EQ(to.get(), descriptor);
        EXPECT_TRUE(isOpen(descriptor));
    }
    EXPECT_FALSE(isOpen(descriptor));
}

TEST(FileDescriptor, ClosesBothAfterAssignment)
{
    const int first = openNull();
    const int second = openNull();
    {
        FileDescriptor to(first);
        FileDescriptor from(second);
        to = std::move(from);
        EXPECT_EQ(to.get(), second);
        EXPECT_TRUE(isOpen(second));
    }
    EXPECT_FALSE(isOpen(first));
    EXPECT_FALSE(isOpen(second));
}

TEST(OpenForReading, OpensARegularFile)
{
    const FixtureFolder folder;

    EXPECT_EQ(contents(folder.write("a", "contents")), QByteArray("contents"));
    EXPECT_EQ(contents(folder.write("empty")), QByteArray());
}

TEST(OpenForReading, OpensNamesOfAnyBytes)
{
    const FixtureFolder folder;
    for (const QByteArray& name : { QByteArray("\xFF\xFE.jpg"), QByteArray("a\nb"),
             QByteArray("%41 ?#;"), QByteArray(255, 'n') })
        EXPECT_EQ(contents(folder.write(name, name)), name);
}

TEST(OpenForReading, FollowsLinks)
{
    const FixtureFolder folder;
    folder.write("a", "contents");

    EXPECT_EQ(contents(folder.makeLink("b", "a")), QByteArray("contents"));
}

TEST(OpenForReading, FindsNothingWhereNothingIs)
{
    const FixtureFolder folder;
    folder.write("file");
    folder.makeLink("one", "two");
    folder.makeLink("two", "one");

    EXPECT_EQ(refusal(folder.path("absent")), ErrorKind::NotFound);
    EXPECT_EQ(refusal(folder.path("file/below")), ErrorKind::NotFound);
    EXPECT_EQ(refusal(folder.makeLink("dangling", "absent")), ErrorKind::NotFound);
    EXPECT_EQ(refusal(folder.path("one")), ErrorKind::NotFound);
    EXPECT_EQ(refusal(folder.path(QByteArray(256, 'n'))), ErrorKind::NotFound);
    EXPECT_EQ(refusal({}), ErrorKind::NotFound);
}

TEST(OpenForReading, SaysWhatItMayNotRead)
{
    if (!Unprivileged::isPossible())
        GTEST_SKIP() << "this superuser keeps all rights";
    const FixtureFolder folder;
    folder.setMode("", 0755);
    const QByteArray file = folder.write("file", "secret");
    folder.setMode("file", 0);
    folder.makeFolder("closed");
    const QByteArray below = folder.write("closed/file", "secret");
    folder.setMode("closed", 0);

    {
        const Unprivileged unprivileged;
        EXPECT_EQ(refusal(file), ErrorKind::NotReadable);
        EXPECT_EQ(refusal(below), ErrorKind::NotReadable);
    }
    folder.setMode("closed", 0755);
}

TEST(OpenForReading, RefusesWhatIsNoRegularFileWithoutOpeningIt)
{
    const FixtureFolder folder;
    for (const QByteArray& path : { folder.makePipe("pipe"), folder.makeSocket("socket"),
             folder.makeFolder("folder"), folder.makeLink("link", "pipe") }) {
        const OpenWatch watch(path);

        EXPECT_EQ(refusal(path), ErrorKind::Unsupported) << path.constData();
        EXPECT_TRUE(watch.sawNothing()) << path.constData();
    }
}

TEST(OpenForReading, RefusesDevices)
{
    EXPECT_EQ(refusal("/dev/null"), ErrorKind::Unsupported);
    EXPECT_EQ(refusal("/dev/zero"), ErrorKind::Unsupported);
    EXPECT_EQ(refusal("/dev/tty"), ErrorKind::Unsupported);
}

TEST(OpenForReading, IsNotInheritedByOtherPrograms)
{
    const FixtureFolder folder;

    const auto file = openForReading(FileURL(folder.write("a")));
    const auto resource = openForReading(FileURL(anyResource()));

    ASSERT_TRUE(file && resource);
    EXPECT_TRUE(fcntl(file->get(), F_GETFD) & FD_CLOEXEC);
    EXPECT_TRUE(fcntl(resource->get(), F_GETFD) & FD_CLOEXEC);
}

TEST(OpenForReading, OpensAResourceAsAFile)
{
    const QByteArray path = anyResource();
    ASSERT_FALSE(path.isEmpty());
    QFile resource(QString::fromUtf8(path));
    ASSERT_TRUE(resource.open(QIODevice::ReadOnly));

    const QByteArray expected = resource.readAll();

    EXPECT_FALSE(expected.isEmpty());
    EXPECT_EQ(contents(path), expected);
}

TEST(OpenForReading, FindsNoResourceThatIsNotThere)
{
    EXPECT_EQ(refusal(":/no/such/resource"), ErrorKind::NotFound);
}

TEST(OpenForReading, TakesAFolderOfResourcesForNoFile)
{
    EXPECT_EQ(refusal(":/qt-project.org"), ErrorKind::Unsupported);
}

TEST(ReadAll, ReadsFromTheBeginningWhateverWasReadBefore)
{
    const FixtureFolder folder;
    const auto file = openForReading(FileURL(folder.write("a", "contents")));
    ASSERT_TRUE(file);
    char four[4];
    ASSERT_EQ(read(file->get(), four, sizeof four), 4);

    EXPECT_EQ(readAll(*file, kPlenty).value(), QByteArray("contents"));
    EXPECT_EQ(readAll(*file, kPlenty).value(), QByteArray("contents"));
}

TEST(ReadAll, ReadsBytesOfAllKinds)
{
    const FixtureFolder folder;
    QByteArray bytes(100'000, '\0');
    for (qsizetype i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<char>(i % 251);

    EXPECT_EQ(contents(folder.write("a", bytes)), bytes);
}

TEST(ReadAll, HoldsItsLimit)
{
    const FixtureFolder folder;
    const auto file = openForReading(FileURL(folder.write("a", "12345")));
    ASSERT_TRUE(file);

    const auto tooLarge = readAll(*file, 4);

    EXPECT_EQ(readAll(*file, 5).value(), QByteArray("12345"));
    ASSERT_FALSE(tooLarge);
    EXPECT_EQ(tooLarge.error().kind, ErrorKind::TooLarge);
}

TEST(ReadAll, RefusesAHugeFileWithoutReadingIt)
{
    const FixtureFolder folder;
    const QByteArray path = folder.write("a");
    ASSERT_EQ(truncate(path.constData(), off_t(1) << 42), 0); // A hole: takes no room on the disk.
    const auto file = openForReading(FileURL(path));
    ASSERT_TRUE(file);

    const auto bytes = readAll(*file, kPlenty);

    ASSERT_FALSE(bytes);
    EXPECT_EQ(bytes.error().kind, ErrorKind::TooLarge);
}

TEST(ReadAll, SeesTheFileAsItIsNow)
{
    const FixtureFolder folder;
    const QByteArray path = folder.write("a", "12345678");
    const auto file = openForReading(FileURL(path));
    ASSERT_TRUE(file);

    ASSERT_EQ(truncate(path.constData(), 3), 0);

    EXPECT_EQ(readAll(*file, kPlenty).value(), QByteArray("123"));
}

TEST(ReadAll, TakesWhatIsThereOfAFileThatEndsBeforeItsSize)
{
    // The kernel's own files claim a page and hold a few bytes: so does a file that another program
    // cuts short between the question for its size and the reading.
    const QByteArray path("/sys/kernel/profiling");
    const auto file = openForReading(FileURL(path));
    struct stat status = {};
    if (!file || fstat(file->get(), &status) != 0 || status.st_size < 100)
        GTEST_SKIP() << "this kernel shows no such file";

    const auto bytes = readAll(*file, kPlenty);

    ASSERT_TRUE(bytes);
    EXPECT_GT(bytes->size(), 0);
    EXPECT_LT(bytes->size(), 100);
}

TEST(ReadAll, SaysThatItCannotRead)
{
    const FixtureFolder folder;
    const FileDescriptor writeOnly(
        open(folder.write("a", "contents").constData(), O_WRONLY | O_CLOEXEC));

    const auto fromWriteOnly = readAll(writeOnly, kPlenty);
    const auto fromNothing = readAll(FileDescriptor(), kPlenty);

    ASSERT_FALSE(fromWriteOnly);
    EXPECT_EQ(fromWriteOnly.error().kind, ErrorKind::NotReadable);
    ASSERT_FALSE(fromNothing);
    EXPECT_EQ(fromNothing.error().kind, ErrorKind::NotReadable);
}

} // namespace

} // namespace quorvane
