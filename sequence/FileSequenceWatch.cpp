// SPDX-License-Identifier: GPL-3.0-or-later
// A sequence whose folder is watched.
#include "images/SVImageCache.h"
#include "platform/DispatchQueue.h"
#include "platform/FolderEvents.h"
#include "platform/MainQueue.h"
#include "platform/UserDefaults.h"
#include "sequence/FileSequence.h"
#include "sequence/FolderLook.h"
#include "settings/SettingsCatalogue.h"

#include <algorithm>

namespace quorvane {

namespace {

constexpr std::chrono::seconds kLookInterval { 5 };

/// After which a file that was being written may be finished.
constexpr std::chrono::seconds kSoon { 1 };

/// How often what a look found is fitted anew into a list that changes meanwhile, before it is
/// fitted in while the show waits.
constexpr int kMergeTries = 5;

using LookPointer = std::shared_ptr<const FolderLook>;

/// A list that is to take the place of another.
struct Merging {
    SlideList::Snapshot before;
    MergedList merged;
};
using Fit = std::function<void(const SlideList::Snapshot&, MergedList&)>;

/// To let go of a long list takes longer than a frame.
void releaseElsewhere(std::shared_ptr<Merging> merging)
{
    DispatchQueue::global().async(
        [list = std::move(merging)]() mutable { list.reset(); }, DispatchQueue::Priority::Ahead);
}

/// \param fit  called on the main thread.
void mergeElsewhere(const std::shared_ptr<SlideList>& list, const LookPointer& look,
    const MergeRules& rules, const Fit& fit)
{
    const auto work = [list, look, rules, fit] {
        auto merging = std::make_shared<Merging>();
        merging->before = list->snapshot();
        merging->merged = merge(merging->before, *look, rules);
        MainQueue::async([fit, merging = std::move(merging)]() mutable {
            fit(merging->before, merging->merged);
            releaseElsewhere(std::move(merging));
        });
    };
    DispatchQueue::global().async(work, DispatchQueue::Priority::Ahead);
}

} // namespace

QByteArray FileSequence::mHotFolder() const
{
    const auto watch = currentWatch();
    return watch ? watch->folder : QByteArray();
}

std::shared_ptr<FolderWatch> FileSequence::currentWatch() const
{
    const std::lock_guard lock(mWatchGuard);
    return mWatch;
}

std::shared_ptr<FolderWatch> FileSequence::watchFirstFolder(const QByteArray& path)
{
    if (currentWatch() || !mAllowHotFolder) {
        stopHotfolder();
        return nullptr;
    }
    auto watch = std::make_shared<FolderWatch>();
    watch->folder = path;
    watch->watches = FolderWatches::create();
    watch->clearings = mClearings;
    {
        const std::lock_guard lock(mWatchGuard);
        mWatch = watch;
    }
    MainQueue::async(mLifeGuard.wrap([this] { adoptWatch(); }));
    return watch;
}

void FileSequence::stopHotfolder()
{
    {
        const std::lock_guard lock(mWatchGuard);
        if (mWatch)
            mWatch->isOver = true;
        mWatch.reset();
    }
    MainQueue::async(mLifeGuard.wrap([this] { adoptWatch(); }));
}

/// Events and timers are the main thread's: they follow the watch that another thread began or
/// ended.
void FileSequence::adoptWatch()
{
    const auto watch = currentWatch();
    if (watch == mAdoptedWatch)
        return;
    mAdoptedWatch = watch;
    mEventStream.reset();
    mTimer.reset();
    if (!watch)
        return;
    if (watch->watches)
        mEventStream = std::make_unique<FolderEvents>(watch->watches, mClock,
            [this](const std::vector<FolderEvent>& events) { folderChanged(events); });
    resetHotFolderScanTime();
    mTimer = mClock.scheduleTimer(
        kLookInterval, Clock::Repetition::Repeating, [this] { updateHotFolder(); });
}

void FileSequence::forgetUnfinished()
{
    mPutOff.clear();
    mSoonTimer.reset();
    mHasUnfinished = false;
    mUnfinished
        = std::make_shared<UnfinishedFiles>(); // A look under way may still use the old one.
}

bool FileSequence::isOver(const FolderWatch& watch) const
{
    return watch.isOver || watch.clearings != mClearings;
}

void FileSequence::resetHotFolderScanTime() { mLastScan = mClock.now() - kLookInterval; }

void FileSequence::folderChanged(const std::vector<FolderEvent>& events)
{
    bool wantsLook = false;
    const auto rewritten = [this](const FileURL& url) {
        SVImageCache::removeImageWithURL(url);
        itemChanged(url);
    };
    for (const FolderEvent& event : events) {
        const FileURL url(event.path);
        wantsLook |= event.kinds != FolderEvent::Modified || awaitsFiles();
        if (event.kinds & FolderEvent::Modified)
            rewritten(url);
        if (event.kinds & FolderEvent::Lost)
            rewritten(current().value_or(FileURL())); // It may be among what was lost.
    }
    if (wantsLook)
        updateHotFolder();
}

void FileSequence::itemChanged(const FileURL& url)
{
    if (current() == url && myDelegate)
        myDelegate->currentFileChanged();
}

void FileSequence::updateHotFolder()
{
    if (!currentWatch() && mPutOff.empty())
        return;
    mLastScan = mClock.now();
    mOwesLook = true; // First, so that a collection that ends right now sees it.
    if (mCollections > 0 || !mOwesLook.exchange(false))
        return;
    if (mIsLooking)
        mLooksAgain = true;
    else
        startLook();
}

void FileSequence::lookSoon()
{
    if (!mSoonTimer)
        mSoonTimer = mClock.scheduleTimer(kSoon, Clock::Repetition::Once, [this] {
            const auto timer = std::move(mSoonTimer); // It is running this very block.
            updateHotFolder();
        });
}

void FileSequence::startLook()
{
    mIsLooking = true;
    auto watch = currentWatch();
    if (!watch) { // For what was put off.
        watch = std::make_shared<FolderWatch>();
        watch->clearings = mClearings;
    }
    const LookOrder order { mDefaults.integerValue(kMaxFolderLevel), mClock.now(),
        mClock.fileTime(), { mPutOff.begin(), mPutOff.end() } };
    const std::function<void(const LookPointer&)> finished
        = mLifeGuard.wrap([this, watch](const LookPointer& look) { lookFinished(watch, look); });
    // Whoever reads ahead, or waits for a picture, goes first.
    DispatchQueue::global().async(
        [list = mList, unfinished = mUnfinished, watch, order, finished] {
            const auto look = std::make_shared<const FolderLook>(
                lookAt(*watch, order, list->snapshot(), list->takenOut(), *unfinished));
            MainQueue::async([finished, look] { finished(look); });
        },
        DispatchQueue::Priority::Ahead);
}

void FileSequence::lookFinished(
    const std::shared_ptr<FolderWatch>& watch, const std::shared_ptr<const FolderLook>& look)
{
    if (isOver(*watch)) {
        lookEnded();
        return;
    }
    mHasUnfinished = look->hasUnfinished;
    for (const FileURL& url : look->settled)
        mPutOff.erase(url);
    // Of a file that somebody has open, the kernel tells when it is closed, if it is watched.
    if (look->mayBeFinishedSoon || (!watch->watches && look->hasUnfinished))
        lookSoon();
    if (look->fresh.empty() && look->gone.empty())
        lookEnded();
    else
        mergeLook(watch, look, kMergeTries);
}

/// Sorting a long list and looking for companions take their time: the new list is made on another
/// thread and takes the place of the old one here, if that is still the one that it was made from.
void FileSequence::mergeLook(const std::shared_ptr<FolderWatch>& watch,
    const std::shared_ptr<const FolderLook>& look, int triesLeft)
{
    const MergeRules rules { mDefaults.boolValue(kShowNewItemsASAP), mDefaults.stringValue(kSort),
        mRandom };
    const Fit fit = [this, watch, look, triesLeft](const auto& before, MergedList& merged) {
        if (isOver(*watch) || !merged.hasChanged) {
            lookEnded();
        } else if (mList->replace(before, merged.items, merged.index)) {
            mList->addTakenOut(merged.companions);
            if (merged.hasNew && myDelegate)
                myDelegate->newFilesFound();
            lookEnded();
        } else {
            mergeLook(watch, look, triesLeft - 1);
        }
    };
    if (triesLeft <= 0) {
        const SlideList::Snapshot before = mList->snapshot();
        MergedList merged = merge(before, *look, rules);
        fit(before, merged);
        return;
    }
    mergeElsewhere(mList, look, rules, mLifeGuard.wrap(fit));
}

void FileSequence::lookEnded()
{
    mIsLooking = false;
    if (std::exchange(mLooksAgain, false))
        updateHotFolder();
}

} // namespace quorvane
