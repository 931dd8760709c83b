// SPDX-License-Identifier: GPL-3.0-or-later
// Telling pictures from movies and other files that are built of the same boxes.
#pragma once

#include <QByteArray>

namespace quorvane {

/// Whether a file that begins with `head` is a HEIF or AVIF picture, or several, by its brands.
/// What is a movie first is none.
bool hasHeifBrand(const QByteArray& head);

} // namespace quorvane
