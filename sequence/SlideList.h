// SPDX-License-Identifier: GPL-3.0-or-later
// The slides and the current one, for several threads.
#pragma once

#include "sequence/SlideItem.h"

#include <functional>
#include <mutex>
#include <optional>
#include <vector>

namespace quorvane {

/// The list of a show with its position, and what was taken out for good. Thread: any. The lock is
/// never held while the list is sorted or walked through with the file system, so a look at it
/// costs nobody a wait.
class SlideList {
public:
    /// Position after a step back in an empty list, or a look at a folder that had nothing listed;
    /// a step forward from it leads to the first slide, a step back nowhere.
    static constexpr size_t kBeforeFirst = static_cast<size_t>(-1);

    /// The list at one moment.
    struct Snapshot {
        SlideItems items;
        size_t index = 0;
        quint64 generation = 0; ///< Counts the changes of the list other than additions.

        /// The current slide; nullptr for none.
        std::shared_ptr<SlideItem> current() const
        {
            return index < items.size() ? items[index] : nullptr;
        }
    };
    Snapshot snapshot() const;

    /// Puts another list and position in place of those of `before`. \return false, and nothing
    /// is done, when the list or the position has changed since.
    bool replace(const Snapshot& before, SlideItems& items, size_t index);

    /// Sorts the list, or the like, on a copy and without the lock; once more if somebody else
    /// changed it meanwhile. What was only added goes behind: a queue that fills the list would
    /// keep us here until it is done. The position keeps its number.
    void change(const std::function<void(SlideItems&)>& change);

    // The position; see FileSequence.

    size_t count() const;
    size_t currentIndex() const;
    std::optional<FileURL> current() const;
    std::optional<FileURL> first();
    std::optional<FileURL> previous();
    std::optional<FileURL> URLAtIndex(size_t index) const;
    std::optional<FileURL> gotoIndex(size_t index);
    std::optional<FileURL> atOffset(qint64 offset) const;

    /// Whether it is listed, as a movie. Quick near the position.
    bool isMovie(const FileURL& url) const;

    /// Steps on, perhaps past the end. \return nothing in an empty list; else whether it did.
    std::optional<bool> advance();

    /// Past the end the position goes back to the last slide, and there is no answer.
    std::optional<FileURL> currentBeforeEnd();

    void gotoStart();

    /// Whether the position lies behind the last slide, as after taking out the last one.
    bool isPastEnd() const;

    // The list.

    /// Ends all of `isStale`'s additions: see clear(). \return the count; nothing when stale.
    std::optional<size_t> append(
        const std::shared_ptr<SlideItem>& item, const std::function<bool()>& isStale);

    /// As often as it is listed. \param forGood  a look at the folder is not to bring it back.
    void takeOut(const FileURL& url, bool forGood);

    /// Once, the one at or behind the position first. The current slide stays the current one.
    void takeOutOne(const FileURL& url);

    /// What was taken out for good is remembered. \param cleared  called with the lock.
    void clear(const std::function<void()>& cleared);

    void addTakenOut(const std::vector<FileURL>& urls);
    std::vector<FileURL> takenOut() const;

private:
    std::optional<FileURL> at(size_t index) const;

    mutable std::mutex mGuard; // Of all below.
    SlideItems mItems; ///< In show order.
    quint64 mGeneration = 0;
    /// Below the count, or kBeforeFirst, or 0 in an empty list; beyond the end only while a change
    /// has left fewer slides than lay before it.
    size_t mIndex = 0;
    std::vector<FileURL> mTakenOut; ///< For good, in the order in which it was.
};

} // namespace quorvane
