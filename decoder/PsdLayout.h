// SPDX-License-Identifier: GPL-3.0-or-later
// What a Photoshop document says before its pixels.
#pragma once

#include <QByteArray>
#include <QSize>

#include <optional>

namespace quorvane {

/// What the channels of a pixel mean; the numbers are the format's.
enum class PsdMode { Bitmap = 0, Grey = 1, Indexed = 2, Rgb = 3, Cmyk = 4, Duotone = 8 };

/// All that is known before the pixels are decoded.
struct PsdLayout {
    bool isLarge = false; ///< PSB: some lengths have twice the bytes.
    int channels = 0;
    QSize size;
    int depth = 0; ///< Bits of a sample: 1, 8, 16 or 32.
    PsdMode mode = PsdMode::Rgb;
    QByteArray palette; ///< 256 reds, as many greens, as many blues.
    int transparentIndex = -1;
    QByteArray profile;
    bool hasMergedPicture = true;
    bool hasLayers = false;
    bool hasAlpha = false; ///< The first channel behind the colours is the picture's transparency.
    qsizetype pixels = 0; ///< Where the merged picture begins.

    /// Channels of a pixel, without transparency.
    int colours() const { return mode == PsdMode::Rgb ? 3 : mode == PsdMode::Cmyk ? 4 : 1; }

    /// Whether pixels of this mode and depth can be decoded.
    bool isKnownForm() const;
};

/// \return nothing when the parts before the pixels are broken or cut short. The size is not
///         checked but for the format's own limit.
std::optional<PsdLayout> psdLayoutOf(const QByteArray& file);

} // namespace quorvane
