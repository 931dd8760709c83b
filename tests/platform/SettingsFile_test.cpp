// SPDX-License-Identifier: GPL-3.0-or-later
// The settings file: merged, set aside, never harmed.
#include "SettingsLog.h"
#include "platform/FileLock.h"
#include "platform/PropertyList.h"
#include "platform/SettingsFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <ostream>
#include <string>

namespace quorvane {

namespace {

const QString kA = QStringLiteral("a");
const QString kB = QStringLiteral("b");

QVariantMap one(const QString& key, qlonglong value) { return { { key, value } }; }

ino_t numberOf(const QByteArray& path)
{
    struct stat status { };
    return lstat(path.constData(), &status) == 0 ? status.st_ino : 0;
}

bool isLink(const QByteArray& path)
{
    struct stat status { };
    return lstat(path.constData(), &status) == 0 && S_ISLNK(status.st_mode);
}

QStringList names(std::initializer_list<const char*> list)
{
    QStringList result;
    for (const char* name : list)
        result.append(QString::fromLatin1(name));
    return result;
}

TEST(SettingsFile, IsEmptyWhereThereIsNoFile)
{
    const tests::SettingsLog log;
    const tests::SettingsFolder folder;

    const auto inFolder = SettingsFile(folder.path()).load();
    const auto withoutFolder = SettingsFile(folder.path("x/y/settings.plist")).load();

    EXPECT_EQ(inFolder, QVariantMap());
    EXPECT_EQ(withoutFolder, QVariantMap());
    EXPECT_EQ(folder.names(), QStringList()); // Looking leaves no trace.
    EXPECT_EQ(log.lines(), QStringList());
}

TEST(SettingsFile, IsMadeWithItsFolderForTheUserAlone)
{
    const tests::SettingsFolder folder;
    const SettingsFile file(folder.path("config/quorvane/settings.plist"));

    const auto merged = file.merge(one(kA, 1), {});

    ASSERT_TRUE(merged) << merged.error().message.toStdString();
    EXPECT_EQ(file.load(), one(kA, 1));
    struct stat status { };
    ASSERT_EQ(stat(folder.path("config/quorvane").constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0700U);
    ASSERT_EQ(stat(folder.path("config/quorvane/settings.plist").constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600U);
}

TEST(SettingsFile, ChangesOnlyTheKeysThatItIsGiven)
{
    const tests::SettingsFolder folder;
    folder.write(writePropertyList(QVariantMap { { kA, 1 }, { kB, 2 },
        { QStringLiteral("Unknown"), QVariantList { true, QByteArray("\0", 1) } } }));

    const auto merged = SettingsFile(folder.path()).merge({ { kA, {} }, { kB, 3 } }, {});

    const QVariantMap expected { { kB, qlonglong(3) },
        { QStringLiteral("Unknown"), QVariantList { true, QByteArray("\0", 1) } } };
    EXPECT_EQ(merged->value(kB).toLongLong(), 3);
    EXPECT_EQ(folder.values(), expected);
    EXPECT_EQ(folder.names(), names({ "settings.plist", "settings.plist.lock" }));
}

struct DamagedRow {
    const char* name;
    QByteArray contents;
};

void PrintTo(const DamagedRow& row, std::ostream* out) { *out << row.name; }

class DamagedSettings : public testing::TestWithParam<DamagedRow> { };

TEST_P(DamagedSettings, AreSetAsideWhenLoaded)
{
    const tests::SettingsLog log;
    const tests::SettingsFolder folder;
    folder.write(GetParam().contents);

    const auto loaded = SettingsFile(folder.path()).load();

    EXPECT_EQ(loaded, QVariantMap());
    EXPECT_EQ(folder.names(), names({ "settings.plist.damaged", "settings.plist.lock" }));
    EXPECT_EQ(folder.read("settings.plist.damaged"), GetParam().contents);
    ASSERT_EQ(log.lines().size(), 1);
    EXPECT_TRUE(log.lines().front().contains(QStringLiteral("settings.plist.damaged")));
}

TEST_P(DamagedSettings, AreSetAsideWhenMergedIntoAndReplacedByWhatIsKnown)
{
    const tests::SettingsLog log;
    const tests::SettingsFolder folder;
    folder.write(GetParam().contents);

    const auto merged = SettingsFile(folder.path()).merge(one(kA, 1), one(kB, 2));

    EXPECT_TRUE(merged);
    EXPECT_EQ(folder.values(), (QVariantMap { { kA, qlonglong(1) }, { kB, qlonglong(2) } }));
    EXPECT_EQ(folder.read("settings.plist.damaged"), GetParam().contents);
    EXPECT_EQ(log.lines().size(), 1);
}

INSTANTIATE_TEST_SUITE_P(SettingsFile, DamagedSettings,
    testing::Values(DamagedRow { "Garbage", "hello" }, DamagedRow { "Empty", "" },
        DamagedRow { "Zeros", QByteArray(4096, '\0') },
        DamagedRow { "Truncated", writePropertyList(one(kA, 7)).chopped(12) },
        DamagedRow { "Binary", QByteArray("bplist00\xd0\x08\0\0\0\0", 14) },
        DamagedRow { "Array", writePropertyList(QVariantList { 1 }) },
        DamagedRow { "Text", writePropertyList(QStringLiteral("a")) },
        DamagedRow { "Deep", "<plist>" + QByteArray("<array>").repeated(200'000) }),
    [](const auto& row) { return std::string(row.param.name); });

TEST(SettingsFile, NeverPutsADamagedFileOverAnother)
{
    const tests::SettingsLog log;
    const tests::SettingsFolder folder;
    folder.write("precious", "settings.plist.damaged-2");
    for (const char* contents : { "one", "two", "three" }) {
        folder.write(contents);
        EXPECT_TRUE(SettingsFile(folder.path()).load());
    }

    EXPECT_EQ(folder.read("settings.plist.damaged"), QByteArray("one"));
    EXPECT_EQ(folder.read("settings.plist.damaged-2"), QByteArray("precious"));
    EXPECT_EQ(folder.read("settings.plist.damaged-3"), QByteArray("two"));
    EXPECT_EQ(folder.read("settings.plist.damaged-4"), QByteArray("three"));
}

TEST(SettingsFile, DoesNotReadAHugeFile)
{
    const tests::SettingsLog log;
    const tests::SettingsFolder folder;
    folder.write("");
    ASSERT_EQ(truncate(folder.path().constData(), SettingsFile::kMaxBytes + 1), 0);

    const auto loaded = SettingsFile(folder.path()).load();

    EXPECT_EQ(loaded, QVariantMap());
    EXPECT_EQ(folder.names(), names({ "settings.plist.damaged", "settings.plist.lock" }));
    EXPECT_EQ(log.lines().size(), 1);
}

TEST(SettingsFile, ReadsAFileAtTheLimit)
{
    const tests::SettingsFolder folder;
    QByteArray contents = writePropertyList(one(kA, 1));
    contents.append(SettingsFile::kMaxBytes - contents.size(), '\n');
    folder.write(contents);

    EXPECT_EQ(SettingsFile(folder.path()).load(), one(kA, 1));
}

TEST(SettingsFile, WritesNoFileThatItWouldNotRead)
{
    const tests::SettingsFolder folder;
    folder.write(writePropertyList(one(kA, 1)));
    const QByteArray large(SettingsFile::kMaxBytes / 4 * 3, 'x'); // A third more as text.

    const auto merged = SettingsFile(folder.path()).merge({ { kB, large } }, {});

    ASSERT_FALSE(merged);
    EXPECT_EQ(merged.error().kind, ErrorKind::TooLarge);
    EXPECT_EQ(folder.values(), one(kA, 1));
}

TEST(SettingsFile, LeavesADamagedFileToTheViewerThatHasTheLock)
{
    const tests::SettingsLog log;
    const tests::SettingsFolder folder;
    folder.write("hello");
    const auto lock = FileLock::take(folder.path("settings.plist.lock"), FileLock::Patience::Wait);

    const auto loaded = SettingsFile(folder.path()).load();

    ASSERT_FALSE(loaded);
    EXPECT_EQ(loaded.error().kind, ErrorKind::Damaged);
    EXPECT_EQ(folder.read(), QByteArray("hello"));
}

TEST(SettingsFile, RespectsWriteProtection)
{
    const tests::SettingsLog log;
    const tests::SettingsFolder folder;
    folder.write(writePropertyList(one(kA, 1)));
    const QByteArray before = folder.read();
    ASSERT_EQ(chmod(folder.path().constData(), 0444), 0);

    const auto loaded = SettingsFile(folder.path()).load();
    const auto merged = SettingsFile(folder.path()).merge(one(kA, 2), {});

    EXPECT_EQ(loaded, one(kA, 1));
    ASSERT_FALSE(merged);
    EXPECT_EQ(merged.error().kind, ErrorKind::NotWritable);
    EXPECT_EQ(folder.read(), before);
    EXPECT_EQ(folder.names(), names({ "settings.plist" }));
}

TEST(SettingsFile, RespectsWriteProtectionBehindALink)
{
    const tests::SettingsFolder folder;
    folder.write(writePropertyList(one(kA, 1)), "target");
    ASSERT_EQ(chmod(folder.path("target").constData(), 0444), 0);
    ASSERT_EQ(symlink("target", folder.path().constData()), 0);

    EXPECT_FALSE(SettingsFile(folder.path()).merge(one(kA, 2), {}));
    EXPECT_EQ(folder.values("target"), one(kA, 1));
}

TEST(SettingsFile, LeavesADamagedFileThatIsWriteProtected)
{
    const tests::SettingsLog log;
    const tests::SettingsFolder folder;
    folder.write("hello");
    ASSERT_EQ(chmod(folder.path().constData(), 0400), 0);

    EXPECT_FALSE(SettingsFile(folder.path()).load());
    EXPECT_FALSE(SettingsFile(folder.path()).merge(one(kA, 1), {}));
    EXPECT_EQ(folder.read(), QByteArray("hello"));
}

TEST(SettingsFile, WritesThroughALink)
{
    const tests::SettingsFolder folder;
    ASSERT_EQ(mkdir(folder.path("dotfiles").constData(), 0755), 0);
    folder.write(writePropertyList(one(kA, 1)), "dotfiles/target");
    ASSERT_EQ(symlink("dotfiles/target", folder.path("second").constData()), 0);
    ASSERT_EQ(symlink(folder.path("second").constData(), folder.path().constData()), 0);

    const auto merged = SettingsFile(folder.path()).merge(one(kB, 2), {});

    EXPECT_TRUE(merged);
    EXPECT_TRUE(isLink(folder.path()));
    EXPECT_TRUE(isLink(folder.path("second")));
    EXPECT_FALSE(isLink(folder.path("dotfiles/target")));
    EXPECT_EQ(folder.values("dotfiles/target"),
        (QVariantMap { { kA, qlonglong(1) }, { kB, qlonglong(2) } }));
}

TEST(SettingsFile, MakesTheFileThatALinkPromises)
{
    const tests::SettingsFolder folder;
    ASSERT_EQ(symlink("target", folder.path().constData()), 0);
    const SettingsFile file(folder.path());

    EXPECT_EQ(file.load(), QVariantMap());
    EXPECT_TRUE(file.merge(one(kA, 1), {}));
    EXPECT_TRUE(isLink(folder.path()));
    EXPECT_EQ(folder.values("target"), one(kA, 1));
}

TEST(SettingsFile, SetsAsideWhatALinkLeadsToNotTheLink)
{
    const tests::SettingsLog log;
    const tests::SettingsFolder folder;
    folder.write("hello", "target");
    ASSERT_EQ(symlink("target", folder.path().constData()), 0);

    EXPECT_TRUE(SettingsFile(folder.path()).load());
    EXPECT_TRUE(isLink(folder.path()));
    EXPECT_EQ(folder.read("target.damaged"), QByteArray("hello"));
}

TEST(SettingsFile, IsNoUseInACircleOfLinks)
{
    const tests::SettingsFolder folder;
    ASSERT_EQ(symlink("settings.plist", folder.path().constData()), 0);

    EXPECT_FALSE(SettingsFile(folder.path()).load());
    EXPECT_FALSE(SettingsFile(folder.path()).merge(one(kA, 1), {}));
    EXPECT_TRUE(isLink(folder.path()));
}

enum class Strange { Folder, Pipe, DeviceBehindLink };

class StrangeSettings : public testing::TestWithParam<Strange> { };

TEST_P(StrangeSettings, AreNeitherOpenedNorReplaced)
{
    const tests::SettingsFolder folder;
    const QByteArray path = folder.path();
    const int made = GetParam() == Strange::Folder ? mkdir(path.constData(), 0755)
        : GetParam() == Strange::Pipe              ? mkfifo(path.constData(), 0644)
                                                   : symlink("/dev/zero", path.constData());
    ASSERT_EQ(made, 0);
    const ino_t before = numberOf(path);
    const SettingsFile file(path);

    const auto loaded = file.load();
    const auto merged = file.merge(one(kA, 1), {});

    ASSERT_FALSE(loaded);
    ASSERT_FALSE(merged);
    EXPECT_EQ(loaded.error().message, merged.error().message); // So the log needs it once.
    EXPECT_EQ(numberOf(path), before);
    EXPECT_EQ(folder.names(), names({ "settings.plist" }));
}

INSTANTIATE_TEST_SUITE_P(SettingsFile, StrangeSettings,
    testing::Values(Strange::Folder, Strange::Pipe, Strange::DeviceBehindLink),
    [](const auto& row) {
        return std::string(row.param == Strange::Folder ? "Folder"
                : row.param == Strange::Pipe            ? "Pipe"
                                                        : "DeviceBehindLink");
    });

TEST(SettingsFile, CannotBeMadeBelowAFile)
{
    const tests::SettingsFolder folder;
    folder.write("x", "file");
    const SettingsFile file(folder.path("file/quorvane/settings.plist"));

    EXPECT_EQ(file.load(), QVariantMap());
    const auto merged = file.merge(one(kA, 1), {});

    ASSERT_FALSE(merged);
    EXPECT_EQ(merged.error().kind, ErrorKind::NotWritable);
    EXPECT_EQ(folder.read("file"), QByteArray("x"));
}

TEST(SettingsFile, KeepsNamesThatAreNotUtf8)
{
    const tests::SettingsFolder folder;
    const SettingsFile file(folder.path("\xff\xfe/settings.plist"));

    EXPECT_TRUE(file.merge(one(kA, 1), {}));
    EXPECT_EQ(file.load(), one(kA, 1));
    // Also tidies up: the temporary folder cannot remove such names.
    EXPECT_EQ(unlink(folder.path("\xff\xfe/settings.plist").constData()), 0);
    EXPECT_EQ(unlink(folder.path("\xff\xfe/settings.plist.lock").constData()), 0);
    EXPECT_EQ(rmdir(folder.path("\xff\xfe").constData()), 0);
}

TEST(SettingsFile, DoesNotTakeALeftoverForSettings)
{
    const tests::SettingsFolder folder;
    folder.write(writePropertyList(one(kA, 1)));
    folder.write("<plist><di", ".settings.plist.new"); // Killed while it was writing.
    const SettingsFile file(folder.path());

    EXPECT_EQ(file.load(), one(kA, 1));
    EXPECT_TRUE(file.merge(one(kB, 2), {}));
    EXPECT_EQ(folder.names(), names({ "settings.plist", "settings.plist.lock" }));
}

} // namespace

} // namespace quorvane
