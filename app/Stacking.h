// SPDX-License-Identifier: GPL-3.0-or-later
// Which window stands in front of which.
#pragma once

class QWidget;

namespace quorvane {

/// Keeps a window in front of the show, which covers all windows but those that belong to it.
/// Before the window is shown. \param show  null for none.
void standBefore(QWidget& window, const QWidget* show);

} // namespace quorvane
