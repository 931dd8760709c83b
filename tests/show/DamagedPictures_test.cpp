// SPDX-License-Identifier: GPL-3.0-or-later
// Files that are called pictures and are none.
#include "ShowTest.h"

namespace quorvane::show {

namespace {

struct DamagedPictures : ShowTest {
    /// Nothing of them can be shown: the truncated one ends before its first row.
    void writeDamaged(const QByteArray& prefix)
    {
        constexpr int kHeaderOnly = 40;
        pictures.write(prefix + "a.jpg", {});
        pictures.write(prefix + "b.png", encoded(solidPicture(kCyan), "png").left(kHeaderOnly));
        pictures.write(prefix + "c.png", "These are words, not a picture.\n");
        pictures.write(prefix + "d.jpg", encoded(solidPicture(kCyan), "jpg").left(kHeaderOnly));
        pictures.write(prefix + "e.gif", "GIF89a");
    }
};

TEST_F(DamagedPictures, AreSkippedWithoutABlackFrame)
{
    writeDamaged("0");
    pictures.writeSolid("1.png", kRed);
    writeDamaged("1");
    pictures.writeSolid("2.png", kGreen);
    writeDamaged("2");
    pictures.writeSolid("3.png", kBlue);
    writeDamaged("3");
    startShow();
    ASSERT_TRUE(ready(kRed));

    desktop.startRecording(middle());
    ASSERT_TRUE(leadsTo(XK_Right, kGreen));
    ASSERT_TRUE(leadsTo(XK_Right, kBlue));
    ASSERT_TRUE(leadsTo(XK_Right, kRed));
    ASSERT_TRUE(leadsTo(XK_Right, kGreen));

    EXPECT_EQ(
        coloursOf(desktop.takeRecording()), std::vector({ kRed, kGreen, kBlue, kRed, kGreen }));
}

/// A damaged file gives way to the slide after it, so each step back may take one of them out
/// before the next good one is reached.
TEST_F(DamagedPictures, AreSkippedBackwardToo)
{
    pictures.writeSolid("1.png", kRed);
    pictures.writeSolid("2.png", kGreen);
    writeDamaged("2");
    startShow();
    ASSERT_TRUE(ready(kRed));

    desktop.startRecording(middle());
    constexpr int kSteps
        = 20; // Those that come while a picture is being decoded count for nothing.
    for (int i = 0; i < kSteps && desktop.colourAt(middle()) != kGreen; ++i) {
        desktop.key(XK_Left);
        desktop.pause(std::chrono::milliseconds(300));
    }
    const auto colours = coloursOf(desktop.takeRecording());

    EXPECT_EQ(colours, std::vector({ kRed, kGreen }));
}

TEST_F(DamagedPictures, AloneEndTheShow)
{
    writeDamaged("1");
    writeDamaged("2");

    startShow();

    EXPECT_TRUE(endsTheShow());
}

TEST_F(DamagedPictures, AloneEndAShowThatStartsByItself)
{
    writeDamaged("1");

    startShow({ { QStringLiteral("autoStart"), true }, { QStringLiteral("slideInterval"), 1.0 } });

    EXPECT_TRUE(endsTheShow());
}

TEST_F(DamagedPictures, AloneLeaveTheWelcomeWindow)
{
    writeDamaged("1");

    startShow({ { QStringLiteral("ShowWelcome"), true } });

    EXPECT_TRUE(welcomes());
}

} // namespace

} // namespace quorvane::show
