// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/MovieAsset.h"

namespace quorvane {

using What = DecodeRequest::What;

MovieAsset::MovieAsset(FileDescriptor file, DecodeRequest::Priority priority)
    : mFile(std::move(file))
    , mPriority(priority)
{
}

std::optional<MovieAsset> MovieAsset::createWithURL(
    const FileURL& url, DecodeRequest::Priority priority)
{
    auto file = openForReading(url);
    if (!file)
        return {};
    return MovieAsset(std::move(*file), priority);
}

std::optional<MovieInformation> MovieAsset::information() const
{
    auto answer = decode(mFile, { .what = What::MovieInformation, .priority = mPriority });
    if (!answer)
        return {};
    return std::move(answer->movie);
}

std::optional<QImage> MovieAsset::createFrameAtMiddle(int maxPixelSize) const
{
    return createImage(What::MovieFrame, maxPixelSize);
}

std::optional<QImage> MovieAsset::createFrameAt(double seconds, int maxPixelSize) const
{
    return createImage(What::MovieFrameAt, maxPixelSize, seconds);
}

std::optional<QImage> MovieAsset::createCover(int maxPixelSize) const
{
    return createImage(What::MovieCover, maxPixelSize);
}

std::optional<QImage> MovieAsset::createImage(What what, int maxPixelSize, double seconds) const
{
    const auto answer = decode(mFile,
        { .what = what,
            .sizeFor = [maxPixelSize](QSize size) { return boundedSize(size, maxPixelSize); },
            .priority = mPriority,
            .seconds = seconds });
    if (!answer)
        return {};
    return answer->pixels.image().copy(); // Of its own memory: thumbnails are kept by the thousand.
}

} // namespace quorvane
