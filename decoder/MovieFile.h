// SPDX-License-Identifier: GPL-3.0-or-later
// A movie file, opened for what it says and for its frames.
#pragma once

#include "platform/MovieInformation.h"
#include "platform/Result.h"

#include <QByteArray>

#include <memory>

struct AVFrame;

namespace quorvane {

class FileBytes;

struct FrameCloser {
    void operator()(AVFrame* frame) const;
};
using Frame = std::unique_ptr<AVFrame, FrameCloser>;

/// Parts of a second in which moments are counted: they meet the frames of all usual rates.
constexpr int kMovieTimescale = 600'000;

/// A file of moving pictures or of sound. Thread: any, one at a time.
class MovieFile {
public:
    /// \param file  outlives this.
    /// \return Unsupported, Damaged, NotReadable.
    static Result<std::unique_ptr<MovieFile>> open(FileBytes& file);
    ~MovieFile();
    MovieFile(const MovieFile&) = delete;
    MovieFile& operator=(const MovieFile&) = delete;

    MovieInformation information() const;

    /// As the file says; nothing when it does not.
    std::optional<double> seconds() const;

    /// The file of the picture that stands for this one in lists, of any format; empty for none.
    QByteArray cover() const;

    /// To be called, once, before what follows here. \return NotFound without a picture track,
    /// Unsupported.
    Result<void> beginFrames();

    /// The frame that is seen at `value` parts of kMovieTimescale, or the nearest that the file
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
