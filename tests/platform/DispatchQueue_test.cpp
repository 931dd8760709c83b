// SPDX-License-Identifier: GPL-3.0-or-later
// Work on threads of its own.
#include "platform/DispatchQueue.h"

#include <QByteArray>
#include <QDir>
#include <QFile>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <future>
#include <memory>

namespace quorvane {

namespace {

using namespace std::chrono_literals;
using Priority = DispatchQueue::Priority;
using testing::ElementsAre;

/// Longer than anything here takes: only a test that fails waits as long.
constexpr auto kNever = 20s;

/// What a thread waits for until another one opens it.
class Gate {
public:
    void open() { mOpened.set_value(); }
    void wait() const { mFuture.wait(); }
    bool opens() const { return mFuture.wait_for(kNever) == std::future_status::ready; }

private:
    std::promise<void> mOpened;
    std::shared_future<void> mFuture = mOpened.get_future().share();
};

/// Runs a block when it is destroyed.
class AtEnd {
public:
    explicit AtEnd(std::function<void()> block)
        : mBlock(std::move(block))
    {
    }
    ~AtEnd() { mBlock(); }
    AtEnd(const AtEnd&) = delete;
    AtEnd& operator=(const AtEnd&) = delete;

private:
    std::function<void()> mBlock;
};

/// Whether a thread of this program waits in the kernel ("S") rather than runs ("R").
bool threadWaits(pid_t thread)
{
    QFile file(QStringLiteral("/proc/self/task/%1/stat").arg(thread));
    if (!file.open(QIODevice::ReadOnly))
        return true;
    const QByteArray line = file.readAll();
    return line.mid(line.lastIndexOf(')') + 2, 1) == "S"; // Behind the name, which may hold spaces.
}

/// How many threads of this program bear `name`.
int threadsNamed(const QByteArray& name)
{
    int count = 0;
    const QDir tasks(QStringLiteral("/proc/self/task"));
    for (const QString& task : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile file(tasks.filePath(task + QStringLiteral("/comm")));
        if (file.open(QIODevice::ReadOnly) && file.readAll().trimmed() == name)
            ++count;
    }
    return count;
}

/// Notes numbers from any thread.
class Notes {
public:
    void add(int number)
    {
        const std::lock_guard lock(mMutex);
        mNumbers.push_back(number);
    }
    std::vector<int> numbers() const
    {
        const std::lock_guard lock(mMutex);
        return mNumbers;
    }

private:
    mutable std::mutex mMutex;
    std::vector<int> mNumbers;
};

struct DispatchQueueTest : testing::Test {
    Notes notes;
    Gate gate;
    DispatchQueue queue { "quorvane.test" };

    auto noting(int number)
    {
        return [this, number] { notes.add(number); };
    }

    /// What is handed in from now on waits until the gate opens.
    void hold()
    {
        queue.async([this] { gate.wait(); });
    }
};

TEST_F(DispatchQueueTest, RunsInTheOrderHandedIn)
{
    for (int i = 0; i < 5; ++i)
        queue.async(noting(i));

    queue.drain();

    EXPECT_THAT(notes.numbers(), ElementsAre(0, 1, 2, 3, 4));
}

TEST_F(DispatchQueueTest, ReturnsBeforeTheBlockIsDone)
{
    hold();
    queue.async(noting(1));

    EXPECT_TRUE(notes.numbers().empty());
    gate.open();
    queue.drain();
    EXPECT_THAT(notes.numbers(), ElementsAre(1));
}

TEST_F(DispatchQueueTest, RunsAwayFromTheCaller)
{
    std::thread::id ranOn;

    queue.async([&] { ranOn = std::this_thread::get_id(); });
    queue.drain();

    EXPECT_NE(ranOn, std::this_thread::get_id());
    EXPECT_NE(ranOn, std::thread::id());
}

TEST_F(DispatchQueueTest, RunsOneAtATimeWhenSerial)
{
    std::atomic<int> running = 0;
    std::atomic<bool> overlapped = false;
    const auto block = [&] {
        overlapped = overlapped || ++running > 1;
        std::this_thread::yield();
        --running;
    };
    hold();
    for (int i = 0; i < 200; ++i)
        queue.async(block, i % 3 ? Priority::Urgent : Priority::Ahead);

    gate.open();
    queue.drain();

    EXPECT_FALSE(overlapped);
}

TEST_F(DispatchQueueTest, HoldsTheNextBlockBackWhileOneRuns)
{
    Gate begun;
    queue.async([&] {
        begun.open();
        gate.wait();
        notes.add(1);
    });
    ASSERT_TRUE(begun.opens());
    queue.async(noting(2));

    EXPECT_FALSE(queue.drainFor(0ms));
    EXPECT_TRUE(notes.numbers().empty());
    gate.open();
    queue.drain();

    EXPECT_THAT(notes.numbers(), ElementsAre(1, 2));
}

TEST_F(DispatchQueueTest, RunsUrgentBlocksBeforeThoseAhead)
{
    hold();
    queue.async(noting(1), Priority::Ahead);
    queue.async(noting(2), Priority::Ahead);
    queue.async(noting(3), Priority::Urgent);
    queue.async(noting(4)); // Urgent by default.

    gate.open();
    queue.drain();

    EXPECT_THAT(notes.numbers(), ElementsAre(3, 4, 1, 2));
}

TEST_F(DispatchQueueTest, LetsAnUrgentBlockIntoTheMidstOfThoseAhead)
{
    hold();
    queue.async(
        [this] {
            notes.add(1);
            queue.async(noting(2), Priority::Urgent);
        },
        Priority::Ahead);
    queue.async(noting(3), Priority::Ahead);

    gate.open();
    queue.drain();

    EXPECT_THAT(notes.numbers(), ElementsAre(1, 2, 3));
}

TEST_F(DispatchQueueTest, DrainsWhatBlocksHandIn)
{
    queue.async([this] {
        queue.async([this] {
            notes.add(1);
            queue.async(noting(2), Priority::Ahead);
        });
    });

    queue.drain();

    EXPECT_THAT(notes.numbers(), ElementsAre(1, 2));
}

TEST_F(DispatchQueueTest, DrainsNothingAtOnce)
{
    queue.drain();

    EXPECT_TRUE(queue.drainFor(0ms));
}

TEST_F(DispatchQueueTest, TellsThatTheLimitCameFirst)
{
    hold();

    EXPECT_FALSE(queue.drainFor(1ms));
    gate.open();
    EXPECT_TRUE(queue.drainFor(kNever));
}

TEST_F(DispatchQueueTest, CountsABlockThatWaitsAsNotDone)
{
    Gate begun;
    Gate second;
    queue.async([&] {
        begun.open();
        gate.wait();
    });
    queue.async([&] { second.wait(); }, Priority::Ahead);
    ASSERT_TRUE(begun.opens());
    gate.open();

    EXPECT_FALSE(queue.drainFor(1ms));
    second.open();
    EXPECT_TRUE(queue.drainFor(kNever));
}

TEST_F(DispatchQueueTest, LetsGoOfABlockBeforeItCountsAsDone)
{
    auto held = std::make_shared<int>(1);
    const std::weak_ptr<int> watched = held;
    queue.async([held = std::move(held)] {});

    queue.drain();

    EXPECT_TRUE(watched.expired());
}

TEST_F(DispatchQueueTest, LetsGoOfABlockOutsideItsLock)
{
    auto held = std::make_shared<AtEnd>([this] { queue.async(noting(2)); });
    queue.async([this, held = std::move(held)] { notes.add(1); });

    ASSERT_TRUE(queue.drainFor(kNever));

    EXPECT_THAT(notes.numbers(), ElementsAre(1, 2));
}

TEST_F(DispatchQueueTest, LosesNoBlockOfManyThreads)
{
    std::atomic<int> runs = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&] {
            for (int i = 0; i < 100; ++i)
                queue.async([&runs] { ++runs; });
        });
    }
    for (std::thread& thread : threads)
        thread.join();

    queue.drain();

    EXPECT_EQ(runs, 400);
}

TEST(DispatchQueue, DropsWhatHasNotBegunAndWaitsForWhatHas)
{
    Notes notes;
    Gate begun;
    std::atomic<bool> ending = false;
    const pid_t caller = gettid();
    auto held = std::make_shared<int>(1);
    const std::weak_ptr<int> watched = held;
    auto queue = std::make_unique<DispatchQueue>("quorvane.test");
    DispatchQueue* const dying = queue.get();
    queue->async([&, dying] {
        begun.open();
        // The destructor is at work once its thread waits for this one.
        while (!ending || !threadWaits(caller))
            std::this_thread::yield();
        dying->async([&notes] { notes.add(4); });
        notes.add(1);
    });
    queue->async([&notes, held = std::move(held)] { notes.add(2); });
    queue->async([&notes] { notes.add(3); }, Priority::Ahead);
    ASSERT_TRUE(begun.opens());

    ending = true;
    queue.reset();

    EXPECT_THAT(notes.numbers(), ElementsAre(1));
    EXPECT_TRUE(watched.expired());
}

TEST(DispatchQueue, LetsWhatADroppedBlockHeldCallBack)
{
    Gate begun;
    std::atomic<bool> ending = false;
    std::atomic<int> calls = 0;
    const pid_t caller = gettid();
    auto queue = std::make_unique<DispatchQueue>("quorvane.test");
    DispatchQueue* const dying = queue.get();
    queue->async([&] {
        begun.open();
        while (!ending || !threadWaits(caller))
            std::this_thread::yield();
    });
    for (const Priority priority : { Priority::Urgent, Priority::Ahead }) {
        auto held = std::make_shared<AtEnd>([&calls, dying] {
            dying->async([] {});
            ++calls;
        });
        queue->async([held = std::move(held)] {}, priority);
    }
    ASSERT_TRUE(begun.opens());

    ending = true;
    queue.reset();

    EXPECT_EQ(calls, 2);
}

TEST(DispatchQueue, StartsNoThreadBeforeItsFirstBlock)
{
    DispatchQueue queue("idle-queue", 3);

    const int before = threadsNamed("idle-queue");
    Gate gate;
    std::atomic<int> begun = 0;
    for (int i = 0; i < 3; ++i) {
        queue.async([&] {
            if (++begun == 3)
                gate.open();
            gate.wait();
        });
    }
    queue.drain();

    EXPECT_EQ(before, 0);
    EXPECT_EQ(threadsNamed("idle-queue"), 3);
}

TEST(DispatchQueue, EndsWithoutEverHavingRun)
{
    EXPECT_NO_THROW(DispatchQueue("quorvane.test", 2));
}

TEST(DispatchQueue, RunsSideBySideWithSeveralThreads)
{
    DispatchQueue queue("quorvane.test", 2);
    Gate first;
    Gate second;
    std::atomic<int> met = 0;

    queue.async([&] {
        first.open();
        met += second.opens();
    });
    queue.async([&] {
        second.open();
        met += first.opens();
    });
    queue.drain();

    EXPECT_EQ(met, 2);
}

TEST(DispatchQueue, WaitsForAllItsThreadsWhenDrained)
{
    DispatchQueue queue("quorvane.test", 2);
    Gate gate;
    Gate begun;
    queue.async([&] {
        begun.open();
        gate.wait();
    });
    ASSERT_TRUE(begun.opens());
    Gate other;
    queue.async([&other] { other.open(); });
    ASSERT_TRUE(other.opens());

    EXPECT_FALSE(queue.drainFor(1ms));
    gate.open();
    EXPECT_TRUE(queue.drainFor(kNever));
}

TEST(DispatchQueue, GivesItsThreadsTheLastFifteenBytesOfItsName)
{
    const auto nameOfThread = [](const char* name) {
        DispatchQueue queue(name);
        char found[16] = {};
        queue.async([&found] { pthread_getname_np(pthread_self(), found, sizeof found); });
        queue.drain();
        return std::string(found);
    };

    EXPECT_EQ(nameOfThread("short"), "short");
    EXPECT_EQ(nameOfThread("fifteen-letters"), "fifteen-letters");
    EXPECT_EQ(nameOfThread("com.quorvane.filesequence"), "ne.filesequence");
}

TEST(DispatchQueue, HasAGlobalOneThatRunsSideBySide)
{
    DispatchQueue& queue = DispatchQueue::global();
    Gate first;
    Gate second;
    std::atomic<int> met = 0;

    queue.async([&] {
        first.open();
        met += second.opens();
    });
    queue.async([&] {
        second.open();
        met += first.opens();
    });
    queue.drain();

    EXPECT_EQ(met, 2);
    EXPECT_EQ(&DispatchQueue::global(), &queue);
}

} // namespace

} // namespace quorvane
