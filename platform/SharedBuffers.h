// SPDX-License-Identifier: GPL-3.0-or-later
// The memory into which one other program puts its pixels.
#pragma once

#include "platform/SharedMemory.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

namespace quorvane {

/// Keeps a few pieces of shared memory for one program, a decoder or a player of movies, and gives
/// them out again: memory that both programs have touched before is much faster to fill than fresh
/// one. What one program can write to is never another one's, so one that a file has taken over can
/// spoil no picture but its own. Owned by shared_ptr; the pictures that use its memory keep it
/// alive. Thread: any.
class SharedBuffers : public std::enable_shared_from_this<SharedBuffers> {
public:
    struct Buffer {
        std::uint64_t number = 0; ///< What the other program calls it by.
        std::unique_ptr<SharedMemory> memory;
    };

    /// Memory given out. Whoever lets go of the last reference gives it back.
    using Lease = std::shared_ptr<const Buffer>;

    /// \param isNew  set when the other program has not seen the buffer yet.
    /// \return nullptr when there is no memory.
    Lease take(size_t size, bool& isNew);

    /// The numbers of those let go of for good since the last call: the other program need not keep
    /// them.
    std::vector<std::uint64_t> takeForgotten();

    /// The other program is gone: nothing is given out again.
    void close();

private:
    void giveBack(Buffer buffer);

    std::mutex mMutex; // Guards all below.
    std::vector<Buffer> mFree; ///< Least recently used first.
    std::vector<std::uint64_t> mForgotten;
    std::uint64_t mLastNumber = 0;
    bool mIsClosed = false;
};

} // namespace quorvane
