// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/Program.h"

#include "app/RealDesktop.h"
#include "display/SVLayerView.h"
#include "platform/Neighbours.h"

#include <QApplication>

#include <cstdlib>
#include <utility>

namespace quorvane {

namespace {

using namespace std::chrono_literals;

/// How long the program waits, at its end, for a folder or a file that no longer answers.
constexpr auto kEndLimit = 2s;

QByteArray settingsPath()
{
    QByteArray path = UserDefaults::standardPath();
    if (path.isEmpty())
        qWarning("There is no home folder: settings are not kept.");
    return path;
}

PlayerState playerState(const SlideController& controller)
{
    PlayerState state;
    state.slide = controller.mImageURL();
    state.isShowing = state.slide && controller.hasSlides();
    state.isPlaying
        = controller.mMoviePlayer() ? controller.mMovieIsPlaying() : controller.isPlaying();
    if (controller.mHintsScreenShown())
        state.slide.reset(); // No file of the person's.
    return state;
}

} // namespace

Program::Program(QApplication& application, Neighbours* neighbours, const Launch& launch)
    : mApplication(application)
    , mLaunch(launch)
    , mAwaitsCall(launch.isService)
{
    // First of all: the bus answers while the rest is made. Not before the windows' library is
    // there: it would lose events to the bus's own thread.
    if (neighbours)
        askBus(*neighbours);
    mDefaults.emplace(settingsPath());
    mController.emplace(
        *mDefaults, mClock, [this] { return makeDisplay(); }, realDesktop(mClock));
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

Program::~Program() = default;

int Program::run()
{
    const int status = QApplication::exec();
    mService.reset();
    mController->endSlideShow();
    const bool isSaved = mDefaults->flush(kEndLimit);
    if (!mController->waitUntilIdle(kEndLimit))
        std::_Exit(isSaved ? status : EXIT_FAILURE);
    return status;
}

void Program::askBus(Neighbours& neighbours)
{
    mService.emplace(mClock, neighbours, applicationActions());
    mService->start(mLaunch, [this](Role role) {
        mRole = role;
        if (mIsReady)
            begin();
    });
}

void Program::begin()
{
    if (mRole == Role::HandedOver) {
        // The event loop may not have begun.
        QMetaObject::invokeMethod(&mApplication, &QCoreApplication::quit, Qt::QueuedConnection);
        return;
    }
    if (mLaunch.isService)
        return; // The call is on its way.
    if (!mLaunch.paths.empty())
        mController->openFiles(mLaunch.paths);
    mController->applicationDidFinishLaunching();
}

void Program::activate()
{
    if (std::exchange(mAwaitsCall, false))
        mController->applicationDidFinishLaunching();
    else
        mController->activate();
}

std::unique_ptr<SVImageDisplay> Program::makeDisplay()
{
    auto view = std::make_unique<SVLayerView>(*mDefaults, mClock, choosePaintingBase(*mDefaults));
    view->setReducesMotion([this] { return mMotion.isReduced(); });
    return view;
}

/// Nobody calls them before the event loop runs.
ApplicationActions Program::applicationActions()
{
    return {
        .openFiles = [this](const auto& paths) { mController->openFiles(paths); },
        .activate = [this] { activate(); },
        .play = [this] { mController->Start(); },
        .next = [this] { mController->nextSlide(); },
        .previous = [this] { mController->previousSlide(); },
        .quit = [] { QCoreApplication::quit(); },
    };
}

PlayerActions Program::playerActions()
{
    return {
        .play = [this] { mController->playMedia(); },
        .pause = [this] { mController->pauseMedia(); },
        .next = [this] { mController->nextSlide(); },
        .previous = [this] { mController->previousSlide(); },
        .openFiles = [this](const auto& paths) { mController->openFiles(paths); },
        .raise = [this] { mController->activate(); },
        .quit = [this] { mController->quit(); },
    };
}

void Program::connectAll()
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

} // namespace quorvane
