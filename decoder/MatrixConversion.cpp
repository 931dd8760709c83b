// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/MatrixConversion.h"

#include <QTransform>

#include <lcms2.h>

#include <algorithm>
#include <cmath>
#include <memory>

namespace quorvane {

namespace {

constexpr size_t kValues = 65536;
constexpr float kGreatest = 65535;

constexpr std::array kCurveTags { cmsSigRedTRCTag, cmsSigGreenTRCTag, cmsSigBlueTRCTag };
constexpr std::array kColorantTags { cmsSigRedColorantTag, cmsSigGreenColorantTag,
    cmsSigBlueColorantTag };

using Curve = std::unique_ptr<cmsToneCurve, decltype(&cmsFreeToneCurve)>;

bool isOfThatKind(cmsHPROFILE profile, cmsUInt32Number direction)
{
    return cmsGetColorSpace(profile) == cmsSigRgbData && cmsGetPCS(profile) == cmsSigXYZData
        && cmsIsMatrixShaper(profile) != 0 && cmsIsCLUT(profile, INTENT_PERCEPTUAL, direction) == 0;
}

/// The profile's curve; the profile keeps it.
const cmsToneCurve* curveOf(cmsHPROFILE profile, size_t channel)
{
    return static_cast<const cmsToneCurve*>(cmsReadTag(profile, kCurveTags.at(channel)));
}

/// A row for each primary; nothing where one is missing.
std::optional<QTransform> colorantsOf(cmsHPROFILE profile)
{
    std::array<const cmsCIEXYZ*, 3> rows {};
    for (size_t i = 0; i < rows.size(); ++i)
        rows.at(i) = static_cast<const cmsCIEXYZ*>(cmsReadTag(profile, kColorantTags.at(i)));
    const auto& [r, g, b] = rows;
    if (!r || !g || !b)
        return {};
    return QTransform(r->X, r->Y, r->Z, g->X, g->Y, g->Z, b->X, b->Y, b->Z);
}

/// Between 0 and 1, whatever a broken curve says.
float saneLight(float light) { return light > 0 ? std::min(light, 1.0F) : 0; }

std::vector<float> lightTable(const cmsToneCurve* curve)
{
    std::vector<float> table(kValues);
    for (size_t i = 0; i < kValues; ++i)
        table[i] = saneLight(cmsEvalToneCurveFloat(curve, static_cast<float>(i) / kGreatest));
    return table;
}

std::vector<quint8> shownTable(const cmsToneCurve* curve)
{
    const Curve reversed(cmsReverseToneCurve(curve), &cmsFreeToneCurve);
    std::vector<quint8> table(reversed ? kValues : 0);
    for (size_t i = 0; i < table.size(); ++i) {
        const float light = static_cast<float>(i) / kGreatest;
        const float shown = saneLight(cmsEvalToneCurveFloat(reversed.get(), light));
        table[i] = static_cast<quint8>(std::lround(shown * 255));
    }
    return table;
}

} // namespace

std::optional<MatrixConversion> MatrixConversion::between(void* from, void* to)
{
    if (!isOfThatKind(from, LCMS_USED_AS_INPUT) || !isOfThatKind(to, LCMS_USED_AS_OUTPUT))
        return {};
    const auto source = colorantsOf(from);
    const auto target = colorantsOf(to);
    bool isInvertible = false;
    const QTransform matrix
        = source && target ? *source * target->inverted(&isInvertible) : QTransform();
    if (!isInvertible)
        return {};
    MatrixConversion made;
    for (size_t channel = 0; channel < 3; ++channel) {
        const cmsToneCurve* const curve = curveOf(from, channel);
        const cmsToneCurve* const targetCurve = curveOf(to, channel);
        if (!curve || !targetCurve)
            return {};
        made.mLight.at(channel) = lightTable(curve);
        made.mShown.at(channel) = shownTable(targetCurve);
        if (made.mShown.at(channel).empty())
            return {};
    }
    const auto row = [](double red, double green, double blue) {
        return std::array { static_cast<float>(red), static_cast<float>(green),
            static_cast<float>(blue) };
    };
    made.mMatrix = { row(matrix.m11(), matrix.m21(), matrix.m31()),
        row(matrix.m12(), matrix.m22(), matrix.m32()),
        row(matrix.m13(), matrix.m23(), matrix.m33()) };
    return made;
}

void MatrixConversion::convert(const quint16* from, int channels, QRgb* to, int width) const
{
    for (int x = 0; x < width; ++x, from += channels) {
        const float red = mLight[0][from[0]];
        const float green = mLight[1][from[1]];
        const float blue = mLight[2][from[2]];
        const auto shown = [&](size_t channel) {
            const auto& row = mMatrix[channel];
            const float light = row[0] * red + row[1] * green + row[2] * blue;
            const float index = std::clamp(light, 0.0F, 1.0F) * kGreatest + 0.5F;
            return static_cast<int>(mShown[channel][static_cast<size_t>(index)]);
        };
        to[x] = qRgb(shown(0), shown(1), shown(2));
    }
}

} // namespace quorvane
