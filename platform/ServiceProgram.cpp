// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/ServiceProgram.h"

#include "platform/FileDescriptor.h"
#include "platform/ServiceProcess.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace quorvane {

namespace {

constexpr qint64 kLeastMemory = qint64(2) << 30;
constexpr qint64 kMostMemory = qint64(8) << 30;

} // namespace

bool isService() { return lseek(kServiceSocket, 0, SEEK_CUR) < 0 && errno == ESPIPE; }

void volunteerToBeEnded()
{
    const FileDescriptor file(open("/proc/self/oom_score_adj", O_WRONLY | O_CLOEXEC));
    [[maybe_unused]] const ssize_t written = write(file.get(), "800", 3);
}

qint64 serviceMemoryLimit()
{
    const qint64 machine = qint64(sysconf(_SC_PHYS_PAGES)) * sysconf(_SC_PAGESIZE);
    return std::clamp(machine / 2, kLeastMemory, kMostMemory);
}

} // namespace quorvane
