// SPDX-License-Identifier: GPL-3.0-or-later
// Where the show stands: which screen, all of it or a window, and what happens when screens come
// and go.
#include "app/Menus.h"
#include "app/OpenPanel.h"
#include "app/ScreenChooser.h"
#include "app/SlideController.h"
#include "app/SlideLabel.h"
#include "app/SlideWindow.h"
#include "app/Stacking.h"
#include "platform/Decoding.h"
#include "platform/MainQueue.h"
#include "platform/MonitorProfile.h"
#include "platform/RectText.h"
#include "platform/UserDefaults.h"
#include "settings/SettingsCatalogue.h"

#include <QEvent>
#include <QGuiApplication>

#include <algorithm>

namespace quorvane {

namespace {

constexpr QEvent::Type kFirstSlideIsThere = QEvent::User;

} // namespace

void SlideController::watchScreens()
{
    connect(qGuiApp, &QGuiApplication::screenAdded, this, &SlideController::watchScreen);
    connect(qGuiApp, &QGuiApplication::screenRemoved, this, &SlideController::screenRemoved);
    for (QScreen* const screen : QGuiApplication::screens())
        watchScreen(screen);
}

void SlideController::watchScreen(QScreen* screen)
{
    connect(screen, &QScreen::geometryChanged, this, [this, screen] {
        if (screen == mCurrentScreen)
            coverScreenAnew();
    });
}

/// A projector was unplugged: the show goes on where there is a screen.
void SlideController::screenRemoved(QScreen* screen)
{
    if (mCurrentScreen && mCurrentScreen != screen)
        return;
    const auto screens = QGuiApplication::screens();
    const auto other = std::find_if(
        screens.begin(), screens.end(), [&](const QScreen* each) { return each != screen; });
    mCurrentScreen = other == screens.end() ? nullptr : *other;
    coverScreenAnew();
}

void SlideController::coverScreenAnew()
{
    // Not while the desktop is still rearranging its screens.
    MainQueue::async(mLifeGuard.wrap([this] {
        if (mWindow && !mWindowMode && mCurrentScreen)
            goFullScreen(mCurrentScreen);
    }));
}

void SlideController::makeWindow()
{
    mWindow = std::make_unique<SlideWindow>();
    mView = mMakeDisplay();
    mView->setDelegate(this);
    mWindow->setDisplay(mView->widget());
    mMenus->addKeys(*mWindow);
    connect(mWindow.get(), &SlideWindow::menuBarWanted, this, &SlideController::makeMenuBar);
    mWindow->setKeyHandler(
        [this](const QString& characters, int key) { return keyDown(characters, key); });
    connect(mWindow.get(), &SlideWindow::closedByHand, this, [this] { windowClosedByHand(); });
    takeDrops(*mWindow);
    connect(mWindow.get(), &SlideWindow::keyChanged, this, [this](bool isKey) {
        if (isKey)
            windowDidBecomeKey();
        else
            windowDidResignKey();
    });
    connect(mWindow.get(), &SlideWindow::contextMenuWanted, mMenus.get(), &Menus::openContextMenu);
}

/// It is the slowest part of a window, and hidden at first: it comes after the first slide.
void SlideController::makeMenuBar()
{
    if (mWindow && !mWindow->hasMenuBar())
        mWindow->setMenuBar(mMenus->makeMenuBar(*mWindow));
}

void SlideController::customEvent(QEvent* event)
{
    if (event->type() == kFirstSlideIsThere)
        makeMenuBar();
}

/// As soon as there is nothing else to do: the slide is to be painted before.
void SlideController::makeMenuBarSoon()
{
    if (!mWindow->hasMenuBar())
        QCoreApplication::postEvent(this, new QEvent(kFirstSlideIsThere), Qt::LowEventPriority - 1);
}

void SlideController::goFullScreen(QScreen* screen)
{
    if (!mWindow)
        makeWindow();
    setDecodingTarget(screen ? monitorProfile(*screen) : QByteArray());
    mWindowMode = false;
    mWindow->cover(screen);
}

void SlideController::exitFullScreen()
{
    if (!mWindow)
        return;
    if (OpenPanel* const panel = mOpenPanel.data()) {
        // The person is still choosing what to show next.
        panel->setParent(nullptr, panel->windowFlags());
        panel->show();
    }
    mView->setDelegate(nullptr);
    mLabel = nullptr;
    mWindow->hide();
    // Later, and the display as the window's child: one of the two may be calling.
    static_cast<void>(mView.release());
    mWindow.release()->deleteLater();
    mWindowMode = false;
    windowDidResignKey();
}

void SlideController::WindowMode()
{
    if (!mWindow)
        return;
    mWindowMode = true;
    const QRect screen = mCurrentScreen ? mCurrentScreen->geometry() : mWindow->geometry();
    // Half as wide and half as high, in the lower left quarter.
    const QSize size(screen.width() / 2, screen.height() / 2);
    mWindow->showInFrame({ { screen.x(), screen.y() + screen.height() - size.height() }, size });
}

void SlideController::FullScreen()
{
    if (!mWindow)
        return;
    QScreen* const screen = mWindow->screen();
    if (screen != mCurrentScreen) {
        mCurrentScreen = screen;
        MainQueue::async(mLifeGuard.wrap([this] { saveScreen(); }));
    }
    goFullScreen(mCurrentScreen);
}

void SlideController::ShowChooseScreen()
{
    if (!mChooseScreenWindow) {
        mChooseScreenWindow = std::make_unique<ScreenChooser>();
        connect(mChooseScreenWindow.get(), &ScreenChooser::chosen, this,
            &SlideController::ChangeScreen);
    }
    standBefore(*mChooseScreenWindow, mWindow.get());
    mChooseScreenWindow->begin(mCurrentScreen);
}

void SlideController::ChangeScreen()
{
    mCurrentScreen = mChooseScreenWindow->chosenScreen();
    mChooseScreenWindow->hide();
    if (mSequence.current() && mWindow) {
        exitFullScreen();
        goFullScreen(mCurrentScreen);
        showCurrentAgain();
    }
    MainQueue::async(mLifeGuard.wrap([this] { saveScreen(); }));
}

void SlideController::saveScreen()
{
    const QRectF frame = mCurrentScreen ? QRectF(mCurrentScreen->geometry()) : QRectF();
    mDefaults.setValue(kScreenRect, stringFromRect(frame));
}

void SlideController::restoreScreen()
{
    mCurrentScreen = QGuiApplication::primaryScreen();
    const QString stored = mDefaults.stringValue(kScreenRect);
    const auto screens = QGuiApplication::screens();
    if (stored.isEmpty() || screens.size() < 2)
        return;
    const QRectF frame = rectFromString(stored);
    const auto same = std::find_if(screens.begin(), screens.end(),
        [&](const QScreen* screen) { return QRectF(screen->geometry()) == frame; });
    if (same != screens.end())
        mCurrentScreen = *same;
}

} // namespace quorvane
