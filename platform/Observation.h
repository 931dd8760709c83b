// SPDX-License-Identifier: GPL-3.0-or-later
// Being told when something that has a name changes.
#pragma once

#include <QString>

#include <functional>
#include <memory>
#include <vector>

namespace quorvane {

class ObserverList;

/// A ticket: as long as it lives, the block that it was given for is called. May outlive the object
/// that is observed. Thread: that of the observed object.
class Observation {
public:
    /// Observes nothing.
    Observation() = default;
    Observation(Observation&& other) noexcept = default;
    Observation& operator=(Observation&& other) noexcept;
    ~Observation();

private:
    friend class ObserverList;
    struct Entry;
    explicit Observation(std::shared_ptr<Entry> entry);

    std::shared_ptr<Entry> mEntry;
};

/// The other end: who is to be called about what.
/// Thread: one, normally the main one.
class ObserverList {
public:
    /// \param changed  called by notify() for `key`; it may add and drop observers, itself
    /// included.
    [[nodiscard]] Observation add(const QString& key, std::function<void()> changed);

    /// Calls the observers of `key` in the order in which they were added: those that are there
    /// when it begins and have not gone before their turn. The list itself may be destroyed
    /// meanwhile.
    void notify(const QString& key);

private:
    std::vector<std::weak_ptr<Observation::Entry>> mEntries; ///< Gone ones are swept out by add().
};

} // namespace quorvane
