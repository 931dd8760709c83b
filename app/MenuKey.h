// SPDX-License-Identifier: GPL-3.0-or-later
// The key for the menus.
#pragma once

class QMenuBar;
class QWidget;

namespace quorvane {

/// F10 opens the first menu of the bar, as everywhere on the desktop. \param window  has the bar.
void openMenusByKey(QWidget& window, QMenuBar& bar);

} // namespace quorvane
