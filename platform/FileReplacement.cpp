// SPDX-License-Identifier: GPL-3.0-or-later
// Replacing and renaming of files by the kernel's atomic calls.
#include "platform/FileReplacement.h"

#include "platform/FileDescriptor.h"

#include <QFile>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <optional>

namespace quorvane {

namespace {

constexpr int kMaxLinks = 40; ///< As many as the kernel follows.

/// \param reason  an errno value; taken by the caller before anything else can change it.
tl::unexpected<Error> notWritable(const QByteArray& path, int reason)
{
    return fail(ErrorKind::NotWritable,
        QStringLiteral("%1: %2").arg(QFile::decodeName(path), qt_error_string(reason)));
}

std::optional<QByteArray> readLink(const QByteArray& path)
{
    std::array<char, PATH_MAX> target {};
    const ssize_t length = readlink(path.constData(), target.data(), target.size());
    if (length < 0)
        return {};
    return QByteArray(target.data(), length);
}

bool isFolder(const QByteArray& path)
{
    struct stat status { };
    return stat(path.constData(), &status) == 0 && S_ISDIR(status.st_mode);
}

/// \return an errno value, 0 if all went well.
int writeAll(int descriptor, const QByteArray& contents)
{
    qsizetype written = 0;
    while (written < contents.size()) {
        const ssize_t count = write(descriptor, contents.constData() + written,
            static_cast<size_t>(contents.size() - written));
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return count < 0 ? errno : EIO;
        written += count;
    }
    return 0;
}

/// A new file at `path` with `contents`, safely on the disk. \return an errno value or 0.
int writeNewFile(const QByteArray& path, const QByteArray& contents, mode_t mode)
{
    const FileDescriptor file(
        open(path.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (file.get() < 0)
        return errno;
    if (fchmod(file.get(), mode) != 0)
        return errno;
    if (const int reason = writeAll(file.get(), contents))
        return reason;
    return fsync(file.get()) == 0 ? 0 : errno;
}

/// Brings a rename in `folder` to the disk. Some file systems cannot: the file is whole all the
/// same.
void syncFolder(const QByteArray& folder)
{
    const FileDescriptor descriptor(open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (descriptor.get() >= 0)
        fsync(descriptor.get());
}

/// The errno value of a rename that does not replace, 0 if it was done.
int renameNoReplace(const QByteArray& from, const QByteArray& to)
{
    if (renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE) == 0)
        return 0;
    if (errno != EINVAL && errno != ENOSYS)
        return errno;
    // A network file system that has no such rename: a second name is never put over a file either.
    if (link(from.constData(), to.constData()) != 0)
        return errno;
    return unlink(from.constData()) == 0 ? 0 : errno;
}

} // namespace

QByteArray folderOf(const QByteArray& path)
{
    const qsizetype slash = path.lastIndexOf('/');
    if (slash < 0)
        return QByteArrayLiteral(".");
    return slash == 0 ? QByteArrayLiteral("/") : path.first(slash);
}

Result<QByteArray> endOfLinks(const QByteArray& path)
{
    QByteArray current = path;
    for (int links = 0; links < kMaxLinks; ++links) {
        const auto target = readLink(current);
        if (!target)
            return current;
        current = target->startsWith('/') ? *target : folderOf(current) + '/' + *target;
    }
    return fail(ErrorKind::Other,
        QStringLiteral("%1: %2").arg(QFile::decodeName(path), qt_error_string(ELOOP)));
}

Result<void> makeFolder(const QByteArray& folder)
{
    if (isFolder(folder))
        return {};
    const QByteArray above = folderOf(folder);
    if (above != folder) {
        if (auto made = makeFolder(above); !made)
            return made;
    }
    // Another process may have been quicker: what counts is that it is there.
    if (mkdir(folder.constData(), 0700) != 0) {
        const int reason = errno;
        if (!isFolder(folder))
            return notWritable(folder, reason);
    }
    return {};
}

Result<void> replaceFile(const QByteArray& path, const QByteArray& contents)
{
    struct stat status { };
    const mode_t mode = stat(path.constData(), &status) == 0 ? status.st_mode & 07777 : 0600;

    const QByteArray folder = folderOf(path);
    const QByteArray fresh = folder + "/." + path.sliced(path.lastIndexOf('/') + 1) + ".new";
    unlink(fresh.constData());
    int reason = writeNewFile(fresh, contents, mode);
    if (reason == 0 && rename(fresh.constData(), path.constData()) != 0)
        reason = errno;
    if (reason != 0) {
        unlink(fresh.constData());
        return notWritable(path, reason);
    }
    syncFolder(folder);
    return {};
}

Result<void> renameToFreeName(const QByteArray& from, const QByteArray& to)
{
    const int reason = renameNoReplace(from, to);
    if (reason == EEXIST)
        return fail(ErrorKind::InvalidArgument,
            QStringLiteral("%1: %2").arg(QFile::decodeName(to), qt_error_string(reason)));
    if (reason != 0)
        return notWritable(to, reason);
    return {};
}

} // namespace quorvane
