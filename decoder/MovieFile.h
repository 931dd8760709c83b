// SPDX-License-Identifier: GPL-3.0-or-later
// A movie file, opened for its frames.
#pragma once

#include "platform/Result.h"

#include <QtGlobal>

#include <memory>

struct AVFrame;
struct AVStream;

namespace quorvane {

class FileBytes;

struct FrameCloser {
    void operator()(AVFrame* frame) const;
};
using Frame = std::unique_ptr<AVFrame, FrameCloser>;

/// The picture track of a movie. Thread: any, one at a time.
class MovieFile {
public:
    /// \param file  outlives this.
    /// \return NotFound without a picture track, Unsupported, Damaged, NotReadable.
    static Result<std::unique_ptr<MovieFile>> open(FileBytes& file);
    ~MovieFile();
    MovieFile(const MovieFile&) = delete;
    MovieFile& operator=(const MovieFile&) = delete;

    double seconds() const; ///< As the file says; 0 when it does not.

    /// The frame that is seen at `value` six-hundredths of a second, or the nearest that the file
    /// has. The search ends where it would take too long. Null when nothing can be decoded.
    Frame frameAt(qint64 value);

    /// How much wider than high a pixel of `frame` is; 1 when nobody says.
    double pixelAspect(Frame& frame) const;

    int orientation() const; ///< EXIF's number.

private:
    struct Parts;
    explicit MovieFile(std::unique_ptr<Parts> parts);

    std::unique_ptr<Parts> mParts;
};

} // namespace quorvane
