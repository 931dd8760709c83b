// SPDX-License-Identifier: GPL-3.0-or-later
// What lies in the file that is being decoded.
#pragma once

#include "platform/FileDescriptor.h"
#include "platform/Result.h"

#include <QByteArray>

#include <optional>

namespace quorvane {

/// The bytes of one file, read when they are asked for: never mapped, since a mapped file that is
/// cut short meanwhile ends the program. Thread: any, one at a time.
class FileBytes {
public:
    /// \param file  stays open, and its own, while this object lives.
    explicit FileBytes(const FileDescriptor& file);

    /// A file that is in memory already.
    explicit FileBytes(QByteArray bytes);

    /// The beginning: 256 KiB, where every format says what it is and cameras put their small
    /// picture; less if the file is shorter. Empty when it cannot be read.
    const QByteArray& head();

    /// All of it. \return TooLarge beyond 1 GiB: no picture that could be shown in time; or
    /// NotReadable. The bytes are shared, not copied.
    Result<QByteArray> all();

    /// The descriptor, for those who read by themselves (movies are not read whole); -1 for bytes
    /// in memory.
    int descriptor() const;

private:
    const FileDescriptor* mFile = nullptr;
    std::optional<QByteArray> mHead;
    std::optional<QByteArray> mAll;
};

} // namespace quorvane
