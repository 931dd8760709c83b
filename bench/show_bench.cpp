// SPDX-License-Identifier: GPL-3.0-or-later
// The program itself on a virtual desktop of 1920x1080 with large photographs: frames that come
// late while the next photograph is being decoded, how soon a key moves something, and what a slide
// that stands still costs.
#include "FrameWatch.h"
#include "Median.h"
#include "Photograph.h"
#include "show/Viewer.h"
#include "show/VirtualDesktop.h"

#include <QFile>

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <thread>

namespace {

using namespace quorvane::bench;
using namespace quorvane::show;
using namespace std::chrono_literals;
using std::chrono::milliseconds;

constexpr QSize kScreen { 1920, 1080 };
constexpr QSize kPhotograph { 6000, 4000 };
constexpr int kQuality = 95;
constexpr int kDifferent = 4; ///< Photographs; the others are these under other names.

constexpr int kFades = 20;
constexpr milliseconds kFade { 1000 };
constexpr double kFrame = 1000.0 / 60; ///< Milliseconds.
constexpr double kLateAfter = 1.5 * kFrame;

/// Milliseconds of the processor for each fade: less is no decoding of a large photograph.
constexpr double kLeastDecoding = 20;
constexpr double kLateLimit = 2; ///< Per cent of the frames.

constexpr int kPresses = 20;
constexpr milliseconds kRest { 1500 }; ///< After a slide; the next one is decoded by then.
constexpr double kPressLimit = 2 * kFrame;

constexpr auto kBeforeStill = 10s;
constexpr auto kStill = 60s;
constexpr int kWakeUpLimit = 60;

[[noreturn]] void giveUp(const char* why)
{
    std::printf("%s\n", why);
    std::fflush(stdout);
    _exit(EXIT_FAILURE);
}

/// More than any part of this shows, so that none comes round again.
void makePhotographs(const QString& folder)
{
    const auto path = [&](int number) {
        return QStringLiteral("%1/photograph%2.jpg")
            .arg(folder)
            .arg(number, 2, 10, QLatin1Char('0'));
    };
    for (int i = 0; i < kDifferent; ++i) {
        if (!makePhotograph(kPhotograph, i).save(path(i), "jpg", kQuality))
            giveUp("A photograph could not be written.");
    }
    for (int i = kDifferent; i < kFades + kPresses; ++i) {
        std::filesystem::create_hard_link(
            path(i % kDifferent).toStdString(), path(i).toStdString());
    }
}

/// The viewer at its first slide.
class Show {
public:
    Show(VirtualDesktop& desktop, FrameWatch& frames, const QString& folder)
        : mDesktop(desktop)
        , mFrames(frames)
        , mViewer(&desktop)
    {
        mViewer.writeSettings(
            { { QStringLiteral("HintsShown"), true }, { QStringLiteral("ShowWelcome"), false },
                { QStringLiteral("autoStart"), true }, { QStringLiteral("slideInterval"), 36000.0 },
                { QStringLiteral("sort"), QStringLiteral("name") },
                { QStringLiteral("transition"), QStringLiteral("Cross Fade") } });
        mViewer.start({ QFile::encodeName(folder) });
        const QPoint middle(kScreen.width() / 2, kScreen.height() / 2);
        const auto isShown = [&] {
            const Pixel pixel = mDesktop.colourAt(middle);
            return pixel != kBlack && pixel != kDesktop
                && mDesktop.focusedProcess() == mViewer.pid();
        };
        if (!mDesktop.waitFor(QStringLiteral("the first slide"), isShown))
            giveUp("The first slide did not come.");
        rest();
    }

    /// Nothing is asked of the viewer, so that it has the next slide.
    void rest()
    {
        std::this_thread::sleep_for(kRest);
        mFrames.dropFrames();
    }

    /// Goes to another slide and waits for the end of the fade. \return its frames, one at least.
    std::vector<ScreenFrame> step(KeySymbol key)
    {
        mDesktop.key(key);
        std::vector<ScreenFrame> frames { firstFrame() };
        // At its end a fade draws nothing any more; before, only if a frame is that late.
        while (const auto frame = mFrames.nextFrame(isOver(frames) ? kQuiet : kFade))
            frames.push_back(*frame);
        if (frames.back().drawn - frames.front().drawn < kFade.count() / 2)
            giveUp("What the key led to was no fade.");
        return frames;
    }

    pid_t pid() const { return mViewer.pid(); }

private:
    static constexpr milliseconds kQuiet { 40 };

    static bool isOver(const std::vector<ScreenFrame>& frames)
    {
        return frames.back().drawn - frames.front().drawn >= kFade.count() - kQuiet.count();
    }

    ScreenFrame firstFrame()
    {
        const auto frame = mFrames.nextFrame(kWaitLimit);
        if (!frame)
            giveUp("The viewer did not go to the next slide.");
        return *frame;
    }

    VirtualDesktop& mDesktop;
    FrameWatch& mFrames;
    Viewer mViewer;
};

/// The number after `name` in a file of a process; 0 if it has gone.
long numberIn(const std::filesystem::path& file, const std::string& name)
{
    std::ifstream lines(file);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with(name))
            return std::stol(line.substr(name.size()));
    }
    return 0;
}

bool isNumber(const std::string& text)
{
    return text.find_first_not_of("0123456789") == std::string::npos;
}

/// A process and those that it has started, and they.
std::set<long> processesOf(pid_t viewer)
{
    std::map<long, long> parents;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        if (const std::string name = entry.path().filename(); isNumber(name))
            parents[std::stol(name)] = numberIn(entry.path() / "status", "PPid:");
    }
    std::set<long> found { viewer };
    for (size_t before = 0; before != found.size();) {
        before = found.size();
        for (const auto& [process, parent] : parents) {
            if (found.contains(parent))
                found.insert(process);
        }
    }
    return found;
}

/// Seconds of the processor that the viewer's decoders have had.
double decoderSeconds(pid_t viewer)
{
    double ticks = 0;
    for (const long process : processesOf(viewer)) {
        std::ifstream file("/proc/" + std::to_string(process) + "/stat");
        std::string text;
        std::getline(file, text, '\0');
        // The name in parentheses may hold anything. Of the rest, fields 12 and 13 are times.
        std::istringstream fields(text.substr(text.rfind(')') + 1));
        std::string field;
        for (int i = 1; process != viewer && fields >> field; ++i)
            ticks += i == 12 || i == 13 ? std::stod(field) : 0;
    }
    return ticks / static_cast<double>(sysconf(_SC_CLK_TCK));
}

const char* verdict(bool holds) { return holds ? "holds" : "MISSED"; }

struct Lateness {
    int frames = 0;
    int late = 0;
    std::vector<double> gaps = {}; ///< Milliseconds.

    void add(const std::vector<ScreenFrame>& fade)
    {
        for (size_t i = 1; i < fade.size(); ++i) {
            gaps.push_back(fade[i].drawn - fade[i - 1].drawn);
            late += gaps.back() > kLateAfter ? 1 : 0;
            ++frames;
        }
    }
    double percent() const { return 100.0 * late / frames; }
};

void reportLateness(const char* what, const Lateness& found, const char* limit)
{
    std::printf(
        "| late frames, %s | %.1f %% (%d of %d; median gap %.0f ms, longest %.0f ms) | %s |\n",
        what, found.percent(), found.late, found.frames, median(found.gaps),
        *std::max_element(found.gaps.begin(), found.gaps.end()), limit);
    std::fflush(stdout);
}

/// Each fade begins as soon as the one before is over, while its next slide is being decoded; then
/// to and fro between two slides that are there.
bool measureLateness(VirtualDesktop& desktop, FrameWatch& watch, const QString& folder)
{
    Show show(desktop, watch, folder);
    Lateness decoding;
    const double before = decoderSeconds(show.pid());
    for (int i = 0; i < kFades; ++i)
        decoding.add(show.step(XK_Right));
    const double decoded = (decoderSeconds(show.pid()) - before) / kFades;
    if (decoded * 1000 < kLeastDecoding)
        giveUp("Too little was decoded during the fades.");
    show.rest();
    show.step(XK_Left);
    show.step(XK_Right);
    show.rest();
    Lateness kept;
    for (int i = 0; i < kFades; ++i)
        kept.add(show.step(i % 2 == 0 ? XK_Left : XK_Right));
    const bool holds = decoding.percent() <= kLateLimit;
    reportLateness("all slides decoded before", kept, "none");
    reportLateness("the next slide being decoded", decoding, holds ? "2 % holds" : "2 % MISSED");
    std::printf(
        "| the decoders' work for each of these fades | %.0f ms | none |\n", decoded * 1000);
    return holds;
}

bool measurePresses(VirtualDesktop& desktop, FrameWatch& watch, const QString& folder)
{
    Show show(desktop, watch, folder);
    std::vector<double> times;
    for (int i = 0; i < kPresses; ++i) {
        const auto pressed = std::chrono::steady_clock::now();
        const auto fade = show.step(XK_Right);
        times.push_back(
            std::chrono::duration<double, std::milli>(fade.front().seen - pressed).count());
        show.rest();
    }
    const bool holds = median(times) <= kPressLimit;
    std::printf("| key to the first frame, the slide decoded before | %.1f ms (longest %.1f ms) | "
                "%.1f ms %s |\n",
        median(times), *std::max_element(times.begin(), times.end()), kPressLimit, verdict(holds));
    std::fflush(stdout);
    return holds;
}

/// How often each of their threads has waited so far.
std::map<std::string, long> waits(const std::set<long>& processes)
{
    std::map<std::string, long> counts;
    for (const long process : processes) {
        const std::filesystem::path tasks = "/proc/" + std::to_string(process) + "/task";
        std::error_code gone;
        for (const auto& task : std::filesystem::directory_iterator(tasks, gone))
            counts[task.path()] = numberIn(task.path() / "status", "voluntary_ctxt_switches:");
    }
    return counts;
}

bool measureStillSlide(VirtualDesktop& desktop, FrameWatch& watch, const QString& folder)
{
    const Show show(desktop, watch, folder);
    std::this_thread::sleep_for(kBeforeStill);
    const std::set<long> processes = processesOf(show.pid());
    watch.dropFrames();
    const auto before = waits(processes);
    std::this_thread::sleep_for(kStill);
    const auto after = waits(processesOf(show.pid()));
    const int frames = watch.dropFrames();
    long wakeUps = 0;
    for (const auto& [task, count] : after)
        wakeUps += count - (before.contains(task) ? before.at(task) : 0);
    std::printf(
        "| frames of a still slide in a minute | %d | 0 %s |\n", frames, verdict(frames == 0));
    std::printf("| wake-ups in that minute, %zu processes, %zu threads | %ld | %d %s |\n",
        processes.size(), after.size(), wakeUps, kWakeUpLimit, verdict(wakeUps <= kWakeUpLimit));
    return frames == 0 && wakeUps <= kWakeUpLimit;
}

} // namespace

int main()
{
    const QTemporaryDir data;
    makePhotographs(data.path());
    VirtualDesktop desktop(kScreen);
    if (const auto started = desktop.start(); !started)
        giveUp(started.message());
    const auto watch = FrameWatch::open(desktop.displayName());
    if (!watch)
        giveUp("The X server does not report what is drawn.");
    std::printf(
        "The viewer at 1920x1080 with photographs of 24 megapixels; %d fades, %d presses\n\n"
        "| what | figure | limit |\n| --- | --- | --- |\n",
        kFades, kPresses);
    const bool isSmooth = measureLateness(desktop, *watch, data.path());
    const bool isPrompt = measurePresses(desktop, *watch, data.path());
    const bool isStill = measureStillSlide(desktop, *watch, data.path());
    return isSmooth && isPrompt && isStill ? EXIT_SUCCESS : EXIT_FAILURE;
}
