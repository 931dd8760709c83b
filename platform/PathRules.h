// SPDX-License-Identifier: GPL-3.0-or-later
// What a path says: its last component, its extension, and how paths are joined.
//
// Paths are bytes. Nothing is looked up on disk, and nothing is tidied: "." and ".." and double
// slashes stay as they are, because a path is also the identity of a file.
//
// Thread: any.
#pragma once

#include <QByteArray>
#include <QByteArrayView>

namespace quorvane {

/// What stands behind the last slash, trailing slashes aside: "b" of "/a/b/". "/" of "/", "" of "".
/// \return a view into `path`.
QByteArrayView lastPathComponent(QByteArrayView path);

/// What stands behind the last dot of the last component, with its case: "gz" of "a.tar.gz". Empty
/// where a name has no extension: without a dot; where the dot comes first or last; where what
/// stands before it would be "." or ".."; and where the candidate holds a space or an invisible
/// character that changes the writing direction ("Mr. Smith" has none).
/// \return a view into `path`.
QByteArrayView pathExtension(QByteArrayView path);

/// The path without its pathExtension() and the dot before it. Trailing slashes go in any case.
QByteArray deletingPathExtension(const QByteArray& path);

/// `folder` as it is, a slash unless it ends in one, and `relative` without leading slashes. If one
/// of them is empty, the other as it is.
QByteArray joinPath(const QByteArray& folder, const QByteArray& relative);

} // namespace quorvane
