// SPDX-License-Identifier: GPL-3.0-or-later
// What a JPEG file's EXIF data says. The library for it stays in the source.
#pragma once

#include <QByteArray>

#include <optional>

namespace quorvane {

/// The orientation tag of the main picture, whatever number it holds; nothing without one. An
/// orientation that only the thumbnail's directory gives is not the picture's. Thread: any.
std::optional<int> exifOrientation(const QByteArray& jpeg);

/// The embedded thumbnail, a JPEG file of its own; empty without one. Thread: any.
QByteArray exifThumbnail(const QByteArray& jpeg);

} // namespace quorvane
