// SPDX-License-Identifier: GPL-3.0-or-later
// A card is pulled out while the show is on what it holds.
#include "ShowTest.h"
#include "support/MovieBytes.h"

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <fstream>
#include <string>

namespace quorvane::show {

namespace {

constexpr int kFrames = 30;
constexpr int kFramesPerSecond = 10;
constexpr Pixel kGrey { 0x808080 }; // Luma 126.

void writeLine(const char* path, const std::string& line) { std::ofstream(path) << line; }

/// From now on this process and what it starts mount for themselves. \return false where the kernel
/// lets nobody but the superuser do so.
bool mayMount()
{
    const std::string user = std::to_string(geteuid());
    const std::string group = std::to_string(getegid());
    if (unshare(CLONE_NEWNS) != 0) {
        if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0)
            return false;
        writeLine("/proc/self/setgroups", "deny");
        writeLine("/proc/self/uid_map", user + ' ' + user + " 1");
        writeLine("/proc/self/gid_map", group + ' ' + group + " 1");
    }
    return mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

struct UnmountedFolder : ShowTest {
    /// Red, then what lies on the card, then blue.
    void startWith(const QByteArray& name, const QByteArray& bytes)
    {
        pictures.writeSolid("1.png", kRed);
        pictures.makeFolder("2");
        ASSERT_EQ(mount("card", card.constData(), "tmpfs", 0, nullptr), 0);
        pictures.write("2/" + name, bytes);
        pictures.makeFolder("3");
        pictures.writeSolid("3/b.png", kBlue);
        startShow();
        ASSERT_TRUE(ready(kRed));
    }

    void pullOut() const { ASSERT_EQ(umount2(card.constData(), MNT_DETACH), 0); }

    const QByteArray card = pictures.path("2");
};

TEST_F(UnmountedFolder, UnderAMovieThatPlaysCostsThatMovieOnly)
{
    if (!mayMount())
        GTEST_SKIP() << "Only the superuser may mount here.";
    startWith("a.mov",
        tests::movieBytes({ .size = { 320, 240 },
            .frames = kFrames,
            .framesPerSecond = kFramesPerSecond,
            .pixel = [](int, double, double) {
                return tests::Yuv { 126, 128, 128 };
            } }));
    ASSERT_TRUE(leadsTo(XK_Right, kGrey));

    desktop.startRecording(middle());
    pullOut();

    EXPECT_TRUE(shows(kBlue));
    EXPECT_TRUE(showedOnly({ kGrey, kBlue }, desktop.takeRecording()));
    desktop.pause(kUntilLooked);
    EXPECT_TRUE(leadsTo(XK_Left, kRed));
}

TEST_F(UnmountedFolder, UnderAPictureLeavesThatOnScreen)
{
    if (!mayMount())
        GTEST_SKIP() << "Only the superuser may mount here.";
    startWith("a.png", encoded(solidPicture(kGreen), "png"));
    ASSERT_TRUE(leadsTo(XK_Right, kGreen));

    pullOut();

    EXPECT_TRUE(staysFor(kUntilLooked));
    EXPECT_TRUE(leadsTo(XK_Left, kRed));
    EXPECT_TRUE(leadsTo(XK_Right, kBlue));
}

} // namespace

} // namespace quorvane::show
