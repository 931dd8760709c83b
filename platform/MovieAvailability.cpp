// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/MovieAvailability.h"

#include "platform/PlayerProtocol.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

namespace quorvane {

namespace {

QString named(const QByteArray& program, const char* what)
{
    return QString::fromLocal8Bit(program) + QStringLiteral(": ") + QString::fromLocal8Bit(what);
}

/// Where the loader finds no library, it says so on standard error, which the log is, too.
bool checks(const QByteArray& program)
{
    std::string name = program.toStdString();
    std::string option = kCheckOption;
    char* const arguments[] = { name.data(), option.data(), nullptr };
    pid_t id = -1;
    if (posix_spawn(&id, program.constData(), nullptr, nullptr, arguments, environ) != 0)
        return false;
    int status = -1;
    while (waitpid(id, &status, 0) < 0 && errno == EINTR) { }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

} // namespace

std::optional<QString> reasonAgainstMovies(const QByteArray& program, const QByteArray& library)
{
    if (access(program.constData(), X_OK) != 0)
        return named(program, std::strerror(errno));
    if (access(library.constData(), R_OK) == 0 || checks(program))
        return {};
    return named(program, "its library is missing, or too old");
}

} // namespace quorvane
