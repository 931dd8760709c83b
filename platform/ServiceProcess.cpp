// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/ServiceProcess.h"

#include "platform/Sanitizer.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

namespace quorvane {

namespace {

/// What the sanitizer finds in the program is to be read.
constexpr bool kKeepsErrors = kHasSanitizer;

void addSanitizerVariables(std::vector<std::string>& environment)
{
    if (!kKeepsErrors)
        return;
    for (const char* const name : { "ASAN_OPTIONS", "TSAN_OPTIONS", "UBSAN_OPTIONS" }) {
        if (const char* const value = std::getenv(name))
            environment.push_back(std::string(name) + '=' + value);
    }
}

/// As the C library wants it: ended by a null pointer. Valid as long as the texts are.
std::vector<char*> pointersTo(std::vector<std::string>& texts)
{
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

/// How the new process finds its descriptors and signals.
class SpawnSettings {
public:
    explicit SpawnSettings(int socket)
    {
        posix_spawn_file_actions_init(&mActions);
        posix_spawn_file_actions_addopen(&mActions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&mActions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
        if (!kKeepsErrors)
            posix_spawn_file_actions_addopen(&mActions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_adddup2(&mActions, socket, kServiceSocket);
        // Of what was opened by others, too.
        posix_spawn_file_actions_addclosefrom_np(&mActions, kServiceSocket + 1);
        posix_spawnattr_init(&mAttributes);
        sigset_t signals;
        sigemptyset(&signals);
        posix_spawnattr_setsigmask(&mAttributes, &signals);
        sigfillset(&signals);
        posix_spawnattr_setsigdefault(&mAttributes, &signals);
        posix_spawnattr_setflags(&mAttributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    ~SpawnSettings()
    {
        posix_spawn_file_actions_destroy(&mActions);
        posix_spawnattr_destroy(&mAttributes);
    }
    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;

    pid_t spawn(const ServiceCommand& command) const
    {
        std::vector<std::string> arguments { command.program.toStdString() };
        arguments.insert(arguments.end(), command.arguments.begin(), command.arguments.end());
        std::vector<std::string> environment = command.environment;
        addSanitizerVariables(environment);
        pid_t id = -1;
        const int error = posix_spawn(&id, command.program.constData(), &mActions, &mAttributes,
            pointersTo(arguments).data(), pointersTo(environment).data());
        return error == 0 ? id : -1;
    }

private:
    posix_spawn_file_actions_t mActions {};
    posix_spawnattr_t mAttributes {};
};

FileDescriptor descriptorOf(pid_t process)
{
    return FileDescriptor(static_cast<int>(syscall(SYS_pidfd_open, process, 0)));
}

} // namespace

std::unique_ptr<ServiceProcess> ServiceProcess::start(const ServiceCommand& command)
{
    auto ends = makeMessageSockets();
    if (!ends)
        return nullptr;
    const pid_t id = SpawnSettings(ends->second.get()).spawn(command);
    if (id < 0)
        return nullptr;
    return std::unique_ptr<ServiceProcess>(
        new ServiceProcess(id, descriptorOf(id), std::move(ends->first)));
}

ServiceProcess::ServiceProcess(pid_t id, FileDescriptor process, FileDescriptor socket)
    : mId(id)
    , mProcess(std::move(process))
    , mSocket(std::move(socket))
{
}

ServiceProcess::~ServiceProcess()
{
    kill();
    end();
}

void ServiceProcess::kill()
{
    if (!mEnd)
        ::kill(mId, SIGKILL);
}

std::optional<ServiceEnd> ServiceProcess::end()
{
    int status = 0;
    rusage usage {};
    if (!mEnd && wait4(mId, &status, WNOHANG, &usage) == mId)
        mEnd = { WIFSIGNALED(status) ? WTERMSIG(status) : 0, qint64(usage.ru_maxrss) * 1024 };
    return mEnd;
}

} // namespace quorvane
