// SPDX-License-Identifier: GPL-3.0-or-later
// The controller's life, the start of a show, and the windows around it.
#include "app/SlideController.h"

#include "app/ControlPanel.h"
#include "app/DropTarget.h"
#include "app/Help.h"
#include "app/MenuKey.h"
#include "app/Menus.h"
#include "app/MovieWatch.h"
#include "app/OpenPanel.h"
#include "app/ScreenChooser.h"
#include "app/SlideLabel.h"
#include "app/SlideWindow.h"
#include "app/Stacking.h"
#include "images/SVImageCache.h"
#include "platform/MainQueue.h"
#include "platform/UserDefaults.h"
#include "settings/SettingsCatalogue.h"

#include <QGuiApplication>
#include <QMenuBar>
#include <QStandardPaths>

namespace quorvane {

SlideController::SlideController(
    UserDefaults& defaults, Clock& clock, MakeDisplay makeDisplay, DesktopServices desktop)
    : mDefaults(defaults)
    , mClock(clock)
    , mMakeDisplay(std::move(makeDisplay))
    , mDesktop(std::move(desktop))
    , mSequence(defaults, clock)
    , mCurrentScreen(QGuiApplication::primaryScreen())
    , mFolderFinder(mDesktop.bookmarks)
    , mRecentFolders(mDefaults, mFolderFinder, [this] { recentsChanged(); })
{
    mSequence.setDelegate(this);
    mMenus = std::make_unique<Menus>(*this);
}

SlideController::~SlideController()
{
    delete mOpenPanel;
    mSequence.stopCollecting();
    if (mAddSequence)
        mAddSequence->stopCollecting();
    if (mMovie)
        mMovie->removeObserver(*this); // The display may keep it for a while.
    if (mView)
        mView->setDelegate(nullptr);
    SVImageCache::purge();
}

void SlideController::awakeFromNib()
{
    registerDefaultSettings(mDefaults);
    mLastSlideTime = mDefaults.floatValue(kSlideInterval);
    mIntervalObservation = mDefaults.observe(kSlideInterval, [this] { slideIntervalChanged(); });
    if (mDefaults.hasValue(kRecentFolderBookmarks)) {
        mRecentFolders.load();
        updateRecentMenu();
    }
    restoreScreen();
    watchScreens();
}

void SlideController::openFiles(const std::vector<QByteArray>& paths)
{
    dropAwaitedFolder();
    const auto collect = [this, paths] {
        mSequence.addFiles(paths);
        mSequence.sort();
        mSequence.removeDuplicates();
    };
    fill(collect, [this] { goToFirstSlide(); });
    rememberRecentFolders(paths);
}

void SlideController::goToFirstSlide()
{
    // A new user is to see the hints in peace: they stand in front of the first slide.
    const bool isHere = mMovie && mSequence.currentIndex() == 0 && mShownURL == mSequence.current();
    if (mShowsHints)
        mSequence.first();
    else if (!isHere) // A movie would begin again.
        firstSlide();
}

/// Added to the show, as files that the desktop opens.
void SlideController::takeDrops(QWidget& window)
{
    new DropTarget(window, [this](const std::vector<QByteArray>& paths) { openFiles(paths); });
}

void SlideController::addURLs(const std::vector<FileURL>& urls)
{
    fill([this, urls] { mSequence.addURLs(urls); }, [] {});
}

void SlideController::fill(
    const std::function<void()>& collect, const std::function<void()>& afterwards)
{
    ++mOpenings;
    mQuitsAfterShow = false;
    const int show = mEndedShows;
    const std::function<void()> finished = mLifeGuard.wrap([this, show, afterwards] {
        --mOpenings;
        if (show == mEndedShows)
            afterwards();
        filled();
    });
    mDispatchQueue.async([this, show, collect, finished] {
        if (show == mEndedShows) // Else it ended before its turn came.
            collect();
        MainQueue::async(finished);
    });
}

void SlideController::filled()
{
    if (mOpenings > 0 || isEnding() || mSequence.count() > 0 || mayGetFiles())
        return;
    // Nothing that was named can be shown.
    if (mWindow)
        endSlideShow();
    else
        showEnded();
}

void SlideController::applicationDidFinishLaunching()
{
    // While files are being collected, filled() decides.
    if (mOpenings > 0 || mSequence.count() > 0)
        return;
    if (mDefaults.boolValue(kOpenLastUsedFolder))
        openLastUsedFolder();
    else
        showEnded();
}

void SlideController::applicationWillBecomeActive()
{
    if (mOpenings > 0 || isEnding() || mOpenPanel)
        return;
    const auto current = mSequence.current();
    if (!current) {
        const bool isStandIn = mControlsStandIn && isShowingControls();
        if (!isStandIn && (!mDefaults.hasValue(kShowWelcome) || mDefaults.boolValue(kShowWelcome)))
            ShowWelcomeScreen();
        return;
    }
    const QSize screen = mCurrentScreen ? mCurrentScreen->geometry().size() : QSize();
    if (mWindow && mWindow->coveredSize() == screen)
        return;
    exitFullScreen();
    goFullScreen(mCurrentScreen);
    showCurrentAgain();
}

bool SlideController::waitUntilIdle(std::chrono::milliseconds limit)
{
    return mDispatchQueue.drainFor(limit) && DispatchQueue::global().drainFor(limit);
}

void SlideController::firstFileFound()
{
    MainQueue::async(mLifeGuard.wrap([this] { autoPlay(); }));
}

void SlideController::autoPlay()
{
    const auto current = mSequence.current();
    if (!current || isEnding())
        return;
    if (mWelcomeController)
        mWelcomeController->closeWindow();
    if (!mWindow)
        goFullScreen(
            mCurrentScreen); // Meanwhile a short list is in order: its first slide is next.
    const FileURL slide = mSequence.current().value_or(*current);
    if (mDefaults.boolValue(kHintsShown)) {
        if (!mMovie || mShownURL != slide) // A movie would begin again.
            openImageURL(slide, true);
    } else {
        ShowHintScreen();
    }
    if (mShownURL && mDefaults.boolValue(kAutoStart) && !isPlaying())
        Play();
    openAddfolder();
}

FileURL SlideController::hintScreen()
{
    return FileURL(QByteArrayLiteral(":/resources/hint screen.png"));
}

void SlideController::ShowHintScreen()
{
    openImageURL(hintScreen(), true);
    mDefaults.setValue(kHintsShown, true);
}

void SlideController::endSlideShow()
{
    Stop();
    mWasPlaying = false;
    mFailedMovies = 0;
    checkMovie();
    if (mView)
        mView->clearImage();
    exitFullScreen();
    setShownURL({});
    mSeenURL.reset();
    mReloadTimer.reset();
    mShowsHints = false;
    mShowsAdd = false;
    mSequence.stopCollecting();
    if (mAddSequence)
        mAddSequence->stopCollecting();
    ++mEndedShows;
    const std::function<void()> ended = mLifeGuard.wrap([this] {
        ++mClearedShows;
        showEnded();
    });
    mDispatchQueue.async([this, ended, adds = mAddSequence.get()] {
        mSequence.clear();
        if (adds)
            adds->clear();
        MainQueue::async(ended);
    });
    SVImageCache::purge();
    mSecurityScopedResourceURL.reset();
    mSecurityScopedAddURL.reset();
}

void SlideController::showEnded()
{
    if (mOpenings > 0 || isEnding() || mSequence.count() > 0 || mWindow || mOpenPanel)
        return; // Another show is on its way.
    updateControls();
    if (isShowingControls())
        return;
    if (mQuitsAfterShow)
        Q_EMIT nothingLeft();
    else if (!mDefaults.hasValue(kShowWelcome) || mDefaults.boolValue(kShowWelcome))
        ShowWelcomeScreen();
    else
        ShowControls(); // Else the program would be there, and nobody could see it.
}

void SlideController::ShowWelcomeScreen()
{
    if (!mWelcomeController) {
        mWelcomeController = std::make_unique<WelcomeController>();
        mWelcomeController->setDelegate(this);
        QMenuBar* const bar = mMenus->makeMenuBar(*mWelcomeController);
        mWelcomeController->setMenuBar(bar);
        openMenusByKey(*mWelcomeController, *bar);
        takeDrops(*mWelcomeController);
    }
    mWelcomeController->loadRecents(recentPaths());
    standBefore(*mWelcomeController, mWindow.get());
    mWelcomeController->showWindow();
}

void SlideController::activate()
{
    if (!mWindow) {
        applicationWillBecomeActive();
        return;
    }
    mWindow->show();
    mWindow->raise();
    mWindow->activateWindow();
}

void SlideController::openSelected() { openMenu(); }

bool SlideController::isAnyWindowOpen() const
{
    return mWindow || isShowingControls()
        || (mWelcomeController && mWelcomeController->isVisible());
}

void SlideController::welcomeClosedByHand()
{
    if (isAnyWindowOpen() || mOpenings > 0)
        return;
    if (mOpenPanel)
        mQuitsAfterShow = true; // Unless something is chosen.
    else
        Q_EMIT nothingLeft();
}

void SlideController::openMenu()
{
    if (mOpenPanel)
        return;
    mOpenPanel = new OpenPanel(
        FileURL::fromEncoded(mDefaults.stringValue(kLastUsedOpenDirectory).toUtf8()));
    const auto done = mLifeGuard.wrap([this](const OpenPanelChoice& choice) {
        mOpenPanel = nullptr;
        if (!choice.urls.empty())
            chosen(choice);
        else if (!isAnyWindowOpen())
            showEnded(); // The panel may have been the last window.
    });
    mOpenPanel->begin(mWindow.get(), done);
}

void SlideController::chosen(const OpenPanelChoice& choice)
{
    dropAwaitedFolder();
    Stop();
    endSlideShow();
    addURLs(choice.urls);
    rememberRecentURLs(choice.urls);
    mDefaults.setValue(kLastUsedOpenDirectory, QString::fromLatin1(choice.directory.encoded()));
}

void SlideController::showHelp() { openUserGuide(); }

void SlideController::windowClosedByHand()
{
    mQuitsAfterShow = true;
    cancel();
}

} // namespace quorvane
