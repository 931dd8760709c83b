// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/IconReader.h"

#include "decoder/DibPixels.h"
#include "decoder/FileBytes.h"
#include "decoder/Jpeg2000Reader.h"
#include "decoder/PngReader.h"
#include "decoder/Transparency.h"

#include <QtEndian>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <optional>
#include <tuple>
#include <vector>

extern "C" { // Which its header does not say itself.
#include <icns.h>
}

namespace quorvane {

namespace {

tl::unexpected<Error> damaged(const char* why)
{
    return fail(ErrorKind::Damaged, QString::fromLatin1(why));
}

template <typename Number> Number littleAt(const QByteArray& bytes, qsizetype at)
{
    const bool isThere = at >= 0 && at <= bytes.size() - qsizetype(sizeof(Number));
    return isThere ? qFromLittleEndian<Number>(bytes.constData() + at) : Number(0);
}

template <typename Number> Number bigAt(const QByteArray& bytes, qsizetype at)
{
    const bool isThere = at >= 0 && at <= bytes.size() - qsizetype(sizeof(Number));
    return isThere ? qFromBigEndian<Number>(bytes.constData() + at) : Number(0);
}

/// A complete file of another format inside this one. Its bytes are copied by whoever keeps them.
OpenedPicture openInside(const QByteArray& bytes)
{
    FileBytes file(bytes);
    if (isPng(bytes))
        return openPng(file);
    return openJpeg2000(file);
}

// ---- The bitmap without a file header that most entries of an ICO are

/// The pixels and below them the mask, of one bit a pixel: where it is set, the picture is
/// transparent.
struct Bitmap {
    DibPixels dib;

    qsizetype mask() const { return dib.pixels + dib.stride() * dib.size.height(); }
    qsizetype maskStride() const { return (qsizetype(dib.size.width()) + 31) / 32 * 4; }
};

/// \return nothing for what is not of a form that icons have.
std::optional<Bitmap> bitmapIn(const QByteArray& entry)
{
    constexpr int headerSize = 40;
    constexpr int longestSide = 4096; // Far beyond the 256 that the format is for.
    Bitmap bitmap;
    DibPixels& dib = bitmap.dib;
    // The height is that of picture and mask together.
    dib.size = { littleAt<qint32>(entry, 4), littleAt<qint32>(entry, 8) / 2 };
    dib.depth = littleAt<quint16>(entry, 14);
    const auto compression = littleAt<quint32>(entry, 16);
    const auto colours = littleAt<quint32>(entry, 32);
    if (littleAt<qint32>(entry, 0) != headerSize || compression != 0 || colours > 256
        || dib.size.isEmpty() || dib.size.width() > longestSide || dib.size.height() > longestSide
        || !dib.hasKnownDepth())
        return {};
    const qsizetype indexed = dib.depth <= 8 ? qsizetype(1) << dib.depth : 0;
    dib.colours = colours != 0 ? qsizetype(colours) : indexed;
    dib.table = headerSize;
    dib.pixels = dib.table + dib.colours * dib.tableEntry;
    dib.masks = usualMasks(dib.depth);
    if (dib.depth == 32)
        dib.masks[3] = 0xFF000000;
    return bitmap;
}

class BitmapReader : public PictureReader {
public:
    BitmapReader(QByteArray entry, const Bitmap& bitmap)
        : mEntry(std::move(entry))
        , mBitmap(bitmap)
    {
    }

    PictureHeader header() const override { return { mBitmap.dib.size }; }

    Result<DecodedPicture> decode(QSize wanted, const ImageMaker& makeImage) override
    {
        Q_UNUSED(wanted)
        QImage image = makeImage(mBitmap.dib.size, QImage::Format_ARGB32_Premultiplied);
        if (image.isNull())
            return fail(ErrorKind::TooLarge, QStringLiteral("no memory for the pixels"));
        readDibPixels(mEntry, mBitmap.dib, image);
        if (mBitmap.dib.depth < 32 || isAlphaUnused(image))
            applyMask(image);
        else
            multiplyAlpha(image);
        return DecodedPicture { std::move(image), {} };
    }

private:
    /// A mask that is not there hides nothing.
    void applyMask(QImage& image) const
    {
        for (int y = 0; y < image.height(); ++y) {
            auto* const row = reinterpret_cast<QRgb*>(image.scanLine(y));
            const qsizetype from = mBitmap.mask() + (image.height() - 1 - y) * mBitmap.maskStride();
            for (int x = 0; x < image.width(); ++x) {
                const int byte = littleAt<quint8>(mEntry, from + x / 8);
                row[x] = (byte >> (7 - x % 8) & 1) != 0 ? 0 : row[x] | 0xFF000000U;
            }
        }
        dropUselessTransparency(image);
    }

    QByteArray mEntry;
    Bitmap mBitmap;
};

/// \param isWhole  whether the file goes on to the end of the entry.
OpenedPicture openBitmap(const QByteArray& entry, bool isWhole)
{
    const auto bitmap = bitmapIn(entry);
    if (!bitmap)
        return fail(ErrorKind::Unsupported, QStringLiteral("an unusual form of icon"));
    // With an alpha of its own, the mask behind it does not matter.
    const bool needsMask = bitmap->dib.depth < 32;
    if (entry.size() < bitmap->dib.end() || (needsMask && !isWhole))
        return damaged("the icon is cut short");
    return std::make_unique<BitmapReader>(entry, *bitmap);
}

// ---- ICO and CUR

constexpr qsizetype kIcoHeader = 6;
constexpr qsizetype kIcoEntry = 16;

struct IcoEntry {
    QByteArray bytes; ///< Fewer than promised when the file ends before.
    bool isWhole;
    QSize size;
    int depth;
};

/// As the directory tells it, 0 meaning 256. It is often wrong; what it points to is better.
IcoEntry entryAt(const QByteArray& file, qsizetype at)
{
    const qint64 size = littleAt<quint32>(file, at + 8);
    const qint64 offset = littleAt<quint32>(file, at + 12);
    const auto side = [](quint8 value) { return value == 0 ? 256 : int(value); };
    IcoEntry entry { file.mid(offset, size), offset + size <= file.size(),
        { side(littleAt<quint8>(file, at)), side(littleAt<quint8>(file, at + 1)) },
        littleAt<quint16>(file, at + 6) };
    if (isPng(entry.bytes) && entry.bytes.size() >= 26) {
        const auto channels = std::array { 1, 1, 3, 1, 2, 1, 4 };
        const auto kind = std::min<quint8>(littleAt<quint8>(entry.bytes, 25), 6);
        entry.size = { bigAt<qint32>(entry.bytes, 16), bigAt<qint32>(entry.bytes, 20) };
        entry.depth = littleAt<quint8>(entry.bytes, 24) * channels[kind];
    } else if (const auto bitmap = bitmapIn(entry.bytes)) {
        entry.size = bitmap->dib.size;
        entry.depth = bitmap->dib.depth;
    }
    return entry;
}

std::vector<IcoEntry> icoEntries(const QByteArray& file)
{
    const int count = littleAt<quint16>(file, 4);
    std::vector<IcoEntry> entries;
    for (int i = 0; i < count; ++i) {
        const qsizetype at = kIcoHeader + i * kIcoEntry;
        if (at + kIcoEntry > file.size())
            break;
        if (IcoEntry entry = entryAt(file, at); isReasonable(entry.size))
            entries.push_back(std::move(entry));
    }
    return entries;
}

// ---- ICNS

constexpr qsizetype kIcnsHeader = 8; ///< Of the file, and of each element in it.

quint32 code(const char* name) { return qFromBigEndian<quint32>(name); }

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
            return fail(ErrorKind::TooLarge, QStringLiteral("no memory for the pixels"));
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

bool isIco(const QByteArray& head)
{
    const auto type = littleAt<quint16>(head, 2);
    const int count = littleAt<quint16>(head, 4);
    // The directory lies before the icons.
    return littleAt<quint16>(head, 0) == 0 && (type == 1 || type == 2) && count > 0
        && littleAt<quint32>(head, 18) >= quint32(kIcoHeader + kIcoEntry)
        && littleAt<quint32>(head, 14) > 0;
}

OpenedPicture openIco(FileBytes& file)
{
    const auto bytes = file.all();
    if (!bytes)
        return tl::unexpected(bytes.error());
    const auto entries = icoEntries(*bytes);
    if (entries.empty())
        return damaged("no icons");
    // The first picture of the file, in the deepest of the versions that there are in its size.
    auto best = entries.begin();
    for (auto entry = entries.begin(); entry != entries.end(); ++entry) {
        if (entry->size == best->size && entry->depth > best->depth)
            best = entry;
    }
    if (isPng(best->bytes))
        return best->isWhole ? openInside(best->bytes) : damaged("the icon is cut short");
    return openBitmap(best->bytes, best->isWhole);
}

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
