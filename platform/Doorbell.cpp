// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/Doorbell.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cstdint>

namespace quorvane {

Doorbell::Doorbell()
    : mCounter(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
}

void Doorbell::ring() const
{
    const std::uint64_t one = 1;
    // A full counter wakes just as well.
    [[maybe_unused]] const ssize_t written = write(mCounter.get(), &one, sizeof one);
}

void Doorbell::silence() const
{
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t got = read(mCounter.get(), &count, sizeof count);
}

} // namespace quorvane
