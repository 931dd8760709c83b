// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/Confinement.h"

#include "platform/Sanitizer.h"

#include <fcntl.h>
#include <linux/capability.h>
#include <linux/landlock.h>
#include <sched.h>
#include <seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <initializer_list>
#include <memory>
#include <vector>

namespace quorvane {

namespace {

/// A picture takes ten seconds at most, so this is weeks of slideshow; it only ends a process that
/// runs wild and that nobody watches any more.
constexpr rlim_t kProcessorSeconds = rlim_t(7) * 24 * 3600;

/// The socket, a file and its pixels, and two for each thread that libraries start.
constexpr rlim_t kOpenFiles = 64;

// ---- Descriptors and limits

void closeAllBetween(int first, int last)
{
    if (first <= last)
        close_range(static_cast<unsigned>(first), static_cast<unsigned>(last), 0);
}

void closeDescriptorsExcept(int kept)
{
    const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
    for (const int standard : { STDIN_FILENO, STDOUT_FILENO }) {
        if (null >= 0 && standard != kept)
            dup2(null, standard);
    }
    closeAllBetween(STDERR_FILENO + 1, kept - 1);
    closeAllBetween(std::max(kept, STDERR_FILENO) + 1, INT_MAX);
}

void setLimit(__rlimit_resource resource, rlim_t limit)
{
    const rlimit value { limit, limit };
    setrlimit(resource, &value);
}

void setLimits(qint64 memory)
{
    if (!kHasSanitizer)
        setLimit(RLIMIT_AS, static_cast<rlim_t>(memory));
    setLimit(RLIMIT_NOFILE, kOpenFiles);
    // Pixels go to shared memory through a mapping, which this does not touch. A message to a
    // standard error that is a file shall fail, not end the process.
    std::signal(SIGXFSZ, SIG_IGN);
    setLimit(RLIMIT_FSIZE, 0);
    setLimit(RLIMIT_CORE, 0);
    setLimit(RLIMIT_CPU, kProcessorSeconds);
    // No RLIMIT_NPROC: it counts all threads of the user, so a small one would leave us none.
}

/// For whoever decodes as root; nobody else has any.
void dropCapabilities()
{
    __user_cap_header_struct header { _LINUX_CAPABILITY_VERSION_3, 0 };
    const std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3> none {};
    syscall(SYS_capset, &header, none.data());
}

// ---- Landlock

/// The kernel's structure, of which the headers of older systems know only the first field.
struct LandlockRules {
    quint64 files;
    quint64 network; ///< Since version 4.
    quint64 scopes; ///< Since version 6.
};

/// The first `count` rights: each version has added its own at the upper end.
constexpr quint64 firstRights(int count) { return (quint64(1) << count) - 1; }

/// All that Landlock of this version can forbid.
LandlockRules everythingOf(int version)
{
    int fileRights = 13;
    if (version >= 2)
        ++fileRights; // Moving between folders.
    if (version >= 3)
        ++fileRights; // Truncating.
    if (version >= 5)
        ++fileRights; // Controlling devices.
    return {
        firstRights(fileRights),
        version >= 4 ? firstRights(2) : 0, // Binding and connecting TCP.
        version >= 6 ? firstRights(2) : 0, // Abstract sockets and signals.
    };
}

/// Forbids all, allowing nothing. \param version  0 for a kernel without Landlock.
bool restrictByLandlock(int version)
{
    if (version <= 0)
        return false;
    const LandlockRules rules = everythingOf(version);
    const long ruleset = syscall(SYS_landlock_create_ruleset, &rules, sizeof rules, 0);
    if (ruleset < 0)
        return false;
    const long result = syscall(SYS_landlock_restrict_self, ruleset, 0);
    close(static_cast<int>(ruleset));
    return result == 0;
}

QStringList confineByLandlock(int newest)
{
    const long known
        = syscall(SYS_landlock_create_ruleset, nullptr, size_t(0), LANDLOCK_CREATE_RULESET_VERSION);
    const int version = std::min(static_cast<int>(known), newest);
    if (!restrictByLandlock(version))
        return { QStringLiteral("Landlock") };
    QStringList missing;
    if (version < 4)
        missing += QStringLiteral("Landlock for the network");
    if (version < 6)
        missing += QStringLiteral("Landlock for signals and abstract sockets");
    return missing;
}

// ---- The filter of system calls

using Filter = std::unique_ptr<void, void (*)(scmp_filter_ctx)>;
using Conditions = std::vector<scmp_arg_cmp>;

scmp_arg_cmp argumentIs(unsigned index, quint64 value) { return { index, SCMP_CMP_EQ, value, 0 }; }

scmp_arg_cmp argumentHas(unsigned index, quint64 mask, quint64 value)
{
    return { index, SCMP_CMP_MASKED_EQ, mask, value };
}

bool add(const Filter& filter, quint32 action, int call, const Conditions& conditions = {})
{
    return seccomp_rule_add_array(filter.get(), action, call,
               static_cast<unsigned>(conditions.size()), conditions.data())
        == 0;
}

bool addAll(const Filter& filter, quint32 action, std::initializer_list<int> calls)
{
    return std::all_of(
        calls.begin(), calls.end(), [&](int call) { return add(filter, action, call); });
}

/// What works on this process alone, or on descriptors that it has been given.
bool allowHarmlessCalls(const Filter& filter)
{
    return addAll(filter, SCMP_ACT_ALLOW,
        {
            // Descriptors. Writing reaches the socket, standard error and the counters of waiting
            // threads: files are read-only to us, and RLIMIT_FSIZE is 0.
            SCMP_SYS(read),
            SCMP_SYS(readv),
            SCMP_SYS(pread64),
            SCMP_SYS(preadv),
            SCMP_SYS(lseek),
            SCMP_SYS(write),
            SCMP_SYS(writev),
            SCMP_SYS(fstat),
            SCMP_SYS(close),
            SCMP_SYS(dup),
            SCMP_SYS(poll),
            SCMP_SYS(ppoll),
            SCMP_SYS(eventfd2),
            // Memory; what may be executed stays as it is.
            SCMP_SYS(munmap),
            SCMP_SYS(mremap),
            SCMP_SYS(madvise),
            SCMP_SYS(brk),
            // Threads and signals of this process.
            SCMP_SYS(futex),
            SCMP_SYS(set_robust_list),
            SCMP_SYS(rseq),
            SCMP_SYS(rt_sigaction),
            SCMP_SYS(rt_sigprocmask),
            SCMP_SYS(rt_sigreturn),
            SCMP_SYS(sigaltstack),
            SCMP_SYS(restart_syscall),
            SCMP_SYS(sched_yield),
            SCMP_SYS(exit),
            SCMP_SYS(exit_group),
        });
}

/// Questions and clocks.
bool allowQuestions(const Filter& filter)
{
    return addAll(filter, SCMP_ACT_ALLOW,
        {
            SCMP_SYS(getpid),
            SCMP_SYS(gettid),
            SCMP_SYS(getppid),
            SCMP_SYS(getuid),
            SCMP_SYS(geteuid),
            SCMP_SYS(getgid),
            SCMP_SYS(getegid),
            SCMP_SYS(uname),
            SCMP_SYS(sysinfo),
            SCMP_SYS(getrusage),
            SCMP_SYS(times),
            SCMP_SYS(getcpu),
            SCMP_SYS(sched_getaffinity),
            SCMP_SYS(sched_getparam),
            SCMP_SYS(sched_getscheduler),
            SCMP_SYS(sched_get_priority_max),
            SCMP_SYS(sched_get_priority_min),
            SCMP_SYS(getrandom),
            SCMP_SYS(time),
            SCMP_SYS(gettimeofday),
            SCMP_SYS(clock_gettime),
            SCMP_SYS(clock_getres),
            SCMP_SYS(nanosleep),
            SCMP_SYS(clock_nanosleep),
        });
}

/// A clone() that makes a thread of this process, in the same namespaces.
scmp_arg_cmp makesThread()
{
    constexpr quint64 needed = CLONE_THREAD | CLONE_VM | CLONE_SIGHAND;
    constexpr quint64 forbidden = CLONE_NEWNS | CLONE_NEWCGROUP | CLONE_NEWUTS | CLONE_NEWIPC
        | CLONE_NEWUSER | CLONE_NEWPID | CLONE_NEWNET | CLONE_VFORK | CLONE_PTRACE | CLONE_PIDFD;
    return argumentHas(0, needed | forbidden, needed);
}

bool allowWithConditions(const Filter& filter, int socket)
{
    const auto self = static_cast<quint64>(getpid());
    const auto channel = static_cast<quint64>(static_cast<unsigned>(socket));
    const auto allow = [&](int call, const Conditions& conditions) {
        return add(filter, SCMP_ACT_ALLOW, call, conditions);
    };
    return allow(SCMP_SYS(recvmsg), { argumentIs(0, channel) })
        && allow(SCMP_SYS(sendmsg), { argumentIs(0, channel) })
        && allow(SCMP_SYS(mmap), { argumentHas(2, PROT_EXEC, 0) })
        && allow(SCMP_SYS(mprotect), { argumentHas(2, PROT_EXEC, 0) })
        && allow(SCMP_SYS(clone), { makesThread() })
        // What abort() does.
        && allow(SCMP_SYS(kill), { argumentIs(0, self) })
        && allow(SCMP_SYS(tgkill), { argumentIs(0, self) })
        && allow(SCMP_SYS(prctl), { argumentIs(0, PR_SET_NAME) }) && allow(SCMP_SYS(getrlimit), {})
        && allow(SCMP_SYS(prlimit64), { argumentIs(0, 0), argumentIs(2, 0) })
        && allow(SCMP_SYS(fcntl), { argumentIs(1, F_GETFD) })
        && allow(SCMP_SYS(fcntl), { argumentIs(1, F_GETFL) })
        && allow(SCMP_SYS(fcntl), { argumentIs(1, F_DUPFD_CLOEXEC) })
        // How the C library asks about an open descriptor. A filter cannot see whether the name is
        // really empty: that a file exists, and its size, is all that could be learnt.
        && allow(SCMP_SYS(newfstatat), { argumentIs(3, AT_EMPTY_PATH) });
}

/// With these the sanitizers find out whether memory can be read.
bool allowSanitizer(const Filter& filter)
{
    return !kHasSanitizer || addAll(filter, SCMP_ACT_ALLOW, { SCMP_SYS(pipe), SCMP_SYS(pipe2) });
}

/// Answers that libraries expect and know how to do without. All else is EPERM.
bool refuseWithTheRightNumber(const Filter& filter)
{
    return addAll(filter, SCMP_ACT_ERRNO(EACCES),
               { SCMP_SYS(open), SCMP_SYS(openat), SCMP_SYS(openat2), SCMP_SYS(creat),
                   SCMP_SYS(stat), SCMP_SYS(lstat), SCMP_SYS(statx), SCMP_SYS(readlink),
                   SCMP_SYS(readlinkat) })
        && add(filter, SCMP_ACT_ERRNO(EACCES), SCMP_SYS(newfstatat),
            { { 3, SCMP_CMP_NE, AT_EMPTY_PATH, 0 } })
        // "Yes" to everything, without looking: the libraries that draw text ask whether the file
        // of a font that they have open is still there.
        && addAll(filter, SCMP_ACT_ERRNO(0),
            { SCMP_SYS(access), SCMP_SYS(faccessat), SCMP_SYS(faccessat2) })
        && add(filter, SCMP_ACT_ERRNO(ENOTTY), SCMP_SYS(ioctl))
        && add(filter, SCMP_ACT_ERRNO(ENOTSOCK), SCMP_SYS(getpeername))
        // Its flags lie in memory where a filter cannot see them; the C library then uses clone().
        && add(filter, SCMP_ACT_ERRNO(ENOSYS), SCMP_SYS(clone3));
}

bool loadFilter(int socket)
{
    const Filter filter(seccomp_init(SCMP_ACT_ERRNO(EPERM)), seccomp_release);
    return filter
        // Calls of other architectures have other numbers: a list that is safe here is not there.
        && seccomp_attr_set(filter.get(), SCMP_FLTATR_ACT_BADARCH, SCMP_ACT_ERRNO(EPERM)) == 0
        && seccomp_attr_set(filter.get(), SCMP_FLTATR_CTL_TSYNC, 1) == 0
        // As a tree: the list is long, and every call walks through it.
        && seccomp_attr_set(filter.get(), SCMP_FLTATR_CTL_OPTIMIZE, 2) == 0
        && allowHarmlessCalls(filter) && allowQuestions(filter) && allowSanitizer(filter)
        && allowWithConditions(filter, socket) && refuseWithTheRightNumber(filter)
        && seccomp_load(filter.get()) == 0;
}

} // namespace

QStringList confine(const Confinement& confinement)
{
    closeDescriptorsExcept(confinement.socket);
    prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);
    setLimits(confinement.memory);
    dropCapabilities();
    prctl(PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0);

    QStringList missing;
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0)
        missing += QStringLiteral("no_new_privs");
    missing += confineByLandlock(confinement.newestLandlock);
    if (!confinement.filtersCalls || !loadFilter(confinement.socket))
        missing += QStringLiteral("seccomp");
    return missing;
}

} // namespace quorvane
