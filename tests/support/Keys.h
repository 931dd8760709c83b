// SPDX-License-Identifier: GPL-3.0-or-later
// Keys as a person presses them: the commands' keys act first, what is left goes to the widget.
#pragma once

#include <QApplication>
#include <QKeyEvent>
#include <QWidget>

#include <functional>

// What Qt's own test library asks; no header of the widgets' library declares it.
Q_GUI_EXPORT bool qt_sendShortcutOverrideEvent(QObject* receiver, ulong timestamp, int key,
    Qt::KeyboardModifiers modifiers, const QString& text, bool isRepeated, ushort count);

namespace quorvane::tests {

/// Shows a window and makes it the active one, as the person's click would.
inline void activate(QWidget& window, const std::function<void()>& show)
{
    show();
    QApplication::setActiveWindow(&window);
    QCoreApplication::processEvents();
}

/// Presses and releases a key in the active `window`. \param text  what the key types.
inline void pressKey(QWidget& window, int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier,
    const QString& text = {})
{
    QWidget* const target = window.focusWidget() ? window.focusWidget() : &window;
    if (qt_sendShortcutOverrideEvent(target, 0, key, modifiers, text, false, 1))
        return;
    QKeyEvent press(QEvent::KeyPress, key, modifiers, text);
    QCoreApplication::sendEvent(target, &press);
    QKeyEvent release(QEvent::KeyRelease, key, modifiers, text);
    QCoreApplication::sendEvent(target, &release);
}

} // namespace quorvane::tests
