// SPDX-License-Identifier: GPL-3.0-or-later
// Keeps a block that comes back to the main thread from reaching an object that is gone.
#pragma once

#include <memory>
#include <utility>

namespace quorvane {

/// A field of the object that posts blocks to itself. Declare it last, so that it goes first.
/// Thread: wrap() any; the object and the wrapped blocks' calls on one thread, normally the main
/// one.
class LifeGuard {
public:
    /// `block`, which does nothing once this guard is destroyed.
    template <typename Block> auto wrap(Block block) const
    {
        return [alive = std::weak_ptr<const char>(mAlive), block = std::move(block)](
                   auto&&... arguments) mutable {
            if (alive.lock())
                block(std::forward<decltype(arguments)>(arguments)...);
        };
    }

private:
    std::shared_ptr<const char> mAlive = std::make_shared<const char>('\0');
};

} // namespace quorvane
