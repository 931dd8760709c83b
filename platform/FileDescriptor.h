// SPDX-License-Identifier: GPL-3.0-or-later
// An open file, and the one way to open a file that anybody may have made.
#pragma once

#include "platform/FileURL.h"
#include "platform/Result.h"

#include <QByteArray>

namespace quorvane {

/// Owns a descriptor of the kernel. Thread: any, one at a time.
class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor)
        : mDescriptor(descriptor)
    {
    }
    FileDescriptor(FileDescriptor&& other) noexcept;
    FileDescriptor& operator=(FileDescriptor&& other) noexcept;
    ~FileDescriptor();

    /// -1 when empty.
    int get() const { return mDescriptor; }

private:
    int mDescriptor = -1;
};

/// Opens a regular file for reading. What is no regular file (a pipe, a device, a folder) is not
/// even opened, so nothing blocks and no device notices.
///
/// A path that begins with ":/" names a resource compiled into the program; its bytes come in a
/// file of memory, so that whoever reads the descriptor need not know. \return NotFound,
/// NotReadable, or Unsupported if it is no regular file.
Result<FileDescriptor> openForReading(const FileURL& url);

/// All bytes of an open file from its beginning, read rather than mapped: a mapped file that
/// another program cuts short ends the program that looks at it. \param limit  in bytes. \return
/// TooLarge, without reading, when the file holds more than `limit`; NotReadable.
Result<QByteArray> readAll(const FileDescriptor& file, qint64 limit);

} // namespace quorvane
