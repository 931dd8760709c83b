// SPDX-License-Identifier: GPL-3.0-or-later
// What all views together know of the mouse.
#pragma once

#include "platform/Clock.h"

#include <optional>

namespace quorvane {

/// There is one mouse, whatever number of views. Thread: main.
struct PointerState {
    static PointerState& instance();

    /// The system pointer is hidden by us, which must be undone exactly once.
    bool isHidden = false;

    /// When the first slide was held back for the mouse.
    std::optional<TimePoint> firstDelay;
};

} // namespace quorvane
