// SPDX-License-Identifier: GPL-3.0-or-later
// What the file system says about a path.
#pragma once

#include "platform/Clock.h"

#include <QByteArray>

#include <optional>

namespace quorvane {

enum class FileKind : unsigned char {
    Regular,
    Folder,
    Link,
    Special, ///< A pipe, a socket, a device: never opened.
};

/// A snapshot of a file's attributes.
struct FileStatus {
    FileKind kind = FileKind::Regular;
    FileTime modified; ///< Last change of the contents.
    qint64 size = 0; ///< Bytes.
};

/// Of what `path` leads to: links are followed. \return nothing when it leads nowhere. Thread: any.
std::optional<FileStatus> fileStatus(const QByteArray& path);

/// Of `path` itself: a link is a link. \return nothing when there is none. Thread: any.
std::optional<FileStatus> linkStatus(const QByteArray& path);

/// `path` with every link in it resolved, or `path` as it is when that leads nowhere. Thread: any.
QByteArray resolvingLinks(const QByteArray& path);

} // namespace quorvane
