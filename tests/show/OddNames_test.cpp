// SPDX-License-Identifier: GPL-3.0-or-later
// Names and things that lie in real folders beside the pictures.
#include "ShowTest.h"

#include <sys/stat.h>

namespace quorvane::show {

namespace {

struct OddNames : ShowTest { };

/// The longest name that file systems allow.
QByteArray longestName(const QByteArray& start)
{
    constexpr qsizetype kNameMax = 255;
    const QByteArray suffix(".png");
    return start + QByteArray(kNameMax - start.size() - suffix.size(), 'x') + suffix;
}

TEST_F(OddNames, AreShownInOrder)
{
    pictures.writeSolid("1 plain.png", kRed);
    pictures.writeSolid("2 new\nline.png", kGreen);
    pictures.writeSolid("3 \xff\xfe\x80.png", kBlue);
    pictures.writeSolid(longestName("4 "), kYellow);
    pictures.writeSolid("5 %41&#x20;'\"*?;.png", kMagenta);
    pictures.writeSolid("6 -- \xe5\x86\x99\xe7\x9c\x9f.png", kCyan);

    startShow();

    ASSERT_TRUE(ready(kRed));
    for (const Pixel colour : { kGreen, kBlue, kYellow, kMagenta, kCyan, kRed })
        ASSERT_TRUE(leadsTo(XK_Right, colour));
}

TEST_F(OddNames, CanBeGivenOnTheCommandLine)
{
    pictures.writeSolid("\xff\xfe\x80.png", kBlue);
    pictures.writeSolid("new\nline.png", kGreen);
    viewer->writeSettings(plainSettings());

    viewer->start({ "--", pictures.path("\xff\xfe\x80.png") });
    EXPECT_TRUE(ready(kBlue));
    viewer->start({ pictures.path("new\nline.png") });
    EXPECT_TRUE(ready(kGreen));
}

TEST_F(OddNames, WhatIsNoPictureIsPassedOver)
{
    pictures.writeSolid("1.png", kRed);
    pictures.makeNode("1 fifo.jpg", S_IFIFO);
    pictures.makeNode("1 socket.jpg", S_IFSOCK);
    pictures.makeLink("1 broken.jpg", "nothing.jpg");
    pictures.makeLink("1 itself.jpg", "1 itself.jpg");
    pictures.makeLink("1 cycle.jpg", ".");
    pictures.makeFolder("1 folder.jpg");
    pictures.makeLink("1 folder.jpg/up", "..");
    pictures.writeSolid("1 folder.jpg/3.png", kBlue);
    pictures.writeSolid("2.png", kGreen);

    startShow();

    ASSERT_TRUE(ready(kRed));
    desktop.startRecording(middle());
    ASSERT_TRUE(leadsTo(XK_Right, kGreen));
    ASSERT_TRUE(leadsTo(XK_Right, kBlue));
    ASSERT_TRUE(leadsTo(XK_Right, kRed));
    EXPECT_EQ(coloursOf(desktop.takeRecording()), std::vector({ kRed, kGreen, kBlue, kRed }));
}

TEST_F(OddNames, APipeGivenOnTheCommandLineDoesNotHang)
{
    pictures.makeNode("pipe.jpg", S_IFIFO);
    viewer->writeSettings(plainSettings());

    viewer->start({ pictures.path("pipe.jpg") });

    EXPECT_TRUE(endsTheShow());
}

} // namespace

} // namespace quorvane::show
