// SPDX-License-Identifier: GPL-3.0-or-later
// The formats that a decoder reads, in tables.
#pragma once

#include "decoder/PictureReader.h"
#include "platform/MovieInformation.h"

#include <QByteArray>

#include <optional>
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

/// What a decoder can open.
struct Formats {
    /// Asked in this order: what lies in a file decides how it is decoded, never its name.
    std::span<const PictureFormat> pictures;

    /// A frame of a movie (see MovieReader.h); this and the next two are nullptr where only
    /// photographs are known.
    OpenedPicture (*openMovieFrame)(FileBytes& file, std::optional<double> seconds) = nullptr;
    Result<MovieInformation> (*readMovieInformation)(FileBytes& file) = nullptr;
    Result<QByteArray> (*readMovieCover)(FileBytes& file) = nullptr;

    /// To be called once, while the process can still open files.
    void (*warmUp)() = nullptr;
};

/// JPEG, PNG and WebP.
const Formats& photographFormats();

/// Everything. Whoever is linked with this loads more than a hundred libraries.
const Formats& allFormats();

/// The first format that recognizes the file; nullptr for none. Page descriptions (PDF,
/// PostScript) are no pictures.
const PictureFormat* formatOf(FileBytes& file, const Formats& formats);

} // namespace quorvane
