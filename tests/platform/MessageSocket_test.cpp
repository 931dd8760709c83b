// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/MessageSocket.h"
#include "support/FixtureFolder.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <array>

namespace quorvane {

namespace {

using Bytes = std::array<char, 4>;

struct MessageSocketTest : testing::Test {
    tests::FixtureFolder folder;
    std::pair<FileDescriptor, FileDescriptor> ends = std::move(*makeMessageSockets());
    Bytes received {};

    bool send(const std::string& text, int file = -1)
    {
        return sendMessage(ends.first.get(), std::as_bytes(std::span(text)), file);
    }
    Received receive()
    {
        return receiveMessage(ends.second.get(), std::as_writable_bytes(std::span(received)));
    }
    Received await(FileDescriptor& file)
    {
        return awaitMessage(ends.second.get(), std::as_writable_bytes(std::span(received)), file);
    }
};

TEST_F(MessageSocketTest, KeepsMessagesApart)
{
    EXPECT_TRUE(send("abcd"));
    EXPECT_TRUE(send("efgh"));

    EXPECT_EQ(receive(), Received::Message);
    EXPECT_EQ(received, (Bytes { 'a', 'b', 'c', 'd' }));
    EXPECT_EQ(receive(), Received::Message);
    EXPECT_EQ(received, (Bytes { 'e', 'f', 'g', 'h' }));
    EXPECT_EQ(receive(), Received::Nothing);
}

TEST_F(MessageSocketTest, TakesNoMessageOfAnotherSize)
{
    send("abc");
    send("abcde");

    EXPECT_EQ(receive(), Received::Nonsense);
    EXPECT_EQ(receive(), Received::Nonsense);
    EXPECT_EQ(receive(), Received::Nothing);
}

TEST_F(MessageSocketTest, TellsThatTheOtherEndIsGone)
{
    send("abcd");
    ends.first = {};

    EXPECT_EQ(receive(), Received::Message);
    EXPECT_EQ(receive(), Received::End);
}

TEST_F(MessageSocketTest, SendsNothingToNobodyAndLives)
{
    ends.second = {};

    EXPECT_FALSE(send("abcd"));
}

TEST_F(MessageSocketTest, DoesNotWaitForWhoDoesNotKeepUp)
{
    int sent = 0;
    while (sent < 1'000'000 && send("abcd"))
        ++sent;

    EXPECT_GT(sent, 0);
    EXPECT_LT(sent, 1'000'000);
}

TEST_F(MessageSocketTest, CarriesAnOpenFile)
{
    const FileDescriptor sent = std::move(*openForReading(FileURL(folder.write("a", "contents"))));
    send("abcd", sent.get());

    FileDescriptor file;
    EXPECT_EQ(await(file), Received::Message);
    EXPECT_EQ(readAll(file, 100).value_or(QByteArray()), "contents");
    EXPECT_TRUE(fcntl(file.get(), F_GETFD) & FD_CLOEXEC) << "no other program is to inherit it";
}

TEST_F(MessageSocketTest, CarriesNoFileUnlessThereIsOne)
{
    send("abcd");

    FileDescriptor file;
    EXPECT_EQ(await(file), Received::Message);
    EXPECT_LT(file.get(), 0);
}

TEST_F(MessageSocketTest, ClosesAFileThatNobodyAskedFor)
{
    const FileDescriptor sent = std::move(*openForReading(FileURL(folder.write("a", "contents"))));
    send("abcd", sent.get());
    const int nextBefore = FileDescriptor(fcntl(sent.get(), F_DUPFD, 0)).get();

    EXPECT_EQ(receive(), Received::Message);

    EXPECT_EQ(FileDescriptor(fcntl(sent.get(), F_DUPFD, 0)).get(), nextBefore);
}

} // namespace

} // namespace quorvane
