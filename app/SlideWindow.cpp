// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/SlideWindow.h"

#include <QCloseEvent>
#include <QKeyEvent>

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
    : QWidget(nullptr, Qt::Window | Qt::FramelessWindowHint)
{
    setWindowTitle(tr("Quorvane"));
    QPalette black = palette();
    black.setColor(QPalette::Window, Qt::black);
    setPalette(black);
    setAutoFillBackground(true);
    setFocusPolicy(Qt::StrongFocus);
}

void SlideWindow::setDisplay(QWidget* display)
{
    mDisplay = display;
    display->setParent(this);
    display->setGeometry(rect());
    display->installEventFilter(this);
    display->show();
}

void SlideWindow::cover(QScreen* screen)
{
    if (screen) {
        setScreen(screen);
        setGeometry(screen->geometry());
        mCoveredSize = screen->geometry().size();
    }
    showFullScreen();
    raise();
    activateWindow();
    setFocus();
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
    const bool isUsed
        = isModifier(event->key()) || (mKeyDown && mKeyDown(characters, event->key()));
    if (!isUsed)
        QWidget::keyPressEvent(event);
}

bool SlideWindow::eventFilter(QObject* watched, QEvent* event)
{
    // A window that changes under a resting mouse sends moves that are none.
    if (mIsMouseHidden && event->type() == QEvent::MouseMove && QCursor::pos() != mHiddenAt) {
        mIsMouseHidden = false;
        unsetCursor();
    }
    return QWidget::eventFilter(watched, event);
}

void SlideWindow::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    if (mDisplay)
        mDisplay->setGeometry(rect());
}

} // namespace quorvane
