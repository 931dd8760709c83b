// SPDX-License-Identifier: GPL-3.0-or-later
#include "display/MoviePlayerView.h"

#include "display/MovieControls.h"
#include "display/SoundScreen.h"
#include "platform/DispatchQueue.h"
#include "platform/MainQueue.h"
#include "platform/MovieAsset.h"
#include "platform/PathRules.h"

#include <QFile>
#include <QWidget>

#include <utility>

namespace quorvane {

namespace {

/// Above whatever a transition lifts a picture to, as far as that matters: both are foremost, and
/// the pointer is higher.
constexpr double kMovieZ = 1;

/// Pixels of the longer side. It takes less than half of the screen's height.
constexpr int kCoverSize = 1000;

QString nameOf(const FileURL& url)
{
    return QFile::decodeName(deletingPathExtension(lastPathComponent(url.path()).toByteArray()));
}

} // namespace

MoviePlayerView::MoviePlayerView(QWidget& view, Clock& clock, Callbacks callbacks)
    : mView(view)
    , mCallbacks(std::move(callbacks))
    , mControls(std::make_unique<MovieControls>(view, clock))
{
    mLayer.setForemost(true);
    mLayer.setZPosition(kMovieZ);
    mLayer.setOpacity(0);
}

MoviePlayerView::~MoviePlayerView() { setPlayer(nullptr); }

void MoviePlayerView::setPlayer(const std::shared_ptr<MoviePlayer>& player)
{
    mControls->setPlayer(nullptr);
    if (mPlayer)
        mPlayer->removeObserver(*this);
    mPlayer = player;
    mIsReady = false;
    mCover = {};
    if (!mPlayer)
        return;
    mPlayer->addObserver(*this);
    mControls->keepVolume(*mPlayer); // Before anything is heard.
    mPlayer->play();
    mCallbacks.sizeBecameKnown(); // It may be one that is playing already.
    takePicture();
}

void MoviePlayerView::place(const QRectF& rect, QSize pixels)
{
    mRect = rect;
    mPixels = pixels;
    if (mPlayer && !mPlayer->naturalSize().isEmpty())
        mPlayer->setTargetSize(pixels);
    if (!mIsReady)
        return;
    mShownSize = mPlayer->naturalSize();
    mLayer.setFrame(rect);
    if (isSoundOnly())
        takePicture();
}

void MoviePlayerView::placeLeftover(const QRectF& rect)
{
    if (!mIsReady)
        mLayer.setFrame(rect);
}

void MoviePlayerView::show() { mLayer.setOpacity(1); }

void MoviePlayerView::hide()
{
    setPlayer(nullptr);
    mLayer.setOpacity(0);
    mLayer.setContents({});
}

bool MoviePlayerView::isSoundOnly() const { return mPlayer->hasPicture() == false; }

void MoviePlayerView::movieInformationChanged()
{
    mCallbacks.sizeBecameKnown();
    if (isSoundOnly())
        takePicture();
}

void MoviePlayerView::movieFrameChanged() { takePicture(); }

void MoviePlayerView::takePicture()
{
    const QImage picture = isSoundOnly() ? soundPicture() : mPlayer->currentFrame();
    if (picture.isNull())
        return;
    mLayer.setContents(picture);
    if (mIsReady)
        mCallbacks.frameChanged();
    else
        becomeReady();
}

void MoviePlayerView::becomeReady()
{
    mIsReady = true;
    mShownSize = mPlayer->naturalSize();
    mLayer.setFrame(mRect);
    mControls->setPlayer(mPlayer);
    if (isSoundOnly())
        askForCover();
    mCallbacks.becameReady();
}

QImage MoviePlayerView::soundPicture() const
{
    const QString title = mPlayer->title();
    return soundScreen({ .title = title.isEmpty() ? nameOf(mPlayer->url()) : title,
                           .cover = mCover,
                           .font = mView.font() },
        mPixels);
}

/// It lies in the file, which the decoder opens. The screen is there without it.
void MoviePlayerView::askForCover()
{
    auto take = mLifeGuard.wrap([this, movie = std::weak_ptr(mPlayer)](const QImage& cover) {
        if (!mPlayer || movie.lock() != mPlayer)
            return; // It came too late.
        mCover = cover;
        takePicture();
    });
    DispatchQueue::global().async([url = mPlayer->url(), take = std::move(take)]() mutable {
        const auto asset = MovieAsset::createWithURL(url, DecodeRequest::Priority::OnScreen);
        const auto cover = asset ? asset->createCover(kCoverSize) : std::nullopt;
        MainQueue::async([take = std::move(take), picture = cover.value_or(QImage())]() mutable {
            take(picture);
        });
    });
}

} // namespace quorvane
