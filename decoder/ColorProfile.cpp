// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/ColorProfile.h"

#include "decoder/SampleConversion.h"
#include "decoder/SourceProfile.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <mutex>
#include <utility>

namespace quorvane {

namespace {

constexpr ColorProfile::Chromaticities kSrgbPrimaries { 0.3127, 0.3290, 0.64, 0.33, 0.30, 0.60,
    0.15, 0.06 };

/// What PNG files say that mean sRGB, and by how much they may miss it.
constexpr double kOrdinaryGamma = 0.45455;
constexpr double kGammaTolerance = 0.01;
constexpr double kChromaticityTolerance = 0.005;

bool isDevice(cmsHPROFILE profile)
{
    const cmsProfileClassSignature kind = cmsGetDeviceClass(profile);
    return kind == cmsSigInputClass || kind == cmsSigDisplayClass || kind == cmsSigOutputClass
        || kind == cmsSigColorSpaceClass;
}

bool isSrgb(const ColorProfile::Chromaticities& c)
{
    const auto isNear
        = [](double a, double b) { return std::abs(a - b) <= kChromaticityTolerance; };
    const auto& s = kSrgbPrimaries;
    return isNear(c.whiteX, s.whiteX) && isNear(c.whiteY, s.whiteY) && isNear(c.redX, s.redX)
        && isNear(c.redY, s.redY) && isNear(c.greenX, s.greenX) && isNear(c.greenY, s.greenY)
        && isNear(c.blueX, s.blueX) && isNear(c.blueY, s.blueY);
}

/// A tone curve's owner.
using Curve = std::unique_ptr<cmsToneCurve, decltype(&cmsFreeToneCurve)>;

Curve gammaCurve(double exponent)
{
    return { cmsBuildGamma(colorLibrary(), exponent), &cmsFreeToneCurve };
}

/// The curve of IEC 61966-2-1, as the library's formula 4 takes it.
Curve srgbCurve()
{
    constexpr std::array<double, 5> kParameters { 2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92,
        0.04045 };
    return { cmsBuildParametricToneCurve(colorLibrary(), 4, kParameters.data()),
        &cmsFreeToneCurve };
}

/// Null when the numbers make no colour space.
LibraryProfile rgbProfile(const ColorProfile::Chromaticities& c, const Curve& curve)
{
    const cmsCIExyY white { c.whiteX, c.whiteY, 1 };
    const cmsCIExyYTRIPLE primaries { { c.redX, c.redY, 1 }, { c.greenX, c.greenY, 1 },
        { c.blueX, c.blueY, 1 } };
    const std::array<cmsToneCurve*, 3> curves { curve.get(), curve.get(), curve.get() };
    const bool isPossible = curve && c.whiteY > 0 && c.redY > 0 && c.greenY > 0 && c.blueY >= 0;
    return LibraryProfile(isPossible
            ? cmsCreateRGBProfileTHR(colorLibrary(), &white, &primaries, curves.data())
            : nullptr);
}

struct NumberedPrimaries {
    int number;
    ColorProfile::Chromaticities primaries;
};

/// ITU-T H.273, table 2. Number 2 is "unknown", 3 is reserved.
constexpr std::array kNumberedPrimaries {
    NumberedPrimaries { 1, kSrgbPrimaries },
    NumberedPrimaries { 4, { 0.310, 0.316, 0.67, 0.33, 0.21, 0.71, 0.14, 0.08 } },
    NumberedPrimaries { 5, { 0.3127, 0.3290, 0.64, 0.33, 0.29, 0.60, 0.15, 0.06 } },
    NumberedPrimaries { 6, { 0.3127, 0.3290, 0.630, 0.340, 0.310, 0.595, 0.155, 0.070 } },
    NumberedPrimaries { 7, { 0.3127, 0.3290, 0.630, 0.340, 0.310, 0.595, 0.155, 0.070 } },
    NumberedPrimaries { 8, { 0.310, 0.316, 0.681, 0.319, 0.243, 0.692, 0.145, 0.049 } },
    NumberedPrimaries { 9, { 0.3127, 0.3290, 0.708, 0.292, 0.170, 0.797, 0.131, 0.046 } },
    NumberedPrimaries { 11, { 0.314, 0.351, 0.680, 0.320, 0.265, 0.690, 0.150, 0.060 } },
    NumberedPrimaries { 12, { 0.3127, 0.3290, 0.680, 0.320, 0.265, 0.690, 0.150, 0.060 } },
    NumberedPrimaries { 22, { 0.3127, 0.3290, 0.630, 0.340, 0.295, 0.605, 0.155, 0.077 } },
};

/// The curve of a transfer function of ITU-T H.273, table 3.
Curve numberedCurve(int transfer)
{
    switch (transfer) {
    case 4:
        return gammaCurve(2.2);
    case 5:
        return gammaCurve(2.8);
    default:
        // Those of television (1, 6, 7, 14, 15) tell how a camera codes light; what a screen makes
        // of it is much nearer to sRGB's curve than to their inverse.
        return srgbCurve();
    }
}

bool isKnownTransfer(int transfer)
{
    static constexpr std::array kKnown { 1, 4, 5, 6, 7, 11, 12, 13, 14, 15 };
    return std::find(kKnown.begin(), kKnown.end(), transfer) != kKnown.end();
}

/// Null, which is sRGB, when `profile` is null, of no use, or sRGB itself.
std::shared_ptr<SourceProfile> sourceOf(LibraryProfile profile)
{
    if (!profile)
        return {};
    auto source = std::make_shared<SourceProfile>(std::move(profile));
    return source->changesColors() ? source : nullptr;
}

} // namespace

ColorProfile::ColorProfile(std::shared_ptr<SourceProfile> source)
    : mSource(std::move(source))
{
}

ColorProfile ColorProfile::fromIcc(const QByteArray& profile)
{
    // The pictures of one folder come from one camera as a rule.
    static std::mutex mutex;
    static QByteArray lastBytes;
    static ColorProfile last;
    const std::lock_guard lock(mutex);
    if (profile == lastBytes)
        return last;
    LibraryProfile handle(cmsOpenProfileFromMemTHR(
        colorLibrary(), profile.constData(), static_cast<cmsUInt32Number>(profile.size())));
    if (handle && !isDevice(handle.get()))
        handle.reset();
    last = ColorProfile(sourceOf(std::move(handle)));
    lastBytes = profile;
    return last;
}

ColorProfile ColorProfile::fromGamma(double fileGamma, const Chromaticities& chromaticities)
{
    constexpr double kLeast = 0.01;
    constexpr double kGreatest = 10;
    const bool isOrdinary = std::abs(fileGamma - kOrdinaryGamma) <= kGammaTolerance;
    if (!(fileGamma >= kLeast && fileGamma <= kGreatest)
        || (isOrdinary && quorvane::isSrgb(chromaticities)))
        return {};
    return ColorProfile(sourceOf(rgbProfile(chromaticities, gammaCurve(1 / fileGamma))));
}

ColorProfile ColorProfile::fromCodePoints(int primaries, int transfer)
{
    const auto* const found = std::find_if(kNumberedPrimaries.begin(), kNumberedPrimaries.end(),
        [&](const NumberedPrimaries& row) { return row.number == primaries; });
    if (found == kNumberedPrimaries.end() || !isKnownTransfer(transfer))
        return {};
    return ColorProfile(sourceOf(rgbProfile(found->primaries, numberedCurve(transfer))));
}

ColorProfile ColorProfile::adobeRgb()
{
    // The encoding's own numbers; its gamma is 2 51/256.
    constexpr Chromaticities kPrimaries { 0.3127, 0.3290, 0.64, 0.33, 0.21, 0.71, 0.15, 0.06 };
    constexpr double kGamma = 2.19921875;
    static const ColorProfile made
        = ColorProfile(sourceOf(rgbProfile(kPrimaries, gammaCurve(kGamma))));
    return made;
}

ColorProfile::Model ColorProfile::model() const { return mSource ? mSource->model() : Model::Rgb; }

bool convertToSrgb(QImage& image, const ColorProfile& profile)
{
    return profile.isSrgb() || convertInPlace(*profile.source(), image);
}

bool convertToSrgb(const Samples& samples, const ColorProfile& profile, QImage& image)
{
    if (!profile.isSrgb())
        return convertSamples(*profile.source(), samples, image);
    convertSimply(samples, image);
    return true;
}

} // namespace quorvane
