// SPDX-License-Identifier: GPL-3.0-or-later
// The conversion of deep colours between profiles that are three curves and a matrix each.
#pragma once

#include <QColor>

#include <array>
#include <optional>
#include <vector>

namespace quorvane {

/// Nearly all RGB profiles are of that kind. What the colour library makes of 16-bit samples then
/// is either interpolated in a coarse grid, which shows where colours leave the target's gamut, or
/// takes seconds; this is exact and quick. Thread: any, several at once.
class MatrixConversion {
public:
    /// \param from, to  of the colour library (cmsHPROFILE), used during the call only.
    /// \return nothing when one of them is of another kind.
    static std::optional<MatrixConversion> between(void* from, void* to);

    /// \param channels  samples of a pixel: 3, or 4 with an opacity, which is left out.
    /// \param to        `width` opaque pixels.
    void convert(const quint16* from, int channels, QRgb* to, int width) const;

private:
    MatrixConversion() = default;

    /// From a sample to light, 0 to 1: red, green, blue.
    std::array<std::vector<float>, 3> mLight;

    /// From the light of one profile to that of the other, row by row: what red, what green and
    /// what blue contribute.
    std::array<std::array<float, 3>, 3> mMatrix {};

    /// From light, of 65535, to what the screen is sent.
    std::array<std::vector<quint8>, 3> mShown;
};

} // namespace quorvane
