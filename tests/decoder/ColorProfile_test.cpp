// SPDX-License-Identifier: GPL-3.0-or-later
// Colours of pictures that say what theirs mean, and of others.
#include "decoder/ColorProfile.h"

#include <QColorSpace>

#include <gtest/gtest.h>
#include <lcms2.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <vector>

namespace quorvane {

namespace {

using Layout = Samples::Layout;
using Depth = Samples::Depth;

constexpr ColorProfile::Chromaticities kSrgb { 0.3127, 0.3290, 0.64, 0.33, 0.30, 0.60, 0.15, 0.06 };

QByteArray icc(QColorSpace::NamedColorSpace name) { return QColorSpace(name).iccProfile(); }

ColorProfile profileOf(QColorSpace::NamedColorSpace name)
{
    return ColorProfile::fromIcc(icc(name));
}

/// The file form of one of the library's own profiles, which is closed.
QByteArray savedProfile(cmsHPROFILE profile)
{
    cmsUInt32Number size = 0;
    cmsSaveProfileToMem(profile, nullptr, &size);
    QByteArray bytes(static_cast<qsizetype>(size), '\0');
    cmsSaveProfileToMem(profile, bytes.data(), &size);
    cmsCloseProfile(profile);
    return bytes;
}

QByteArray greyIcc(double gamma)
{
    cmsToneCurve* const curve = cmsBuildGamma(nullptr, gamma);
    QByteArray bytes = savedProfile(cmsCreateGrayProfile(cmsD50_xyY(), curve));
    cmsFreeToneCurve(curve);
    return bytes;
}

/// Inks whose black is all that can be seen.
QByteArray blackInkIcc()
{
    const cmsHPROFILE profile = cmsCreateProfilePlaceholder(nullptr);
    cmsSetProfileVersion(profile, 2.1);
    cmsSetDeviceClass(profile, cmsSigOutputClass);
    cmsSetColorSpace(profile, cmsSigCmykData);
    cmsSetPCS(profile, cmsSigLabData);
    cmsPipeline* const pipeline = cmsPipelineAlloc(nullptr, 4, 3);
    cmsStage* const table = cmsStageAllocCLut16bit(nullptr, 2, 4, 3, nullptr);
    const auto sampler = [](const cmsUInt16Number* in, cmsUInt16Number* out, void*) {
        out[0] = static_cast<cmsUInt16Number>(0xFF00 - in[3] / 257 * 256);
        out[1] = out[2] = 0x8000;
        return 1;
    };
    cmsStageSampleCLut16bit(table, sampler, nullptr, 0);
    cmsPipelineInsertStage(pipeline, cmsAT_END, table);
    for (const cmsTagSignature tag : { cmsSigAToB0Tag, cmsSigAToB1Tag })
        cmsWriteTag(profile, tag, pipeline);
    cmsPipelineFree(pipeline);
    return savedProfile(profile);
}

QImage one(QRgb pixel, QImage::Format format = QImage::Format_RGB32)
{
    QImage image(1, 1, format);
    *reinterpret_cast<QRgb*>(image.bits()) = pixel;
    return image;
}

QRgb only(const QImage& image) { return *reinterpret_cast<const QRgb*>(image.constBits()); }

bool isNear(QRgb a, QRgb b, int tolerance)
{
    return std::abs(qRed(a) - qRed(b)) <= tolerance && std::abs(qGreen(a) - qGreen(b)) <= tolerance
        && std::abs(qBlue(a) - qBlue(b)) <= tolerance && qAlpha(a) == qAlpha(b);
}

QRgb converted(QRgb pixel, const ColorProfile& profile)
{
    QImage image = one(pixel);
    EXPECT_TRUE(convertToSrgb(image, profile));
    return only(image);
}

template <typename Sample, size_t kCount>
QRgb converted(const std::array<Sample, kCount>& pixel, Layout layout, const ColorProfile& profile)
{
    const bool hasAlpha = layout == Layout::Rgba || layout == Layout::GrayAlpha;
    QImage image = one(0, hasAlpha ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
    const Depth depth = sizeof(Sample) == 2 ? Depth::Bits16 : Depth::Bits8;
    const Samples samples { pixel.data(), qsizetype(sizeof pixel), { 1, 1 }, layout, depth };
    EXPECT_TRUE(convertToSrgb(samples, profile, image));
    return only(image);
}

TEST(ColorProfile, IsSrgbWhereNothingIsSaid)
{
    EXPECT_TRUE(ColorProfile().isSrgb());
    EXPECT_EQ(ColorProfile().model(), ColorProfile::Model::Rgb);
}

TEST(ColorProfile, KnowsSrgbInAProfile)
{
    EXPECT_TRUE(profileOf(QColorSpace::SRgb).isSrgb());
    EXPECT_TRUE(ColorProfile::fromIcc(savedProfile(cmsCreate_sRGBProfile())).isSrgb());
}

TEST(ColorProfile, TellsOtherColoursFromSrgb)
{
    for (const auto name : { QColorSpace::SRgbLinear, QColorSpace::AdobeRgb, QColorSpace::DisplayP3,
             QColorSpace::ProPhotoRgb })
        EXPECT_FALSE(profileOf(name).isSrgb()) << name;
}

TEST(ColorProfile, TakesABrokenProfileForSrgb)
{
    const QByteArray whole = icc(QColorSpace::AdobeRgb);

    EXPECT_TRUE(ColorProfile::fromIcc({}).isSrgb());
    EXPECT_TRUE(ColorProfile::fromIcc("profile").isSrgb());
    EXPECT_TRUE(ColorProfile::fromIcc(whole.left(whole.size() / 2)).isSrgb());
}

TEST(ColorProfile, SurvivesAnyBrokenByteOfAProfile)
{
    const QByteArray whole = icc(QColorSpace::DisplayP3);
    for (qsizetype at = 0; at < whole.size(); ++at) {
        QByteArray broken = whole;
        broken[at] = static_cast<char>(broken[at] ^ '\xFF');
        (void)converted(0xFF102030, ColorProfile::fromIcc(broken));
    }
}

TEST(ColorProfile, RemembersOnlyTheSameProfile)
{
    EXPECT_FALSE(profileOf(QColorSpace::AdobeRgb).isSrgb());
    EXPECT_TRUE(profileOf(QColorSpace::SRgb).isSrgb());
    EXPECT_FALSE(profileOf(QColorSpace::AdobeRgb).isSrgb());
}

TEST(ColorProfile, ConvertsAsAnotherLibraryDoes)
{
    for (const auto name : { QColorSpace::AdobeRgb, QColorSpace::DisplayP3 }) {
        const ColorProfile profile = profileOf(name);
        for (const QRgb pixel : { 0xFF000000, 0xFFFFFFFF, 0xFF806040, 0xFF408060, 0xFF607080 }) {
            QImage expected = one(pixel);
            expected.setColorSpace(QColorSpace(name));
            expected.convertToColorSpace(QColorSpace(QColorSpace::SRgb));

            EXPECT_TRUE(isNear(converted(pixel, profile), only(expected), 2)) << std::hex << pixel;
        }
    }
}

TEST(ColorProfile, ConvertsTransparentColoursAsOpaqueOnes)
{
    const ColorProfile profile = profileOf(QColorSpace::DisplayP3);
    const QRgb straight = qRgba(200, 120, 40, 128);
    QImage image = one(qPremultiply(straight), QImage::Format_ARGB32_Premultiplied);

    ASSERT_TRUE(convertToSrgb(image, profile));

    const QRgb opaque = converted(straight | 0xFF000000, profile);
    EXPECT_TRUE(isNear(only(image), qPremultiply((opaque & 0xFFFFFF) | 0x80000000), 2));
}

TEST(ColorProfile, KeepsWhatCannotBeSeen)
{
    QImage image = one(0, QImage::Format_ARGB32_Premultiplied);

    ASSERT_TRUE(convertToSrgb(image, profileOf(QColorSpace::DisplayP3)));

    EXPECT_EQ(only(image), 0U);
}

TEST(ColorProfile, ConvertsGreys)
{
    const ColorProfile linear = ColorProfile::fromIcc(greyIcc(1.0));

    EXPECT_EQ(linear.model(), ColorProfile::Model::Gray);
    EXPECT_EQ(converted(0xFF808080, linear), 0xFFBCBCBC); // sRGB's curve at 128 of 255.
    EXPECT_EQ(converted(0xFFFFFFFF, linear), 0xFFFFFFFF);
    QImage half = one(0x80404040, QImage::Format_ARGB32_Premultiplied);
    ASSERT_TRUE(convertToSrgb(half, linear));
    EXPECT_TRUE(isNear(only(half), 0x805E5E5E, 1));
}

TEST(ColorProfile, LeavesColoursAloneThatAProfileOfGreysCannotMean)
{
    EXPECT_EQ(converted(0xFF808081, ColorProfile::fromIcc(greyIcc(1.0))), 0xFF808081);
}

TEST(ColorProfile, LeavesColoursAloneThatAProfileOfInksCannotMean)
{
    const ColorProfile inks = ColorProfile::fromIcc(blackInkIcc());

    EXPECT_EQ(inks.model(), ColorProfile::Model::Cmyk);
    EXPECT_EQ(converted(0xFF806040, inks), 0xFF806040);
    EXPECT_EQ(converted(std::array<quint8, 3> { 0x80, 0x60, 0x40 }, Layout::Rgb, inks), 0xFF806040);
}

TEST(ColorProfile, MixesInksSimplyWithoutAProfile)
{
    const std::array<quint8, 4> inks { 255, 0, 51, 51 };
    const std::array<quint8, 4> inverted { 0, 255, 204, 204 };
    const std::array<quint16, 4> deep { 65535, 0, 51 * 257, 51 * 257 };

    EXPECT_EQ(converted(inks, Layout::Cmyk, {}), qRgb(0, 204, 163));
    EXPECT_EQ(converted(inverted, Layout::CmykInverted, {}), qRgb(0, 204, 163));
    EXPECT_EQ(converted(deep, Layout::Cmyk, {}), qRgb(0, 204, 163));
    EXPECT_EQ(converted(inks, Layout::Cmyk, profileOf(QColorSpace::AdobeRgb)), qRgb(0, 204, 163));
}

TEST(ColorProfile, PrintsInksAsTheirProfileSays)
{
    const ColorProfile profile = ColorProfile::fromIcc(blackInkIcc());
    const std::array<quint8, 4> colourless { 255, 200, 100, 0 };
    const std::array<quint8, 4> black { 0, 0, 0, 255 };

    EXPECT_TRUE(isNear(converted(colourless, Layout::Cmyk, profile), 0xFFFFFFFF, 3));
    EXPECT_TRUE(isNear(converted(black, Layout::Cmyk, profile), 0xFF000000, 3));
    EXPECT_TRUE(isNear(converted(black, Layout::CmykInverted, profile), 0xFFFFFFFF, 3));
}

TEST(ColorProfile, RoundsDeepSamplesOfSrgb)
{
    for (int value = 0; value < 65536; ++value) {
        const auto sample = static_cast<quint16>(value);
        const int expected = static_cast<int>(std::lround(value / 257.0));
        const QRgb pixel = converted(std::array { sample }, Layout::Gray, {});
        ASSERT_EQ(pixel, qRgb(expected, expected, expected)) << value;
    }
}

TEST(ColorProfile, KeepsThePrecisionOfDeepSamples)
{
    const ColorProfile linear = profileOf(QColorSpace::SRgbLinear);
    for (const int value : { 20, 60, 100, 200, 400, 1000, 5000, 30000, 65535 }) {
        const double light = value / 65535.0;
        const double coded
            = light <= 0.0031308 ? 12.92 * light : 1.055 * std::pow(light, 1 / 2.4) - 0.055;
        const int expected = static_cast<int>(std::lround(coded * 255));
        const QRgb grey = qRgb(expected, expected, expected);
        const auto sample = static_cast<quint16>(value);

        EXPECT_TRUE(
            isNear(converted(std::array { sample, sample, sample }, Layout::Rgb, linear), grey, 1))
            << value;
        EXPECT_TRUE(isNear(converted(std::array { sample }, Layout::Gray, linear), grey, 1))
            << value;
    }
}

TEST(ColorProfile, MultipliesTheOpacityOfSamplesIn)
{
    const std::array<quint8, 4> colour { 200, 100, 50, 51 };
    const std::array<quint8, 2> grey { 200, 51 };
    const std::array<quint16, 4> deep { 200 * 257, 100 * 257, 50 * 257, 51 * 257 };

    EXPECT_EQ(converted(colour, Layout::Rgba, {}), qRgba(40, 20, 10, 51));
    EXPECT_EQ(converted(grey, Layout::GrayAlpha, {}), qRgba(40, 40, 40, 51));
    EXPECT_EQ(converted(deep, Layout::Rgba, {}), qRgba(40, 20, 10, 51));
}

TEST(ColorProfile, MultipliesTheOpacityOfConvertedSamplesIn)
{
    const ColorProfile profile = profileOf(QColorSpace::DisplayP3);
    const QRgb opaque = converted(0xFFC86432, profile);
    const QRgb expected = qPremultiply((opaque & 0xFFFFFF) | (51U << 24U));

    EXPECT_TRUE(isNear(
        converted(std::array<quint8, 4> { 200, 100, 50, 51 }, Layout::Rgba, profile), expected, 2));
    EXPECT_TRUE(
        isNear(converted(std::array<quint16, 4> { 200 * 257, 100 * 257, 50 * 257, 51 * 257 },
                   Layout::Rgba, profile),
            expected, 2));
}

TEST(ColorProfile, ReadsRowsThatLieApart)
{
    const std::array<quint8, 8> rows { 10, 0, 0, 0, 20, 0, 0, 0 };
    QImage image(1, 2, QImage::Format_RGB32);

    ASSERT_TRUE(convertToSrgb({ rows.data(), 4, { 1, 2 }, Layout::Gray }, {}, image));

    EXPECT_EQ(image.pixel(0, 0), 0xFF0A0A0A);
    EXPECT_EQ(image.pixel(0, 1), 0xFF141414);
}

TEST(ColorProfile, TakesTheUsualGammaForSrgb)
{
    EXPECT_TRUE(ColorProfile::fromGamma(0.45455, kSrgb).isSrgb());
    EXPECT_TRUE(ColorProfile::fromGamma(0.45, kSrgb).isSrgb());
}

TEST(ColorProfile, ConvertsFromAnotherGamma)
{
    const ColorProfile linear = ColorProfile::fromGamma(1.0, kSrgb);

    EXPECT_TRUE(isNear(converted(0xFF808080, linear), 0xFFBCBCBC, 1));
}

TEST(ColorProfile, ConvertsFromOtherPrimaries)
{
    auto wide = kSrgb;
    wide.greenX = 0.21;
    wide.greenY = 0.71;

    EXPECT_TRUE(
        isNear(converted(0xFFDB0000, ColorProfile::fromGamma(0.45455, wide)), 0xFFFF0000, 3));
}

TEST(ColorProfile, TakesNonsenseForSrgb)
{
    for (const double gamma : { 0.0, -1.0, 1e9, std::nan("") })
        EXPECT_TRUE(ColorProfile::fromGamma(gamma, kSrgb).isSrgb()) << gamma;
    EXPECT_TRUE(ColorProfile::fromGamma(1.0, { 0, 0, 0, 0, 0, 0, 0, 0 }).isSrgb());
    EXPECT_TRUE(ColorProfile::fromGamma(1.0, { .3, .3, .3, .3, .3, .3, .3, .3 }).isSrgb());
}

TEST(ColorProfile, KnowsTheCodePointsOfSrgb)
{
    for (const int transfer : { 1, 6, 13, 14, 15 })
        EXPECT_TRUE(ColorProfile::fromCodePoints(1, transfer).isSrgb()) << transfer;
}

TEST(ColorProfile, ConvertsFromThePrimariesOfCodePoints)
{
    const QRgb pixel = 0xFF806040;

    EXPECT_TRUE(isNear(converted(pixel, ColorProfile::fromCodePoints(12, 13)),
        converted(pixel, profileOf(QColorSpace::DisplayP3)), 2));
    EXPECT_FALSE(ColorProfile::fromCodePoints(9, 1).isSrgb());
    EXPECT_FALSE(ColorProfile::fromCodePoints(1, 5).isSrgb());
}

TEST(ColorProfile, LeavesTransferFunctionsOfMoreLightAndUnknownNumbersAlone)
{
    for (const int transfer : { 0, 2, 3, 8, 16, 18, 255, -1 })
        EXPECT_TRUE(ColorProfile::fromCodePoints(9, transfer).isSrgb()) << transfer;
    for (const int primaries : { 0, 2, 3, 255, -1 })
        EXPECT_TRUE(ColorProfile::fromCodePoints(primaries, 13).isSrgb()) << primaries;
}

TEST(ColorProfile, KnowsAdobeRgb)
{
    EXPECT_TRUE(isNear(converted(0xFF806040, ColorProfile::adobeRgb()),
        converted(0xFF806040, profileOf(QColorSpace::AdobeRgb)), 2));
}

} // namespace

} // namespace quorvane
