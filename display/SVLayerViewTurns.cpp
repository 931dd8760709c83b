// SPDX-License-Identifier: GPL-3.0-or-later
// Transitions in which the pictures turn.
#include "display/SVLayerView.h"

namespace quorvane {

namespace {

// Seconds.
constexpr double kFlip = 1.0;
constexpr double kRotation = 2.0;

// Radians. Not quite a quarter and a half turn: the old picture comes to rest a hair short of them.
constexpr float kEdgeOn = 1.57075F;
constexpr float kUpsideDown = 3.1415F;

/// In front of everything that a picture could reach.
constexpr double kInFront = 10000;

} // namespace

/// It stays where it is, and turns about its lower edge or its lower left corner from now on.
void SVLayerView::hingeAtLowerLeft(Layer& layer) const
{
    layer.setAnchorPoint({ 0, 0 });
    layer.setPosition(rectForLayer(layer).topLeft());
}

void SVLayerView::transitionHorizontalFlipFrom(Layer& f, Layer& t)
{
    put(f, t);
    setZPositions(f, kInFront, t, 0);
    hingeAtLowerLeft(f);
    f.setRotationX(kEdgeOn);
    f.removeAllAnimations();
    animate(f, { KeyPath::RotationX, 0, kEdgeOn }, kFlip, "transition");
    t.removeAllAnimations();
    animate(t, { KeyPath::RotationX, kEdgeOn, 0 }, kFlip, "transition");
    f.setOpacity(1);
    t.setOpacity(1);
}

/// Both directions flip the same way.
void SVLayerView::transitionHorizontalFlipBackFrom(Layer& f, Layer& t)
{
    transitionHorizontalFlipFrom(f, t);
}

void SVLayerView::transitionRotateFrom(Layer& f, Layer& t)
{
    put(f, t);
    setZPositions(f, 0, t, 0);
    f.setOpacity(1);
    t.setOpacity(1);
    hingeAtLowerLeft(f);
    f.setRotationZ(kUpsideDown);
    f.removeAllAnimations();
    animate(f, { KeyPath::RotationZ, 0, kUpsideDown }, kRotation, "transition",
        TimingFunction::easeIn());
    t.setAnchorPoint({ 0, 0 });
    t.setFrame(rectForLayer(t));
    animate(t, { KeyPath::RotationZ, kUpsideDown, 0 }, kRotation, "transition",
        TimingFunction::easeOut());
    t.resetTransform();
}

/// \param angle  that the old picture turns by, counter-clockwise; the new one comes in the same
/// sense.
void SVLayerView::rotateLeft(Layer& f, Layer& t, float angle)
{
    put(f, t);
    setZPositions(f, 0, t, 0);
    f.setOpacity(1);
    t.setOpacity(1);
    hingeAtLowerLeft(f);
    f.setRotationZ(angle);
    f.removeAllAnimations();
    animate(
        f, { KeyPath::RotationZ, 0, angle }, kRotation, "transitionLeft", TimingFunction::easeIn());
    t.setAnchorPoint({ 0, 0 });
    t.setFrame(rectForLayer(t));
    animate(t, { KeyPath::RotationZ, -angle, 0 }, kRotation, "transitionLeft",
        TimingFunction::easeOut());
    t.resetTransform();
}

void SVLayerView::transitionRotateLeftFrom(Layer& f, Layer& t) { rotateLeft(f, t, kUpsideDown); }

void SVLayerView::transitionRotateRightFrom(Layer& f, Layer& t) { rotateLeft(f, t, -kUpsideDown); }

} // namespace quorvane
