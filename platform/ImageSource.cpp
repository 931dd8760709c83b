// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/ImageSource.h"

namespace quorvane {

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
    auto answer = decode(mFile, { DecodeRequest::What::StoredPicture, {} });
    if (!answer)
        return {};
    return Picture { std::move(answer->pixels), ImageProperties { answer->orientation } };
}

std::optional<QImage> ImageSource::createThumbnailAtIndex0(const ThumbnailOptions& options) const
{
    const bool takesEmbedded = options.from == ThumbnailOptions::From::ImageIfAbsent;
    const auto answer = decode(mFile,
        { takesEmbedded ? DecodeRequest::What::SmallPicture : DecodeRequest::What::Picture,
            [bound = options.maxPixelSize](QSize size) { return boundedSize(size, bound); },
            DecodeRequest::Priority::Thumbnail });
    if (!answer)
        return {};
    return answer->pixels.image().copy(); // Of its own memory: thumbnails are kept by the thousand.
}

} // namespace quorvane
