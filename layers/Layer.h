// SPDX-License-Identifier: GPL-3.0-or-later
// A retained tree of pictures.
#pragma once

#include "layers/Animation.h"

#include <QByteArray>
#include <QImage>
#include <QPointF>
#include <QRectF>
#include <QSizeF>

#include <optional>
#include <vector>

namespace quorvane {

class Layer;

/// Gives a layer what it shows.
class LayerDelegate {
public:
    virtual ~LayerDelegate() = default;

    /// Asked when the layer was marked for redisplay and is about to be drawn.
    virtual void displayLayer(Layer& layer) = 0;
};

/// All that decides how one layer looks. Coordinates count from the lower left of the parent, y up,
/// in points.
struct LayerState {
    QPointF position; ///< Where the anchor point lies in the parent.
    QSizeF boundsSize { 0, 0 };
    QPointF anchorPoint { 0.5, 0.5 }; ///< In shares of the size; (0, 0) is the lower left corner.
    double rotationX = 0; ///< Radians; seen from straight ahead, it makes the layer lower.
    double rotationZ = 0; ///< Radians, counter-clockwise.
    double opacity = 1; ///< 0 (not drawn) to 1.
    QImage contents;

    /// The rectangle that is covered before the rotation about z.
    QRectF rect() const;
};

/// A rectangle with a picture stretched to it, and layers on top of it. A layer clips nothing.
/// Defaults are those of a plain layer: no size, anchored at its centre, opaque, empty. Setting a
/// property takes effect at once; only animations take time. Thread: main.
class Layer {
public:
    Layer() = default;
    Layer(const Layer&) = delete;
    Layer& operator=(const Layer&) = delete;

    QPointF position() const { return mModel.position; }
    void setPosition(QPointF position) { mModel.position = position; }

    QSizeF boundsSize() const { return mModel.boundsSize; }
    void setBoundsSize(QSizeF size) { mModel.boundsSize = size; }

    /// Changing it moves the layer.
    QPointF anchorPoint() const { return mModel.anchorPoint; }
    void setAnchorPoint(QPointF anchor) { mModel.anchorPoint = anchor; }

    double rotationX() const { return mModel.rotationX; }
    void setRotationX(double radians) { mModel.rotationX = radians; }
    double rotationZ() const { return mModel.rotationZ; }
    void setRotationZ(double radians) { mModel.rotationZ = radians; }

    /// No rotation.
    void resetTransform();

    /// Layers of one parent are drawn from the lowest to the highest, equal ones in their order.
    double zPosition() const { return mZPosition; }
    void setZPosition(double z) { mZPosition = z; }

    /// Drawn in front of all its siblings, whatever their zPosition().
    bool isForemost() const { return mIsForemost; }
    void setForemost(bool isForemost) { mIsForemost = isForemost; }

    double opacity() const { return mModel.opacity; }
    void setOpacity(double opacity) { mModel.opacity = opacity; }

    /// The rectangle that the layer covers in its parent, when it is not rotated.
    QRectF frame() const;

    /// Moves and sizes the layer so that it covers `frame`; the anchor point stays what it is. Not
    /// while it is rotated.
    void setFrame(const QRectF& frame);

    const QImage& contents() const { return mModel.contents; }
    void setContents(const QImage& contents) { mModel.contents = contents; }

    /// Not owned; may be null.
    void setDelegate(LayerDelegate* delegate) { mDelegate = delegate; }

    /// Has the delegate asked for the contents before the layer is drawn next.
    void setNeedsDisplay() { mNeedsDisplay = true; }

    /// Asks the delegates of this layer and all below it that were marked.
    void displayIfNeeded();

    /// Layers on top of this one, the last one foremost. Not owned.
    const std::vector<Layer*>& sublayers() const { return mSublayers; }

    /// Puts `layer` on top of all sublayers.
    void addSublayer(Layer& layer);

    /// Puts `layer`, wherever it was, directly above `sibling`, which must be a sublayer. It keeps
    /// its animations.
    void insertAbove(Layer& layer, const Layer& sibling);

    /// The animation begins with the next frame, together with all others added before it. One that
    /// has the key already ends unfinished. All transitions have the key "transition".
    void addAnimation(const Animation& animation, const QByteArray& key);

    /// All end unfinished. Of one that has not begun nobody hears.
    void removeAllAnimations();

    /// Null when there is none.
    const Animation* animationForKey(const QByteArray& key) const;

    bool hasAnimations() const { return !mAnimations.empty(); }

    /// What the layer is set to, with the values that its animations have at `now`.
    LayerState presentation(double now) const;

    /// The transition under way: from what the layer looked like when it was added.
    struct Transition {
        TransitionKind kind;
        double progress; ///< 0 to 1.
        LayerState before;
    };
    std::optional<Transition> transition(double now) const;

private:
    friend class LayerAnimator;

    /// An animation of this layer.
    struct Running {
        QByteArray key;
        Animation animation;
        std::uint64_t number; ///< Counts additions to any layer.
        std::optional<double> begin; ///< Nothing before its first frame.
        LayerState before; ///< As committed when it was added.

        double progress(double now) const;
    };

    void remove(std::vector<Running>::iterator running);

    LayerState mModel;
    LayerState mCommitted; ///< As drawn last.
    double mZPosition = 0;
    bool mIsForemost = false;
    LayerDelegate* mDelegate = nullptr;
    bool mNeedsDisplay = false;
    std::vector<Layer*> mSublayers;
    std::vector<Running> mAnimations; ///< In the order of their addition.
    std::vector<Running> mRemoved; ///< Begun and ended unfinished; nobody has been told yet.
};

} // namespace quorvane
