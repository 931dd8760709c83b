// SPDX-License-Identifier: GPL-3.0-or-later
// What the controller asks of the desktop.
#pragma once

#include "platform/FileURL.h"
#include "platform/FolderFinder.h"
#include "platform/MoviePlayer.h"

#include <functional>
#include <memory>

namespace quorvane {

/// Fakes in tests. Thread: main; none of them waits, but for those of `bookmarks`.
struct DesktopServices {
    /// Opens a file in another application. \param application  the path of an executable or of a
    /// desktop entry; empty for the desktop's choice.
    std::function<void(const FileURL& file, const QByteArray& application)> openFile
        = [](const FileURL&, const QByteArray&) {};

    /// Keeps the display awake, or lets it sleep again.
    std::function<void(bool isAwake)> keepAwake = [](bool) {};

    /// Makes the player of a movie. \return nullptr where none can be made.
    std::function<std::unique_ptr<MoviePlayer>(const FileURL& url)> makePlayer
        = [](const FileURL& url) { return MoviePlayer::playerWithURL(url); };

    /// Says that a movie comes next.
    std::function<void()> prepareMovie = [] { MoviePlayer::prepare(); };

    /// Finds folders again. Called on other threads; may wait.
    BookmarkServices bookmarks = {};
};

} // namespace quorvane
