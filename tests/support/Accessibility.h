// SPDX-License-Identifier: GPL-3.0-or-later
// Whether a person who cannot see a window, or has no mouse, can use all of it.
#pragma once

#include "Keys.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAbstractSlider>
#include <QAbstractSpinBox>
#include <QAccessible>
#include <QAction>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QShortcut>

#include <gtest/gtest.h>

#include <set>

namespace quorvane::tests {

/// The program's own parts of a window: not what the library puts into them.
inline bool isPartOfLibrary(const QWidget& widget)
{
    for (const QWidget* each = &widget; each; each = each->parentWidget()) {
        if (each->objectName().startsWith(QLatin1String("qt_")) || qobject_cast<const QMenu*>(each))
            return true;
    }
    return false;
}

/// What the hand uses: the known kinds, and everything that takes the keyboard.
inline bool isControl(const QWidget& widget)
{
    return qobject_cast<const QAbstractButton*>(&widget) || qobject_cast<const QComboBox*>(&widget)
        || qobject_cast<const QAbstractSpinBox*>(&widget)
        || qobject_cast<const QAbstractSlider*>(&widget) || qobject_cast<const QLineEdit*>(&widget)
        || qobject_cast<const QAbstractItemView*>(&widget)
        || (widget.focusPolicy() != Qt::NoFocus && !widget.isWindow());
}

inline std::vector<QWidget*> controlsOf(const QWidget& window)
{
    std::vector<QWidget*> controls;
    for (QWidget* const widget : window.findChildren<QWidget*>()) {
        if (widget->window() == &window && widget->isVisibleTo(&window) && isControl(*widget)
            && !isPartOfLibrary(*widget))
            controls.push_back(widget);
    }
    return controls;
}

/// Where Tab leads from where the keyboard is, until it comes back.
inline std::set<const QWidget*> reachedByTab(QWidget& window)
{
    constexpr int kMost = 100;
    std::set<const QWidget*> reached;
    for (int i = 0; i < kMost; ++i) {
        pressKey(window, Qt::Key_Tab);
        if (window.focusWidget() && !reached.insert(window.focusWidget()).second)
            break;
    }
    return reached;
}

inline bool hasMnemonic(const QString& text) { return !QKeySequence::mnemonic(text).isEmpty(); }

/// A key of its own, or that of a label that stands for it.
inline bool isReachedByKey(const QWidget& control)
{
    const auto* const button = qobject_cast<const QAbstractButton*>(&control);
    if (button && !button->shortcut().isEmpty())
        return true;
    for (const QLabel* const label : control.window()->findChildren<QLabel*>()) {
        if (label->buddy() == &control && hasMnemonic(label->text()))
            return true;
    }
    return false;
}

/// All that can be seen and used in the shown, active `window` has a name that is read out, and can
/// be reached without the mouse. What is disabled cannot be reached by anybody.
inline testing::AssertionResult isForEverybody(QWidget& window)
{
    const auto controls = controlsOf(window);
    const auto reached = reachedByTab(window);
    testing::AssertionResult result = testing::AssertionSuccess();
    const auto complain = [&](const QWidget& control, const char* what) {
        if (result)
            result = testing::AssertionFailure();
        result << control.metaObject()->className() << ' ' << control.objectName().toStdString()
               << ' ' << what << '\n';
    };
    for (QWidget* const control : controls) {
        const QAccessibleInterface* const read = QAccessible::queryAccessibleInterface(control);
        if (!read || read->text(QAccessible::Name).trimmed().isEmpty())
            complain(*control, "has no name");
        if (control->isEnabled() && !reached.contains(control) && !isReachedByKey(*control))
            complain(*control, "cannot be reached");
    }
    return result;
}

/// How many of them isForEverybody() judges.
inline size_t controlCount(const QWidget& window) { return controlsOf(window).size(); }

/// Every item of the menu and its menus has a text, and a letter or a key that no other of the same
/// menu has.
inline testing::AssertionResult isForEverybody(const QList<QAction*>& items)
{
    std::set<QKeySequence> letters;
    for (const QAction* const item : items) {
        if (item->isSeparator())
            continue;
        const QString text = item->text();
        if (text.trimmed().isEmpty())
            return testing::AssertionFailure() << "an item without a text";
        const QKeySequence letter = QKeySequence::mnemonic(text);
        if (letter.isEmpty() && item->shortcut().isEmpty())
            return testing::AssertionFailure() << text.toStdString() << " has no key";
        if (!letter.isEmpty() && !letters.insert(letter).second)
            return testing::AssertionFailure() << text.toStdString() << ": its letter is taken";
        if (item->menu()) {
            const auto inside = isForEverybody(item->menu()->actions());
            if (!inside)
                return inside;
        }
    }
    return letters.empty() ? testing::AssertionFailure() << "no items"
                           : testing::AssertionSuccess();
}

} // namespace quorvane::tests
