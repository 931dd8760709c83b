// SPDX-License-Identifier: GPL-3.0-or-later
// The line between the viewer and the codecs: a descriptor goes in, pixels come out.
#pragma once

#include "platform/FileDescriptor.h"
#include "platform/PixelBuffer.h"
#include "platform/Result.h"

#include <optional>

namespace quorvane {

/// What is wanted of a file. Plain values: it could be sent to another program.
struct DecodeRequest {
    enum class What {
        Picture, ///< The first picture, as stored: its orientation is told, not applied.
        EmbeddedThumbnail, ///< The small picture in the file's EXIF data, likewise as stored.
    };
    What what = What::Picture;

    /// The picture may come smaller, but not with less than this number of pixels on its longer
    /// side; 0 for all its pixels.
    int longerSideAtLeast = 0;
};

/// What came of it.
struct DecodeAnswer {
    PixelBuffer pixels;
    std::optional<int> orientation; ///< The file's EXIF orientation, whatever number stands there.
};

/// Decodes the first picture of `file`. What lies in the file decides how, never its name.
/// \return Unsupported for what is no picture, Damaged for one that cannot be decoded or ends too
///         soon (half a BMP or GIF, or half a JPEG in four inks, may still be shown: Qt's readers
///         do not tell), TooLarge for one that needs more memory than a picture may have.
/// Thread: any, several at once.
Result<DecodeAnswer> decode(const FileDescriptor& file, const DecodeRequest& request);

} // namespace quorvane
