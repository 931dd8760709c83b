// SPDX-License-Identifier: GPL-3.0-or-later
// Lets media keys, remote controls and phones drive the show.
#pragma once

#include "platform/FileURL.h"

#include <QByteArray>
#include <QObject>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace quorvane {

/// What a player may be asked for. None of them waits.
struct PlayerActions {
    std::function<void()> play = [] {}; ///< Starts the timer.
    std::function<void()> pause = [] {}; ///< Stops the timer.
    std::function<void()> next = [] {};
    std::function<void()> previous = [] {};
    std::function<void(const std::vector<QByteArray>& paths)> openFiles = [](const auto&) {};
    std::function<void()> raise = [] {};
    std::function<void()> quit = [] {};
};

/// How the show stands.
struct PlayerState {
    bool isShowing = false; ///< There are slides.
    bool isPlaying = false; ///< The timer runs.
    std::optional<FileURL> slide; ///< None while something else is shown.

    bool operator==(const PlayerState&) const = default;
};

/// The media player org.mpris.MediaPlayer2.quorvane on the session bus; a second program is
/// org.mpris.MediaPlayer2.quorvane.instance and its process's number. A desktop shows a player in
/// its panel, so it comes with the first show; it stays until it is destroyed, and is "Stopped"
/// between shows. Thread: main.
class MediaPlayerService : public QObject {
    Q_OBJECT

public:
    explicit MediaPlayerService(PlayerActions actions);
    ~MediaPlayerService() override;
    MediaPlayerService(const MediaPlayerService&) = delete;
    MediaPlayerService& operator=(const MediaPlayerService&) = delete;

    /// Others hear of what has changed since they were told last, once for each turn of the event
    /// loop.
    void setState(const PlayerState& state);

private:
    class Player;

    std::unique_ptr<Player> mPlayer;
};

} // namespace quorvane
