// SPDX-License-Identifier: GPL-3.0-or-later
#include "layers/Layer.h"

#include <algorithm>

namespace quorvane {

QRectF Layer::frame() const
{
    return { mPosition.x() - mAnchorPoint.x() * mBoundsSize.width(),
        mPosition.y() - mAnchorPoint.y() * mBoundsSize.height(), mBoundsSize.width(),
        mBoundsSize.height() };
}

void Layer::setFrame(const QRectF& frame)
{
    const QRectF standard = frame.normalized();
    mBoundsSize = standard.size();
    mPosition = { standard.x() + mAnchorPoint.x() * standard.width(),
        standard.y() + mAnchorPoint.y() * standard.height() };
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

} // namespace quorvane
