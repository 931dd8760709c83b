// SPDX-License-Identifier: GPL-3.0-or-later
// The settings: registered beneath set, told to observers, kept on the disk whatever happens.
#include "SettingsLog.h"
#include "platform/UserDefaults.h"

#include <QDateTime>
#include <QRandomGenerator>
#include <QRect>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <limits>
#include <optional>
#include <ostream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace quorvane {

namespace {

constexpr QLatin1String kKey("Key");
constexpr QLatin1String kOther("Other");

/// Far more than any write takes; reached only if one never ends.
constexpr std::chrono::milliseconds kLong { 30'000 };

QVariantMap one(QLatin1String key, const QVariant& value) { return { { QString(key), value } }; }

TEST(UserDefaults, KnowsNothingAtFirst)
{
    const UserDefaults defaults;

    EXPECT_FALSE(defaults.value(kKey).isValid());
    EXPECT_FALSE(defaults.hasValue(kKey));
    EXPECT_FALSE(defaults.boolValue(kKey));
    EXPECT_EQ(defaults.integerValue(kKey), 0);
    EXPECT_EQ(defaults.floatValue(kKey), 0.0);
    EXPECT_TRUE(defaults.stringValue(kKey).isNull());
    EXPECT_TRUE(defaults.arrayValue(kKey).isEmpty());
    EXPECT_TRUE(defaults.dataValue(kKey).isNull());
}

TEST(UserDefaults, PrefersTheUsersValueToTheRegisteredOne)
{
    UserDefaults defaults;
    defaults.registerDefaults(one(kKey, 1));
    EXPECT_EQ(defaults.integerValue(kKey), 1);

    defaults.setValue(kKey, 2);
    EXPECT_EQ(defaults.integerValue(kKey), 2);
    defaults.registerDefaults(one(kKey, 3));
    EXPECT_EQ(defaults.integerValue(kKey), 2);
    defaults.removeValue(kKey);
    EXPECT_EQ(defaults.integerValue(kKey), 3);
    EXPECT_TRUE(defaults.hasValue(kKey));
}

TEST(UserDefaults, AddsWhatIsRegisteredLater)
{
    UserDefaults defaults;

    defaults.registerDefaults({ { QString(kKey), 1 }, { QString(kOther), 2 } });
    defaults.registerDefaults(one(kKey, 3));

    EXPECT_EQ(defaults.integerValue(kKey), 3);
    EXPECT_EQ(defaults.integerValue(kOther), 2);
}

TEST(UserDefaults, GivesValuesInTheTypesOfAPropertyList)
{
    UserDefaults defaults;
    defaults.registerDefaults(one(kOther, 0.5F));

    defaults.setValue(kKey, 5);

    EXPECT_EQ(defaults.value(kKey).typeId(), QMetaType::LongLong);
    EXPECT_EQ(defaults.value(kOther).typeId(), QMetaType::Double);
    defaults.setValue(kKey, QStringList { QStringLiteral("a") });
    EXPECT_EQ(defaults.arrayValue(kKey), QVariantList { QStringLiteral("a") });
    defaults.setValue(kKey, true);
    EXPECT_EQ(defaults.value(kKey).typeId(), QMetaType::Bool);
}

TEST(UserDefaults, RefusesWhatNoPropertyListCanHold)
{
    const tests::SettingsLog log;
    UserDefaults defaults;
    int calls = 0;
    defaults.setValue(kKey, 1);
    const Observation ticket = defaults.observe(kKey, [&] { ++calls; });

    defaults.setValue(kKey, QRect(1, 2, 3, 4));
    defaults.registerDefaults(one(kKey, QVariantList { QVariant() }));

    EXPECT_EQ(defaults.integerValue(kKey), 1);
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(log.lines().size(), 2);
}

TEST(UserDefaults, RemovesWhenAnInvalidValueIsSet)
{
    UserDefaults defaults;
    defaults.setValue(kKey, 1);

    defaults.setValue(kKey, QVariant());

    EXPECT_FALSE(defaults.hasValue(kKey));
}

struct LenientRow {
    const char* name;
    QVariant value;
    bool truth;
    qint64 integer;
    double number;
    QString text;
};

void PrintTo(const LenientRow& row, std::ostream* out) { *out << row.name; }

class LenientReading : public testing::TestWithParam<LenientRow> { };

TEST_P(LenientReading, TakesWhatCanBeRead)
{
    UserDefaults defaults;
    defaults.setValue(kKey, GetParam().value);

    EXPECT_EQ(defaults.boolValue(kKey), GetParam().truth);
    EXPECT_EQ(defaults.integerValue(kKey), GetParam().integer);
    EXPECT_EQ(defaults.floatValue(kKey), GetParam().number);
    EXPECT_EQ(defaults.stringValue(kKey), GetParam().text);
}

constexpr qint64 kMost = std::numeric_limits<qint64>::max();
constexpr qint64 kLeast = std::numeric_limits<qint64>::min();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

INSTANTIATE_TEST_SUITE_P(UserDefaults, LenientReading,
    testing::Values(LenientRow { "True", true, true, 1, 1, QStringLiteral("1") },
        LenientRow { "False", false, false, 0, 0, QStringLiteral("0") },
        LenientRow { "Whole", 42, true, 42, 42, QStringLiteral("42") },
        LenientRow { "Minus", -1, true, -1, -1, QStringLiteral("-1") },
        LenientRow { "Zero", 0, false, 0, 0, QStringLiteral("0") },
        LenientRow { "Real", 2.75, true, 2, 2.75, QStringLiteral("2.75") },
        LenientRow { "MinusReal", -2.75, true, -2, -2.75, QStringLiteral("-2.75") },
        LenientRow { "Half", 0.5, true, 0, 0.5, QStringLiteral("0.5") },
        LenientRow { "RealZero", 0.0, false, 0, 0, QStringLiteral("0") },
        LenientRow { "Huge", 1e30, true, kMost, 1e30, QStringLiteral("1e+30") },
        LenientRow { "MinusHuge", -1e30, true, kLeast, -1e30, QStringLiteral("-1e+30") },
        LenientRow { "Edge", 9223372036854775808.0, true, kMost, 9223372036854775808.0,
            QStringLiteral("9223372036854776000") },
        LenientRow { "Infinity", kInfinity, true, kMost, kInfinity, QStringLiteral("inf") },
        LenientRow { "Unsigned", std::numeric_limits<qulonglong>::max(), true, kMost,
            18446744073709551616.0, QStringLiteral("18446744073709551615") },
        LenientRow { "Yes", QStringLiteral("YES"), true, 0, 0, QStringLiteral("YES") },
        LenientRow { "No", QStringLiteral("NO"), false, 0, 0, QStringLiteral("NO") },
        LenientRow { "Text", QStringLiteral(" 2.5 s"), true, 2, 2.5, QStringLiteral(" 2.5 s") },
        LenientRow { "Empty", QStringLiteral(""), false, 0, 0, QStringLiteral("") },
        LenientRow { "Data", QByteArray("1"), false, 0, 0, QString() },
        LenientRow { "Array", QVariantList { 1 }, false, 0, 0, QString() },
        LenientRow { "Dictionary", QVariantMap(), false, 0, 0, QString() },
        LenientRow {
            "Date", QDateTime(QDate(2024, 1, 1), QTime(1, 2), Qt::UTC), false, 0, 0, QString() }),
    [](const auto& row) { return std::string(row.param.name); });

TEST(UserDefaults, GivesNotANumberAsZero)
{
    UserDefaults defaults;

    defaults.setValue(kKey, std::numeric_limits<double>::quiet_NaN());

    EXPECT_EQ(defaults.integerValue(kKey), 0);
}

TEST(UserDefaults, GivesContainersOnlyAsWhatTheyAre)
{
    UserDefaults defaults;
    defaults.registerDefaults({ { QStringLiteral("array"), QVariantList { 1 } },
        { QStringLiteral("data"), QByteArray("\0x", 2) },
        { QStringLiteral("text"), QStringLiteral("abc") } });

    EXPECT_EQ(defaults.arrayValue(QLatin1String("array")), QVariantList { qlonglong(1) });
    EXPECT_EQ(defaults.arrayValue(QLatin1String("text")), QVariantList());
    EXPECT_EQ(defaults.dataValue(QLatin1String("data")), QByteArray("\0x", 2));
    EXPECT_TRUE(defaults.dataValue(QLatin1String("text")).isNull());
}

TEST(UserDefaults, TellsObserversBeforeTheSetterReturns)
{
    UserDefaults defaults;
    std::vector<qint64> seen;
    const Observation ticket
        = defaults.observe(kKey, [&] { seen.push_back(defaults.integerValue(kKey)); });

    defaults.setValue(kKey, 1);
    EXPECT_EQ(seen, (std::vector<qint64> { 1 }));
    defaults.setValue(kKey, 1); // Equal, and yet set.
    EXPECT_EQ(seen, (std::vector<qint64> { 1, 1 }));
    defaults.registerDefaults(one(kKey, 7)); // Beneath the user's value.
    EXPECT_EQ(seen, (std::vector<qint64> { 1, 1, 1 }));
    defaults.removeValue(kKey);
    EXPECT_EQ(seen, (std::vector<qint64> { 1, 1, 1, 7 }));
    defaults.setValue(kOther, 5);
    defaults.registerDefaults(one(kOther, 7));
    EXPECT_EQ(seen.size(), 4U);
}

TEST(UserDefaults, TellsNobodyWhoseTicketIsGone)
{
    UserDefaults defaults;
    int calls = 0;
    {
        const Observation ticket = defaults.observe(kKey, [&] { ++calls; });
    }

    defaults.setValue(kKey, 1);

    EXPECT_EQ(calls, 0);
}

TEST(UserDefaults, LetsObserversChangeValuesAndObservers)
{
    UserDefaults defaults;
    int calls = 0;
    std::optional<Observation> inner;
    std::optional<Observation> outer;
    outer = defaults.observe(kKey, [&] {
        inner = defaults.observe(kOther, [&] { ++calls; });
        defaults.setValue(kOther, 1);
        outer.reset();
    });

    defaults.setValue(kKey, 1);
    defaults.setValue(kKey, 2);

    EXPECT_EQ(calls, 1);
    EXPECT_EQ(defaults.integerValue(kOther), 1);
}

TEST(UserDefaults, MayGoBeforeItsObservers)
{
    std::optional<UserDefaults> defaults(std::in_place);
    const Observation ticket = defaults->observe(kKey, [] {});

    defaults.reset();
}

TEST(UserDefaults, IsReadByOtherThreadsWhileItIsWritten)
{
    const tests::SettingsFolder folder;
    UserDefaults defaults(folder.path());
    defaults.setValue(kKey, 0);
    std::atomic<bool> done = false;
    std::vector<std::thread> readers;
    for (int i = 0; i < 3; ++i) {
        readers.emplace_back([&] {
            qint64 last = 0;
            while (!done) {
                const qint64 now = defaults.integerValue(kKey);
                EXPECT_GE(now, last);
                EXPECT_EQ(defaults.hasValue(kKey), true);
                last = now;
            }
        });
    }

    for (int i = 1; i <= 1000; ++i) {
        defaults.setValue(kKey, i);
        defaults.setValue(kOther, QString::number(i));
    }
    done = true;
    for (std::thread& reader : readers)
        reader.join();

    EXPECT_TRUE(defaults.flush(kLong));
    EXPECT_EQ(folder.values().value(QString(kKey)), QVariant(qlonglong(1000)));
}

TEST(UserDefaults, KeepsWhatIsSetAndNotWhatIsRegistered)
{
    const tests::SettingsLog log;
    const tests::SettingsFolder folder;
    {
        UserDefaults defaults(folder.path("quorvane/settings.plist"));
        defaults.registerDefaults({ { QString(kKey), 1 }, { QString(kOther), 2 } });
        defaults.setValue(kKey, 1); // Equal to the registered value, and kept all the same.
    }

    EXPECT_EQ(folder.values("quorvane/settings.plist"), one(kKey, qlonglong(1)));
    const UserDefaults again(folder.path("quorvane/settings.plist"));
    EXPECT_EQ(again.value(kKey), QVariant(qlonglong(1)));
    EXPECT_FALSE(again.hasValue(kOther));
    EXPECT_EQ(log.lines(), QStringList());
}

TEST(UserDefaults, KeepsValuesWithTheirTypes)
{
    const tests::SettingsFolder folder;
    const QVariantMap values { { QStringLiteral("bool"), true },
        { QStringLiteral("integer"), qlonglong(1) }, { QStringLiteral("real"), 1.0 / 3 },
        { QStringLiteral("whole"), 1.0 }, { QStringLiteral("text"), QStringLiteral("\r\n\u00e4") },
        { QStringLiteral("data"), QByteArray("\0\xff", 2) },
        { QStringLiteral("one"), QVariantList { QStringLiteral("x") } },
        { QStringLiteral("none"), QVariantList() }, { QStringLiteral("map"), QVariantMap() } };
    {
        UserDefaults defaults(folder.path());
        for (auto entry = values.begin(); entry != values.end(); ++entry)
            defaults.setValue(QLatin1String(entry.key().toLatin1()), entry.value());
    }

    const UserDefaults again(folder.path());

    for (auto entry = values.begin(); entry != values.end(); ++entry) {
        const QVariant value = again.value(QLatin1String(entry.key().toLatin1()));
        EXPECT_EQ(value, entry.value()) << entry.key().toStdString();
        EXPECT_EQ(value.typeId(), entry.value().typeId()) << entry.key().toStdString();
    }
}

TEST(UserDefaults, RemovesFromTheFileToo)
{
    const tests::SettingsFolder folder;
    {
        UserDefaults defaults(folder.path());
        defaults.setValue(kKey, 1);
        defaults.setValue(kOther, 2);
        EXPECT_TRUE(defaults.flush(kLong));
        defaults.removeValue(kKey);
    }

    EXPECT_EQ(folder.values(), one(kOther, qlonglong(2)));
}

TEST(UserDefaults, KeepsKeysItDoesNotKnow)
{
    const tests::SettingsFolder folder;
    const QVariantMap foreign { { QStringLiteral("FromTheFuture"),
        QVariantMap { { QStringLiteral("x"), QVariantList { false, 1.5 } } } } };
    folder.write(writePropertyList(foreign));
    {
        UserDefaults defaults(folder.path());
        defaults.setValue(kKey, 1);
        defaults.removeValue(kKey);
    }

    EXPECT_EQ(folder.values(), foreign);
}

TEST(UserDefaults, LeavesTheKeysOfAnotherViewerAlone)
{
    const tests::SettingsFolder folder;
    UserDefaults first(folder.path());
    UserDefaults second(folder.path());

    for (int i = 0; i < 50; ++i) {
        first.setValue(kKey, i);
        second.setValue(kOther, i);
    }
    second.setValue(QLatin1String("Gone"), 1);
    EXPECT_TRUE(second.flush(kLong));
    first.removeValue(QLatin1String("Gone"));

    EXPECT_TRUE(first.flush(kLong));
    EXPECT_EQ(folder.values(),
        (QVariantMap { { QString(kKey), qlonglong(49) }, { QString(kOther), qlonglong(49) } }));
}

TEST(UserDefaults, WritesAChangeOnce)
{
    const tests::SettingsFolder folder;
    UserDefaults first(folder.path());
    UserDefaults second(folder.path());
    first.setValue(kKey, 1);
    ASSERT_TRUE(first.flush(kLong));
    second.setValue(kKey, 2);
    ASSERT_TRUE(second.flush(kLong));

    first.setValue(kOther, 3); // Says nothing about the other key, which is the second one's now.

    ASSERT_TRUE(first.flush(kLong));
    EXPECT_EQ(folder.values().value(QString(kKey)), QVariant(qlonglong(2)));
}

TEST(UserDefaults, RestoresItsValuesWhenTheFileIsDamagedMeanwhile)
{
    const tests::SettingsLog log;
    const tests::SettingsFolder folder;
    folder.write(writePropertyList(one(kKey, 1)));
    UserDefaults defaults(folder.path());
    folder.write("hello");

    defaults.setValue(kOther, 2);

    EXPECT_TRUE(defaults.flush(kLong));
    EXPECT_EQ(folder.values(),
        (QVariantMap { { QString(kKey), qlonglong(1) }, { QString(kOther), qlonglong(2) } }));
}

TEST(UserDefaults, ServesRegisteredValuesWhenTheFileIsDamaged)
{
    const tests::SettingsLog log;
    const tests::SettingsFolder folder;
    folder.write("hello");
    {
        UserDefaults defaults(folder.path());
        defaults.registerDefaults(one(kKey, 5));
        EXPECT_EQ(defaults.integerValue(kKey), 5);
        defaults.setValue(kOther, 1);
    }

    EXPECT_EQ(folder.values(), one(kOther, qlonglong(1)));
    EXPECT_EQ(folder.read("settings.plist.damaged"), QByteArray("hello"));
    EXPECT_EQ(log.lines().size(), 1);
}

TEST(UserDefaults, LivesInMemoryBesideAWriteProtectedFile)
{
    const tests::SettingsLog log;
    const tests::SettingsFolder folder;
    folder.write(writePropertyList(one(kKey, 1)));
    const QByteArray before = folder.read();
    ASSERT_EQ(chmod(folder.path().constData(), 0444), 0);
    {
        UserDefaults defaults(folder.path());
        EXPECT_EQ(defaults.integerValue(kKey), 1);
        for (int i = 0; i < 3; ++i) {
            defaults.setValue(kKey, 2 + i);
            EXPECT_FALSE(defaults.flush(kLong));
        }
        EXPECT_EQ(defaults.integerValue(kKey), 4);
    }

    EXPECT_EQ(folder.read(), before);
    EXPECT_EQ(log.lines().size(), 1);
}

TEST(UserDefaults, LivesInMemoryBesideAPipe)
{
    const tests::SettingsLog log;
    const tests::SettingsFolder folder;
    ASSERT_EQ(mkfifo(folder.path().constData(), 0600), 0);
    {
        UserDefaults defaults(folder.path());
        defaults.setValue(kKey, 1);
        EXPECT_FALSE(defaults.flush(kLong));
        EXPECT_EQ(defaults.integerValue(kKey), 1);
    }

    EXPECT_EQ(folder.names(), QStringList { QStringLiteral("settings.plist") });
    EXPECT_EQ(log.lines().size(), 1);
}

TEST(UserDefaults, NeedsNoFile)
{
    const tests::SettingsLog log;
    UserDefaults defaults;

    defaults.setValue(kKey, 1);

    EXPECT_TRUE(defaults.flush(kLong));
    EXPECT_EQ(defaults.integerValue(kKey), 1);
    EXPECT_EQ(log.lines(), QStringList());
}

/// An environment variable for as long as a test needs it.
class Variable {
public:
    Variable(const char* name, const char* value)
        : mName(name)
        , mBefore(qgetenv(name))
    {
        value ? setenv(name, value, 1) : unsetenv(name);
    }

    ~Variable() { mBefore.isNull() ? unsetenv(mName) : setenv(mName, mBefore.constData(), 1); }

    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

private:
    const char* mName;
    QByteArray mBefore;
};

struct PlaceRow {
    const char* name;
    const char* config;
    const char* home;
    const char* path;
};

void PrintTo(const PlaceRow& row, std::ostream* out) { *out << row.name; }

class StandardPlace : public testing::TestWithParam<PlaceRow> { };

TEST_P(StandardPlace, FollowsTheEnvironment)
{
    const Variable config("XDG_CONFIG_HOME", GetParam().config);
    const Variable home("HOME", GetParam().home);

    EXPECT_EQ(UserDefaults::standardPath(), QByteArray(GetParam().path));
}

INSTANTIATE_TEST_SUITE_P(UserDefaults, StandardPlace,
    testing::Values(PlaceRow { "Config", "/c", "/h", "/c/quorvane/settings.plist" },
        PlaceRow { "Bytes", "/c\xff", "/h", "/c\xff/quorvane/settings.plist" },
        PlaceRow { "Unset", nullptr, "/h", "/h/.config/quorvane/settings.plist" },
        PlaceRow { "Empty", "", "/h", "/h/.config/quorvane/settings.plist" },
        PlaceRow { "Relative", "c", "/h", "/h/.config/quorvane/settings.plist" },
        PlaceRow { "Homeless", nullptr, nullptr, "" }),
    [](const auto& row) { return std::string(row.param.name); });

/// Counts for ever with two keys, one after the other, and says what is on the disk.
[[noreturn]] void countUntilKilled(const QByteArray& path, int pipe)
{
    UserDefaults defaults(path);
    for (qint64 number = defaults.integerValue(kOther) + 1;; ++number) {
        defaults.setValue(kKey, number);
        defaults.setValue(kOther, number);
        const bool isSaved = defaults.flush(kLong);
        if (!isSaved || write(pipe, &number, sizeof number) != sizeof number)
            _exit(1);
    }
}

/// Lets a child count, kills it at a random moment. \return the last number it called safe, -1 if
/// it did not get so far.
qint64 killWhileCounting(const QByteArray& path, QRandomGenerator& random)
{
    std::array<int, 2> ends {};
    if (pipe(ends.data()) != 0)
        return -1;
    const pid_t child = fork();
    if (child == 0)
        countUntilKilled(path, ends[1]);
    close(ends[1]);
    qint64 number = -1;
    bool isAlive = read(ends[0], &number, sizeof number) == sizeof number;
    // Some hundred microseconds of the kernel's time: a write takes about as long.
    for (quint32 turns = random.bounded(8000U); turns > 0; --turns)
        getppid();
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    isAlive = isAlive && WIFSIGNALED(status);
    while (read(ends[0], &number, sizeof number) == sizeof number) { }
    close(ends[0]);
    return isAlive ? number : -1;
}

/// Five hundred rounds in ten portions: on a busy machine a round waits for its turns.
class KilledViewer : public testing::TestWithParam<quint32> { };

TEST_P(KilledViewer, LeavesTheOldOrTheNewFile)
{
    // In memory where the system has such a folder: a killed process tears files there as anywhere,
    // and no round waits for the disk.
    const bool hasMemory = access("/dev/shm", W_OK) == 0;
    const tests::SettingsFolder folder(hasMemory ? QStringLiteral("/dev/shm/XXXXXX") : QString());
    folder.write(writePropertyList(one(QLatin1String("Foreign"), 1)));
    QRandomGenerator random(GetParam());

    for (int round = 0; round < 50; ++round) {
        const qint64 safe = killWhileCounting(folder.path(), random);

        ASSERT_GE(safe, 0) << round;
        const QVariantMap values = folder.values();
        const qint64 first = values.value(QString(kKey)).toLongLong();
        const qint64 second = values.value(QString(kOther)).toLongLong();
        ASSERT_TRUE(first == second || first == second + 1) << first << " " << second;
        ASSERT_GE(second, safe);
        ASSERT_EQ(values.size(), 3);
        ASSERT_LE(folder.names().size(), 3); // The file, its lock, at most one torn leftover.
    }
}

INSTANTIATE_TEST_SUITE_P(UserDefaults, KilledViewer, testing::Range(0U, 10U));

} // namespace

} // namespace quorvane
