// SPDX-License-Identifier: GPL-3.0-or-later
// One movie, between the main thread and the thread that speaks to its player.
#pragma once

#include "platform/Doorbell.h"
#include "platform/FileDescriptor.h"
#include "platform/FileStability.h"
#include "platform/FileURL.h"
#include "platform/MoviePlayer.h"
#include "platform/PlayerProtocol.h"

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

namespace quorvane {

/// What is known of a movie at one moment. As in MoviePlayer.
struct MovieState {
    QSize naturalSize;
    std::optional<bool> hasPicture;
    QString title;
    std::optional<double> duration;
    double position = 0;
    QImage frame;
    quint64 frameNumber = 0; ///< Of `frame`, counted from 1; 0 before the first.
    std::optional<MovieEnd> end;
};

/// A movie's file, opened, and what it was then.
struct MovieFile {
    FileDescriptor descriptor;
    FileVersion version;
};

/// What is wanted of a movie, and what became of it. Opens the file on a thread of its own, which
/// nobody waits for. Owned by shared_ptr. Thread: any, unless said otherwise.
class MovieSession : public std::enable_shared_from_this<MovieSession> {
public:
    /// \param onChange  the state is another one, and has been looked at since it was last said.
    /// \param bell      rung when the player has something to be told.
    MovieSession(
        const FileURL& url, std::function<void()> onChange, std::shared_ptr<const Doorbell> bell);

    /// Opens the file. One that cannot be opened, or is still being written, ends the movie. Once.
    void openFile();

    /// \param change  of a MovieWishes&. Thread: main.
    template <typename Change> void wish(Change change)
    {
        {
            const std::lock_guard lock(mMutex);
            change(mWishes);
            mIsWishNew = true;
        }
        mBell->ring();
    }

    /// Nothing is announced any more. Thread: main.
    void stop();

    bool isStopped() const;

    /// For whoever was told that it is another one.
    MovieState state() const;

    std::optional<MovieEnd> whetherEnded() const;

    /// Nothing until it has been opened.
    std::shared_ptr<const MovieFile> file() const;

    /// Nothing if they are the same as the last time.
    std::optional<MovieWishes> takeWishes();

    /// \param change  of a MovieState&.
    template <typename Change> void announce(Change change)
    {
        {
            const std::lock_guard lock(mMutex);
            if (mIsStopped)
                return;
            change(mState);
            if (std::exchange(mIsAnnounced, true))
                return;
        }
        mOnChange();
    }

    /// Only the first end counts.
    void end(MovieEnd end);

    /// Its player could not open it. A file that somebody seems to be still writing is Unfinished
    /// rather than Failed; to find that out takes a thread and its time.
    void failToOpen();

private:
    void open();

    const FileURL mUrl;
    const std::function<void()> mOnChange;
    const std::shared_ptr<const Doorbell> mBell;

    mutable std::mutex mMutex; // Guards all below.
    MovieWishes mWishes;
    bool mIsWishNew = true;
    bool mIsStopped = false;
    MovieState mState;
    mutable bool mIsAnnounced = false; ///< The state has changed, and nobody has looked since.
    std::shared_ptr<const MovieFile> mFile;
};

} // namespace quorvane
