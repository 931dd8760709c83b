// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/MenuKey.h"

#include <QMenuBar>
#include <QShortcut>

namespace quorvane {

void openMenusByKey(QWidget& window, QMenuBar& bar)
{
    auto* const key = new QShortcut(QKeySequence(Qt::Key_F10), &window);
    QObject::connect(key, &QShortcut::activated, &bar,
        [&bar] { bar.setActiveAction(bar.actions().constFirst()); });
}

} // namespace quorvane
