// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/FileStatus.h"

#include <sys/stat.h>

#include <cstdlib>
#include <memory>

namespace quorvane {

namespace {

FileKind kindOf(mode_t mode)
{
    if (S_ISREG(mode))
        return FileKind::Regular;
    if (S_ISDIR(mode))
        return FileKind::Folder;
    return S_ISLNK(mode) ? FileKind::Link : FileKind::Special;
}

FileStatus statusFrom(const struct stat& status)
{
    const auto modified = std::chrono::seconds(status.st_mtim.tv_sec)
        + std::chrono::nanoseconds(status.st_mtim.tv_nsec);
    return { kindOf(status.st_mode), FileTime(modified), status.st_size };
}

} // namespace

std::optional<FileStatus> fileStatus(const QByteArray& path)
{
    struct stat status = {};
    if (stat(path.constData(), &status) != 0)
        return {};
    return statusFrom(status);
}

std::optional<FileStatus> linkStatus(const QByteArray& path)
{
    struct stat status = {};
    if (lstat(path.constData(), &status) != 0)
        return {};
    return statusFrom(status);
}

QByteArray resolvingLinks(const QByteArray& path)
{
    const std::unique_ptr<char, decltype(&std::free)> resolved(
        realpath(path.constData(), nullptr), &std::free);
    return resolved ? QByteArray(resolved.get()) : path;
}

} // namespace quorvane
