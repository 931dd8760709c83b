// SPDX-License-Identifier: GPL-3.0-or-later
// What is seen of a movie.
#pragma once

#include "layers/Layer.h"
#include "platform/Clock.h"
#include "platform/LifeGuard.h"
#include "platform/MoviePlayer.h"

#include <QRectF>
#include <QSize>

#include <functional>
#include <memory>
#include <optional>

class QWidget;

namespace quorvane {

class MovieControls;

/// Puts the frames of a player into a layer, and floats controls over them. What it showed last
/// stays until another player has its first frame. Of a file that has nothing but sound it shows
/// what it is called, and its cover. Thread: main.
class MoviePlayerView : private MovieObserver {
public:
    /// What it needs of the view that it belongs to.
    struct Callbacks {
        std::function<void()> sizeBecameKnown; ///< place() is due.
        std::function<void()> becameReady; ///< There is something to show, for the first time.
        std::function<void()> frameChanged; ///< The layer shows something else.
    };

    /// \param view, clock  must outlive this. The controls become a child of the view.
    MoviePlayerView(QWidget& view, Clock& clock, Callbacks callbacks);
    ~MoviePlayerView() override;

    MoviePlayerView(const MoviePlayerView&) = delete;
    MoviePlayerView& operator=(const MoviePlayerView&) = delete;

    /// Takes another movie and plays it. \param player  nullptr to let go of the one that it has.
    void setPlayer(const std::shared_ptr<MoviePlayer>& player);
    const std::shared_ptr<MoviePlayer>& player() const { return mPlayer; }

    /// Of the movie that was on screen last.
    QSize shownSize() const { return mShownSize; }

    /// Whether there is something to show of the player that it has now.
    bool isReady() const { return mIsReady; }

    /// Where the picture goes of the movie that it has now. \param rect  points of the view, y up.
    /// \param pixels  of the screen, that it covers.
    void place(const QRectF& rect, QSize pixels);

    /// The same for what is left on screen of the movie before, until this one is ready.
    void placeLeftover(const QRectF& rect);

    /// Above the slides' layers, transparent while hidden.
    Layer& layer() { return mLayer; }
    const Layer& layer() const { return mLayer; }

    void show();

    /// Forgets the frame, too.
    void hide();

private:
    void movieInformationChanged() override;
    void movieFrameChanged() override;

    bool isSoundOnly() const;
    void takePicture();
    void becomeReady();
    QImage soundPicture() const;
    void askForCover();

    QWidget& mView;
    const Callbacks mCallbacks;
    std::unique_ptr<MovieControls> mControls;
    std::shared_ptr<MoviePlayer> mPlayer;
    Layer mLayer;
    QRectF mRect;
    QSize mPixels;
    QSize mShownSize;
    std::optional<QImage> mCover; ///< Of a sound file; null for none, nothing until it is known.
    bool mIsReady = false;
    LifeGuard mLifeGuard;
};

} // namespace quorvane
