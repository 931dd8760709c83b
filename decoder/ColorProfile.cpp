// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/ColorProfile.h"

#include "decoder/MatrixConversion.h"

#include <lcms2.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <map>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

namespace quorvane {

namespace {

using Model = ColorProfile::Model;
using Layout = Samples::Layout;
using Depth = Samples::Depth;
using Handle = std::unique_ptr<void, decltype(&cmsCloseProfile)>;
using Transform = std::shared_ptr<void>;

/// Two colours that differ by no more, of 255 in each channel, look the same. Profiles that only
/// approximate sRGB's curve to be small stay within it, a plain gamma of 2.2 does not.
constexpr int kInvisible = 2;

constexpr ColorProfile::Chromaticities kSrgbPrimaries { 0.3127, 0.3290, 0.64, 0.33, 0.30, 0.60,
    0.15, 0.06 };

/// What PNG files say that mean sRGB, and by how much they may miss it.
constexpr double kOrdinaryGamma = 0.45455;
constexpr double kGammaTolerance = 0.01;
constexpr double kChromaticityTolerance = 0.005;

/// The library's state: no plugins, and silent. Lives as long as the program.
cmsContext context()
{
    static const cmsContext made = [] {
        const cmsContext fresh = cmsCreateContext(nullptr, nullptr);
        cmsSetLogErrorHandlerTHR(fresh, [](cmsContext, cmsUInt32Number, const char*) {});
        return fresh;
    }();
    return made;
}

Handle owned(cmsHPROFILE profile) { return { profile, &cmsCloseProfile }; }

/// What everything is converted to; the only place that says so.
cmsHPROFILE targetProfile()
{
    static const Handle made = owned(cmsCreate_sRGBProfileTHR(context()));
    return made.get();
}

Model modelOf(cmsHPROFILE profile)
{
    switch (cmsGetColorSpace(profile)) {
    case cmsSigRgbData:
        return Model::Rgb;
    case cmsSigGrayData:
        return Model::Gray;
    case cmsSigCmykData:
        return Model::Cmyk;
    default:
        return Model::Other;
    }
}

/// The profile of a picture, with the conversions from it: making one can take longer than
/// converting a picture. Thread: any, several at once.
class SourceProfile {
public:
    explicit SourceProfile(Handle handle)
        : mHandle(std::move(handle))
        , mModel(modelOf(mHandle.get()))
    {
    }

    Model model() const { return mModel; }

    /// Between two of the library's pixel formats. Null when the library refuses.
    Transform transform(cmsUInt32Number from, cmsUInt32Number to);

    /// For 16 bits of red, green and blue. Null when transform() must do.
    const MatrixConversion* deepConversion();

private:
    const Handle mHandle;
    const Model mModel;
    std::mutex mMutex;
    std::map<std::pair<cmsUInt32Number, cmsUInt32Number>, Transform> mTransforms;
    std::once_flag mDeepIsTried;
    std::optional<MatrixConversion> mDeep;
};

const MatrixConversion* SourceProfile::deepConversion()
{
    std::call_once(mDeepIsTried,
        [this] { mDeep = MatrixConversion::between(mHandle.get(), targetProfile()); });
    return mDeep ? &*mDeep : nullptr;
}

Transform SourceProfile::transform(cmsUInt32Number from, cmsUInt32Number to)
{
    const std::lock_guard lock(mMutex);
    Transform& made = mTransforms[{ from, to }];
    if (!made) {
        const bool hasAlpha = T_EXTRA(from) != 0 && T_EXTRA(to) != 0;
        const cmsUInt32Number flags
            = cmsFLAGS_BLACKPOINTCOMPENSATION | (hasAlpha ? cmsFLAGS_COPY_ALPHA : 0U);
        const cmsHTRANSFORM fresh = cmsCreateTransformTHR(
            context(), mHandle.get(), from, targetProfile(), to, INTENT_PERCEPTUAL, flags);
        if (fresh)
            made.reset(fresh, &cmsDeleteTransform);
    }
    return made;
}

/// Every grey value of `depth` as a pixel of the target; empty when the library refuses.
std::vector<QRgb> greyTable(SourceProfile& source, Depth depth)
{
    const bool isDeep = depth == Depth::Bits16;
    const size_t count = isDeep ? 65536 : 256;
    const size_t channels = source.model() == Model::Gray ? 1 : 3;
    std::vector<quint16> greys(count * channels);
    for (size_t i = 0; i < greys.size(); ++i)
        greys[i] = static_cast<quint16>(i / channels * (isDeep ? 1 : 257));
    std::vector<QRgb> table(count, 0xFFFFFFFF);
    if (const MatrixConversion* const deep = channels == 3 ? source.deepConversion() : nullptr) {
        deep->convert(greys.data(), 3, table.data(), static_cast<int>(count));
        return table;
    }
    const Transform transform
        = source.transform(channels == 1 ? TYPE_GRAY_16 : TYPE_RGB_16, TYPE_BGRA_8);
    if (!transform)
        return {};
    cmsDoTransform(
        transform.get(), greys.data(), table.data(), static_cast<cmsUInt32Number>(count));
    return table;
}

bool looksTheSame(QRgb a, QRgb b)
{
    return std::abs(qRed(a) - qRed(b)) <= kInvisible
        && std::abs(qGreen(a) - qGreen(b)) <= kInvisible
        && std::abs(qBlue(a) - qBlue(b)) <= kInvisible;
}

std::vector<QRgb> sampleGreys()
{
    std::vector<QRgb> greys(256);
    for (size_t i = 0; i < greys.size(); ++i)
        greys[i] = 0xFF000000 | static_cast<QRgb>(i * 0x010101);
    return greys;
}

/// Colours all over the cube, and every grey.
std::vector<QRgb> sampleColours()
{
    constexpr int kSteps = 5;
    std::vector<QRgb> colours;
    for (int i = 0; i <= kSteps; ++i) {
        for (int j = 0; j <= kSteps; ++j) {
            for (int k = 0; k <= kSteps; ++k)
                colours.push_back(qRgb(i * 255 / kSteps, j * 255 / kSteps, k * 255 / kSteps));
        }
    }
    const std::vector<QRgb> greys = sampleGreys();
    colours.insert(colours.end(), greys.begin(), greys.end());
    return colours;
}

enum class Usefulness { Unusable, SameAsTarget, Different };

/// What a conversion from `source` would do to a picture.
Usefulness usefulnessOf(SourceProfile& source)
{
    std::vector<QRgb> before;
    std::vector<QRgb> after;
    if (source.model() == Model::Rgb) {
        const Transform transform = source.transform(TYPE_BGRA_8, TYPE_BGRA_8);
        if (!transform)
            return Usefulness::Unusable;
        before = sampleColours();
        after.resize(before.size());
        cmsDoTransform(transform.get(), before.data(), after.data(),
            static_cast<cmsUInt32Number>(before.size()));
    } else if (source.model() == Model::Gray) {
        before = sampleGreys();
        after = greyTable(source, Depth::Bits8);
        if (after.empty())
            return Usefulness::Unusable;
    } else {
        return Usefulness::Different;
    }
    return std::equal(before.begin(), before.end(), after.begin(), &looksTheSame)
        ? Usefulness::SameAsTarget
        : Usefulness::Different;
}

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
    return { cmsBuildGamma(context(), exponent), &cmsFreeToneCurve };
}

/// The curve of IEC 61966-2-1, as the library's formula 4 takes it.
Curve srgbCurve()
{
    constexpr std::array<double, 5> kParameters { 2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92,
        0.04045 };
    return { cmsBuildParametricToneCurve(context(), 4, kParameters.data()), &cmsFreeToneCurve };
}

/// Null when the numbers make no colour space.
Handle rgbProfile(const ColorProfile::Chromaticities& c, const Curve& curve)
{
    const cmsCIExyY white { c.whiteX, c.whiteY, 1 };
    const cmsCIExyYTRIPLE primaries { { c.redX, c.redY, 1 }, { c.greenX, c.greenY, 1 },
        { c.blueX, c.blueY, 1 } };
    const std::array<cmsToneCurve*, 3> curves { curve.get(), curve.get(), curve.get() };
    const bool isPossible = curve && c.whiteY > 0 && c.redY > 0 && c.greenY > 0 && c.blueY >= 0;
    return owned(isPossible ? cmsCreateRGBProfileTHR(context(), &white, &primaries, curves.data())
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

template <typename Sample> constexpr int byteOf(Sample value)
{
    if constexpr (sizeof(Sample) == 1)
        return value;
    else
        return static_cast<int>((value * 255U + 32895U) >> 16U); // Rounded exactly.
}

/// What `ink` and black leave of the paper's white.
template <typename Sample, Layout kLayout> int inked(Sample ink, Sample black)
{
    const auto left = [](Sample value) {
        return kLayout == Layout::CmykInverted ? byteOf(value) : 255 - byteOf(value);
    };
    return (left(ink) * left(black) + 127) / 255;
}

QRgb premultiplied(int red, int green, int blue, int alpha)
{
    return qPremultiply(qRgba(red, green, blue, alpha));
}

/// `opaque` with so much opacity, multiplied in.
QRgb withOpacity(QRgb opaque, int alpha)
{
    return qPremultiply((opaque & RGB_MASK) | (static_cast<QRgb>(alpha) << 24U));
}

constexpr int channelsOf(Layout layout)
{
    switch (layout) {
    case Layout::Gray:
        return 1;
    case Layout::GrayAlpha:
        return 2;
    case Layout::Rgb:
        return 3;
    default:
        return 4;
    }
}

/// The pixel whose samples begin at `at`, taken for sRGB or, if of inks, for simple ones.
template <typename Sample, Layout kLayout> QRgb simplePixel(const Sample* at)
{
    if constexpr (kLayout == Layout::Gray)
        return qRgb(byteOf(at[0]), byteOf(at[0]), byteOf(at[0]));
    else if constexpr (kLayout == Layout::GrayAlpha)
        return premultiplied(byteOf(at[0]), byteOf(at[0]), byteOf(at[0]), byteOf(at[1]));
    else if constexpr (kLayout == Layout::Rgb)
        return qRgb(byteOf(at[0]), byteOf(at[1]), byteOf(at[2]));
    else if constexpr (kLayout == Layout::Rgba)
        return premultiplied(byteOf(at[0]), byteOf(at[1]), byteOf(at[2]), byteOf(at[3]));
    else
        return qRgb(inked<Sample, kLayout>(at[0], at[3]), inked<Sample, kLayout>(at[1], at[3]),
            inked<Sample, kLayout>(at[2], at[3]));
}

template <typename Sample, Layout kLayout> void simpleRow(const void* from, QRgb* to, int width)
{
    const auto* at = static_cast<const Sample*>(from);
    for (int x = 0; x < width; ++x, at += channelsOf(kLayout))
        to[x] = simplePixel<Sample, kLayout>(at);
}

using RowConverter = void (*)(const void* from, QRgb* to, int width);

template <typename Sample> RowConverter simpleConverter(Layout layout)
{
    switch (layout) {
    case Layout::Gray:
        return &simpleRow<Sample, Layout::Gray>;
    case Layout::GrayAlpha:
        return &simpleRow<Sample, Layout::GrayAlpha>;
    case Layout::Rgb:
        return &simpleRow<Sample, Layout::Rgb>;
    case Layout::Rgba:
        return &simpleRow<Sample, Layout::Rgba>;
    case Layout::Cmyk:
        return &simpleRow<Sample, Layout::Cmyk>;
    default:
        return &simpleRow<Sample, Layout::CmykInverted>;
    }
}

QRgb* pixelsOf(QImage& image, int y) { return reinterpret_cast<QRgb*>(image.scanLine(y)); }

const void* rowOf(const Samples& samples, int y)
{
    return static_cast<const char*>(samples.data) + y * samples.stride;
}

void convertSimply(const Samples& samples, QImage& image)
{
    const RowConverter convert = samples.depth == Depth::Bits8
        ? simpleConverter<quint8>(samples.layout)
        : simpleConverter<quint16>(samples.layout);
    for (int y = 0; y < image.height(); ++y)
        convert(rowOf(samples, y), pixelsOf(image, y), image.width());
}

template <typename Sample>
void convertGreys(const Samples& samples, const std::vector<QRgb>& table, QImage& image)
{
    const bool hasAlpha = samples.layout == Layout::GrayAlpha;
    for (int y = 0; y < image.height(); ++y) {
        const auto* at = static_cast<const Sample*>(rowOf(samples, y));
        QRgb* const to = pixelsOf(image, y);
        for (int x = 0; x < image.width(); ++x, at += hasAlpha ? 2 : 1) {
            const QRgb opaque = table[*at];
            to[x] = hasAlpha ? withOpacity(opaque, byteOf(at[1])) : opaque;
        }
    }
}

bool isGrey(const QImage& image)
{
    for (int y = 0; y < image.height(); ++y) {
        const auto* const row = reinterpret_cast<const QRgb*>(image.constScanLine(y));
        if (!std::all_of(row, row + image.width(), &qIsGray))
            return false;
    }
    return true;
}

QRgb throughTable(QRgb pixel, const std::vector<QRgb>& table)
{
    const int alpha = qAlpha(pixel);
    if (alpha == 255)
        return table[static_cast<size_t>(qBlue(pixel))];
    const auto grey = static_cast<size_t>(qBlue(qUnpremultiply(pixel)));
    return withOpacity(table[grey], alpha);
}

/// The library's name for the samples' layout: of colours or inks.
cmsUInt32Number formatOf(const Samples& samples)
{
    const bool isDeep = samples.depth == Depth::Bits16;
    switch (samples.layout) {
    case Layout::Rgb:
        return isDeep ? TYPE_RGB_16 : TYPE_RGB_8;
    case Layout::Rgba:
        return isDeep ? TYPE_RGBA_16 : TYPE_RGBA_8;
    case Layout::Cmyk:
        return isDeep ? TYPE_CMYK_16 : TYPE_CMYK_8;
    default:
        return isDeep ? TYPE_CMYK_16_REV : TYPE_CMYK_8_REV;
    }
}

bool isOfGreys(Layout layout) { return layout == Layout::Gray || layout == Layout::GrayAlpha; }

bool fits(Model model, Layout layout)
{
    if (isOfGreys(layout))
        return model == Model::Gray || model == Model::Rgb;
    const bool isOfInks = layout == Layout::Cmyk || layout == Layout::CmykInverted;
    return model == (isOfInks ? Model::Cmyk : Model::Rgb);
}

bool convertGreysInPlace(SourceProfile& source, QImage& image)
{
    const std::vector<QRgb> table = greyTable(source, Depth::Bits8);
    if (table.empty())
        return false;
    for (int y = 0; y < image.height(); ++y) {
        QRgb* const row = pixelsOf(image, y);
        std::transform(
            row, row + image.width(), row, [&](QRgb pixel) { return throughTable(pixel, table); });
    }
    return true;
}

bool convertColoursInPlace(SourceProfile& source, QImage& image)
{
    const Transform transform = source.transform(TYPE_BGRA_8, TYPE_BGRA_8);
    const bool hasAlpha = image.hasAlphaChannel();
    for (int y = 0; transform && y < image.height(); ++y) {
        QRgb* const row = pixelsOf(image, y);
        QRgb* const end = row + image.width();
        // Not left to the library: its own way with multiplied colours overflows (version 2.14).
        if (hasAlpha)
            std::transform(row, end, row, [](QRgb pixel) { return qUnpremultiply(pixel); });
        cmsDoTransform(transform.get(), row, row, static_cast<cmsUInt32Number>(image.width()));
        if (hasAlpha)
            std::transform(row, end, row, [](QRgb pixel) { return qPremultiply(pixel); });
    }
    return transform != nullptr;
}

/// 16 bits of red, green, blue and perhaps opacity.
void convertDeepColours(const MatrixConversion& conversion, const Samples& samples, QImage& image)
{
    const int channels = channelsOf(samples.layout);
    for (int y = 0; y < image.height(); ++y) {
        const auto* at = static_cast<const quint16*>(rowOf(samples, y));
        QRgb* const row = pixelsOf(image, y);
        conversion.convert(at, channels, row, image.width());
        if (samples.layout != Layout::Rgba)
            continue;
        for (int x = 0; x < image.width(); ++x, at += channels)
            row[x] = withOpacity(row[x], byteOf(at[3]));
    }
}

/// Samples of colours or inks.
bool convertColours(SourceProfile& source, const Samples& samples, QImage& image)
{
    const bool isDeep = samples.depth == Depth::Bits16 && source.model() == Model::Rgb;
    if (const MatrixConversion* const deep = isDeep ? source.deepConversion() : nullptr) {
        convertDeepColours(*deep, samples, image);
        return true;
    }
    const Transform transform = source.transform(formatOf(samples), TYPE_BGRA_8);
    for (int y = 0; transform && y < image.height(); ++y) {
        QRgb* const row = pixelsOf(image, y);
        QRgb* const end = row + image.width();
        std::fill(row, end, 0xFFFFFFFF); // Where there is no opacity, none is written.
        cmsDoTransform(
            transform.get(), rowOf(samples, y), row, static_cast<cmsUInt32Number>(image.width()));
        if (samples.layout == Layout::Rgba)
            std::transform(row, end, row, [](QRgb pixel) { return qPremultiply(pixel); });
    }
    return transform != nullptr;
}

} // namespace

/// What only this file may do to a ColorProfile: put the library's profile in, and take it out.
class ColorConversion {
public:
    /// sRGB when `handle` is null, of no use, or sRGB itself.
    static ColorProfile wrapped(Handle handle);

    static bool inPlace(QImage& image, const ColorProfile& profile);
    static bool ofSamples(const Samples& samples, const ColorProfile& profile, QImage& image);

    /// Null for sRGB.
    static SourceProfile* source(const ColorProfile& profile)
    {
        return static_cast<SourceProfile*>(profile.mProfile.get());
    }
};

ColorProfile ColorConversion::wrapped(Handle handle)
{
    if (!handle)
        return {};
    auto source = std::make_shared<SourceProfile>(std::move(handle));
    if (usefulnessOf(*source) != Usefulness::Different)
        return {};
    return ColorProfile(std::move(source));
}

bool ColorConversion::inPlace(QImage& image, const ColorProfile& profile)
{
    SourceProfile* const from = source(profile);
    if (!from)
        return true;
    switch (from->model()) {
    case Model::Gray:
        return !isGrey(image) || convertGreysInPlace(*from, image);
    case Model::Rgb:
        return convertColoursInPlace(*from, image);
    default:
        return true;
    }
}

bool ColorConversion::ofSamples(const Samples& samples, const ColorProfile& profile, QImage& image)
{
    SourceProfile* const from = source(profile);
    if (!from || !fits(from->model(), samples.layout)) {
        convertSimply(samples, image);
        return true;
    }
    if (isOfGreys(samples.layout)) {
        const std::vector<QRgb> table = greyTable(*from, samples.depth);
        if (table.empty())
            return false;
        if (samples.depth == Depth::Bits8)
            convertGreys<quint8>(samples, table, image);
        else
            convertGreys<quint16>(samples, table, image);
        return true;
    }
    return convertColours(*from, samples, image);
}

ColorProfile::ColorProfile(std::shared_ptr<void> profile)
    : mProfile(std::move(profile))
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
    Handle handle = owned(cmsOpenProfileFromMemTHR(
        context(), profile.constData(), static_cast<cmsUInt32Number>(profile.size())));
    if (handle && !isDevice(handle.get()))
        handle.reset();
    last = ColorConversion::wrapped(std::move(handle));
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
    return ColorConversion::wrapped(rgbProfile(chromaticities, gammaCurve(1 / fileGamma)));
}

ColorProfile ColorProfile::fromCodePoints(int primaries, int transfer)
{
    const auto* const found = std::find_if(kNumberedPrimaries.begin(), kNumberedPrimaries.end(),
        [&](const NumberedPrimaries& row) { return row.number == primaries; });
    if (found == kNumberedPrimaries.end() || !isKnownTransfer(transfer))
        return {};
    return ColorConversion::wrapped(rgbProfile(found->primaries, numberedCurve(transfer)));
}

ColorProfile ColorProfile::adobeRgb()
{
    // The encoding's own numbers; its gamma is 2 51/256.
    constexpr Chromaticities kPrimaries { 0.3127, 0.3290, 0.64, 0.33, 0.21, 0.71, 0.15, 0.06 };
    constexpr double kGamma = 2.19921875;
    static const ColorProfile made
        = ColorConversion::wrapped(rgbProfile(kPrimaries, gammaCurve(kGamma)));
    return made;
}

ColorProfile::Model ColorProfile::model() const
{
    const SourceProfile* const source = ColorConversion::source(*this);
    return source ? source->model() : Model::Rgb;
}

bool convertToSrgb(QImage& image, const ColorProfile& profile)
{
    return ColorConversion::inPlace(image, profile);
}

bool convertToSrgb(const Samples& samples, const ColorProfile& profile, QImage& image)
{
    return ColorConversion::ofSamples(samples, profile, image);
}

} // namespace quorvane
