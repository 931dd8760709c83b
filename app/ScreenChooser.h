// SPDX-License-Identifier: GPL-3.0-or-later
// The window that asks on which screen the show is to stand.
#pragma once

#include <QPointer>
#include <QScreen>
#include <QWidget>

namespace quorvane {

class ScreenMap;

/// Small, to be dragged to a screen; or a click on that screen in its picture of them all. Thread:
/// main.
class ScreenChooser : public QWidget {
    Q_OBJECT

public:
    ScreenChooser();

    /// Shows the window in front of all others. \param current  the screen of the show.
    void begin(QScreen* current);

    /// The screen that was clicked, else the one on which the window stands.
    QScreen* chosenScreen() const;

Q_SIGNALS:
    /// The person has decided.
    void chosen();

protected:
    void moveEvent(QMoveEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    ScreenMap* mMap; ///< A child.
    QPointer<QScreen> mStandsOn; ///< After the last move.
};

/// A picture of all screens as they lie beside each other. Arrow keys go from one to the next.
class ScreenMap : public QWidget {
    Q_OBJECT

public:
    explicit ScreenMap(QWidget* parent);

    /// The marked one; null when it is gone.
    QScreen* marked() const { return mMarked; }
    void mark(QScreen* screen);

    /// Where the picture shows that screen; points of this widget.
    QRectF placeOf(const QScreen& screen) const;

    QSize sizeHint() const override { return { 380, 180 }; }

Q_SIGNALS:
    /// A double click, or the Return key.
    void decided();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void step(int by);

    QPointer<QScreen> mMarked;
};

} // namespace quorvane
