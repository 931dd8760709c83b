// SPDX-License-Identifier: GPL-3.0-or-later
// The start of the program.
#include "app/CommandLine.h"
#include "app/Program.h"
#include "app/Version.h"
#include "platform/Decoding.h"
#include "platform/Neighbours.h"
#include "platform/SilentBus.h"

#include <QApplication>
#include <QIcon>

#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace {

using quorvane::Launch;
using quorvane::Neighbours;
using quorvane::Program;

constexpr int kNoDisplay = 1;

QByteArray currentFolder()
{
    std::error_code error;
    const std::string path = std::filesystem::current_path(error).native();
    return error ? QByteArray("/") : QByteArray::fromStdString(path);
}

/// Qt ends with a core dump when it finds no display. A person gets one line instead.
[[noreturn]] void endWithoutDisplay()
{
    std::fputs("quorvane: there is no display to show anything on\n", stderr);
    std::_Exit(kNoDisplay);
}

void failWithoutDisplay(QtMsgType type, const QMessageLogContext&, const QString&)
{
    if (type == QtFatalMsg)
        endWithoutDisplay();
}

bool namesDisplay()
{
    const auto isSet = [](const char* variable) {
        const char* const value = std::getenv(variable);
        return value && *value;
    };
    return isSet("DISPLAY") || isSet("WAYLAND_DISPLAY") || isSet("QT_QPA_PLATFORM");
}

/// A program that stands alone shows its slide in time even if the bus does not move; one that
/// does not can trust that the bus is slow.
void avoidSilentBus(const Neighbours& neighbours)
{
    const bool isSilent = quorvane::isSessionBusSilent(quorvane::kBusPatience)
        && (!neighbours.areThere()
            || quorvane::isSessionBusSilent(quorvane::kNeighbourPatience - quorvane::kBusPatience));
    if (isSilent)
        quorvane::doWithoutSessionBus();
}

} // namespace

int main(int argc, char** argv)
{
    const auto line
        = quorvane::parseCommandLine({ argv + std::min(argc, 1), argv + argc }, currentFolder());
    std::fputs(line.output.constData(), stdout);
    std::fputs(line.errors.constData(), stderr);
    if (line.exitStatus) {
        const bool isSaid = std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
        return isSaid ? *line.exitStatus : EXIT_FAILURE;
    }
    if (!namesDisplay())
        endWithoutDisplay();
    // While the windows' library starts, the decoder does.
    quorvane::warmUpDecoders();
    Neighbours neighbours;
    if (line.isOnItsOwn)
        neighbours.leave();
    if (!line.isService) // Else it has just spoken.
        avoidSilentBus(neighbours);
    Launch launch = Launch::withPaths(line.paths);
    launch.isService = line.isService;

    argc = std::min(argc, 1); // The options are ours; Qt's come by its environment variables.
    QCoreApplication::setApplicationName(QStringLiteral("quorvane"));
    QCoreApplication::setApplicationVersion(QLatin1String(quorvane::kVersion));
    QGuiApplication::setDesktopFileName(QStringLiteral("com.quorvane.Quorvane"));
    QGuiApplication::setHighDpiScaleFactorRoundingPolicy(
        Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);
    const auto handler = qInstallMessageHandler(failWithoutDisplay);
    QApplication application(argc, argv);
    qInstallMessageHandler(handler);
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/resources/quorvane.svg")));
    return Program(application, line.isOnItsOwn ? nullptr : &neighbours, launch).run();
}
