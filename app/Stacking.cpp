// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/Stacking.h"

#include <QWidget>
#include <QWindow>

namespace quorvane {

void standBefore(QWidget& window, const QWidget* show)
{
    window.winId(); // From now on there is a window to speak of.
    window.windowHandle()->setTransientParent(show ? show->windowHandle() : nullptr);
}

} // namespace quorvane
