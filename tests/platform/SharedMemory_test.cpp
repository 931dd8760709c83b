// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/SharedMemory.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <limits>

namespace quorvane {

namespace {

TEST(SharedMemory, IsZeroAtFirst)
{
    const auto memory = SharedMemory::create(5000);

    ASSERT_TRUE(memory);
    ASSERT_EQ(memory->size(), 5000U);
    EXPECT_TRUE(std::all_of(memory->data(), memory->data() + 5000,
        [](std::byte byte) { return byte == std::byte(0); }));
}

TEST(SharedMemory, ShowsWhatIsWrittenThroughTheDescriptor)
{
    const auto memory = SharedMemory::create(5000);

    ASSERT_EQ(pwrite(memory->descriptor(), "xyz", 3, 4000), 3);

    EXPECT_EQ(memory->data()[4001], std::byte('y'));
}

TEST(SharedMemory, CanBeCutShortOrGrownByNobody)
{
    const auto memory = SharedMemory::create(5000);

    EXPECT_NE(ftruncate(memory->descriptor(), 4000), 0);
    EXPECT_NE(ftruncate(memory->descriptor(), 6000), 0);
    EXPECT_NE(fcntl(memory->descriptor(), F_ADD_SEALS, F_SEAL_WRITE), 0) << "more seals";
}

TEST(SharedMemory, IsNoneWhereThereIsNotEnough)
{
    EXPECT_FALSE(SharedMemory::create(std::numeric_limits<size_t>::max() / 4));
}

} // namespace

} // namespace quorvane
