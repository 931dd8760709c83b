// SPDX-License-Identifier: GPL-3.0-or-later
// What the launcher of a Wayland desktop gives a program that it starts.
#pragma once

#include <QByteArray>

namespace quorvane::show {

/// Asks a compositor, as a launcher does, for the right to bring a window to the front.
/// \param socket  the path of the compositor's. \return empty when it gives none.
QByteArray activationToken(const QByteArray& socket);

} // namespace quorvane::show
