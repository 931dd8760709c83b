// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/FolderEvents.h"

#include <QSocketNotifier>

namespace quorvane {

namespace {

constexpr std::chrono::seconds kLatency { 1 };

} // namespace

FolderEvents::FolderEvents(std::shared_ptr<FolderWatches> watches, Clock& clock, Batch batch)
    : mWatches(std::move(watches))
    , mClock(clock)
    , mBatch(std::move(batch))
    , mNotifier(
          std::make_unique<QSocketNotifier>(mWatches->descriptor(), QSocketNotifier::Type::Read))
{
    QObject::connect(
        mNotifier.get(), &QSocketNotifier::activated, mNotifier.get(), [this] { readEvents(); });
}

FolderEvents::~FolderEvents() = default;

void FolderEvents::readEvents()
{
    for (FolderEvent& event : mWatches->read()) {
        const auto [place, isNew] = mPlaces.try_emplace(event.path, mEvents.size());
        if (isNew)
            mEvents.push_back(std::move(event));
        else
            mEvents[place->second].kinds |= event.kinds;
    }
    if (!mEvents.empty() && !mTimer)
        mTimer = mClock.scheduleTimer(kLatency, Clock::Repetition::Once, [this] { deliver(); });
}

void FolderEvents::deliver()
{
    std::vector<FolderEvent> events;
    events.swap(mEvents);
    mPlaces.clear();
    const auto timer = std::move(mTimer); // It is running this very block.
    const Batch batch = mBatch;
    batch(events);
}

} // namespace quorvane
