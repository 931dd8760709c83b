// SPDX-License-Identifier: GPL-3.0-or-later
// The strips of small pictures by which folders are recognised.
#pragma once

#include "platform/FileURL.h"
#include "platform/LifeGuard.h"

#include <QByteArray>
#include <QImage>
#include <QSize>

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace quorvane {

/// In points.
constexpr QSize kTileSize { 64, 48 };
constexpr qreal kTileRadius = 6;

/// Pictures in a strip, at most.
constexpr size_t kLongestStrip = 5;

/// What is known of a folder's pictures. A value.
struct FolderStrip {
    enum class State {
        Looking, ///< More may come.
        Complete,
        Gone, ///< There is no such folder.
    };
    State state = State::Looking;

    /// How many pictures there will be, as far as is known; those that are ready come first.
    size_t length = 0;

    /// kTileSize at twice its pixels, filled to the edge, with rounded corners.
    std::vector<QImage> tiles;
};

/// Finds and decodes the strips of some folders, on threads of its own. A folder on a disk that no
/// longer answers holds one of them for as long as it likes: nobody waits for these threads, not
/// even at the end of the program, and there is one for each folder of a list. Thread: main.
class FolderStrips {
public:
    /// Says which pictures a folder has, or nothing when it is gone. Called on any thread; may
    /// wait.
    using Finder = std::function<std::optional<std::vector<FileURL>>(const QByteArray& folder)>;

    /// More is known of a folder of the list.
    using Changed = std::function<void(const QByteArray& folder)>;

    FolderStrips(Finder finder, Changed changed);

    /// Waits for nothing. What is under way ends before its next picture.
    ~FolderStrips();

    FolderStrips(const FolderStrips&) = delete;
    FolderStrips& operator=(const FolderStrips&) = delete;

    /// Replaces the list. What is known of folders that stay is kept, except that those that were
    /// gone or empty are looked at again; what is on its way of others will be dropped.
    void setFolders(const std::vector<QByteArray>& folders);

    /// Of a folder of the list. Valid until the list is replaced or more is known.
    const FolderStrip& stripOf(const QByteArray& folder) const;

    /// Waits until every folder has been looked at. For tests.
    static void drain();

private:
    struct Entry {
        FolderStrip strip;
        bool isUnderWay = false; ///< A thread is busy with it.
        /// Whether it is in the list. The thread looks at it between two pictures.
        std::shared_ptr<std::atomic<bool>> isWanted = std::make_shared<std::atomic<bool>>(true);
    };

    void look(const QByteArray& folder, Entry& entry);
    void learn(const QByteArray& folder, const FolderStrip& strip);
    void finish(const QByteArray& folder);

    const Finder mFinder;
    const Changed mChanged;
    /// Those of the list, and others that a thread is still busy with: a folder that comes back
    /// soon is not to hold a second one.
    std::map<QByteArray, Entry> mEntries;
    LifeGuard mLifeGuard;
};

} // namespace quorvane
