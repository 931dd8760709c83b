// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/DesktopApplication.h"
#include "platform/FileURL.h"
#include "support/ByteFolder.h"
#include "support/PrivateBus.h"

#include <QDBusVirtualObject>
#include <QDir>
#include <QProcess>

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace quorvane {
namespace {

using tests::ByteFolder;
using tests::PrivateBus;

QByteArray contents(const QByteArray& path)
{
    QFile file(QFile::decodeName(path));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// What the test program answers for an error.
QByteArray error(ErrorKind kind) { return "error " + QByteArray::number(static_cast<int>(kind)); }

/// A desktop of the test's own, which has no applications but those that the test makes.
struct DesktopApplicationTest : testing::Test {
    ByteFolder folder;
    QByteArray recorder = program("bin/record");
    QByteArray picture = folder.file("picture.png", "\x89PNG\r\n\x1a\n");

    /// An executable that writes down its arguments, what its streams are, its own number, and that
    /// of its session.
    QByteArray program(const QByteArray& name) const
    {
        const QByteArray path = folder.file(name,
            "#!/bin/sh\n"
            "out=${0%/*}\n"
            "streams=$(readlink /proc/$$/fd/0 /proc/$$/fd/1 /proc/$$/fd/2)\n"
            "printf '%s\\n' \"$streams\" >\"$out/streams\"\n"
            "cut -d' ' -f1,6 /proc/$$/stat >\"$out/session\"\n"
            "printf '%s\\0' \"$@\" >\"$out/begun\"\n"
            "mv \"$out/begun\" \"$out/arguments\"\n");
        chmod(path.constData(), 0755);
        return path;
    }

    QByteArray applicationPath(const QByteArray& name) const
    {
        return folder.path("data/applications/" + name + ".desktop");
    }

    /// \param keys  lines; of a key that is there twice, the last one counts.
    /// \return its path.
    QByteArray application(const QByteArray& name, const QByteArray& keys = {}) const
    {
        return folder.file("data/applications/" + name + ".desktop",
            "[Desktop Entry]\nType=Application\nName=The " + name + "\nExec=" + recorder + " %f\n"
                + keys + '\n');
    }

    /// In this order, separated by semicolons.
    void recommend(const QByteArray& names, const QByteArray& type = "image/png") const
    {
        folder.file("data/applications/mimeinfo.cache",
            "[MIME Cache]\n" + type + '=' + QByteArray(names).replace(";", ".desktop;")
                + ".desktop;\n");
    }

    void choose(const QByteArray& group, const QByteArray& name) const
    {
        folder.file("config/mimeapps.list", '[' + group + "]\nimage/png=" + name + ".desktop;\n");
    }

    void prepare(QProcess& process, const QStringList& arguments,
        const QByteArray& bus = "unix:path=/nonexistent") const
    {
        QProcessEnvironment environment;
        const auto set = [&](const char* name, const QByteArray& value) {
            environment.insert(QString::fromLatin1(name), QString::fromUtf8(value));
        };
        for (const char* name : { "ASAN_OPTIONS", "LSAN_OPTIONS", "TSAN_OPTIONS", "UBSAN_OPTIONS" })
            set(name, qgetenv(name));
        set("PATH", folder.path("bin") + ":/usr/bin:/bin");
        set("HOME", folder.path("home"));
        set("XDG_DATA_HOME", folder.path("data"));
        set("XDG_DATA_DIRS", folder.path("shared"));
        set("XDG_CONFIG_HOME", folder.path("config"));
        set("XDG_CONFIG_DIRS", folder.path("etc"));
        set("XDG_RUNTIME_DIR", folder.path("run"));
        set("XDG_CURRENT_DESKTOP", "ThisDesktop");
        set("DBUS_SESSION_BUS_ADDRESS", bus);
        process.setProcessEnvironment(environment);
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.setProgram(QStringLiteral(QUORVANE_OPEN_WITH));
        process.setArguments(arguments);
    }

    static QString address(const QByteArray& path)
    {
        return QString::fromLatin1(FileURL(path).encoded());
    }

    QByteArray answer(const char* what, const QByteArray& path, const QByteArray& file = {}) const
    {
        QStringList arguments { QStringLiteral(QUORVANE_DECODER), QString::fromLatin1(what),
            address(path) };
        if (!file.isEmpty())
            arguments.append(address(file));
        QProcess process;
        prepare(process, arguments);
        process.start();
        EXPECT_TRUE(process.waitForFinished());
        EXPECT_EQ(process.exitCode(), 0);
        return process.readAllStandardOutput();
    }

    /// The paths that the test program said, without the names.
    QByteArray editor() const { return answer("editor", picture).split('\0').constFirst(); }
    QByteArray viewer() const { return answer("viewer", picture).split('\0').constFirst(); }

    /// What an application was started with, once it was; each argument ends with a zero byte.
    QByteArray arguments() const
    {
        const QByteArray path = folder.path("bin/arguments");
        EXPECT_TRUE(tests::waitUntil([&] { return access(path.constData(), F_OK) == 0; }));
        return contents(path);
    }
};

TEST_F(DesktopApplicationTest, EditorIsTheFirstRecommendedThatIsNoViewer)
{
    application("looker", "Categories=Graphics;Viewer;");
    application("painter", "Categories=Graphics;2DGraphics;");
    application("other");
    recommend("looker;painter;other");

    EXPECT_EQ(answer("editor", picture), applicationPath("painter") + '\0' + "The painter");
}

TEST_F(DesktopApplicationTest, EditorMayHaveACategoryThatOnlyContainsTheWord)
{
    application("painter", "Categories=PhotoViewer;Viewers;");
    recommend("painter");

    EXPECT_EQ(editor(), applicationPath("painter"));
}

TEST_F(DesktopApplicationTest, EditorThatThePersonAssociatedComesFirst)
{
    application("painter");
    application("other");
    recommend("painter;other");
    choose("Added Associations", "other");

    EXPECT_EQ(editor(), applicationPath("other"));
}

TEST_F(DesktopApplicationTest, NoEditorIsFoundWhereThereAreOnlyViewers)
{
    application("looker", "Categories=Viewer;");
    recommend("looker");

    EXPECT_EQ(editor(), "");
}

TEST_F(DesktopApplicationTest, NothingIsFoundForATypeThatNobodyKnows)
{
    application("painter");
    recommend("painter");

    for (const char* what : { "editor", "viewer" }) {
        EXPECT_EQ(answer(what, folder.file("sound.flac")), "") << what;
        EXPECT_EQ(answer(what, folder.file("unknown.qqq")), "") << what;
        EXPECT_EQ(answer(what, folder.path("missing")), "") << what;
    }
}

TEST_F(DesktopApplicationTest, MoviesHaveTheirOwn)
{
    application("cutter");
    recommend("cutter", "video/mp4");

    EXPECT_EQ(answer("editor", folder.file("movie.mp4")).split('\0').constFirst(),
        applicationPath("cutter"));
    EXPECT_EQ(editor(), "");
}

TEST_F(DesktopApplicationTest, FileMayHaveANameThatIsNoText)
{
    application("painter");
    recommend("painter");

    EXPECT_EQ(answer("editor", folder.file("\xff\n.png")).split('\0').constFirst(),
        applicationPath("painter"));
}

struct Skipped {
    const char* what;
    const char* name;
    QByteArray keys;
};

void PrintTo(const Skipped& row, std::ostream* out) { *out << row.what; }

struct SkippedApplication : DesktopApplicationTest, testing::WithParamInterface<Skipped> {
    void SetUp() override
    {
        application(GetParam().name, GetParam().keys);
        application("painter");
        recommend(QByteArray(GetParam().name) + ";painter");
    }
};

TEST_P(SkippedApplication, IsNotTheEditor) { EXPECT_EQ(editor(), applicationPath("painter")); }

TEST_P(SkippedApplication, IsNotTheViewer)
{
    choose("Default Applications", GetParam().name);

    EXPECT_EQ(viewer(), applicationPath("painter"));
}

INSTANTIATE_TEST_SUITE_P(Each, SkippedApplication,
    testing::Values( //
        Skipped { "this_program_by_name", "com.quorvane.Quorvane", "" },
        Skipped { "this_program_by_path", "other", "Exec=" QUORVANE_OPEN_WITH " %f" },
        Skipped { "not_to_be_shown", "other", "NoDisplay=true" },
        Skipped { "deleted", "other", "Hidden=true" },
        Skipped { "for_another_desktop", "other", "OnlyShowIn=OtherDesktop;" },
        Skipped { "program_missing", "other", "Exec=/nonexistent/program %f" },
        Skipped { "program_missing_in_path", "other", "Exec=no-such-program %f" },
        Skipped { "program_to_try_missing", "other", "TryExec=/nonexistent/program" }),
    [](const auto& row) { return std::string(row.param.what); });

TEST_F(DesktopApplicationTest, ThisProgramIsRecognisedByItsLinks)
{
    folder.link(QUORVANE_OPEN_WITH, "bin/slides");
    application("link", "Exec=slides %f");
    application("painter");
    recommend("link;painter");

    EXPECT_EQ(editor(), applicationPath("painter"));
}

TEST_F(DesktopApplicationTest, WhatIsRecommendedButGoneIsSkipped)
{
    application("painter");
    recommend("gone;painter");
    choose("Default Applications", "gone");

    EXPECT_EQ(editor(), applicationPath("painter"));
    EXPECT_EQ(viewer(), applicationPath("painter"));
}

TEST_F(DesktopApplicationTest, ViewerIsTheDefaultOfThePerson)
{
    application("painter");
    application("looker", "Categories=Viewer;");
    recommend("painter;looker");
    choose("Default Applications", "looker");

    EXPECT_EQ(answer("viewer", picture), applicationPath("looker") + '\0' + "The looker");
}

TEST_F(DesktopApplicationTest, ViewerIsTheFirstRecommendedWhereNothingWasChosen)
{
    application("painter");
    application("looker", "Categories=Viewer;");
    recommend("looker;painter");

    EXPECT_EQ(viewer(), applicationPath("looker"));
}

TEST_F(DesktopApplicationTest, NoViewerIsFoundWhereThereIsOnlyThisProgram)
{
    application("com.quorvane.Quorvane");
    recommend("com.quorvane.Quorvane");
    choose("Default Applications", "com.quorvane.Quorvane");

    EXPECT_EQ(viewer(), "");
}

TEST_F(DesktopApplicationTest, NothingIsKnownWhereTheModuleIsMissing)
{
    const auto answerWithout = [&](const char* what) {
        QProcess process;
        prepare(process,
            { QString::fromUtf8(folder.path("quorvane-decoder")), QString::fromLatin1(what),
                address(recorder), address(picture) });
        process.setProcessChannelMode(QProcess::SeparateChannels);
        process.start();
        EXPECT_TRUE(process.waitForFinished());
        EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
        return process.readAllStandardOutput();
    };

    EXPECT_EQ(answerWithout("editor"), "");
    EXPECT_EQ(answerWithout("viewer"), "");
    EXPECT_EQ(answerWithout("at"), error(ErrorKind::Other));
    EXPECT_EQ(answerWithout("open"), error(ErrorKind::Other));
}

TEST_F(DesktopApplicationTest, IsFoundByItsPath)
{
    const QByteArray painter = application("painter", "NoDisplay=true\nName=Pain\xc3\xbcter");
    const QByteArray odd = program("bin/a program\xff");

    EXPECT_EQ(answer("at", painter), painter + '\0' + "Pain\xc3\xbcter");
    EXPECT_EQ(answer("at", recorder), recorder + '\0' + "record");
    EXPECT_EQ(answer("at", odd), odd + '\0' + "a program\xef\xbf\xbd");
}

TEST_F(DesktopApplicationTest, IsNotFoundWhereNothingIsThatCanBeStarted)
{
    const QByteArray unsupported = error(ErrorKind::Unsupported);
    const QByteArray missing = error(ErrorKind::NotFound);
    const QByteArray damaged = folder.file("damaged.desktop", "nothing");
    const std::vector<std::pair<QByteArray, QByteArray>> rows {
        { folder.path("missing"), missing },
        { folder.path("missing.desktop"), missing },
        { folder.folder("some folder"), unsupported },
        { folder.folder("folder.desktop"), unsupported },
        { folder.pipe("pipe.desktop"), unsupported },
        { picture, unsupported },
        { damaged, unsupported },
        { application("lost", "Exec=/nonexistent/program"), unsupported },
        { application("deleted", "Hidden=true"), unsupported },
    };

    for (const auto& [path, expected] : rows) {
        EXPECT_EQ(answer("at", path), expected) << path.constData();
        EXPECT_EQ(answer("open", path, picture), expected) << path.constData();
    }
}

TEST_F(DesktopApplicationTest, IsNotFoundByAPathThatIsNotWhole)
{
    const auto here = applicationAt(
        QFile::encodeName(QDir::current().relativeFilePath(QFile::decodeName(recorder))));
    const auto nothing = applicationAt("");

    ASSERT_FALSE(here);
    EXPECT_EQ(here.error().kind, ErrorKind::NotFound);
    ASSERT_FALSE(nothing);
    EXPECT_EQ(nothing.error().kind, ErrorKind::NotFound);
}

/// Names that a shell, a list of arguments or an address would take apart.
struct OddName : DesktopApplicationTest, testing::WithParamInterface<QByteArray> {
    QByteArray file = folder.file(GetParam());
};

TEST_P(OddName, ReachesAPlainProgramAsItIs)
{
    EXPECT_EQ(answer("open", recorder, file), "");

    EXPECT_EQ(arguments(), file + '\0');
}

TEST_P(OddName, ReachesAnApplicationAsItIs)
{
    const QByteArray painter = application("painter", "Exec=" + recorder + " --edit \"a b\" %F");

    EXPECT_EQ(answer("open", painter, file), "");

    EXPECT_EQ(arguments(), QByteArray("--edit") + '\0' + "a b" + '\0' + file + '\0');
}

INSTANTIATE_TEST_SUITE_P(Each, OddName,
    testing::Values(QByteArray("plain.png"), QByteArray("with blanks  .png"),
        QByteArray("'single' \"double\" `back`.png"), QByteArray("new\nline.png"),
        QByteArray("100%f %U%%20.png"), QByteArray("no text \xff\xfe\x80.png"),
        QByteArray("$HOME $(exit) \\ ; & | * ? # ~.png"), QByteArray("-option")),
    [](const auto& row) { return "name" + std::to_string(row.index); });

TEST_F(DesktopApplicationTest, GetsAnAddressWhereItWantsOne)
{
    const QByteArray painter
        = application("painter", "X-GIO-NoFuse=true\nExec=" + recorder + " %u");
    const QByteArray file = folder.file("a b%\xff.png");

    EXPECT_EQ(answer("open", painter, file), "");

    EXPECT_EQ(arguments(), "file://" + folder.path() + "/a%20b%25%FF.png" + '\0');
}

TEST_F(DesktopApplicationTest, GetsTheFileEvenWhereItDoesNotSayHow)
{
    const QByteArray painter = application("painter", "Exec=" + recorder);

    EXPECT_EQ(answer("open", painter, picture), "");

    EXPECT_EQ(arguments(), picture + '\0');
}

TEST_F(DesktopApplicationTest, HasNothingToDoWithOurTerminal)
{
    for (const QByteArray& path : { recorder, application("painter") }) {
        EXPECT_EQ(answer("open", path, picture), "");

        EXPECT_EQ(arguments(), picture + '\0');
        EXPECT_EQ(contents(folder.path("bin/streams")), "/dev/null\n/dev/null\n/dev/null\n");
        const auto session = contents(folder.path("bin/session")).trimmed().split(' ');
        ASSERT_EQ(session.size(), 2);
        EXPECT_EQ(session.at(0), session.at(1)) << "it leads no session of its own";
        folder.remove("bin/arguments");
    }
}

TEST_F(DesktopApplicationTest, MayNotBeStartableAfterAll)
{
    const QByteArray path = folder.file("bin/broken", "#!/nonexistent/interpreter\n");
    chmod(path.constData(), 0755);

    EXPECT_EQ(answer("open", path, picture), error(ErrorKind::Other));
}

/// An application that runs already.
class RunningApplication : public QDBusVirtualObject {
public:
    std::vector<QStringList> opened;

    QString introspect(const QString& /*path*/) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& bus) override
    {
        if (message.member() == QLatin1String("Open"))
            opened.push_back(message.arguments().constFirst().toStringList());
        bus.send(message.createReply());
        return true;
    }
};

TEST_F(DesktopApplicationTest, IsToldOverTheBusAndTheBusMayGoThen)
{
    PrivateBus bus;
    RunningApplication running;
    QDBusConnection connection = PrivateBus::connect(QStringLiteral("application"));
    connection.registerVirtualObject(QStringLiteral("/com/example/Painter"), &running);
    connection.registerService(QStringLiteral("com.example.Painter"));
    const QByteArray painter = application("com.example.Painter", "DBusActivatable=true");
    QProcess process;
    prepare(process,
        { QStringLiteral(QUORVANE_DECODER), QStringLiteral("stay"), address(painter),
            address(picture) },
        qgetenv("DBUS_SESSION_BUS_ADDRESS"));
    process.start();

    QByteArray said;
    ASSERT_TRUE(tests::waitUntil([&] {
        said += process.readAllStandardOutput();
        return said == "opened" && !running.opened.empty();
    }));
    EXPECT_EQ(running.opened, std::vector<QStringList> { { address(picture) } });
    bus.die();
    ASSERT_TRUE(process.waitForFinished());

    EXPECT_EQ(process.readAllStandardOutput(), " alive");
    connection.unregisterObject(QStringLiteral("/com/example/Painter"));
    QDBusConnection::disconnectFromBus(QStringLiteral("application"));
}

} // namespace
} // namespace quorvane
