// SPDX-License-Identifier: GPL-3.0-or-later
// The start of the program.
#include "app/ApplicationService.h"
#include "app/CommandLine.h"
#include "app/MediaPlayerService.h"
#include "app/RealDesktop.h"
#include "app/SlideController.h"
#include "app/Version.h"
#include "display/SVLayerView.h"
#include "platform/Decoding.h"
#include "platform/Neighbours.h"
#include "platform/ReducedMotion.h"
#include "platform/SilentBus.h"
#include "platform/SystemClock.h"
#include "platform/UserDefaults.h"

#include <QApplication>
#include <QIcon>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>

namespace {

using namespace std::chrono_literals;

using quorvane::ApplicationActions;
using quorvane::ApplicationService;
using quorvane::choosePaintingBase;
using quorvane::Launch;
using quorvane::MediaPlayerService;
using quorvane::Neighbours;
using quorvane::PlayerActions;
using quorvane::PlayerState;
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

PlayerState playerState(const SlideController& controller)
{
    PlayerState state;
    state.slide = controller.mImageURL();
    state.isShowing = state.slide && controller.hasSlides();
    state.isPlaying = controller.isPlaying();
    if (controller.mHintsScreenShown())
        state.slide.reset(); // No file of the person's.
    return state;
}

/// All that lives as long as the windows' library. Thread: main.
class Program {
public:
    /// \param neighbours  null for a program of its own; else must outlive this, as the others.
    Program(QApplication& application, Neighbours* neighbours, const Launch& launch)
        : mApplication(application)
        , mLaunch(launch)
    {
        // First of all: the bus answers while the rest is made. Not before the windows' library is
        // there: it would lose events to the bus's own thread.
        if (neighbours)
            askBus(*neighbours);
        mDefaults.emplace(settingsPath());
        mController.emplace(
            *mDefaults, mClock, [this] { return makeDisplay(); }, quorvane::realDesktop(mClock));
        mPlayer.emplace(playerActions());
        connectAll();
        mController->awakeFromNib();
        if (mService)
            mService->lookForAnswer();
        else
            mRole = Role::Shows;
        mIsReady = true;
        if (mRole)
            begin();
    }

    int run()
    {
        const int status = QApplication::exec();
        mService.reset();
        mController->endSlideShow();
        const bool isSaved = mDefaults->flush(kEndLimit);
        if (!mController->waitUntilIdle(kEndLimit))
            std::_Exit(isSaved ? status : EXIT_FAILURE);
        return status;
    }

private:
    using Role = ApplicationService::Role;

    static QByteArray settingsPath()
    {
        QByteArray path = UserDefaults::standardPath();
        if (path.isEmpty())
            qWarning("There is no home folder: settings are not kept.");
        return path;
    }

    void askBus(Neighbours& neighbours)
    {
        mService.emplace(mClock, neighbours, applicationActions());
        mService->start(mLaunch, [this](Role role) {
            mRole = role;
            if (mIsReady)
                begin();
        });
    }

    void begin()
    {
        if (mRole == Role::HandedOver) {
            // The event loop may not have begun.
            QMetaObject::invokeMethod(&mApplication, &QCoreApplication::quit, Qt::QueuedConnection);
            return;
        }
        if (!mLaunch.paths.empty())
            mController->openFiles(mLaunch.paths);
        mController->applicationDidFinishLaunching();
    }

    std::unique_ptr<SVLayerView> makeDisplay()
    {
        auto view
            = std::make_unique<SVLayerView>(*mDefaults, mClock, choosePaintingBase(*mDefaults));
        view->setReducesMotion([this] { return mMotion.isReduced(); });
        return view;
    }

    /// Nobody calls them before the event loop runs.
    ApplicationActions applicationActions()
    {
        return {
            .openFiles = [this](const auto& paths) { mController->openFiles(paths); },
            .activate = [this] { mController->activate(); },
            .play = [this] { mController->Start(); },
            .next = [this] { mController->nextSlide(); },
            .previous = [this] { mController->previousSlide(); },
        };
    }

    PlayerActions playerActions()
    {
        return {
            .play = [this] { mController->Start(); },
            .pause = [this] { mController->Stop(); },
            .next = [this] { mController->nextSlide(); },
            .previous = [this] { mController->previousSlide(); },
            .openFiles = [this](const auto& paths) { mController->openFiles(paths); },
            .raise = [this] { mController->activate(); },
            .quit = [this] { mController->quit(); },
        };
    }

    void connectAll()
    {
        SlideController* const controller = &*mController;
        QObject::connect(controller, &SlideController::nothingLeft, &mApplication,
            &QCoreApplication::quit, Qt::QueuedConnection);
        QObject::connect(&mApplication, &QGuiApplication::applicationStateChanged, controller,
            [controller](Qt::ApplicationState state) {
                if (state == Qt::ApplicationActive)
                    controller->applicationWillBecomeActive();
            });
        const auto tell = [this] { mPlayer->setState(playerState(*mController)); };
        QObject::connect(controller, &SlideController::slideChanged, &*mPlayer, tell);
        QObject::connect(controller, &SlideController::playingChanged, &*mPlayer, tell);
    }

    QApplication& mApplication;
    const Launch& mLaunch;
    SystemClock mClock;
    std::optional<Role> mRole; ///< Set once it is decided.
    bool mIsReady = false; ///< All below is made.
    std::optional<ApplicationService> mService; ///< None for a program of its own, and at the end.
    const ReducedMotion mMotion;
    std::optional<UserDefaults> mDefaults;
    std::optional<SlideController> mController;
    std::optional<MediaPlayerService> mPlayer;
};

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
    avoidSilentBus(neighbours);
    const Launch launch = Launch::withPaths(line.paths);

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
