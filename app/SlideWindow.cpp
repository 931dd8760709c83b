// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/SlideWindow.h"

#include <QCloseEvent>
#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMenu>
#include <QMenuBar>
#include <QPaintEvent>
#include <QPainter>

namespace quorvane {

namespace {

/// Keys that only change what others mean.
bool isModifier(int key)
{
    switch (key) {
    case Qt::Key_Shift:
    case Qt::Key_Control:
    case Qt::Key_Meta:
    case Qt::Key_Alt:
    case Qt::Key_AltGr:
    case Qt::Key_Super_L:
    case Qt::Key_Super_R:
    case Qt::Key_Hyper_L:
    case Qt::Key_Hyper_R:
    case Qt::Key_CapsLock:
    case Qt::Key_NumLock:
    case Qt::Key_ScrollLock:
    case Qt::Key_Mode_switch:
    case Qt::Key_Multi_key:
        return true;
    default:
        return false;
    }
}

} // namespace

SlideWindow::SlideWindow()
    : QWidget(nullptr, Qt::Window)
{
    setWindowTitle(tr("Quorvane"));
    setAttribute(Qt::WA_OpaquePaintEvent);
    setFocusPolicy(Qt::StrongFocus);
}

void SlideWindow::setDisplay(QWidget* display)
{
    mDisplay = display;
    display->setParent(this);
    display->installEventFilter(this);
    display->show();
    layOut();
}

void SlideWindow::setMenuBar(QMenuBar* bar)
{
    mBar = bar;
    bar->setAutoFillBackground(true);
    bar->installEventFilter(this);
    for (const QAction* const item : bar->actions()) {
        // Later: the bar or the menu beside it may be the next.
        if (const QMenu* const menu = item->menu())
            connect(menu, &QMenu::aboutToHide, this, &SlideWindow::menusLeft, Qt::QueuedConnection);
    }
    layOut();
}

bool SlideWindow::wantMenuBar()
{
    if (!mBar)
        Q_EMIT menuBarWanted();
    return mBar != nullptr;
}

void SlideWindow::cover(QScreen* screen)
{
    mIsInFrame = false;
    mWantedFrame.reset();
    mCoveredSize = screen ? screen->geometry().size() : QSize();
    if (screen) {
        setScreen(screen);
        setGeometry(screen->geometry());
    }
    showFullScreen();
    showAndActivate();
}

void SlideWindow::showInFrame(const QRect& frame)
{
    wantMenuBar();
    mIsInFrame = true;
    mCoveredSize = {};
    showNormal();
    move(frame.topLeft());
    resize(frame.size());
    mWantedFrame = frame;
    fitFrame();
    showAndActivate();
}

void SlideWindow::showAndActivate()
{
    layOut();
    raise();
    activateWindow();
    setFocus();
}

/// The frame is the window manager's, and its size is not known before it is there.
void SlideWindow::fitFrame()
{
    if (!mWantedFrame || frameGeometry() == geometry())
        return;
    const QSize edges = frameGeometry().size() - geometry().size();
    const QRect frame = *mWantedFrame;
    mWantedFrame.reset();
    move(frame.topLeft());
    resize(frame.size() - edges);
}

/// In a frame the display lies below the bar, otherwise behind it.
void SlideWindow::layOut()
{
    QRect room = rect();
    if (mBar) {
        const int barHeight = mBar->heightForWidth(width());
        mBar->setVisible(mIsInFrame);
        mBar->setGeometry(0, 0, width(), barHeight);
        mBar->raise();
        if (mIsInFrame)
            room.setTop(barHeight);
    }
    if (mDisplay)
        mDisplay->setGeometry(room);
}

void SlideWindow::hideMouseUntilItMoves()
{
    mIsMouseHidden = true;
    mHiddenAt = QCursor::pos();
    setCursor(Qt::BlankCursor);
}

void SlideWindow::closeEvent(QCloseEvent* event)
{
    event->ignore(); // The show ends in its own order, and takes the window with it.
    Q_EMIT closedByHand();
}

void SlideWindow::keyPressEvent(QKeyEvent* event)
{
    // A digit with Ctrl is no digit: most of them are commands.
    const bool isChord
        = event->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier);
    const QString characters = isChord ? QString() : event->text();
    if (event->key() == Qt::Key_F10 && wantMenuBar()) {
        showBar(true);
        mBar->setActiveAction(mBar->actions().constFirst());
        return;
    }
    const bool isUsed
        = isModifier(event->key()) || (mKeyDown && mKeyDown(characters, event->key()));
    if (!isUsed)
        QWidget::keyPressEvent(event);
}

bool SlideWindow::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::MouseMove)
        mouseMoved(mapFromGlobal(QCursor::pos()));
    else if (event->type() == QEvent::Leave && watched == mBar)
        showBar(false);
    else if (event->type() == QEvent::FocusOut && watched == mBar)
        QMetaObject::invokeMethod(this, &SlideWindow::menusLeft, Qt::QueuedConnection);
    return QWidget::eventFilter(watched, event);
}

void SlideWindow::mouseMoved(QPoint where)
{
    // A window that changes under a resting mouse sends moves that are none.
    if (mIsMouseHidden && QCursor::pos() != mHiddenAt) {
        mIsMouseHidden = false;
        unsetCursor();
    }
    if (where.y() <= 0 && QGuiApplication::mouseButtons() == Qt::NoButton && wantMenuBar())
        showBar(true);
    else if (mBar && where.y() > mBar->height())
        showBar(false);
}

/// Only where it does not stand anyway.
void SlideWindow::showBar(bool isShown)
{
    // A title whose menu was closed by a key stays the active one: only an open menu counts.
    const QAction* const item = mBar ? mBar->activeAction() : nullptr;
    const bool isInUse = item && item->menu() && item->menu()->isVisible();
    if (mBar && !mIsInFrame && (isShown || !isInUse))
        mBar->setVisible(isShown);
}

/// Who opened it by a key has no mouse to leave the bar with. The first Escape only leaves the
/// menu: the arrows still lead from title to title.
void SlideWindow::menusLeft()
{
    if (!mBar->underMouse() && !mBar->activeAction())
        showBar(false);
}

/// Not by the palette: the menus would be black too.
void SlideWindow::paintEvent(QPaintEvent* event)
{
    QPainter(this).fillRect(event->rect(), Qt::black);
}

void SlideWindow::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    layOut();
    fitFrame();
}

void SlideWindow::moveEvent(QMoveEvent* event)
{
    QWidget::moveEvent(event);
    fitFrame();
}

void SlideWindow::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::ActivationChange)
        Q_EMIT keyChanged(isActiveWindow());
}

void SlideWindow::contextMenuEvent(QContextMenuEvent* event)
{
    Q_EMIT contextMenuWanted(event->globalPos());
}

} // namespace quorvane
