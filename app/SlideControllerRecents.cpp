// SPDX-License-Identifier: GPL-3.0-or-later
// The folders that were shown before: remembered, listed, and opened again.
#include "app/Menus.h"
#include "app/OpenPanel.h"
#include "app/SlideController.h"
#include "app/SlideWindow.h"

#include <QAction>

namespace quorvane {

namespace {

/// How long a program without a window waits for the disk of the last folder. After that the person
/// is given something to look at; the folder may still come.
constexpr std::chrono::seconds kLaunchPatience { 2 };

} // namespace

void SlideController::rememberRecentFolders(const std::vector<QByteArray>& paths)
{
    if (paths.size() == 1)
        rememberRecentFolder(paths.front());
}

void SlideController::rememberRecentURLs(const std::vector<FileURL>& urls)
{
    if (urls.size() == 1)
        rememberRecentFolder(urls.front().path());
}

void SlideController::rememberRecentFolder(const QByteArray& path)
{
    mRecentFolders.remember(path);
}

std::vector<QByteArray> SlideController::recentPaths()
{
    mRecentFolders.look();
    return mRecentFolders.paths();
}

void SlideController::updateRecentMenu() { mMenus->setRecents(recentPaths()); }

void SlideController::recentsChanged()
{
    updateRecentMenu();
    if (mWelcomeController)
        mWelcomeController->loadRecents(recentPaths());
}

void SlideController::ClearRecentsMenu() { mRecentFolders.clear(); }

void SlideController::OpenRecentFolder(const QAction& item)
{
    if (const auto index = mRecentFolders.indexOf(item.data().toByteArray()))
        openRecentFolderAtIndex(static_cast<qint64>(*index));
}

void SlideController::recentSelected(int row) { openRecentFolderAtIndex(row); }

void SlideController::openRecentFolderAtIndex(qint64 index)
{
    if (index < 0 || static_cast<size_t>(index) >= mRecentFolders.count())
        return;
    const quint64 wish = ++mWishes;
    const auto found = [this, wish](const std::optional<ResolvedBookmark>& folder) {
        if (wish != mWishes)
            return;
        mLaunchTimer.reset();
        if (folder)
            openRecentFolder(folder->url);
        else
            standInForWindows();
    };
    mFolderFinder.resolve(mRecentFolders.at(static_cast<size_t>(index)), mLifeGuard.wrap(found));
}

void SlideController::openRecentFolder(const FileURL& folder)
{
    endSlideShow();
    mSecurityScopedResourceURL.emplace(folder);
    const auto collect = [this, path = folder.path()] {
        mSequence.addDirectory(path);
        mSequence.sort();
        mSequence.removeDuplicates();
    };
    fill(collect, [this] { goToFirstSlide(); });
    rememberRecentFolder(folder.path());
}

/// Greets nobody: the person wants that folder, or nothing.
void SlideController::openLastUsedFolder()
{
    openRecentFolderAtIndex(0);
    if (mRecentFolders.count() == 0)
        standInForWindows();
    else
        mLaunchTimer = mClock.scheduleTimer(
            kLaunchPatience, Clock::Repetition::Once, [this] { standInForWindows(); });
}

/// A program that shows nothing at all could not even be quit.
void SlideController::standInForWindows()
{
    if (isAnyWindowOpen() || mOpenings > 0 || isEnding() || mOpenPanel)
        return;
    ShowControls();
    mControlsStandIn = true;
}

} // namespace quorvane
