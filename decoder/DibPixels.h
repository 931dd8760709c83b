// SPDX-License-Identifier: GPL-3.0-or-later
// The uncompressed pixels of Windows bitmaps, alone in a BMP file or inside an icon.
#pragma once

#include <QSize>
#include <QtGlobal>

#include <array>

class QByteArray;
class QImage;

namespace quorvane {

/// Where in some bytes the pixels lie, and how they are to be understood.
struct DibPixels {
    QSize size;
    int depth = 24; ///< Bits a pixel: 1, 2, 4, 8, 16, 24 or 32.
    bool isTopDown = false; ///< Else the last row comes first.
    qsizetype table = 0; ///< Where the colours begin that the pixels of up to 8 bits index.
    int tableEntry = 4; ///< Bytes a colour: blue, green, red and perhaps one more.
    qsizetype colours = 0; ///< In the table; what is beyond is black.
    qsizetype pixels = 0; ///< Where they begin.
    std::array<quint32, 4> masks {}; ///< Bits of red, green, blue and alpha in pixels of 16 and
                                     ///< 32 bits; 0 for an alpha means opaque.

    /// Whether readDibPixels() can do with the depth.
    bool hasKnownDepth() const;

    /// Bytes of a row: whole groups of four.
    qsizetype stride() const { return (qsizetype(size.width()) * depth + 31) / 32 * 4; }

    /// Behind the last row. Its padding may be missing: some programs forget it.
    qint64 end() const;
};

/// The masks of pixels for which a file says none. \param depth  16 or 32; zeros for others.
std::array<quint32, 4> usualMasks(int depth);

/// Fills `image`, which is of pixels.size and of four bytes a pixel: colours and alpha, not
/// multiplied. What lies behind the end of `bytes` counts as 0.
void readDibPixels(const QByteArray& bytes, const DibPixels& pixels, QImage& image);

} // namespace quorvane
