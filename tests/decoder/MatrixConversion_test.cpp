// SPDX-License-Identifier: GPL-3.0-or-later
// Deep colours between profiles of curves and a matrix, and what is none.
#include "decoder/MatrixConversion.h"

#include <QColorSpace>

#include <gtest/gtest.h>
#include <lcms2.h>

#include <cmath>
#include <cstdlib>
#include <memory>

namespace quorvane {

namespace {

using Profile = std::unique_ptr<void, decltype(&cmsCloseProfile)>;

Profile profileOf(QColorSpace::NamedColorSpace name)
{
    const QByteArray icc = QColorSpace(name).iccProfile();
    return { cmsOpenProfileFromMem(icc.constData(), static_cast<cmsUInt32Number>(icc.size())),
        &cmsCloseProfile };
}

Profile srgb() { return { cmsCreate_sRGBProfile(), &cmsCloseProfile }; }

/// What the colour library says when it may take its time.
std::array<double, 3> exactly(const Profile& from, const std::array<quint16, 3>& pixel)
{
    const Profile to = srgb();
    cmsHTRANSFORM transform = cmsCreateTransform(
        from.get(), TYPE_RGB_16, to.get(), TYPE_RGB_DBL, INTENT_PERCEPTUAL, cmsFLAGS_NOOPTIMIZE);
    std::array<double, 3> shown {};
    cmsDoTransform(transform, pixel.data(), shown.data(), 1);
    cmsDeleteTransform(transform);
    for (double& value : shown)
        value = std::min(std::max(value, 0.0), 1.0) * 255;
    return shown;
}

TEST(MatrixConversion, IsExactWithinAndBeyondTheTargetsColours)
{
    for (const auto name : { QColorSpace::AdobeRgb, QColorSpace::DisplayP3,
             QColorSpace::ProPhotoRgb, QColorSpace::SRgbLinear }) {
        const Profile from = profileOf(name);
        const auto conversion = MatrixConversion::between(from.get(), srgb().get());
        ASSERT_TRUE(conversion);
        for (const std::array<quint16, 3>& pixel : { std::array<quint16, 3> { 0, 0, 0 },
                 { 65535, 65535, 65535 }, { 65535, 0, 0 }, { 0, 65535, 300 }, { 100, 90, 80 },
                 { 2000, 60000, 30000 }, { 40000, 30000, 20000 } }) {
            QRgb shown = 0;
            conversion->convert(pixel.data(), 3, &shown, 1);

            const auto expected = exactly(from, pixel);
            EXPECT_NEAR(qRed(shown), expected[0], 0.6);
            EXPECT_NEAR(qGreen(shown), expected[1], 0.6);
            EXPECT_NEAR(qBlue(shown), expected[2], 0.6);
            EXPECT_EQ(qAlpha(shown), 255);
        }
    }
}

TEST(MatrixConversion, StepsOverTheOpacity)
{
    const Profile from = profileOf(QColorSpace::SRgb);
    const auto conversion = MatrixConversion::between(from.get(), srgb().get());
    ASSERT_TRUE(conversion);
    const std::array<quint16, 8> pixels { 0, 0, 0, 77, 65535, 65535, 65535, 77 };
    std::array<QRgb, 2> shown {};

    conversion->convert(pixels.data(), 4, shown.data(), 2);

    EXPECT_EQ(shown[0], 0xFF000000);
    EXPECT_EQ(shown[1], 0xFFFFFFFF);
}

TEST(MatrixConversion, IsForCurvesAndAMatrixOnly)
{
    cmsToneCurve* const curve = cmsBuildGamma(nullptr, 2.2);
    const Profile grey(cmsCreateGrayProfile(cmsD50_xyY(), curve), &cmsCloseProfile);
    cmsFreeToneCurve(curve);
    const Profile lab(cmsCreateLab4Profile(nullptr), &cmsCloseProfile);

    EXPECT_FALSE(MatrixConversion::between(grey.get(), srgb().get()));
    EXPECT_FALSE(MatrixConversion::between(srgb().get(), lab.get()));
}

} // namespace

} // namespace quorvane
