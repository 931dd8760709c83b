// SPDX-License-Identifier: GPL-3.0-or-later
// The slides of the ad folder, between those of the show.
#include "app/SlideController.h"
#include "platform/MainQueue.h"
#include "platform/UserDefaults.h"
#include "settings/SettingsCatalogue.h"

namespace quorvane {

void SlideController::openAddfolder()
{
    if (!mDefaults.boolValue(kShowAdds))
        return;
    const auto bookmark = Bookmark::fromData(mDefaults.dataValue(kAddFolder));
    if (!bookmark)
        return;
    const auto found = [this, show = mEndedShows.load()](const auto& folder) {
        if (folder && show == mEndedShows)
            fillAddSequence(folder->url);
    };
    mFolderFinder.resolve(*bookmark, mLifeGuard.wrap(found));
}

void SlideController::fillAddSequence(const FileURL& folder)
{
    mSecurityScopedAddURL.reset(); // Before the next one begins, should it be the same.
    mSecurityScopedAddURL.emplace(folder);
    if (!mAddSequence)
        mAddSequence = std::make_unique<FileSequence>(mDefaults, mClock);
    mAddSequence->stopCollecting();
    const std::function<void()> cleared = mLifeGuard.wrap([this] { mFirstAddIsDue = true; });
    mDispatchQueue.async([this, folder, cleared, show = mEndedShows.load()] {
        mAddSequence->clear();
        if (show != mEndedShows)
            return;
        MainQueue::async(cleared);
        mAddSequence->addURL(folder);
    });
}

/// Steps between the ads, or nothing when it is not the turn of one or there is none left.
std::optional<FileURL> SlideController::nextAdd()
{
    if (!mDefaults.boolValue(kShowAdds) || !mAddSequence)
        return {};
    if (mAddCounter < mDefaults.integerValue(kAddInterval)) {
        ++mAddCounter;
        return {};
    }
    mAddCounter = 0;
    if (!mFirstAddIsDue)
        return mAddSequence->next();
    auto first = mAddSequence->first();
    mFirstAddIsDue = !first; // A step would pass over it.
    return first;
}

/// What nextAdd() will answer, as far as anybody can know.
std::optional<FileURL> SlideController::upcomingAdd() const
{
    if (!mDefaults.boolValue(kShowAdds) || !mAddSequence
        || mAddCounter < mDefaults.integerValue(kAddInterval))
        return {};
    if (mFirstAddIsDue)
        return mAddSequence->URLAtIndex(0);
    const size_t next = mAddSequence->currentIndex() + 1;
    const bool rewinds = mDefaults.stringValue(kEndMode) == kEndModeRewind;
    return mAddSequence->URLAtIndex(next < mAddSequence->count() || !rewinds ? next : 0);
}

void SlideController::openAdd(const FileURL& url)
{
    mShowsAdd = true;
    present(url, true);
}

/// Goes on with what would have come after the ad. The show itself has not moved.
void SlideController::addCouldNotBeShown(const FileURL& url, bool isUnfinished)
{
    // Before the ad that will take its place. First: at its end, a list deals its order anew.
    const size_t place = mAddSequence->currentIndex();
    mFirstAddIsDue = place == 0;
    if (place > 0)
        mAddSequence->gotoIndex(place - 1);
    if (isUnfinished)
        mAddSequence->putOff(url);
    else
        mAddSequence->remove(url);
    mShowsAdd = false;
    setShownURL(mSequence.current()); // What is still on the screen.
    updateInfoDisplayForURL(mSequence.current());
    next();
}

} // namespace quorvane
