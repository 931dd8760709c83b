// SPDX-License-Identifier: GPL-3.0-or-later
// The mouse: a large pointer that a presenter shows details with, and the hand that moves a zoomed
// picture.
#include "display/PointerState.h"
#include "display/SVLayerView.h"
#include "images/PointerImage.h"
#include "platform/UserDefaults.h"
#include "settings/SettingsCatalogue.h"

#include <QGuiApplication>
#include <QMouseEvent>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

namespace quorvane {

namespace {

constexpr double kLeastCursorZoom = 0.2;
constexpr double kGreatestCursorZoom = 1.0;
constexpr double kCursorZoomPerNotch = -0.5;

/// What QWheelEvent counts for one notch of a wheel.
constexpr double kNotch = 120;

/// After the first mouse action, how long the next ones do not hold the slide back again.
constexpr std::chrono::seconds kDelayPause { 1 };

} // namespace

PointerState& PointerState::instance()
{
    static PointerState state;
    return state;
}

void SVLayerView::setMCursorImage(std::shared_ptr<const PointerImage> image)
{
    mPointerImage = std::move(image);
    mPointer.setAnchorPoint({ 0, 0 });
    mPointer.setNeedsDisplay();
}

void SVLayerView::updateCursor()
{
    const QString name = mDefaults.stringValue(kCursor);
    if (mPointerImage && mPointerImage->name() == name)
        return;
    setMCursorImage(PointerImage::imageNamed(name));
}

QRectF SVLayerView::cursorRect() const
{
    if (!mPointerImage)
        return {};
    const QSizeF size = QSizeF(mPointerImage->size()) * mCursorZoom;
    return { 0, 0, std::floor(size.width()), std::floor(size.height()) };
}

void SVLayerView::resizeCursor()
{
    mPointer.setBoundsSize(cursorRect().size());
    mPointer.setNeedsDisplay();
}

void SVLayerView::positionCursor()
{
    resizeCursor();
    mPointer.setPosition(mCursorPoint - QPointF(0, mPointer.boundsSize().height()));
    redrawCursor();
}

/// Where it was and where it is; the slide behind it may be large.
void SVLayerView::redrawCursor()
{
    const QRectF frame = mPointer.frame();
    const QRectF place(frame.x(), height() - frame.bottom(), frame.width(), frame.height());
    const QRect drawn = place.toAlignedRect().adjusted(-1, -1, 1, 1);
    redraw(QRegion(mPointerDrawn).united(drawn));
    mPointerDrawn = drawn;
}

void SVLayerView::hideMouse()
{
    auto& state = PointerState::instance();
    if (state.isHidden)
        return;
    QGuiApplication::setOverrideCursor(Qt::BlankCursor);
    state.isHidden = true;
}

void SVLayerView::showMouse()
{
    auto& state = PointerState::instance();
    if (!state.isHidden)
        return;
    QGuiApplication::restoreOverrideCursor();
    state.isHidden = false;
}

void SVLayerView::delaySlideShow()
{
    auto& first = PointerState::instance().firstDelay;
    if (first && mClock.now() - *first <= kDelayPause)
        return;
    if (!first)
        first = mClock.now();
    if (mDelegate)
        mDelegate->delayNextImage();
}

bool SVLayerView::pans(const QMouseEvent& event) const
{
    return mZoom && event.modifiers().testFlag(Qt::ControlModifier);
}

void SVLayerView::takePoint(const QMouseEvent& event)
{
    mDragPoint = event.position();
    mCursorPoint = QPointF(mDragPoint.x(), height() - mDragPoint.y());
}

void SVLayerView::putCursorAway()
{
    showMouse();
    mPointer.setOpacity(0);
    mPointer.setNeedsDisplay();
    redrawCursor();
}

/// The hand stays where it is, counted from the upper edge; the layers count from the lower one.
void SVLayerView::followResize()
{
    mCursorPoint = QPointF(mDragPoint.x(), height() - mDragPoint.y());
    if (mPointer.opacity() > 0)
        positionCursor();
}

void SVLayerView::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) {
        QWidget::mousePressEvent(event);
        return;
    }
    delaySlideShow();
    takePoint(*event);
    if (pans(*event)) {
        setCursor(Qt::ClosedHandCursor);
        return;
    }
    updateCursor();
    mPointer.setOpacity(1);
    positionCursor();
    hideMouse();
}

void SVLayerView::mouseMoveEvent(QMouseEvent* event)
{
    if (event->buttons().testFlag(Qt::LeftButton))
        mouseDragged(*event);
    else
        QWidget::mouseMoveEvent(event);
}

void SVLayerView::mouseDragged(const QMouseEvent& event)
{
    delaySlideShow();
    const QPointF way = event.position() - mDragPoint;
    takePoint(event);
    if (pans(event)) {
        setCursor(Qt::ClosedHandCursor);
        showMouse();
        panX(way.x(), way.y());
        return;
    }
    unsetCursor();
    if (!rect().contains(event.position().toPoint()))
        putCursorAway();
    // A hand that never pressed, or has been away, keeps the pointer that it has.
    if (mPointer.opacity() == 0)
        return;
    hideMouse();
    positionCursor();
}

void SVLayerView::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) {
        QWidget::mouseReleaseEvent(event);
        return;
    }
    unsetCursor();
    putCursorAway();
}

void SVLayerView::leaveEvent(QEvent* event)
{
    QWidget::leaveEvent(event);
    putCursorAway();
}

void SVLayerView::hideEvent(QHideEvent* event)
{
    QWidget::hideEvent(event);
    putCursorAway();
}

/// The release may go to the window that took over.
void SVLayerView::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::ActivationChange && !isActiveWindow())
        putCursorAway();
}

void SVLayerView::wheelEvent(QWheelEvent* event)
{
    const double notches = event->angleDelta().y() / kNotch;
    mCursorZoom = std::clamp(
        mCursorZoom + notches * kCursorZoomPerNotch, kLeastCursorZoom, kGreatestCursorZoom);
    resizeCursor();
    redrawCursor();
}

} // namespace quorvane
