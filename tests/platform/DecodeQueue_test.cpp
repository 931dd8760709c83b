// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/DecodeQueue.h"
#include "support/FixtureFolder.h"

#include <gtest/gtest.h>

namespace quorvane {

namespace {

using Priority = DecodeRequest::Priority;

constexpr DecoderAbility kAll { .isFresh = true, .knowsEverything = true };
constexpr DecoderAbility kUsed { .isFresh = false, .knowsEverything = true };
constexpr DecoderAbility kForPhotographs { .isFresh = true, .knowsEverything = false };

struct DecodeQueueTest : testing::Test {
    tests::FixtureFolder folder;
    FileDescriptor file = std::move(*openForReading(FileURL(folder.write("a", "contents"))));
    int changes = 0;
    DecodeQueue queue { [this] { ++changes; } };

    DecodeTicket add(Priority priority = Priority::OnScreen)
    {
        return queue.add(file, { .priority = priority }, [](const Result<DecodeAnswer>&) {});
    }

    /// 0 when there is none.
    DecodeTicket taken(DecoderAbility ability = kAll)
    {
        const auto job = queue.take(ability);
        return job ? job->ticket : 0;
    }
};

TEST_F(DecodeQueueTest, IsEmptyAtFirst)
{
    EXPECT_EQ(taken(), 0U);
    EXPECT_FALSE(queue.first());
    EXPECT_FALSE(queue.takeDemanding());
}

TEST_F(DecodeQueueTest, GivesTheMostUrgentFirstAndThenTheOldest)
{
    const auto thumbnail = add(Priority::Thumbnail);
    const auto next = add(Priority::Next);
    const auto shown = add(Priority::OnScreen);
    const auto shownToo = add(Priority::OnScreen);

    EXPECT_EQ(queue.first()->ticket, shown);
    EXPECT_EQ(taken(), shown);
    EXPECT_EQ(taken(), shownToo);
    EXPECT_EQ(taken(), next);
    EXPECT_EQ(taken(), thumbnail);
    EXPECT_EQ(taken(), 0U);
}

TEST_F(DecodeQueueTest, MovesARequestThatSomebodyElseWaitsFor)
{
    add(Priority::Next);
    const auto raised = add(Priority::Thumbnail);

    queue.setPriority(raised, Priority::OnScreen);
    queue.setPriority(9999, Priority::OnScreen); // Of nobody.

    EXPECT_EQ(taken(), raised);
}

TEST_F(DecodeQueueTest, LosesWhatIsCancelled)
{
    const auto cancelled = add();
    const auto kept = add();

    queue.cancel(cancelled);

    EXPECT_EQ(taken(), kept);
    EXPECT_EQ(taken(), 0U);
}

TEST_F(DecodeQueueTest, TellsWhoIsAtWorkThatNobodyWantsIt)
{
    const auto ticket = add();
    const auto job = queue.take(kAll);

    queue.cancel(ticket);
    queue.putBack(job);

    EXPECT_TRUE(job->isCancelled);
    EXPECT_EQ(taken(), 0U) << "put back all the same";
}

TEST_F(DecodeQueueTest, TriesAgainBeforeOthersOfItsPriority)
{
    const auto first = add();
    add();
    const auto job = queue.take(kAll);

    queue.putBack(job);

    EXPECT_EQ(taken(), first);
}

TEST_F(DecodeQueueTest, KeepsAFileThatBrokeADecoderForAFreshOne)
{
    const auto broken = add();
    const auto other = add();
    const auto job = queue.take(kAll);
    job->needsFresh = true;
    queue.putBack(job);

    EXPECT_EQ(taken(kUsed), other);
    EXPECT_EQ(taken(kUsed), 0U);
    EXPECT_EQ(taken(kAll), broken);
}

TEST_F(DecodeQueueTest, KeepsWhatIsNoPhotographForADecoderThatKnowsMore)
{
    const auto drawing = add();
    const auto job = queue.take(kForPhotographs);
    job->needsEverything = true;
    queue.putBack(job);

    EXPECT_EQ(taken(kForPhotographs), 0U);
    EXPECT_EQ(queue.takeDemanding()->ticket, drawing);
    EXPECT_EQ(taken(kAll), 0U);
}

TEST_F(DecodeQueueTest, GivesNothingWhileSuspended)
{
    const auto ticket = add();

    queue.setSuspended(true);
    EXPECT_EQ(taken(), 0U);
    EXPECT_FALSE(queue.first());

    queue.setSuspended(false);
    EXPECT_EQ(taken(), ticket);
}

TEST_F(DecodeQueueTest, SaysWhenThereIsSomethingToLookAt)
{
    const auto ticket = add();
    EXPECT_EQ(changes, 1);
    queue.cancel(ticket);
    EXPECT_EQ(changes, 2);
    queue.setSuspended(false);
    EXPECT_EQ(changes, 3);
}

TEST_F(DecodeQueueTest, KeepsTheFileOpenByItself)
{
    add();
    file = {};

    const auto job = queue.take(kAll);

    EXPECT_EQ(readAll(job->file, 100).value_or(QByteArray()), "contents");
}

TEST_F(DecodeQueueTest, TakesNoFileThatIsNotOpen)
{
    EXPECT_EQ(queue.add({}, {}, {}), 0U);
    EXPECT_EQ(taken(), 0U);
}

TEST_F(DecodeQueueTest, IsDrainedWhenAllIsAnsweredOrCancelled)
{
    add();
    const auto cancelled = add();
    const auto job = queue.take(kAll);
    queue.cancel(cancelled);
    queue.finish(job);

    queue.drain(); // Or waits for ever.
}

} // namespace

} // namespace quorvane
