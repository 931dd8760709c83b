// SPDX-License-Identifier: GPL-3.0-or-later
// The program works where it is installed, and says so when a part of it is missing.
#include "InstalledTest.h"

#include <QFile>

namespace quorvane::show {

namespace {

struct Installation : InstalledTest {
    void startInstalled()
    {
        viewer->setProgram(QFile::encodeName(prefix.filePath(QStringLiteral("bin/quorvane"))));
        startShow();
    }
};

TEST_F(Installation, ShowsWhatTheDecoderAndItsModuleRead)
{
    ASSERT_TRUE(install());
    pictures.writeSolid("1.png", kRed);
    pictures.write("2.bmp", encoded(solidPicture(kGreen), "bmp"));

    startInstalled();

    ASSERT_TRUE(ready(kRed));
    EXPECT_TRUE(leadsTo(XK_Right, kGreen));
    EXPECT_TRUE(quits());
}

TEST_F(Installation, WithoutItsModuleStillShowsPhotographs)
{
    ASSERT_TRUE(install());
    ASSERT_TRUE(QFile::remove(
        prefix.filePath(QStringLiteral("libexec/quorvane/quorvane-decoder-formats.so"))));
    pictures.writeSolid("1.png", kRed);
    pictures.write("2.bmp", encoded(solidPicture(kGreen), "bmp"));
    pictures.writeSolid("3.png", kBlue);

    startInstalled();

    ASSERT_TRUE(ready(kRed));
    EXPECT_TRUE(leadsTo(XK_Right, kBlue));
    EXPECT_TRUE(quits());
}

TEST_F(Installation, HasAPlayerOfMoviesThatFindsItsLibrary)
{
    ASSERT_TRUE(install());

    EXPECT_EQ(QProcess::execute(prefix.filePath(QStringLiteral("libexec/quorvane/quorvane-movies")),
                  { QStringLiteral("--check") }),
        0);
}

TEST_F(Installation, WithoutItsDecoderSaysSo)
{
    ASSERT_TRUE(install());
    ASSERT_TRUE(
        QFile::remove(prefix.filePath(QStringLiteral("libexec/quorvane/quorvane-decoder"))));
    pictures.writeSolid("1.png", kRed);

    startInstalled();

    EXPECT_TRUE(waitWhileRunning(QStringLiteral("a message"),
        [&] { return viewer->standardError().contains("cannot be started"); }));
}

} // namespace

} // namespace quorvane::show
