// SPDX-License-Identifier: GPL-3.0-or-later
// Starts, watches and ends one program.
#include "ChildProcess.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <ostream>
#include <thread>

namespace quorvane::show {

namespace {

constexpr int kCannotStart = 127; // What a shell says, too.

std::vector<char*> pointersTo(std::vector<QByteArray>& texts)
{
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (QByteArray& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

bool sendTo(const QByteArray& file, int descriptor)
{
    const int opened = open(file.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND, 0600);
    return opened >= 0 && dup2(opened, descriptor) >= 0 && close(opened) == 0;
}

/// The child's part. Only calls that are safe between fork and exec.
[[noreturn]] void becomeProgram(const StartPlan& plan, const std::vector<char*>& arguments,
    const std::vector<char*>& environment, pid_t parent)
{
    prctl(PR_SET_PDEATHSIG, plan.signalWhenOrphaned);
    // Another parent: the test died before the line above.
    if (getppid() == parent && sendTo(plan.outputFile, STDOUT_FILENO)
        && sendTo(plan.errorFile, STDERR_FILENO)) {
        execvpe(arguments.front(), arguments.data(), environment.data());
    }
    _exit(kCannotStart);
}

} // namespace

ChildProcess::ChildProcess(const StartPlan& plan)
{
    std::vector<QByteArray> command = plan.command;
    std::vector<QByteArray> environment = plan.environment;
    const std::vector<char*> arguments = pointersTo(command);
    const std::vector<char*> variables = pointersTo(environment);
    const pid_t parent = getpid();
    mPid = fork();
    if (mPid == 0)
        becomeProgram(plan, arguments, variables, parent);
    if (mPid < 0)
        mExitStatus = ExitStatus { kCannotStart, 0 };
}

ChildProcess::~ChildProcess() { end(); }

std::optional<ExitStatus> ChildProcess::exitStatus()
{
    int status = 0;
    if (!mExitStatus && waitpid(mPid, &status, WNOHANG) == mPid) {
        mExitStatus = WIFSIGNALED(status) ? ExitStatus { -1, WTERMSIG(status) }
                                          : ExitStatus { WEXITSTATUS(status), 0 };
    }
    return mExitStatus;
}

void ChildProcess::kill(int signal)
{
    if (!exitStatus())
        ::kill(mPid, signal);
}

void ChildProcess::end(std::chrono::milliseconds grace)
{
    const auto limit = std::chrono::steady_clock::now() + grace;
    kill(SIGTERM);
    while (!exitStatus()) {
        if (std::chrono::steady_clock::now() > limit)
            kill(SIGKILL);
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
}

void PrintTo(const ExitStatus& status, std::ostream* out)
{
    if (status.signal != 0)
        *out << "signal " << status.signal;
    else
        *out << "exit status " << status.code;
}

} // namespace quorvane::show
