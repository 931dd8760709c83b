// SPDX-License-Identifier: GPL-3.0-or-later
// The window of the show.
#pragma once

#include <QPointer>
#include <QScreen>
#include <QWidget>

#include <functional>

namespace quorvane {

/// A borderless black window that covers a screen and holds the display. Keys that no command of
/// its own answers go to a handler. Thread: main.
class SlideWindow : public QWidget {
    Q_OBJECT

public:
    /// Given the text of a key, empty with Ctrl or Alt, and its Qt::Key; never a modifier key
    /// alone. True when it was used up.
    using KeyHandler = std::function<bool(const QString& characters, int key)>;

    SlideWindow();

    /// Fills the window with `display`, which becomes its child.
    void setDisplay(QWidget* display);

    void setKeyHandler(KeyHandler handler) { mKeyDown = std::move(handler); }

    /// Shows the window full screen on `screen` and makes it the active one. Without a screen it
    /// shows where the desktop puts it.
    void cover(QScreen* screen);

    /// The size of the screen when it was covered.
    QSize coveredSize() const { return mCoveredSize; }

    /// Hides the mouse pointer until the mouse moves.
    void hideMouseUntilItMoves();

Q_SIGNALS:
    /// The person closed the window by the desktop's means.
    void closedByHand();

protected:
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    KeyHandler mKeyDown;
    QPointer<QWidget> mDisplay;
    QSize mCoveredSize;
    QPoint mHiddenAt; ///< Where the pointer was when it was hidden; global.
    bool mIsMouseHidden = false;
};

} // namespace quorvane
