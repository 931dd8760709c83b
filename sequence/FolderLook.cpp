// SPDX-License-Identifier: GPL-3.0-or-later
#include "sequence/FolderLook.h"

#include "platform/DirectoryWalker.h"
#include "platform/FileDescriptor.h"
#include "platform/FolderWatches.h"
#include "platform/PathRules.h"
#include "platform/TypeIdentifier.h"
#include "sequence/HashIndex.h"

#include <algorithm>
#include <unordered_set>

namespace quorvane {

namespace {

constexpr std::chrono::seconds kSeenUnchanged { 1 };

/// The slides of a list, found by their URLs, and marked when met.
class ListedFiles {
public:
    explicit ListedFiles(const SlideItems& items)
        : mItems(items)
        , mIndex(items.size())
        , mIsMet(items.size(), false)
    {
        for (size_t i = items.size(); i-- > 0;) // Backwards: the first one is to be found first.
            mIndex.add(items[i]->hash(), i);
    }

    /// Marks the slide. \return false when the file is not listed.
    bool meet(const FileURL& url)
    {
        const auto place = placeOf(url);
        if (place)
            mIsMet[*place] = true;
        return place.has_value();
    }

    /// The slides that were not met. A file that is listed twice is met once for both.
    SlideItems unmet() const
    {
        SlideItems items;
        for (size_t i = 0; i < mItems.size(); ++i) {
            if (!mIsMet[i] && !mIsMet[*placeOf(mItems[i]->mURL())])
                items.push_back(mItems[i]);
        }
        return items;
    }

private:
    /// Of the first one, if a file is listed twice.
    std::optional<size_t> placeOf(const FileURL& url) const
    {
        return mIndex.find(
            std::hash<FileURL>()(url), [&](size_t i) { return mItems[i]->mURL() == url; });
    }

    const SlideItems& mItems;
    HashIndex mIndex;
    std::vector<bool> mIsMet;
};

/// One look, on its way.
class Looking {
public:
    Looking(const FolderWatch& watch, const LookOrder& order, const SlideList::Snapshot& listed,
        const std::vector<FileURL>& takenOut, UnfinishedFiles& unfinished)
        : mWatch(watch)
        , mOrder(order)
        , mListed(listed.items)
        , mTakenOut(takenOut.begin(), takenOut.end())
        , mUnfinished(unfinished)
    {
    }

    FolderLook run()
    {
        for (const FileURL& url : mOrder.putOff)
            meetPutOff(url);
        if (!mWatch.folder.isEmpty())
            walk();
        if (mWatch.isOver)
            return {};
        if (!mWatch.folder.isEmpty())
            mLook.gone = mListed.unmet();
        mUnfinished.sightings.swap(mSightings);
        return std::move(mLook);
    }

private:
    void walk()
    {
        const auto watches = mWatch.watches;
        if (watches) {
            watches->beginRound();
            watches->watch(mWatch.folder);
        }
        DirectoryWalker walker(mWatch.folder);
        while (!mWatch.isOver) {
            const auto entry = walker.next();
            if (!entry) {
                if (watches)
                    watches->endRound();
                return;
            }
            const bool isHidden = entry->relativePath.startsWith('.');
            const bool isTooDeep = mOrder.maxLevel > 0 && entry->level > mOrder.maxLevel;
            if (isHidden || isTooDeep)
                walker.skipDescendants();
            else
                meet(*entry);
        }
    }

    void meet(const DirectoryEntry& entry)
    {
        QByteArray path = joinPath(mWatch.folder, entry.relativePath);
        if (entry.kind == FileKind::Folder) {
            const bool isEntered = mOrder.maxLevel <= 0 || entry.level < mOrder.maxLevel;
            if (mWatch.watches && isEntered)
                mWatch.watches->watch(path);
            return;
        }
        if (entry.kind == FileKind::Special)
            return;
        if (entry.kind == FileKind::Link && !isFile(path))
            return;
        const FileURL url(std::move(path));
        if (mTakenOut.count(url) > 0 || mListed.meet(url))
            return;
        if (const auto kind = slideKindOf(url, entry.kind))
            meetNew(url, *kind);
    }

    static bool isFile(const QByteArray& path)
    {
        const auto status = fileStatus(path);
        return status && status->kind != FileKind::Folder;
    }

    static std::optional<SlideKind> slideKindOf(const FileURL& url, FileKind kind)
    {
        return TypeIdentifier::slideKindOf(kind == FileKind::Regular
                ? TypeIdentifier::typeIdentifierForRegularFile(url.path())
                : TypeIdentifier::typeIdentifierForFile(url.path()));
    }

    void meetPutOff(const FileURL& url)
    {
        const bool isForgotten = !isFile(url.path()) || mTakenOut.count(url) > 0;
        const auto kind = slideKindOf(url, FileKind::Link);
        if (isForgotten || !kind || mListed.meet(url) || meetNew(url, *kind))
            mLook.settled.push_back(url);
    }

    /// \return whether the file is finished.
    bool meetNew(const FileURL& url, SlideKind kind)
    {
        if (mSightings.count(url.path()) > 0)
            return false; // Put off, and now met in the folder.
        const auto version = versionOf(url.path());
        if (!version)
            return true; // Gone meanwhile.
        const Writers writers = writersOfPath(url);
        if (writers != Writers::Some && wasLeftAlone(url.path(), *version)) {
            if (mFresh.insert(url).second)
                mLook.fresh.push_back(SlideItem::itemWithURL(url, kind));
            return true;
        }
        mLook.hasUnfinished = true;
        mLook.mayBeFinishedSoon |= writers != Writers::Some;
        return false;
    }

    static Writers writersOfPath(const FileURL& url)
    {
        const auto file = openForReading(url);
        return file ? writersOf(*file) : Writers::Unknown;
    }

    /// By the date of the file, or, since clocks may be wrong, by what was seen of it.
    bool wasLeftAlone(const QByteArray& path, const FileVersion& version)
    {
        const auto age = mOrder.wallNow - version.modified;
        if (age >= kSeenUnchanged)
            return true;
        const auto before = mUnfinished.sightings.find(path);
        const bool isUnchanged
            = before != mUnfinished.sightings.end() && before->second.version == version;
        const TimePoint since = isUnchanged ? before->second.since : mOrder.now;
        if (mOrder.now - since >= kSeenUnchanged)
            return true;
        mSightings[path] = { version, since };
        return false;
    }

    const FolderWatch& mWatch;
    const LookOrder& mOrder;
    ListedFiles mListed;
    const std::unordered_set<FileURL> mTakenOut;
    UnfinishedFiles& mUnfinished;
    std::unordered_map<QByteArray, UnfinishedFiles::Sighting> mSightings;
    std::unordered_set<FileURL> mFresh;
    FolderLook mLook;
};

/// What of the look's new files is not in the list by now.
SlideItems newItems(const SlideItems& fresh, const SlideItems& listed)
{
    SlideItems items;
    if (fresh.empty())
        return items;
    ListedFiles files(listed);
    std::copy_if(fresh.begin(), fresh.end(), std::back_inserter(items),
        [&](const auto& item) { return !files.meet(item->mURL()); });
    return items;
}

/// The place of a slide: of this very item, since a file may be listed twice.
std::optional<size_t> placeOf(const std::shared_ptr<SlideItem>& item, const SlideItems& items)
{
    const auto place = std::find(items.begin(), items.end(), item);
    if (!item || place == items.end())
        return {};
    return static_cast<size_t>(place - items.begin());
}

} // namespace

FolderLook lookAt(const FolderWatch& watch, const LookOrder& order,
    const SlideList::Snapshot& listed, const std::vector<FileURL>& takenOut,
    UnfinishedFiles& unfinished)
{
    return Looking(watch, order, listed, takenOut, unfinished).run();
}

MergedList merge(const SlideList::Snapshot& listed, const FolderLook& look, const MergeRules& rules)
{
    MergedList merged { listed.items, listed.index, {}, false, false };
    SlideItems& items = merged.items;

    const std::unordered_set<std::shared_ptr<SlideItem>> gone(look.gone.begin(), look.gone.end());
    if (!gone.empty())
        std::erase_if(items, [&](const auto& item) { return gone.count(item) > 0; });
    SlideItems fresh = newItems(look.fresh, items);
    merged.hasNew = !fresh.empty();
    merged.hasChanged = merged.hasNew || items.size() != listed.items.size();
    if (!merged.hasChanged)
        return merged;

    const auto current = listed.current();
    const auto place = placeOf(current, items);
    merged.index = place ? *place : items.size() - 1; // Of an empty list, SlideList::kBeforeFirst.
    if (!merged.hasNew)
        return merged;

    if (rules.showsNewItemsASAP) {
        sortItems(fresh, rules.sort, rules.random);
        const size_t insertion = place ? *place + 1 : items.size();
        items.insert(
            items.begin() + static_cast<std::ptrdiff_t>(insertion), fresh.begin(), fresh.end());
    } else {
        items.insert(items.end(), fresh.begin(), fresh.end());
        sortItems(items, rules.sort, rules.random);
    }
    merged.companions = removeCompanions(items);
    // What stood beside a JPEG and went must not put another slide in the place of the one that is
    // seen, and so pass one over.
    if (rules.showsNewItemsASAP && place)
        merged.index = placeOf(current, items).value_or(merged.index);
    return merged;
}

} // namespace quorvane
