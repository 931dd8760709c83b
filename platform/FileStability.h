// SPDX-License-Identifier: GPL-3.0-or-later
// Whether a file is still being written.
#pragma once

#include "platform/Clock.h"

#include <QByteArray>

#include <optional>

namespace quorvane {

class FileDescriptor;

/// Who has a file open for writing.
enum class Writers {
    None,
    Some,
    Unknown, ///< The kernel tells only a file's owner, and not on every file system.
};

/// Thread: any; does not wait. \param file  open for reading only.
Writers writersOf(const FileDescriptor& file);

/// What changes when somebody writes a file or puts another in its place. A value.
struct FileVersion {
    quint64 device = 0;
    quint64 inode = 0;
    qint64 size = 0; ///< Bytes.
    FileTime modified;

    friend bool operator==(const FileVersion& a, const FileVersion& b) = default;
};

/// Nothing when there is no such file. Thread: any; may wait for the file system.
std::optional<FileVersion> versionOf(const FileDescriptor& file);
std::optional<FileVersion> versionOf(const QByteArray& path);

/// Whether the file was left alone for a second, the time after which a program that writes bit by
/// bit counts as done. A file dated in the future, by a camera or a server with a wrong clock, was.
bool isQuiet(const FileVersion& version, FileTime now);

/// Whether nobody has touched the file for a while or is about to.
bool isAtRest(const FileDescriptor& file, const FileVersion& version, FileTime now);

/// Whether what was read from a file may be a piece of it only. Asked after reading.
/// \param before  when it was opened.
/// \param path    where it was found.
/// \param wasRead whether what was read made sense.
bool mayBeIncomplete(const FileDescriptor& file, const FileVersion& before, const QByteArray& path,
    bool wasRead, FileTime now);

} // namespace quorvane
