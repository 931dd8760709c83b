// SPDX-License-Identifier: GPL-3.0-or-later
// What stands before the pixels of a JPEG file.
#pragma once

#include <QByteArray>

#include <vector>

namespace quorvane {

/// One segment before the pixels.
struct JpegSegment {
    int kind; ///< The second byte of its marker: 0xE1 for the first application's data, and so on.
    QByteArray contents; ///< Behind the two bytes of the length. Shorter where the file is cut.
};

/// All of them, in the order of the file, up to the first that is broken. Thread: any.
std::vector<JpegSegment> jpegSegments(const QByteArray& jpeg);

/// The embedded ICC profile; empty when there is none or a part of it is missing.
QByteArray iccProfileOf(const std::vector<JpegSegment>& segments);

/// The EXIF data; empty without.
QByteArray exifDataOf(const std::vector<JpegSegment>& segments);

/// Whether the program that wrote the file stored its inks as Adobe's do: 0 is full ink.
bool hasAdobeSegment(const std::vector<JpegSegment>& segments);

/// Whether the pixels are coded arithmetically instead of in Huffman's way.
bool isArithmetic(const std::vector<JpegSegment>& segments);

} // namespace quorvane
