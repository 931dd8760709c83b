// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/ImageSource.h"

#include "platform/Orientation.h"

#include <algorithm>

namespace quorvane {

namespace {

/// `image` shrunk until its longer side is no longer than `bound`; never enlarged.
QImage boundedImage(const QImage& image, int bound)
{
    if (std::max(image.width(), image.height()) <= bound)
        return image;
    return image.scaled(bound, bound, Qt::KeepAspectRatio, Qt::SmoothTransformation);
}

/// The orientation to turn by: what no camera writes counts as upright.
int usableOrientation(std::optional<int> orientation)
{
    return orientation && *orientation >= 1 && *orientation <= 8 ? *orientation : 1;
}

} // namespace

ImageSource::ImageSource(FileDescriptor file)
    : mFile(std::move(file))
{
}

std::optional<ImageSource> ImageSource::createWithURL(const FileURL& url)
{
    auto file = openForReading(url);
    if (!file)
        return {};
    return ImageSource(std::move(*file));
}

std::optional<ImageSource::Picture> ImageSource::createImageAtIndex0() const
{
    auto answer = decode(mFile, { DecodeRequest::What::Picture, 0 });
    if (!answer)
        return {};
    Picture picture { std::move(answer->pixels), {} };
    if (answer->orientation)
        picture.properties = ImageProperties { *answer->orientation };
    return picture;
}

std::optional<QImage> ImageSource::createThumbnailAtIndex0(const ThumbnailOptions& options) const
{
    Result<DecodeAnswer> answer = fail(ErrorKind::NotFound, {});
    if (options.from == ThumbnailOptions::From::ImageIfAbsent)
        answer = decode(mFile, { DecodeRequest::What::EmbeddedThumbnail, 0 });
    if (!answer)
        answer = decode(mFile, { DecodeRequest::What::Picture, options.maxPixelSize });
    if (!answer)
        return {};
    const QImage small = boundedImage(answer->pixels.image(), options.maxPixelSize);
    return uprightImage(small, usableOrientation(answer->orientation));
}

} // namespace quorvane
