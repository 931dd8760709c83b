// SPDX-License-Identifier: GPL-3.0-or-later
// Who else of this program is at the same session bus.
#pragma once

#include "platform/FileDescriptor.h"

namespace quorvane {

/// Knows whether others of this program run, or are starting, without asking the bus: each of them
/// holds a share in a lock on one file in the session's folder. Whoever stands alone need not wait
/// long for a bus that says nothing; whoever does not can trust that the bus is merely slow.
/// Ended programs hold no share. Thread: any, one at a time.
class Neighbours {
public:
    /// Takes a share.
    Neighbours();

    /// Others than this object; also those in the same process. False where a session has no
    /// folder, and on a file system without locks.
    bool areThere() const;

    /// Gives the share back: the others no longer see this one, and areThere() is false.
    void leave();

private:
    FileDescriptor mFile; ///< Empty without a share. Closing it gives it back.
};

} // namespace quorvane
