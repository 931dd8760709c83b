// SPDX-License-Identifier: GPL-3.0-or-later
// A program started by a test, with its output in files, that never outlives the test.
#pragma once

#include <QByteArray>

#include <sys/types.h>

#include <chrono>
#include <csignal>
#include <optional>
#include <vector>

namespace quorvane::show {

/// How a process ended.
struct ExitStatus {
    int code = -1; ///< What it returned, 0 to 255; -1 when a signal ended it.
    int signal = 0; ///< The signal that ended it; 0 when it returned.

    bool operator==(const ExitStatus&) const = default;
};

/// What to start, and how.
struct StartPlan {
    std::vector<QByteArray>
        command; ///< Program (looked up in PATH) and arguments, bytes as they are.
    std::vector<QByteArray> environment; ///< The whole environment, "NAME=value" each.
    QByteArray outputFile; ///< Standard output goes here, truncated first.
    QByteArray errorFile; ///< Standard error goes here, truncated first.
    int signalWhenOrphaned = SIGKILL; ///< Sent by the kernel when the test dies before the program.
};

/// One running program. Thread: any one; the kernel ties the program's life to the thread that
/// made the object.
class ChildProcess {
public:
    explicit ChildProcess(const StartPlan& plan);
    ~ChildProcess(); ///< As end().
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t pid() const { return mPid; }

    /// Nothing while it runs. A program that could not be started has the code 127.
    std::optional<ExitStatus> exitStatus();

    /// Sends `signal`, unless the program has ended.
    void kill(int signal);

    /// Asks with SIGTERM, waits up to `grace`, then kills. Returns when the program is gone.
    void end(std::chrono::milliseconds grace = std::chrono::seconds(3));

private:
    pid_t mPid = -1;
    std::optional<ExitStatus> mExitStatus;
};

/// For failure messages: "exit status 2", "signal 11".
void PrintTo(const ExitStatus& status, std::ostream* out);

} // namespace quorvane::show
