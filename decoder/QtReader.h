// SPDX-License-Identifier: GPL-3.0-or-later
// Small old formats that Qt reads by itself, without a plugin: XBM, XPM.
#pragma once

#include "decoder/PictureReader.h"

class QByteArray;

namespace quorvane {

class FileBytes;

bool isXbm(const QByteArray& head);
OpenedPicture openXbm(FileBytes& file);

bool isXpm(const QByteArray& head);
OpenedPicture openXpm(FileBytes& file);

} // namespace quorvane
