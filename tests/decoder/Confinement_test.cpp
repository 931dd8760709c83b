// SPDX-License-Identifier: GPL-3.0-or-later
// What a confined process cannot do any more, and what it still must be able to do. Each test
// confines a child of its own: there is no way back.
#include "decoder/Confinement.h"
#include "platform/Sanitizer.h"

#include <QFile>
#include <QImage>
#include <QTemporaryDir>

#include <arpa/inet.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/bpf.h>
#include <linux/perf_event.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/shm.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <future>
#include <memory>
#include <new>
#include <string>
#include <thread>

namespace quorvane {

namespace {

/// Exit codes of children, beside error numbers, which are smaller.
constexpr int kNoFilter = 200;
constexpr int kNoLandlock = 201;

constexpr int kDied = -1;

/// What a child that does `work` exits with; kDied when it was killed.
int exitCodeOf(const std::function<int()>& work)
{
    const pid_t child = fork();
    if (child == 0)
        _exit(work());
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : kDied;
}

/// 0 for success, else the error number.
int numberOf(long result) { return result == -1 ? errno : 0; }

Confinement defaults()
{
    Confinement confinement;
    confinement.memory = qint64(2) << 30;
    return confinement;
}

/// What `attempt`, an error number or 0, answers in a confined process.
int confined(const std::function<int()>& attempt, const Confinement& confinement = defaults())
{
    return exitCodeOf([&] {
        const QStringList missing = confine(confinement);
        if (confinement.filtersCalls && missing.contains(QStringLiteral("seccomp")))
            return kNoFilter;
        if (confinement.newestLandlock > 0 && missing.contains(QStringLiteral("Landlock"))
            && !confinement.filtersCalls)
            return kNoLandlock;
        return attempt();
    });
}

struct Attempt {
    const char* name;
    int (*act)(); ///< An error number, or 0 when it succeeded.
    int expected; ///< The error number.
};

void PrintTo(const Attempt& attempt, std::ostream* stream) { *stream << attempt.name; }

class RefusedAttempt : public testing::TestWithParam<Attempt> { };

TEST_P(RefusedAttempt, FailsWithANumberAndLeavesTheProcessAlive)
{
    const int number = confined(GetParam().act);

    if (number == kNoFilter)
        GTEST_SKIP() << "this kernel cannot filter system calls";
    EXPECT_EQ(number, GetParam().expected) << std::strerror(GetParam().expected);
}

int openNumber(const char* path, int flags) { return numberOf(open(path, flags, 0600)); }

sockaddr_in localhost()
{
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_port = htons(9);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

/// Makes a child that ends at once, should it ever come to be.
int forkNumber(long result)
{
    if (result == 0)
        _exit(0);
    return numberOf(result);
}

int mapNumber(int protection)
{
    void* const memory = mmap(nullptr, 4096, protection, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return memory == MAP_FAILED ? errno : 0;
}

int protectNumber()
{
    void* const memory
        = mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return numberOf(mprotect(memory, 4096, PROT_READ | PROT_EXEC));
}

int execNumber()
{
    const char* const arguments[] = { "/bin/true", nullptr };
    return numberOf(execv("/bin/true", const_cast<char* const*>(arguments)));
}

int readMemoryOfParent()
{
    char buffer[8];
    iovec own { buffer, sizeof buffer };
    iovec other { buffer, sizeof buffer };
    return numberOf(process_vm_readv(getppid(), &own, 1, &other, 1, 0));
}

int raiseLimit()
{
    const rlimit more { 4096, 4096 };
    return numberOf(setrlimit(RLIMIT_NOFILE, &more));
}

int startWatching()
{
    perf_event_attr attributes {};
    attributes.size = sizeof attributes;
    attributes.type = PERF_TYPE_SOFTWARE;
    return numberOf(syscall(SYS_perf_event_open, &attributes, 0, -1, -1, 0));
}

int loadKernelProgram()
{
    bpf_attr attributes {};
    attributes.map_type = BPF_MAP_TYPE_ARRAY;
    attributes.key_size = 4;
    attributes.value_size = 4;
    attributes.max_entries = 1;
    return numberOf(syscall(SYS_bpf, BPF_MAP_CREATE, &attributes, sizeof attributes));
}

int makeRing()
{
    std::array<char, 512> parameters {};
    return numberOf(syscall(SYS_io_uring_setup, 1, parameters.data()));
}

int cloneWithArguments()
{
    std::array<quint64, 8> arguments {};
    return forkNumber(syscall(SYS_clone3, arguments.data(), sizeof arguments));
}

int connectNumber()
{
    const sockaddr_in address = localhost();
    return numberOf(connect(2, reinterpret_cast<const sockaddr*>(&address), sizeof address));
}

int pushInput() { return numberOf(ioctl(0, TIOCSTI, "x")); }

#ifdef __x86_64__
/// The numbers of the x32 architecture, which the same kernel understands.
int callAsX32() { return numberOf(syscall(0x40000000 + SYS_getpid)); }
#endif

const Attempt kAttempts[] = {
    { "OpenAbsolute", [] { return openNumber("/etc/passwd", O_RDONLY); }, EACCES },
    { "OpenRelative", [] { return openNumber(".", O_RDONLY); }, EACCES },
    { "OpenOldCall", [] { return numberOf(syscall(SYS_open, "/etc/passwd", O_RDONLY)); }, EACCES },
    { "OpenNewCall",
        [] {
            std::array<quint64, 3> how {};
            return numberOf(syscall(SYS_openat2, AT_FDCWD, ".", how.data(), sizeof how));
        },
        EACCES },
    { "OpenPathOnly", [] { return openNumber("/", O_PATH); }, EACCES },
    { "OpenOwnMemory", [] { return openNumber("/proc/self/mem", O_RDWR); }, EACCES },
    { "OpenParent",
        [] {
            const std::string path = "/proc/" + std::to_string(getppid()) + "/environ";
            return openNumber(path.c_str(), O_RDONLY);
        },
        EACCES },
    { "OpenTerminal", [] { return openNumber("/dev/tty", O_RDWR); }, EACCES },
    { "CreateFile", [] { return openNumber("new", O_WRONLY | O_CREAT); }, EACCES },
    { "CreateHiddenFile", [] { return openNumber("/tmp", O_WRONLY | O_TMPFILE); }, EACCES },
    { "Stat",
        [] {
            struct stat status = {};
            return numberOf(stat("/etc/passwd", &status));
        },
        EACCES },
    // The same answer for all names, so that it tells nothing.
    { "LearnThatAFileExists", [] { return numberOf(access("/etc/passwd", R_OK)); }, 0 },
    { "LearnThatNoFileExists", [] { return numberOf(access("/nonexistent", R_OK)); }, 0 },
    { "ReadLink",
        [] {
            char target[64];
            return numberOf(readlink("/proc/self/exe", target, sizeof target));
        },
        EACCES },
    { "Unlink", [] { return numberOf(unlink("file")); }, EPERM },
    { "Rename", [] { return numberOf(rename("file", "other")); }, EPERM },
    { "MakeFolder", [] { return numberOf(mkdir("folder", 0700)); }, EPERM },
    { "MakeLink", [] { return numberOf(symlink("a", "b")); }, EPERM },
    { "ChangeFolder", [] { return numberOf(chdir("/")); }, EPERM },
    { "ChangeMode", [] { return numberOf(chmod("file", 0777)); }, EPERM },
    { "Truncate", [] { return numberOf(ftruncate(2, 0)); }, EPERM },
    { "MakeMemoryFile", [] { return numberOf(memfd_create("x", 0)); }, EPERM },
    { "SocketInternet", [] { return numberOf(socket(AF_INET, SOCK_STREAM, 0)); }, EPERM },
    { "SocketLocal", [] { return numberOf(socket(AF_UNIX, SOCK_STREAM, 0)); }, EPERM },
    { "SocketKernel", [] { return numberOf(socket(AF_NETLINK, SOCK_RAW, 0)); }, EPERM },
    { "SocketPair",
        [] {
            int ends[2];
            return numberOf(socketpair(AF_UNIX, SOCK_STREAM, 0, ends));
        },
        EPERM },
    { "Connect", connectNumber, EPERM },
    { "MessageOnAnotherDescriptor",
        [] {
            const msghdr message {};
            return numberOf(sendmsg(2, &message, 0));
        },
        EPERM },
    { "Fork", [] { return forkNumber(fork()); }, EPERM },
    { "OldFork", [] { return forkNumber(syscall(SYS_fork)); }, EPERM },
    { "VirtualFork", [] { return forkNumber(syscall(SYS_vfork)); }, EPERM },
    { "CloneProcess", [] { return forkNumber(syscall(SYS_clone, SIGCHLD, 0, 0, 0, 0)); }, EPERM },
    { "CloneNamespace",
        [] { return forkNumber(syscall(SYS_clone, CLONE_NEWUSER | SIGCHLD, 0, 0, 0, 0)); }, EPERM },
    { "CloneWithArguments", cloneWithArguments, ENOSYS },
    { "Execute", execNumber, EPERM },
    { "ExecuteDescriptor",
        [] { return numberOf(syscall(SYS_execveat, 0, "", nullptr, nullptr, AT_EMPTY_PATH)); },
        EPERM },
    { "KillParent", [] { return numberOf(kill(getppid(), 0)); }, EPERM },
    { "KillAll", [] { return numberOf(kill(-1, 0)); }, EPERM },
    { "KillGroup", [] { return numberOf(kill(0, 0)); }, EPERM },
    { "KillThreadOfParent", [] { return numberOf(syscall(SYS_tgkill, getppid(), getppid(), 0)); },
        EPERM },
    { "KillThread", [] { return numberOf(syscall(SYS_tkill, getppid(), 0)); }, EPERM },
    { "KillByDescriptor",
        [] {
            const long parent = syscall(SYS_pidfd_open, getppid(), 0);
            return parent < 0 ? errno
                              : numberOf(syscall(SYS_pidfd_send_signal, parent, 0, nullptr, 0));
        },
        EPERM },
    { "TraceParent", [] { return numberOf(ptrace(PTRACE_SEIZE, getppid(), nullptr, nullptr)); },
        EPERM },
    { "ReadMemoryOfParent", readMemoryOfParent, EPERM },
    { "RaiseLimit", raiseLimit, EPERM },
    { "BecomeDumpable", [] { return numberOf(prctl(PR_SET_DUMPABLE, 1, 0, 0, 0)); }, EPERM },
    { "OutliveParent", [] { return numberOf(prctl(PR_SET_PDEATHSIG, 0, 0, 0, 0)); }, EPERM },
    { "MapExecutable", [] { return mapNumber(PROT_READ | PROT_EXEC); }, EPERM },
    { "MakeExecutable", protectNumber, EPERM },
    { "MakeExecutableWithKey",
        [] { return numberOf(syscall(SYS_pkey_mprotect, nullptr, 0, PROT_EXEC, -1)); }, EPERM },
    { "ReadImpliesExecutable", [] { return numberOf(syscall(SYS_personality, 0x0400000)); },
        EPERM },
    { "MakeRing", makeRing, EPERM },
    { "LoadKernelProgram", loadKernelProgram, EPERM },
    { "WatchPerformance", startWatching, EPERM },
    { "HandleFaults", [] { return numberOf(syscall(SYS_userfaultfd, 0)); }, EPERM },
    { "NewUserNamespace", [] { return numberOf(unshare(CLONE_NEWUSER)); }, EPERM },
    { "BecomeAnother", [] { return numberOf(setuid(getuid() + 1)); }, EPERM },
    { "SharedMemory", [] { return numberOf(shmget(IPC_PRIVATE, 4096, 0600)); }, EPERM },
    { "Mount", [] { return numberOf(mount("none", "/nonexistent/folder", "tmpfs", 0, nullptr)); },
        EPERM },
    { "ChangeRoot", [] { return numberOf(chroot(".")); }, EPERM },
    { "ReadKeys", [] { return numberOf(syscall(SYS_keyctl, 0, -3, 0, 0, 0)); }, EPERM },
    { "PushInput", pushInput, ENOTTY },
    { "AskForWindowSize",
        [] {
            winsize size {};
            return numberOf(ioctl(2, TIOCGWINSZ, &size));
        },
        ENOTTY },
    { "SetOwnerOfDescriptor", [] { return numberOf(fcntl(2, F_SETOWN, getpid())); }, EPERM },
    { "AskForPeer",
        [] {
            sockaddr_un address {};
            socklen_t size = sizeof address;
            return numberOf(getpeername(2, reinterpret_cast<sockaddr*>(&address), &size));
        },
        ENOTSOCK },
#ifdef __x86_64__
    { "CallAsX32", callAsX32, EPERM },
#endif
};

INSTANTIATE_TEST_SUITE_P(Confinement, RefusedAttempt, testing::ValuesIn(kAttempts),
    [](const auto& row) { return std::string(row.param.name); });

/// A socket with two ends, the second for the child.
struct Channel {
    Channel() { socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends.data()); }
    ~Channel()
    {
        close(ends[0]);
        close(ends[1]);
    }
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;

    std::array<int, 2> ends {};
};

bool sendDescriptor(int socket, int descriptor)
{
    char byte = 'd';
    iovec content { &byte, 1 };
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control {};
    msghdr message {};
    message.msg_iov = &content;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    cmsghdr* const header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(sizeof(int));
    std::memcpy(CMSG_DATA(header), &descriptor, sizeof descriptor);
    return sendmsg(socket, &message, 0) == 1;
}

int receiveDescriptor(int socket)
{
    char byte = 0;
    iovec content { &byte, 1 };
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control {};
    msghdr message {};
    message.msg_iov = &content;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    if (recvmsg(socket, &message, MSG_CMSG_CLOEXEC) != 1 || !CMSG_FIRSTHDR(&message))
        return -1;
    int descriptor = -1;
    std::memcpy(&descriptor, CMSG_DATA(CMSG_FIRSTHDR(&message)), sizeof descriptor);
    return descriptor;
}

int memoryFile(const QByteArray& contents)
{
    const int file = memfd_create("test", MFD_CLOEXEC);
    EXPECT_EQ(
        write(file, contents.constData(), static_cast<size_t>(contents.size())), contents.size());
    return file;
}

void* mapShared(int file, size_t size)
{
    return mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
}

/// Reads the file that comes through the socket.
int readReceivedFile(int socket)
{
    const int file = receiveDescriptor(socket);
    char text[5] = {};
    struct stat status = {};
    if (fstat(file, &status) != 0 || status.st_size != 4)
        return errno;
    if (pread(file, text, 4, 0) != 4)
        return errno;
    return std::strcmp(text, "four") == 0 ? 0 : EIO;
}

TEST(Confinement, LetsAReceivedFileBeRead)
{
    const Channel channel;
    const int file = memoryFile("four");
    ASSERT_TRUE(sendDescriptor(channel.ends[0], file));
    Confinement confinement = defaults();
    confinement.socket = channel.ends[1];

    const int number = confined([&] { return readReceivedFile(channel.ends[1]); }, confinement);

    EXPECT_EQ(number, 0);
    close(file);
}

TEST(Confinement, LetsReceivedSharedMemoryBeWrittenThroughAMapping)
{
    const Channel channel;
    const size_t size = 16 << 20;
    const int file = memoryFile({});
    ASSERT_EQ(ftruncate(file, static_cast<off_t>(size)), 0);
    ASSERT_TRUE(sendDescriptor(channel.ends[0], file));
    Confinement confinement = defaults();
    confinement.socket = channel.ends[1];

    const int number = confined(
        [&] {
            void* const pixels = mapShared(receiveDescriptor(channel.ends[1]), size);
            if (pixels == MAP_FAILED)
                return errno;
            std::memset(pixels, 7, size);
            return 0;
        },
        confinement);

    EXPECT_EQ(number, 0);
    const auto* const seen = static_cast<const char*>(mapShared(file, size));
    EXPECT_EQ(seen[0], 7);
    EXPECT_EQ(seen[size - 1], 7);
    munmap(const_cast<char*>(seen), size);
    close(file);
}

TEST(Confinement, LetsADescriptorBeSentBack)
{
    const Channel channel;
    const int file = memoryFile("four");
    ASSERT_TRUE(sendDescriptor(channel.ends[0], file));
    Confinement confinement = defaults();
    confinement.socket = channel.ends[1];

    const int number = confined(
        [&] {
            const int received = receiveDescriptor(channel.ends[1]);
            return sendDescriptor(channel.ends[1], received) ? 0 : errno;
        },
        confinement);

    EXPECT_EQ(number, 0);
    const int back = receiveDescriptor(channel.ends[0]);
    EXPECT_GE(back, 0);
    close(back);
    close(file);
}

TEST(Confinement, RefusesToWriteAReceivedFile)
{
    const Channel channel;
    const int file = memoryFile("four");
    ASSERT_TRUE(sendDescriptor(channel.ends[0], file));
    Confinement confinement = defaults();
    confinement.socket = channel.ends[1];

    const int number = confined(
        [&] { return numberOf(write(receiveDescriptor(channel.ends[1]), "x", 1)); }, confinement);

    EXPECT_EQ(number, EFBIG);
    close(file);
}

TEST(Confinement, ClosesEverythingButTheSocketAndStandardError)
{
    const Channel channel;
    const int below = memoryFile("below");
    const int socket = fcntl(channel.ends[1], F_DUPFD, below + 2);
    const int above = fcntl(below, F_DUPFD, socket + 3);
    Confinement confinement = defaults();
    confinement.socket = socket;

    const int number = confined(
        [&] {
            const bool right = fcntl(below, F_GETFD) == -1 && fcntl(above, F_GETFD) == -1
                && fcntl(channel.ends[0], F_GETFD) == -1 && fcntl(socket, F_GETFD) != -1
                && fcntl(2, F_GETFD) != -1;
            return right ? 0 : EBADF;
        },
        confinement);

    EXPECT_EQ(number, 0);
    close(below);
    close(above);
    close(socket);
}

TEST(Confinement, LeavesNothingToReadOnStandardInput)
{
    const Channel channel;
    ASSERT_EQ(write(channel.ends[0], "text", 4), 4);

    const int number = exitCodeOf([&] {
        dup2(channel.ends[1], STDIN_FILENO);
        confine(defaults());
        char byte = 0;
        return static_cast<int>(read(STDIN_FILENO, &byte, 1));
    });

    EXPECT_EQ(number, 0);
}

TEST(Confinement, KeepsASocketThatIsStandardInput)
{
    const Channel channel;
    ASSERT_EQ(write(channel.ends[0], "four", 4), 4);

    const int number = exitCodeOf([&] {
        dup2(channel.ends[1], STDIN_FILENO);
        Confinement confinement = defaults();
        confinement.socket = STDIN_FILENO;
        confine(confinement);
        char text[4] = {};
        return static_cast<int>(read(STDIN_FILENO, text, 4));
    });

    EXPECT_EQ(number, 4);
}

TEST(Confinement, LeavesMemoryAndTimeAndChance)
{
    const int number = confined([] {
        const size_t size = size_t(200) << 20;
        auto* const memory = static_cast<char*>(std::malloc(size));
        if (!memory)
            return ENOMEM;
        std::memset(memory, 1, size);
        if (memory[size - 1] != 1)
            return EIO;
        std::free(memory);
        timespec now {};
        if (clock_gettime(CLOCK_MONOTONIC, &now) != 0 || now.tv_sec == 0)
            return errno;
        rlimit limit {};
        if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
            return errno;
        char random[8];
        return getentropy(random, sizeof random) == 0 ? 0 : errno;
    });

    EXPECT_EQ(number, 0);
}

TEST(Confinement, LetsThreadsStart)
{
    const int number = confined([] {
        int result = EIO;
        std::thread thread([&] { result = 0; });
        thread.join();
        return result;
    });

    EXPECT_EQ(number, 0);
}

TEST(Confinement, LetsPicturesBeScaledByTheThreadsOfQt)
{
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "confined, the sanitizer cannot find out that it is told to pass over Qt";
#endif

    const int number = confined([] {
        QImage image(4000, 3000, QImage::Format_RGB32);
        image.fill(Qt::red);
        const QImage scaled
            = image.scaled(2000, 1500, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        return scaled.pixel(1000, 700) == qRgb(255, 0, 0) ? 0 : EIO;
    });

    EXPECT_EQ(number, 0);
}

TEST(Confinement, ConfinesThreadsThatExistAlready)
{
    const int number = exitCodeOf([] {
        std::promise<void> isConfined;
        int result = 0;
        std::thread thread([&] {
            isConfined.get_future().wait();
            result = numberOf(memfd_create("x", 0));
        });
        if (confine(defaults()).contains(QStringLiteral("seccomp")))
            return kNoFilter;
        isConfined.set_value();
        thread.join();
        return result;
    });

    if (number == kNoFilter)
        GTEST_SKIP() << "this kernel cannot filter system calls";
    EXPECT_EQ(number, EPERM);
}

TEST(Confinement, EndsAtAbort)
{
    EXPECT_EQ(confined([] {
        std::signal(SIGABRT, SIG_DFL);
        std::abort();
        return 0;
    }),
        kDied);
}

TEST(Confinement, AnswersTooMuchMemoryWithAnError)
{
    if (kHasSanitizer)
        GTEST_SKIP() << "a sanitizer reserves terabytes, so memory is not limited";

    const int number = confined([] {
        try {
            // Called by its name: a new expression that nobody looks at may be left out.
            ::operator delete(::operator new(size_t(3) << 30));
            return 0;
        } catch (const std::bad_alloc&) {
            return ENOMEM;
        }
    });

    EXPECT_EQ(number, ENOMEM);
}

// ---- Each protection by itself, as on kernels that lack another

Confinement withoutFilter()
{
    Confinement confinement = defaults();
    confinement.filtersCalls = false;
    return confinement;
}

Confinement withoutLandlock()
{
    Confinement confinement = defaults();
    confinement.newestLandlock = 0;
    return confinement;
}

/// What confine() misses in a child, as one text.
QByteArray missingWith(const Confinement& confinement)
{
    int ends[2];
    EXPECT_EQ(pipe(ends), 0);
    exitCodeOf([&] {
        Confinement inChild = confinement;
        inChild.socket = ends[1];
        const QByteArray names = confine(inChild).join(QLatin1Char(';')).toUtf8();
        return write(ends[1], names.constData(), static_cast<size_t>(names.size())) < 0;
    });
    close(ends[1]);
    char text[256] = {};
    const ssize_t size = read(ends[0], text, sizeof text);
    close(ends[0]);
    return { text, static_cast<qsizetype>(std::max<ssize_t>(size, 0)) };
}

bool kernelHas(const char* protection)
{
    return !missingWith(defaults()).split(';').contains(protection);
}

TEST(Confinement, NamesAMissingFilter)
{
    EXPECT_TRUE(missingWith(withoutFilter()).split(';').contains("seccomp"));
}

TEST(Confinement, NamesMissingLandlock)
{
    EXPECT_TRUE(missingWith(withoutLandlock()).split(';').contains("Landlock"));
}

TEST(Confinement, NamesWhatAnOldLandlockCannotDo)
{
    if (!kernelHas("Landlock"))
        GTEST_SKIP() << "this kernel has no Landlock";
    Confinement confinement = defaults();

    confinement.newestLandlock = 3;
    EXPECT_EQ(missingWith(confinement),
        "Landlock for the network;Landlock for signals and abstract sockets");
    confinement.newestLandlock = 5;
    EXPECT_TRUE(missingWith(confinement).endsWith("Landlock for signals and abstract sockets"));
}

TEST(Confinement, KeepsFilesClosedWithoutAFilter)
{
    if (!kernelHas("Landlock"))
        GTEST_SKIP() << "this kernel has no Landlock";
    QTemporaryDir folder;
    const QByteArray file = QFile::encodeName(folder.filePath(QStringLiteral("file")));

    for (int version = 1; version <= 8; ++version) {
        Confinement confinement = withoutFilter();
        confinement.newestLandlock = version;
        EXPECT_EQ(confined([] { return openNumber("/etc/passwd", O_RDONLY); }, confinement), EACCES)
            << version;
        EXPECT_EQ(
            confined([&] { return openNumber(file.constData(), O_WRONLY | O_CREAT); }, confinement),
            EACCES)
            << version;
        EXPECT_EQ(
            confined([&] { return numberOf(mkdir(file.constData(), 0700)); }, confinement), EACCES)
            << version;
    }
}

TEST(Confinement, ConnectsNothingWithoutAFilter)
{
    if (!kernelHas("Landlock for the network") || !kernelHas("Landlock"))
        GTEST_SKIP() << "this kernel's Landlock knows no network";

    const int number = confined(
        [] {
            const int channel = socket(AF_INET, SOCK_STREAM, 0);
            const sockaddr_in address = localhost();
            return numberOf(
                connect(channel, reinterpret_cast<const sockaddr*>(&address), sizeof address));
        },
        withoutFilter());

    EXPECT_EQ(number, EACCES);
}

TEST(Confinement, SignalsNobodyWithoutAFilter)
{
    if (!kernelHas("Landlock for signals and abstract sockets") || !kernelHas("Landlock"))
        GTEST_SKIP() << "this kernel's Landlock knows no signals";

    EXPECT_EQ(confined([] { return numberOf(kill(getppid(), 0)); }, withoutFilter()), EPERM);
}

TEST(Confinement, KeepsFilesClosedWithoutLandlock)
{
    if (!kernelHas("seccomp"))
        GTEST_SKIP() << "this kernel cannot filter system calls";

    EXPECT_EQ(
        confined([] { return openNumber("/etc/passwd", O_RDONLY); }, withoutLandlock()), EACCES);
}

TEST(Confinement, LeavesNoWayToGainRights)
{
    Confinement confinement = withoutFilter();
    confinement.newestLandlock = 0;

    EXPECT_EQ(confined([] { return prctl(PR_GET_NO_NEW_PRIVS, 0, 0, 0, 0); }, confinement), 1);
    EXPECT_EQ(confined([] { return prctl(PR_GET_DUMPABLE, 0, 0, 0, 0); }, confinement), 0);
    // The rights of root are gone, so not even root can.
    EXPECT_EQ(confined([] { return raiseLimit(); }, confinement), EPERM);
    EXPECT_EQ(confined([] { return numberOf(chroot("/")); }, confinement), EPERM);
}

TEST(Confinement, EndsWithWhoStartedIt)
{
    const int number = confined(
        [] {
            int signal = 0;
            prctl(PR_GET_PDEATHSIG, &signal, 0, 0, 0);
            return signal;
        },
        withoutFilter());

    EXPECT_EQ(number, SIGKILL);
}

TEST(Confinement, SetsLimits)
{
    const auto limitOf = [](__rlimit_resource resource) {
        rlimit limit {};
        getrlimit(resource, &limit);
        return limit.rlim_max;
    };

    EXPECT_EQ(confined([&] { return limitOf(RLIMIT_NOFILE) == 64 ? 0 : 1; }), 0);
    EXPECT_EQ(confined([&] { return limitOf(RLIMIT_FSIZE) == 0 ? 0 : 1; }), 0);
    EXPECT_EQ(confined([&] { return limitOf(RLIMIT_CORE) == 0 ? 0 : 1; }), 0);
    EXPECT_EQ(confined([&] { return limitOf(RLIMIT_CPU) != RLIM_INFINITY ? 0 : 1; }), 0);
}

} // namespace

} // namespace quorvane
