// SPDX-License-Identifier: GPL-3.0-or-later
// The clock of the running program.
#pragma once

#include "platform/Clock.h"

namespace quorvane {

/// Time from the kernel, timers on Qt's event loop. Thread: timers on the main one, now() any.
class SystemClock : public Clock {
public:
    TimePoint now() const override;
    FileTime fileTime() const override;
    [[nodiscard]] std::unique_ptr<Timer> scheduleTimer(
        Duration interval, Repetition repetition, std::function<void()> block) override;
};

} // namespace quorvane
