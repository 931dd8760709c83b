// SPDX-License-Identifier: GPL-3.0-or-later
// Advisory locks of whole files.
#include "platform/FileLock.h"

#include <QFile>

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>
#include <utility>

namespace quorvane {

FileLock::FileLock(FileDescriptor file)
    : mFile(std::move(file))
{
}

Result<FileLock> FileLock::take(const QByteArray& path, Patience patience)
{
    const auto failure = [&path](int reason) {
        return fail(ErrorKind::NotWritable,
            QStringLiteral("%1: %2").arg(QFile::decodeName(path), qt_error_string(reason)));
    };
    // Without blocking: a pipe of that name must not hold us up.
    FileDescriptor file(open(
        path.constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY, 0600));
    if (file.get() < 0)
        return failure(errno);
    const int operation = patience == Patience::Wait ? LOCK_EX : LOCK_EX | LOCK_NB;
    while (flock(file.get(), operation) != 0) {
        if (errno == EWOULDBLOCK)
            return failure(errno);
        if (errno != EINTR)
            break; // A file system without locks: better to go on alone than to lose a setting.
    }
    return FileLock(std::move(file));
}

} // namespace quorvane
