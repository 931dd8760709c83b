// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/DecoderProcess.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <span>
#include <string>
#include <vector>

namespace quorvane {

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kKeepsErrors = true; // What the sanitizer finds in the decoder is to be read.
#else
constexpr bool kKeepsErrors = false; // Libraries complain there of every second file.
#endif

/// What the decoder is told of the environment: where fonts are, for the text in drawings; and how
/// the sanitizer, if any, is to look at it.
std::vector<std::string> decoderEnvironment()
{
    std::vector<const char*> names { "HOME", "XDG_CACHE_HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME" };
    if (kKeepsErrors)
        names.insert(names.end(), { "ASAN_OPTIONS", "TSAN_OPTIONS", "UBSAN_OPTIONS" });
    std::vector<std::string> environment { "LC_ALL=C.UTF-8" };
    for (const char* const name : names) {
        if (const char* const value = std::getenv(name))
            environment.push_back(std::string(name) + '=' + value);
    }
    return environment;
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
        posix_spawn_file_actions_adddup2(&mActions, socket, kDecoderSocket);
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

    pid_t spawn(const QByteArray& program, DecoderProcess::Kind kind) const
    {
        std::string name = program.toStdString();
        std::string option = kPhotographsOption;
        const bool isForPhotographs = kind == DecoderProcess::Kind::Photographs;
        std::array<char*, 3> arguments { name.data(), isForPhotographs ? option.data() : nullptr,
            nullptr };
        std::vector<std::string> environment = decoderEnvironment();
        std::vector<char*> variables;
        variables.reserve(environment.size() + 1);
        for (std::string& variable : environment)
            variables.push_back(variable.data());
        variables.push_back(nullptr);
        pid_t id = -1;
        const int error = posix_spawn(
            &id, program.constData(), &mActions, &mAttributes, arguments.data(), variables.data());
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

std::unique_ptr<DecoderProcess> DecoderProcess::start(const QByteArray& program, Kind kind)
{
    auto ends = makeMessageSockets();
    if (!ends)
        return nullptr;
    const pid_t id = SpawnSettings(ends->second.get()).spawn(program, kind);
    if (id < 0)
        return nullptr;
    return std::unique_ptr<DecoderProcess>(
        new DecoderProcess(id, descriptorOf(id), std::move(ends->first)));
}

DecoderProcess::DecoderProcess(pid_t id, FileDescriptor process, FileDescriptor socket)
    : mId(id)
    , mProcess(std::move(process))
    , mSocket(std::move(socket))
    , mBuffers(std::make_shared<DecoderBuffers>())
{
}

DecoderProcess::~DecoderProcess()
{
    mBuffers->close();
    kill();
    end();
}

bool DecoderProcess::send(const ToDecoder& message, int file)
{
    return sendMessage(mSocket.get(), std::as_bytes(std::span(&message, 1)), file);
}

Received DecoderProcess::receive(FromDecoder& message)
{
    const Received received
        = receiveMessage(mSocket.get(), std::as_writable_bytes(std::span(&message, 1)));
    message.text.back() = '\0';
    return received;
}

void DecoderProcess::kill()
{
    if (!mEnd)
        ::kill(mId, SIGKILL);
}

std::optional<DecoderEnd> DecoderProcess::end()
{
    int status = 0;
    rusage usage {};
    if (!mEnd && wait4(mId, &status, WNOHANG, &usage) == mId)
        mEnd = { WIFSIGNALED(status) ? WTERMSIG(status) : 0, qint64(usage.ru_maxrss) * 1024 };
    return mEnd;
}

} // namespace quorvane
