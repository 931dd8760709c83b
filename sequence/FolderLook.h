// SPDX-License-Identifier: GPL-3.0-or-later
// A look at a watched folder: what has come and what has gone.
#pragma once

#include "platform/Clock.h"
#include "platform/FileStability.h"
#include "sequence/SlideList.h"
#include "sequence/SlideOrder.h"

#include <QString>

#include <atomic>
#include <memory>
#include <unordered_map>
#include <vector>

namespace quorvane {

class FolderWatches;

/// A folder that is watched from now until it is not any more. Thread: any.
struct FolderWatch {
    QByteArray folder; ///< Empty: only the files that were put off are looked at.
    std::shared_ptr<FolderWatches> watches; ///< nullptr when the system gives none.
    quint64 clearings = 0; ///< Of the list, when the watch began.
    std::atomic<bool> isOver = false;
};

/// When each file that was found unfinished was first seen as it is. One look at a time.
struct UnfinishedFiles {
    struct Sighting {
        FileVersion version;
        TimePoint since;
    };
    std::unordered_map<QByteArray, Sighting> sightings; ///< By path.
};

/// What a look has to know; taken when it is asked for.
struct LookOrder {
    qint64 maxLevel = 0; ///< How deep; 0 or less: all the way down.
    TimePoint now;
    FileTime wallNow;
    std::vector<FileURL> putOff; ///< Files that are to be listed when they are finished.
};

/// What came of it. Of a look that was broken off, nothing.
struct FolderLook {
    SlideItems fresh; ///< Finished files that were not in the list, in the order they were met.
    SlideItems gone; ///< What is in the list and not in the folder.
    std::vector<FileURL> settled; ///< Of those put off: finished, gone, or listed again.
    bool hasUnfinished = false; ///< Files that are to come.
    bool mayBeFinishedSoon = false; ///< Nobody is known to have one of them open.
};

/// Walks through the folder and compares. Asks the kernel on the way to watch what it meets. Files
/// that are being written do not count as there: they come when they are finished.
///
/// Cost for a folder in which nothing has changed: its entries are read, nothing is asked of the
/// files. Thread: any but the main one.
FolderLook lookAt(const FolderWatch& watch, const LookOrder& order,
    const SlideList::Snapshot& listed, const std::vector<FileURL>& takenOut,
    UnfinishedFiles& unfinished);

/// How what has come is to stand in the list.
struct MergeRules {
    bool showsNewItemsASAP = false; ///< Next, rather than in its place in the order.
    QString sort; ///< See sortItems().
    RandomBelow random;
};

/// A list after a look.
struct MergedList {
    SlideItems items;
    size_t index = 0;
    std::vector<FileURL> companions; ///< Taken out beside a JPEG.
    bool hasChanged = false;
    bool hasNew = false;
};

/// The list as it is to be. The current slide stays the current one where new files come next to
/// it; a new order leaves the position its number. If the current slide is gone, the last one is.
MergedList merge(
    const SlideList::Snapshot& listed, const FolderLook& look, const MergeRules& rules);

} // namespace quorvane
