// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/RecentFolders.h"

#include "platform/FolderFinder.h"
#include "platform/UserDefaults.h"
#include "settings/SettingsCatalogue.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace quorvane {

RecentFolders::RecentFolders(
    UserDefaults& defaults, FolderFinder& finder, std::function<void()> changed)
    : mDefaults(defaults)
    , mFinder(finder)
    , mChanged(std::move(changed))
{
}

void RecentFolders::load()
{
    size_t stored = 0;
    for (const QVariant& item : mDefaults.arrayValue(kRecentFolderBookmarks)) {
        if (item.typeId() != QMetaType::QByteArray)
            continue;
        ++stored;
        const auto bookmark = Bookmark::fromData(item.toByteArray());
        if (bookmark && mEntries.size() < kCapacity && !indexOf(bookmark->path()))
            mEntries.push_back({ *bookmark, 0 });
    }
    if (mEntries.size() < stored)
        store();
}

void RecentFolders::remember(const QByteArray& path)
{
    const quint64 turn = ++mTurn;
    mFinder.bookmarkForPath(
        path, mLifeGuard.wrap([this, turn](const std::optional<Bookmark>& bookmark) {
            if (bookmark && turn > mClearedTurn)
                insert(*bookmark, turn);
        }));
}

void RecentFolders::insert(const Bookmark& bookmark, quint64 turn)
{
    const auto same = find(bookmark.path());
    if (same != mEntries.end()) {
        if (same->turn > turn)
            return; // Opened once more since then.
        mEntries.erase(same);
    }
    const auto place = std::find_if(
        mEntries.begin(), mEntries.end(), [turn](const Entry& entry) { return entry.turn < turn; });
    mEntries.insert(place, { bookmark, turn });
    if (mEntries.size() > kCapacity)
        mEntries.pop_back();
    store();
}

void RecentFolders::clear()
{
    mClearedTurn = mTurn;
    mEntries.clear();
    store();
}

void RecentFolders::look()
{
    for (const auto& [bookmark, turn] : mEntries) {
        const auto answered = [this, path = bookmark.path(), turn = turn](
                                  const std::optional<ResolvedBookmark>& folder) {
            if (!folder || folder->isStale)
                remove(path, turn);
        };
        mFinder.resolve(bookmark, mLifeGuard.wrap(answered));
    }
}

/// Not if the folder was remembered again since the question.
void RecentFolders::remove(const QByteArray& path, quint64 turn)
{
    const auto place = find(path);
    if (place == mEntries.end() || place->turn != turn)
        return;
    mEntries.erase(place);
    store();
}

void RecentFolders::store()
{
    QVariantList bookmarks;
    for (const Entry& entry : mEntries)
        bookmarks.append(entry.bookmark.data());
    mDefaults.setValue(kRecentFolderBookmarks, bookmarks);
    mChanged();
}

std::vector<QByteArray> RecentFolders::paths() const
{
    std::vector<QByteArray> paths;
    std::transform(mEntries.begin(), mEntries.end(), std::back_inserter(paths),
        [](const Entry& entry) { return entry.bookmark.path(); });
    return paths;
}

RecentFolders::Place RecentFolders::find(const QByteArray& path)
{
    return std::find_if(mEntries.begin(), mEntries.end(),
        [&path](const Entry& entry) { return entry.bookmark.path() == path; });
}

std::optional<size_t> RecentFolders::indexOf(const QByteArray& path) const
{
    const auto place = std::find_if(mEntries.begin(), mEntries.end(),
        [&path](const Entry& entry) { return entry.bookmark.path() == path; });
    if (place == mEntries.end())
        return {};
    return static_cast<size_t>(std::distance(mEntries.begin(), place));
}

} // namespace quorvane
