// SPDX-License-Identifier: GPL-3.0-or-later
// What the program was called with.
#pragma once

#include <QByteArray>

#include <optional>
#include <vector>

namespace quorvane {

/// A command line, understood.
struct CommandLine {
    std::vector<QByteArray> paths; ///< Absolute; each of them exists.
    bool isOnItsOwn = false; ///< A program of its own beside one that runs.
    bool isService = false; ///< Started by the bus: alone with this option.
    QByteArray output; ///< For standard output; lines.
    QByteArray errors; ///< For standard error; lines.
    std::optional<int> exitStatus; ///< Set when the program is to end at once.
};

/// \param arguments      without the program's name; bytes, since names of files are.
/// \param currentFolder  absolute.
CommandLine parseCommandLine(
    const std::vector<QByteArray>& arguments, const QByteArray& currentFolder);

} // namespace quorvane
