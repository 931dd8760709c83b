// SPDX-License-Identifier: GPL-3.0-or-later
#include "images/SVImage.h"

#include "images/CGRectUtils.h"
#include "platform/MovieAsset.h"
#include "platform/PathRules.h"
#include "platform/TypeIdentifier.h"

namespace quorvane {

namespace {

/// The longer side of a thumbnail, in pixels.
constexpr int kThumbnailSize = 300;

bool isSmall(const std::optional<QImage>& thumbnail)
{
    return !thumbnail
        || (thumbnail->width() < kThumbnailSize && thumbnail->height() < kThumbnailSize);
}

} // namespace

std::shared_ptr<SVImage> SVImage::imageWithURL(const FileURL& url)
{
    auto image = std::make_shared<SVImage>();
    image->loadFromURL(url);
    if (image->getCGImage().isNull())
        return nullptr;
    return image;
}

std::shared_ptr<SVImage> SVImage::imageWithPixels(const FileURL& url, const DecodeAnswer& answer)
{
    auto image = std::make_shared<SVImage>();
    image->mUrl = url;
    image->setPixels(answer);
    return image->mCGImage.isNull() ? nullptr : image;
}

std::shared_ptr<SVImage> SVImage::imageWithImage(const QImage& image)
{
    auto result = std::make_shared<SVImage>();
    result->mCGImage = image;
    result->mPictureSize = image.size();
    return result;
}

bool SVImage::isMovieURL(const FileURL& url)
{
    const QString type = TypeIdentifier::typeIdentifierForFile(url.path());
    const QByteArrayView extension = pathExtension(url.path());
    if (extension == "gif" || extension == "GIF")
        return false;
    return !type.isEmpty() && TypeIdentifier::audiovisualTypes().contains(type);
}

std::optional<QImage> SVImage::thumbNailFromURL(const FileURL& url)
{
    return isMovieURL(url) ? videoThumbFromURL(url) : imageThumbFromURL(url);
}

std::optional<QImage> SVImage::videoThumbFromURL(const FileURL& url)
{
    const auto asset = MovieAsset::createWithURL(url);
    return asset ? asset->createFrameAtMiddle(kThumbnailSize) : std::nullopt;
}

std::optional<QImage> SVImage::imageThumbFromURL(const FileURL& url)
{
    const auto source = ImageSource::createWithURL(url);
    if (!source)
        return {};
    auto thumbnail = source->createThumbnailAtIndex0(
        { ThumbnailOptions::From::ImageIfAbsent, kThumbnailSize });
    if (isSmall(thumbnail)) {
        thumbnail = source->createThumbnailAtIndex0(
            { ThumbnailOptions::From::ImageAlways, kThumbnailSize });
    }
    return thumbnail;
}

int SVImage::orientation(const ImageProperties& properties)
{
    const bool isKnown = properties.orientation >= 1 && properties.orientation <= 8;
    return isKnown ? properties.orientation : 1;
}

AffineTransform SVImage::imageTransform(const ImageProperties& properties, const QImage& image)
{
    return orientationTransform(orientation(properties), image.width(), image.height());
}

QRectF SVImage::rectToFitSize(QSizeF picture, QSizeF size, bool expand)
{
    return CGRectUtils::rectToFitSize(picture, size, expand);
}

void SVImage::loadFromURL(const FileURL& url)
{
    mTransform = AffineTransform::identity();
    mOrientation = 1;
    const auto source = ImageSource::createWithURL(url);
    if (!source)
        return;
    mUrl = url;
    mCGImage = {};
    mPictureSize = { 0, 0 };
    const auto picture = source->createImageAtIndex0();
    if (!picture)
        return;
    mCGImage = picture->pixels.image();
    mPictureSize = mCGImage.size();
    if (!picture->properties)
        return;
    mTransform = imageTransform(*picture->properties, mCGImage);
    mOrientation = orientation(*picture->properties);
    loadImageWithTransform();
}

void SVImage::refresh()
{
    mCGImage = {};
    mPictureSize = { 0, 0 };
    loadFromURL(mUrl);
}

void SVImage::loadImageWithTransform()
{
    if (mTransform == AffineTransform::identity())
        return;
    const QImage upright
        = bakedImage(turnedImage() ? mCGImage.size().transposed() : mCGImage.size());
    if (upright.isNull())
        return;
    mCGImage = upright;
    mPictureSize = upright.size();
    mTransform = AffineTransform::identity();
    mOrientation = 1;
}

void SVImage::setPixels(const DecodeAnswer& answer)
{
    mCGImage = answer.pixels.image();
    mPictureSize = answer.pictureSize;
    mTransform = AffineTransform::identity();
    mOrientation = 1;
}

QRectF SVImage::rectToFitScreen(QSizeF screen, bool expand) const
{
    return CGRectUtils::rectToFitSize(displayedSize(), screen, expand);
}

QRectF SVImage::rectToFillScreen(QSizeF screen) const
{
    return CGRectUtils::rectToFillSize(displayedSize(), screen);
}

QImage SVImage::bakedImage(QSize canvasSize) const
{
    return transformedImage(mCGImage, mTransform, canvasSize);
}

QSizeF SVImage::displayedSize() const
{
    return turnedImage() ? QSizeF(height(), width()) : QSizeF(width(), height());
}

} // namespace quorvane
