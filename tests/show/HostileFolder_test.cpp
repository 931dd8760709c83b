// SPDX-License-Identifier: GPL-3.0-or-later
// Files that break decoders, and somebody who kills them.
#include "ShowTest.h"
#include "support/Processes.h"

#include <QDir>

#include <sys/types.h>

#include <atomic>
#include <random>
#include <thread>

namespace quorvane::show {

namespace {

using namespace std::chrono_literals;

std::vector<pid_t> decodersOf(pid_t viewer)
{
    return tests::childProcesses(viewer, "quorvane-decoder");
}

/// Ends one of the viewer's decoders, whichever, again and again.
class DecoderKiller {
public:
    DecoderKiller(pid_t viewer, std::chrono::milliseconds pause)
        : mThread([this, viewer, pause] { work(viewer, pause); })
    {
    }
    ~DecoderKiller()
    {
        mIsOver = true;
        mThread.join();
    }
    DecoderKiller(const DecoderKiller&) = delete;
    DecoderKiller& operator=(const DecoderKiller&) = delete;

    int kills() const { return mKills; }

private:
    void work(pid_t viewer, std::chrono::milliseconds pause)
    {
        std::mt19937 random(1); // The same victims in every run, as far as time allows.
        while (!mIsOver) {
            const auto decoders = decodersOf(viewer);
            if (!decoders.empty() && ::kill(decoders[random() % decoders.size()], SIGKILL) == 0)
                ++mKills;
            std::this_thread::sleep_for(pause);
        }
    }

    std::atomic<bool> mIsOver = false;
    std::atomic<int> mKills = 0;
    std::thread mThread;
};

/// Longer than a decoder takes to start, or there would never be one.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr auto kKillPause = 1500ms;
constexpr int kLeastKills = 1;
#else
constexpr auto kKillPause = 250ms;
constexpr int kLeastKills = 5;
#endif

struct HostileFolder : ShowTest { };

TEST_F(HostileFolder, LosesNoSlideWhileDecodersAreKilledAtRandom)
{
    const std::vector<Pixel> colours { kRed, kGreen, kBlue, kYellow, kMagenta, kCyan };
    for (int i = 0; i < 12; ++i) {
        const QByteArray name = QByteArray::number(i + 10) + ".png";
        pictures.writeSolid(name, colours[static_cast<size_t>(i) % colours.size()], { 3000, 2000 });
    }
    startShow();
    ASSERT_TRUE(ready(kRed));

    desktop.startRecording(middle());
    const DecoderKiller killer(viewer->pid(), kKillPause);
    for (size_t i = 1; i < 60; ++i)
        ASSERT_TRUE(leadsTo(XK_Right, colours[i % colours.size()])) << i;

    EXPECT_GE(killer.kills(), kLeastKills);
    EXPECT_TRUE(showedOnly({ colours.begin(), colours.end() }, desktop.takeRecording()));
}

TEST_F(HostileFolder, ShowsTheNextSlideWhenADecoderIsStopped)
{
    pictures.writeSolid("1.png", kRed);
    pictures.writeSolid("2.png", kGreen);
    pictures.writeSolid("3.png", kBlue);
    startShow();
    ASSERT_TRUE(ready(kRed));
    ASSERT_TRUE(leadsTo(XK_Right, kGreen));

    // They neither end nor answer; what is kept is shown all the same, the rest after a while.
    const auto decoders = decodersOf(viewer->pid());
    ASSERT_FALSE(decoders.empty());
    ::kill(decoders.front(), SIGSTOP);

    EXPECT_TRUE(leadsTo(XK_Left, kRed));
    EXPECT_TRUE(leadsTo(XK_Right, kGreen));
}

TEST_F(HostileFolder, PassesOverPicturesThatAreBombs)
{
    pictures.writeSolid("1.png", kRed);
    // Sixty thousand pixels a side, and nothing behind the header.
    pictures.write("2.png",
        QByteArray::fromBase64("iVBORw0KGgoAAAANSUhEUgAA6mAAAOpgCAIAAAAPsOIV")
            + encoded(solidPicture(kCyan), "png").mid(33));
    pictures.write("3.ppm", "P6 60000 60000 255\n");
    pictures.writeSolid("4.png", kGreen);
    startShow();
    ASSERT_TRUE(ready(kRed));

    desktop.startRecording(middle());
    for (int i = 0; i < 4 && desktop.colourAt(middle()) != kGreen; ++i) {
        desktop.key(XK_Right);
        desktop.pause(500ms);
    }

    EXPECT_EQ(desktop.colourAt(middle()), kGreen);
    EXPECT_TRUE(quits());
}

TEST_F(HostileFolder, OfRealDamagedFilesEndsNoShowWhileDecodersAreKilled)
{
    const QDir damaged(QStringLiteral(SHOW_TEST_CORPUS "/damaged"));
    if (!damaged.exists())
        GTEST_SKIP() << "there are no real files";
    pictures.writeSolid("!first.png", kRed);
    for (const QString& name : damaged.entryList(QDir::Files))
        pictures.makeLink(QFile::encodeName(name), QFile::encodeName(damaged.filePath(name)));
    pictures.writeSolid("~last.png", kMagenta);
    startShow();
    ASSERT_TRUE(ready(kRed));

    {
        const DecoderKiller killer(viewer->pid(), kKillPause);
        for (int i = 0; i < 600 && desktop.colourAt(middle()) != kMagenta; ++i) {
            desktop.key(XK_Right);
            desktop.pause(100ms);
            ASSERT_TRUE(viewer->running());
        }
    }

    EXPECT_EQ(desktop.colourAt(middle()), kMagenta);
    EXPECT_TRUE(leadsTo(XK_Home, kRed));
    EXPECT_TRUE(quits());
}

} // namespace

} // namespace quorvane::show
