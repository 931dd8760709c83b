// SPDX-License-Identifier: GPL-3.0-or-later
// The moments that are drawn while something moves.
#include "display/OpenGLCanvas.h"
#include "display/SVLayerView.h"
#include "layers/Drawing.h"

#include <QPaintEvent>
#include <QPainter>
#include <QScreen>

#include <algorithm>

namespace quorvane {

namespace {

/// Frames a second. Screens say strange things at times.
constexpr double kLeastRate = 24;
constexpr double kGreatestRate = 240;
constexpr double kUsualRate = 60;

Duration frameTime(const QScreen* screen)
{
    const double rate = screen ? screen->refreshRate() : kUsualRate;
    return durationFromSeconds(1 / std::clamp(rate, kLeastRate, kGreatestRate));
}

} // namespace

double SVLayerView::seconds() const { return secondsFromDuration(mClock.now().time_since_epoch()); }

PaintingBase SVLayerView::paintingBase() const
{
    return mCanvas ? PaintingBase::OpenGL : PaintingBase::Raster;
}

void SVLayerView::useOpenGL()
{
    mCanvas = new OpenGLCanvas([this](QPainter& painter) { paintMoment(painter); }, *this);
    // Not within its painting, which it fails in.
    connect(
        mCanvas, &OpenGLCanvas::failed, this, &SVLayerView::fallBackToRaster, Qt::QueuedConnection);
}

void SVLayerView::fallBackToRaster()
{
    if (!mCanvas)
        return;
    qWarning("OpenGL does not work here: the processor paints instead.");
    mCanvas->hide();
    mCanvas->deleteLater();
    mCanvas = nullptr;
    redraw();
}

void SVLayerView::paintEvent(QPaintEvent* /*event*/)
{
    if (mCanvas)
        return;
    QPainter painter(this);
    paintMoment(painter);
}

void SVLayerView::paintMoment(QPainter& painter)
{
    mRoot.displayIfNeeded();
    const double pixelRatio = devicePixelRatioF();
    const auto draws = drawList(mRoot, mFrameTime);
    painter.scale(1 / pixelRatio, 1 / pixelRatio);
    for (const QRect& part : uncovered(draws, size(), pixelRatio))
        painter.fillRect(part, Qt::black);
    paint(painter, draws, size(), pixelRatio);
    mAnimator.commit(mFrameTime);
}

/// What has changed outside of all animations.
void SVLayerView::redraw(const QRegion& region)
{
    if (mCanvas)
        mCanvas->update();
    else
        update(region);
}

/// From the next turn on, so that all that belongs to one change begins together.
void SVLayerView::startFrames()
{
    if (mFrames)
        return;
    mFrames = mClock.scheduleTimer(
        Duration::zero(), Clock::Repetition::Once, [this] { drawFirstFrame(); });
}

void SVLayerView::drawFirstFrame()
{
    mFrames = mClock.scheduleTimer(
        frameTime(screen()), Clock::Repetition::Repeating, [this] { drawFrame(); });
    drawFrame();
}

void SVLayerView::drawFrame()
{
    mFrameTime = seconds();
    mAnimator.beginFrame(mFrameTime);
    if (mCanvas)
        mCanvas->repaint();
    else
        repaint();
    mAnimator.endFrame(mFrameTime);
    if (mAnimator.isActive())
        return;
    mFrames.reset();
    redraw(); // What is hidden at the end, and what the model says now.
}

} // namespace quorvane
