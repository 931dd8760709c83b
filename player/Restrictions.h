// SPDX-License-Identifier: GPL-3.0-or-later
// What the player may not do.
#pragma once

namespace quorvane {

/// No new rights, no memory without end, no core files; where the kernel has Landlock, nothing is
/// written but to devices, and nothing read but what libraries, sound and drivers need: none of the
/// person's files but the movie, which comes open. The process ends with the thread that started
/// it. Called once, before there are other threads.
void restrictPlayer();

} // namespace quorvane
