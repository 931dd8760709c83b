// SPDX-License-Identifier: GPL-3.0-or-later
// Plays a movie file: its pictures come as images, its sound goes to the loudspeakers.
//
// Another program does both, one for each movie, so that a file which breaks it costs one clip and
// a show of photographs never pays for its libraries.
#pragma once

#include "platform/FileURL.h"

#include <QImage>
#include <QSize>
#include <QString>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace quorvane {

enum class MovieEnd {
    Finished, ///< It was played to its end.
    Failed, ///< There is no such file, it is no movie, or nothing in it can be played.
    Unfinished, ///< Somebody is still writing the file; nothing of it was shown.
};

/// Hears what happens to a movie. Goes after the player or takes itself off it. In any of these it
/// may come, go, and destroy the player. Thread: main.
class MovieObserver {
public:
    virtual ~MovieObserver() = default;

    /// The natural size, the duration, the title, or whether there is a picture, is known or has
    /// changed.
    virtual void movieInformationChanged() { }

    /// Once, before movieFrameChanged() comes for the first time.
    virtual void movieFirstFrameReady() { }

    /// currentFrame() is another one, or has another size.
    virtual void movieFrameChanged() { }

    virtual void moviePositionMoved() { }

    /// Somebody has let it play or pause, or has changed its volume.
    virtual void movieControlled() { }

    /// Once at most. Of a movie that was played to its end the last frame stays.
    virtual void movieEnded(MovieEnd /*end*/) { }
};

struct MoviePlayerOptions {
    /// Where not, the movie takes its time all the same.
    bool hasSound = true;
};

/// One movie. Opens its file by itself, shows its first frame and waits there for play(). Nothing
/// here waits: what is asked for happens soon, and destroying a player neither. Thread: main.
class MoviePlayer {
public:
    /// Whether movies can be played here: the program for it and its library are there. Found out
    /// by the first call, which normally looks for two files; why not is said once in the log.
    /// Thread: any.
    static bool isAvailable();

    /// \return nullptr where movies are not available, and for the empty URL. A file that cannot be
    ///         played, or is not there, ends by movieEnded().
    [[nodiscard]] static std::unique_ptr<MoviePlayer> playerWithURL(
        const FileURL& url, const MoviePlayerOptions& options = {});

    /// Has the program for the next movie ready soon, so that its first frame comes sooner. It
    /// stays for some minutes. Returns at once. Thread: any.
    static void prepare();

    MoviePlayer() = default;
    virtual ~MoviePlayer() = default;
    MoviePlayer(const MoviePlayer&) = delete;
    MoviePlayer& operator=(const MoviePlayer&) = delete;

    /// Of its file.
    const FileURL& url() const { return mUrl; }

    /// They hear of everything in the order in which they came.
    void addObserver(MovieObserver& observer) { mObservers->push_back(&observer); }
    void removeObserver(MovieObserver& observer) { std::erase(*mObservers, &observer); }

    /// Before the movie is open: as soon as it is. No effect on one that has ended.
    virtual void play() = 0;
    virtual void pause() = 0;

    /// It was told to play, and has neither ended nor been told to pause.
    virtual bool isPlaying() const = 0;

    /// Goes to exactly this moment. \param seconds  from the beginning; beyond the end is the end.
    virtual void seek(double seconds) = 0;

    /// In seconds from the beginning.
    virtual double position() const = 0;

    /// In seconds. \return nothing while it is unknown; of some movies it stays so.
    virtual std::optional<double> duration() const = 0;

    /// \param volume  as people hear it, from 0, silence, to 1, which it is at first.
    virtual void setVolume(double volume) = 0;
    virtual double volume() const = 0;
    virtual void setMuted(bool isMuted) = 0;
    virtual bool isMuted() const = 0;

    /// As it is to be seen, turned upright and with square pixels. Empty while it is unknown, and
    /// without a picture.
    virtual QSize naturalSize() const = 0;

    /// \return nothing while it is unknown. A cover does not count.
    virtual std::optional<bool> hasPicture() const = 0;

    /// As the file names itself; empty if it does not.
    virtual QString title() const = 0;

    /// Frames come from now on in this size, filled to its edges: who keeps the natural size's
    /// shape gets undistorted pictures. Until then there are none.
    /// \param size  in device pixels.
    virtual void setTargetSize(QSize size) = 0;

    /// In the target size, unless that has just been changed; Format_RGB32. Null until the first
    /// frame is ready.
    virtual QImage currentFrame() const = 0;

protected:
    void setURL(const FileURL& url) { mUrl = url; }

    /// Tells those who are there now and have not gone before their turn.
    /// \param news  calls one of the functions of a MovieObserver&.
    /// \return false when the player was destroyed by one of them.
    bool tell(const std::function<void(MovieObserver&)>& news);

private:
    using Observers = std::vector<MovieObserver*>;

    FileURL mUrl;

    /// Lives as long as the player; shared only so that tell() notices.
    std::shared_ptr<Observers> mObservers = std::make_shared<Observers>();
};

} // namespace quorvane
