// SPDX-License-Identifier: GPL-3.0-or-later
// A picture made ready to be mixed with another one.
#pragma once

#include <QImage>
#include <QRectF>

#include <memory>

namespace quorvane {

/// A picture of the size of the view, for effects that mix two pictures pixel by pixel: whatever
/// their shapes, both have a pixel, black in the margins, wherever the view has one. Immutable;
/// thread: any.
class SVFilterImage {
public:
    /// Draws `image` into `drawRect` on black.
    /// \param drawRect   pixels, from the lower left of the result, y up; may reach beyond it.
    /// \param imageRect  its size, cut to whole pixels, is that of the result; where it lies means
    /// nothing.
    /// \return never null; without a picture when `imageRect` has no pixel or there is no memory.
    static std::shared_ptr<SVFilterImage> imageWithCGImage(
        const QImage& image, const QRectF& drawRect, const QRectF& imageRect);

    SVFilterImage(const QImage& image, const QRectF& imageRect);

    /// Opaque, four bytes a pixel, no gap between the rows, topmost first; null for none.
    const QImage& mCGImage() const { return mImage; }

    /// The same pixels, as effects take them.
    const QImage& mCIImage() const { return mImage; }

    /// As it was asked for.
    const QRectF& mImageRect() const { return mRect; }

private:
    QImage mImage;
    QRectF mRect;
};

} // namespace quorvane
