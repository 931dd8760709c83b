// SPDX-License-Identifier: GPL-3.0-or-later
// Changing small files so that nobody, not even after a crash, finds half of one.
#pragma once

#include "platform/Result.h"

#include <QByteArray>

namespace quorvane {

/// The folder part of `path`: "." for a bare name, "/" for what lies in the root. No file is asked.
QByteArray folderOf(const QByteArray& path);

/// Where a chain of symbolic links that begins at `path` ends: `path` itself if it is no link. The
/// end need not exist.
/// \return Other if the links go round in a circle. Thread: any.
Result<QByteArray> endOfLinks(const QByteArray& path);

/// Makes `folder` and what is missing above it, for the user alone (mode 0700).
/// \return NotWritable with the reason. Thread: any.
Result<void> makeFolder(const QByteArray& folder);

/// Gives `path` new contents: written beside it, brought to the disk, moved over it. A file that is
/// there lends its permissions; a new one is for the user alone (mode 0600). A link would be
/// replaced, not followed: hand in endOfLinks().
///
/// One caller at a time for a path, in all processes: the file beside it has one name, so that a
/// process that dies here leaves one at the most, which the next call takes away.
/// \return NotWritable with the reason: the old contents are untouched and nothing lies beside
/// them. Thread: any.
Result<void> replaceFile(const QByteArray& path, const QByteArray& contents);

/// Renames the file `from` in its folder; never over a file that is there.
/// \return InvalidArgument if `to` is taken, NotWritable for any other reason. Thread: any.
Result<void> renameToFreeName(const QByteArray& from, const QByteArray& to);

} // namespace quorvane
