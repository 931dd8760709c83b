// SPDX-License-Identifier: GPL-3.0-or-later
#include "display/SVLayerView.h"

#include "display/MoviePlayerView.h"
#include "display/OpenGLCanvas.h"
#include "display/Placement.h"
#include "images/PointerImage.h"
#include "images/SVImage.h"
#include "images/SVImageCache.h"
#include "layers/Drawing.h"
#include "platform/Assertion.h"
#include "platform/UserDefaults.h"
#include "settings/SettingsCatalogue.h"

namespace quorvane {

namespace {

/// How long a file may take before the show goes on without it, whatever holds it up: two attempts
/// of the decoder, and the opening.
constexpr std::chrono::seconds kLoadLimit { 25 };

/// Above what most transitions give their pictures.
constexpr double kPointerZ = 2;

} // namespace

SVLayerView::SVLayerView(
    const UserDefaults& defaults, Clock& clock, PaintingBase base, QWidget* parent)
    : QWidget(parent)
    , mDefaults(defaults)
    , mClock(clock)
{
    setAttribute(Qt::WA_OpaquePaintEvent);
    setMouseTracking(true);
    setAccessibleName(tr("Slide"));
    for (Layer* const layer : { mCurrent, mPrevious, &mPointer }) {
        layer->setDelegate(this);
        mRoot.addSublayer(*layer);
    }
    mPointer.setZPosition(kPointerZ);
    mPointer.setForemost(true); // Some transitions lift a picture higher.
    mPointer.setOpacity(0);
    mRoot.setFrame(QRectF(rect()));
    if (base == PaintingBase::OpenGL)
        useOpenGL();
}

SVLayerView::~SVLayerView() { showMouse(); }

void SVLayerView::clearImage()
{
    abandonLoad();
    dropMovie();
    mImage = nullptr;
    mImageBefore = nullptr;
    hidePictures();
    for (Layer* const layer : { mCurrent, mPrevious })
        layer->setContents({});
    redraw();
}

void SVLayerView::abandonLoad()
{
    if (mLoad)
        SVImageCache::instance().abandonRequest(mLoad->url);
    mLoad.reset();
}

void SVLayerView::updateFitMode()
{
    if (mAVPlayerView)
        placeMovie(); // One that is on its way, too.
    if (mMovieActive)
        return;
    mCurrent->setFrame(rectForImage(mImage.get()));
    mCurrent->setNeedsDisplay();
    prepareCurrentImage();
    redraw();
}

void SVLayerView::setImageWithURL(const FileURL& url, bool forward)
{
    if (mTransitionInProgress)
        return;
    if (mLoad && !(mLoad->url == url))
        SVImageCache::instance().abandonRequest(mLoad->url);
    abandonMovie();
    const quint64 number = ++mLoadCount;
    auto giveUp = [this, number] { loadFinished(number, nullptr, false); };
    mLoad = Load { url, forward, number,
        mClock.scheduleTimer(kLoadLimit, Clock::Repetition::Once, giveUp) };
    SVImageCache::instance().requestImageWithURL(url, targetSize(),
        mLifeGuard.wrap([this, number](const std::shared_ptr<SVImage>& image, auto state) {
            loadFinished(number, image, state == SVImageCache::FileState::Changing);
        }));
}

void SVLayerView::loadFinished(
    quint64 number, const std::shared_ptr<SVImage>& image, bool isUnfinished)
{
    if (!mLoad || mLoad->number != number)
        return;
    const FileURL url = mLoad->url;
    const bool forward = mLoad->forward;
    mLoad.reset();
    mIsImageUnfinished = isUnfinished;
    if (image && mZoom)
        zoomOff();
    if (image)
        setImage(image, forward);
    else
        mImageOK = false;
    if (mDelegate)
        mDelegate->imageWithURLFinished(url);
}

void SVLayerView::setImage(const std::shared_ptr<SVImage>& image, bool forward)
{
    mImageOK = true;
    const bool isAfterMovie = mMovieActive;
    dropMovie();
    if (mImage && !isAfterMovie) {
        swapImageLayers();
        resetLayer(*mPrevious);
    }
    mImage = image;
    mPreparingSize = {};
    resetLayer(*mCurrent);
    mCurrent->setNeedsDisplay();
    if (isAfterMovie)
        mCurrent->setOpacity(1);
    else if (mImageBefore && !mTransitionInProgress)
        transitionFrom(*mPrevious, *mCurrent, forward);
    else
        cutFrom(*mPrevious, *mCurrent);
    prepareModPattern();
    prepareCurrentImage();
    redraw();
}

void SVLayerView::refresh()
{
    updateFitMode();
    if (!mImage || mImage->mURL().isEmpty())
        return;
    const FileURL url = mImage->mURL();
    SVImageCache::removeImageWithURL(url);
    SVImageCache::instance().requestImageWithURL(url, targetSize(),
        mLifeGuard.wrap([this, url](const std::shared_ptr<SVImage>& image, auto) {
            if (!image || !mImage || !(mImage->mURL() == url))
                return; // What cannot be read any more stays as it was seen last.
            mImage = image;
            mPreparingSize = {};
            updateFitMode();
        }));
}

void SVLayerView::readAhead(const FileURL& url)
{
    SVImageCache::instance().readAhead(url, targetSize());
}

QRectF SVLayerView::rectForImage(const SVImage* image) const
{
    return Placement::in(*this, mDefaults).rectFor(image ? image->displayedSize() : QSizeF());
}

QRectF SVLayerView::rectForLayer(const Layer& layer) const
{
    if (&layer == mCurrent)
        return rectForImage(mImage.get());
    if (&layer == mPrevious)
        return rectForImage(mImageBefore.get());
    Assertion::fail("Unhandled layer in rectForLayer", "SVLayerView", 200);
}

void SVLayerView::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    mRoot.setFrame(QRectF(rect()));
    if (mCanvas)
        mCanvas->setGeometry(rect());
    followResize();
    updateFitMode();
}

void SVLayerView::displayLayer(Layer& layer)
{
    if (&layer == &mPointer) {
        if (mPointerImage)
            layer.setContents(
                mPointerImage->imageOfSize((layer.boundsSize() * devicePixelRatioF()).toSize()));
        return;
    }
    const auto& image = &layer == mCurrent ? mImage : mImageBefore;
    if (!image)
        return;
    layer.setContents(image->getCGImage());
}

void SVLayerView::swapImageLayers()
{
    std::swap(mCurrent, mPrevious);
    mImageBefore = mImage;
}

void SVLayerView::resetLayer(Layer& layer)
{
    layer.resetTransform();
    const auto& image = &layer == mCurrent ? mImage : mImageBefore;
    if (image)
        layer.setFrame(rectForLayer(layer));
}

/// Fetches the pixels that the screen needs now, after it has changed. Each size is tried once:
/// the file may be gone, and what is there is then painted in another size.
void SVLayerView::prepareCurrentImage()
{
    if (!mImage || mImage->mURL().isEmpty())
        return;
    const QSize size = sizeToPrepare();
    if (mImage->getCGImage().size() == size || mPreparingSize == size)
        return;
    mPreparingSize = size;
    SVImageCache::instance().requestImageWithURL(
        mImage->mURL(), [size](QSize) { return size; },
        mLifeGuard.wrap([this, shown = mImage](const std::shared_ptr<SVImage>& image, auto) {
            if (mImage != shown)
                return;
            if (image)
                mImage = image;
            if (!mZoom && !mTransitionInProgress)
                resetLayer(*mCurrent); // The file may hold another picture by now.
            mCurrent->setNeedsDisplay();
            redraw();
            prepareCurrentImage(); // The size may have changed again meanwhile.
        }));
}

/// The pixels that the current picture needs now. Zoomed, it shows those that it has.
QSize SVLayerView::sizeToPrepare() const
{
    const QSize picture = mImage->pictureSize();
    if (!mZoom)
        return targetSize()(picture);
    const QSizeF zoomed = mCurrent->boundsSize() * devicePixelRatioF();
    const bool hasEnough = zoomed.width() <= picture.width() && zoomed.height() <= picture.height();
    const QSizeF size = hasEnough ? zoomed : QSizeF(picture);
    return Placement::bounded(size);
}

std::function<QSize(QSize)> SVLayerView::targetSize() const
{
    return [placement = Placement::in(*this, mDefaults)](
               QSize picture) { return placement.deviceSizeFor(picture); };
}

} // namespace quorvane
