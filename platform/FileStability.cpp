// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/FileStability.h"

#include "platform/FileDescriptor.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <csignal>

namespace quorvane {

namespace {

constexpr std::chrono::seconds kQuiet { 1 };

/// A file that makes sense and was not touched for this long is shown, though some program keeps
/// it open as if to write: editors do.
constexpr std::chrono::seconds kLeftOpen { 5 };

std::optional<FileVersion> versionFrom(bool isKnown, const struct stat& status)
{
    if (!isKnown)
        return {};
    const auto modified = std::chrono::seconds(status.st_mtim.tv_sec)
        + std::chrono::nanoseconds(status.st_mtim.tv_nsec);
    return FileVersion { status.st_dev, status.st_ino, status.st_size, FileTime(modified) };
}

/// Later than it was `span` ago, and not after now.
bool isWithin(FileTime moment, std::chrono::seconds span, FileTime now)
{
    const auto age = now - moment;
    return age < span && age > -span;
}

} // namespace

Writers writersOf(const FileDescriptor& file)
{
    // The kernel grants this lease exactly while nobody has the file open for writing. Somebody
    // who opens it during these microseconds waits for them, and we are told by a signal that does
    // nothing instead of the usual one, which would end the program.
    if (fcntl(file.get(), F_SETSIG, SIGURG) != 0)
        return Writers::Unknown;
    if (fcntl(file.get(), F_SETLEASE, F_RDLCK) == 0) {
        fcntl(file.get(), F_SETLEASE, F_UNLCK);
        return Writers::None;
    }
    return errno == EAGAIN ? Writers::Some : Writers::Unknown;
}

std::optional<FileVersion> versionOf(const FileDescriptor& file)
{
    struct stat status = {};
    return versionFrom(fstat(file.get(), &status) == 0, status);
}

std::optional<FileVersion> versionOf(const QByteArray& path)
{
    struct stat status = {};
    return versionFrom(stat(path.constData(), &status) == 0, status);
}

bool isQuiet(const FileVersion& version, FileTime now)
{
    return !isWithin(version.modified, kQuiet, now);
}

bool isAtRest(const FileDescriptor& file, const FileVersion& version, FileTime now)
{
    return !isWithin(version.modified, kLeftOpen, now) && writersOf(file) != Writers::Some;
}

bool mayBeIncomplete(const FileDescriptor& file, const FileVersion& before, const QByteArray& path,
    bool wasRead, FileTime now)
{
    const auto after = versionOf(path);
    if (!after)
        return false; // It is gone: there is nothing to wait for.
    if (!(*after == before))
        return true;
    const Writers writers = writersOf(file);
    if (!wasRead)
        return writers == Writers::Some || !isQuiet(before, now);
    switch (writers) {
    case Writers::None:
        return false;
    case Writers::Some:
        return isWithin(before.modified, kLeftOpen, now);
    case Writers::Unknown:
        break;
    }
    return !isQuiet(before, now);
}

} // namespace quorvane
