// SPDX-License-Identifier: GPL-3.0-or-later
// Walking through a show by hand.
#include "ShowTest.h"

namespace quorvane::show {

namespace {

/// B1 (blue), img9 (green), img10 (red): neither byte order nor digit order.
struct Navigation : ShowTest {
    void writeThree()
    {
        pictures.writeSolid("img10.png", kRed);
        pictures.writeSolid("img9.png", kGreen);
        pictures.writeSolid("B1.PNG", kBlue);
    }
};

TEST_F(Navigation, RightAndLeftWalkInNameOrderAndWrap)
{
    writeThree();

    startShow();

    ASSERT_TRUE(ready(kBlue));
    ASSERT_TRUE(leadsTo(XK_Right, kGreen));
    ASSERT_TRUE(leadsTo(XK_Right, kRed));
    ASSERT_TRUE(leadsTo(XK_Left, kGreen));
    ASSERT_TRUE(leadsTo(XK_Left, kBlue));
    ASSERT_TRUE(leadsTo(XK_Left, kRed));
    ASSERT_TRUE(leadsTo(XK_Right, kBlue));
}

TEST_F(Navigation, PageKeysWalkAndHomeReturns)
{
    writeThree();

    startShow();

    ASSERT_TRUE(ready(kBlue));
    ASSERT_TRUE(leadsTo(XK_Page_Down, kGreen));
    ASSERT_TRUE(leadsTo(XK_Page_Down, kRed));
    ASSERT_TRUE(leadsTo(XK_Page_Up, kGreen));
    ASSERT_TRUE(leadsTo(XK_Page_Down, kRed));
    ASSERT_TRUE(leadsTo(XK_Home, kBlue));
}

TEST_F(Navigation, FilesAndFoldersOnTheCommandLineMakeOneShow)
{
    writeThree();
    PictureFolder other;
    other.writeSolid("img2.png", kYellow);

    viewer->writeSettings(plainSettings());
    viewer->start({ pictures.path("img10.png"), other.path() });

    ASSERT_TRUE(ready(kYellow));
    ASSERT_TRUE(leadsTo(XK_Right, kRed));
    ASSERT_TRUE(leadsTo(XK_Right, kYellow));
}

TEST_F(Navigation, TheShowCoversTheScreenInBlack)
{
    writeThree();

    startShow();

    ASSERT_TRUE(ready(kBlue));
    EXPECT_EQ(desktop.windowsOf(viewer->pid()), std::vector { QRect(QPoint(), desktop.size()) });
    const QRect screen(QPoint(), desktop.size());
    EXPECT_EQ(desktop.colourAt(screen.topLeft()), kBlack);
    EXPECT_EQ(desktop.colourAt(screen.bottomRight()), kBlack);
}

TEST_F(Navigation, EscapeEndsTheShowAndLeavesTheControlsWithoutAWelcomeWindow)
{
    writeThree();
    startShow();
    ASSERT_TRUE(ready(kBlue));

    desktop.key(XK_Escape);

    EXPECT_TRUE(endsTheShow());
}

TEST_F(Navigation, EscapeEndsTheShowInTheWelcomeWindow)
{
    writeThree();
    startShow({ { QStringLiteral("ShowWelcome"), true } });
    ASSERT_TRUE(ready(kBlue));

    desktop.key(XK_Escape);

    EXPECT_TRUE(welcomes());
    EXPECT_TRUE(waitWhileRunning(QStringLiteral("the bare desktop around it"), [&] {
        return desktop.colourAt(QRect(QPoint(), desktop.size()).bottomRight()) == kDesktop;
    }));
}

TEST_F(Navigation, ControlQQuits)
{
    writeThree();
    startShow({ { QStringLiteral("ShowWelcome"), true } });
    ASSERT_TRUE(ready(kBlue));

    EXPECT_TRUE(quits());
}

} // namespace

} // namespace quorvane::show
