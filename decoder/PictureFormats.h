// SPDX-License-Identifier: GPL-3.0-or-later
// All picture formats that the decoder reads, in one table.
#pragma once

#include "decoder/PictureReader.h"

#include <QByteArray>

#include <span>

namespace quorvane {

/// A format, or a family of formats that one library reads.
struct PictureFormat {
    const char* name; ///< For people.

    /// Whether a file that begins with `head` (see FileBytes) is of this format. Cheap.
    bool (*recognizes)(const QByteArray& head);

    /// \return Unsupported, Damaged or TooLarge when the header already tells so.
    OpenedPicture (*open)(FileBytes& file);

    /// The small picture that a file may carry for lists of pictures, with the orientation of the
    /// picture itself; nullptr for formats that have none. \return NotFound when it has none.
    OpenedPicture (*openThumbnail)(FileBytes& file) = nullptr;
};

/// Asked in this order: what lies in a file decides how it is decoded, never its name.
std::span<const PictureFormat> pictureFormats();

/// The first format that recognizes the file; nullptr for none. Page descriptions (PDF,
/// PostScript) are no pictures.
const PictureFormat* formatOf(FileBytes& file);

} // namespace quorvane
