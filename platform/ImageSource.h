// SPDX-License-Identifier: GPL-3.0-or-later
// A picture file, opened.
#pragma once

#include "platform/Decoding.h"
#include "platform/FileDescriptor.h"
#include "platform/FileURL.h"

#include <optional>

namespace quorvane {

/// The properties of a picture that a file carries beside its pixels.
struct ImageProperties {
    int orientation = 0; ///< As the file has it, unchecked; 0 where it has none.
};

/// How a thumbnail is to be made.
struct ThumbnailOptions {
    enum class From {
        ImageIfAbsent, ///< The one embedded in the file; the picture itself only where there is
                       ///< none.
        ImageAlways, ///< The picture itself.
    };
    From from = From::ImageIfAbsent;
    int maxPixelSize = 0; ///< Bound of the longer side; nothing is ever enlarged.
};

/// Opens picture files and has them decoded. The decoding itself happens behind decode(), to which
/// only the open descriptor is handed. Thread: any, one at a time.
class ImageSource {
public:
    /// \return nothing when the file cannot be opened; why is of no interest to a show.
    static std::optional<ImageSource> createWithURL(const FileURL& url);

    /// The first picture of the file as stored, and what the file says about it. Waits for the
    /// decoder.
    struct Picture {
        PixelBuffer pixels;
        std::optional<ImageProperties> properties;
    };
    std::optional<Picture> createImageAtIndex0() const;

    /// A small picture, upright. Waits for the decoder.
    std::optional<QImage> createThumbnailAtIndex0(const ThumbnailOptions& options) const;

private:
    explicit ImageSource(FileDescriptor file);

    FileDescriptor mFile;
};

} // namespace quorvane
