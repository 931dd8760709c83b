// SPDX-License-Identifier: GPL-3.0-or-later
// Looking at a picture more closely.
#include "display/SVLayerView.h"
#include "images/SVImage.h"

#include <algorithm>

namespace quorvane {

namespace {

constexpr double kZoomStep = 1.5;

/// Seconds.
constexpr double kZoomTime = 1.0;

constexpr QPointF kCentre { 0.5, 0.5 };

/// Where the centre of a side of `length` may be, so that it covers a view of `viewLength`.
double covering(double centre, double length, double viewLength)
{
    return std::max(std::min(centre, length / 2), viewLength - length / 2);
}

} // namespace

void SVLayerView::zoomToHeight(double height, double width)
{
    mCurrent->setZPosition(0);
    const QSizeF before = mCurrent->boundsSize();
    animate(*mCurrent, valueChange(KeyPath::BoundsWidth, before.width(), width), kZoomTime, "zoomW",
        TimingFunction::easeInEaseOut());
    animate(*mCurrent, valueChange(KeyPath::BoundsHeight, before.height(), height), kZoomTime,
        "zoomH", TimingFunction::easeInEaseOut());
    mCurrent->setBoundsSize({ width, height });
    startFrames();
}

/// From its place in the view.
void SVLayerView::prepareZoom()
{
    if (mZoom)
        return;
    resetLayer(*mCurrent);
    mCurrent->setAnchorPoint(kCentre);
    mCurrent->setFrame(rectForImage(mImage.get()));
}

void SVLayerView::zoomOne()
{
    if (!mImage || mMovieActive)
        return;
    prepareZoom();
    const QSizeF size = mImage->displayedSize();
    zoomToHeight(size.height(), size.width());
    mZoom = true;
    prepareCurrentImage();
}

void SVLayerView::zoomIn()
{
    if (!mImage || mMovieActive)
        return;
    prepareZoom();
    const QSizeF size = mCurrent->boundsSize() * kZoomStep;
    zoomToHeight(size.height(), size.width());
    mZoom = true;
    prepareCurrentImage();
}

void SVLayerView::zoomOff()
{
    if (mMovieActive)
        return;
    mCurrent->setAnchorPoint(kCentre);
    const QRectF place = rectForImage(mImage.get());
    zoomToHeight(place.height(), place.width());
    moveToPosition(place.center());
    resetLayer(*mCurrent);
    mZoom = false;
    prepareCurrentImage();
}

void SVLayerView::moveToPosition(QPointF position)
{
    const QPointF before = mCurrent->position();
    animate(*mCurrent, valueChange(KeyPath::PositionX, before.x(), position.x()), kZoomTime,
        "moveX", TimingFunction::easeInEaseOut());
    animate(*mCurrent, valueChange(KeyPath::PositionY, before.y(), position.y()), kZoomTime,
        "moveY", TimingFunction::easeInEaseOut());
    mCurrent->setPosition(position);
    startFrames();
}

void SVLayerView::panX(double dx, double dy)
{
    if (mMovieActive)
        return;
    // While it is still growing, the smaller one: else its edge would come into view.
    const QSizeF size
        = mCurrent->boundsSize().boundedTo(mCurrent->presentation(mFrameTime).boundsSize);
    QPointF position = mCurrent->position();
    if (size.width() > width())
        position.setX(covering(position.x() + dx, size.width(), width()));
    // Hands count downwards, layers upwards.
    if (size.height() > height())
        position.setY(covering(position.y() - dy, size.height(), height()));
    mCurrent->setPosition(position);
    redraw();
}

} // namespace quorvane
