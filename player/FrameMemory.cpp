// SPDX-License-Identifier: GPL-3.0-or-later
#include "player/FrameMemory.h"

#include <sys/mman.h>

#include <utility>

namespace quorvane {

FrameMemory::~FrameMemory()
{
    for (const auto& [buffer, mapping] : mMappings)
        munmap(mapping.data, mapping.size);
}

bool FrameMemory::lend(const ToPlayer& message, const FileDescriptor& file)
{
    if (file.get() >= 0) {
        forget(message.buffer);
        // Its pages are made now, while the first frame is being decoded, not when it is drawn.
        void* const data = mmap(nullptr, message.bufferSize, PROT_READ | PROT_WRITE,
            MAP_SHARED | MAP_POPULATE, file.get(), 0);
        if (data == MAP_FAILED)
            return false;
        mMappings[message.buffer] = { data, message.bufferSize };
    }
    const auto found = mMappings.find(message.buffer);
    if (found == mMappings.end())
        return false;
    mLent = found->second;
    mLoan = message.loan;
    return true;
}

void FrameMemory::forget(std::uint64_t buffer)
{
    const auto found = mMappings.find(buffer);
    if (found == mMappings.end())
        return;
    if (mLent.data == found->second.data)
        giveBack();
    munmap(found->second.data, found->second.size);
    mMappings.erase(found);
}

std::byte* FrameMemory::place(std::size_t bytes) const
{
    return mLoan != 0 && bytes <= mLent.size ? static_cast<std::byte*>(mLent.data) : nullptr;
}

std::uint64_t FrameMemory::giveBack()
{
    mLent = { nullptr, 0 };
    return std::exchange(mLoan, 0);
}

} // namespace quorvane
