// SPDX-License-Identifier: GPL-3.0-or-later
// The commands that a hand can give, and their keys.
#include "app/SlideController.h"
#include "platform/MainQueue.h"
#include "platform/UserDefaults.h"
#include "settings/SettingsCatalogue.h"

#include <QClipboard>
#include <QFile>
#include <QGuiApplication>

namespace quorvane {

void SlideController::cancel()
{
    dropAwaitedFolder();
    endSlideShow();
}

void SlideController::quit() { Q_EMIT nothingLeft(); }

void SlideController::ShrinkToFit() { setFitMode(kFitModeFit); }

void SlideController::ZoomToFit() { setFitMode(kFitModeZoom); }

void SlideController::FillScreen() { setFitMode(kFitModeFill); }

void SlideController::Stretch() { setFitMode(kFitModeStretch); }

void SlideController::ZoomIn()
{
    delayNextImage();
    if (mView)
        mView->zoomIn();
}

void SlideController::ZoomOne()
{
    delayNextImage();
    if (mView)
        mView->zoomOne();
}

void SlideController::ZoomOff()
{
    if (mView)
        mView->zoomOff();
}

void SlideController::setFitMode(QLatin1String mode)
{
    delayNextImage();
    mDefaults.setValue(kImageFitMode, QString(mode));
    if (mView)
        mView->updateFitMode();
}

void SlideController::CopyFilePath()
{
    const auto current = mSequence.current();
    if (!current || current->path().isEmpty())
        return;
    QGuiApplication::clipboard()->setText(QFile::decodeName(current->path()));
}

void SlideController::trashSlide()
{
    const auto current = mSequence.current();
    if (!current || mShowsAdd) // Nobody throws away what they do not see.
        return;
    // A disk may take its time.
    auto done = mLifeGuard.wrap([this, url = *current] { trashed(url); });
    mDispatchQueue.async([this, url = *current, done = std::move(done)]() mutable {
        if (mSequence.moveToTrash(url))
            MainQueue::async(std::move(done));
    });
}

void SlideController::trashed(const FileURL& url)
{
    const auto successor = mSequence.takeOutTrashed(url);
    if (mShownURL != url || isEnding())
        return; // The person has gone on meanwhile.
    if (successor)
        openImageURL(*successor, true);
    else if (mOpenings == 0)
        endSlideShow(); // That was the last one.
}

void SlideController::openSlide()
{
    const auto current = mSequence.current();
    if (!current)
        return;
    const auto setting = mSequence.isMovie(*current) ? kMovieEditorPath : kImageEditorPath;
    if (mMovieIsPlaying())
        mMovie->pause(); // Two would be heard.
    mDesktop.openFile(*current, mDefaults.stringValue(setting).toUtf8());
}

void SlideController::shuffle()
{
    mSequence.shuffle();
    firstSlide();
}

void SlideController::sortOrderChanged()
{
    mSequence.sort();
    firstSlide();
}

} // namespace quorvane
