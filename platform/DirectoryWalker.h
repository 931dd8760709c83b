// SPDX-License-Identifier: GPL-3.0-or-later
// All that lies in a folder and in its sub-folders.
#pragma once

#include "platform/FileStatus.h"

#include <QByteArray>

#include <memory>
#include <optional>
#include <vector>

namespace quorvane {

/// An entry met by a DirectoryWalker.
struct DirectoryEntry {
    QByteArray relativePath; ///< From the folder where the walk began; no leading "./" or "/".
    int level = 1; ///< 1 for an entry directly inside that folder.
    FileKind kind = FileKind::Regular; ///< Of the entry itself: a link is a link.
};

/// Walks a folder depth first: each sub-folder is met before what it holds, in the order in which
/// the file system lists them. Links are met but never followed, except where the walk begins. A
/// folder that cannot be read, or vanishes meanwhile, is passed over; the rest of the walk goes on.
/// Thread: any, one at a time.
class DirectoryWalker {
public:
    explicit DirectoryWalker(QByteArray folder);
    ~DirectoryWalker();

    DirectoryWalker(const DirectoryWalker&) = delete;
    DirectoryWalker& operator=(const DirectoryWalker&) = delete;

    /// \return nothing at the end.
    std::optional<DirectoryEntry> next();

    /// Does not enter the folder that next() gave last. No effect after any other entry.
    void skipDescendants() { mEntersLast = false; }

private:
    class Stream;

    void enter(const QByteArray& relativePath, int level);

    const QByteArray mFolder;
    std::vector<std::unique_ptr<Stream>> mStreams; ///< Innermost folder last.
    QByteArray mLastFolder; ///< Relative path of the folder that next() gave last.
    int mLastLevel = 0;
    bool mEntersLast = false; ///< Whether the next call enters mLastFolder.
};

} // namespace quorvane
