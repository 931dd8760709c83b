// SPDX-License-Identifier: GPL-3.0-or-later
#include "sequence/FileSequence.h"

#include "platform/DirectoryWalker.h"
#include "platform/PathRules.h"
#include "platform/TypeIdentifier.h"
#include "platform/UserDefaults.h"
#include "settings/SettingsCatalogue.h"

#include <algorithm>

namespace quorvane {

FileSequence::FileSequence(const UserDefaults& defaults, Trash trash, RandomBelow random)
    : mDefaults(defaults)
    , mTrash(std::move(trash))
    , mRandom(std::move(random))
{
}

void FileSequence::addURLs(const std::vector<FileURL>& urls)
{
    beginCollecting();
    for (const FileURL& url : urls)
        addEntry(url);
    sort();
}

void FileSequence::addFiles(const std::vector<QByteArray>& paths)
{
    beginCollecting();
    mAddDirectories = true;
    for (const QByteArray& path : paths)
        addEntry(FileURL(path));
    sort();
}

void FileSequence::addFile(const QByteArray& path) { addURL(FileURL(path)); }

void FileSequence::addURL(const FileURL& url)
{
    beginCollecting();
    addEntry(url);
}

void FileSequence::addDirectory(const QByteArray& path)
{
    beginCollecting();
    walk(path);
}

bool FileSequence::isCollectingEnded() const
{
    return mStopCollecting || mCollectedClearings != mClearings;
}

void FileSequence::addEntry(const FileURL& url)
{
    if (isCollectingEnded())
        return;
    const auto status = fileStatus(url.path());
    if (!status)
        return;
    if (status->kind == FileKind::Folder) {
        if (mAddDirectories)
            walk(url.path());
        return;
    }
    if (displayableURL(url))
        addItem(SlideItem::itemWithURL(url));
}

void FileSequence::walk(const QByteArray& path)
{
    mAddDirectories = false;
    const qint64 maxLevel = mDefaults.integerValue(kMaxFolderLevel);
    DirectoryWalker walker(path);
    while (!isCollectingEnded()) {
        const auto entry = walker.next();
        if (!entry)
            break;
        const bool isHidden = entry->relativePath.startsWith('.');
        if (isHidden || (maxLevel > 0 && entry->level > maxLevel))
            walker.skipDescendants();
        else
            addKnownFile(joinPath(path, entry->relativePath), *entry);
    }
    mAddDirectories = true;
}

void FileSequence::addKnownFile(const QByteArray& path, const DirectoryEntry& entry)
{
    if (entry.kind == FileKind::Link) {
        addEntry(FileURL(path));
        return;
    }
    if (entry.kind != FileKind::Regular
        || !TypeIdentifier::isDisplayable(TypeIdentifier::typeIdentifierForRegularFile(path)))
        return;
    if (const auto status = linkStatus(path))
        addItem(SlideItem::itemWithURL(FileURL(path), *status));
}

bool FileSequence::displayableURL(const FileURL& url)
{
    return TypeIdentifier::isDisplayable(TypeIdentifier::typeIdentifierForFile(url.path()));
}

void FileSequence::addItem(const std::shared_ptr<SlideItem>& item)
{
    size_t count = 0;
    {
        const std::lock_guard lock(mGuard);
        if (isCollectingEnded())
            return;
        mItems.push_back(item);
        count = mItems.size();
    }
    checkFirstFile(count);
}

void FileSequence::checkFirstFile(size_t count)
{
    if (count == 1 && myDelegate)
        myDelegate->firstFileFound();
}

size_t FileSequence::count() const
{
    const std::lock_guard lock(mGuard);
    return mItems.size();
}

size_t FileSequence::currentIndex() const
{
    const std::lock_guard lock(mGuard);
    return mCurrentFileIndex;
}

std::optional<FileURL> FileSequence::at(size_t index) const
{
    if (index >= mItems.size())
        return {};
    return mItems[index]->mURL();
}

std::optional<FileURL> FileSequence::current() const
{
    const std::lock_guard lock(mGuard);
    return at(mCurrentFileIndex);
}

std::optional<FileURL> FileSequence::first()
{
    const std::lock_guard lock(mGuard);
    if (!mItems.empty())
        mCurrentFileIndex = 0;
    return at(0);
}

std::optional<FileURL> FileSequence::next()
{
    bool isPastEnd = false;
    {
        const std::lock_guard lock(mGuard);
        if (mItems.empty())
            return {};
        ++mCurrentFileIndex;
        isPastEnd = mCurrentFileIndex >= mItems.size();
    }
    if (isPastEnd && mDefaults.stringValue(kEndMode) == kEndModeRewind)
        rewind();

    const std::lock_guard lock(mGuard);
    if (mCurrentFileIndex >= mItems.size() && !mItems.empty()) { // Else cleared meanwhile.
        mCurrentFileIndex = mItems.size() - 1;
        return {};
    }
    return at(mCurrentFileIndex);
}

std::optional<FileURL> FileSequence::previous()
{
    const std::lock_guard lock(mGuard);
    if (mCurrentFileIndex == kBeforeFirst)
        return {};
    if (mItems.empty() || mCurrentFileIndex == 0)
        mCurrentFileIndex = mItems.size();
    --mCurrentFileIndex; // In an empty list that is kBeforeFirst.
    return at(mCurrentFileIndex);
}

std::optional<FileURL> FileSequence::URLAtIndex(size_t index) const
{
    const std::lock_guard lock(mGuard);
    return at(index);
}

std::optional<FileURL> FileSequence::gotoIndex(size_t index)
{
    const std::lock_guard lock(mGuard);
    if (index < mItems.size())
        mCurrentFileIndex = index;
    return at(index);
}

std::optional<FileURL> FileSequence::atOffset(qint64 offset) const
{
    const std::lock_guard lock(mGuard);
    const auto n = static_cast<qint64>(mItems.size());
    qint64 index = 0;
    if (__builtin_add_overflow(static_cast<qint64>(mCurrentFileIndex), offset, &index))
        return {};
    if (index >= n)
        index -= n;
    if (index < 0)
        index += n;
    if (index < 0 || index >= n)
        return {};
    return at(static_cast<size_t>(index));
}

void FileSequence::rewind()
{
    {
        const std::lock_guard lock(mGuard);
        mCurrentFileIndex = 0;
    }
    sort();
}

std::optional<FileURL> FileSequence::trash()
{
    const auto url = current();
    return url && moveToTrash(*url) ? takeOutTrashed(*url) : std::nullopt;
}

bool FileSequence::moveToTrash(const FileURL& url) const { return !url.isEmpty() && mTrash(url); }

std::optional<FileURL> FileSequence::takeOutTrashed(const FileURL& url)
{
    {
        const std::lock_guard lock(mGuard);
        const auto isTrashed = [&](const auto& item) { return item->mURL() == url; };
        const auto start = mItems.begin()
            + static_cast<std::ptrdiff_t>(std::min(mCurrentFileIndex, mItems.size()));
        auto place = std::find_if(start, mItems.end(), isTrashed);
        if (place == mItems.end()) { // Sorted, or gone past, meanwhile.
            place = std::find_if(mItems.begin(), start, isTrashed);
            if (place != start)
                --mCurrentFileIndex; // The current slide stays the current one.
            else
                place = mItems.end();
        }
        if (place != mItems.end())
            mItems.erase(place);
        ++mGeneration;
    }
    rewindFromEnd();
    return current();
}

void FileSequence::remove(const FileURL& url)
{
    {
        const std::lock_guard lock(mGuard);
        mTakenOut.push_back(url);
        std::erase_if(mItems, [&](const auto& item) { return item->mURL() == url; });
        ++mGeneration;
    }
    rewindFromEnd();
}

void FileSequence::rewindFromEnd()
{
    {
        const std::lock_guard lock(mGuard);
        if (mCurrentFileIndex < mItems.size() || mCurrentFileIndex == kBeforeFirst)
            return;
    }
    rewind();
}

void FileSequence::clear()
{
    const std::lock_guard lock(mGuard);
    mItems.clear();
    ++mGeneration;
    ++mClearings;
    mCurrentFileIndex = 0;
    mStopCollecting = false;
}

void FileSequence::sort()
{
    replaceItems([this](SlideItems& items) { sortArray(items); });
}

void FileSequence::sortArray(SlideItems& items) const
{
    sortItems(items, mDefaults.stringValue(kSort), mRandom);
}

void FileSequence::shuffle()
{
    replaceItems([this](SlideItems& items) { shuffleItems(items, mRandom); });
}

void FileSequence::removeDuplicates()
{
    std::vector<FileURL> removed;
    replaceItems([&removed](SlideItems& items) { removed = removeCompanions(items); });
    const std::lock_guard lock(mGuard);
    mTakenOut.insert(mTakenOut.end(), removed.begin(), removed.end());
}

void FileSequence::removeDuplicates(SlideItems& items)
{
    const std::vector<FileURL> removed = removeCompanions(items);
    const std::lock_guard lock(mGuard);
    mTakenOut.insert(mTakenOut.end(), removed.begin(), removed.end());
}

void FileSequence::replaceItems(const std::function<void(SlideItems&)>& change)
{
    // On a copy, without the lock; once more if somebody else changed the list meanwhile. What was
    // only added goes behind: a queue that fills the list would keep us here until it is done.
    std::unique_lock lock(mGuard);
    while (true) {
        SlideItems items = mItems;
        const auto count = static_cast<std::ptrdiff_t>(items.size());
        const quint64 generation = mGeneration;
        lock.unlock();
        change(items);
        lock.lock();
        if (generation != mGeneration)
            continue;
        items.insert(items.end(), mItems.begin() + count, mItems.end());
        mItems.swap(items);
        ++mGeneration;
        return;
    }
}

std::vector<FileURL> FileSequence::mRemovedURLs() const
{
    const std::lock_guard lock(mGuard);
    return mTakenOut;
}

} // namespace quorvane
