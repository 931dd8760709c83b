// SPDX-License-Identifier: GPL-3.0-or-later
#include "display/SVLayerView.h"

#include "images/SVImage.h"
#include "images/SVImageCache.h"
#include "layers/Drawing.h"
#include "platform/Assertion.h"
#include "platform/DispatchQueue.h"
#include "platform/MainQueue.h"
#include "platform/UserDefaults.h"
#include "settings/SettingsCatalogue.h"

#include <QPaintEvent>
#include <QPainter>

namespace quorvane {

namespace {

/// How long a file may take before the show goes on without it.
constexpr std::chrono::seconds kLoadLimit { 10 };

/// Device pixels up to which a picture is scaled beforehand. Beyond it, a long strip that fills the
/// screen by its shorter side, the picture is scaled as it is painted.
constexpr qint64 kPreparedLimit = 64'000'000;

/// What decides where a picture stands: everything but the picture.
struct Placement {
    QString fitMode; ///< Null when the setting is absent.
    QRectF bounds;
    double pixelRatio = 1;

    QRectF rectFor(const SVImage* image) const
    {
        if (fitMode.isNull() || fitMode == kFitModeFit)
            return image ? image->rectToFitScreen(bounds.size(), false) : QRectF();
        if (fitMode == kFitModeZoom)
            return image ? image->rectToFitScreen(bounds.size(), true) : QRectF();
        if (fitMode == kFitModeFill)
            return image ? image->rectToFillScreen(bounds.size()) : QRectF();
        return bounds;
    }

    QSize deviceSizeFor(const SVImage& image) const
    {
        const QSize size = deviceRect(rectFor(&image), bounds.height(), pixelRatio).size();
        const bool isHuge = qint64(size.width()) * size.height() > kPreparedLimit;
        return isHuge ? image.getCGImage().size() : size;
    }
};

Placement placementIn(const QWidget& view, const UserDefaults& defaults)
{
    const QVariant mode = defaults.value(kImageFitMode);
    return { mode.isValid() ? defaults.stringValue(kImageFitMode) : QString(), QRectF(view.rect()),
        view.devicePixelRatioF() };
}

} // namespace

SVLayerView::SVLayerView(const UserDefaults& defaults, Clock& clock, QWidget* parent)
    : QWidget(parent)
    , mDefaults(defaults)
    , mClock(clock)
{
    setAttribute(Qt::WA_OpaquePaintEvent);
    setMouseTracking(true);
    setAccessibleName(tr("Slide"));
    for (Layer* const layer : { mCurrent, mPrevious }) {
        layer->setDelegate(this);
        mRoot.addSublayer(*layer);
    }
    mRoot.setFrame(QRectF(rect()));
}

SVLayerView::~SVLayerView() = default;

void SVLayerView::clearImage()
{
    if (mLoad)
        SVImageCache::instance().abandonRequest(mLoad->url);
    mLoad.reset();
    mImage = nullptr;
    mImageBefore = nullptr;
    for (Layer* const layer : { mCurrent, mPrevious }) {
        layer->setOpacity(0);
        layer->setContents({});
        layer->setNeedsDisplay();
    }
    update();
}

void SVLayerView::updateFitMode()
{
    mCurrent->setFrame(rectForImage(mImage.get()));
    mCurrent->setNeedsDisplay();
    prepareCurrentImage();
    update();
}

void SVLayerView::setImageWithURL(const FileURL& url, bool forward)
{
    if (mLoad && !(mLoad->url == url))
        SVImageCache::instance().abandonRequest(mLoad->url);
    const quint64 number = ++mLoadCount;
    auto giveUp = [this, number] { loadFinished(number, nullptr); };
    mLoad = Load { url, forward, number,
        mClock.scheduleTimer(kLoadLimit, Clock::Repetition::Once, giveUp) };
    SVImageCache::instance().requestImageWithURL(
        url, targetSize(), mLifeGuard.wrap([this, number](const std::shared_ptr<SVImage>& image) {
            loadFinished(number, image);
        }));
}

void SVLayerView::loadFinished(quint64 number, const std::shared_ptr<SVImage>& image)
{
    if (!mLoad || mLoad->number != number)
        return;
    const FileURL url = mLoad->url;
    const bool forward = mLoad->forward;
    mLoad.reset();
    if (image)
        setImage(image, forward);
    else
        mImageOK = false;
    if (mDelegate)
        mDelegate->imageWithURLFinished(url);
}

void SVLayerView::setImage(const std::shared_ptr<SVImage>& image, bool /*forward*/)
{
    mImageOK = true;
    if (mImage) {
        swapImageLayers();
        resetLayer(*mPrevious);
    }
    mImage = image;
    resetLayer(*mCurrent);
    mCurrent->setNeedsDisplay();
    mPrevious->setOpacity(0);
    mCurrent->setOpacity(1);
    prepareCurrentImage();
    update();
}

void SVLayerView::refresh()
{
    updateFitMode();
    if (!mImage || mImage->mURL().isEmpty())
        return;
    const FileURL url = mImage->mURL();
    SVImageCache::removeImageWithURL(url);
    SVImageCache::instance().requestImageWithURL(
        url, targetSize(), mLifeGuard.wrap([this, url](const std::shared_ptr<SVImage>& image) {
            if (!image || !mImage || !(mImage->mURL() == url))
                return; // What cannot be read any more stays as it was seen last.
            mImage = image;
            updateFitMode();
        }));
}

void SVLayerView::readAhead(const FileURL& url)
{
    SVImageCache::instance().readAhead(url, targetSize());
}

QRectF SVLayerView::rectForImage(const SVImage* image) const
{
    return placementIn(*this, mDefaults).rectFor(image);
}

QRectF SVLayerView::rectForLayer(const Layer& layer) const
{
    if (&layer == mCurrent)
        return rectForImage(mImage.get());
    if (&layer == mPrevious)
        return rectForImage(mImageBefore.get());
    Assertion::fail("Unhandled layer in rectForLayer", "SVLayerView", 200);
}

void SVLayerView::paintEvent(QPaintEvent* event)
{
    mRoot.displayIfNeeded();
    QPainter painter(this);
    painter.fillRect(event->rect(), Qt::black);
    const double pixelRatio = devicePixelRatioF();
    painter.scale(1 / pixelRatio, 1 / pixelRatio);
    paint(painter, drawList(mRoot), size(), pixelRatio);
}

void SVLayerView::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    mRoot.setFrame(QRectF(rect()));
    updateFitMode();
}

void SVLayerView::displayLayer(Layer& layer)
{
    const auto& image = &layer == mCurrent ? mImage : mImageBefore;
    if (!image)
        return;
    const QImage& prepared = image->preparedImage();
    layer.setContents(prepared.isNull() ? image->getCGImage() : prepared);
}

void SVLayerView::swapImageLayers()
{
    std::swap(mCurrent, mPrevious);
    mImageBefore = mImage;
}

void SVLayerView::resetLayer(Layer& layer)
{
    const auto& image = &layer == mCurrent ? mImage : mImageBefore;
    if (image)
        layer.setFrame(rectForLayer(layer));
}

void SVLayerView::prepareCurrentImage()
{
    if (!mImage || mIsPreparing)
        return;
    const QSize size = targetSize()(*mImage);
    if (mImage->preparedImage().size() == size)
        return;
    mIsPreparing = true;
    auto finished = mLifeGuard.wrap([this, image = mImage](const QImage& prepared) {
        mIsPreparing = false;
        image->setPreparedImage(prepared);
        mCurrent->setNeedsDisplay();
        update();
        prepareCurrentImage(); // The size may have changed again meanwhile.
    });
    DispatchQueue::global().async([image = mImage, size, finished]() mutable {
        const QImage prepared = image->scaledImage(size);
        MainQueue::async([finished, prepared]() mutable { finished(prepared); });
    });
}

std::function<QSize(const SVImage&)> SVLayerView::targetSize() const
{
    return [placement = placementIn(*this, mDefaults)](
               const SVImage& image) { return placement.deviceSizeFor(image); };
}

} // namespace quorvane
