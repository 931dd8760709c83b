// SPDX-License-Identifier: GPL-3.0-or-later
// Movies are slides that take their own time.
#include "app/MovieWatch.h"
#include "app/SlideController.h"
#include "platform/MoviePlayer.h"

#include <utility>

namespace quorvane {

namespace {

/// How long a movie that has ended waits for a transition that is still running.
constexpr std::chrono::milliseconds kUntilFree { 100 };

/// The pace at which a show goes on in which no movie can be played any more.
constexpr std::chrono::seconds kHopelessPace { 1 };

} // namespace

bool SlideController::isMovieURL(const FileURL& url) const
{
    return mShowsAdd ? mAddSequence->isMovie(url) : mSequence.isMovie(url);
}

bool SlideController::mMovieIsPlaying() const { return mMovie && mMovie->isPlaying(); }

bool SlideController::goesOn() const { return isPlaying() || (mMovie && mWasPlaying); }

void SlideController::showMovie(const FileURL& url, bool forward)
{
    mHasMovieAppeared = false;
    mMovie = mDesktop.makePlayer(url);
    if (!mMovie) {
        skipMovie();
        return;
    }
    mMovie->addObserver(*this);
    mMovieWatch
        = std::make_unique<MovieWatch>(*mMovie, mClock, [this](MovieEnd end) { movieDidEnd(end); });
    mView->showMovie(mMovie, forward);
    mWasPlaying = isPlaying();
    Stop();
}

void SlideController::movieAppeared()
{
    mHasMovieAppeared = true;
    mSeenURL = mShownURL;
    mFailedMovies = 0;
    makeMenuBarSoon();
    readAhead();
    Q_EMIT slideChanged();
}

void SlideController::movieDidEnd(MovieEnd end)
{
    if (end == MovieEnd::Unfinished)
        movieIsUnfinished();
    else if (mHasMovieAppeared)
        goOnAfterMovie();
    else
        skipMovie();
}

/// Nothing was seen of it.
void SlideController::skipMovie()
{
    const bool isHopeless = ++mFailedMovies > mSequence.count();
    const bool mayChange = mOpenings > 0 || mSequence.awaitsFiles();
    if (isHopeless && !mSeenURL && !mayChange) {
        endSlideShow(); // Nothing in it can be shown.
        return;
    }
    mMovieTimer = mClock.scheduleTimer(isHopeless ? kHopelessPace : Duration::zero(),
        Clock::Repetition::Once, [this] { goOnAfterMovie(); });
}

void SlideController::goOnAfterMovie()
{
    if (isBusy())
        mMovieTimer = mClock.scheduleTimer(
            kUntilFree, Clock::Repetition::Once, [this] { goOnAfterMovie(); });
    else
        next();
}

void SlideController::movieIsUnfinished()
{
    const FileURL url = mShownURL.value();
    checkMovie();
    if (mShowsAdd)
        addCouldNotBeShown(url, true);
    else
        slideIsUnfinished(url);
}

bool SlideController::checkMovie()
{
    mMovieTimer.reset();
    if (!mMovie)
        return false;
    mMovie->pause();
    afterMovie();
    return true;
}

void SlideController::afterMovie()
{
    if (mWasPlaying)
        Start();
    mMovieWatch.reset();
    mMovie->removeObserver(*this);
    mMovie.reset();
}

void SlideController::toggleMovie()
{
    if (mMovie->isPlaying())
        mMovie->pause();
    else
        mMovie->play();
}

void SlideController::movieControlled() { Q_EMIT slideChanged(); }

void SlideController::playMedia()
{
    if (!mMovie)
        Start();
    else if (!mMovie->isPlaying())
        toggleMovie();
}

void SlideController::pauseMedia()
{
    if (!mMovie)
        Stop();
    else if (mMovie->isPlaying())
        toggleMovie();
}

/// On another display, or in another window: a movie goes on where it is.
void SlideController::showCurrentAgain()
{
    const auto current = mSequence.current();
    if (!mMovie) {
        if (current)
            openImageURL(*current, true);
        return;
    }
    const bool wasPaused = !mMovie->isPlaying();
    mView->showMovie(mMovie, true);
    if (wasPaused)
        mMovie->pause();
}

} // namespace quorvane
