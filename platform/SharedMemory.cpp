// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/SharedMemory.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace quorvane {

std::unique_ptr<SharedMemory> SharedMemory::create(size_t size)
{
    FileDescriptor file(memfd_create("quorvane-pixels", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (file.get() < 0 || ftruncate(file.get(), static_cast<off_t>(size)) != 0
        || fcntl(file.get(), F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL) != 0)
        return nullptr;
    void* const data = mmap(nullptr, size, PROT_READ, MAP_SHARED, file.get(), 0);
    if (data == MAP_FAILED)
        return nullptr;
    return std::unique_ptr<SharedMemory>(
        new SharedMemory(std::move(file), static_cast<const std::byte*>(data), size));
}

SharedMemory::SharedMemory(FileDescriptor file, const std::byte* data, size_t size)
    : mFile(std::move(file))
    , mData(data)
    , mSize(size)
{
}

SharedMemory::~SharedMemory() { munmap(const_cast<std::byte*>(mData), mSize); }

} // namespace quorvane
