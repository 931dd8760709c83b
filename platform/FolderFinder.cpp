// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/FolderFinder.h"

#include "platform/DispatchQueue.h"
#include "platform/MainQueue.h"

#include <utility>

namespace quorvane {

namespace {

/// One for each of the folders that the program usually knows, and a few that are being opened.
constexpr int kThreads = 12;

DispatchQueue& queue()
{
    // Never destroyed: its end would wait for a disk that no longer answers.
    static auto* const instance = new DispatchQueue("quorvane.bookmarks", kThreads);
    return *instance;
}

} // namespace

FolderFinder::FolderFinder(BookmarkServices services)
    : mServices(std::move(services))
{
}

/// \param ask  answers the question, on another thread.
template <typename Done, typename Ask>
void FolderFinder::ask(Questions<Done> FolderFinder::*kind, const QByteArray& question,
    const Done& done, const Ask& ask)
{
    std::vector<Done>& waiting = (this->*kind)[question];
    waiting.push_back(done);
    if (waiting.size() > 1)
        return;
    const Done answered = mLifeGuard.wrap([this, kind, question](const auto& answer) {
        // They may ask again, or end this: nothing of ours is touched after the first of them.
        const std::vector<Done> answeredNow = (this->*kind).extract(question).mapped();
        for (const Done& each : answeredNow)
            each(answer);
    });
    queue().async(
        [ask, answered] { MainQueue::async([answered, answer = ask()] { answered(answer); }); });
}

void FolderFinder::bookmarkForPath(const QByteArray& path, const Made& done)
{
    ask(&FolderFinder::mMaking, path, done,
        [make = mServices.bookmarkForPath, path] { return make(path); });
}

void FolderFinder::resolve(const Bookmark& bookmark, const Resolved& done)
{
    ask(&FolderFinder::mResolving, bookmark.data(), done,
        [resolve = mServices.resolve, bookmark] { return resolve(bookmark); });
}

void FolderFinder::drain() { queue().drain(); }

} // namespace quorvane
