// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/DisplayColors.h"
#include "decoder/FakeReader.h"
#include "decoder/Rendering.h"

#include <QColorSpace>
#include <QColorTransform>

#include <gtest/gtest.h>
#include <lcms2.h>

namespace quorvane {

namespace {

const QRgb kReddish = qRgb(200, 60, 40);

QByteArray iccOf(QColorSpace::NamedColorSpace name) { return QColorSpace(name).iccProfile(); }

QImage solid(QRgb colour, QImage::Format format = QImage::Format_RGB32)
{
    QImage image(4, 3, format);
    image.fill(colour);
    return image;
}

/// As another library converts it.
QRgb converted(QRgb colour, QColorSpace::NamedColorSpace from, QColorSpace::NamedColorSpace to)
{
    return QColorSpace(from).transformationToColorSpace(QColorSpace(to)).map(colour);
}

bool isNear(QRgb a, QRgb b)
{
    constexpr int kTolerance = 2;
    return std::abs(qRed(a) - qRed(b)) <= kTolerance
        && std::abs(qGreen(a) - qGreen(b)) <= kTolerance
        && std::abs(qBlue(a) - qBlue(b)) <= kTolerance && qAlpha(a) == qAlpha(b);
}

struct DisplayColors : testing::Test {
    ~DisplayColors() override { setDisplayProfile({}); }

    static QRgb shown(QRgb colour, const ColorProfile& profile)
    {
        QImage image = solid(colour);
        EXPECT_TRUE(convertForDisplay(image, profile));
        return image.pixel(3, 2);
    }
};

TEST_F(DisplayColors, AreThoseOfSrgbWhereNothingIsSaid)
{
    const auto p3 = ColorProfile::fromIcc(iccOf(QColorSpace::DisplayP3));

    EXPECT_EQ(shown(kReddish, {}), kReddish);
    EXPECT_PRED2(isNear, shown(kReddish, p3),
        converted(kReddish, QColorSpace::DisplayP3, QColorSpace::SRgb));
}

TEST_F(DisplayColors, AreThoseOfTheMonitorsProfile)
{
    setDisplayProfile(iccOf(QColorSpace::AdobeRgb));

    EXPECT_PRED2(
        isNear, shown(kReddish, {}), converted(kReddish, QColorSpace::SRgb, QColorSpace::AdobeRgb));
    EXPECT_PRED2(isNear, shown(kReddish, ColorProfile::fromIcc(iccOf(QColorSpace::ProPhotoRgb))),
        converted(kReddish, QColorSpace::ProPhotoRgb, QColorSpace::AdobeRgb));
}

TEST_F(DisplayColors, KeepWhatAMonitorOfManyColoursCanShow)
{
    const QRgb deepGreen = qRgb(0, 255, 0);
    setDisplayProfile(iccOf(QColorSpace::DisplayP3));

    // Beyond sRGB, which would have cut it off on the way.
    EXPECT_PRED2(
        isNear, shown(deepGreen, ColorProfile::fromIcc(iccOf(QColorSpace::DisplayP3))), deepGreen);
}

TEST_F(DisplayColors, TakeSrgbForWhatTheProfileCannotMean)
{
    setDisplayProfile(iccOf(QColorSpace::AdobeRgb));
    const QByteArray gammaOfGreys = [] {
        cmsToneCurve* const curve = cmsBuildGamma(nullptr, 1.8);
        cmsHPROFILE profile = cmsCreateGrayProfile(cmsD50_xyY(), curve);
        cmsUInt32Number size = 0;
        cmsSaveProfileToMem(profile, nullptr, &size);
        QByteArray bytes(static_cast<qsizetype>(size), '\0');
        cmsSaveProfileToMem(profile, bytes.data(), &size);
        cmsCloseProfile(profile);
        cmsFreeToneCurve(curve);
        return bytes;
    }();

    EXPECT_PRED2(isNear, shown(kReddish, ColorProfile::fromIcc(gammaOfGreys)),
        converted(kReddish, QColorSpace::SRgb, QColorSpace::AdobeRgb));
    EXPECT_NE(shown(qRgb(90, 90, 90), ColorProfile::fromIcc(gammaOfGreys)), qRgb(90, 90, 90));
}

TEST_F(DisplayColors, AreThoseOfSrgbWhereTheProfileIsOfNoUse)
{
    for (const QByteArray& profile : { QByteArray("nonsense"), iccOf(QColorSpace::SRgb),
             iccOf(QColorSpace::AdobeRgb).first(200) }) {
        setDisplayProfile(profile);
        EXPECT_EQ(shown(kReddish, {}), kReddish);
    }
}

TEST_F(DisplayColors, AreSrgbAgainWhenTheProfileGoes)
{
    setDisplayProfile(iccOf(QColorSpace::AdobeRgb));
    setDisplayProfile({});

    EXPECT_EQ(shown(kReddish, {}), kReddish);
}

TEST_F(DisplayColors, KeepTransparency)
{
    setDisplayProfile(iccOf(QColorSpace::AdobeRgb));
    QImage image
        = solid(qPremultiply(qRgba(200, 60, 40, 128)), QImage::Format_ARGB32_Premultiplied);

    ASSERT_TRUE(convertForDisplay(image, {}));

    EXPECT_EQ(qAlpha(image.pixel(0, 0)), 128);
    EXPECT_NE(image.pixel(0, 0), qPremultiply(qRgba(200, 60, 40, 128)));
}

TEST_F(DisplayColors, AreThoseOfEveryPictureThatIsRendered)
{
    setDisplayProfile(iccOf(QColorSpace::AdobeRgb));
    tests::FakeReader reader({ { 4, 3 }, 6 });

    const auto image = renderedImage(reader);

    ASSERT_TRUE(image);
    EXPECT_PRED2(isNear, image->pixel(1, 1),
        converted(tests::kFakeColour, QColorSpace::SRgb, QColorSpace::AdobeRgb));
}

} // namespace

} // namespace quorvane
