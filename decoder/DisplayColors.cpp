// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/DisplayColors.h"

#include "decoder/SampleConversion.h"
#include "decoder/SourceProfile.h"

namespace quorvane {

namespace {

/// The monitor, and the ways to it that were used last.
struct Display {
    SharedProfile profile; ///< Null for sRGB.
    std::shared_ptr<SourceProfile> fromSrgb;
    std::shared_ptr<SourceProfile> lastSource; ///< Of which `fromLast` is made.
    std::shared_ptr<SourceProfile> fromLast;
};

/// Of this thread, since each converts one picture at a time.
Display& display()
{
    static thread_local Display made;
    return made;
}

SourceProfile& wayFrom(const std::shared_ptr<SourceProfile>& source)
{
    Display& to = display();
    if (to.lastSource != source) {
        to.fromLast = std::make_shared<SourceProfile>(source->profile(), to.profile);
        to.lastSource = source;
    }
    return *to.fromLast;
}

} // namespace

void setDisplayProfile(const QByteArray& profile)
{
    display() = {};
    const SharedProfile opened(cmsOpenProfileFromMemTHR(colorLibrary(), profile.constData(),
                                   static_cast<cmsUInt32Number>(profile.size())),
        LibraryProfileCloser());
    if (!opened || cmsGetColorSpace(opened.get()) != cmsSigRgbData)
        return;
    auto fromSrgb = std::make_shared<SourceProfile>(srgbProfile(), opened);
    if (fromSrgb->changesColors())
        display() = { opened, std::move(fromSrgb), nullptr, nullptr };
}

bool convertForDisplay(QImage& image, const ColorProfile& profile)
{
    if (!display().profile)
        return convertToSrgb(image, profile);
    const auto& source = profile.source();
    // What the picture's profile cannot mean counts as sRGB.
    SourceProfile& way = source && canMean(*source, image) ? wayFrom(source) : *display().fromSrgb;
    return convertInPlace(way, image);
}

} // namespace quorvane
