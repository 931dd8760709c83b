// SPDX-License-Identifier: GPL-3.0-or-later
// Transitions in which the pictures move or change their size; the drift.
#include "display/SVLayerView.h"

namespace quorvane {

namespace {

// Seconds.
constexpr double kShrink = 1.0;
constexpr double kExpand = 1.0;
constexpr double kSlide = 1.4;
constexpr double kDrift = 30.0;

constexpr QPointF kCentre { 0.5, 0.5 };

} // namespace

void SVLayerView::transitionShrinkFrom(Layer& f, Layer& t)
{
    put(f, t);
    for (Layer* const layer : { &f, &t }) {
        layer->setAnchorPoint(kCentre);
        layer->setOpacity(1);
        layer->setZPosition(0);
        layer->setFrame(rectForLayer(*layer));
    }
    t.removeAllAnimations();
    const QSizeF size = f.boundsSize();
    f.setBoundsSize({ 0, 0 });
    f.removeAllAnimations();
    animate(f, valueChange(KeyPath::BoundsWidth, size.width(), 0), kShrink, "transition",
        TimingFunction::easeIn());
    animate(f, valueChange(KeyPath::BoundsHeight, size.height(), 0), kShrink, "transition2",
        TimingFunction::easeIn());
}

void SVLayerView::transitionExpandFrom(Layer& f, Layer& t)
{
    put(t, f);
    for (Layer* const layer : { &t, &f }) {
        layer->setZPosition(0);
        layer->setOpacity(1);
        layer->setAnchorPoint(kCentre);
        layer->setFrame(rectForLayer(*layer));
    }
    const QSizeF size = t.boundsSize();
    t.removeAllAnimations();
    animate(t, valueChange(KeyPath::BoundsWidth, 0, size.width()), kExpand, "transition",
        TimingFunction::easeOut());
    animate(t, valueChange(KeyPath::BoundsHeight, 0, size.height()), kExpand, "transition2",
        TimingFunction::easeOut());
    f.setOpacity(0);
    f.removeAllAnimations();
    animate(f, valueChange(KeyPath::Opacity, 1, 0), kExpand, "fade", TimingFunction::easeIn());
}

/// Both in their places, the old picture in front, held by `anchor`.
void SVLayerView::prepareSlide(Layer& f, Layer& t, QPointF anchor)
{
    put(f, t);
    setZPositions(f, 0, t, 0);
    f.setOpacity(1);
    t.setOpacity(1);
    t.setAnchorPoint({ 0, 0 });
    f.setAnchorPoint(anchor);
    t.setFrame(rectForLayer(t));
    f.setFrame(rectForLayer(f));
}

void SVLayerView::transitionSlideFrom(Layer& f, Layer& t)
{
    prepareSlide(f, t, { 1, 0 });
    const QRectF from = f.frame();
    const double to = t.frame().x();
    f.setPosition({ 0, f.position().y() });
    f.removeAllAnimations();
    animate(f, valueChange(KeyPath::PositionX, from.right(), -from.x()), kSlide, "transition");
    t.removeAllAnimations();
    animate(t, valueChange(KeyPath::PositionX, width() + to, to), kSlide, "transition2");
}

void SVLayerView::transitionSlideBackFrom(Layer& f, Layer& t)
{
    prepareSlide(f, t, { 0, 0 });
    const double from = f.frame().x();
    const double to = t.frame().x();
    f.setPosition({ static_cast<double>(width()), f.position().y() });
    f.removeAllAnimations();
    animate(f, valueChange(KeyPath::PositionX, from, from + width()), kSlide, "transition");
    t.removeAllAnimations();
    animate(t, valueChange(KeyPath::PositionX, to - width(), to), kSlide, "transition2");
}

void SVLayerView::driftEffect()
{
    mDriftAnimation = newAnimationIdentity();
    mCurrent->addAnimation({ valueChange(KeyPath::PositionX, 0, rectForImage(mImage.get()).width()),
                               kDrift, TimingFunction::easeOut(), this, *mDriftAnimation },
        "driftx");
    startFrames();
}

} // namespace quorvane
