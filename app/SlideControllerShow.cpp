// SPDX-License-Identifier: GPL-3.0-or-later
// How the show moves from slide to slide.
#include "app/SlideController.h"
#include "app/SlideWindow.h"
#include "platform/MainQueue.h"
#include "platform/NumberParsing.h"
#include "platform/PathRules.h"
#include "platform/UserDefaults.h"
#include "settings/SettingsCatalogue.h"

#include <QFile>
#include <QWidget>

#include <algorithm>

namespace quorvane {

namespace {

/// Seconds. A stored interval of nothing, or less, would step without end; ten slides a second is
/// as fast as anybody can follow.
constexpr double kShortestInterval = 0.1;

/// How long the person is left alone with the slide after doing something to it.
constexpr std::chrono::seconds kDelay { 5 };

/// After which a file that was being written may be finished.
constexpr std::chrono::seconds kUnfinished { 1 };

/// How long a step waits for a picture that is still being decoded. After that the person has made
/// up their mind not to see it.
constexpr std::chrono::seconds kPatience { 1 };

/// The timer's period for a stored interval, which may be anything, not-a-number too.
Duration periodOf(double seconds)
{
    return durationFromSeconds(std::max(kShortestInterval, seconds));
}

} // namespace

void SlideController::startTimer()
{
    mTimer = mClock.scheduleTimer(
        periodOf(mPeriod), Clock::Repetition::Once, [this] { myTimerFireMethod(); });
}

void SlideController::resetTimer()
{
    if (mTimer)
        startTimer();
}

void SlideController::myTimerFireMethod()
{
    resetTimer();
    // A slide that is not there yet is not passed over: it would never be, if each took that long.
    if (!mView || !mView->isLoading())
        next();
}

void SlideController::Start()
{
    if (isPlaying())
        return;
    mPeriod = mDefaults.floatValue(kSlideInterval);
    startTimer();
    Q_EMIT playingChanged(true);
}

void SlideController::Stop()
{
    if (!isPlaying())
        return;
    mTimer.reset();
    Q_EMIT playingChanged(false);
}

void SlideController::Play()
{
    if (isPlaying()) {
        Stop();
        mWasPlaying = false;
    } else if (!mMovie) {
        Start();
    } else {
        mWasPlaying = !mWasPlaying;
    }
}

void SlideController::slideIntervalChanged()
{
    const Duration before = periodOf(mPeriod);
    mPeriod = mDefaults.floatValue(kSlideInterval);
    updateControls();
    if (!isPlaying())
        return;
    const Duration period = periodOf(mPeriod);
    const TimePoint now = mClock.now();
    const Duration waited = before - (mTimer->fireDate() - now);
    if (waited >= period)
        mTimer->fire();
    else
        mTimer->setFireDate(now + (period - waited));
}

void SlideController::delayNextImage()
{
    const TimePoint earliest = mClock.now() + kDelay;
    if (isPlaying() && mTimer->fireDate() < earliest)
        mTimer->setFireDate(earliest);
}

void SlideController::nextSlide()
{
    resetTimer();
    next();
}

void SlideController::previousSlide()
{
    resetTimer();
    previous();
}

void SlideController::firstSlide()
{
    checkMovie();
    const auto url = mSequence.first();
    if (!url)
        return;
    resetTimer();
    openImageURL(*url, false);
}

void SlideController::gotoImageIndex(size_t index)
{
    checkMovie();
    const size_t before = mSequence.currentIndex();
    const auto url = mSequence.gotoIndex(index);
    if (!url)
        return;
    openImageURL(*url, before < index);
    if (!mWindow)
        return; // It was the last one, and cannot be shown.
    mWindow->raise();
    mWindow->activateWindow();
}

void SlideController::next()
{
    if (isBusy())
        return;
    checkMovie();
    if (const auto add = mShowsHints ? std::nullopt : nextAdd()) {
        openAdd(*add);
        return;
    }
    const auto url = mShowsHints ? mSequence.current() : mSequence.next();
    if (url)
        openImageURL(*url, true);
    // While files are being collected, the end of the list is not its end yet.
    else if (mOpenings == 0 && mDefaults.stringValue(kEndMode) == kEndModeClose)
        endSlideShow();
}

void SlideController::previous()
{
    // A step back in an empty list would keep it from starting with the first file that is found.
    if (isBusy() || mSequence.count() == 0)
        return;
    checkMovie();
    const auto url = mShowsHints ? mSequence.current() : mSequence.previous();
    if (url)
        openImageURL(*url, false);
}

bool SlideController::isBusy() const
{
    if (!mView)
        return false;
    return mView->isBusy() || (mView->isLoading() && mClock.now() - mLoadBegan < kPatience);
}

void SlideController::openImageURL(const FileURL& url, bool forward)
{
    mShowsAdd = false;
    present(url, forward);
}

void SlideController::present(const FileURL& url, bool forward)
{
    checkMovie();
    mShowsHints = url == hintScreen();
    if (!mWindow || !mWindow->isVisible())
        goFullScreen(mCurrentScreen);
    updateInfoDisplayForURL(mShowsHints ? std::nullopt : std::optional(url));
    setShownURL(url);
    mWindow->hideMouseUntilItMoves();
    if (isMovieURL(url)) {
        showMovie(url, forward);
        return;
    }
    mLoadBegan = mClock.now();
    mView->setImageWithURL(url, forward);
}

void SlideController::setShownURL(const std::optional<FileURL>& url)
{
    mShownURL = url;
    describeSlide();
    Q_EMIT slideChanged();
}

/// For window lists, and for who hears the screen rather than sees it.
void SlideController::describeSlide()
{
    if (!mWindow)
        return;
    const bool isNamed = mShownURL && !mShowsHints;
    const QString name = isNamed
        ? QFile::decodeName(lastPathComponent(mShownURL->path()).toByteArray())
        : QString();
    mWindow->setWindowTitle(isNamed ? tr("%1 – Quorvane").arg(name) : tr("Quorvane"));
    mView->widget()->setAccessibleName(isNamed ? tr("Slide %1").arg(name) : tr("Slide"));
}

void SlideController::imageWithURLFinished(const FileURL& url)
{
    if (!mView->ImageOK()) {
        if (mShowsAdd && url == mShownURL)
            addCouldNotBeShown(url, mView->isImageUnfinished());
        else if (mView->isImageUnfinished())
            slideIsUnfinished(url);
        else
            slideCouldNotBeShown(url);
        return;
    }
    mSeenURL = url;
    mFailedMovies = 0;
    makeMenuBarSoon();
    const TimePoint now = mClock.now();
    if (mLastSlideChange)
        mLastSlideTime = secondsFromDuration(now - *mLastSlideChange);
    mLastSlideChange = now;
    readAhead();
}

void SlideController::slideCouldNotBeShown(const FileURL& url)
{
    const bool isFirst = mSequence.currentIndex() == 0;
    mSequence.remove(url);
    passOver(isFirst);
}

/// A slide that comes is passed over until it is finished, then it joins the show as a new one.
/// What the audience sees already stays as it was seen until it can be shown anew.
void SlideController::slideIsUnfinished(const FileURL& url)
{
    if (mSeenURL == url) {
        mReloadTimer = mClock.scheduleTimer(
            kUnfinished, Clock::Repetition::Once, [this, url] { reloadUnfinished(url); });
        return;
    }
    const bool isFirst = mSequence.currentIndex() == 0;
    mSequence.putOff(url);
    passOver(isFirst);
}

void SlideController::reloadUnfinished(const FileURL& url)
{
    const auto timer = std::move(mReloadTimer); // It is running this very block.
    if (mSeenURL != url || mSequence.current() != url)
        return;
    if (isBusy())
        slideIsUnfinished(url);
    else
        reloadCurrent();
}

/// The current slide was taken out: the one after it comes. \param wasFirst  the step back must
/// not lead from the first slide to the last one.
void SlideController::passOver(bool wasFirst)
{
    setShownURL({});
    const auto current = mSequence.current();
    if (wasFirst && current) {
        openImageURL(*current, true);
    } else if (mSequence.count() > 0) {
        mSequence.previous();
        next();
    } else if (mOpenings == 0 && !mayGetFiles()) {
        endSlideShow(); // The last of them.
    }
}

/// Whether an empty list may fill again. A watched folder keeps what was seen last on the screen,
/// no matter whether a step or a look at the folder has found first that the file is gone.
bool SlideController::mayGetFiles() const
{
    const bool isWatched = mSeenURL && !mSequence.mHotFolder().isEmpty();
    return mSequence.awaitsFiles()
        || (isWatched && mDefaults.stringValue(kEndMode) != kEndModeClose);
}

void SlideController::readAhead()
{
    auto url = mShowsHints ? mSequence.current() : upcomingAdd();
    if (!url)
        url = mSequence.atOffset(1);
    if (!url || url == mShownURL)
        return;
    if (mSequence.isMovie(*url))
        mDesktop.prepareMovie();
    else
        mView->readAhead(*url);
}

void SlideController::reloadCurrent()
{
    const auto url = mSequence.current();
    if (url && mView && !isBusy())
        openImageURL(*url, true);
}

void SlideController::newFilesFound()
{
    MainQueue::async(mLifeGuard.wrap([this] {
        if (isEnding() || (mShownURL && (goesOn() || !mDefaults.boolValue(kShowNewItemsASAP))))
            return; // A running show reaches them in their turn.
        next();
        autoPlay();
    }));
}

void SlideController::currentFileChanged()
{
    QMetaObject::invokeMethod(this, [this] { reloadCurrent(); });
}

bool SlideController::keyDown(const QString& characters, int key)
{
    const qint64 number = integerValue(characters);
    if (number >= 1) {
        mDefaults.setValue(kSlideInterval, static_cast<double>(number));
        if (mMovie)
            mWasPlaying = true;
        else
            Start();
    } else if (number == 0) {
        Stop();
        if (key != Qt::Key_Space)
            mWasPlaying = false; // Nor does the show go on after a movie.
    }
    if (key != Qt::Key_Space)
        return false;
    if (mMovie)
        toggleMovie();
    else
        nextSlide();
    return true;
}

} // namespace quorvane
