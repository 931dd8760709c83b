// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/DispatchQueue.h"
#include "platform/MainQueue.h"
#include "platform/SessionBus.h"
#include "support/PrivateBus.h"

#include <QFileInfo>

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace quorvane {
namespace {

using tests::NoBus;
using tests::PrivateBus;

/// What reach() said, in order.
struct Answers {
    std::vector<bool> heard;

    std::function<void(bool)> next()
    {
        return [this](bool isThere) { heard.push_back(isThere); };
    }
    testing::AssertionResult come(size_t count)
    {
        return tests::waitUntil([&] { return heard.size() >= count; });
    }
};

void finishWhatHasBegun()
{
    DispatchQueue::global().drain();
    MainQueue::drain();
}

TEST(SessionBus, IsReachedByAllSharesOverOneConnection)
{
    const PrivateBus bus;
    SessionBus one;
    SessionBus other;
    Answers answers;

    one.reach(answers.next());
    other.reach(answers.next());
    ASSERT_TRUE(answers.come(2));
    const QString name = SessionBus::connection().baseService();
    other.reach(answers.next());
    ASSERT_TRUE(answers.come(3));

    EXPECT_EQ(answers.heard, (std::vector { true, true, true }));
    EXPECT_FALSE(name.isEmpty());
    EXPECT_EQ(SessionBus::connection().baseService(), name);
}

TEST(SessionBus, NeverAnswersWithinTheQuestion)
{
    const PrivateBus bus;
    SessionBus share;
    Answers answers;
    share.reach(answers.next());
    ASSERT_TRUE(answers.come(1));

    share.reach(answers.next());
    EXPECT_EQ(answers.heard.size(), 1U);
    {
        const NoBus none;
        share.reach(answers.next());
    }
    EXPECT_EQ(answers.heard.size(), 1U);
    finishWhatHasBegun();
    EXPECT_EQ(answers.heard.size(), 3U);
}

TEST(SessionBus, IsLeftWithTheLastShare)
{
    const PrivateBus bus;
    Answers answers;
    auto one = std::make_unique<SessionBus>();
    auto other = std::make_unique<SessionBus>();
    one->reach(answers.next());
    ASSERT_TRUE(answers.come(1));

    one.reset();
    EXPECT_TRUE(SessionBus::connection().isConnected());
    other.reset();
    EXPECT_FALSE(SessionBus::connection().isConnected());
}

TEST(SessionBus, IsLeftWhenTheLastShareWentBeforeItWasReached)
{
    const PrivateBus bus;
    Answers answers;
    std::make_unique<SessionBus>()->reach(answers.next());

    finishWhatHasBegun();

    EXPECT_FALSE(SessionBus::connection().isConnected());
    EXPECT_TRUE(answers.heard.empty());
}

TEST(SessionBus, TellsNothingToAShareThatIsGone)
{
    const PrivateBus bus;
    SessionBus kept;
    Answers answers;
    Answers lost;
    kept.reach(answers.next());
    std::make_unique<SessionBus>()->reach(lost.next());

    ASSERT_TRUE(answers.come(1));
    finishWhatHasBegun();

    EXPECT_TRUE(lost.heard.empty());
}

TEST(SessionBus, IsNotSoughtWhereThereIsNone)
{
    const NoBus none;
    SessionBus share;
    Answers answers;

    share.reach(answers.next());
    MainQueue::drain();

    EXPECT_EQ(answers.heard, std::vector { false });
}

TEST(SessionBus, IsFoundInTheFolderOfTheSession)
{
    const NoBus none;
    const PrivateBus bus;
    qputenv("XDG_RUNTIME_DIR", QFileInfo(PrivateBus::path()).path().toUtf8());
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    SessionBus share;
    Answers answers;

    share.reach(answers.next());
    ASSERT_TRUE(answers.come(1));

    EXPECT_EQ(answers.heard, std::vector { true });
}

TEST(SessionBus, IsSoughtAnewAfterAFailure)
{
    PrivateBus bus;
    SessionBus share;
    Answers answers;

    bus.die();
    share.reach(answers.next());
    ASSERT_TRUE(answers.come(1));
    bus.start();
    share.reach(answers.next());
    ASSERT_TRUE(answers.come(2));

    EXPECT_EQ(answers.heard, (std::vector { false, true }));
}

TEST(SessionBus, ThatHasGoneAwayIsNotThere)
{
    PrivateBus bus;
    SessionBus share;
    Answers answers;
    share.reach(answers.next());
    ASSERT_TRUE(answers.come(1));

    bus.die();
    ASSERT_TRUE(tests::waitUntil([] { return !SessionBus::connection().isConnected(); }));
    share.reach(answers.next());
    ASSERT_TRUE(answers.come(2));

    EXPECT_EQ(answers.heard, (std::vector { true, false }));
}

} // namespace
} // namespace quorvane
