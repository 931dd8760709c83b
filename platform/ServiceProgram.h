// SPDX-License-Identifier: GPL-3.0-or-later
// What a program that the viewer has started does first.
#pragma once

#include <QtGlobal>

namespace quorvane {

/// Whether the viewer has started it: its socket is there.
bool isService();

/// When memory is short, the kernel is to end this program rather than the viewer.
void volunteerToBeEnded();

/// Memory that opening one file may take, in bytes: half of the machine's, from two to eight
/// gigabytes.
qint64 serviceMemoryLimit();

} // namespace quorvane
