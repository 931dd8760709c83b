// SPDX-License-Identifier: GPL-3.0-or-later
// A temporary folder that a test fills with files of any name and kind.
#pragma once

#include "platform/FileURL.h"

#include <QFile>
#include <QTemporaryDir>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

namespace quorvane::tests {

/// Names are bytes, relative to the folder. What cannot be made ends the test program.
class ByteFolder {
public:
    ByteFolder() = default;

    ~ByteFolder()
    {
        // Qt leaves what has names that are no text.
        std::error_code ignored;
        std::filesystem::remove_all(path().toStdString(), ignored);
    }

    ByteFolder(const ByteFolder&) = delete;
    ByteFolder& operator=(const ByteFolder&) = delete;

    QByteArray path() const { return QFile::encodeName(mFolder.path()); }
    QByteArray path(const QByteArray& name) const { return path() + '/' + name; }
    FileURL url(const QByteArray& name) const { return FileURL(path(name)); }

    /// With all folders that it lies in. \return the path.
    QByteArray folder(const QByteArray& name) const
    {
        for (auto slash = name.indexOf('/'); slash >= 0; slash = name.indexOf('/', slash + 1))
            mkdir(path(name.left(slash)).constData(), 0755);
        mkdir(path(name).constData(), 0755);
        check(access(path(name).constData(), F_OK) == 0);
        return path(name);
    }

    /// In a folder that is made where it is missing. \return the path.
    QByteArray file(const QByteArray& name, const QByteArray& contents = {}) const
    {
        if (const auto slash = name.lastIndexOf('/'); slash > 0)
            folder(name.left(slash));
        const int file
            = open(path(name).constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        check(file >= 0);
        check(write(file, contents.constData(), static_cast<size_t>(contents.size()))
            == contents.size());
        close(file);
        return path(name);
    }

    QByteArray link(const QByteArray& target, const QByteArray& name) const
    {
        check(symlink(target.constData(), path(name).constData()) == 0);
        return path(name);
    }

    QByteArray pipe(const QByteArray& name) const
    {
        check(mkfifo(path(name).constData(), 0644) == 0);
        return path(name);
    }

    QByteArray socket(const QByteArray& name) const
    {
        // An address is short, a path need not be.
        const QByteArray here = path();
        const int before = open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        check(before >= 0 && chdir(here.constData()) == 0);
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        check(name.size() < static_cast<qsizetype>(sizeof(address.sun_path)));
        std::memcpy(address.sun_path, name.constData(), static_cast<size_t>(name.size()));
        const int bound = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        void* const anyAddress = &address;
        check(bind(bound, static_cast<const sockaddr*>(anyAddress), sizeof(address)) == 0);
        close(bound);
        check(fchdir(before) == 0);
        close(before);
        return path(name);
    }

    /// Last change of a file's contents, in nanoseconds since 1970.
    void setModified(const QByteArray& name, qint64 nanoseconds) const
    {
        constexpr qint64 kSecond = 1'000'000'000;
        const timespec time { nanoseconds / kSecond, nanoseconds % kSecond };
        const timespec times[] = { time, time };
        check(utimensat(AT_FDCWD, path(name).constData(), times, 0) == 0);
    }

    void remove(const QByteArray& name) const { check(unlink(path(name).constData()) == 0); }

private:
    static void check(bool made)
    {
        if (!made)
            qFatal("the test cannot make its file: %s", std::strerror(errno));
    }

    QTemporaryDir mFolder;
};

} // namespace quorvane::tests
