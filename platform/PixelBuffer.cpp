// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/PixelBuffer.h"

namespace quorvane {

PixelBuffer::PixelBuffer(std::shared_ptr<const void> owner, const uchar* bits, QSize size,
    qsizetype stride, Format format)
    : mOwner(std::move(owner))
    , mBits(bits)
    , mSize(size)
    , mStride(stride)
    , mFormat(format)
{
}

PixelBuffer PixelBuffer::fromImage(QImage image)
{
    const Format format = image.hasAlphaChannel() ? Format::Premultiplied : Format::Opaque;
    image.convertTo(format == Format::Premultiplied ? QImage::Format_ARGB32_Premultiplied
                                                    : QImage::Format_RGB32);
    if (image.isNull())
        return {};
    const auto owner = std::make_shared<const QImage>(std::move(image));
    return { owner, owner->constBits(), owner->size(), owner->bytesPerLine(), format };
}

QImage PixelBuffer::image() const
{
    if (isNull())
        return {};
    const auto format = mFormat == Format::Premultiplied ? QImage::Format_ARGB32_Premultiplied
                                                         : QImage::Format_RGB32;
    using Owner = std::shared_ptr<const void>;
    return QImage(
        mBits, mSize.width(), mSize.height(), mStride, format,
        [](void* owner) { delete static_cast<Owner*>(owner); }, new Owner(mOwner));
}

} // namespace quorvane
