// SPDX-License-Identifier: GPL-3.0-or-later
// One still picture, decoded and upright.
#pragma once

#include "platform/FileURL.h"
#include "platform/ImageSource.h"
#include "platform/Orientation.h"

#include <QImage>
#include <QRectF>

#include <memory>
#include <optional>

namespace quorvane {

/// The decoded form of one picture file. Loading turns the pixels upright, so that transform and
/// orientation are those of an upright picture afterwards; only when there is no memory for that
/// they tell what is still to be done.
///
/// Thread: loaded on any; handed over complete, and from then on the main thread's.
class SVImage {
public:
    /// \return nullptr when the file cannot be decoded.
    static std::shared_ptr<SVImage> imageWithURL(const FileURL& url);

    /// A picture that was decoded upright, in the size in which it is to be shown.
    /// \return nullptr when it has no pixels.
    static std::shared_ptr<SVImage> imageWithPixels(const FileURL& url, const DecodeAnswer& answer);

    /// A picture that comes from no file. Transform and orientation stay all zero.
    static std::shared_ptr<SVImage> imageWithImage(const QImage& image);

    /// Whether the file is a movie, by its type. Never one whose extension is exactly "gif" or
    /// "GIF"; nor one that does not exist.
    static bool isMovieURL(const FileURL& url);

    /// A small picture of the file, at most 300 pixels long, upright: videoThumbFromURL() of a
    /// movie, else imageThumbFromURL(). Waits for the decoder.
    /// \return nothing when the file cannot be decoded.
    static std::optional<QImage> thumbNailFromURL(const FileURL& url);

    /// The movie's frame at half its length, upright and at most 300 pixels long.
    static std::optional<QImage> videoThumbFromURL(const FileURL& url);

    /// A small picture of the file at most 300 pixels long, upright. The one that the file carries
    /// serves if it reaches 300 pixels in either direction, else one is made from the picture.
    /// \return nothing when the file cannot be decoded.
    static std::optional<QImage> imageThumbFromURL(const FileURL& url);

    /// The EXIF orientation, 1 to 8; whatever else stands there counts as 1.
    static int orientation(const ImageProperties& properties);

    /// The transform that turns `image`, as stored, upright.
    static AffineTransform imageTransform(const ImageProperties& properties, const QImage& image);

    /// See CGRectUtils::rectToFitSize(), which it is.
    static QRectF rectToFitSize(QSizeF picture, QSizeF size, bool expand);

    /// Decodes the first picture of the file. A file that cannot be opened changes nothing; one
    /// that cannot be decoded leaves no picture.
    void loadFromURL(const FileURL& url);

    /// Drops the pixels and loads the file again.
    void refresh();

    /// Moves the pixels through the transform, which is the identity afterwards. An upright picture
    /// is not touched and keeps its transparency; one that is turned loses it, to black.
    void loadImageWithTransform();

    /// The pixels; a null image when nothing could be decoded.
    const QImage& getCGImage() const { return mCGImage; }
    const AffineTransform& getTransform() const { return mTransform; }

    /// Whether upright means that width and height change places. Not after a successful load.
    bool turnedImage() const { return turnsPicture(mOrientation); }

    /// How large the picture is, in its own pixels, never swapped. It may have been decoded with
    /// fewer, or more: getCGImage() has those that are shown.
    int width() const { return mPictureSize.width(); }
    int height() const { return mPictureSize.height(); }
    QSize pictureSize() const { return mPictureSize; }

    /// The size of the picture as displayed: turned, if that is still to be done.
    QSizeF displayedSize() const;

    /// Placement of the picture as displayed; see CGRectUtils.
    QRectF rectToFitScreen(QSizeF screen, bool expand) const;
    QRectF rectToFillScreen(QSizeF screen) const;

    /// Empty for a picture that comes from no file.
    const FileURL& mURL() const { return mUrl; }
    void setMURL(const FileURL& url) { mUrl = url; }

    /// The pixels of the same file in another size. Thread: main.
    void setPixels(const DecodeAnswer& answer);

    virtual ~SVImage() = default;

protected:
    /// The pixels moved through the transform; a null image when there is no memory for them.
    virtual QImage bakedImage(QSize canvasSize) const;

private:
    QImage mCGImage;
    QSize mPictureSize { 0, 0 };
    AffineTransform mTransform;
    int mOrientation = 0;
    FileURL mUrl;
};

} // namespace quorvane
