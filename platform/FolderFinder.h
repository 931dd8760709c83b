// SPDX-License-Identifier: GPL-3.0-or-later
// Asks for folders without waiting for their disks.
#pragma once

#include "platform/Bookmark.h"
#include "platform/LifeGuard.h"

#include <QByteArray>

#include <functional>
#include <map>
#include <optional>
#include <vector>

namespace quorvane {

/// How folders are asked for; fakes in tests. Called on any thread; may wait for ever.
struct BookmarkServices {
    std::function<std::optional<Bookmark>(const QByteArray& path)> bookmarkForPath
        = Bookmark::bookmarkForPath;
    std::function<std::optional<ResolvedBookmark>(const Bookmark& bookmark)> resolve
        = &Bookmark::resolve;
};

/// Makes and resolves bookmarks on threads of its own. A disk that sleeps, or a server that no
/// longer answers, holds one of them for as long as it likes, and the others go on; nobody waits
/// for these threads, not even at the end of the program. While a question is open, the same
/// question again waits for its answer instead of holding another thread. Thread: main.
class FolderFinder {
public:
    using Made = std::function<void(const std::optional<Bookmark>& bookmark)>;
    using Resolved = std::function<void(const std::optional<ResolvedBookmark>& folder)>;

    explicit FolderFinder(BookmarkServices services = {});

    /// \param done  called from the main thread's event loop, unless this has gone by then.
    void bookmarkForPath(const QByteArray& path, const Made& done);
    void resolve(const Bookmark& bookmark, const Resolved& done);

    /// Waits until nothing is being asked. For tests.
    static void drain();

private:
    /// Who waits for the answer to which question.
    template <typename Done> using Questions = std::map<QByteArray, std::vector<Done>>;

    template <typename Done, typename Ask>
    void ask(Questions<Done> FolderFinder::*kind, const QByteArray& question, const Done& done,
        const Ask& ask);

    const BookmarkServices mServices;
    Questions<Made> mMaking; ///< By path.
    Questions<Resolved> mResolving; ///< By the bookmark's data.
    LifeGuard mLifeGuard;
};

} // namespace quorvane
