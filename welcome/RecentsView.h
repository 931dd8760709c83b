// SPDX-License-Identifier: GPL-3.0-or-later
// A list whose rows act on one click.
#pragma once

#include <QListWidget>

namespace quorvane {

/// A list in which one click, Return or Space chooses a row. A click chooses where the button was
/// pressed and let go over the same row; the second half of a double click does nothing. The keys
/// that move and choose are the list's before they are anybody's shortcuts. As tall as its rows, up
/// to five, where there is room. Thread: main.
class RecentsView : public QListWidget {
    Q_OBJECT

public:
    explicit RecentsView(QWidget* parent = nullptr);

    /// The row of the last choice; -1 when the click fell below the last row.
    int clickedRow() const { return mClickedRow; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    void reset() override;

Q_SIGNALS:
    /// clickedRow() says which.
    void chosen();

protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;

private:
    QSize sizeOfRows(int rows) const;
    void choose(int row);

    int mClickedRow = -1;
    bool mIsPressed = false;
    int mPressedRow = -1; ///< Where mIsPressed.
};

} // namespace quorvane
