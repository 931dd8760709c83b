// SPDX-License-Identifier: GPL-3.0-or-later
// Runs Xvfb, openbox and dbus-daemon; speaks to the first through Xlib and XTEST.
#include "VirtualDesktop.h"

#include "ChildProcess.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <unistd.h>

#include <cassert>
#include <iomanip>
#include <ostream>
#include <thread>

namespace quorvane::show {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

/// Fine enough to see a frame that stands for one refresh of a screen.
constexpr milliseconds kSamplePeriod { 2 };
constexpr milliseconds kAskPeriod { 5 };

/// A bus that starts no services: nothing but the test's own programs is on it.
constexpr auto kBusSettings = R"(<busconfig><type>session</type><listen>unix:path=%1</listen>
<policy context="default"><allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/>
<allow own="*"/></policy></busconfig>)";

/// A window manager without shortcuts: every key reaches the program.
constexpr auto kManagerSettings = R"(<?xml version="1.0"?>
<openbox_config xmlns="http://openbox.org/3.4/rc"><focus><focusNew>yes</focusNew></focus>
<desktops><number>1</number><popupTime>0</popupTime></desktops></openbox_config>)";

QByteArray contentsOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void write(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    const bool written = file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
    assert(written);
    static_cast<void>(written);
}

/// Windows vanish between two questions: that is no reason to end the test.
int ignoreError(Display* /*display*/, XErrorEvent* /*event*/) { return 0; }

} // namespace

void PrintTo(const Pixel& pixel, std::ostream* out)
{
    const auto flags = out->flags();
    *out << '#' << std::hex << std::setw(6) << std::setfill('0') << pixel.rgb;
    out->flags(flags);
}

QString saveScreen(const QImage& image)
{
    const auto* test = testing::UnitTest::GetInstance()->current_test_info();
    QString name
        = QStringLiteral("%1.%2.png")
              .arg(QString::fromUtf8(test->test_suite_name()), QString::fromUtf8(test->name()));
    name.replace(u'/', u'_');
    const QString folder = QStringLiteral(SHOW_TEST_SCREENS);
    QDir().mkpath(folder);
    const QString path = folder + u'/' + name;
    return image.save(path) ? path : QStringLiteral("(not saved)");
}

VirtualDesktop::VirtualDesktop(QSize size)
    : mSize(size)
{
    XSetErrorHandler(ignoreError);
}

VirtualDesktop::~VirtualDesktop()
{
    // The manager first: the library ends a client whose screen goes away.
    mManager.reset();
    if (mDisplay != nullptr)
        XCloseDisplay(mDisplay);
    mScreen.reset();
    mBus.reset();
}

QStringList VirtualDesktop::missingTools()
{
    QStringList missing;
    for (const char* tool : { "Xvfb", "openbox", "dbus-daemon" }) {
        if (QStandardPaths::findExecutable(QString::fromUtf8(tool)).isEmpty())
            missing.append(QString::fromUtf8(tool));
    }
    return missing;
}

testing::AssertionResult VirtualDesktop::start()
{
    if (auto screen = startScreen(); !screen)
        return screen;
    if (auto manager = startManager(); !manager)
        return manager;
    return startBus();
}

QByteArray VirtualDesktop::busAddress() const
{
    return QByteArrayLiteral("unix:path=")
        + QFile::encodeName(mFolder.filePath(QStringLiteral("bus")));
}

testing::AssertionResult VirtualDesktop::startScreen()
{
    const QByteArray size = QByteArray::number(mSize.width()) + 'x'
        + QByteArray::number(mSize.height()) + QByteArrayLiteral("x24");
    // "-displayfd 1": the server picks a free number and says it on its standard output.
    mScreen = startTool(
        { "Xvfb", "-displayfd", "1", "-screen", "0", size, "-noreset", "-nolisten", "tcp" });
    const bool ready = poll([this] { return outputOf("Xvfb").endsWith('\n'); }, kWaitLimit);
    mDisplayName = ':' + outputOf("Xvfb").trimmed();
    mDisplay = ready ? XOpenDisplay(mDisplayName.constData()) : nullptr;
    if (mDisplay == nullptr)
        return testing::AssertionFailure() << "Xvfb offers no screen";
    const Window root = DefaultRootWindow(mDisplay);
    XSetWindowBackground(mDisplay, root, kDesktop.rgb);
    XClearWindow(mDisplay, root);
    XSync(mDisplay, False);
    return testing::AssertionSuccess();
}

testing::AssertionResult VirtualDesktop::startManager()
{
    const QString settings = mFolder.filePath(QStringLiteral("rc.xml"));
    write(settings, kManagerSettings);
    mManager
        = startTool({ "openbox", "--sm-disable", "--config-file", QFile::encodeName(settings) });
    const Window root = DefaultRootWindow(mDisplay);
    if (!poll([&] { return property(root, "_NET_SUPPORTING_WM_CHECK") != 0; }, kWaitLimit))
        return testing::AssertionFailure() << "openbox manages no windows";
    return testing::AssertionSuccess();
}

testing::AssertionResult VirtualDesktop::startBus()
{
    const QString settings = mFolder.filePath(QStringLiteral("bus.conf"));
    write(settings,
        QString::fromUtf8(kBusSettings).arg(mFolder.filePath(QStringLiteral("bus"))).toUtf8());
    mBus = startTool({ "dbus-daemon", "--config-file=" + QFile::encodeName(settings),
        "--print-address", "--nofork" });
    if (!poll([this] { return outputOf("dbus-daemon").endsWith('\n'); }, kWaitLimit))
        return testing::AssertionFailure() << "dbus-daemon offers no bus";
    return testing::AssertionSuccess();
}

std::unique_ptr<ChildProcess> VirtualDesktop::startTool(std::vector<QByteArray> command) const
{
    const QByteArray folder = QFile::encodeName(mFolder.path());
    StartPlan plan;
    plan.environment = { "PATH=" + qgetenv("PATH"), "HOME=" + folder, "XDG_CACHE_HOME=" + folder,
        "LC_ALL=C.UTF-8", "DISPLAY=" + mDisplayName };
    plan.outputFile = folder + '/' + command.front() + ".out";
    plan.errorFile = folder + '/' + command.front() + ".err";
    plan.signalWhenOrphaned = SIGTERM; // The screen's server has a lock file to remove.
    plan.command = std::move(command);
    return std::make_unique<ChildProcess>(plan);
}

QByteArray VirtualDesktop::outputOf(const char* tool) const
{
    return contentsOf(mFolder.filePath(QString::fromUtf8(tool) + QStringLiteral(".out")));
}

Pixel VirtualDesktop::colourAt(QPoint where)
{
    XImage* image = XGetImage(
        mDisplay, DefaultRootWindow(mDisplay), where.x(), where.y(), 1, 1, AllPlanes, ZPixmap);
    assert(image != nullptr);
    const Pixel pixel { static_cast<quint32>(XGetPixel(image, 0, 0) & 0xffffffU) };
    XDestroyImage(image);
    return pixel;
}

QImage VirtualDesktop::image()
{
    XImage* image = XGetImage(mDisplay, DefaultRootWindow(mDisplay), 0, 0,
        static_cast<unsigned>(mSize.width()), static_cast<unsigned>(mSize.height()), AllPlanes,
        ZPixmap);
    assert(image != nullptr && image->bits_per_pixel == 32);
    const QImage copy = QImage(reinterpret_cast<const uchar*>(image->data), image->width,
        image->height, image->bytes_per_line, QImage::Format_RGB32)
                            .copy();
    XDestroyImage(image);
    return copy;
}

void VirtualDesktop::key(KeySymbol symbol, std::initializer_list<KeySymbol> modifiers)
{
    const auto send = [this](KeySymbol which, bool down) {
        XTestFakeKeyEvent(
            mDisplay, XKeysymToKeycode(mDisplay, which), down ? True : False, CurrentTime);
    };
    for (const KeySymbol modifier : modifiers)
        send(modifier, true);
    send(symbol, true);
    send(symbol, false);
    for (const KeySymbol modifier : modifiers)
        send(modifier, false);
    XSync(mDisplay, False);
}

void VirtualDesktop::moveMouse(QPoint where)
{
    XTestFakeMotionEvent(mDisplay, DefaultScreen(mDisplay), where.x(), where.y(), CurrentTime);
    XSync(mDisplay, False);
}

unsigned long VirtualDesktop::property(unsigned long window, const char* name)
{
    Atom type = 0;
    int format = 0;
    unsigned long count = 0;
    unsigned long left = 0;
    unsigned char* data = nullptr;
    const int status = XGetWindowProperty(mDisplay, window, XInternAtom(mDisplay, name, False), 0,
        1, False, AnyPropertyType, &type, &format, &count, &left, &data);
    unsigned long value = 0;
    if (status == Success && format == 32 && count > 0)
        value = *reinterpret_cast<const unsigned long*>(data);
    if (data != nullptr)
        XFree(data);
    return value;
}

pid_t VirtualDesktop::processOf(unsigned long window)
{
    return static_cast<pid_t>(property(window, "_NET_WM_PID"));
}

pid_t VirtualDesktop::focusedProcess()
{
    Window window = 0;
    int revert = 0;
    XGetInputFocus(mDisplay, &window, &revert);
    while (window > PointerRoot) {
        if (const pid_t process = processOf(window); process != 0)
            return process;
        Window root = 0;
        Window parent = 0;
        Window* children = nullptr;
        unsigned count = 0;
        if (XQueryTree(mDisplay, window, &root, &parent, &children, &count) == 0)
            return 0;
        if (children != nullptr)
            XFree(children);
        window = parent;
    }
    return 0;
}

QRect VirtualDesktop::rectangleOf(unsigned long window)
{
    XWindowAttributes attributes {};
    Window child = 0;
    int x = 0;
    int y = 0;
    if (XGetWindowAttributes(mDisplay, window, &attributes) == 0
        || XTranslateCoordinates(mDisplay, window, attributes.root, 0, 0, &x, &y, &child) == 0
        || attributes.map_state != IsViewable) {
        return {};
    }
    return { x, y, attributes.width, attributes.height };
}

std::vector<QRect> VirtualDesktop::windowsOf(pid_t process)
{
    Window root = 0;
    Window parent = 0;
    Window* frames = nullptr;
    unsigned count = 0;
    XQueryTree(mDisplay, DefaultRootWindow(mDisplay), &root, &parent, &frames, &count);
    std::vector<Window> candidates(frames, frames + count);
    XFree(frames);
    std::vector<QRect> found;
    // Grows while it is walked: a managed window is a child of its frame.
    for (size_t i = 0; i < candidates.size(); ++i) {
        const Window window = candidates[i];
        if (processOf(window) == process) {
            if (const QRect rectangle = rectangleOf(window); !rectangle.isEmpty())
                found.push_back(rectangle);
            continue;
        }
        Window* children = nullptr;
        if (XQueryTree(mDisplay, window, &root, &parent, &children, &count) != 0
            && children != nullptr) {
            candidates.insert(candidates.end(), children, children + count);
            XFree(children);
        }
    }
    return found;
}

void VirtualDesktop::sample()
{
    if (!mRecording)
        return;
    const Pixel colour = colourAt(mRecording->where);
    auto& changes = mRecording->changes;
    if (changes.empty() || changes.back().colour != colour)
        changes.push_back({ steady_clock::now(), colour });
}

bool VirtualDesktop::poll(const std::function<bool()>& condition, milliseconds limit)
{
    const Moment end = steady_clock::now() + limit;
    Moment askAgain = steady_clock::now();
    for (;;) {
        sample();
        const Moment now = steady_clock::now();
        if (now >= askAgain) {
            if (condition())
                return true;
            askAgain = now + kAskPeriod;
        }
        if (now >= end)
            return false;
        std::this_thread::sleep_for(mRecording ? kSamplePeriod : kAskPeriod);
    }
}

testing::AssertionResult VirtualDesktop::waitFor(
    const QString& what, const std::function<bool()>& condition, milliseconds limit)
{
    if (poll(condition, limit))
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << what.toStdString() << ": not within " << limit.count()
                                       << " ms; the screen: " << saveScreen(image()).toStdString();
}

void VirtualDesktop::pause(milliseconds duration)
{
    poll([] { return false; }, duration);
}

std::vector<ColourChange> VirtualDesktop::recordColours(QPoint where, milliseconds duration)
{
    startRecording(where);
    pause(duration);
    return takeRecording();
}

void VirtualDesktop::startRecording(QPoint where)
{
    mRecording = Recording { where, {} };
    sample();
}

std::vector<ColourChange> VirtualDesktop::takeRecording()
{
    sample();
    std::vector<ColourChange> changes
        = mRecording ? std::move(mRecording->changes) : std::vector<ColourChange>();
    mRecording.reset();
    return changes;
}

} // namespace quorvane::show
