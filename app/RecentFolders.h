// SPDX-License-Identifier: GPL-3.0-or-later
// The folders that were shown last.
#pragma once

#include "platform/Bookmark.h"
#include "platform/LifeGuard.h"

#include <QByteArray>

#include <functional>
#include <optional>
#include <vector>

namespace quorvane {

class FolderFinder;
class UserDefaults;

/// Ten folders at most, newest first, no two with the same path; stored as bookmarks in
/// "RecentFolderBookmarks" after each change. What is known of them is there at once. Whether they
/// exist is asked, never waited for: one that is gone leaves the list when the answer comes, and
/// one whose disk does not answer stays. Thread: main.
class RecentFolders {
public:
    static constexpr size_t kCapacity = 10;

    /// \param defaults, finder  must outlive this.
    /// \param changed           called after each change of the list.
    RecentFolders(UserDefaults& defaults, FolderFinder& finder, std::function<void()> changed);

    /// Reads what was stored. A bookmark that this version does not understand is as good as one
    /// of a folder that is gone; what is no data at all is passed over.
    void load();

    /// Puts a folder in front, as soon as it is known to be one; anything else is not remembered.
    /// Of two that are remembered, the later one stands before the other whichever answers first.
    void remember(const QByteArray& path);

    /// Forgets all, and what is about to be remembered.
    void clear();

    /// Asks of each folder whether it is still there.
    void look();

    /// Newest first.
    std::vector<QByteArray> paths() const;

    size_t count() const { return mEntries.size(); }

    /// \param index  below count().
    const Bookmark& at(size_t index) const { return mEntries[index].bookmark; }

    /// The place of a folder in the list; nothing when it is not there.
    std::optional<size_t> indexOf(const QByteArray& path) const;

private:
    struct Entry {
        Bookmark bookmark;
        quint64 turn; ///< When it was remembered; 0 for before this run. Falls in the list.
    };
    using Place = std::vector<Entry>::iterator;

    Place find(const QByteArray& path);
    void insert(const Bookmark& bookmark, quint64 turn);
    void remove(const QByteArray& path, quint64 turn);
    void store();

    UserDefaults& mDefaults;
    FolderFinder& mFinder;
    const std::function<void()> mChanged;
    std::vector<Entry> mEntries; ///< Newest first.
    quint64 mTurn = 0; ///< Of the folder that was remembered last.
    quint64 mClearedTurn = 0; ///< No folder up to this turn is to come into the list any more.
    LifeGuard mLifeGuard;
};

} // namespace quorvane
