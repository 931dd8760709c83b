// SPDX-License-Identifier: GPL-3.0-or-later
// The window of the show.
#pragma once

#include <QPointer>
#include <QScreen>
#include <QWidget>

#include <functional>
#include <optional>

class QMenuBar;

namespace quorvane {

/// A black window that holds the display. It covers a screen, and its menu bar comes when the mouse
/// reaches the upper edge; or it stands in a frame, below its menu bar. Keys that no command
/// answers go to a handler. Thread: main.
class SlideWindow : public QWidget {
    Q_OBJECT

public:
    /// Given the text of a key, empty with Ctrl or Alt, and its Qt::Key; never a modifier key
    /// alone. True when it was used up.
    using KeyHandler = std::function<bool(const QString& characters, int key)>;

    SlideWindow();

    /// Fills the window with `display`, which becomes its child.
    void setDisplay(QWidget* display);

    /// \param bar  a child of the window.
    void setMenuBar(QMenuBar* bar);
    bool hasMenuBar() const { return mBar != nullptr; }

    void setKeyHandler(KeyHandler handler) { mKeyDown = std::move(handler); }

    /// Shows the window full screen on `screen` and makes it the active one. Without a screen it
    /// shows where the desktop puts it.
    void cover(QScreen* screen);

    /// Makes it an ordinary window that can be moved and sized. \param frame  the place of window
    /// and frame together, as far as the desktop lets windows say where they stand.
    void showInFrame(const QRect& frame);

    /// The size of the screen when it was covered; empty in a frame.
    QSize coveredSize() const { return mCoveredSize; }

    /// Hides the mouse pointer until the mouse moves.
    void hideMouseUntilItMoves();

Q_SIGNALS:
    /// The person closed the window by the desktop's means.
    void closedByHand();

    /// It has no menu bar yet, and needs it now.
    void menuBarWanted();

    /// A right click, or the menu key. \param where  global.
    void contextMenuWanted(QPoint where);

    /// It became the window that has the keyboard, or is it no longer.
    void keyChanged(bool isKey);

protected:
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void moveEvent(QMoveEvent* event) override;
    void changeEvent(QEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    void showAndActivate();
    void layOut();
    void fitFrame();
    void mouseMoved(QPoint where);
    bool wantMenuBar();
    void showBar(bool isShown);
    void menusLeft();

    KeyHandler mKeyDown;
    QPointer<QWidget> mDisplay;
    QMenuBar* mBar = nullptr; ///< A child.
    std::optional<QRect> mWantedFrame; ///< Until the frame's own size is known.
    QSize mCoveredSize; ///< Empty in a frame.
    bool mIsInFrame = false;
    QPoint mHiddenAt; ///< Where the pointer was when it was hidden; global.
    bool mIsMouseHidden = false;
};

} // namespace quorvane
