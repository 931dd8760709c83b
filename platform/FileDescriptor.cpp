// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/FileDescriptor.h"

#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace quorvane {

namespace {

/// \return `kind` with the kernel's words for what just failed.
tl::unexpected<Error> failWithErrno(ErrorKind kind)
{
    return fail(kind, QString::fromLocal8Bit(std::strerror(errno)));
}

Result<FileDescriptor> openResource(const QByteArray& path)
{
    QFile resource(QString::fromUtf8(path));
    if (QFileInfo(resource).isDir()) // Which Qt would open as an empty file.
        return fail(ErrorKind::Unsupported, QStringLiteral("not a regular file"));
    if (!resource.open(QIODevice::ReadOnly))
        return fail(ErrorKind::NotFound, resource.errorString());
    const QByteArray bytes = resource.readAll();
    FileDescriptor memory(memfd_create("quorvane-resource", MFD_CLOEXEC));
    if (memory.get() < 0
        || write(memory.get(), bytes.constData(), static_cast<size_t>(bytes.size()))
            != bytes.size())
        return failWithErrno(ErrorKind::Other);
    return memory;
}

bool isRegular(const struct stat& status) { return S_ISREG(status.st_mode); }

} // namespace

FileDescriptor::FileDescriptor(FileDescriptor&& other) noexcept
    : mDescriptor(std::exchange(other.mDescriptor, -1))
{
}

FileDescriptor& FileDescriptor::operator=(FileDescriptor&& other) noexcept
{
    std::swap(mDescriptor, other.mDescriptor);
    return *this;
}

FileDescriptor::~FileDescriptor()
{
    if (mDescriptor >= 0)
        close(mDescriptor);
}

Result<FileDescriptor> openForReading(const FileURL& url)
{
    const QByteArray& path = url.path();
    if (path.startsWith(":/"))
        return openResource(path);

    struct stat status = {};
    if (stat(path.constData(), &status) != 0)
        return failWithErrno(errno == EACCES ? ErrorKind::NotReadable : ErrorKind::NotFound);
    if (!isRegular(status))
        return fail(ErrorKind::Unsupported, QStringLiteral("not a regular file"));
    // Without blocking, and asked again: the file may have been replaced by a pipe in between.
    FileDescriptor file(open(path.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    if (file.get() < 0)
        return failWithErrno(errno == ENOENT ? ErrorKind::NotFound : ErrorKind::NotReadable);
    if (fstat(file.get(), &status) != 0 || !isRegular(status))
        return fail(ErrorKind::Unsupported, QStringLiteral("not a regular file"));
    return file;
}

Result<QByteArray> readAll(const FileDescriptor& file, qint64 limit)
{
    struct stat status = {};
    if (fstat(file.get(), &status) != 0)
        return failWithErrno(ErrorKind::NotReadable);
    if (status.st_size > limit)
        return fail(ErrorKind::TooLarge, QStringLiteral("%1 bytes").arg(status.st_size));

    QByteArray bytes(static_cast<qsizetype>(status.st_size), Qt::Uninitialized);
    qsizetype filled = 0;
    while (filled < bytes.size()) {
        const ssize_t got = pread(
            file.get(), bytes.data() + filled, static_cast<size_t>(bytes.size() - filled), filled);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return failWithErrno(ErrorKind::NotReadable);
        if (got == 0)
            break; // Cut short meanwhile: what is there is what there is.
        filled += got;
    }
    bytes.truncate(filled);
    return bytes;
}

} // namespace quorvane
