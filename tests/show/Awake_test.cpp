// SPDX-License-Identifier: GPL-3.0-or-later
// The screen stays on while somebody watches.
#include "ShowTest.h"

namespace quorvane::show {

namespace {

using namespace std::chrono_literals;

struct Awake : ShowTest {
    std::optional<Viewer> screenSaver; ///< No viewer, but a program of the same desktop.

    void start()
    {
        screenSaver.emplace(&desktop);
        screenSaver->setProgram(SHOW_TEST_FAKE_SCREEN_SAVER);
        screenSaver->start({});
        ASSERT_TRUE(desktop.waitFor(
            QStringLiteral("the screen saver"), [&] { return says("ready") == 1; }));
        pictures.writeSolid("1.png", kRed);
        startShow();
        ASSERT_TRUE(ready(kRed));
    }

    qsizetype says(const char* words) const { return screenSaver->standardOutput().count(words); }

    [[nodiscard]] testing::AssertionResult hears(const char* words, int times = 1)
    {
        return desktop.waitFor(QString::fromUtf8(words), [&] { return says(words) == times; });
    }
};

TEST_F(Awake, IsTheScreenDuringTheShowAndNotAfterIt)
{
    ASSERT_NO_FATAL_FAILURE(start());
    EXPECT_TRUE(hears("inhibited Quorvane: Viewing Slideshow"));

    desktop.key(XK_Escape);
    EXPECT_TRUE(hears("released"));
    desktop.pause(300ms);
    EXPECT_EQ(says("inhibited"), 1);
}

TEST_F(Awake, IsTheScreenOnlyWhileTheShowIsTheActiveWindow)
{
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_TRUE(hears("inhibited"));

    desktop.key(XK_d, { XK_Control_L }); // Another window has the keyboard.
    EXPECT_TRUE(hears("released"));

    desktop.pause(300ms);
    desktop.key(XK_Escape);
    EXPECT_TRUE(hears("inhibited", 2));
}

TEST_F(Awake, IsNotTheScreenOfAProgramThatDied)
{
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_TRUE(hears("inhibited"));
    viewer->kill(SIGKILL);
    killed = true;
    EXPECT_TRUE(hears("gone"));
}

TEST_F(Awake, IsSaidOnceToBeImpossibleAndTheShowGoesOn)
{
    pictures.writeSolid("1.png", kRed);
    pictures.writeSolid("2.png", kGreen);
    startShow();
    ASSERT_TRUE(ready(kRed));
    EXPECT_TRUE(waitWhileRunning(QStringLiteral("the line in the log"),
        [&] { return viewer->standardError().contains("Failed to prevent sleep!"); }));
    EXPECT_TRUE(leadsTo(XK_Right, kGreen));
    EXPECT_TRUE(quits());
    EXPECT_EQ(viewer->standardError().count("Failed to prevent sleep!"), 1);
}

} // namespace

} // namespace quorvane::show
