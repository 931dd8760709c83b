// SPDX-License-Identifier: GPL-3.0-or-later
// Telling a camera's raw file that is built like a TIFF from a TIFF.
#pragma once

#include <QByteArray>

namespace quorvane {

/// Whether the directories of the TIFF that begins with `head` describe what a sensor saw: its
/// colour filters, the version of DNG, a compression that only cameras use. Directories beyond
/// `head` are not looked at: cameras write theirs to the beginning.
bool describesSensor(const QByteArray& head);

} // namespace quorvane
