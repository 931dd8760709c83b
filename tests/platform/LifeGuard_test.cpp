// SPDX-License-Identifier: GPL-3.0-or-later
// Blocks that outlive the object they belong to.
#include "platform/LifeGuard.h"
#include "platform/MainQueue.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace quorvane {

namespace {

TEST(LifeGuard, RunsTheBlockWhileItLives)
{
    const LifeGuard guard;
    int runs = 0;
    auto block = guard.wrap([&runs] { ++runs; });

    block();
    block();

    EXPECT_EQ(runs, 2);
}

TEST(LifeGuard, HandsArgumentsOn)
{
    const LifeGuard guard;
    std::string text;
    std::unique_ptr<int> taken;
    auto block = guard.wrap([&](std::string& out, std::unique_ptr<int> owned) {
        out = "changed";
        taken = std::move(owned);
    });

    block(text, std::make_unique<int>(7));

    EXPECT_EQ(text, "changed");
    ASSERT_TRUE(taken);
    EXPECT_EQ(*taken, 7);
}

TEST(LifeGuard, SilencesTheBlockAfterItsEnd)
{
    int runs = 0;
    std::optional<LifeGuard> guard(std::in_place);
    std::function<void()> block = guard->wrap([&runs] { ++runs; });
    std::function<void()> copy = block;

    guard.reset();
    block();
    copy();

    EXPECT_EQ(runs, 0);
}

TEST(LifeGuard, SilencesAllItsBlocksAndNoOthers)
{
    int mine = 0;
    int others = 0;
    const LifeGuard other;
    std::optional<LifeGuard> guard(std::in_place);
    auto first = guard->wrap([&mine] { ++mine; });
    auto second = guard->wrap([&mine] { ++mine; });
    auto third = other.wrap([&others] { ++others; });

    guard.reset();
    first();
    second();
    third();

    EXPECT_EQ(mine, 0);
    EXPECT_EQ(others, 1);
}

TEST(LifeGuard, MayEndWithinItsBlock)
{
    int runs = 0;
    std::optional<LifeGuard> guard(std::in_place);
    auto block = guard->wrap([&] {
        guard.reset();
        ++runs;
    });

    block();
    block();

    EXPECT_EQ(runs, 1);
}

TEST(LifeGuard, StopsABlockThatIsOnItsWayToTheMainThread)
{
    int runs = 0;
    std::optional<LifeGuard> guard(std::in_place);
    MainQueue::async(guard->wrap([&runs] { ++runs; }));

    guard.reset();
    MainQueue::drain();

    EXPECT_EQ(runs, 0);
}

} // namespace

} // namespace quorvane
