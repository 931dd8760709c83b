// SPDX-License-Identifier: GPL-3.0-or-later
// Drawings in SVG, plain or compressed.
#pragma once

#include "decoder/PictureReader.h"

#include <QByteArray>

namespace quorvane {

/// Whether the text begins an SVG document, in UTF-8 or UTF-16, or is compressed text that does.
bool isSvg(const QByteArray& head);

/// The drawing, in whatever size it is wanted. Nothing outside the file is ever loaded, no script
/// runs. \return TooLarge for compressed text of more than 32 MiB.
OpenedPicture openSvg(FileBytes& file);

/// Draws a little of everything that the libraries behind this reader look up in files when it is
/// first used: above all text in the usual families and styles, whose fonts they then keep open.
/// Called once, before the process gives up opening files; see keepUsualFonts(). Later they only
/// ask with access() whether the file of such a font is there, which must succeed.
void warmUpSvgText();

} // namespace quorvane
