// SPDX-License-Identifier: GPL-3.0-or-later
// The start of the program.
#include "app/CommandLine.h"
#include "app/SlideController.h"
#include "app/Version.h"
#include "display/SVLayerView.h"
#include "platform/Decoding.h"
#include "platform/ReducedMotion.h"
#include "platform/SystemClock.h"
#include "platform/UserDefaults.h"

#include <QApplication>
#include <QIcon>

#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace {

using namespace std::chrono_literals;

using quorvane::choosePaintingBase;
using quorvane::ReducedMotion;
using quorvane::SlideController;
using quorvane::SVLayerView;
using quorvane::SystemClock;
using quorvane::UserDefaults;

constexpr int kNoDisplay = 1;

/// How long the program waits, at its end, for a folder or a file that no longer answers.
constexpr auto kEndLimit = 2s;

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

int run(QApplication& application, const std::vector<QByteArray>& paths)
{
    const QByteArray settings = UserDefaults::standardPath();
    if (settings.isEmpty())
        qWarning("There is no home folder: settings are not kept.");
    UserDefaults defaults(settings);
    SystemClock clock;
    const ReducedMotion motion;
    SlideController controller(defaults, clock, [&] {
        auto view = std::make_unique<SVLayerView>(defaults, clock, choosePaintingBase(defaults));
        view->setReducesMotion([&] { return motion.isReduced(); });
        return view;
    });
    QObject::connect(&controller, &SlideController::nothingLeft, &application,
        &QCoreApplication::quit, Qt::QueuedConnection);
    QObject::connect(&application, &QGuiApplication::applicationStateChanged, &controller,
        [&](Qt::ApplicationState state) {
            if (state == Qt::ApplicationActive)
                controller.applicationWillBecomeActive();
        });
    controller.awakeFromNib();
    if (!paths.empty())
        controller.openFiles(paths);
    controller.applicationDidFinishLaunching();
    const int status = QApplication::exec();

    controller.endSlideShow();
    const bool isSaved = defaults.flush(kEndLimit);
    if (!controller.waitUntilIdle(kEndLimit))
        std::_Exit(isSaved ? status : EXIT_FAILURE);
    return status;
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
    return run(application, line.paths);
}
