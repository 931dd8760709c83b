// SPDX-License-Identifier: GPL-3.0-or-later
// Memory that the viewer lends for frames.
#pragma once

#include "platform/FileDescriptor.h"
#include "platform/PlayerProtocol.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>

namespace quorvane {

/// Maps the viewer's memory, and knows which of it may be drawn into. Thread: one.
class FrameMemory {
public:
    FrameMemory() = default;
    ~FrameMemory();

    FrameMemory(const FrameMemory&) = delete;
    FrameMemory& operator=(const FrameMemory&) = delete;

    /// \param file  the memory's, the first time that it is named. \return false when it cannot be
    ///              mapped.
    bool lend(const ToPlayer& message, const FileDescriptor& file);

    void forget(std::uint64_t buffer);

    /// Where a frame of so many bytes may be drawn; nullptr when nothing so large is lent.
    std::byte* place(std::size_t bytes) const;

    /// The loan with that place, which goes back to the viewer.
    std::uint64_t giveBack();

private:
    struct Mapping {
        void* data;
        std::size_t size;
    };

    std::map<std::uint64_t, Mapping> mMappings;
    Mapping mLent { nullptr, 0 };
    std::uint64_t mLoan = 0; ///< 0 if there is none.
};

} // namespace quorvane
