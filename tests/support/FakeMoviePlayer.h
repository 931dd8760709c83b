// SPDX-License-Identifier: GPL-3.0-or-later
// A movie that does what a test tells it, and keeps what was asked of it.
#pragma once

#include "platform/MoviePlayer.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace quorvane::tests {

class FakeMoviePlayer;

/// What a movie notes down, and how to reach it. Outlives it.
struct FakeMovie {
    std::unique_ptr<MoviePlayer> makePlayer(const FileURL& url = {});

    std::string asked; ///< "play ", "pause ", "seek 2.5 ", "volume 0.5 ", "mute ", "sound ".
    int made = 0;
    int gone = 0;
    bool seeksLate = false; ///< The position is what goOnTo() says, whatever was sought.
    FakeMoviePlayer* player = nullptr; ///< The one that was made last, as long as it lives.
};

class FakeMoviePlayer final : public MoviePlayer {
public:
    FakeMoviePlayer(FakeMovie& movie, const FileURL& url)
        : mMovie(movie)
    {
        setURL(url);
        ++mMovie.made;
        mMovie.player = this;
    }

    ~FakeMoviePlayer() override
    {
        ++mMovie.gone;
        if (mMovie.player == this)
            mMovie.player = nullptr;
    }

    FakeMoviePlayer(const FakeMoviePlayer&) = delete;
    FakeMoviePlayer& operator=(const FakeMoviePlayer&) = delete;

    void play() override
    {
        mMovie.asked += "play ";
        mIsPlaying = !mHasEnded;
        tellControlled();
    }

    void pause() override
    {
        mMovie.asked += "pause ";
        mIsPlaying = false;
        tellControlled();
    }

    bool isPlaying() const override { return mIsPlaying; }

    void seek(double seconds) override
    {
        mMovie.asked += "seek " + text(seconds);
        if (!mMovie.seeksLate)
            mPosition = seconds;
    }

    double position() const override { return mPosition; }
    std::optional<double> duration() const override { return mDuration; }

    void setVolume(double volume) override
    {
        mMovie.asked += "volume " + text(volume);
        mVolume = volume;
        tellControlled();
    }

    double volume() const override { return mVolume; }

    void setMuted(bool isMuted) override
    {
        mMovie.asked += isMuted ? "mute " : "sound ";
        mIsMuted = isMuted;
        tellControlled();
    }

    bool isMuted() const override { return mIsMuted; }
    QSize naturalSize() const override { return mNaturalSize; }
    std::optional<bool> hasPicture() const override { return mHasPicture; }
    QString title() const override { return mTitle; }
    void setTargetSize(QSize size) override { mTargetSize = size; }
    QImage currentFrame() const override { return mFrame; }

    QSize targetSize() const { return mTargetSize; }

    // What happens to it. Each of these may destroy it.

    /// The file is open. \param size  empty for sound alone.
    void open(QSize size, std::optional<double> duration, const QString& title = {})
    {
        mNaturalSize = size;
        mHasPicture = !size.isEmpty();
        mDuration = duration;
        mTitle = title;
        tell([](auto& observer) { observer.movieInformationChanged(); });
    }

    /// Shows a frame of one colour, in the target size or, without one, the natural size.
    void showFrame(QRgb colour = 0xff808080)
    {
        const bool isFirst = mFrame.isNull();
        mFrame = QImage(mTargetSize.isEmpty() ? mNaturalSize : mTargetSize, QImage::Format_RGB32);
        mFrame.fill(colour);
        if (!isFirst || tell([](auto& observer) { observer.movieFirstFrameReady(); }))
            tell([](auto& observer) { observer.movieFrameChanged(); });
    }

    void goOnTo(double seconds)
    {
        mPosition = seconds;
        tell([](auto& observer) { observer.moviePositionMoved(); });
    }

    void end(MovieEnd end = MovieEnd::Finished)
    {
        mIsPlaying = false;
        if (!std::exchange(mHasEnded, true))
            tell([&](auto& observer) { observer.movieEnded(end); });
    }

private:
    void tellControlled()
    {
        tell([](auto& observer) { observer.movieControlled(); });
    }

    /// "2.5 ".
    static std::string text(double number)
    {
        return QByteArray::number(number).toStdString() + ' ';
    }

    FakeMovie& mMovie;
    bool mIsPlaying = false;
    bool mHasEnded = false;
    double mPosition = 0;
    std::optional<double> mDuration;
    double mVolume = 1;
    bool mIsMuted = false;
    QSize mNaturalSize;
    std::optional<bool> mHasPicture;
    QString mTitle;
    QSize mTargetSize;
    QImage mFrame;
};

inline std::unique_ptr<MoviePlayer> FakeMovie::makePlayer(const FileURL& url)
{
    return std::make_unique<FakeMoviePlayer>(*this, url);
}

} // namespace quorvane::tests
