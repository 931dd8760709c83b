// SPDX-License-Identifier: GPL-3.0-or-later
// Movies among the slides.
#include "display/MoviePlayerView.h"
#include "display/Placement.h"
#include "display/SVLayerView.h"
#include "images/SVImageCache.h"

namespace quorvane {

void SVLayerView::showMovie(const std::shared_ptr<MoviePlayer>& player, bool /*forward*/)
{
    abandonLoad();
    if (!player) {
        hidePictures();
        redraw();
        return;
    }
    if (!mAVPlayerView) {
        mAVPlayerView = std::make_unique<MoviePlayerView>(*this, mClock,
            MoviePlayerView::Callbacks { .sizeBecameKnown = [this] { placeMovie(); },
                .becameReady = [this] { movieIsReady(); },
                .frameChanged = [this] { redrawMovie(); } });
        mRoot.addSublayer(mAVPlayerView->layer());
    }
    mAVPlayerView->setPlayer(player);
}

const Layer* SVLayerView::mMovieLayer() const
{
    return mAVPlayerView ? &mAVPlayerView->layer() : nullptr;
}

QRectF SVLayerView::rectForMovie(const MoviePlayer& player) const
{
    return Placement::in(*this, mDefaults).rectForMovie(player.naturalSize());
}

void SVLayerView::placeMovie()
{
    const auto placement = Placement::in(*this, mDefaults);
    if (const auto& player = mAVPlayerView->player()) {
        const QSize movie = player->naturalSize();
        mAVPlayerView->place(
            placement.pictureRectForMovie(movie), placement.deviceSizeForMovie(movie));
    }
    mAVPlayerView->placeLeftover(placement.pictureRectForMovie(mAVPlayerView->shownSize()));
    if (mMovieActive)
        redraw();
}

/// In one turn, so that there is no frame with neither.
void SVLayerView::movieIsReady()
{
    hidePictures();
    resetLayer(*mCurrent);
    mZoom = false;
    mMovieActive = true;
    mAVPlayerView->show();
    redraw();
    if (mDelegate)
        mDelegate->movieAppeared();
}

/// With what moves them: it would go on showing what is gone.
void SVLayerView::hidePictures()
{
    for (Layer* const layer : { mCurrent, mPrevious }) {
        layer->removeAllAnimations();
        layer->setOpacity(0);
        layer->setNeedsDisplay();
    }
    mTransitionInProgress = false;
}

void SVLayerView::redrawMovie()
{
    const QRectF frame = mAVPlayerView->layer().frame();
    redraw(QRectF(frame.x(), height() - frame.bottom(), frame.width(), frame.height())
               .toAlignedRect());
}

/// What was asked for and is not on screen yet is not to come any more.
void SVLayerView::abandonMovie()
{
    if (!mAVPlayerView || !mAVPlayerView->player() || mAVPlayerView->isReady())
        return;
    mAVPlayerView->player()->pause();
    mAVPlayerView->setPlayer(nullptr);
}

/// Something else takes its place, or is on its way there.
void SVLayerView::dropMovie()
{
    if (!mAVPlayerView)
        return;
    if (const auto player = mAVPlayerView->player())
        player->pause();
    mAVPlayerView->hide();
    mMovieActive = false;
}

} // namespace quorvane
