// SPDX-License-Identifier: GPL-3.0-or-later
// What a hand does with a mouse over a list.
#pragma once

#include <QApplication>
#include <QListWidget>
#include <QMouseEvent>

namespace quorvane::tests {

inline void sendMouse(QListWidget& list, QEvent::Type type, const QPoint& place,
    Qt::MouseButton button = Qt::LeftButton)
{
    QWidget* const viewport = list.viewport();
    const Qt::MouseButtons held
        = type == QEvent::MouseButtonRelease ? Qt::MouseButtons() : Qt::MouseButtons(button);
    QMouseEvent event(
        type, place, viewport->mapToGlobal(QPointF(place)), button, held, Qt::NoModifier);
    QCoreApplication::sendEvent(viewport, &event);
}

inline void press(QListWidget& list, const QPoint& place, Qt::MouseButton button = Qt::LeftButton)
{
    sendMouse(list, QEvent::MouseButtonPress, place, button);
}

inline void release(QListWidget& list, const QPoint& place, Qt::MouseButton button = Qt::LeftButton)
{
    sendMouse(list, QEvent::MouseButtonRelease, place, button);
}

inline void click(QListWidget& list, const QPoint& place, Qt::MouseButton button = Qt::LeftButton)
{
    press(list, place, button);
    release(list, place, button);
}

inline QPoint middleOf(const QListWidget& list, int row)
{
    return list.visualItemRect(list.item(row)).center();
}

inline QPoint belowLastRow(const QListWidget& list)
{
    return { 20, list.visualItemRect(list.item(list.count() - 1)).bottom() + 5 };
}

} // namespace quorvane::tests
