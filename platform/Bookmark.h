// SPDX-License-Identifier: GPL-3.0-or-later
// How a folder is found again in a later run of the program.
#pragma once

#include "platform/FileURL.h"

#include <QByteArray>

#include <optional>

namespace quorvane {

/// What a bookmark leads to.
struct ResolvedBookmark {
    FileURL url;

    /// The folder is there, but the bookmark should be made anew to be sure of it. Never so
    /// yet: a path needs no renewing.
    bool isStale = false;
};

/// Names a folder in bytes that can be stored and that every later version of the program
/// understands. A value; thread: any.
///
/// It holds the folder's path and its identity, device and inode. The path alone decides: a stick
/// that is plugged in again, or a backup that was played back, has another identity and is what the
/// person means all the same; a folder that was renamed is not found, since no one can ask Linux
/// where an inode is. A folder that a sandbox was granted by the document portal has a path of the
/// portal's, which stays as long as the grant.
class Bookmark {
public:
    /// Waits for the disk. \param path  absolute. It is kept without the "." and the superfluous
    /// slashes that a command line leaves in it, so that one folder has one spelling; only where
    /// there is a ".." links are resolved as well.
    /// \return nothing when there is no such folder.
    static std::optional<Bookmark> bookmarkForPath(const QByteArray& path);

    /// Reads what data() gave, without asking the disk. \return nothing for bytes that are cut
    /// short, of a later version, or no bookmark at all.
    static std::optional<Bookmark> fromData(const QByteArray& data);

    QByteArray data() const;

    /// Absolute, without a slash at the end, but for the root.
    const QByteArray& path() const { return mPath; }

    /// Waits for the disk, or for ever for a server that no longer answers. Links are followed.
    /// \return nothing when there is no folder at the path.
    std::optional<ResolvedBookmark> resolve() const;

private:
    Bookmark() = default;

    QByteArray mPath;
    quint64 mDevice = 0;
    quint64 mInode = 0;
};

/// Access to a folder that a bookmark led to, from the beginning of its life to the end. Where the
/// program is not confined to what it was granted, which is everywhere so far, it changes nothing;
/// but it is counted, so that a balance can be proved. Thread: any, one at a time.
class FolderAccess {
public:
    explicit FolderAccess(FileURL url);
    FolderAccess(FolderAccess&& other) noexcept;
    FolderAccess& operator=(FolderAccess&& other) noexcept;
    ~FolderAccess();

    const FileURL& url() const { return mURL; }

    /// How many folders the program has access to by now, each as often as it was started.
    static int count();

private:
    void stop();

    FileURL mURL; ///< Empty once it was moved from.
};

} // namespace quorvane
