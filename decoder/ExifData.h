// SPDX-License-Identifier: GPL-3.0-or-later
// What EXIF data says, in whatever file they stand. The library for it stays in the source.
#pragma once

#include <QByteArray>

#include <memory>
#include <optional>

namespace quorvane {

/// The EXIF data of one picture. Broken data say nothing. Thread: any, one at a time.
class PictureExif {
public:
    /// \param data  with or without the letters "Exif" and two zeroes before them; may be empty.
    explicit PictureExif(const QByteArray& data);
    ~PictureExif();
    PictureExif(const PictureExif&) = delete;
    PictureExif& operator=(const PictureExif&) = delete;

    /// The orientation tag of the main picture, whatever number it holds; nothing without one. An
    /// orientation that only the thumbnail's directory gives is not the picture's.
    std::optional<int> orientationTag() const;

    /// 1 to 8: what the tag says, or 1 when it says nothing that has a meaning.
    int orientation() const;

    /// Whether the colours are those of Adobe RGB, by the rule of cameras (DCF 2.0): the colour
    /// space is "not calibrated", and the file names R03 as what it is interoperable with.
    bool isAdobeRgb() const;

    /// The embedded thumbnail, a JPEG file of its own; empty without one.
    QByteArray thumbnail() const;

private:
    struct Data;
    std::unique_ptr<Data> mData;
};

} // namespace quorvane
