// SPDX-License-Identifier: GPL-3.0-or-later
// The way back to the main thread.
#pragma once

#include <functional>

namespace quorvane {

/// Blocks for the main thread's event loop, run one after the other in the order handed in.
class MainQueue {
public:
    /// Hands in a block and returns at once. Wrap it with a LifeGuard when it belongs to an object.
    /// Without an application the block waits until drain(), or until another follows when there is
    /// one. Thread: any.
    static void async(std::function<void()> block);

    /// Runs what is waiting, and what that hands in, until nothing is left. Thread: main.
    static void drain();
};

} // namespace quorvane
