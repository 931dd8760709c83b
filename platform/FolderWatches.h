// SPDX-License-Identifier: GPL-3.0-or-later
// The folders that the kernel is asked to tell about.
#pragma once

#include "platform/FileDescriptor.h"

#include <QByteArray>
#include <QFlags>

#include <memory>
#include <mutex>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace quorvane {

/// What happened to a file or folder.
struct FolderEvent {
    enum Kind {
        Created = 1,
        Removed = 2,
        Renamed = 4, ///< To or from this path.
        Modified = 8, ///< Its writer is done, or another file was put in its place.
        Lost = 16, ///< More happened than the kernel could keep: anything, anywhere. No path.
    };
    Q_DECLARE_FLAGS(Kinds, Kind)

    QByteArray path; ///< The folder as it was given to watch(), and the name in it.
    Kinds kinds;
};

/// Watches single folders. Which, whoever walks through them says while doing so: a folder that is
/// watched before its entries are read keeps no secret. Folders move; a walk that meets them in
/// another place tells the new one, and what no walk meets any more is let go of.
///
/// Events may come twice, or late, or under a path that is no longer the file's. Thread: any.
class FolderWatches {
public:
    /// nullptr when the system has no more to give.
    static std::shared_ptr<FolderWatches> create();

    /// Begins a walk: whatever it does not watch() is forgotten at its end.
    void beginRound();

    /// Does nothing when the system has no more watches to give, or there is no such folder.
    void watch(const QByteArray& folder);

    /// The walk came to its end and has met everything.
    void endRound();

    /// Readable when there is something to read.
    int descriptor() const { return mInotify.get(); }

    /// What has happened since, without waiting. At most a few thousand at a time.
    std::vector<FolderEvent> read();

    /// How many folders are watched.
    size_t count() const;

private:
    struct Folder {
        QByteArray path;
        quint64 round = 0; ///< The last one that met it.
    };
    struct Message;

    explicit FolderWatches(FileDescriptor inotify);
    void add(std::vector<FolderEvent>& events, const Message& message);
    void letGo(int number);
    FolderEvent::Kinds kindsOfFile(const QByteArray& path, quint32 mask);

    const FileDescriptor mInotify;
    mutable std::mutex mGuard; // Of all below.
    std::unordered_map<int, Folder> mFolders; ///< By the kernel's number.
    quint64 mRound = 0;
    /// Created and not closed yet: their writers are at work. Links stay here for ever.
    std::unordered_set<QByteArray> mUnfinished;
};

} // namespace quorvane

Q_DECLARE_OPERATORS_FOR_FLAGS(quorvane::FolderEvent::Kinds)
