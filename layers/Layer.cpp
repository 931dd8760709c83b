// SPDX-License-Identifier: GPL-3.0-or-later
#include "layers/Layer.h"

#include <algorithm>
#include <cassert>
#include <cmath>

namespace quorvane {

namespace {

const QByteArray& transitionKey()
{
    static const QByteArray key = QByteArrayLiteral("transition");
    return key;
}

/// The place of the number that `keyPath` names.
void setValue(LayerState& state, KeyPath keyPath, double value)
{
    switch (keyPath) {
    case KeyPath::Opacity:
        state.opacity = value;
        break;
    case KeyPath::PositionX:
        state.position.setX(value);
        break;
    case KeyPath::PositionY:
        state.position.setY(value);
        break;
    case KeyPath::BoundsWidth:
        state.boundsSize.setWidth(value);
        break;
    case KeyPath::BoundsHeight:
        state.boundsSize.setHeight(value);
        break;
    case KeyPath::RotationX:
        state.rotationX = value;
        break;
    case KeyPath::RotationZ:
        state.rotationZ = value;
        break;
    }
}

double valueAt(const ValueChange& change, double progress)
{
    const double from = change.from;
    return from + (double(change.to) - from) * progress;
}

} // namespace

std::uint64_t newAnimationIdentity()
{
    static std::uint64_t last = 0;
    return ++last;
}

QRectF LayerState::rect() const
{
    const double height = boundsSize.height() * std::cos(rotationX);
    return { position.x() - anchorPoint.x() * boundsSize.width(),
        position.y() - anchorPoint.y() * height, boundsSize.width(), height };
}

void Layer::resetTransform()
{
    mModel.rotationX = 0;
    mModel.rotationZ = 0;
}

QRectF Layer::frame() const
{
    LayerState upright = mModel;
    upright.rotationX = 0;
    return upright.rect();
}

void Layer::setFrame(const QRectF& frame)
{
    assert(mModel.rotationX == 0 && mModel.rotationZ == 0);
    const QRectF standard = frame.normalized();
    mModel.boundsSize = standard.size();
    mModel.position = { standard.x() + mModel.anchorPoint.x() * standard.width(),
        standard.y() + mModel.anchorPoint.y() * standard.height() };
}

void Layer::displayIfNeeded()
{
    if (mNeedsDisplay && mDelegate) {
        mNeedsDisplay = false;
        mDelegate->displayLayer(*this);
    }
    for (Layer* const layer : mSublayers)
        layer->displayIfNeeded();
}

void Layer::addSublayer(Layer& layer)
{
    std::erase(mSublayers, &layer);
    mSublayers.push_back(&layer);
}

void Layer::insertAbove(Layer& layer, const Layer& sibling)
{
    std::erase(mSublayers, &layer);
    const auto place = std::find(mSublayers.begin(), mSublayers.end(), &sibling);
    mSublayers.insert(place == mSublayers.end() ? place : place + 1, &layer);
}

void Layer::addAnimation(const Animation& animation, const QByteArray& key)
{
    static std::uint64_t count = 0;
    const bool isTransition = std::holds_alternative<TransitionKind>(animation.change);
    const QByteArray& usedKey = isTransition ? transitionKey() : key;
    const auto same = std::find_if(mAnimations.begin(), mAnimations.end(),
        [&](const Running& running) { return running.key == usedKey; });
    if (same != mAnimations.end())
        remove(same);
    mAnimations.push_back(
        { usedKey, animation, ++count, {}, isTransition ? mCommitted : LayerState() });
}

void Layer::removeAllAnimations()
{
    while (!mAnimations.empty())
        remove(mAnimations.begin());
}

void Layer::remove(std::vector<Running>::iterator running)
{
    if (running->begin)
        mRemoved.push_back(std::move(*running));
    mAnimations.erase(running);
}

const Animation* Layer::animationForKey(const QByteArray& key) const
{
    const auto found = std::find_if(mAnimations.begin(), mAnimations.end(),
        [&](const Running& running) { return running.key == key; });
    return found == mAnimations.end() ? nullptr : &found->animation;
}

double Layer::Running::progress(double now) const
{
    if (!begin)
        return 0;
    return animation.timing.progressAt(
        animation.duration > 0 ? (now - *begin) / animation.duration : 1);
}

LayerState Layer::presentation(double now) const
{
    LayerState state = mModel;
    for (const Running& running : mAnimations) {
        if (const auto* const change = std::get_if<ValueChange>(&running.animation.change))
            setValue(state, change->keyPath, valueAt(*change, running.progress(now)));
    }
    state.opacity = std::clamp(state.opacity, 0.0, 1.0);
    return state;
}

std::optional<Layer::Transition> Layer::transition(double now) const
{
    for (const Running& running : mAnimations) {
        if (const auto* const kind = std::get_if<TransitionKind>(&running.animation.change))
            return Transition { *kind, running.progress(now), running.before };
    }
    return {};
}

} // namespace quorvane
