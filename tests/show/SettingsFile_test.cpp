// SPDX-License-Identifier: GPL-3.0-or-later
// The user's settings file survives what programs, disks and people do to it.
#include "ShowTest.h"

#include <QDir>
#include <QFile>

#include <algorithm>
#include <ostream>
#include <set>

namespace quorvane::show {

namespace {

using std::chrono::milliseconds;

struct SettingsFile : ShowTest {
    void SetUp() override
    {
        ShowTest::SetUp();
        pictures.writeSolid("1.png", kRed);
    }

    /// One slide under the registered defaults: they may put the hint in front of it.
    [[nodiscard]] testing::AssertionResult showsWithDefaults()
    {
        viewer->start({ pictures.path() });
        if (auto focused = waitWhileRunning(QStringLiteral("the show has the keyboard"),
                [&] { return desktop.focusedProcess() == viewer->pid() && colourCount() > 1; });
            !focused) {
            return focused;
        }
        return leadsTo(XK_Right, kRed);
    }

    /// Killed `delay` after the digit 8 and another one were pressed.
    [[nodiscard]] testing::AssertionResult killedWhileStoring(KeySymbol digit, milliseconds delay)
    {
        viewer->start({ pictures.path() });
        if (auto shown = ready(kRed); !shown)
            return shown;
        desktop.key(XK_8);
        desktop.key(digit);
        desktop.pause(delay);
        viewer->kill(SIGKILL);
        return desktop.waitFor(QStringLiteral("it is gone"), [&] { return !viewer->running(); });
    }

    /// The file is whole, and its interval is one of these.
    [[nodiscard]] testing::AssertionResult holdsOneOf(const std::set<double>& intervals)
    {
        const auto settings = viewer->settings();
        if (!settings || settings->value(QStringLiteral("sort")) != QStringLiteral("name"))
            return testing::AssertionFailure() << "the settings are not whole";
        const double interval = settings->value(QStringLiteral("slideInterval")).toDouble();
        if (intervals.contains(interval))
            return testing::AssertionSuccess();
        return testing::AssertionFailure() << "the interval is " << interval;
    }

    /// Some file beside the settings holds exactly these bytes.
    bool isSetAside(const QByteArray& bytes) const
    {
        const QDir folder(viewer->settingsFolder());
        const auto files = folder.entryInfoList(QDir::Files | QDir::Hidden);
        return std::any_of(files.begin(), files.end(), [&](const QFileInfo& info) {
            QFile file(info.filePath());
            return info.fileName() != QLatin1String("settings.plist")
                && file.open(QIODevice::ReadOnly) && file.readAll() == bytes;
        });
    }
};

struct Unreadable {
    const char* name;
    QByteArray bytes;
};

void PrintTo(const Unreadable& row, std::ostream* out) { *out << row.name; }

struct UnreadableSettings : SettingsFile, testing::WithParamInterface<Unreadable> { };

TEST_P(UnreadableSettings, AreSetAsideAndTheShowRuns)
{
    const QByteArray& bytes = GetParam().bytes;
    viewer->writeSettingsFile(bytes);

    ASSERT_TRUE(showsWithDefaults());
    desktop.key(XK_5);

    EXPECT_TRUE(stores("slideInterval", 5.0));
    EXPECT_TRUE(isSetAside(bytes));
}

const char* const kCutShort
    = "<?xml version=\"1.0\"?>\n<plist version=\"1.0\"><dict><key>slideInterval</key><rea";
const QByteArray kBinary = QByteArrayLiteral(
    "bplist00\xd1\x01\x02Xautostart\x09\x08\x0b\x14\x00\x00\x00\x00\x00\x00\x01\x01");

INSTANTIATE_TEST_SUITE_P(Each, UnreadableSettings,
    testing::Values(Unreadable { "Garbage", QByteArray("\x00\xff words \x1b]0;x\x07 <<<", 20) },
        Unreadable { "CutShort", kCutShort }, Unreadable { "Binary", kBinary },
        Unreadable { "OtherXml", "<svg><dict><key>sort</key><string>name</string></dict></svg>" },
        Unreadable {
            "DeepNesting", "<plist><dict><key>a</key>" + QByteArray("<array>").repeated(100000) }),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(SettingsFile, AreMadeWhenThereAreNone)
{
    ASSERT_TRUE(showsWithDefaults());

    desktop.key(XK_7);

    EXPECT_TRUE(stores("slideInterval", 7.0));
}

TEST_F(SettingsFile, KeepsWhatThisVersionDoesNotKnow)
{
    startShow({ { QStringLiteral("fromTheFuture"), QStringLiteral("kept") } });
    ASSERT_TRUE(ready(kRed));

    desktop.key(XK_7);

    EXPECT_TRUE(stores("slideInterval", 7.0));
    EXPECT_EQ(viewer->settings()->value(QStringLiteral("fromTheFuture")), QStringLiteral("kept"));
}

TEST_F(SettingsFile, WrongTypesDoNoHarm)
{
    startShow({ { QStringLiteral("slideInterval"), QStringLiteral("soon") },
        { QStringLiteral("autoStart"), QStringLiteral("perhaps") }, { QStringLiteral("sort"), 7 },
        { QStringLiteral("EndMode"), true },
        { QStringLiteral("MaxFolderLevel"), QStringLiteral("deep") } });

    ASSERT_TRUE(ready(kRed));
    ASSERT_TRUE(leadsTo(XK_Right, kRed));
    EXPECT_TRUE(quits());
}

TEST_F(SettingsFile, IntervalsOutOfRangeDoNoHarm)
{
    pictures.writeSolid("2.png", kGreen);
    for (const double interval : { -5.0, 0.0, 1e300 }) {
        startShow({ { QStringLiteral("slideInterval"), interval },
            { QStringLiteral("autoStart"), true } });
        ASSERT_TRUE(desktop.waitFor(QStringLiteral("the show has the keyboard"),
            [&] { return desktop.focusedProcess() == viewer->pid(); }));
        EXPECT_TRUE(quits()) << interval;
    }
}

TEST_F(SettingsFile, ThatCannotBeWrittenIsLeftWhole)
{
    viewer->writeSettings(plainSettings());
    QFile::setPermissions(viewer->settingsFile(), QFile::ReadOwner);
    QFile::setPermissions(viewer->settingsFolder(), QFile::ReadOwner | QFile::ExeOwner);

    viewer->start({ pictures.path() });
    ASSERT_TRUE(ready(kRed));
    desktop.key(XK_7);
    ASSERT_TRUE(quits());

    // The administrator's programs write past permissions: then the new value is there.
    const auto settings = viewer->settings();
    ASSERT_TRUE(settings);
    EXPECT_EQ(settings->value(QStringLiteral("sort")), QStringLiteral("name"));
    const double interval = settings->value(QStringLiteral("slideInterval")).toDouble();
    EXPECT_TRUE(interval == 5.0 || interval == 7.0) << interval;
    QFile::setPermissions(
        viewer->settingsFolder(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

TEST_F(SettingsFile, AFileInTheFoldersPlaceIsLeftAlone)
{
    ASSERT_TRUE(QDir(viewer->settingsFolder()).removeRecursively());
    QFile file(viewer->settingsFolder());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write("mine") == 4);
    file.close();

    ASSERT_TRUE(showsWithDefaults());
    desktop.key(XK_7);

    EXPECT_TRUE(staysFor(milliseconds(500)));
    EXPECT_TRUE(viewer->running());
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), QByteArrayLiteral("mine"));
}

TEST_F(SettingsFile, IsWholeAfterTheProgramIsKilled)
{
    killed = true;
    viewer->writeSettings(plainSettings());

    constexpr int kRounds = 5;
    double before = 5;
    for (int round = 0; round < kRounds; ++round) {
        const double digit = round % 2 == 0 ? 7 : 9;
        ASSERT_TRUE(killedWhileStoring(digit == 7 ? XK_7 : XK_9, milliseconds(3 * round)));
        ASSERT_TRUE(holdsOneOf({ before, 8, digit }));
        before = viewer->settings()->value(QStringLiteral("slideInterval")).toDouble();
    }

    viewer->start({ pictures.path() });
    EXPECT_TRUE(ready(kRed));
}

} // namespace

} // namespace quorvane::show
