// SPDX-License-Identifier: GPL-3.0-or-later
// Observers, and what they may do while they are called.
#include "platform/Observation.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <utility>

namespace quorvane {

namespace {

const QString kKey = QStringLiteral("key");

TEST(Observation, IsCalledForItsKeyOnly)
{
    ObserverList observers;
    int calls = 0;
    const Observation ticket = observers.add(kKey, [&] { ++calls; });

    observers.notify(kKey);
    observers.notify(QStringLiteral("other"));
    observers.notify(QStringLiteral("KEY"));

    EXPECT_EQ(calls, 1);
}

TEST(Observation, IsCalledInTheOrderOfAdding)
{
    ObserverList observers;
    QString order;
    const Observation first = observers.add(kKey, [&] { order += u'1'; });
    const Observation second = observers.add(kKey, [&] { order += u'2'; });
    const Observation third = observers.add(kKey, [&] { order += u'3'; });

    observers.notify(kKey);

    EXPECT_EQ(order, QStringLiteral("123"));
}

TEST(Observation, EndsWithItsTicket)
{
    ObserverList observers;
    int calls = 0;
    {
        const Observation ticket = observers.add(kKey, [&] { ++calls; });
    }

    observers.notify(kKey);

    EXPECT_EQ(calls, 0);
}

TEST(Observation, MovesWithItsTicket)
{
    ObserverList observers;
    int calls = 0;
    int otherCalls = 0;
    Observation ticket = observers.add(kKey, [&] { ++calls; });
    Observation other = observers.add(kKey, [&] { ++otherCalls; });

    other = std::move(ticket);
    observers.notify(kKey);
    other = Observation();
    observers.notify(kKey);

    EXPECT_EQ(calls, 1);
    EXPECT_EQ(otherCalls, 0);
}

TEST(Observation, MayOutliveWhatItObserves)
{
    auto observers = std::make_unique<ObserverList>();
    const Observation ticket = observers->add(kKey, [] {});

    observers.reset();
}

TEST(Observation, MayEndWhileItIsCalled)
{
    ObserverList observers;
    int calls = 0;
    std::optional<Observation> ticket;
    // What the block holds must live to its end, though the ticket that owns it goes.
    ticket = observers.add(kKey, [&, text = QStringLiteral("alive")] {
        ticket.reset();
        calls += text == QStringLiteral("alive") ? 1 : 100;
    });

    observers.notify(kKey);
    observers.notify(kKey);

    EXPECT_EQ(calls, 1);
}

TEST(Observation, IsNotCalledOnceAnEarlierOneHasEndedIt)
{
    ObserverList observers;
    int calls = 0;
    std::optional<Observation> later;
    const Observation earlier = observers.add(kKey, [&] { later.reset(); });
    later = observers.add(kKey, [&] { ++calls; });

    observers.notify(kKey);

    EXPECT_EQ(calls, 0);
}

TEST(Observation, AddedWhileOthersAreCalledWaitsForTheNextTime)
{
    ObserverList observers;
    int calls = 0;
    std::vector<Observation> added;
    const Observation adding = observers.add(kKey, [&] {
        for (int i = 0; i < 100; ++i)
            added.push_back(observers.add(kKey, [&] { ++calls; }));
    });

    observers.notify(kKey);
    EXPECT_EQ(calls, 0);
    observers.notify(kKey);
    EXPECT_EQ(calls, 100);
}

TEST(Observation, MayDestroyWhatItObserves)
{
    auto observers = std::make_unique<ObserverList>();
    int calls = 0;
    const Observation first = observers->add(kKey, [&] { observers.reset(); });
    const Observation second = observers->add(kKey, [&] { ++calls; });

    observers->notify(kKey);

    EXPECT_EQ(calls, 1);
}

} // namespace

} // namespace quorvane
