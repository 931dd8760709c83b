// SPDX-License-Identifier: GPL-3.0-or-later
// The view that shows the slides.
#pragma once

#include "display/PaintingBase.h"
#include "display/SVImageDisplay.h"
#include "layers/Layer.h"
#include "layers/LayerAnimator.h"
#include "platform/Clock.h"
#include "platform/LifeGuard.h"

#include <QWidget>

#include <functional>
#include <optional>

namespace quorvane {

class MoviePlayerView;
class OpenGLCanvas;
class PointerImage;
class SVImage;
class UserDefaults;

/// Two picture layers on black: the slide now shown and the one shown before it. A new slide always
/// goes into a fresh current layer, while the old one becomes the previous layer. In front of both,
/// while a mouse button is held, a large pointer in place of the system's; its picture is the
/// setting "cursor", and the wheel makes it smaller and larger. A zoomed picture is moved by the
/// mouse with Ctrl held.
///
/// A picture comes on screen when it is decoded and scaled to the device pixels that it covers;
/// until then what was there stays. How it comes is the setting "transition". Nothing is drawn
/// while nothing moves. Thread: main.
class SVLayerView : public QWidget,
                    public SVImageDisplay,
                    private LayerDelegate,
                    private AnimationDelegate {
    Q_OBJECT

public:
    /// \param defaults, clock  must outlive the view.
    /// \param base  OpenGL gives way to the raster base when it fails.
    SVLayerView(const UserDefaults& defaults, Clock& clock,
        PaintingBase base = PaintingBase::Raster, QWidget* parent = nullptr);
    ~SVLayerView() override;

    void setDelegate(SVImageDisplayDelegate* delegate) override { mDelegate = delegate; }
    bool ImageOK() const override { return mImageOK; }
    bool isImageUnfinished() const override { return mIsImageUnfinished; }
    void clearImage() override;
    void zoomIn() override;
    void zoomOne() override;
    void zoomOff() override;
    void panX(double dx, double dy) override;
    void updateFitMode() override;
    void setImageWithURL(const FileURL& url, bool forward) override;
    void setImage(const std::shared_ptr<SVImage>& image, bool forward) override;
    void showMovie(const std::shared_ptr<MoviePlayer>& player, bool forward) override;
    void refresh() override;
    bool isBusy() const override { return mTransitionInProgress; }
    bool isLoading() const override { return mLoad.has_value(); }
    void readAhead(const FileURL& url) override;
    QWidget* widget() override { return this; }

    /// \param reducesMotion  whether a quick fade takes the place of every transition that moves.
    /// Asked each time.
    void setReducesMotion(std::function<bool()> reducesMotion);

    PaintingBase paintingBase() const;

    /// Goes on without OpenGL; nothing on screen changes.
    void fallBackToRaster();

    /// Where a picture is placed by the setting "ImageFitMode", in points of the view, y up; the
    /// zero rectangle without a picture, unless it is to be stretched.
    QRectF rectForImage(const SVImage* image) const;

    /// The place of the picture of either picture layer; any other layer is a mistake of the
    /// caller.
    QRectF rectForLayer(const Layer& layer) const;

    /// The room of a movie by the same setting; all of the view if it has no picture, or none that
    /// is known yet. Its picture is never distorted in it.
    QRectF rectForMovie(const MoviePlayer& player) const;

    /// Moves the current picture slowly to the right, for half a minute; other pictures may come
    /// meanwhile.
    void driftEffect();

    // The ways from the layer `f`, which is on screen, to the layer `t`. Each begins with the next
    // frame; when it is over, the previous layer is hidden.

    /// The one that the setting says. An unknown one changes nothing. \param forward  towards later
    /// slides.
    void transitionFrom(Layer& f, Layer& t, bool forward);

    void transitionCrossFadeFrom(Layer& f, Layer& t);
    void transitionFastCrossFrom(Layer& f, Layer& t);
    void transitionHorizontalFlipFrom(Layer& f, Layer& t);
    void transitionHorizontalFlipBackFrom(Layer& f, Layer& t);
    void transitionPush_BuildInFrom(Layer& f, Layer& t); ///< Of no setting.
    void transitionRotateFrom(Layer& f, Layer& t);
    void transitionRotateLeftFrom(Layer& f, Layer& t);
    void transitionRotateRightFrom(Layer& f, Layer& t);
    void transitionShrinkFrom(Layer& f, Layer& t);
    void transitionExpandFrom(Layer& f, Layer& t);
    void transitionSlideFrom(Layer& f, Layer& t);
    void transitionSlideBackFrom(Layer& f, Layer& t);
    void transitionBarSwipeFrom(Layer& f, Layer& t);
    void transitionModFrom(Layer& f, Layer& t);
    void transitionSwipeFrom(Layer& f, Layer& t);
    void transitionAllFrom(Layer& f, Layer& t); ///< One after the other, over all views.
    void transitionTestFrom(Layer& f, Layer& t); ///< Where a new one is tried out.

    /// Fetches the picture of the pointer that the setting names; none for an unknown name.
    void updateCursor();

    /// What the pointer covers, from its lower left corner on: whole points.
    QRectF cursorRect() const;

    /// Shows the pointer's tip where the mouse was last.
    void positionCursor();

    /// Hides the system's pointer, and shows it again: each at most once, whoever asks.
    static void hideMouse();
    static void showMouse();

    /// Asks the delegate to hold the slide back.
    void delaySlideShow();

    const Layer& mBackgroundLayer() const { return mRoot; }
    const Layer& mCurrentLayer() const { return *mCurrent; }
    const Layer& mPreviousLayer() const { return *mPrevious; }
    const std::shared_ptr<SVImage>& mCurrentImage() const { return mImage; }
    const std::shared_ptr<SVImage>& mPreviousImage() const { return mImageBefore; }
    /// Where the movie's frames are; null before the first movie.
    const Layer* mMovieLayer() const;
    const Layer& mCursorLayer() const { return mPointer; }
    const std::shared_ptr<const PointerImage>& mCursorImage() const { return mPointerImage; }
    void setMCursorImage(std::shared_ptr<const PointerImage> image);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void changeEvent(QEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    /// A picture that was asked for.
    struct Load {
        FileURL url;
        bool forward = true;
        quint64 number = 0;
        std::unique_ptr<Timer> limit;
    };

    void displayLayer(Layer& layer) override;
    void animationDidStart(const Animation& animation) override;
    void animationDidStop(const Animation& animation, bool finished) override;

    void put(Layer& layer, const Layer& above);
    void setZPositions(Layer& a, double zOfA, Layer& b, double zOfB);
    void animate(Layer& layer, const ValueChange& change, double duration, const QByteArray& key,
        TimingFunction timing = {});
    void addTransition(Layer& layer, TransitionKind kind, double duration);
    void crossFade(Layer& f, Layer& t, double duration);
    void hingeAtLowerLeft(Layer& layer) const;
    void rotate(Layer& f, Layer& t, float out, float in, const QByteArray& key);
    void prepareSlide(Layer& f, Layer& t, QPointF anchor);
    void swipe(Layer& f, Layer& t, TransitionKind kind, double duration);
    void cutFrom(Layer& f, Layer& t);

    void zoomToHeight(double height, double width);
    void moveToPosition(QPointF position);
    void prepareZoom();

    void placeMovie();
    void movieIsReady();
    void redrawMovie();
    void abandonMovie();
    void dropMovie();
    void hidePictures();

    bool pans(const QMouseEvent& event) const;
    void takePoint(const QMouseEvent& event);
    void mouseDragged(const QMouseEvent& event);
    void resizeCursor();
    void redrawCursor();
    void putCursorAway();
    void followResize();

    void prepareModPattern();
    void useOpenGL();
    void paintMoment(QPainter& painter);
    void redraw(const QRegion& region);
    void redraw() { redraw(rect()); }
    void startFrames();
    void drawFirstFrame();
    void drawFrame();
    double seconds() const;

    void abandonLoad();
    void swapImageLayers();
    void resetLayer(Layer& layer);
    void loadFinished(quint64 number, const std::shared_ptr<SVImage>& image, bool isUnfinished);
    void prepareCurrentImage();
    std::function<QSize(QSize)> targetSize() const;
    QSize sizeToPrepare() const;

    const UserDefaults& mDefaults;
    Clock& mClock;
    SVImageDisplayDelegate* mDelegate = nullptr;

    OpenGLCanvas* mCanvas = nullptr; ///< A child that paints in our place; null on the raster base.
    Layer mRoot;
    LayerAnimator mAnimator { mRoot };
    Layer mLayers[2]; ///< The current and the previous one, in turns.
    Layer* mCurrent = &mLayers[0];
    Layer* mPrevious = &mLayers[1];
    std::shared_ptr<SVImage> mImage; ///< Shown in mCurrent.
    std::shared_ptr<SVImage> mImageBefore; ///< Shown in mPrevious.

    Layer mPointer;
    std::shared_ptr<const PointerImage> mPointerImage; ///< Shown in mPointer.
    double mCursorZoom = 1; ///< Share of the picture's own size.
    QPointF mCursorPoint; ///< Where the mouse was last; points of the view, y up.
    QPointF mDragPoint; ///< The same, y down.
    QRect mPointerDrawn; ///< What the pointer covered last; points, y down.

    std::unique_ptr<MoviePlayerView> mAVPlayerView; ///< Made with the first movie, and kept.
    bool mMovieActive = false; ///< A movie is on screen.

    std::function<bool()> mReducesMotion = [] { return false; };
    bool mImageOK = false;
    bool mIsImageUnfinished = false;
    bool mZoom = false; ///< The current picture is zoomed.
    bool mTransitionInProgress = false; ///< Something moves, but for the drift.
    std::optional<std::uint64_t> mDriftAnimation; ///< Its identity while it runs.
    std::unique_ptr<Timer> mFrames; ///< While something moves.
    double mFrameTime = 0; ///< Of the moment that is drawn; seconds.
    QSize mPreparingSize; ///< Asked for, for the picture on screen; empty for none.
    std::optional<Load> mLoad;
    quint64 mLoadCount = 0;
    LifeGuard mLifeGuard;
};

} // namespace quorvane
