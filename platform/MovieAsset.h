// SPDX-License-Identifier: GPL-3.0-or-later
// A movie file, opened.
#pragma once

#include "platform/FileDescriptor.h"
#include "platform/FileURL.h"

#include <QImage>

#include <optional>

namespace quorvane {

/// Opens movie files and has single frames of them decoded. The decoding happens in another
/// program, to which only the open descriptor is handed. Thread: any, one at a time.
class MovieAsset {
public:
    /// \return nothing when the file cannot be opened.
    static std::optional<MovieAsset> createWithURL(const FileURL& url);

    /// The frame that is seen when half of the movie has passed (counted in six-hundredths of a
    /// second), upright. Waits for the decoder.
    /// \param maxPixelSize  bound of the longer side; nothing is ever enlarged.
    /// \return nothing when there is no picture track, or no frame that can be decoded.
    std::optional<QImage> createFrameAtMiddle(int maxPixelSize) const;

private:
    explicit MovieAsset(FileDescriptor file);

    FileDescriptor mFile;
};

} // namespace quorvane
