// SPDX-License-Identifier: GPL-3.0-or-later
// The line between the viewer and the codecs: a descriptor goes in, pixels come out.
#pragma once

#include "platform/MovieInformation.h"
#include "platform/PixelBuffer.h"
#include "platform/Result.h"

#include <QSize>

#include <cstdint>
#include <functional>

namespace quorvane {

class FileDescriptor;

/// What is wanted of a file.
struct DecodeRequest {
    enum class What : std::uint32_t {
        Picture, ///< The first picture.
        StoredPicture, ///< The same, not turned: how to turn it is told.
        SmallPicture, ///< The small picture that the file carries, if it does; else the picture.
        MovieFrame, ///< The frame at half the movie's duration.
        MovieFrameAt, ///< The frame at `seconds`.
        MovieCover, ///< The picture that is attached to a file of sound, or to a movie.
        MovieInformation, ///< No pixels, but what the file says of itself.
    };
    What what = What::Picture;

    /// Says, when the size of the picture is known, in which size it is wanted, enlarged or
    /// reduced. Called on any thread, and must not wait for anything. Empty: all its pixels.
    std::function<QSize(QSize)> sizeFor {};

    /// Who is served first.
    enum class Priority {
        OnScreen, ///< The audience waits for it.
        Next, ///< The slide after this one.
        Thumbnail,
    };
    Priority priority = Priority::OnScreen;

    /// From the beginning; beyond the end is the end.
    double seconds = 0;
};

/// What came of it: pixels in sRGB or what setDecodingTarget() said, upright unless they were
/// wanted as stored.
struct DecodeAnswer {
    PixelBuffer pixels;
    QSize pictureSize; ///< How large the picture is, in its own pixels.
    int orientation = 1; ///< 1 to 8, EXIF's numbers: how to turn the pixels upright.
    /// In place of all the others where What::MovieInformation was wanted.
    MovieInformation movie {};
};

/// For DecodeRequest::sizeFor: `size` shrunk until its longer side is no longer than `bound`; never
/// enlarged, and neither side vanishes.
QSize boundedSize(QSize size, int bound);

/// A request under way.
using DecodeTicket = std::uint64_t;

/// Called once, on any thread; must not wait for anything.
using DecodeDone = std::function<void(Result<DecodeAnswer>)>;

/// Has a file decoded by another program, since nobody knows who made it. Returns at once. What
/// lies in the file decides how it is decoded, never its name. A decoder that breaks on the file,
/// or is silent for ten seconds, is replaced, and the file tried once more. \param file  has to be
/// a regular file; a copy of the descriptor is kept. \param done  gets Unsupported for what is no
/// picture; NotFound for a movie without what is wanted of it; Damaged for one that ends too soon,
/// cannot be decoded or twice broke its decoder; TooLarge. Thread: any.
DecodeTicket decodeAsync(const FileDescriptor& file, DecodeRequest request, const DecodeDone& done);

/// `done` will not be called, unless it is being called already. Thread: any.
void cancelDecoding(DecodeTicket ticket);

/// What the pixels of the files that are begun from now on are converted to. \param profile  ICC,
/// of three channels; empty, or one that nobody can make use of, for sRGB. Thread: any.
void setDecodingTarget(const QByteArray& profile);

/// Somebody else waits for it now. Thread: any.
void setDecodingPriority(DecodeTicket ticket, DecodeRequest::Priority priority);

/// The same for who can wait. Thread: any but the main thread of the viewer.
Result<DecodeAnswer> decode(const FileDescriptor& file, DecodeRequest request);

/// Waits until every request has been answered or cancelled. Thread: any but those that `done` is
/// called on. For tests.
void drainDecoding();

/// While suspended, no request is begun; those under way go on. For tests.
void suspendDecoding(bool isSuspended);

/// Starts the decoders, so that the first picture need not wait for them. Thread: any.
void warmUpDecoders();

} // namespace quorvane
