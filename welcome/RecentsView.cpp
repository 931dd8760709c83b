// SPDX-License-Identifier: GPL-3.0-or-later
#include "welcome/RecentsView.h"

#include <QKeyEvent>

#include <algorithm>

namespace quorvane {

namespace {

constexpr int kMostRowsAtFirst = 5;
constexpr int kLeastRows = 2;

/// Room for a name beside a strip of pictures, in points.
constexpr int kUsualWidth = 680;
constexpr int kLeastWidth = 300;

bool isChoosingKey(const QKeyEvent& event)
{
    return (event.modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier
        && (event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter
            || event.key() == Qt::Key_Space);
}

bool isMovingKey(const QKeyEvent& event)
{
    constexpr Qt::Key kKeys[]
        = { Qt::Key_Up, Qt::Key_Down, Qt::Key_PageUp, Qt::Key_PageDown, Qt::Key_Home, Qt::Key_End };
    return (event.modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier
        && std::find(std::begin(kKeys), std::end(kKeys), event.key()) != std::end(kKeys);
}

} // namespace

RecentsView::RecentsView(QWidget* parent)
    : QListWidget(parent)
{
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setUniformItemSizes(true);
    setMouseTracking(true);
    viewport()->setAutoFillBackground(false); // The window's colour shows through.
}

QSize RecentsView::sizeOfRows(int rows) const
{
    return { kUsualWidth, rows * sizeHintForRow(0) + 2 * frameWidth() };
}

QSize RecentsView::sizeHint() const { return sizeOfRows(std::min(count(), kMostRowsAtFirst)); }

QSize RecentsView::minimumSizeHint() const
{
    return { kLeastWidth, sizeOfRows(std::min(count(), kLeastRows)).height() };
}

void RecentsView::reset()
{
    mIsPressed = false; // The row under the pointer is another one now.
    QListWidget::reset();
    updateGeometry();
}

bool RecentsView::event(QEvent* event)
{
    if (event->type() == QEvent::ShortcutOverride && currentRow() >= 0) {
        const auto& key = static_cast<const QKeyEvent&>(*event);
        if (isChoosingKey(key) || isMovingKey(key)) {
            event->accept();
            return true;
        }
    }
    return QListWidget::event(event);
}

void RecentsView::keyPressEvent(QKeyEvent* event)
{
    if (!isChoosingKey(*event) || currentRow() < 0) {
        QListWidget::keyPressEvent(event);
        return;
    }
    event->accept();
    if (!event->isAutoRepeat())
        choose(currentRow());
}

void RecentsView::mousePressEvent(QMouseEvent* event)
{
    QListWidget::mousePressEvent(event);
    mIsPressed = event->button() == Qt::LeftButton;
    mPressedRow = indexAt(event->position().toPoint()).row();
}

void RecentsView::mouseReleaseEvent(QMouseEvent* event)
{
    QListWidget::mouseReleaseEvent(event);
    const QPoint place = event->position().toPoint();
    const bool isClick = mIsPressed && event->button() == Qt::LeftButton
        && viewport()->rect().contains(place) && indexAt(place).row() == mPressedRow;
    mIsPressed = false;
    if (isClick)
        choose(mPressedRow);
}

void RecentsView::mouseDoubleClickEvent(QMouseEvent* event)
{
    event->accept(); // Its first half has chosen.
}

void RecentsView::choose(int row)
{
    mClickedRow = row;
    Q_EMIT chosen();
}

} // namespace quorvane
