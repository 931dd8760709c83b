// SPDX-License-Identifier: GPL-3.0-or-later
// A lock that processes of one user take in turn.
#pragma once

#include "platform/FileDescriptor.h"
#include "platform/Result.h"

#include <QByteArray>

namespace quorvane {

/// Holds a lock file for itself while it lives. The file is made when missing and never removed:
/// whoever removes it splits those who wait into two that believe they are alone.
///
/// The lock belongs to the object, not to the process: two objects in one process exclude each
/// other as well. Died processes hold none. Thread: any, one at a time.
class FileLock {
public:
    enum class Patience {
        Wait, ///< As long as it takes, for ever if its holder stands still.
        Try, ///< Fail if somebody holds it.
    };

    /// On a file system without locks it is taken by everybody.
    /// \return NotWritable if the file cannot be made, or if somebody holds it and `patience` is
    /// Try.
    static Result<FileLock> take(const QByteArray& path, Patience patience);

private:
    explicit FileLock(FileDescriptor file);

    FileDescriptor mFile; ///< Closing it gives the lock back.
};

} // namespace quorvane
