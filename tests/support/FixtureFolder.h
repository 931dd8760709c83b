// SPDX-License-Identifier: GPL-3.0-or-later
// A temporary folder for files, links, pipes and sockets whose names are bytes.
#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>

namespace quorvane::tests {

/// Gone with all that is in it when it is destroyed. What cannot be made ends the test program.
class FixtureFolder {
public:
    FixtureFolder()
        : mPath(QFile::encodeName(QDir::tempPath() + QStringLiteral("/fixture-XXXXXX")))
    {
        check(mkdtemp(mPath.data()) != nullptr);
    }

    ~FixtureFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(mPath.toStdString(), ignored);
    }

    FixtureFolder(const FixtureFolder&) = delete;
    FixtureFolder& operator=(const FixtureFolder&) = delete;

    QByteArray path() const { return mPath; }
    QByteArray path(const QByteArray& name) const { return mPath + '/' + name; }

    /// This and the next ones: \return the path of what was made.
    QByteArray write(const QByteArray& name, const QByteArray& bytes = {}) const
    {
        std::FILE* const file = std::fopen(path(name).constData(), "wbe");
        check(file != nullptr);
        const auto size = static_cast<size_t>(bytes.size());
        check(std::fwrite(bytes.constData(), 1, size, file) == size);
        check(std::fclose(file) == 0);
        return path(name);
    }

    QByteArray makeFolder(const QByteArray& name) const
    {
        check(mkdir(path(name).constData(), 0755) == 0);
        return path(name);
    }

    QByteArray makeLink(const QByteArray& name, const QByteArray& target) const
    {
        check(symlink(target.constData(), path(name).constData()) == 0);
        return path(name);
    }

    QByteArray makePipe(const QByteArray& name) const
    {
        check(mkfifo(path(name).constData(), 0644) == 0);
        return path(name);
    }

    QByteArray makeSocket(const QByteArray& name) const
    {
        const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        const QByteArray whole = path(name);
        const auto length = static_cast<size_t>(whole.size());
        check(length < sizeof address.sun_path);
        std::memcpy(address.sun_path, whole.constData(), length);
        check(bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0);
        close(descriptor);
        return whole;
    }

    void remove(const QByteArray& name) const { check(std::remove(path(name).constData()) == 0); }

    void rename(const QByteArray& from, const QByteArray& to) const
    {
        check(std::rename(path(from).constData(), path(to).constData()) == 0);
    }

    /// \param name  empty for the folder itself.
    void setMode(const QByteArray& name, mode_t mode) const
    {
        check(chmod(path(name).constData(), mode) == 0);
    }

private:
    static void check(bool done)
    {
        if (!done)
            qFatal("a test cannot make its files: %s", std::strerror(errno));
    }

    QByteArray mPath;
};

} // namespace quorvane::tests
