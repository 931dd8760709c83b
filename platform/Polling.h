// SPDX-License-Identifier: GPL-3.0-or-later
// Waiting for several descriptors and a moment at once.
#pragma once

#include <poll.h>

#include <chrono>
#include <vector>

namespace quorvane {

/// \param isForRoom  whether room for what is to be written counts, too.
pollfd pollFor(int descriptor, bool isForRoom = false);

/// Until something happens on one of them, or the moment has come. May return early.
/// \param deadline  its maximum for none. Thread: any.
void pollUntil(std::vector<pollfd>& watched, std::chrono::steady_clock::time_point deadline);

} // namespace quorvane
