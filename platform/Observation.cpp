// SPDX-License-Identifier: GPL-3.0-or-later
// Observers by key, safe against whatever they do while they are called.
#include "platform/Observation.h"

#include <utility>

namespace quorvane {

/// Owned by the ticket; a block that runs holds it a little longer.
struct Observation::Entry {
    QString key;
    std::function<void()> changed;
    bool dropped = false; ///< The ticket is gone, though a running round still holds the entry.
};

Observation::Observation(std::shared_ptr<Entry> entry)
    : mEntry(std::move(entry))
{
}

Observation& Observation::operator=(Observation&& other) noexcept
{
    const Observation old(std::exchange(mEntry, std::exchange(other.mEntry, nullptr)));
    return *this;
}

Observation::~Observation()
{
    if (mEntry)
        mEntry->dropped = true;
}

Observation ObserverList::add(const QString& key, std::function<void()> changed)
{
    std::erase_if(mEntries, [](const auto& entry) { return entry.expired(); });
    auto entry = std::make_shared<Observation::Entry>();
    entry->key = key;
    entry->changed = std::move(changed);
    mEntries.push_back(entry);
    return Observation(std::move(entry));
}

void ObserverList::notify(const QString& key)
{
    std::vector<std::shared_ptr<Observation::Entry>> round;
    for (const auto& known : mEntries) {
        auto entry = known.lock();
        if (entry && entry->key == key)
            round.push_back(std::move(entry));
    }
    for (const auto& entry : round) {
        if (!entry->dropped)
            entry->changed();
    }
}

} // namespace quorvane
