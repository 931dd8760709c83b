// SPDX-License-Identifier: GPL-3.0-or-later
// What happens to a layer over a stretch of time.
#pragma once

#include "layers/TimingFunction.h"

#include <cstdint>
#include <variant>

namespace quorvane {

struct Animation;

/// Hears of animations. Thread: main.
class AnimationDelegate {
public:
    virtual ~AnimationDelegate() = default;

    /// Its first frame is about to be drawn.
    virtual void animationDidStart(const Animation& animation) = 0;

    /// \param finished  false when it was removed or replaced before its time was over.
    virtual void animationDidStop(const Animation& animation, bool finished) = 0;
};

/// A number of a layer that an animation can change.
enum class KeyPath {
    Opacity,
    PositionX,
    PositionY,
    BoundsWidth,
    BoundsHeight,
    RotationX, ///< Radians, about the line through the anchor point.
    RotationZ, ///< Radians, about the anchor point, counter-clockwise.
};

/// Takes one number from a value to another. Single precision: that is what the values are given
/// in.
struct ValueChange {
    KeyPath keyPath;
    float from;
    float to;
};

/// The same from numbers of double precision.
constexpr ValueChange valueChange(KeyPath keyPath, double from, double to)
{
    return { keyPath, static_cast<float>(from), static_cast<float>(to) };
}

/// How a layer passes from what it showed last to what it shows from now on.
enum class TransitionKind {
    Fade,
    Push, ///< The new comes in from the right and pushes the old out to the left.
    BarsSwipe, ///< The old falls away in strips.
    Mod, ///< The new shows through growing holes.
    Swipe, ///< A soft edge runs from the left to the right.
};

/// One animation, added to a layer by value: what is changed later does not reach it. Time:
/// seconds.
struct Animation {
    std::variant<ValueChange, TransitionKind> change;
    double duration = 0;
    TimingFunction timing {};
    AnimationDelegate* delegate = nullptr; ///< Not owned; null for nobody.

    /// Tells animations apart; kept by copies. 0 until somebody needs to tell.
    std::uint64_t identity = 0;
};

/// A number that no animation has had yet. Thread: main.
std::uint64_t newAnimationIdentity();

} // namespace quorvane
