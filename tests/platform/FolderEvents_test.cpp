// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/FolderEvents.h"
#include "support/ByteFolder.h"
#include "support/ManualClock.h"

#include <QCoreApplication>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quorvane {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using tests::ByteFolder;

class FolderEventsTest : public testing::Test {
protected:
    FolderEventsTest() { watches->watch(folder.path()); }

    ByteFolder folder;
    ManualClock clock;
    const std::shared_ptr<FolderWatches> watches = FolderWatches::create();
    std::vector<std::vector<std::string>> batches; ///< The names.
    std::unique_ptr<FolderEvents> events
        = std::make_unique<FolderEvents>(watches, clock, [this](const auto& batch) {
              batches.emplace_back();
              for (const FolderEvent& event : batch)
                  batches.back().push_back(event.path.mid(folder.path().size() + 1).toStdString());
          });
};

TEST_F(FolderEventsTest, ComeASecondAfterTheFirst)
{
    folder.file("a");
    events->readEvents();
    clock.advance(900ms);
    folder.file("b");
    events->readEvents();
    EXPECT_THAT(batches, IsEmpty());

    clock.advance(100ms);
    EXPECT_THAT(batches, ElementsAre(ElementsAre("a", "b")));

    clock.advance(10s);
    EXPECT_EQ(batches.size(), 1U);
    EXPECT_EQ(clock.validTimers(), 0);
}

TEST_F(FolderEventsTest, NameEachFileOnceInABatch)
{
    for (int i = 0; i < 3; ++i) {
        folder.file("a");
        folder.file("b");
        events->readEvents();
    }
    clock.advance(1s);

    EXPECT_THAT(batches, ElementsAre(ElementsAre("a", "b")));
}

TEST_F(FolderEventsTest, BeginANewBatchAfterEach)
{
    for (int i = 0; i < 2; ++i) {
        folder.file("a");
        events->readEvents();
        clock.advance(1s);
    }

    EXPECT_THAT(batches, ElementsAre(ElementsAre("a"), ElementsAre("a")));
}

TEST_F(FolderEventsTest, AreTakenByTheEventLoop)
{
    folder.file("a");

    QCoreApplication::processEvents();
    clock.advance(1s);

    EXPECT_THAT(batches, ElementsAre(ElementsAre("a")));
}

TEST_F(FolderEventsTest, AreNotDeliveredAfterTheEnd)
{
    folder.file("a");
    events->readEvents();

    events.reset();
    clock.advance(10s);

    EXPECT_THAT(batches, IsEmpty());
}

TEST(FolderEvents, MayBeEndedByTheirOwnBatch)
{
    const ByteFolder folder;
    ManualClock clock;
    const auto watches = FolderWatches::create();
    watches->watch(folder.path());
    std::unique_ptr<FolderEvents> events;
    events = std::make_unique<FolderEvents>(watches, clock, [&](const auto&) { events.reset(); });
    folder.file("a");
    events->readEvents();

    clock.advance(1s);

    EXPECT_EQ(events, nullptr);
}

} // namespace
} // namespace quorvane
