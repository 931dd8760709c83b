// SPDX-License-Identifier: GPL-3.0-or-later
// Runs Xvfb, openbox and dbus-daemon; speaks to the first through Xlib and XTEST.
#include "VirtualDesktop.h"

#include "ChildProcess.h"
#include "Screen.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>

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
}

VirtualDesktop::~VirtualDesktop()
{
    // Clients before their server: the library ends a client whose server goes away.
    mManager.reset();
    mScreen.reset();
}

QStringList VirtualDesktop::missingTools()
{
    QStringList missing;
    for (const char* tool : { "Xvfb", "openbox", "dbus-daemon", "xrandr" }) {
        if (QStandardPaths::findExecutable(QString::fromUtf8(tool)).isEmpty())
            missing.append(QString::fromUtf8(tool));
    }
    return missing;
}

testing::AssertionResult VirtualDesktop::start()
{
    if (auto server = startServer(); !server)
        return server;
    if (auto manager = startManager(); !manager)
        return manager;
    return startBus();
}

QByteArray VirtualDesktop::busAddress() const
{
    return QByteArrayLiteral("unix:path=")
        + QFile::encodeName(mFolder.filePath(QStringLiteral("bus")));
}

testing::AssertionResult VirtualDesktop::startServer()
{
    const QByteArray size = QByteArray::number(mSize.width()) + 'x'
        + QByteArray::number(mSize.height()) + QByteArrayLiteral("x24");
    // "-displayfd 1": the server picks a free number and says it on its standard output.
    mServer = startTool(
        { "Xvfb", "-displayfd", "1", "-screen", "0", size, "-noreset", "-nolisten", "tcp" });
    const bool ready = poll([this] { return outputOf("Xvfb").endsWith('\n'); }, kWaitLimit);
    mDisplayName = ':' + outputOf("Xvfb").trimmed();
    mScreen = ready ? Screen::open(mDisplayName) : nullptr;
    if (!mScreen)
        return testing::AssertionFailure() << "Xvfb offers no screen";
    mScreen->paintBackground(kDesktop);
    return testing::AssertionSuccess();
}

testing::AssertionResult VirtualDesktop::startManager()
{
    const QString settings = mFolder.filePath(QStringLiteral("rc.xml"));
    write(settings, kManagerSettings);
    mManager
        = startTool({ "openbox", "--sm-disable", "--config-file", QFile::encodeName(settings) });
    if (!poll([this] { return mScreen->managesWindows(); }, kWaitLimit))
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

testing::AssertionResult VirtualDesktop::runTool(std::vector<QByteArray> command)
{
    const QByteArray name = command.front();
    const auto tool = startTool(std::move(command));
    const bool hasEnded = poll([&] { return tool->exitStatus().has_value(); }, kWaitLimit);
    if (hasEnded && tool->exitStatus() == ExitStatus { 0, 0 })
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << name.constData() << " failed";
}

testing::AssertionResult VirtualDesktop::plugIn(const char* name, QRect part, bool isFirst)
{
    // Millimetres at about 96 dots an inch.
    const QString geometry = QStringLiteral("%1/%2x%3/%4+%5+%6")
                                 .arg(part.width())
                                 .arg(part.width() / 4)
                                 .arg(part.height())
                                 .arg(part.height() / 4)
                                 .arg(part.x())
                                 .arg(part.y());
    return runTool(
        { "xrandr", "--setmonitor", name, geometry.toUtf8(), isFirst ? "screen" : "none" });
}

testing::AssertionResult VirtualDesktop::unplug(const char* name)
{
    return runTool({ "xrandr", "--delmonitor", name });
}

Pixel VirtualDesktop::colourAt(QPoint where) { return mScreen->colourAt(where); }

QImage VirtualDesktop::image() { return mScreen->image(); }

void VirtualDesktop::key(KeySymbol symbol, std::initializer_list<KeySymbol> modifiers)
{
    mScreen->key(symbol, modifiers);
}

void VirtualDesktop::publishProfile(const QByteArray& profile)
{
    mScreen->setRootProperty("_ICC_PROFILE", profile);
}

void VirtualDesktop::moveMouse(QPoint where) { mScreen->moveMouse(where); }

void VirtualDesktop::holdKey(KeySymbol symbol, bool isDown) { mScreen->holdKey(symbol, isDown); }

void VirtualDesktop::holdButton(unsigned button, bool isDown)
{
    mScreen->holdButton(button, isDown);
}

pid_t VirtualDesktop::focusedProcess() { return mScreen->focusedProcess(); }

std::vector<QRect> VirtualDesktop::windowsOf(pid_t process) { return mScreen->windowsOf(process); }

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
