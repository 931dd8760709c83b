// SPDX-License-Identifier: GPL-3.0-or-later
// Which application of the desktop opens a file, and opening it there.
//
// All of this looks into files and may start services, so it belongs on a queue. Thread: any, one
// call at a time.
#pragma once

#include "platform/Result.h"

#include <QByteArray>
#include <QString>

#include <optional>

namespace quorvane {

class FileURL;

/// An application, by value.
struct DesktopApplication {
    QByteArray path; ///< Absolute, of its .desktop file or of a plain program; bytes.
    QString name; ///< For people, in their language where the application knows it.
};

/// The first application that the desktop recommends for files of this type and that does not call
/// itself a viewer. Never this program, one that does not want to be shown or one whose program is
/// missing. \return nothing when there is none, as for a file of unknown type.
std::optional<DesktopApplication> editorOf(const FileURL& url);

/// The person's default application for files of this type; where that is this program, is not to
/// be shown or is missing, the first recommended one that is none of that. \return nothing when
/// there is none.
std::optional<DesktopApplication> viewerOf(const FileURL& url);

/// \param path  absolute, of a .desktop file or of a plain program.
/// \return NotFound, or Unsupported if it cannot be started: no program, a .desktop file that is
///         damaged, deleted by its Hidden key, or whose program is missing.
Result<DesktopApplication> applicationAt(const QByteArray& path);

/// Starts the application, or tells one that runs already. It outlives this program, and writes
/// nothing to its terminal. A plain program gets the file's path as its only argument.
/// \return as applicationAt(), or Other when it could not be started.
Result<void> openWith(const DesktopApplication& application, const FileURL& url);

} // namespace quorvane
