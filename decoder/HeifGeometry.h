// SPDX-License-Identifier: GPL-3.0-or-later
// The upright size of a picture in a HEIF file, from the file's boxes.
#pragma once

#include <QByteArray>
#include <QSize>

#include <cstdint>
#include <optional>

namespace quorvane {

/// The size of the picture `item` once it is cropped, turned and mirrored. Older libraries tell a
/// wrong one where a file lists these transforms before the size. \return nothing if the boxes do
/// not say, or are broken.
std::optional<QSize> uprightHeifSize(const QByteArray& file, std::uint32_t item);

} // namespace quorvane
