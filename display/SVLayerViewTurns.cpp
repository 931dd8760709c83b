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

/// The old picture swings out and the new one in, both about their lower left corners. Radians,
/// counter-clockwise. \param out  that the old one turns by. \param in  where the new one begins.
void SVLayerView::rotate(Layer& f, Layer& t, float out, float in, const QByteArray& key)
{
    put(f, t);
    setZPositions(f, 0, t, 0);
    f.setOpacity(1);
    t.setOpacity(1);
    hingeAtLowerLeft(f);
    f.setRotationZ(out);
    f.removeAllAnimations();
    animate(f, { KeyPath::RotationZ, 0, out }, kRotation, key, TimingFunction::easeIn());
    t.setAnchorPoint({ 0, 0 });
    t.setFrame(rectForLayer(t));
    animate(t, { KeyPath::RotationZ, in, 0 }, kRotation, key, TimingFunction::easeOut());
    t.resetTransform();
}

void SVLayerView::transitionRotateFrom(Layer& f, Layer& t)
{
    rotate(f, t, kUpsideDown, kUpsideDown, "transition");
}

void SVLayerView::transitionRotateLeftFrom(Layer& f, Layer& t)
{
    rotate(f, t, kUpsideDown, -kUpsideDown, "transitionLeft");
}

void SVLayerView::transitionRotateRightFrom(Layer& f, Layer& t)
{
    rotate(f, t, -kUpsideDown, kUpsideDown, "transitionLeft");
}

} // namespace quorvane
