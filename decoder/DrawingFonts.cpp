// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/DrawingFonts.h"

#include <fontconfig/fontconfig.h>

#include <array>
#include <memory>
#include <set>
#include <string>

namespace quorvane {

namespace {

/// The library that draws keeps ten files open, and opens a closed one again when it needs it.
constexpr std::array kFaces { "sans-serif", "sans-serif:bold", "sans-serif:italic",
    "sans-serif:bold:italic", "serif", "serif:bold", "serif:italic", "monospace",
    "monospace:bold" };

template <auto Release> struct Releaser {
    template <typename T> void operator()(T* object) const { Release(object); }
};
using Pattern = std::unique_ptr<FcPattern, Releaser<FcPatternDestroy>>;
using Config = std::unique_ptr<FcConfig, Releaser<FcConfigDestroy>>;

const FcChar8* text(const std::string& string)
{
    return reinterpret_cast<const FcChar8*>(string.c_str());
}

std::string valueOf(const Pattern& pattern, const char* object)
{
    FcChar8* value = nullptr;
    if (!pattern || FcPatternGetString(pattern.get(), object, 0, &value) != FcResultMatch)
        return {};
    return reinterpret_cast<const char*>(value);
}

/// The installed font that the desktop takes for `face`.
Pattern fontFor(const std::string& face)
{
    const Pattern wanted(FcNameParse(text(face)));
    if (!wanted)
        return nullptr;
    FcConfigSubstitute(nullptr, wanted.get(), FcMatchPattern);
    FcDefaultSubstitute(wanted.get());
    FcResult result = FcResultNoMatch;
    return Pattern(FcFontMatch(nullptr, wanted.get(), &result));
}

/// That `family` is to be had for the name of a group of families.
std::string aliasFor(const std::string& group, const std::string& family)
{
    return "<alias binding='same'><family>" + group + "</family><prefer><family>" + family
        + "</family></prefer></alias>";
}

} // namespace

void keepUsualFonts()
{
    const Config config(FcConfigCreate());
    if (!config)
        return;
    std::set<std::string> files;
    std::string rules = "<fontconfig>";
    for (const std::string face : kFaces) {
        const Pattern font = fontFor(face);
        const std::string file = valueOf(font, FC_FILE);
        const std::string family = valueOf(font, FC_FAMILY);
        if (file.empty())
            continue;
        if (files.insert(file).second)
            FcConfigAppFontAddFile(config.get(), text(file));
        if (face.find(':') == std::string::npos && family.find_first_of("<&") == std::string::npos)
            rules += aliasFor(face, family);
    }
    rules += "</fontconfig>";
    FcConfigParseAndLoadFromMemory(config.get(), text(rules), FcFalse);
    if (!files.empty())
        FcConfigSetCurrent(config.get());
}

} // namespace quorvane
