// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/MovieAsset.h"

#include "platform/Decoding.h"

namespace quorvane {

MovieAsset::MovieAsset(FileDescriptor file)
    : mFile(std::move(file))
{
}

std::optional<MovieAsset> MovieAsset::createWithURL(const FileURL& url)
{
    auto file = openForReading(url);
    if (!file)
        return {};
    return MovieAsset(std::move(*file));
}

std::optional<QImage> MovieAsset::createFrameAtMiddle(int maxPixelSize) const
{
    const auto answer = decode(mFile,
        { DecodeRequest::What::MovieFrame,
            [maxPixelSize](QSize size) { return boundedSize(size, maxPixelSize); },
            DecodeRequest::Priority::Thumbnail });
    if (!answer)
        return {};
    return answer->pixels.image().copy(); // Of its own memory: thumbnails are kept by the thousand.
}

} // namespace quorvane
