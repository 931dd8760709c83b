// SPDX-License-Identifier: GPL-3.0-or-later
// The colour library's profile of a picture, and what it converts with.
#pragma once

#include "decoder/ColorProfile.h"
#include "decoder/MatrixConversion.h"

#include <lcms2.h>

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

namespace quorvane {

/// The library's state: no plugins, and silent. Lives as long as the program.
cmsContext colorLibrary();

/// Ends what a LibraryProfile owns.
struct LibraryProfileCloser {
    void operator()(cmsHPROFILE profile) const { cmsCloseProfile(profile); }
};

/// A profile of the library, owned.
using LibraryProfile = std::unique_ptr<void, LibraryProfileCloser>;
using SharedProfile = std::shared_ptr<void>;

/// The one that pictures are converted to unless they are for a monitor that has its own.
const SharedProfile& srgbProfile();

/// A conversion by the library (cmsHTRANSFORM), shared.
using LibraryTransform = std::shared_ptr<void>;

/// The profile of a picture, with the conversions from it: making one can take longer than
/// converting a picture. Thread: any, several at once.
class SourceProfile {
public:
    /// \param profile  not null. \param target  what it is converted to, of three channels.
    explicit SourceProfile(SharedProfile profile, SharedProfile target = srgbProfile());

    const SharedProfile& profile() const { return mProfile; }

    /// What its numbers mean.
    ColorProfile::Model model() const { return mModel; }

    /// Between two of the library's pixel formats. Null when the library refuses.
    LibraryTransform transform(cmsUInt32Number from, cmsUInt32Number to);

    /// For 16 bits of red, green and blue. Null when transform() must do.
    const MatrixConversion* deepConversion();

    /// Every grey value of `depth` as a pixel of the target; empty when the library refuses.
    std::vector<QRgb> greyTable(Samples::Depth depth);

    /// Whether the library can convert from it, and does more than nobody would see.
    bool changesColors();

private:
    const SharedProfile mProfile;
    const SharedProfile mTarget;
    const ColorProfile::Model mModel;
    std::mutex mMutex;
    std::map<std::pair<cmsUInt32Number, cmsUInt32Number>, LibraryTransform> mTransforms;
    std::once_flag mDeepIsTried;
    std::optional<MatrixConversion> mDeep;
};

} // namespace quorvane
