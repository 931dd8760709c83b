// SPDX-License-Identifier: GPL-3.0-or-later
// Blocks on their way to the main thread.
#include "platform/MainQueue.h"

#include <QCoreApplication>
#include <QEvent>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <vector>

namespace quorvane {

namespace {

using testing::ElementsAre;

/// Notes when an event of its own reaches it.
class Listener : public QObject {
public:
    explicit Listener(std::vector<int>& order)
        : mOrder(order)
    {
    }

protected:
    bool event(QEvent* event) override
    {
        if (event->type() == QEvent::User)
            mOrder.push_back(-1);
        return QObject::event(event);
    }

private:
    std::vector<int>& mOrder;
};

struct MainQueueTest : testing::Test {
    std::vector<int> order;

    auto noting(int number)
    {
        return [this, number] { order.push_back(number); };
    }

    /// What earlier blocks left behind in the event loop does not reach the next test.
    ~MainQueueTest() override { QCoreApplication::sendPostedEvents(); }
};

TEST_F(MainQueueTest, ReturnsBeforeTheBlockRuns)
{
    MainQueue::async(noting(1));

    EXPECT_TRUE(order.empty());
    MainQueue::drain();
    EXPECT_THAT(order, ElementsAre(1));
}

TEST_F(MainQueueTest, RunsInTheOrderHandedIn)
{
    for (int i = 0; i < 5; ++i)
        MainQueue::async(noting(i));

    MainQueue::drain();

    EXPECT_THAT(order, ElementsAre(0, 1, 2, 3, 4));
}

TEST_F(MainQueueTest, DrainsWhatBlocksHandIn)
{
    MainQueue::async([this] {
        order.push_back(1);
        MainQueue::async([this] {
            order.push_back(3);
            MainQueue::async(noting(4));
        });
    });
    MainQueue::async(noting(2));

    MainQueue::drain();

    EXPECT_THAT(order, ElementsAre(1, 2, 3, 4));
}

TEST_F(MainQueueTest, DrainsFromWithinABlock)
{
    MainQueue::async([this] {
        order.push_back(1);
        MainQueue::drain();
        order.push_back(3);
    });
    MainQueue::async(noting(2));

    MainQueue::drain();

    EXPECT_THAT(order, ElementsAre(1, 2, 3));
}

TEST_F(MainQueueTest, DrainsNothingAtOnce)
{
    MainQueue::drain();

    EXPECT_TRUE(order.empty());
}

TEST_F(MainQueueTest, RunsInTheEventLoop)
{
    MainQueue::async(noting(1));
    MainQueue::async(noting(2));

    QCoreApplication::sendPostedEvents();

    EXPECT_THAT(order, ElementsAre(1, 2));
}

TEST_F(MainQueueTest, LetsOtherEventsInBetweenBlocks)
{
    Listener listener(order);
    MainQueue::async(noting(1));
    QCoreApplication::postEvent(&listener, new QEvent(QEvent::User));
    MainQueue::async(noting(2));

    QCoreApplication::sendPostedEvents();

    EXPECT_THAT(order, ElementsAre(1, -1, 2));
}

TEST_F(MainQueueTest, RunsEachBlockOnce)
{
    MainQueue::async(noting(1));

    MainQueue::drain();
    MainQueue::drain();
    QCoreApplication::sendPostedEvents();

    EXPECT_THAT(order, ElementsAre(1));
}

TEST_F(MainQueueTest, TakesBlocksOfOtherThreadsInTheirOrder)
{
    std::thread::id ranOn;
    std::thread other([&] {
        MainQueue::async(noting(1));
        MainQueue::async([&] {
            ranOn = std::this_thread::get_id();
            order.push_back(2);
        });
    });
    other.join();

    EXPECT_TRUE(order.empty());
    MainQueue::drain();

    EXPECT_THAT(order, ElementsAre(1, 2));
    EXPECT_EQ(ranOn, std::this_thread::get_id());
}

TEST_F(MainQueueTest, LosesNoBlockOfManyThreads)
{
    constexpr int kThreads = 4;
    constexpr int kBlocks = 100;
    std::vector<std::vector<int>> orders(kThreads);
    std::vector<std::thread> threads;
    for (size_t thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&orders, thread] {
            for (int i = 0; i < kBlocks; ++i)
                MainQueue::async([&orders, thread, i] { orders[thread].push_back(i); });
        });
    }
    for (std::thread& thread : threads)
        thread.join();

    MainQueue::drain();

    for (const auto& numbers : orders) {
        ASSERT_EQ(numbers.size(), size_t(kBlocks));
        EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end()));
    }
}

TEST_F(MainQueueTest, LetsGoOfABlockThatHasRun)
{
    auto held = std::make_shared<int>(1);
    const std::weak_ptr<int> watched = held;
    MainQueue::async([held = std::move(held)] {});

    MainQueue::drain();

    EXPECT_TRUE(watched.expired());
}

} // namespace

} // namespace quorvane
