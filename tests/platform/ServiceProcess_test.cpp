// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/ServiceProcess.h"
#include "support/EventWaiting.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <array>

namespace quorvane {
namespace {

using tests::waitUntil;

std::unique_ptr<ServiceProcess> startShell(const char* script)
{
    return ServiceProcess::start({ "/bin/sh", { "-c", script }, { "WORD=hello" } });
}

/// The first bytes that it writes to its socket.
QByteArray answerOf(ServiceProcess& process)
{
    std::array<char, 6> answer {};
    EXPECT_TRUE(waitUntil([&] { return process.receive(answer) == Received::Message; }));
    return QByteArray(answer.data(), answer.size());
}

TEST(ServiceProcess, HasItsSocketAndItsEnvironment)
{
    const auto process = startShell("echo $WORD >&3; read line <&3");
    ASSERT_TRUE(process);

    EXPECT_EQ(answerOf(*process), "hello\n");
}

TEST(ServiceProcess, TellsHowItEnded)
{
    const auto ended = startShell("exit 3");
    const auto killed = startShell("kill -KILL $$");

    ASSERT_TRUE(waitUntil([&] { return ended->end() && killed->end(); }));

    EXPECT_EQ(ended->end()->signal, 0);
    EXPECT_EQ(killed->end()->signal, SIGKILL);
    EXPECT_GT(ended->end()->mostMemory, 0);
}

TEST(ServiceProcess, HearsThatItsSocketIsClosed)
{
    const auto process = startShell("read line <&3; exit 0");

    process->closeSocket();

    EXPECT_TRUE(waitUntil([&] { return process->end().has_value(); }));
    EXPECT_EQ(process->socket(), -1);
}

TEST(ServiceProcess, IsHeardToItsLastWord)
{
    const auto process = startShell("echo word1 >&3; exit 0");
    process->send('x'); // Which it does not read.
    ASSERT_TRUE(waitUntil([&] { return process->end().has_value(); }));

    EXPECT_EQ(answerOf(*process), "word1\n");
}

TEST(ServiceProcess, GetsNoDescriptorThatWasOpenedByOthers)
{
    const FileDescriptor careless(open("/dev/null", O_RDONLY)); // NOLINT: not closed by exec().
    const QByteArray script = "test -e /proc/self/fd/" + QByteArray::number(careless.get())
        + " && echo there >&3;" + "echo gone. >&3; read line <&3";

    const auto process = startShell(script.constData());

    EXPECT_EQ(answerOf(*process), "gone.\n");
}

TEST(ServiceProcess, IsNotThereWithoutAProgram)
{
    EXPECT_EQ(ServiceProcess::start({ "/nonexistent/program", {}, {} }), nullptr);
}

} // namespace
} // namespace quorvane
