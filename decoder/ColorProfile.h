// SPDX-License-Identifier: GPL-3.0-or-later
// What the numbers of a picture mean as colours, and their conversion to sRGB.
#pragma once

#include <QByteArray>
#include <QImage>
#include <QSize>

#include <memory>

namespace quorvane {

class SourceProfile;
struct Samples;

/// The colour space of a picture: sRGB, or what the file says. A value; thread: any.
class ColorProfile {
public:
    enum class Model { Rgb, Gray, Cmyk, Other };

    /// sRGB.
    ColorProfile() = default;

    /// From an embedded ICC profile, version 2 or 4. sRGB when the profile cannot be read: many
    /// cameras and programs wrote broken ones, and their pictures are no worse for it. A profile
    /// that says the same as sRGB is sRGB: nothing is converted then.
    static ColorProfile fromIcc(const QByteArray& profile);

    /// CIE x and y of white, red, green and blue.
    struct Chromaticities {
        double whiteX, whiteY, redX, redY, greenX, greenY, blueX, blueY;
    };

    /// As PNG tells it without a profile. \param fileGamma  0.45455 for what nearly everybody
    /// means; values so close to sRGB that nobody sees a difference are sRGB.
    static ColorProfile fromGamma(double fileGamma, const Chromaticities& chromaticities);

    /// From the code points of ITU-T H.273 (a cICP chunk, an nclx box), for the transfer functions
    /// of ordinary pictures. PQ (16), HLG (18) and linear light (8) are ToneMapping's; they and
    /// unknown numbers give sRGB.
    static ColorProfile fromCodePoints(int primaries, int transfer);

    /// Adobe RGB (1998), which EXIF can name without a profile.
    static ColorProfile adobeRgb();

    bool isSrgb() const { return !mSource; }
    Model model() const;

    /// For who converts. Null for sRGB.
    const std::shared_ptr<SourceProfile>& source() const { return mSource; }

private:
    explicit ColorProfile(std::shared_ptr<SourceProfile> source);

    std::shared_ptr<SourceProfile> mSource; ///< Null for sRGB.
};

/// Samples of a picture in a form that is not for showing: deeper than eight bits, or of inks.
struct Samples {
    enum class Layout { Gray, GrayAlpha, Rgb, Rgba, Cmyk, CmykInverted };
    enum class Depth { Bits8, Bits16 }; ///< Unsigned, of this machine's byte order.

    const void* data;
    qsizetype stride; ///< Bytes from one row to the next.
    QSize size;
    Layout layout; ///< Interleaved. Alpha is not multiplied into the colours.
                   ///< CmykInverted: 0 is full ink, as in most JPEG files.
    Depth depth = Depth::Bits8;
};

/// Converts the colours of `image`, RGB32 or ARGB32_Premultiplied, to sRGB in place. A profile
/// whose model does not fit the pixels (grey pictures count as fitting both) changes nothing.
/// \return false, and the image unchanged, when the library refuses.
bool convertToSrgb(QImage& image, const ColorProfile& profile);

/// Fills `image`, of the size of `samples` and RGB32 or (with alpha) ARGB32_Premultiplied, with
/// the samples' colours in sRGB. Inks without a profile of their own are converted as if printed
/// simply: red is what cyan and black leave.
/// \return false when the library refuses.
bool convertToSrgb(const Samples& samples, const ColorProfile& profile, QImage& image);

} // namespace quorvane
