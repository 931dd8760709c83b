// SPDX-License-Identifier: GPL-3.0-or-later
// What the program answers to the words it is started with.
#include "ShowTest.h"

#include <QProcess>

namespace quorvane::show {

namespace {

using testing::Test;

constexpr ExitStatus kFine { 0, 0 };
constexpr ExitStatus kNothing { 1, 0 };
constexpr ExitStatus kMisused { 2, 0 };

/// One line, and it ends.
bool isOneLine(const QByteArray& text)
{
    return text.size() > 1 && text.count('\n') == 1 && text.endsWith('\n');
}

/// Started where there is no display.
struct CommandLine : Test {
    std::optional<ExitStatus> run(std::vector<QByteArray> arguments)
    {
        viewer.start(std::move(arguments));
        return viewer.waitForExit(kWaitLimit);
    }

    Viewer viewer { nullptr };
};

TEST_F(CommandLine, HelpNamesOptionsAndKeys)
{
    ASSERT_EQ(run({ "--help" }), kFine);

    const QByteArray help = viewer.standardOutput();
    for (const char* word : { "quorvane", "--help", "--version", "Escape", "Right", "Home" })
        EXPECT_TRUE(help.contains(word)) << word;
    EXPECT_EQ(viewer.standardError(), QByteArray());
}

TEST_F(CommandLine, VersionNamesTheProgram)
{
    ASSERT_EQ(run({ "--version" }), kFine);

    const QByteArray version = viewer.standardOutput();
    EXPECT_TRUE(isOneLine(version));
    EXPECT_TRUE(version.toLower().contains("quorvane") && version.contains('.'));
}

TEST_F(CommandLine, FormatsNamesWhatCanBeShown)
{
    ASSERT_EQ(run({ "--formats" }), kFine);

    // One line each: the type, then its extensions.
    const QByteArray formats = '\n' + viewer.standardOutput();
    for (const char* type : { "public.jpeg ", "public.heic ", "public.svg-image ",
             "com.adobe.photoshop-image ", "com.adobe.raw-image " })
        EXPECT_EQ(formats.count('\n' + QByteArray(type)), 1) << type;
    EXPECT_TRUE(formats.contains(" jpg jpeg ")) << formats.data();
    EXPECT_FALSE(formats.contains("pdf"));
    EXPECT_EQ(viewer.standardError(), QByteArray());
}

TEST_F(CommandLine, WhatCannotBeSaidIsAFailure)
{
    QProcess program;
    program.setStandardOutputFile(QStringLiteral("/dev/full"));
    program.start(QStringLiteral(SHOW_TEST_PROGRAM), { QStringLiteral("--formats") });

    ASSERT_TRUE(program.waitForFinished());
    EXPECT_EQ(program.exitCode(), 1);
}

TEST_F(CommandLine, AnUnknownOptionIsRefused)
{
    ASSERT_EQ(run({ "--no-such-option" }), kMisused);

    EXPECT_TRUE(isOneLine(viewer.standardError())) << viewer.standardError().toStdString();
    EXPECT_TRUE(viewer.standardError().contains("--no-such-option"));
    EXPECT_EQ(viewer.standardOutput(), QByteArray());
}

TEST_F(CommandLine, AnUnknownOptionIsRefusedBesideAFile)
{
    EXPECT_EQ(run({ "/", "--no-such-option" }), kMisused);
}

TEST_F(CommandLine, WithoutADisplayItLeavesWithOneLine)
{
    ASSERT_EQ(run({ "/" }), kNothing);

    EXPECT_TRUE(isOneLine(viewer.standardError())) << viewer.standardError().toStdString();
}

TEST_F(CommandLine, WithADisplayThatDoesNotAnswerItLeavesWithOneLine)
{
    viewer.setVariable("DISPLAY", ":4711");
    viewer.setVariable("QT_QPA_PLATFORM", "xcb");

    ASSERT_EQ(run({ "/" }), kNothing);

    EXPECT_TRUE(isOneLine(viewer.standardError())) << viewer.standardError().toStdString();
}

/// Started on a desktop.
struct CommandLineOnADesktop : ShowTest {
    /// What the viewer complained of, but for the desktop: this one cannot keep its screen awake.
    QByteArray errors() const
    {
        return viewer->standardError().replace("Failed to prevent sleep!\n", "");
    }
};

TEST_F(CommandLineOnADesktop, AMissingPathIsNamedAndTheRestIsShown)
{
    pictures.writeSolid("1.png", kRed);
    viewer->writeSettings(plainSettings());

    viewer->start({ pictures.path("missing.png"), pictures.path("1.png") });

    ASSERT_TRUE(ready(kRed));
    EXPECT_TRUE(isOneLine(errors())) << errors().toStdString();
    EXPECT_TRUE(errors().contains("missing.png"));
}

TEST_F(CommandLineOnADesktop, NothingButMissingPathsOpensNoWindow)
{
    viewer->writeSettings(plainSettings({ { QStringLiteral("ShowWelcome"), true } }));

    viewer->start({ pictures.path("missing.png"), pictures.path("neither") });
    bool anyWindow = false;
    ASSERT_TRUE(desktop.waitFor(QStringLiteral("the program leaves"), [&] {
        anyWindow = anyWindow || !desktop.windowsOf(viewer->pid()).empty();
        return !viewer->running();
    }));

    EXPECT_EQ(viewer->exitStatus(), kNothing);
    EXPECT_FALSE(anyWindow);
    EXPECT_EQ(viewer->standardError().count('\n'), 2);
}

TEST_F(CommandLineOnADesktop, WithoutPathsTheWelcomeWindowComes)
{
    viewer->writeSettings(plainSettings({ { QStringLiteral("ShowWelcome"), true } }));

    viewer->start({});

    EXPECT_TRUE(welcomes());
}

TEST_F(CommandLineOnADesktop, ANormalShowSaysNothing)
{
    pictures.writeSolid("1.png", kRed);
    startShow();
    ASSERT_TRUE(ready(kRed));

    ASSERT_TRUE(quits());

    EXPECT_EQ(viewer->standardOutput(), QByteArray());
    EXPECT_EQ(errors(), QByteArray());
}

} // namespace

} // namespace quorvane::show
