// SPDX-License-Identifier: GPL-3.0-or-later
#include "corpus/PixelReferences.h"

#include <fnmatch.h>

#include <algorithm>
#include <array>
#include <deque>
#include <vector>

namespace quorvane::tests {

namespace {

/// ImageMagick's arguments, as one would type them.
QStringList words(const char* text) { return QString::fromLatin1(text).split(QLatin1Char(' ')); }

/// EXIF's orientations, by ImageMagick's names.
constexpr std::array<const char*, 8> kOrientations { "TopLeft", "TopRight", "BottomRight",
    "BottomLeft", "LeftTop", "RightTop", "RightBottom", "LeftBottom" };

/// \param shape  of the names of files turned by EXIF, with %1 for its number, 2 to 8.
void addOriented(std::vector<PixelReference>& all, const char* shape, Tool tool)
{
    static std::deque<QByteArray> names; // They outlive the rows.
    for (size_t i = 1; i < kOrientations.size(); ++i) {
        names.push_back(QString::fromLatin1(shape).arg(i + 1).toLatin1());
        const QStringList turn { QStringLiteral("-orient"), QLatin1String(kOrientations[i]) };
        PixelReference row { .names = names.back().constData(), .tool = tool };
        (tool == Tool::ImageMagick ? row.arguments : row.finish) = turn;
        row.reason = "the program does not look for EXIF in this format";
        all.push_back(row);
    }
}

/// Files whose gAMA ImageMagick does not obey: light is the sample to the power of 1 / gamma.
void addGammas(std::vector<PixelReference>& all)
{
    constexpr std::array<std::array<const char*, 2>, 5> kGammas { { { "png/pngsuite/g03*", "0.35" },
        { "png/pngsuite/g05*", "0.55" }, { "png/pngsuite/g07*", "0.70" },
        { "png/pngsuite/g25*", "2.50" }, { "png/gamma-1.6.png", "0.625" } } };
    for (const auto& [name, gamma] : kGammas) {
        all.push_back({ .names = name,
            .tool = Tool::ImageMagick,
            .arguments = words("-set colorspace sRGB -gamma") + words(gamma)
                + words("-set colorspace RGB -colorspace sRGB"),
            .reason = "the program ignores gAMA and is told its value" });
    }
}

/// The rows for single files, each with its reason.
void addExceptions(std::vector<PixelReference>& all)
{
    const std::vector<PixelReference> exceptions {
        { .names = "jpeg/mjpeg-frame-no-dht.jpg",
            .tool = Tool::Ffmpeg,
            .reason = "djpeg calls a file without Huffman tables corrupt" },
        { .names = "wrongext/jpeg-named.png",
            .tool = Tool::ImageMagick,
            .format = "jpeg",
            .reason = "has a profile, which djpeg ignores" },
        { .names = "orientation/tiff/jpeg7-6.tif",
            .tool = Tool::ImageMagick,
            .arguments = words("-flop"),
            .reason = "ImageMagick shows it mirrored, which nobody who sees the picture doubts" },
        { .names = "orientation/tiff/jpeg6-8.tif",
            .reason = "ImageMagick shows JPEG of TIFF 6's first kind in false colours" },
        { .names = "tiff/cmyk-4c-8b.tiff",
            .tool = Tool::ImageMagick,
            .arguments = words("-alpha off"),
            .reason = "ours shows inks without their transparency" },
        { .names = "bmp/bmpsuite-g/rgb32*",
            .tool = Tool::ImageMagick,
            .arguments = words("-alpha off"),
            .reason = "the fourth byte is padding, which ImageMagick takes for opacity" },
        { .names = "tga/utc*",
            .tool = Tool::ImageMagick,
            .arguments = words("-alpha off"),
            .reason = "what the program takes for opacity would leave nothing to see" },
        { .names = "ico/multiple_entries_with_different_bit_depth.ico",
            .tool = Tool::ImageMagick,
            .frame = 6,
            .reason = "of the size of the first entry, the deepest picture is shown" },
        { .names = "pnm/sample.pfm",
            .tool = Tool::ImageMagick,
            .arguments = words("-set colorspace RGB -colorspace sRGB"),
            .reason = "its samples are proportional to light, which ImageMagick does not know" },
        { .names = "webp/animated*",
            .tool = Tool::ImageMagick,
            .reason = "dwebp refuses animations" },
        { .names = "webp/extended-icc.webp",
            .tool = Tool::ImageMagick,
            .reason = "has a profile, which dwebp ignores" },
        { .names = "heif/3-pugs.heic",
            .tool = Tool::HeifConvert,
            .finish = words("+repage"),
            .frame = 2,
            .reason = "the second is the primary one" },
        { .names = "heif/huge-200MP-o6.heic",
            .reason = "takes heif-convert half a minute, and ImageMagick refuses its result" },
        { .names = "heif/700x476.heic",
            .tool = Tool::HeifConvertToJpeg,
            .finish = words("-alpha off +repage"),
            .reason = "libpng refuses its profile; a JPEG has no opacity" },
        { .names = "avif/profile-red-at-12-swapped.avif",
            .tool = Tool::HeifConvertToJpeg,
            .tolerance = { .share = 0.03 },
            .finish = words("+repage"),
            .reason = "libpng refuses its profile; a JPEG's edges are less sharp in colour" },
        { .names = "avif/sofa_grid1x5_420.avif",
            .tool = Tool::HeifConvert,
            .finish = words("+repage"),
            .frame = 1,
            .reason = "the tiles are listed as pictures too" },
        { .names = "avif/colors-animated-*",
            .tool = Tool::Ffmpeg,
            .reason = "heif-convert refuses animations" },
        { .names = "avif/colors_hdr_p3.avif", .reason = "how far it is toned down is our choice" },
        { .names = "avif/cosmos1650_yuv444_10bpc_p3pq.avif",
            .reason = "how far it is toned down is our choice" },
        { .names = "jxl/alpha_premultiplied.jxl",
            .tool = Tool::Djxl,
            .arguments = words("--bits_per_sample 16"),
            .finish = words("-alpha off +repage"),
            .reason = "djxl cannot write its 12 bits, and writes colours multiplied by opacity" },
        { .names = "svg/inches.svg",
            .reason = "ours counts 72 pixels an inch, for which this drawing is too large" },
        { .names = "raw/kodak-dc50.kdc",
            .tool = Tool::DcrawEmu,
            .tolerance = { .mean = 4, .difference = 24, .share = 0.03 },
            .arguments = words("-w -o 1"),
            .reason = "its few pixels are interpolated in another way" },
    };
    all.insert(all.end(), exceptions.begin(), exceptions.end());
}

/// The rows for the rest, format by format.
void addFormats(std::vector<PixelReference>& all)
{
    const QStringList repage = words("+repage");
    const QStringList toSrgb = words("-colorspace sRGB"); // Inks without a profile.
    const char* const boundless = "light has no upper bound there; how it is toned down is ours";
    const std::vector<PixelReference> formats {
        { .names = "jpeg/huge-*", .tool = Tool::Djpeg, .arguments = words("-scale 1/8") },
        { .names = "jpeg/profile-*", .tool = Tool::ImageMagick },
        { .names = "jpeg/ycck*", .tool = Tool::ImageMagick },
        { .names = "jpeg/*cmyk*", .tool = Tool::ImageMagick, .arguments = toSrgb },
        { .names = "jpeg/*-o6.jpg", .tool = Tool::ImageMagick },
        { .names = "names/*", .tool = Tool::ImageMagick, .arguments = toSrgb },
        { .names = "jpeg/*", .tool = Tool::Djpeg },
        { .names = "damaged/icc_*.jpeg", .tool = Tool::Djpeg },
        { .names = "wrongext/jpeg-*", .tool = Tool::Djpeg },
        { .names = "*.webp", .tool = Tool::Dwebp },
        { .names = "wrongext/webp-*", .tool = Tool::Dwebp },
        { .names = "*.hei?", .tool = Tool::HeifConvert, .finish = repage },
        { .names = "wrongext/heic-*", .tool = Tool::HeifConvert },
        { .names = "*.avif", .tool = Tool::HeifConvert, .finish = repage },
        { .names = "*.jxl", .tool = Tool::Djxl, .finish = repage },
        { .names = "jp2/*", .tool = Tool::OpjDecompress },
        { .names = "svg/*", .tool = Tool::RsvgConvert },
        { .names = "raw/*", .tool = Tool::DcrawEmu, .arguments = words("-w -o 1") },
        { .names = "exr/*", .reason = boundless },
        { .names = "hdr/*", .reason = boundless },
        { .names = "gif/*",
            .tool = Tool::ImageMagick,
            .arguments = words("-background none -flatten") },
        { .names = "*", .tool = Tool::ImageMagick },
    };
    all.insert(all.end(), formats.begin(), formats.end());
}

/// The first that fits counts.
const std::vector<PixelReference>& references()
{
    static const std::vector<PixelReference> all = [] {
        std::vector<PixelReference> rows;
        addOriented(rows, "orientation/png/exif-o%1.png", Tool::ImageMagick);
        addOriented(rows, "orientation/webp/exif-o%1.webp", Tool::Dwebp);
        addGammas(rows);
        addExceptions(rows);
        addFormats(rows);
        return rows;
    }();
    return all;
}

} // namespace

PixelReference referenceFor(const QByteArray& name)
{
    const auto& all = references();
    const auto found = std::find_if(all.begin(), all.end(), [&](const PixelReference& reference) {
        return fnmatch(reference.names, name.constData(), 0) == 0;
    });
    return found == all.end() ? PixelReference {} : *found;
}

} // namespace quorvane::tests
