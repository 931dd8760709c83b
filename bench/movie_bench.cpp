// SPDX-License-Identifier: GPL-3.0-or-later
// Movies on the processor alone: how soon one is seen after it was asked for, in the view that the
// show uses, against mpv, which waits for the same file with its window open; how many of its
// frames come; what a hundred of them leave in memory; and that a show of photographs loads nothing
// for them. Prints a table; a line that is beyond its limit says so, and the exit status is then 1.
#include "Median.h"
#include "display/SVLayerView.h"
#include "platform/DecoderProgram.h"
#include "platform/FileURL.h"
#include "platform/MoviePlayer.h"
#include "platform/SystemClock.h"
#include "platform/UserDefaults.h"
#include "show/ChildProcess.h"
#include "show/Viewer.h"
#include "show/VirtualDesktop.h"
#include "support/Processes.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>
#include <thread>
#include <vector>

namespace {

using namespace quorvane;
using namespace quorvane::bench;
using namespace quorvane::show;
using namespace std::chrono_literals;

constexpr int kPairs = 15;
constexpr QSize kSmall { 640, 480 };
constexpr QSize kScreen { 1920, 1080 };
constexpr int kSeconds = 8;
constexpr int kFramesPerSecond = 30;
constexpr int kFirstClips = 10;
constexpr int kAllClips = 100;
constexpr int kLimitMs = 30'000; ///< For whatever is waited for.

constexpr double kFirstFrameLimit = 1.3;
constexpr double kFramesLimit = 0.98;
constexpr double kMemoryLimit = 1.05;

int gFailures = 0;

[[noreturn]] void giveUp(const char* why)
{
    std::printf("%s\n", why);
    std::fflush(stdout);
    _exit(EXIT_FAILURE);
}

void report(const char* what, double ours, double theirs, double limit, bool isAtMost = true)
{
    const double ratio = theirs > 0 ? ours / theirs : ours;
    const bool holds = isAtMost ? ratio <= limit : ratio >= limit;
    gFailures += holds ? 0 : 1;
    std::printf("%-56s %9.2f %9.2f   %5.3f  %s %.2f%s\n", what, ours, theirs, ratio,
        isAtMost ? "<=" : ">=", limit, holds ? "" : "  BEYOND THE LIMIT");
    std::fflush(stdout);
}

/// A clip whose every frame is another one, with a tone.
QByteArray makeClip(const QString& path, QSize size, double seconds)
{
    const QString pictures = QStringLiteral("testsrc2=size=%1x%2:rate=%3:duration=%4")
                                 .arg(size.width())
                                 .arg(size.height())
                                 .arg(kFramesPerSecond)
                                 .arg(seconds);
    const QStringList arguments { QStringLiteral("-nostdin"), QStringLiteral("-v"),
        QStringLiteral("error"), QStringLiteral("-f"), QStringLiteral("lavfi"),
        QStringLiteral("-i"), pictures, QStringLiteral("-f"), QStringLiteral("lavfi"),
        QStringLiteral("-i"), QStringLiteral("sine=duration=%1").arg(seconds),
        QStringLiteral("-c:v"), QStringLiteral("libx264"), QStringLiteral("-preset"),
        QStringLiteral("veryfast"), QStringLiteral("-pix_fmt"), QStringLiteral("yuv420p"),
        QStringLiteral("-c:a"), QStringLiteral("aac"), path };
    if (QProcess::execute(QStringLiteral("ffmpeg"), arguments) != 0)
        giveUp("ffmpeg could not make a clip.");
    return QFile::encodeName(path);
}

/// Plays one clip and notes down what it hears.
class Playing : public MovieObserver {
public:
    Playing(const QByteArray& path, QSize size)
    {
        mPlayer = MoviePlayer::playerWithURL(FileURL(path));
        if (!mPlayer)
            giveUp("The library of movies is missing.");
        mPlayer->addObserver(*this);
        mPlayer->setTargetSize(size);
        mPlayer->play();
    }

    ~Playing() override { mPlayer->removeObserver(*this); }
    Playing(const Playing&) = delete;
    Playing& operator=(const Playing&) = delete;

    /// \return the frames that came.
    int waitForEnd()
    {
        QTimer::singleShot(kLimitMs, &mLoop, [] { giveUp("A clip does not go on."); });
        while (!mHasEnded)
            mLoop.exec();
        return mFrames;
    }

private:
    void movieFrameChanged() override { ++mFrames; }

    void movieEnded(MovieEnd end) override
    {
        if (end != MovieEnd::Finished)
            giveUp("A clip could not be played.");
        mHasEnded = true;
        mLoop.quit();
    }

    QEventLoop mLoop;
    std::unique_ptr<MoviePlayer> mPlayer;
    int mFrames = 0;
    bool mHasEnded = false;
};

/// Lets what the last player left behind go.
void rest()
{
    QEventLoop loop;
    QTimer::singleShot(300, &loop, &QEventLoop::quit);
    loop.exec();
}

/// mpv with its window open, which is told by its socket what to play. It draws by --vo=x11: of the
/// outputs that need no graphics card the quickest, the pixels are shared memory of the server.
class OtherPlayer {
public:
    OtherPlayer(const VirtualDesktop& desktop, const QTemporaryDir& folder)
        : mSocketPath(QFile::encodeName(folder.filePath(QStringLiteral("player"))))
        , mProcess(plan(desktop, folder))
    {
        for (int i = 0; i < kLimitMs / 10 && !connectTo(); ++i)
            std::this_thread::sleep_for(10ms);
        if (mSocket < 0)
            giveUp("mpv does not start (it is the package mpv).");
    }

    ~OtherPlayer() { close(mSocket); }
    OtherPlayer(const OtherPlayer&) = delete;
    OtherPlayer& operator=(const OtherPlayer&) = delete;

    /// Milliseconds from the command to the word that the first frame is there.
    double timeToFirstFrame(const QByteArray& clip)
    {
        QElapsedTimer clock;
        clock.start();
        say("{\"command\":[\"loadfile\",\"" + clip + "\"]}\n");
        waitFor("\"event\":\"playback-restart\"");
        const double took = static_cast<double>(clock.nsecsElapsed()) / 1e6;
        say("{\"command\":[\"stop\"]}\n");
        waitFor("\"event\":\"idle\"");
        return took;
    }

private:
    StartPlan plan(const VirtualDesktop& desktop, const QTemporaryDir& folder) const
    {
        return { { "mpv", "--no-config", "--no-terminal", "--idle=yes", "--force-window=yes",
                     "--vo=x11", "--fullscreen=yes", "--hwdec=no", "--osc=no", "--osd-level=0",
                     "--input-ipc-server=" + mSocketPath },
            { "DISPLAY=" + desktop.displayName(), "HOME=" + QFile::encodeName(folder.path()),
                "PATH=" + qgetenv("PATH") },
            "/dev/null", "/dev/null" };
    }

    bool connectTo()
    {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        const auto size
            = std::min(static_cast<size_t>(mSocketPath.size()), sizeof address.sun_path - 1);
        std::memcpy(address.sun_path, mSocketPath.constData(), size);
        mSocket = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (connect(mSocket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
            return true;
        close(std::exchange(mSocket, -1));
        return false;
    }

    void say(const QByteArray& words) const
    {
        if (write(mSocket, words.constData(), static_cast<size_t>(words.size())) != words.size())
            giveUp("mpv has gone.");
    }

    void waitFor(const QByteArray& words)
    {
        qsizetype place = mHeard.indexOf(words);
        while (place < 0) {
            pollfd watched { mSocket, POLLIN, 0 };
            std::array<char, 4096> bytes {};
            const ssize_t got
                = poll(&watched, 1, kLimitMs) > 0 ? read(mSocket, bytes.data(), bytes.size()) : 0;
            if (got <= 0)
                giveUp("mpv says nothing.");
            mHeard.append(bytes.data(), got);
            place = mHeard.indexOf(words);
        }
        mHeard.remove(0, place + words.size());
    }

    QByteArray mSocketPath;
    ChildProcess mProcess;
    int mSocket = -1;
    QByteArray mHeard; ///< Not looked through yet.
};

/// The display of a show, over the whole screen.
class Display : private SVImageDisplayDelegate {
public:
    Display()
    {
        mView.setDelegate(this);
        mView.showFullScreen();
        rest();
    }

    /// Milliseconds from the step to the clip until its first frame is painted.
    double timeToFirstFrame(const QByteArray& clip)
    {
        QElapsedTimer clock;
        clock.start();
        mView.showMovie(MoviePlayer::playerWithURL(FileURL(clip)), true);
        QTimer::singleShot(kLimitMs, &mLoop, [] { giveUp("A clip does not come."); });
        mLoop.exec();
        mView.repaint();
        const double took = static_cast<double>(clock.nsecsElapsed()) / 1e6;
        mView.clearImage();
        return took;
    }

private:
    void delayNextImage() override { }
    void imageWithURLFinished(const FileURL& /*url*/) override { }
    void movieAppeared() override { mLoop.quit(); }

    UserDefaults mDefaults;
    SystemClock mClock;
    SVLayerView mView { mDefaults, mClock };
    QEventLoop mLoop;
};

/// The two take turns, so that whatever else the machine does meets both.
void compareFirstFrames(const char* what, const VirtualDesktop& desktop, const QByteArray& clip)
{
    const QTemporaryDir folder;
    OtherPlayer player(desktop, folder);
    Display display;
    const auto ours = [&] {
        const double took = display.timeToFirstFrame(clip);
        rest();
        return took;
    };
    const auto theirs = [&] {
        const double took = player.timeToFirstFrame(clip);
        rest();
        return took;
    };
    std::vector<double> ourTimes;
    std::vector<double> theirTimes;
    for (int i = -1; i < kPairs; ++i) { // The first is for warmth.
        const bool areWeFirst = i % 2 == 0;
        double mine = areWeFirst ? ours() : 0;
        const double other = theirs();
        if (!areWeFirst)
            mine = ours();
        if (i < 0)
            continue;
        ourTimes.push_back(mine);
        theirTimes.push_back(other);
    }
    report(what, median(ourTimes), median(theirTimes), kFirstFrameLimit);
}

void countFrames(const QByteArray& clip)
{
    const int shown = Playing(clip, kScreen).waitForEnd();
    report("Frames of 1920x1080 at 30 a second, against the clip's", shown,
        kSeconds * kFramesPerSecond, kFramesLimit, false);
}

QByteArray contentsOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// This process and the players that it has started.
std::vector<pid_t> family()
{
    auto members = tests::childProcesses(getpid(), "quorvane-movies");
    members.push_back(getpid());
    return members;
}

/// MiB of this process and its family; pages that several have count once.
double memoryOfFamily()
{
    double kilobytes = 0;
    for (const pid_t member : family()) {
        const QByteArray text = contentsOf(QStringLiteral("/proc/%1/smaps_rollup").arg(member));
        const auto place = text.indexOf("\nPss:");
        if (place >= 0)
            kilobytes += text.mid(place + 5).trimmed().split(' ').first().toDouble();
    }
    return kilobytes / 1024;
}

void measureMemory(const QByteArray& clip)
{
    double early = 0;
    for (int i = 1; i <= kAllClips; ++i) {
        Playing(clip, kSmall).waitForEnd();
        if (i == kFirstClips || i == kAllClips)
            rest();
        if (i == kFirstClips)
            early = memoryOfFamily();
    }
    report("Memory in MiB after 100 clips, against that after 10", memoryOfFamily(), early,
        kMemoryLimit);
}

/// Shows photographs alone and counts the libraries of movies that this has loaded.
void countLibraries(VirtualDesktop& desktop, const QString& folder)
{
    constexpr int kSlides = 4;
    for (int i = 0; i < kSlides; ++i) {
        QImage image(640, 360, QImage::Format_RGB32);
        image.fill(i % 2 == 0 ? Qt::red : Qt::green);
        image.save(folder + QStringLiteral("/%1.png").arg(i));
    }
    Viewer viewer(&desktop);
    viewer.writeSettings({ { QStringLiteral("HintsShown"), true },
        { QStringLiteral("ShowWelcome"), false }, { QStringLiteral("slideInterval"), 36000.0 },
        { QStringLiteral("sort"), QStringLiteral("name") },
        { QStringLiteral("transition"), QStringLiteral("None") } });
    viewer.start({ QFile::encodeName(folder) });
    const QPoint middle(desktop.size().width() / 2, desktop.size().height() / 2);
    for (int i = 0; i < kSlides; ++i) {
        const quint32 colour = i % 2 == 0 ? 0xFF0000 : 0x00FF00;
        if (!desktop.waitFor(
                QStringLiteral("a slide"), [&] { return desktop.colourAt(middle).rgb == colour; }))
            giveUp("A photograph was not shown.");
        desktop.key(XK_Right);
    }
    std::this_thread::sleep_for(1s); // What comes late comes now.
    std::set<QByteArray> found;
    const auto lines = contentsOf(QStringLiteral("/proc/%1/maps").arg(viewer.pid())).split('\n');
    for (const QByteArray& line : lines) {
        const QByteArray name = line.mid(line.lastIndexOf('/') + 1);
        if (name.startsWith("libmpv") || name.startsWith("libav") || name.startsWith("libsw"))
            found.insert(name);
    }
    if (lines.size() < 2)
        giveUp("The viewer has gone.");
    report("Libraries of movies after a show of photographs", double(found.size()), 0, 0);
}

} // namespace

int main(int argc, char** argv)
{
    VirtualDesktop desktop(kScreen);
    if (const auto started = desktop.start(); !started)
        giveUp(started.message());
    qputenv("DISPLAY", desktop.displayName());
    qputenv("QT_QPA_PLATFORM", "xcb");
    const QApplication application(argc, argv);
    setDecoderProgram(BENCH_DECODER);
    const QTemporaryDir folder;
    const auto path = [&](const char* name) { return folder.filePath(QLatin1String(name)); };
    const QByteArray clip = makeClip(path("clip.mp4"), kSmall, kSeconds);
    const QByteArray large = makeClip(path("large.mp4"), kScreen, kSeconds);
    const QByteArray brief = makeClip(path("brief.mp4"), kSmall, 0.4);
    std::printf("%-56s %9s %9s   %5s\n", "", "ours", "other", "ratio");
    MoviePlayer::prepare();

    measureMemory(brief);
    countFrames(large);

    compareFirstFrames("First frame of 640x480 in milliseconds, against mpv", desktop, clip);
    compareFirstFrames("First frame of 1920x1080 in milliseconds, against mpv", desktop, large);
    const QTemporaryDir photographs;
    countLibraries(desktop, photographs.path());
    return gFailures > 0 ? EXIT_FAILURE : EXIT_SUCCESS;
}
