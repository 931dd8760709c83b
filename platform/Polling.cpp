// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/Polling.h"

#include <algorithm>
#include <cstdint>

namespace quorvane {

using std::chrono::steady_clock;

pollfd pollFor(int descriptor, bool isForRoom)
{
    return { descriptor, static_cast<short>(isForRoom ? POLLIN | POLLOUT : POLLIN), 0 };
}

void pollUntil(std::vector<pollfd>& watched, steady_clock::time_point deadline)
{
    int milliseconds = -1;
    if (deadline != steady_clock::time_point::max()) {
        const auto left
            = std::chrono::ceil<std::chrono::milliseconds>(deadline - steady_clock::now());
        milliseconds = static_cast<int>(std::max<std::int64_t>(left.count(), 0));
    }
    poll(watched.data(), watched.size(), milliseconds);
}

} // namespace quorvane
