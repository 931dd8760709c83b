// SPDX-License-Identifier: GPL-3.0-or-later
// A movie file, opened.
#pragma once

#include "platform/Decoding.h"
#include "platform/FileDescriptor.h"
#include "platform/FileURL.h"
#include "platform/MovieInformation.h"

#include <QImage>

#include <optional>

namespace quorvane {

/// Opens movie files, and those of sound, and has told what lies in them, without playing them.
/// That happens in another program, to which only the open descriptor is handed: nothing here looks
/// into the file. Each question waits for the answer. Thread: any but the main thread of the
/// viewer, one at a time.
class MovieAsset {
public:
    /// \param priority  of all that will be asked.
    /// \return nothing when the file cannot be opened.
    static std::optional<MovieAsset> createWithURL(
        const FileURL& url, DecodeRequest::Priority priority = DecodeRequest::Priority::Thumbnail);

    /// \return nothing for what is no movie and no sound, or breaks its reader.
    std::optional<MovieInformation> information() const;

    /// The frame that is seen when half of the movie has passed (counted in six-hundredths of a
    /// second), upright. Of a movie whose length is unknown the first.
    /// \param maxPixelSize  bound of the longer side; nothing is ever enlarged.
    /// \return nothing when there is no picture track, or no frame that can be decoded.
    std::optional<QImage> createFrameAtMiddle(int maxPixelSize) const;

    /// The same for another moment; where the file has no frame there, the nearest one before or
    /// after. \param seconds  from the beginning; what lies before that is the beginning, what
    /// lies beyond the end the end.
    std::optional<QImage> createFrameAt(double seconds, int maxPixelSize) const;

    /// The picture that is attached to the file, the front cover if there are several, upright.
    /// \param maxPixelSize  as above.
    /// \return nothing when there is none, or none that can be decoded.
    std::optional<QImage> createCover(int maxPixelSize) const;

private:
    MovieAsset(FileDescriptor file, DecodeRequest::Priority priority);
    std::optional<QImage> createImage(
        DecodeRequest::What what, int maxPixelSize, double seconds = 0) const;

    FileDescriptor mFile;
    DecodeRequest::Priority mPriority;
};

} // namespace quorvane
