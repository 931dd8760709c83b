// SPDX-License-Identifier: GPL-3.0-or-later
// Keeps clear of a session bus that stands still.
#pragma once

#include <chrono>

namespace quorvane {

/// Says hello to the session bus as every program does, and waits for any answer. The windows'
/// library connects to the bus in the main thread as soon as it starts, for accessibility, and
/// waits for minutes; so this is asked before.
/// \param limit  for each of two steps, the connection and the answer.
/// \return false also where there is no bus or it is no local socket: that is found out soon
/// enough.
bool isSessionBusSilent(std::chrono::milliseconds limit);

/// For this process and those that it starts there is no session bus. Before anything has asked
/// for it, since its library remembers the address; while no other thread reads the environment.
void doWithoutSessionBus();

} // namespace quorvane
