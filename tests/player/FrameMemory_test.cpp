// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/SharedMemory.h"
#include "player/FrameMemory.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <memory>

namespace quorvane {
namespace {

constexpr std::size_t kSize = 8192;

struct FrameMemoryTest : testing::Test {
    bool lend(std::uint64_t loan, std::uint64_t buffer, bool isNew)
    {
        const ToPlayer message {
            .kind = ToPlayer::Kind::Lend, .loan = loan, .buffer = buffer, .bufferSize = kSize
        };
        FileDescriptor file;
        if (isNew)
            file = FileDescriptor(fcntl(shared->descriptor(), F_DUPFD_CLOEXEC, 0));
        return memory.lend(message, file);
    }

    std::unique_ptr<SharedMemory> shared = SharedMemory::create(kSize);
    FrameMemory memory;
};

TEST_F(FrameMemoryTest, IsWhereTheViewerSeesIt)
{
    EXPECT_EQ(memory.place(1), nullptr) << "Nothing is lent";

    ASSERT_TRUE(lend(1, 5, true));

    std::byte* const place = memory.place(kSize);
    ASSERT_NE(place, nullptr);
    place[kSize - 1] = std::byte(9);
    EXPECT_EQ(shared->data()[kSize - 1], std::byte(9));
    EXPECT_EQ(memory.place(kSize + 1), nullptr) << "That is too much";
}

TEST_F(FrameMemoryTest, IsNoLongerOursOnceItWasGivenBack)
{
    ASSERT_TRUE(lend(3, 5, true));

    EXPECT_EQ(memory.giveBack(), 3U);

    EXPECT_EQ(memory.place(1), nullptr);
    ASSERT_TRUE(lend(4, 5, false));
    EXPECT_NE(memory.place(kSize), nullptr);
    EXPECT_EQ(memory.giveBack(), 4U);
}

TEST_F(FrameMemoryTest, IsNotThereOnceItWasForgotten)
{
    ASSERT_TRUE(lend(1, 5, true));

    memory.forget(5);
    memory.forget(6);

    EXPECT_EQ(memory.place(1), nullptr);
    EXPECT_FALSE(lend(2, 5, false));
}

} // namespace
} // namespace quorvane
