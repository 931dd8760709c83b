// SPDX-License-Identifier: GPL-3.0-or-later
// A retained tree of pictures.
#pragma once

#include <QImage>
#include <QPointF>
#include <QRectF>
#include <QSizeF>

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

/// A rectangle with a picture stretched to it, and layers on top of it. Coordinates count from the
/// lower left of the parent, y up, in points; a layer clips nothing. Defaults are those of a plain
/// layer: no size, anchored at its centre, opaque, empty. Thread: main.
class Layer {
public:
    Layer() = default;
    Layer(const Layer&) = delete;
    Layer& operator=(const Layer&) = delete;

    /// Where the anchor point lies in the parent.
    QPointF position() const { return mPosition; }
    void setPosition(QPointF position) { mPosition = position; }

    QSizeF boundsSize() const { return mBoundsSize; }
    void setBoundsSize(QSizeF size) { mBoundsSize = size; }

    /// In shares of the size; (0, 0) is the lower left corner. Changing it moves the layer.
    QPointF anchorPoint() const { return mAnchorPoint; }
    void setAnchorPoint(QPointF anchor) { mAnchorPoint = anchor; }

    /// Layers of one parent are drawn from the lowest to the highest, equal ones in their order.
    double zPosition() const { return mZPosition; }
    void setZPosition(double z) { mZPosition = z; }

    /// 0 (not drawn) to 1.
    double opacity() const { return mOpacity; }
    void setOpacity(double opacity) { mOpacity = opacity; }

    /// The rectangle that the layer covers in its parent.
    QRectF frame() const;

    /// Moves and sizes the layer so that it covers `frame`; the anchor point stays what it is.
    void setFrame(const QRectF& frame);

    const QImage& contents() const { return mContents; }
    void setContents(const QImage& contents) { mContents = contents; }

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

    /// Puts `layer`, wherever it was, directly above `sibling`, which must be a sublayer.
    void insertAbove(Layer& layer, const Layer& sibling);

private:
    QPointF mPosition;
    QSizeF mBoundsSize { 0, 0 };
    QPointF mAnchorPoint { 0.5, 0.5 };
    double mZPosition = 0;
    double mOpacity = 1;
    QImage mContents;
    LayerDelegate* mDelegate = nullptr;
    bool mNeedsDisplay = false;
    std::vector<Layer*> mSublayers;
};

} // namespace quorvane
