// SPDX-License-Identifier: GPL-3.0-or-later
// What a command line means, and what the program says about a bad one.
#include "app/CommandLine.h"
#include "app/Version.h"
#include "support/PictureFiles.h"

#include <QDir>

#include <gtest/gtest.h>
#include <unistd.h>

#include <ostream>

namespace quorvane {

namespace {

struct Arguments : testing::Test {
    CommandLine parse(const std::vector<QByteArray>& arguments) const
    {
        return parseCommandLine(arguments, folder());
    }

    QByteArray folder() const { return files.url("").path().chopped(1); }
    QByteArray write(const QByteArray& name) const
    {
        return files.write(name, QByteArray()).path();
    }

    tests::PictureFiles files;
};

QByteArray missing(const QByteArray& name)
{
    return "quorvane: no such file or folder: " + name + '\n';
}

TEST_F(Arguments, MayBeNone)
{
    const CommandLine line = parse({});

    EXPECT_TRUE(line.paths.empty());
    EXPECT_TRUE(line.output.isEmpty());
    EXPECT_TRUE(line.errors.isEmpty());
    EXPECT_FALSE(line.exitStatus);
}

TEST_F(Arguments, NameFilesAndFoldersInTheirOrder)
{
    const QByteArray b = write("b.png");
    const QByteArray a = write("a.png");

    const CommandLine line = parse({ b, folder(), a, b });

    EXPECT_EQ(line.paths, std::vector({ b, folder(), a, b }));
    EXPECT_TRUE(line.errors.isEmpty());
    EXPECT_FALSE(line.exitStatus);
}

TEST_F(Arguments, AreTakenFromTheCurrentFolder)
{
    write("a.png");

    const CommandLine line = parse({ "a.png", "./a.png", "." });

    EXPECT_EQ(
        line.paths, std::vector({ folder() + "/a.png", folder() + "/./a.png", folder() + "/." }));
    EXPECT_FALSE(line.exitStatus);
}

TEST_F(Arguments, ThatDoNotExistAreSaidAndTheRestIsShown)
{
    const QByteArray good = write("a.png");

    const CommandLine line = parse({ "nowhere.png", good, "/nowhere/at/all" });

    EXPECT_EQ(line.paths, std::vector({ good }));
    EXPECT_EQ(line.errors, missing("nowhere.png") + missing("/nowhere/at/all"));
    EXPECT_TRUE(line.output.isEmpty());
    EXPECT_FALSE(line.exitStatus);
}

TEST_F(Arguments, ThatAllDoNotExistEndTheProgram)
{
    const CommandLine line = parse({ "nowhere.png" });

    EXPECT_TRUE(line.paths.empty());
    EXPECT_EQ(line.errors, missing("nowhere.png"));
    EXPECT_EQ(line.exitStatus, 1);
}

TEST_F(Arguments, ThatAreLinksToNothingDoNotExist)
{
    ASSERT_EQ(symlink("nothing", files.url("link.png").path().constData()), 0);

    EXPECT_EQ(parse({ "link.png" }).exitStatus, 1);
}

TEST_F(Arguments, ThatAreEmptyNameNothing)
{
    const CommandLine line = parse({ QByteArray("") });

    EXPECT_TRUE(line.paths.empty());
    EXPECT_EQ(line.errors, missing(""));
    EXPECT_EQ(line.exitStatus, 1);
}

TEST_F(Arguments, NeedNotBeUtf8)
{
    const QByteArray name("caf\xe9 \xff.png");
    QFile file(QFile::decodeName(folder())); // Qt's own files cannot have such a name.
    std::FILE* const stream = std::fopen((folder() + '/' + name).constData(), "w");
    ASSERT_NE(stream, nullptr);
    std::fclose(stream);

    EXPECT_EQ(parse({ name }).paths, std::vector({ folder() + '/' + name }));
    EXPECT_EQ(parse({ "\xe9.png" }).errors, missing("\xe9.png"));
    ASSERT_EQ(unlink((folder() + '/' + name).constData()), 0);
}

TEST_F(Arguments, OfOneDashAreAName)
{
    EXPECT_EQ(parse({ "-" }).exitStatus, 1);

    write("-");

    EXPECT_EQ(parse({ "-" }).paths, std::vector({ folder() + "/-" }));
}

TEST_F(Arguments, BehindTwoDashesAreNames)
{
    write("-v");
    write("--help");
    write("--");

    const CommandLine line = parse({ "--", "-v", "--help", "--" });

    EXPECT_EQ(
        line.paths, std::vector({ folder() + "/-v", folder() + "/--help", folder() + "/--" }));
    EXPECT_FALSE(line.exitStatus);
}

TEST_F(Arguments, OfTwoDashesAloneAreNone)
{
    const CommandLine line = parse({ "--" });

    EXPECT_TRUE(line.paths.empty());
    EXPECT_TRUE(line.errors.isEmpty());
    EXPECT_FALSE(line.exitStatus);
}

TEST_F(Arguments, AskForHelp)
{
    for (const char* const option : { "-h", "--help" }) {
        const CommandLine line = parse({ option });

        EXPECT_EQ(line.exitStatus, 0) << option;
        EXPECT_TRUE(line.output.startsWith("Usage: quorvane [OPTION…] [FILE-OR-FOLDER…]\n"));
        EXPECT_TRUE(line.output.endsWith('\n'));
        EXPECT_TRUE(line.errors.isEmpty());
    }
}

TEST_F(Arguments, AreAllNamedByTheHelp)
{
    constexpr int kColumns = 80;

    const QByteArray help = parse({ "--help" }).output;

    for (const char* const option :
        { "-h", "--help", "-v", "--version", "--new-instance", "--dbus-service", "--" })
        EXPECT_TRUE(help.contains(option)) << option;
    for (const QByteArray& helpLine : help.split('\n'))
        EXPECT_LE(QString::fromUtf8(helpLine).size(), kColumns) << helpLine.constData();
}

TEST_F(Arguments, AskForTheVersion)
{
    for (const char* const option : { "-v", "--version" }) {
        const CommandLine line = parse({ option });

        EXPECT_EQ(line.exitStatus, 0) << option;
        EXPECT_EQ(line.output, QByteArray("quorvane ") + kVersion + '\n');
        EXPECT_TRUE(line.errors.isEmpty());
    }
}

TEST_F(Arguments, AskForHelpOrVersionAmongNames)
{
    const QByteArray good = write("a.png");

    const CommandLine line = parse({ good, "nowhere.png", "--version" });

    EXPECT_EQ(line.exitStatus, 0);
    EXPECT_TRUE(line.paths.empty());
    EXPECT_TRUE(line.errors.isEmpty());
}

TEST_F(Arguments, ThatAreUnknownOptionsEndTheProgram)
{
    const QByteArray good = write("a.png");
    write("--unknown"); // Without "--" before it an option all the same.

    for (const QByteArray option : { "--unknown", "-x", "-hv", "--help=now", "-\xff", "---" }) {
        const CommandLine line = parse({ good, option });

        EXPECT_EQ(line.exitStatus, 2) << option.constData();
        EXPECT_TRUE(line.errors.startsWith("quorvane: unknown option: " + option));
        EXPECT_EQ(line.errors.count('\n'), 1);
        EXPECT_TRUE(line.output.isEmpty());
        EXPECT_TRUE(line.paths.empty());
    }
}

TEST_F(Arguments, EndTheProgramByTheFirstThatDoes)
{
    EXPECT_EQ(parse({ "--help", "--unknown" }).exitStatus, 0);
    EXPECT_EQ(parse({ "--unknown", "--help" }).exitStatus, 2);
}

TEST_F(Arguments, MayAskForAProgramOfItsOwn)
{
    const QByteArray good = write("a.png");

    const CommandLine line = parse({ "--new-instance", good });

    EXPECT_EQ(line.paths, std::vector({ good }));
    EXPECT_FALSE(line.exitStatus);
    EXPECT_FALSE(parse({ "--new-instance" }).exitStatus);
    EXPECT_TRUE(line.isOnItsOwn);
    EXPECT_FALSE(parse({ good }).isOnItsOwn);
    EXPECT_FALSE(parse({ "--", "--new-instance" }).isOnItsOwn);
}

TEST_F(Arguments, MayAskForAServiceThatShowsNothingYet)
{
    const QByteArray good = write("a.png");

    EXPECT_TRUE(parse({ "--dbus-service" }).isService);
    EXPECT_FALSE(parse({ "--dbus-service" }).exitStatus);
    EXPECT_FALSE(parse({}).isService);
    EXPECT_FALSE(parse({ "--dbus-service", good }).isService);
    EXPECT_FALSE(parse({ "--dbus-service", "--new-instance" }).isService);
}

} // namespace

} // namespace quorvane
