// SPDX-License-Identifier: GPL-3.0-or-later
// The formats that the library of movies reads well: GIF, TGA and some that are rarely seen today.
#pragma once

#include "decoder/PictureReader.h"

class QByteArray;

namespace quorvane {

class FileBytes;

/// The first picture of an animation, on its whole canvas, nothing where nothing is drawn.
bool isGif(const QByteArray& head);
OpenedPicture openGif(FileBytes& file);

/// PAM, the anymap with a header of words.
bool isPam(const QByteArray& head);
OpenedPicture openPam(FileBytes& file);

/// PBM, PGM, PPM: the anymaps P1 to P6.
bool isPnm(const QByteArray& head);
OpenedPicture openPnm(FileBytes& file);

/// DirectDraw surfaces, the first of their pictures.
bool isDds(const QByteArray& head);
OpenedPicture openDds(FileBytes& file);

bool isSgi(const QByteArray& head);
OpenedPicture openSgi(FileBytes& file);

bool isPcx(const QByteArray& head);
OpenedPicture openPcx(FileBytes& file);

/// TGA has no signature: whether this could be the header of one. To be asked last.
bool isTga(const QByteArray& head);
OpenedPicture openTga(FileBytes& file);

} // namespace quorvane
