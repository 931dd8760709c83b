// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/SourceProfile.h"

#include <algorithm>
#include <cstdlib>

namespace quorvane {

namespace {

using Model = ColorProfile::Model;

/// Two colours that differ by no more, of 255 in each channel, look the same. Profiles that only
/// approximate sRGB's curve to be small stay within it, a plain gamma of 2.2 does not.
constexpr int kInvisible = 2;

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

} // namespace

cmsContext colorLibrary()
{
    static const cmsContext made = [] {
        const cmsContext fresh = cmsCreateContext(nullptr, nullptr);
        cmsSetLogErrorHandlerTHR(fresh, [](cmsContext, cmsUInt32Number, const char*) {});
        return fresh;
    }();
    return made;
}

const SharedProfile& srgbProfile()
{
    static const SharedProfile made(
        cmsCreate_sRGBProfileTHR(colorLibrary()), LibraryProfileCloser());
    return made;
}

SourceProfile::SourceProfile(SharedProfile profile, SharedProfile target)
    : mProfile(std::move(profile))
    , mTarget(std::move(target))
    , mModel(modelOf(mProfile.get()))
{
}

LibraryTransform SourceProfile::transform(cmsUInt32Number from, cmsUInt32Number to)
{
    const std::lock_guard lock(mMutex);
    LibraryTransform& made = mTransforms[{ from, to }];
    if (!made) {
        const bool hasAlpha = T_EXTRA(from) != 0 && T_EXTRA(to) != 0;
        const cmsUInt32Number flags
            = cmsFLAGS_BLACKPOINTCOMPENSATION | (hasAlpha ? cmsFLAGS_COPY_ALPHA : 0U);
        const cmsHTRANSFORM fresh = cmsCreateTransformTHR(
            colorLibrary(), mProfile.get(), from, mTarget.get(), to, INTENT_PERCEPTUAL, flags);
        if (fresh)
            made.reset(fresh, &cmsDeleteTransform);
    }
    return made;
}

const MatrixConversion* SourceProfile::deepConversion()
{
    std::call_once(
        mDeepIsTried, [this] { mDeep = MatrixConversion::between(mProfile.get(), mTarget.get()); });
    return mDeep ? &*mDeep : nullptr;
}

std::vector<QRgb> SourceProfile::greyTable(Samples::Depth depth)
{
    const bool isDeep = depth == Samples::Depth::Bits16;
    const size_t count = isDeep ? 65536 : 256;
    const size_t channels = mModel == Model::Gray ? 1 : 3;
    std::vector<quint16> greys(count * channels);
    for (size_t i = 0; i < greys.size(); ++i)
        greys[i] = static_cast<quint16>(i / channels * (isDeep ? 1 : 257));
    std::vector<QRgb> table(count, 0xFFFFFFFF);
    if (const MatrixConversion* const deep = channels == 3 ? deepConversion() : nullptr) {
        deep->convert(greys.data(), 3, table.data(), static_cast<int>(count));
        return table;
    }
    const LibraryTransform library
        = transform(channels == 1 ? TYPE_GRAY_16 : TYPE_RGB_16, TYPE_BGRA_8);
    if (!library)
        return {};
    cmsDoTransform(library.get(), greys.data(), table.data(), static_cast<cmsUInt32Number>(count));
    return table;
}

bool SourceProfile::changesColors()
{
    if (mModel != Model::Rgb && mModel != Model::Gray)
        return true;
    std::vector<QRgb> before;
    std::vector<QRgb> after;
    if (mModel == Model::Rgb) {
        const LibraryTransform library = transform(TYPE_BGRA_8, TYPE_BGRA_8);
        if (!library)
            return false;
        before = sampleColours();
        after.resize(before.size());
        cmsDoTransform(library.get(), before.data(), after.data(),
            static_cast<cmsUInt32Number>(before.size()));
    } else {
        before = sampleGreys();
        after = greyTable(Samples::Depth::Bits8);
        if (after.empty())
            return false;
    }
    return !std::equal(before.begin(), before.end(), after.begin(), &looksTheSame);
}

} // namespace quorvane
