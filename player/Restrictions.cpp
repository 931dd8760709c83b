// SPDX-License-Identifier: GPL-3.0-or-later
#include "player/Restrictions.h"

#include "platform/FileDescriptor.h"
#include "platform/Sanitizer.h"
#include "platform/ServiceProgram.h"

#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace quorvane {

namespace {

/// Where systems keep libraries, drivers, their settings, and the sockets of sound servers.
constexpr const char* kReadable[] = { "/usr", "/lib", "/lib64", "/etc", "/proc", "/sys", "/run",
    "/opt", "/app", "/nix", "/gnu", "/var/run", "/var/lib/dbus" };

/// Loudspeakers and graphics cards, and memory shared with sound servers.
constexpr const char* kWritable[] = { "/dev" };

/// Of the home: where sound is to go, and who may send it there.
constexpr const char* kReadableAtHome[] = { "/.config/pulse", "/.config/pipewire", "/.pulse",
    "/.pulse-cookie", "/.asoundrc", "/.drirc" };

constexpr std::uint64_t kFileReading = LANDLOCK_ACCESS_FS_EXECUTE | LANDLOCK_ACCESS_FS_READ_FILE;
constexpr std::uint64_t kReading = kFileReading | LANDLOCK_ACCESS_FS_READ_DIR;
constexpr std::uint64_t kWriting = kReading | LANDLOCK_ACCESS_FS_WRITE_FILE;

/// All rights to files of the first version; of later ones, those that a newer kernel adds stay
/// free, except moving and cutting.
std::uint64_t rightsOf(long version)
{
    constexpr int first = 13;
    const long count = first + (version >= 2 ? 1 : 0) + (version >= 3 ? 1 : 0);
    return (std::uint64_t(1) << count) - 1;
}

void allow(int ruleset, const std::string& path, std::uint64_t rights)
{
    const FileDescriptor place(open(path.c_str(), O_PATH | O_CLOEXEC));
    struct stat status = {};
    if (place.get() < 0 || fstat(place.get(), &status) != 0)
        return;
    if (!S_ISDIR(status.st_mode))
        rights &= ~std::uint64_t(LANDLOCK_ACCESS_FS_READ_DIR);
    const landlock_path_beneath_attr rule { rights, place.get() };
    syscall(SYS_landlock_add_rule, ruleset, LANDLOCK_RULE_PATH_BENEATH, &rule, 0);
}

void restrictFiles()
{
    const long version
        = syscall(SYS_landlock_create_ruleset, nullptr, size_t(0), LANDLOCK_CREATE_RULESET_VERSION);
    if (version <= 0)
        return;
    const std::uint64_t handled = rightsOf(version);
    const FileDescriptor ruleset(
        static_cast<int>(syscall(SYS_landlock_create_ruleset, &handled, sizeof handled, 0)));
    if (ruleset.get() < 0)
        return;
    for (const char* const path : kReadable)
        allow(ruleset.get(), path, kReading);
    for (const char* const path : kWritable)
        allow(ruleset.get(), path, kWriting);
    if (const char* const runtime = std::getenv("XDG_RUNTIME_DIR"))
        allow(ruleset.get(), runtime, kReading);
    if (const char* const home = std::getenv("HOME")) {
        for (const char* const path : kReadableAtHome)
            allow(ruleset.get(), std::string(home) + path, kReading);
    }
    syscall(SYS_landlock_restrict_self, ruleset.get(), 0);
}

void setLimit(__rlimit_resource resource, rlim_t limit)
{
    const rlimit value { limit, limit };
    setrlimit(resource, &value);
}

} // namespace

void restrictPlayer()
{
    prctl(PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0);
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    // Memory of its own. Not all addresses: drivers of graphics cards reserve any number of them.
    if (!kHasSanitizer)
        setLimit(RLIMIT_DATA, static_cast<rlim_t>(serviceMemoryLimit()));
    // With 0, a program that the system hands core dumps to is still started. Nor is the process
    // made one that nobody may look into: sound servers look who it is.
    setLimit(RLIMIT_CORE, 1);
    if (!kHasSanitizer)
        restrictFiles();
}

} // namespace quorvane
