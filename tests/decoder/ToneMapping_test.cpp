// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/ToneMapping.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <vector>

namespace quorvane {
namespace {

std::vector<int> mapped(const std::vector<float>& grays)
{
    QImage image(static_cast<int>(grays.size()), 1, QImage::Format_RGB32);
    toneMapLinear({ grays.data(), image.width(), image.size(), 1 }, image);
    std::vector<int> values;
    values.reserve(grays.size());
    for (int x = 0; x < image.width(); ++x)
        values.push_back(qGreen(image.pixel(x, 0)));
    return values;
}

QRgb coded(std::array<quint16, 3> codes, int primaries, int transfer)
{
    QImage image(1, 1, QImage::Format_RGB32);
    toneMapCoded({ codes.data(), 6, { 1, 1 }, Samples::Layout::Rgb, Samples::Depth::Bits16 },
        primaries, transfer, image);
    return image.pixel(0, 0);
}

quint16 code(double value) { return static_cast<quint16>(std::lround(value * 65535)); }

TEST(ToneMapping, KeepsEveryValueOfAPictureThatFits)
{
    std::vector<float> light;
    std::vector<int> expected;
    for (int i = 0; i < 256; ++i) {
        const double value = i / 255.0;
        light.push_back(static_cast<float>(
            value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4)));
        expected.push_back(i);
    }

    EXPECT_EQ(mapped(light), expected);
}

TEST(ToneMapping, CompressesBrightPicturesWithoutCuttingThemOff)
{
    const auto values = mapped({ 0.05F, 0.18F, 0.5F, 1.0F, 2.0F, 4.0F, 8.0F, 16.0F });

    for (size_t i = 1; i < values.size(); ++i)
        EXPECT_GT(values[i], values[i - 1]);
    EXPECT_GT(values.front(), 10);
    EXPECT_EQ(values.back(), 255);
}

TEST(ToneMapping, BringsTheMiddleOfAPictureInLargeUnitsToWhereTheEyeExpectsIt)
{
    const auto values = mapped({ 500, 1000, 2000 });

    EXPECT_GT(values[1], 90);
    EXPECT_LT(values[1], 220);
    EXPECT_LT(values[0], values[1]);
    EXPECT_LT(values[1], values[2]);
}

TEST(ToneMapping, TakesTheNearestSaneValueForWhatIsNone)
{
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    const auto values
        = mapped({ std::numeric_limits<float>::quiet_NaN(), -kInfinity, -1, kInfinity, 0.5F });

    EXPECT_EQ(values, (std::vector<int> { 0, 0, 0, 255, 188 }));
}

TEST(ToneMapping, MultipliesAlphaIntoTheColours)
{
    const std::vector<float> light { 1, 0, 1, 0.5F };
    QImage image(1, 1, QImage::Format_ARGB32_Premultiplied);

    toneMapLinear({ light.data(), 4, { 1, 1 }, 4 }, image);

    EXPECT_EQ(qAlpha(reinterpret_cast<const QRgb*>(image.constBits())[0]), 128);
    EXPECT_EQ(qRed(reinterpret_cast<const QRgb*>(image.constBits())[0]), 128);
    EXPECT_EQ(qGreen(reinterpret_cast<const QRgb*>(image.constBits())[0]), 0);
}

TEST(ToneMapping, ShowsReferenceWhiteOfPqAsWhite)
{
    // 203 cd/m² are 58.1 % in PQ.
    const QRgb white = coded({ code(0.5807), code(0.5807), code(0.5807) }, 9, 16);

    EXPECT_NEAR(qRed(white), 255, 1);
    EXPECT_NEAR(qBlue(white), 255, 1);
    EXPECT_EQ(coded({ 0, 0, 0 }, 9, 16), qRgb(0, 0, 0));
}

TEST(ToneMapping, ShowsReferenceWhiteOfHlgAsWhite)
{
    // 75 % in HLG are 203 cd/m² on a screen of 1000.
    const QRgb white = coded({ code(0.75), code(0.75), code(0.75) }, 9, 18);

    EXPECT_NEAR(qRed(white), 255, 2);
    EXPECT_NEAR(qGreen(white), 255, 2);
}

TEST(ToneMapping, TurnsWidePrimariesIntoMoreSaturatedColours)
{
    const QRgb same = coded({ code(0.5), code(0.25), code(0.25) }, 1, 8);
    const QRgb wide = coded({ code(0.5), code(0.25), code(0.25) }, 12, 8);

    EXPECT_EQ(qRed(same), 188);
    EXPECT_EQ(qGreen(same), 137);
    EXPECT_GT(qRed(wide), qRed(same));
    EXPECT_LT(qGreen(wide), qGreen(same));
}

TEST(ToneMapping, KnowsWhichTransferFunctionsItIsFor)
{
    EXPECT_TRUE(isHighDynamicRange(8));
    EXPECT_TRUE(isHighDynamicRange(16));
    EXPECT_TRUE(isHighDynamicRange(18));
    EXPECT_FALSE(isHighDynamicRange(13));
}

} // namespace
} // namespace quorvane
