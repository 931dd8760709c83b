// SPDX-License-Identifier: GPL-3.0-or-later
// Pictures that a test can recognise by one pixel, in a folder of its own.
#pragma once

#include "VirtualDesktop.h"

#include <QImage>
#include <QTemporaryDir>

namespace quorvane::show {

constexpr Pixel kRed { 0xe00000 };
constexpr Pixel kGreen { 0x00c000 };
constexpr Pixel kBlue { 0x0000f0 };
constexpr Pixel kYellow { 0xf0e000 };
constexpr Pixel kMagenta { 0xd000d0 };
constexpr Pixel kCyan { 0x00d0d0 };

QImage solidPicture(Pixel colour, QSize size = { 320, 240 });

/// The bytes of `image` as a file. \param format  "png" or "jpg".
QByteArray encoded(const QImage& image, const char* format);

/// A temporary folder. File names are bytes; a "/" in one names a sub-folder that exists.
class PictureFolder {
public:
    PictureFolder();
    ~PictureFolder();
    PictureFolder(const PictureFolder&) = delete;
    PictureFolder& operator=(const PictureFolder&) = delete;

    QByteArray path() const;
    QByteArray path(const QByteArray& name) const;

    void write(const QByteArray& name, const QByteArray& bytes) const;

    /// A PNG file of one colour, whatever its name.
    void writeSolid(const QByteArray& name, Pixel colour, QSize size = { 320, 240 }) const;

    void makeFolder(const QByteArray& name) const;
    void makeLink(const QByteArray& name, const QByteArray& target) const;

    /// \param type  S_IFIFO or S_IFSOCK.
    void makeNode(const QByteArray& name, mode_t type) const;

    void remove(const QByteArray& name) const;

    /// The folder and all that is in it.
    void removeAll() const;

private:
    QTemporaryDir mFolder;
};

} // namespace quorvane::show
