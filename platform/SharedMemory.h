// SPDX-License-Identifier: GPL-3.0-or-later
// Memory that two programs see.
#pragma once

#include "platform/FileDescriptor.h"

#include <cstddef>
#include <memory>

namespace quorvane {

/// A piece of memory with a descriptor. Its size is sealed: nobody who is handed the descriptor can
/// cut it short under this program, which would end it. This program sees it read-only. Thread:
/// any.
class SharedMemory {
public:
    /// \return nullptr when there is no memory or no descriptor left.
    static std::unique_ptr<SharedMemory> create(size_t size);

    ~SharedMemory();
    SharedMemory(const SharedMemory&) = delete;
    SharedMemory& operator=(const SharedMemory&) = delete;

    const std::byte* data() const { return mData; }
    size_t size() const { return mSize; }

    /// To hand over. Lives as long as this object.
    int descriptor() const { return mFile.get(); }

private:
    SharedMemory(FileDescriptor file, const std::byte* data, size_t size);

    FileDescriptor mFile;
    const std::byte* mData;
    size_t mSize;
};

} // namespace quorvane
