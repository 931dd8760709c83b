// SPDX-License-Identifier: GPL-3.0-or-later
// What a movie file tells about itself.
#pragma once

#include <QSize>
#include <QString>

#include <optional>

namespace quorvane {

/// As the file claims it, true or not.
struct MovieInformation {
    int pictureTracks = 0; ///< Moving pictures; covers and lists of small pictures are none.
    int soundTracks = 0;
    QSize naturalSize; ///< Upright and with square pixels, in pixels. Empty if there is no picture
                       ///< track, or one of no sane size.
    std::optional<double> seconds; ///< Of the whole movie, 0 or more. Nothing while it is unknown.
    QString title; ///< Empty if the file does not name itself. Long ones are cut.
};

} // namespace quorvane
