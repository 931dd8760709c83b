// SPDX-License-Identifier: GPL-3.0-or-later
// Keeps the screen awake.
#pragma once

#include <memory>

namespace quorvane {

class Clock;

/// Asks the desktop not to darken or lock the screen because nobody touches anything: its screen
/// saver service, or else its portal. Nobody waits for their answers. When both refuse, the log
/// gets the line "Failed to prevent sleep!", once until it succeeds again, and nothing else
/// happens. A service that starts anew, and has forgotten what was asked, is asked again.
/// Thread: main.
class PowerAssertion {
public:
    /// \param clock  says when a service has been silent for too long; must outlive this.
    explicit PowerAssertion(Clock& clock);

    /// As allowSleep().
    ~PowerAssertion();

    PowerAssertion(const PowerAssertion&) = delete;
    PowerAssertion& operator=(const PowerAssertion&) = delete;

    /// However often it is called, the desktop is asked once.
    void preventSleep();

    /// Takes the wish back, also one that is not answered yet.
    void allowSleep();

private:
    class Desktop;

    std::unique_ptr<Desktop> mDesktop;
};

} // namespace quorvane
