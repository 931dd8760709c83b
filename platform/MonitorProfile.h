// SPDX-License-Identifier: GPL-3.0-or-later
// What the desktop says about a monitor's colours.
#pragma once

#include <QByteArray>

class QScreen;

namespace quorvane {

/// The ICC profile that the desktop publishes for the monitor, as X servers have it for every
/// program to read. Thread: main. \return empty when it publishes none, or none that is whole.
QByteArray monitorProfile(const QScreen& screen);

/// Whether `bytes` begin as a profile of their size does; the contents are the decoder's business.
bool isWholeProfile(const QByteArray& bytes);

} // namespace quorvane
