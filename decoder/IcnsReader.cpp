// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/IcnsReader.h"

#include "decoder/ByteReader.h"
#include "decoder/FileBytes.h"
#include "decoder/Jpeg2000Reader.h"
#include "decoder/PngReader.h"
#include "decoder/ReaderFailures.h"
#include "decoder/Transparency.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <optional>
#include <vector>

extern "C" { // Which its header does not say itself.
#include <icns.h>
}

namespace quorvane {

namespace {

/// A complete file of another format inside this one. Its bytes are copied by whoever keeps them.
OpenedPicture openInside(const QByteArray& bytes)
{
    FileBytes file(bytes);
    if (isPng(bytes))
        return openPng(file);
    return openJpeg2000(file);
}

constexpr qsizetype kIcnsHeader = 8; ///< Of the file, and of each element in it.

quint32 code(const char* name) { return bigAt<quint32>(QByteArrayView(name, 4), 0); }

struct IcnsKind {
    const char* name;
    int side;
};

/// Elements that are files of another format, mostly.
constexpr std::array kFileKinds {
    IcnsKind { "icp4", 16 },
    IcnsKind { "icp5", 32 },
    IcnsKind { "icp6", 64 },
    IcnsKind { "ic07", 128 },
    IcnsKind { "ic08", 256 },
    IcnsKind { "ic09", 512 },
    IcnsKind { "ic10", 1024 },
    IcnsKind { "ic11", 32 },
    IcnsKind { "ic12", 64 },
    IcnsKind { "ic13", 256 },
    IcnsKind { "ic14", 512 },
};

/// Elements of older times, the best of a size first.
constexpr std::array kOldKinds {
    IcnsKind { "it32", 128 },
    IcnsKind { "ih32", 48 },
    IcnsKind { "ich8", 48 },
    IcnsKind { "ich4", 48 },
    IcnsKind { "ich#", 48 },
    IcnsKind { "il32", 32 },
    IcnsKind { "icl8", 32 },
    IcnsKind { "icl4", 32 },
    IcnsKind { "ICN#", 32 },
    IcnsKind { "is32", 16 },
    IcnsKind { "ics8", 16 },
    IcnsKind { "ics4", 16 },
    IcnsKind { "ics#", 16 },
};

struct IcnsElement {
    quint32 kind;
    QByteArray bytes;
};

/// \return nothing when the file ends before its elements do.
std::optional<std::vector<IcnsElement>> icnsElements(const QByteArray& file)
{
    const qint64 end = bigAt<quint32>(file, 4);
    if (end > file.size())
        return {};
    std::vector<IcnsElement> elements;
    qint64 at = kIcnsHeader;
    while (at + kIcnsHeader <= end) {
        const qint64 size = bigAt<quint32>(file, at + 4);
        if (size < kIcnsHeader || at + size > end)
            return {};
        elements.push_back(
            { bigAt<quint32>(file, at), file.mid(at + kIcnsHeader, size - kIcnsHeader) });
        at += size;
    }
    return elements;
}

template <typename Kinds> int sideOf(quint32 kind, const Kinds& kinds)
{
    const auto found = std::find_if(kinds.begin(), kinds.end(),
        [&](const IcnsKind& candidate) { return code(candidate.name) == kind; });
    return found == kinds.end() ? 0 : found->side;
}

/// The largest element of these kinds, the first of several; null when there is none.
template <typename Kinds, typename Condition>
const IcnsElement* largestOf(
    const std::vector<IcnsElement>& elements, const Kinds& kinds, Condition isUsable)
{
    const IcnsElement* best = nullptr;
    for (const IcnsKind& kind : kinds) {
        for (const IcnsElement& element : elements) {
            if (element.kind == code(kind.name) && isUsable(element)
                && (!best || kind.side > sideOf(best->kind, kinds)))
                best = &element;
        }
    }
    return best;
}

struct FamilyDeleter {
    void operator()(icns_family_t* family) const { std::free(family); }
};

/// An old element and its mask, by the library.
class OldIcnsReader : public PictureReader {
public:
    OldIcnsReader(QByteArray file, quint32 kind, int side)
        : mFile(std::move(file))
        , mKind(kind)
        , mSide(side)
    {
    }

    PictureHeader header() const override { return { { mSide, mSide } }; }

    Result<DecodedPicture> decode(QSize wanted, const ImageMaker& makeImage) override
    {
        Q_UNUSED(wanted)
        icns_set_print_errors(0);
        icns_family_t* imported = nullptr;
        auto* const data = reinterpret_cast<icns_byte_t*>(mFile.data());
        const auto size = static_cast<icns_size_t>(mFile.size());
        if (icns_import_family_data(size, data, &imported) != ICNS_STATUS_OK)
            return damaged("no icons");
        const std::unique_ptr<icns_family_t, FamilyDeleter> family(imported);
        icns_image_t icon {};
        const int status = icns_get_image32_with_mask_from_family(
            family.get(), static_cast<icns_type_t>(mKind), &icon);
        auto picture = status == ICNS_STATUS_OK ? pictureOf(icon, makeImage)
                                                : damaged("the icon cannot be read");
        icns_free_image(&icon);
        return picture;
    }

private:
    Result<DecodedPicture> pictureOf(const icns_image_t& icon, const ImageMaker& makeImage) const
    {
        const auto side = static_cast<quint32>(mSide);
        if (icon.imageWidth != side || icon.imageHeight != side || icon.imagePixelDepth != 8
            || icon.imageChannels != 4 || icon.imageDataSize < quint64(side) * side * 4)
            return damaged("the icon is not of its size");
        QImage image = makeImage({ mSide, mSide }, QImage::Format_ARGB32_Premultiplied);
        if (image.isNull())
            return noMemory();
        const icns_byte_t* from = icon.imageData;
        for (int y = 0; y < mSide; ++y) {
            auto* const row = reinterpret_cast<QRgb*>(image.scanLine(y));
            for (int x = 0; x < mSide; ++x, from += 4)
                row[x] = qPremultiply(qRgba(from[0], from[1], from[2], from[3]));
        }
        dropUselessTransparency(image);
        return DecodedPicture { std::move(image), {} };
    }

    QByteArray mFile;
    quint32 mKind;
    int mSide;
};

} // namespace

bool isIcns(const QByteArray& head) { return head.startsWith("icns") && head.size() > kIcnsHeader; }

OpenedPicture openIcns(FileBytes& file)
{
    const auto bytes = file.all();
    if (!bytes)
        return tl::unexpected(bytes.error());
    const auto elements = icnsElements(*bytes);
    if (!elements)
        return damaged("the icons are cut short");
    const auto* const inside = largestOf(*elements, kFileKinds, [](const IcnsElement& element) {
        return isPng(element.bytes) || isJpeg2000(element.bytes);
    });
    const auto* const old = largestOf(*elements, kOldKinds, [](const auto&) { return true; });
    const int oldSide = old ? sideOf(old->kind, kOldKinds) : 0;
    if (inside && sideOf(inside->kind, kFileKinds) >= oldSide)
        return openInside(inside->bytes);
    if (!old)
        return damaged("no icons that anybody knows");
    return std::make_unique<OldIcnsReader>(*bytes, old->kind, oldSide);
}

} // namespace quorvane
