// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/FileBytes.h"
#include "support/FixtureFolder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace quorvane {

namespace {

constexpr qsizetype kHeadSize = 256 * 1024;

struct FileBytesTest : testing::Test {
    tests::FixtureFolder folder;

    FileDescriptor file(const QByteArray& contents) const
    {
        return std::move(*openForReading(FileURL(folder.write("a", contents))));
    }
};

TEST_F(FileBytesTest, HaveTheFilesBeginningAndAllOfIt)
{
    const QByteArray contents = QByteArray(kHeadSize, 'a') + "and more";
    const FileDescriptor opened = file(contents);

    FileBytes bytes(opened);

    EXPECT_EQ(bytes.head(), contents.first(kHeadSize));
    EXPECT_EQ(bytes.all().value_or(QByteArray()), contents);
    EXPECT_EQ(bytes.descriptor(), opened.get());
}

TEST_F(FileBytesTest, ReadFromTheBeginningWhereverTheDescriptorStands)
{
    const FileDescriptor opened = file("0123456789");
    ASSERT_EQ(lseek(opened.get(), 5, SEEK_SET), 5);

    FileBytes bytes(opened);

    EXPECT_EQ(bytes.head(), "0123456789");
}

TEST_F(FileBytesTest, AreNotReadAgain)
{
    const FileDescriptor opened = file("before");
    FileBytes bytes(opened);
    EXPECT_EQ(bytes.head(), "before");
    EXPECT_EQ(bytes.all().value_or(QByteArray()), "before");

    folder.write("a", "afterwards");

    EXPECT_EQ(bytes.head(), "before");
    EXPECT_EQ(bytes.all().value_or(QByteArray()), "before");
}

TEST_F(FileBytesTest, RefuseAFileOfMoreThanAGigabyteButReadItsBeginning)
{
    const QByteArray path = folder.write("a", "begin");
    ASSERT_EQ(truncate(path.constData(), (off_t(1) << 30) + 1), 0); // A hole: it takes no space.
    const FileDescriptor opened = std::move(*openForReading(FileURL(path)));

    FileBytes bytes(opened);

    EXPECT_TRUE(bytes.head().startsWith("begin"));
    const auto all = bytes.all();
    ASSERT_FALSE(all);
    EXPECT_EQ(all.error().kind, ErrorKind::TooLarge);
}

TEST_F(FileBytesTest, AreEmptyWhereNothingCanBeRead)
{
    const FileDescriptor folderItself(open(folder.path().constData(), O_RDONLY | O_CLOEXEC));

    FileBytes bytes(folderItself);

    EXPECT_TRUE(bytes.head().isEmpty());
    const auto all = bytes.all();
    EXPECT_TRUE(!all || all->isEmpty());
}

TEST_F(FileBytesTest, MayBeInMemoryAlready)
{
    FileBytes bytes(QByteArray("contents"));

    EXPECT_EQ(bytes.head(), "contents");
    EXPECT_EQ(bytes.all().value_or(QByteArray()), "contents");
    EXPECT_EQ(bytes.descriptor(), -1);
}

} // namespace

} // namespace quorvane
