// SPDX-License-Identifier: GPL-3.0-or-later
// What every picture format has to offer.
#pragma once

#include "decoder/ColorProfile.h"
#include "platform/Result.h"

#include <QImage>
#include <QSize>

#include <functional>
#include <memory>

namespace quorvane {

class FileBytes;

/// Pixels of the largest picture: two gigabytes of four bytes each. What claims more is refused
/// before anything is allocated for it.
constexpr qint64 kPixelLimit = qint64(1) << 29;

/// Whether a picture of `size` may be decoded: neither side vanishes, not too many pixels.
bool isReasonable(QSize size);

/// What is known of a picture before it is decoded.
struct PictureHeader {
    QSize size; ///< In pixels, as stored.
    int orientation = 1; ///< 1 to 8, EXIF's numbers: how to turn the stored picture upright.
                         ///< Readers whose library turns the picture say 1.
};

/// Gives memory for the pixels of a picture: an image of the size and format asked for, its
/// contents undefined; a null image when there is no memory. A reader that has the pixels of its
/// picture delivered straight into such an image saves a copy: it may be the memory that the
/// viewer sees. The format is RGB32 or ARGB32_Premultiplied.
using ImageMaker = std::function<QImage(QSize, QImage::Format)>;

/// A decoded picture, not yet turned upright.
struct DecodedPicture {
    QImage image; ///< RGB32, or ARGB32_Premultiplied where anything is transparent.
    ColorProfile profile; ///< What its colours mean; converted later, when there are fewer pixels.
                          ///< Grey pictures come as RGB32 with three equal values and may have a
                          ///< grey profile.
};

/// One file of one format, opened. Made by a function of PictureFormat. Thread: any, one at a time.
class PictureReader {
public:
    PictureReader() = default;
    virtual ~PictureReader() = default;
    PictureReader(const PictureReader&) = delete;
    PictureReader& operator=(const PictureReader&) = delete;

    /// Known as soon as the reader exists; isReasonable() for all but readers that can decode a
    /// part of a larger picture.
    virtual PictureHeader header() const = 0;

    /// Decodes the first picture of the file, the first frame of an animation on its whole canvas.
    /// \param wanted  the size, as stored, in which the picture will be used. A reader for which
    ///                fewer pixels are less work may deliver any size at least as large in both
    ///                directions; one without sizes of its own (drawings) delivers exactly this.
    ///                Never larger than header().size otherwise.
    /// \return Damaged for a picture that ends too soon: half a picture is what a file that is
    ///         still being copied looks like.
    virtual Result<DecodedPicture> decode(QSize wanted, const ImageMaker& makeImage) = 0;
};

using OpenedPicture = Result<std::unique_ptr<PictureReader>>;

} // namespace quorvane
