// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/SharedBuffers.h"

#include <gtest/gtest.h>

namespace quorvane {

namespace {

constexpr size_t kMegabyte = size_t(1) << 20;

struct SharedBuffersTest : testing::Test {
    std::shared_ptr<SharedBuffers> buffers = std::make_shared<SharedBuffers>();

    SharedBuffers::Lease take(size_t size, bool isNewExpected)
    {
        bool isNew = !isNewExpected;
        auto lease = buffers->take(size, isNew);
        EXPECT_EQ(isNew, isNewExpected);
        return lease;
    }
    std::uint64_t numberOf(size_t size, bool isNewExpected)
    {
        return take(size, isNewExpected)->number;
    }
};

TEST_F(SharedBuffersTest, GiveEnough)
{
    for (const size_t size : { size_t(0), size_t(1), size_t(70'000), 3 * kMegabyte + 1 }) {
        bool isNew = false;
        EXPECT_GE(buffers->take(size, isNew)->memory->size(), size) << size;
    }
}

TEST_F(SharedBuffersTest, GiveTheSameMemoryAgain)
{
    const auto first = numberOf(3 * kMegabyte, true);

    EXPECT_EQ(numberOf(3 * kMegabyte, false), first);
    EXPECT_EQ(numberOf(2 * kMegabyte + 1, false), first) << "a size that is nearly the same";
}

TEST_F(SharedBuffersTest, GiveNobodyWhatSomebodyUses)
{
    const auto used = take(kMegabyte, true);

    EXPECT_NE(numberOf(kMegabyte, true), used->number);
}

TEST_F(SharedBuffersTest, DoNotWasteALargePieceOnASmallPicture)
{
    numberOf(8 * kMegabyte, true);

    numberOf(kMegabyte, true);
}

TEST_F(SharedBuffersTest, NameEachPieceDifferently)
{
    const auto a = take(1, true);
    const auto b = take(1, true);

    EXPECT_NE(a->number, b->number);
}

TEST_F(SharedBuffersTest, ForgetTheOldestBeyondAHundredMegabytesOrSo)
{
    auto a = take(60 * kMegabyte, true);
    auto b = take(60 * kMegabyte, true);
    auto c = take(60 * kMegabyte, true);
    const auto oldest = a->number;
    a.reset();
    b.reset();
    EXPECT_TRUE(buffers->takeForgotten().empty());

    c.reset();

    EXPECT_EQ(buffers->takeForgotten(), std::vector { oldest });
    EXPECT_TRUE(buffers->takeForgotten().empty()) << "told twice";
}

TEST_F(SharedBuffersTest, AreGivenToNobodyOnceTheDecoderIsGone)
{
    auto used = take(kMegabyte, true);
    numberOf(5 * kMegabyte, true);

    buffers->close();
    used.reset();

    numberOf(kMegabyte, true);
    numberOf(5 * kMegabyte, true);
}

TEST_F(SharedBuffersTest, LiveAsLongAsAPictureUsesThem)
{
    const auto used = take(kMegabyte, true);

    buffers = nullptr;

    EXPECT_EQ(used->memory->data()[kMegabyte - 1], std::byte(0));
}

} // namespace

} // namespace quorvane
