// SPDX-License-Identifier: GPL-3.0-or-later
// transition_bench [TRANSITION]: what a frame of each transition costs, or of that one, on a
// virtual desktop of 1920x1080 and on one of 3840x2160.
//
// A frame is over when the X server has it: the copy to the screen is part of it. The viewer's view
// and a widget that paints the same with nothing but a painter take turns in one window; before
// anything is measured, their frames are compared on the screen.
#include "Median.h"
#include "Photograph.h"
#include "PlainPainter.h"
#include "display/SVLayerView.h"
#include "images/SVImage.h"
#include "platform/DispatchQueue.h"
#include "platform/MainQueue.h"
#include "platform/UserDefaults.h"
#include "settings/SettingsCatalogue.h"
#include "show/VirtualDesktop.h"
#include "support/ManualClock.h"

#include <QApplication>
#include <QWindow>
#include <QtGui/qguiapplication_platform.h>

#include <sys/wait.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <iterator>

namespace {

using namespace quorvane;
using namespace quorvane::bench;
using quorvane::show::VirtualDesktop;
using std::chrono::steady_clock;

constexpr int kRepetitions = 9;
constexpr int kFrames = 32; ///< Of each transition, evenly spread over its time.
constexpr int kComparedFrame = 13;

constexpr double kLeastRate = 60; ///< Frames a second.
constexpr double kLeastRatio = 0.7;

/// Levels by which the two may differ on the average. They round differently, and the edges of a
/// turned picture differ; another moment, or a picture that is not there, makes far more.
constexpr double kLikeness = 2;

constexpr std::array kScreens { QSize(1920, 1080), QSize(3840, 2160) };
constexpr QSize kUsualScreen = kScreens[0];

struct Case {
    const char* title;
    bool forward;
    double seconds;
    bool isForLargeScreens; ///< Has to be smooth on them too.
};

constexpr std::array kCases {
    Case { "Cross Fade", true, 1, true },
    Case { "Fast Cross Fade", true, 0.2, true },
    Case { "Flip", true, 1, false },
    Case { "Slide", true, 1.4, true },
    Case { "Slide", false, 1.4, true },
    Case { "Rotate Left Right", true, 2, false },
    Case { "Rotate Left", true, 2, false },
    Case { "Rotate Left", false, 2, false },
    Case { "Shrink", true, 1, false },
    Case { "Expand", true, 1, false },
    Case { "Bar Swipe", true, 0.6, true },
    Case { "Swipe", true, 0.4, true },
    Case { "Mod", true, 0.7, false },
};

[[noreturn]] void giveUp(const char* why)
{
    std::printf("%s\n", why);
    std::fflush(stdout);
    _exit(EXIT_FAILURE);
}

/// Frames come as fast as they are asked for: whoever wants the screen's rate gets one each step.
class FrameClock : public ManualClock {
public:
    void setFrameTime(Duration time) { mFrameTime = time; }

    std::unique_ptr<Timer> scheduleTimer(
        Duration interval, Repetition repetition, std::function<void()> block) override
    {
        constexpr std::chrono::milliseconds kLongestFrame { 50 };
        const bool isFrame = interval > Duration::zero() && interval <= kLongestFrame;
        return ManualClock::scheduleTimer(
            isFrame ? mFrameTime : interval, repetition, std::move(block));
    }

private:
    Duration mFrameTime {};
};

/// Counts how often a widget is painted.
class PaintCounter : public QObject {
public:
    int count = 0;

    bool eventFilter(QObject* /*watched*/, QEvent* event) override
    {
        count += event->type() == QEvent::Paint ? 1 : 0;
        return false;
    }
};

/// Comes back when the X server has done all that it was asked for.
void waitForServer()
{
    const auto* const x11 = qApp->nativeInterface<QNativeInterface::QX11Application>();
    if (x11 == nullptr)
        giveUp("Qt does not draw on an X display.");
    xcb_connection_t* const connection = x11->connection();
    std::free(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
}

/// Milliseconds.
struct Sweep {
    double median = 0;
    double worst = 0;
};

/// Draws the frames of one transition, the first one too. \param draw  is told the frame's number.
Sweep timeFrames(const std::function<void(int)>& draw)
{
    std::vector<double> times;
    for (int frame = 0; frame < kFrames; ++frame) {
        const auto start = steady_clock::now();
        draw(frame);
        waitForServer();
        times.push_back(
            std::chrono::duration<double, std::milli>(steady_clock::now() - start).count());
    }
    return { median(times), *std::max_element(times.begin(), times.end()) };
}

/// One window over the whole screen, in which either widget draws.
class Stage {
public:
    explicit Stage(QSize size)
        : mView(mDefaults, mClock)
        , mPainter(&mWindow)
        , mBefore(makePhotograph(size, 0))
        , mAfter(makePhotograph(size, 1))
    {
        mView.setParent(&mWindow);
        mPainter.setAttribute(Qt::WA_OpaquePaintEvent);
        mPainter.setPictures(mBefore, mAfter);
        mWindow.setWindowFlag(Qt::X11BypassWindowManagerHint);
        mWindow.setGeometry(QRect(QPoint(), size));
        mView.setGeometry(mWindow.rect());
        mPainter.setGeometry(mWindow.rect());
        mView.installEventFilter(&mCounter);
        mWindow.show();
        settle();
    }

    /// \param last  the frame to stop at.
    Sweep drawView(const Case& transition, int last = kFrames)
    {
        beginTransition(transition);
        mCounter.count = 0;
        const Sweep sweep = timeFrames([&](int frame) {
            if (frame <= last)
                mClock.advance(frame == 0 ? Duration::zero() : mStep);
        });
        if (mCounter.count != std::min(kFrames, last + 1))
            giveUp("The view did not draw each frame.");
        return sweep;
    }

    Sweep drawPlainly(const PlainTransition& transition, int last = kFrames)
    {
        mPainter.setTransition(transition);
        mView.hide();
        mPainter.setVisible(true);
        settle();
        return timeFrames([&](int frame) {
            if (frame <= last)
                mPainter.drawMoment(static_cast<double>(frame) / kFrames);
        });
    }

private:
    void beginTransition(const Case& transition)
    {
        mPainter.hide();
        mView.setVisible(true);
        finishTransition();
        mStep = durationFromSeconds(transition.seconds / kFrames);
        mClock.setFrameTime(mStep);
        mDefaults.setValue(kTransition, QStringLiteral("None"));
        mView.setImage(SVImage::imageWithImage(mBefore), true);
        settle();
        mDefaults.setValue(kTransition, QString::fromLatin1(transition.title));
        mView.setImage(SVImage::imageWithImage(mAfter), transition.forward);
        settle();
    }

    void finishTransition()
    {
        for (int frame = 0; mView.isBusy() && frame < 2 * kFrames; ++frame)
            mClock.advance(mStep);
    }

    /// Whatever was put off is done, also on other threads.
    static void settle()
    {
        DispatchQueue::global().drain();
        MainQueue::drain();
        QApplication::processEvents();
        waitForServer();
        QApplication::processEvents();
    }

    UserDefaults mDefaults;
    FrameClock mClock;
    Duration mStep {};
    QWidget mWindow;
    SVLayerView mView;
    PlainPainter mPainter;
    PaintCounter mCounter;
    QImage mBefore;
    QImage mAfter;
};

/// Levels, on the average of all pixels and colours.
double meanDifference(const QImage& a, const QImage& b)
{
    qint64 sum = 0;
    for (int y = 0; y < a.height(); ++y) {
        const uchar* const rowA = a.constScanLine(y);
        const uchar* const rowB = b.constScanLine(y);
        for (int i = 0; i < a.width() * 4; ++i)
            sum += i % 4 == 3 ? 0 : std::abs(rowA[i] - rowB[i]); // The fourth byte is no colour.
    }
    return static_cast<double>(sum) / 3 / a.width() / a.height();
}

struct Measured {
    std::vector<double> ours; ///< Milliseconds, for each repetition.
    std::vector<double> worst;
    std::vector<double> plain;
    std::vector<double> ratios;
};

/// Both draw the same, or the comparison means nothing. Warms up what is made once, too.
void requireLikeness(Stage& stage, VirtualDesktop& desktop, const Case& transition)
{
    stage.drawView(transition, kComparedFrame);
    const QImage ours = desktop.image();
    stage.drawPlainly(plainTransition(transition.title, transition.forward), kComparedFrame);
    const double difference = meanDifference(ours, desktop.image());
    if (difference <= kLikeness)
        return;
    std::printf("%s: the two differ by %.1f levels.\n", transition.title, difference);
    giveUp("There is nothing to compare.");
}

void measure(Stage& stage, const Case& transition, Measured& measured)
{
    const auto plain = plainTransition(transition.title, transition.forward);
    const double before = stage.drawPlainly(plain).median;
    const Sweep ours = stage.drawView(transition);
    const double theirs = (before + stage.drawPlainly(plain).median) / 2;
    measured.ours.push_back(ours.median);
    measured.worst.push_back(ours.worst);
    measured.plain.push_back(theirs);
    measured.ratios.push_back(theirs / ours.median);
}

/// What the limit says of it, and whether it holds.
struct Verdict {
    bool holds;
    const char* text;
};

Verdict judge(const Case& transition, const Measured& measured, QSize screen)
{
    const double rate = 1000 / median(measured.ours);
    if (screen == kUsualScreen) {
        const bool holds = rate >= kLeastRate && median(measured.ratios) >= kLeastRatio;
        return { holds, holds ? "60, 0.70 holds" : "60, 0.70 MISSED" };
    }
    if (!transition.isForLargeScreens)
        return { true, "none" };
    return { rate >= kLeastRate, rate >= kLeastRate ? "60 holds" : "60 MISSED" };
}

bool report(const Case& transition, const Measured& measured, QSize screen)
{
    const auto [holds, text] = judge(transition, measured, screen);
    std::printf("| %s%s | %.0f | %.1f | %.0f | %.2f | %s |\n", transition.title,
        transition.forward ? "" : ", back", 1000 / median(measured.ours), median(measured.worst),
        1000 / median(measured.plain), median(measured.ratios), text);
    return holds;
}

bool measureAll(Stage& stage, VirtualDesktop& desktop, const std::vector<Case>& cases)
{
    std::vector<Measured> measured(cases.size());
    for (const Case& row : cases)
        requireLikeness(stage, desktop, row);
    for (int repetition = 0; repetition < kRepetitions; ++repetition) {
        for (size_t i = 0; i < cases.size(); ++i)
            measure(stage, cases[i], measured[i]);
    }
    std::printf("\nTransitions at %dx%d, medians of %d runs of %d frames in turn\n\n"
                "| transition | frames/s | worst frame, ms | plain frames/s | ratio | limit |\n"
                "| --- | --- | --- | --- | --- | --- |\n",
        desktop.size().width(), desktop.size().height(), kRepetitions, kFrames);
    bool allHold = true;
    for (size_t i = 0; i < cases.size(); ++i)
        allHold = report(cases[i], measured[i], desktop.size()) && allHold;
    return allHold;
}

/// In a process of its own: a program has one display.
int measureOn(QSize screen, const std::vector<Case>& cases)
{
    VirtualDesktop desktop(screen);
    if (const auto started = desktop.start(); !started)
        giveUp(started.message());
    qputenv("DISPLAY", desktop.displayName());
    qputenv("QT_QPA_PLATFORM", "xcb");
    qputenv("QT_ENABLE_HIGHDPI_SCALING", "0");
    char name[] = "transition_bench";
    char* arguments[] = { name, nullptr };
    int count = 1;
    const QApplication application(count, arguments);
    Stage stage(screen);
    return measureAll(stage, desktop, cases) ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace

int main(int argc, char** argv)
{
    std::vector<Case> cases;
    std::copy_if(kCases.begin(), kCases.end(), std::back_inserter(cases),
        [&](const Case& row) { return argc < 2 || qstrcmp(argv[1], row.title) == 0; });
    if (cases.empty())
        giveUp("transition_bench [TRANSITION]: a value of the setting \"transition\".");
    int outcome = EXIT_SUCCESS;
    for (const QSize screen : kScreens) {
        const pid_t child = fork();
        if (child == 0)
            return measureOn(screen, cases);
        int status = 0;
        waitpid(child, &status, 0);
        if (!WIFEXITED(status) || WEXITSTATUS(status) != EXIT_SUCCESS)
            outcome = EXIT_FAILURE;
    }
    return outcome;
}
