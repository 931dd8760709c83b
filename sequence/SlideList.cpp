// SPDX-License-Identifier: GPL-3.0-or-later
#include "sequence/SlideList.h"

#include <algorithm>

namespace quorvane {

SlideList::Snapshot SlideList::snapshot() const
{
    const std::lock_guard lock(mGuard);
    return { mItems, mIndex, mGeneration };
}

bool SlideList::replace(const Snapshot& before, SlideItems& items, size_t index)
{
    const std::lock_guard lock(mGuard);
    if (before.generation != mGeneration || before.items.size() != mItems.size()
        || before.index != mIndex)
        return false;
    mItems.swap(items);
    mIndex = index;
    ++mGeneration;
    return true;
}

void SlideList::change(const std::function<void(SlideItems&)>& change)
{
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

size_t SlideList::count() const
{
    const std::lock_guard lock(mGuard);
    return mItems.size();
}

size_t SlideList::currentIndex() const
{
    const std::lock_guard lock(mGuard);
    return mIndex;
}

std::optional<FileURL> SlideList::at(size_t index) const
{
    if (index >= mItems.size())
        return {};
    return mItems[index]->mURL();
}

std::optional<FileURL> SlideList::current() const
{
    const std::lock_guard lock(mGuard);
    return at(mIndex);
}

std::optional<FileURL> SlideList::first()
{
    const std::lock_guard lock(mGuard);
    if (!mItems.empty())
        mIndex = 0;
    return at(0);
}

std::optional<bool> SlideList::advance()
{
    const std::lock_guard lock(mGuard);
    if (mItems.empty())
        return {};
    ++mIndex;
    return mIndex >= mItems.size();
}

std::optional<FileURL> SlideList::currentBeforeEnd()
{
    const std::lock_guard lock(mGuard);
    if (mIndex >= mItems.size() && !mItems.empty()) {
        mIndex = mItems.size() - 1;
        return {};
    }
    return at(mIndex);
}

std::optional<FileURL> SlideList::previous()
{
    const std::lock_guard lock(mGuard);
    if (mIndex == kBeforeFirst)
        return {};
    if (mItems.empty() || mIndex == 0)
        mIndex = mItems.size();
    --mIndex; // In an empty list that is kBeforeFirst.
    return at(mIndex);
}

std::optional<FileURL> SlideList::URLAtIndex(size_t index) const
{
    const std::lock_guard lock(mGuard);
    return at(index);
}

std::optional<FileURL> SlideList::gotoIndex(size_t index)
{
    const std::lock_guard lock(mGuard);
    if (index < mItems.size())
        mIndex = index;
    return at(index);
}

std::optional<FileURL> SlideList::atOffset(qint64 offset) const
{
    const std::lock_guard lock(mGuard);
    const auto n = static_cast<qint64>(mItems.size());
    qint64 index = 0;
    if (__builtin_add_overflow(static_cast<qint64>(mIndex), offset, &index))
        return {};
    if (index >= n)
        index -= n;
    if (index < 0)
        index += n;
    if (index < 0 || index >= n)
        return {};
    return at(static_cast<size_t>(index));
}

bool SlideList::isMovie(const FileURL& url) const
{
    const std::lock_guard lock(mGuard);
    const auto isIt = [&](const auto& item) { return item->mURL() == url; };
    for (const size_t near : { mIndex, mIndex + 1 }) {
        if (near < mItems.size() && isIt(mItems[near]))
            return mItems[near]->kind() == SlideKind::Movie;
    }
    const auto item = std::find_if(mItems.begin(), mItems.end(), isIt);
    return item != mItems.end() && (*item)->kind() == SlideKind::Movie;
}

void SlideList::gotoStart()
{
    const std::lock_guard lock(mGuard);
    mIndex = 0;
}

bool SlideList::isPastEnd() const
{
    const std::lock_guard lock(mGuard);
    return mIndex >= mItems.size() && mIndex != kBeforeFirst;
}

std::optional<size_t> SlideList::append(
    const std::shared_ptr<SlideItem>& item, const std::function<bool()>& isStale)
{
    const std::lock_guard lock(mGuard);
    if (isStale())
        return {};
    mItems.push_back(item);
    return mItems.size();
}

void SlideList::takeOut(const FileURL& url, bool forGood)
{
    const std::lock_guard lock(mGuard);
    if (forGood)
        mTakenOut.push_back(url);
    std::erase_if(mItems, [&](const auto& item) { return item->mURL() == url; });
    ++mGeneration;
}

void SlideList::takeOutOne(const FileURL& url)
{
    const std::lock_guard lock(mGuard);
    const auto isMeant = [&](const auto& item) { return item->mURL() == url; };
    const auto start
        = mItems.begin() + static_cast<std::ptrdiff_t>(std::min(mIndex, mItems.size()));
    auto place = std::find_if(start, mItems.end(), isMeant);
    if (place == mItems.end()) { // Sorted, or gone past, meanwhile.
        place = std::find_if(mItems.begin(), start, isMeant);
        if (place != start)
            --mIndex; // The current slide stays the current one.
        else
            place = mItems.end();
    }
    if (place != mItems.end())
        mItems.erase(place);
    ++mGeneration;
}

void SlideList::clear(const std::function<void()>& cleared)
{
    SlideItems items;
    {
        const std::lock_guard lock(mGuard);
        mItems.swap(items); // A long list takes its time to go.
        ++mGeneration;
        mIndex = 0;
        cleared();
    }
}

void SlideList::addTakenOut(const std::vector<FileURL>& urls)
{
    const std::lock_guard lock(mGuard);
    mTakenOut.insert(mTakenOut.end(), urls.begin(), urls.end());
}

std::vector<FileURL> SlideList::takenOut() const
{
    const std::lock_guard lock(mGuard);
    return mTakenOut;
}

} // namespace quorvane
