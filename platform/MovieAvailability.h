// SPDX-License-Identifier: GPL-3.0-or-later
// Whether this machine can play movies.
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace quorvane {

/// Why movies cannot be played, in English for the log; nothing when they can. Two looks at the
/// disk, unless the library is elsewhere: then the player is started to find out. Thread: any.
/// \param program  the player's path.
/// \param library  where its library was when it was built.
std::optional<QString> reasonAgainstMovies(const QByteArray& program, const QByteArray& library);

} // namespace quorvane
