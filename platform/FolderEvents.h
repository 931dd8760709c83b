// SPDX-License-Identifier: GPL-3.0-or-later
// What happens in watched folders, told in batches.
#pragma once

#include "platform/Clock.h"
#include "platform/FolderWatches.h"

#include <functional>
#include <memory>
#include <unordered_map>
#include <vector>

class QSocketNotifier;

namespace quorvane {

/// Gathers what happens for a second from the first event on: a camera's card that is copied comes
/// as a few batches rather than as thousands of single files. Thread: main.
class FolderEvents {
public:
    /// Each path at most once, in the order of their first events.
    using Batch = std::function<void(const std::vector<FolderEvent>&)>;

    /// \param clock  must outlive it. \param batch  may destroy it.
    FolderEvents(std::shared_ptr<FolderWatches> watches, Clock& clock, Batch batch);
    ~FolderEvents();

    FolderEvents(const FolderEvents&) = delete;
    FolderEvents& operator=(const FolderEvents&) = delete;

    /// Takes what the kernel has to tell. The event loop sees to it.
    void readEvents();

private:
    void deliver();

    const std::shared_ptr<FolderWatches> mWatches;
    Clock& mClock;
    const Batch mBatch;
    std::vector<FolderEvent> mEvents;
    std::unordered_map<QByteArray, size_t> mPlaces; ///< Of the paths in mEvents.
    std::unique_ptr<Timer> mTimer; ///< Runs while there is something to deliver.
    std::unique_ptr<QSocketNotifier> mNotifier;
};

} // namespace quorvane
