// SPDX-License-Identifier: GPL-3.0-or-later
// Takes the animations of a tree of layers from frame to frame.
#pragma once

#include <functional>

namespace quorvane {

class Layer;

/// Begins and ends the animations of a tree, and tells their delegates: between two frames, never
/// while somebody adds or removes one. For each frame that moves, whoever draws calls beginFrame(),
/// draws the tree's moment, and calls endFrame(). Time: seconds of a clock that never goes back.
/// Thread: main.
class LayerAnimator {
public:
    /// \param root  outlives this; its sublayers are animated, and theirs.
    explicit LayerAnimator(Layer& root);

    /// Whether another frame has to follow: something moves, or somebody is to be told.
    bool isActive() const;

    /// Tells of animations that were removed; then those that were added since the last frame
    /// begin, all at `now`, in the order of their addition.
    void beginFrame(double now);

    /// The tree's moment has been drawn: a transition that is added later begins with its look.
    void commit(double now);

    /// Ends what is over at `now`.
    void endFrame(double now);

private:
    void forEachLayer(const std::function<void(Layer&)>& visit) const;

    Layer& mRoot;
};

} // namespace quorvane
