// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/ToneMapping.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <vector>

namespace quorvane {

namespace {

/// \param value  not negative.
std::uint32_t rounded(float value)
{
    // What lround() does more takes its time, and this is done for every sample.
    return static_cast<std::uint32_t>(value + 0.5F); // NOLINT(bugprone-incorrect-roundings)
}

constexpr int kTransferLinear = 8;
constexpr int kTransferPq = 16;
constexpr int kTransferHlg = 18;

/// Light of the white of paper in pictures made for bright screens, cd/m². \source ITU-R BT.2408.
constexpr float kReferenceWhite = 203.0F;
/// Light of code 1.0 in PQ, and of HLG on the screen that it is made for, cd/m².
constexpr float kPqPeak = 10000.0F;
constexpr float kHlgPeak = 1000.0F;

/// Up to here the tone curve leaves light as it is: middle grey (0.18) stays middle grey.
constexpr float kKnee = 0.2F;

/// What the mean of a picture, on a logarithmic scale, may be before it counts as exposed wrongly.
constexpr float kDarkestMean = 0.02F;
constexpr float kBrightestMean = 0.4F;
constexpr float kLargestGain = 8.0F;

/// More light than any sane picture has; below infinity with room to multiply.
constexpr float kMostLight = 1e30F;

/// Light below this is black and says nothing about the exposure.
constexpr float kLeastLight = 1e-6F;

/// Pixels that are enough to judge a picture by.
constexpr qint64 kJudgedPixels = 1 << 18;

/// The nearest value that light can have.
float sane(float value)
{
    return value > 0 ? std::min(value, kMostLight) : 0.0F; // NaN compares false.
}

float srgbCoded(float light)
{
    return light <= 0.0031308F ? light * 12.92F : 1.055F * std::pow(light, 1 / 2.4F) - 0.055F;
}

/// From light, as much as there may be, to eight bits of sRGB: a table over the leading bits of
/// the number, so that no pixel costs a power.
class ToneCurve {
public:
    /// \param gain   every value is multiplied by this first.
    /// \param white  light, after the gain, that becomes white; up to 1 nothing is compressed.
    ToneCurve(float gain, float white)
        : mTable(kEntries)
    {
        for (std::uint32_t i = 0; i < kEntries; ++i) {
            const std::uint32_t bits = ((kFirst + i) << kDropped) | (1U << (kDropped - 1));
            const float light = std::bit_cast<float>(bits) * gain;
            mTable[i] = toByte(srgbCoded(compressed(light, white)));
        }
        mTable.front() = 0;
    }

    /// \param light  of any value, NaN included.
    std::uint8_t operator()(float light) const
    {
        if (!(light > 0))
            return 0;
        const std::uint32_t key = std::bit_cast<std::uint32_t>(light) >> kDropped;
        return mTable[std::clamp(key, kFirst, kFirst + kEntries - 1) - kFirst];
    }

private:
    /// Ten bits of the mantissa are kept: 0.1 %, a tenth of the last of eight bits.
    static constexpr std::uint32_t kDropped = 13;
    /// From 2^-40 (black after any gain that is sane) up to 2^40.
    static constexpr std::uint32_t kFirst = (127U - 40U) << 10;
    static constexpr std::uint32_t kEntries = 80U << 10;

    static std::uint8_t toByte(float value)
    {
        return static_cast<std::uint8_t>(rounded(std::clamp(value, 0.0F, 1.0F) * 255));
    }

    /// The identity up to the knee; above it a curve that leaves with the same slope and reaches 1
    /// at `white`. With white at 1 it is the identity altogether.
    static float compressed(float light, float white)
    {
        if (white <= 1 || light <= kKnee)
            return light;
        if (light >= white)
            return 1;
        const float above = (light - kKnee) / (1 - kKnee);
        const float end = (white - kKnee) / (1 - kKnee);
        return kKnee + (1 - kKnee) * above * (1 + above / (end * end)) / (1 + above);
    }

    std::vector<std::uint8_t> mTable;
};

std::uint8_t multiplied(std::uint8_t value, std::uint32_t alpha)
{
    const std::uint32_t product = value * alpha + 128;
    return static_cast<std::uint8_t>((product + (product >> 8)) >> 8);
}

QRgb premultiplied(std::uint8_t red, std::uint8_t green, std::uint8_t blue, std::uint32_t alpha)
{
    if (alpha == 255)
        return qRgb(red, green, blue);
    return qRgba(multiplied(red, alpha), multiplied(green, alpha), multiplied(blue, alpha),
        static_cast<int>(alpha));
}

/// What is to be known of a picture of light before it can be exposed.
struct LightStatistics {
    float brightest = 0; ///< The greatest of all samples, infinity aside.
    bool hasInfinity = false;
    float mean = 0; ///< Of the logarithms of what is not black; 0 when all is.
};

class LightMeter {
public:
    explicit LightMeter(const LinearSamples& samples)
        : mSamples(samples)
        , mColors(samples.channels < 3 ? 1 : 3)
        , mStep(std::max<qint64>(
              1, qint64(samples.size.width()) * samples.size.height() / kJudgedPixels))
    {
    }

    LightStatistics measured()
    {
        for (int y = 0; y < mSamples.size.height(); ++y)
            addRow(mSamples.data + y * mSamples.stride);
        if (mCounted > 0)
            mResult.mean = std::exp2(static_cast<float>(mLogarithms / mCounted));
        return mResult;
    }

private:
    void addRow(const float* pixel)
    {
        for (int x = 0; x < mSamples.size.width(); ++x, pixel += mSamples.channels) {
            addPeak(pixel);
            if (mUntilNext-- == 0) {
                mUntilNext = mStep - 1;
                addLuminance(pixel);
            }
        }
    }

    void addPeak(const float* pixel)
    {
        for (int i = 0; i < mColors; ++i) {
            if (pixel[i] <= kMostLight)
                mResult.brightest = std::max(mResult.brightest, pixel[i]);
            else if (pixel[i] > kMostLight)
                mResult.hasInfinity = true;
        }
    }

    void addLuminance(const float* pixel)
    {
        const float luminance = mColors == 1
            ? sane(pixel[0])
            : 0.2126F * sane(pixel[0]) + 0.7152F * sane(pixel[1]) + 0.0722F * sane(pixel[2]);
        const bool shines = luminance > kLeastLight && luminance < kMostLight / 2;
        if (!shines)
            return;
        mLogarithms += std::log2(luminance);
        ++mCounted;
    }

    const LinearSamples& mSamples;
    int mColors;
    qint64 mStep;
    qint64 mUntilNext = 0;
    double mLogarithms = 0;
    double mCounted = 0;
    LightStatistics mResult;
};

ToneCurve curveFor(const LightStatistics& light)
{
    const bool fits = light.brightest <= 1 && !light.hasInfinity;
    if (fits || light.mean <= 0)
        return { 1, std::max(1.0F, light.brightest) };
    const float aim = std::clamp(light.mean, kDarkestMean, kBrightestMean);
    // Never so dark that not even the brightest is white.
    const float least = std::min(1.0F, 1 / light.brightest);
    const float gain = std::clamp(aim / light.mean, least, kLargestGain);
    return { gain, light.brightest * gain };
}

float alphaOf(const float* pixel, int channels)
{
    const float alpha = pixel[channels - 1];
    return alpha > 0 ? std::min(alpha, 1.0F) : 0.0F;
}

void mapRow(
    const float* pixel, const LinearSamples& samples, const ToneCurve& curve, QImage& image, int y)
{
    const bool isGray = samples.channels < 3;
    const bool hasAlpha = samples.channels % 2 == 0 && image.hasAlphaChannel();
    auto* const to = reinterpret_cast<QRgb*>(image.scanLine(y));
    for (int x = 0; x < samples.size.width(); ++x, pixel += samples.channels) {
        const float alpha = hasAlpha ? alphaOf(pixel, samples.channels) : 1.0F;
        const std::uint8_t red = curve(pixel[0]);
        to[x] = premultiplied(red, isGray ? red : curve(pixel[1]), isGray ? red : curve(pixel[2]),
            rounded(alpha * 255));
    }
}

/// \source SMPTE ST 2084. \param code  0 to 1. \return cd/m².
float pqLight(float code)
{
    constexpr float kM1 = 2610.0F / 16384;
    constexpr float kM2 = 2523.0F / 4096 * 128;
    constexpr float kC1 = 3424.0F / 4096;
    constexpr float kC2 = 2413.0F / 4096 * 32;
    constexpr float kC3 = 2392.0F / 4096 * 32;
    const float power = std::pow(code, 1 / kM2);
    return kPqPeak * std::pow(std::max(power - kC1, 0.0F) / (kC2 - kC3 * power), 1 / kM1);
}

/// \source ITU-R BT.2100. \param code  0 to 1. \return light of the scene, 0 to 1.
float hlgLight(float code)
{
    constexpr float kA = 0.17883277F;
    constexpr float kB = 1 - 4 * kA;
    constexpr float kC = 0.55991073F;
    return code <= 0.5F ? code * code / 3 : (std::exp((code - kC) / kA) + kB) / 12;
}

using Matrix = std::array<std::array<float, 3>, 3>;
using Triple = std::array<float, 3>;

/// From linear light of the primaries that H.273 numbers so to that of sRGB's.
Matrix toSrgbFrom(int primaries)
{
    constexpr Matrix kSame { { { 1, 0, 0 }, { 0, 1, 0 }, { 0, 0, 1 } } };
    constexpr Matrix kFromBt2020 { { { 1.660491F, -0.587641F, -0.072850F },
        { -0.124550F, 1.132900F, -0.008349F }, { -0.018151F, -0.100579F, 1.118730F } } };
    constexpr Matrix kFromDisplayP3 { { { 1.224940F, -0.224940F, 0 }, { -0.042057F, 1.042057F, 0 },
        { -0.019638F, -0.078636F, 1.098273F } } };
    switch (primaries) {
    case 1:
    case 5:
    case 6:
    case 7:
        return kSame; // The older television primaries are as good as sRGB's.
    case 11:
    case 12:
        return kFromDisplayP3;
    default:
        return kFromBt2020;
    }
}

/// From the codes of a picture to light in which 1 is the white of a screen.
class CodedLight {
public:
    CodedLight(int primaries, int transfer)
        : mMatrix(toSrgbFrom(transfer == kTransferLinear && primaries == 2 ? 1 : primaries))
        , mLight(kCodes)
    {
        for (size_t i = 0; i < kCodes; ++i)
            mLight[i] = lightOf(static_cast<float>(i) / (kCodes - 1), transfer);
        if (transfer == kTransferHlg)
            fillHlgGains();
    }

    /// The light of a grey of that code.
    float gray(std::uint16_t code) const { return mLight[code] * hlgGain(mLight[code]); }

    Triple operator()(const std::uint16_t* codes) const
    {
        const Triple light { mLight[codes[0]], mLight[codes[1]], mLight[codes[2]] };
        const float gain = mHlgGains.empty()
            ? 1
            : hlgGain(0.2627F * light[0] + 0.6780F * light[1] + 0.0593F * light[2]);
        Triple result {};
        for (size_t i = 0; i < 3; ++i) {
            const auto& row = mMatrix[i];
            result[i] = gain * (row[0] * light[0] + row[1] * light[1] + row[2] * light[2]);
        }
        return result;
    }

private:
    static constexpr size_t kCodes = 65536;
    static constexpr size_t kHlgSteps = 4096;

    static float lightOf(float code, int transfer)
    {
        if (transfer == kTransferPq)
            return pqLight(code) / kReferenceWhite;
        return transfer == kTransferHlg ? hlgLight(code) : code;
    }

    /// What a screen makes of the scene's light depends on its luminance: its 0.2nd power. Over
    /// the square root, so that the steps are fine where it is dark.
    void fillHlgGains()
    {
        mHlgGains.resize(kHlgSteps + 1);
        for (size_t i = 0; i <= kHlgSteps; ++i) {
            const float root = static_cast<float>(i) / kHlgSteps;
            mHlgGains[i] = std::pow(root, 0.4F) * kHlgPeak / kReferenceWhite;
        }
    }

    float hlgGain(float luminance) const
    {
        if (mHlgGains.empty())
            return 1;
        const float at = std::sqrt(std::clamp(luminance, 0.0F, 1.0F)) * kHlgSteps;
        return mHlgGains[rounded(at)];
    }

    Matrix mMatrix;
    std::vector<float> mLight;
    std::vector<float> mHlgGains; ///< Empty unless HLG.
};

const std::uint16_t* rowOf(const Samples& samples, int y)
{
    return reinterpret_cast<const std::uint16_t*>(
        static_cast<const char*>(samples.data) + y * samples.stride);
}

std::uint16_t highestCode(const Samples& samples, int channels)
{
    std::uint16_t highest = 0;
    for (int y = 0; y < samples.size.height(); ++y) {
        const std::uint16_t* pixel = rowOf(samples, y);
        for (int x = 0; x < samples.size.width(); ++x, pixel += channels)
            highest = std::max({ highest, pixel[0], pixel[1], pixel[2] });
    }
    return highest;
}

} // namespace

void toneMapLinear(const LinearSamples& samples, QImage& image)
{
    const ToneCurve curve = curveFor(LightMeter(samples).measured());
    for (int y = 0; y < samples.size.height(); ++y)
        mapRow(samples.data + y * samples.stride, samples, curve, image, y);
}

bool isHighDynamicRange(int transfer)
{
    return transfer == kTransferPq || transfer == kTransferHlg || transfer == kTransferLinear;
}

void toneMapCoded(const Samples& samples, int primaries, int transfer, QImage& image)
{
    const bool hasAlpha = samples.layout == Samples::Layout::Rgba;
    const int channels = hasAlpha ? 4 : 3;
    const CodedLight light(primaries, transfer);
    // Made for screens, so exposed as meant: only what is brighter than white is compressed.
    const ToneCurve curve(1, light.gray(highestCode(samples, channels)));
    for (int y = 0; y < samples.size.height(); ++y) {
        const std::uint16_t* pixel = rowOf(samples, y);
        auto* const to = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < samples.size.width(); ++x, pixel += channels) {
            const Triple rgb = light(pixel);
            const std::uint32_t alpha
                = hasAlpha && image.hasAlphaChannel() ? (pixel[3] + 128U) / 257U : 255U;
            to[x] = premultiplied(curve(rgb[0]), curve(rgb[1]), curve(rgb[2]), alpha);
        }
    }
}

} // namespace quorvane
