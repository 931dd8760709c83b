// SPDX-License-Identifier: GPL-3.0-or-later
// The bitmap without a file header that most entries of an ICO are.
#pragma once

#include "decoder/DibPixels.h"
#include "decoder/PictureReader.h"

#include <optional>

class QByteArray;

namespace quorvane {

/// The pixels and below them the mask, of one bit a pixel: where it is set, the picture is
/// transparent.
struct IconBitmap {
    DibPixels dib;

    /// Where the mask begins, its last row first.
    qsizetype mask() const { return dib.pixels + dib.stride() * dib.size.height(); }

    /// Bytes of one of its rows: whole groups of four.
    qsizetype maskStride() const { return (qsizetype(dib.size.width()) + 31) / 32 * 4; }
};

/// \return nothing for what is not of a form that icons have.
std::optional<IconBitmap> iconBitmapIn(const QByteArray& entry);

/// \param isWhole  whether the file goes on to the end of the entry.
/// \return Unsupported, or Damaged when the pixels or a mask that counts are cut short.
OpenedPicture openIconBitmap(const QByteArray& entry, bool isWhole);

} // namespace quorvane
