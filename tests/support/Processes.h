// SPDX-License-Identifier: GPL-3.0-or-later
// Looks at processes through the kernel's folder of them.
#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>

#include <sys/types.h>
#include <unistd.h>

#include <vector>

namespace quorvane::tests {

/// What the kernel says of a process; empty when it is gone.
inline QByteArray statusOf(pid_t process)
{
    QFile file(QStringLiteral("/proc/%1/status").arg(process));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Whether it runs; one that has ended and that nobody has asked about does not.
inline bool isRunning(pid_t process)
{
    const QByteArray status = statusOf(process);
    return !status.isEmpty() && !status.contains("State:\tZ");
}

/// The processes that one has started and that run. \param program  those of this name only.
inline std::vector<pid_t> childProcesses(pid_t of = getpid(), const QByteArray& program = {})
{
    constexpr int kLongestName = 15; // The kernel cuts them.
    const QByteArray name = "Name:\t" + program.left(kLongestName);
    const QByteArray parent = "\nPPid:\t" + QByteArray::number(of) + '\n';
    std::vector<pid_t> children;
    for (const QString& entry : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
        const pid_t process = entry.toInt();
        const QByteArray status = process > 0 ? statusOf(process) : QByteArray();
        if (status.contains(parent) && status.startsWith(name) && isRunning(process))
            children.push_back(process);
    }
    return children;
}

} // namespace quorvane::tests
