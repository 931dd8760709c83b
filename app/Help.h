// SPDX-License-Identifier: GPL-3.0-or-later
// The user guide.
#pragma once

namespace quorvane {

/// Opens the user guide, a page that comes with the program, in the person's browser. Thread: main.
void openUserGuide();

} // namespace quorvane
