// SPDX-License-Identifier: GPL-3.0-or-later
#include "WaylandDesktop.h"

#include "ChildProcess.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>

#include <unistd.h>

#include <thread>

namespace quorvane::show {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

/// Nobody; the compositor refuses to run as root.
constexpr uid_t kNobody = 65534;

constexpr auto kSettings = R"(output HEADLESS-1 resolution 1280x720 position 0 0
output HEADLESS-2 resolution 1024x768 position 1280 0
output * bg #6b5a7c solid_color
default_border none
focus_on_window_activation focus
)";

QByteArray contentsOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool poll(const std::function<bool()>& condition)
{
    const auto end = steady_clock::now() + kWaitLimit;
    while (!condition()) {
        if (steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(milliseconds(10));
    }
    return true;
}

} // namespace

WaylandDesktop::WaylandDesktop() = default;
WaylandDesktop::~WaylandDesktop() = default;

QStringList WaylandDesktop::missingTools()
{
    QStringList missing;
    for (const char* tool : { "sway", "swaymsg", "grim", "wtype", "setpriv" })
        if (QStandardPaths::findExecutable(QString::fromUtf8(tool)).isEmpty())
            missing.append(QString::fromUtf8(tool));
    return missing;
}

QString WaylandDesktop::path(const char* name) const
{
    return mFolder.filePath(QString::fromUtf8(name));
}

QByteArray WaylandDesktop::displayName() const { return QFile::encodeName(path("wayland-1")); }

testing::AssertionResult WaylandDesktop::start()
{
    QFile settings(path("conf"));
    if (!settings.open(QIODevice::WriteOnly) || settings.write(kSettings) < 0)
        return testing::AssertionFailure() << "no settings for sway";
    settings.close();
    std::vector<QByteArray> command { "sway", "-c", QFile::encodeName(path("conf")) };
    if (geteuid() == 0) {
        for (const QByteArray& file :
            { QFile::encodeName(mFolder.path()), QFile::encodeName(path("conf")) })
            if (chown(file.constData(), kNobody, kNobody) != 0)
                return testing::AssertionFailure() << "the folder cannot be given away";
        command.insert(
            command.begin(), { "setpriv", "--reuid=65534", "--regid=65534", "--clear-groups" });
    }
    mCompositor = startTool(std::move(command), "sway");
    const bool isUp
        = poll([this] { return QFile::exists(path("wayland-1")) && !windows().isEmpty(); });
    if (!isUp)
        return testing::AssertionFailure()
            << "sway offers no display: " << contentsOf(path("sway.err")).constData();
    // Without a keyboard no window has it, and all become inactive when the last one goes.
    mKeyboard = startTool({ "wtype", "-s", "3600000" }, "keyboard");
    return testing::AssertionSuccess();
}

std::unique_ptr<ChildProcess> WaylandDesktop::startTool(
    std::vector<QByteArray> command, const QByteArray& name) const
{
    const QByteArray folder = QFile::encodeName(mFolder.path());
    StartPlan plan;
    plan.environment = { "PATH=" + qgetenv("PATH"), "HOME=" + folder, "XDG_RUNTIME_DIR=" + folder,
        "LC_ALL=C.UTF-8", "WLR_BACKENDS=headless", "WLR_RENDERER=pixman",
        "WLR_LIBINPUT_NO_DEVICES=1", "WLR_HEADLESS_OUTPUTS=2", "WAYLAND_DISPLAY=wayland-1" };
    if (name == "sway")
        plan.environment.pop_back(); // It would be a window of another compositor.
    const QStringList sockets
        = QDir(mFolder.path()).entryList({ QStringLiteral("sway-ipc.*") }, QDir::System);
    if (!sockets.isEmpty())
        plan.environment.push_back(
            "SWAYSOCK=" + QFile::encodeName(mFolder.filePath(sockets.first())));
    plan.outputFile = folder + '/' + name + ".out";
    plan.errorFile = folder + '/' + name + ".err";
    plan.signalWhenOrphaned = SIGTERM;
    plan.command = std::move(command);
    return std::make_unique<ChildProcess>(plan);
}

QByteArray WaylandDesktop::run(std::vector<QByteArray> command) const
{
    const QByteArray name = command.front();
    const auto tool = startTool(std::move(command), name);
    poll([&] { return tool->exitStatus().has_value(); });
    return contentsOf(mFolder.filePath(QString::fromUtf8(name + ".out")));
}

QByteArray WaylandDesktop::windows() const { return run({ "swaymsg", "-r", "-t", "get_tree" }); }

void WaylandDesktop::focus(const QByteArray& title) const
{
    run({ "swaymsg", "[title=\"" + title + "\"]", "focus" });
}

void WaylandDesktop::moveToSecond(const QByteArray& title) const
{
    run({ "swaymsg", "[title=\"" + title + "\"]", "move", "container", "to", "output",
        "HEADLESS-2" });
}

QImage WaylandDesktop::image() const
{
    const QString file = path("screen.ppm");
    run({ "grim", "-t", "ppm", QFile::encodeName(file) });
    return QImage(file);
}

Pixel WaylandDesktop::colourAt(QPoint where) const { return { image().pixel(where) & 0xffffffU }; }

void WaylandDesktop::key(std::initializer_list<const char*> chord) const
{
    // The first key of each call is lost; one that changes nothing stands in front.
    std::vector<QByteArray> command { "wtype", "-s", "50", "-k", "Shift_L", "-s", "50" };
    const std::vector<QByteArray> keys(chord.begin(), chord.end());
    for (size_t i = 0; i + 1 < keys.size(); ++i)
        command.insert(command.end(), { "-M", keys[i] });
    command.insert(command.end(), { "-k", keys.back() });
    for (size_t i = 0; i + 1 < keys.size(); ++i)
        command.insert(command.end(), { "-m", keys[i] });
    run(std::move(command));
}

} // namespace quorvane::show
