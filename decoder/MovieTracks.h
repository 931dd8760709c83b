// SPDX-License-Identifier: GPL-3.0-or-later
// What an opened movie file says of its tracks, its length and its name.
#pragma once

#include "platform/MovieInformation.h"

#include <QByteArray>

struct AVFormatContext;
struct AVFrame;
struct AVStream;

namespace quorvane {

/// The track of pictures that is played: the first that its file prefers. \return nullptr for none;
/// covers and lists of small pictures are none.
const AVStream* pictureTrack(const AVFormatContext& format);

/// How much wider than high a pixel is; 1 when nobody says. \param frame  one of the track's;
/// nullptr before there is one.
double pixelAspectOf(AVFormatContext& format, const AVStream& track, AVFrame* frame);

/// How to turn the track's frames: EXIF's number.
int orientationOf(const AVStream& track);

/// As the file says. \return nothing when it does not know, or claims no number.
std::optional<double> secondsOf(const AVFormatContext& format);

MovieInformation informationOf(AVFormatContext& format);

/// The picture that stands for the file where it is listed: the front cover, or else the first that
/// is attached. \return the file of that picture, of any format; empty for none.
QByteArray coverOf(const AVFormatContext& format);

} // namespace quorvane
