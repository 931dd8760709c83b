// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/BmpReader.h"

#include "decoder/BmpRuns.h"
#include "decoder/ByteReader.h"
#include "decoder/DibPixels.h"
#include "decoder/FileBytes.h"
#include "decoder/ReaderFailures.h"
#include "decoder/Transparency.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <limits>
#include <optional>

namespace quorvane {

namespace {

constexpr qsizetype kFileHeader = 14;
constexpr int kCoreHeader = 12; ///< The oldest, with sizes of 16 bits.
constexpr int kInfoHeader = 40; ///< The first with a compression.
constexpr int kAlphaHeader = 56; ///< The first with a mask for alpha.
constexpr int kOs2Header = 64; ///< Whose compressions have other meanings.
constexpr int kProfileHeader = 124; ///< The first that can carry a profile.

enum Compression { None = 0, Rle8 = 1, Rle4 = 2, Masks = 3, AlphaMasks = 6 };

/// What the headers say.
struct BmpLayout {
    DibPixels dib;
    int headerSize = 0;
    quint32 compression = None;

    bool isRle() const { return compression == Rle8 || compression == Rle4; }
};

void readMasks(const QByteArray& bytes, BmpLayout& layout)
{
    DibPixels& dib = layout.dib;
    dib.masks = usualMasks(dib.depth);
    if (layout.compression != Masks && layout.compression != AlphaMasks)
        return;
    const bool hasAlpha = layout.headerSize >= kAlphaHeader || layout.compression == AlphaMasks;
    constexpr qsizetype masks = kFileHeader + kInfoHeader; // In the header, or right behind it.
    for (size_t i = 0; i < (hasAlpha ? 4U : 3U); ++i)
        dib.masks[i] = littleAt<quint32>(bytes, masks + qsizetype(i) * 4);
    if (layout.headerSize == kInfoHeader)
        dib.table += hasAlpha ? 16 : 12;
}

void readColours(const QByteArray& bytes, BmpLayout& layout)
{
    DibPixels& dib = layout.dib;
    const auto used
        = layout.headerSize >= kInfoHeader ? qsizetype(littleAt<quint32>(bytes, 46)) : 0;
    const qsizetype most = dib.depth <= 8 ? qsizetype(1) << dib.depth : 0;
    dib.colours = used > 0 && used < most ? used : most;
    dib.pixels = littleAt<quint32>(bytes, 10);
    if (dib.pixels < dib.table)
        dib.pixels = dib.table + dib.colours * dib.tableEntry;
    // Some of OS/2 leave out the colours that they do not use.
    dib.colours = std::min(dib.colours, (dib.pixels - dib.table) / dib.tableEntry);
}

std::optional<BmpLayout> layoutOf(const QByteArray& bytes)
{
    BmpLayout layout;
    DibPixels& dib = layout.dib;
    layout.headerSize = littleAt<qint32>(bytes, 14);
    if (layout.headerSize == kCoreHeader) {
        dib.size = { littleAt<quint16>(bytes, 18), littleAt<quint16>(bytes, 20) };
        dib.depth = littleAt<quint16>(bytes, 24);
        dib.tableEntry = 3;
    } else {
        const auto height = littleAt<qint32>(bytes, 22);
        if (height == std::numeric_limits<qint32>::min())
            return {};
        dib.size = { littleAt<qint32>(bytes, 18), std::abs(height) };
        dib.isTopDown = height < 0;
        dib.depth = littleAt<quint16>(bytes, 28);
        if (layout.headerSize >= kInfoHeader)
            layout.compression = littleAt<quint32>(bytes, 30);
    }
    if (dib.size.isEmpty())
        return {};
    dib.table = kFileHeader + layout.headerSize;
    readMasks(bytes, layout);
    readColours(bytes, layout);
    return layout;
}

bool isKnownForm(const BmpLayout& layout)
{
    const quint32 compression = layout.compression;
    const int depth = layout.dib.depth;
    switch (compression) {
    case None:
        return layout.dib.hasKnownDepth();
    case Rle8:
    case Rle4:
        return depth == (compression == Rle8 ? 8 : 4);
    case Masks:
    case AlphaMasks:
        return (depth == 16 || depth == 32) && layout.headerSize != kOs2Header;
    default:
        return false;
    }
}

ColorProfile profileOf(const QByteArray& bytes, const BmpLayout& layout)
{
    constexpr quint32 embedded = 0x4D424544; // "MBED"
    if (layout.headerSize < kProfileHeader || littleAt<quint32>(bytes, 70) != embedded)
        return {};
    const qint64 offset = kFileHeader + qint64(littleAt<quint32>(bytes, 126));
    const qint64 size = littleAt<quint32>(bytes, 130);
    if (size == 0 || offset + size > bytes.size())
        return {};
    return ColorProfile::fromIcc(bytes.mid(offset, size));
}

tl::unexpected<Error> cutShort() { return damaged("the picture is cut short"); }

class BmpReader : public PictureReader {
public:
    BmpReader(QByteArray bytes, const BmpLayout& layout)
        : mBytes(std::move(bytes))
        , mLayout(layout)
    {
    }

    PictureHeader header() const override { return { mLayout.dib.size }; }

    Result<DecodedPicture> decode(QSize wanted, const ImageMaker& makeImage) override
    {
        Q_UNUSED(wanted)
        const bool hasAlpha = mLayout.dib.masks[3] != 0;
        QImage image = makeImage(mLayout.dib.size,
            hasAlpha ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
        if (image.isNull())
            return noMemory();
        if (!mLayout.isRle())
            readDibPixels(mBytes, mLayout.dib, image);
        else if (!readRuns(image))
            return cutShort();
        if (hasAlpha && isAlphaUnused(image))
            dropAlpha(image);
        else if (hasAlpha)
            multiplyAlpha(image);
        return DecodedPicture { std::move(image), profileOf(mBytes, mLayout) };
    }

private:
    bool readRuns(QImage& image) const
    {
        const auto indices = unpackBmpRuns(mBytes, mLayout.dib);
        if (!indices)
            return false;
        DibPixels dib = mLayout.dib;
        const QByteArray table = mBytes.mid(dib.table, dib.colours * dib.tableEntry);
        dib.depth = 8;
        dib.table = 0;
        dib.pixels = table.size();
        readDibPixels(table + *indices, dib, image);
        return true;
    }

    QByteArray mBytes;
    BmpLayout mLayout;
};

} // namespace

bool isBmp(const QByteArray& head)
{
    constexpr std::array headerSizes { 12, 16, 40, 52, 56, 64, 108, 124 };
    return head.startsWith("BM")
        && std::find(headerSizes.begin(), headerSizes.end(), littleAt<qint32>(head, 14))
        != headerSizes.end();
}

OpenedPicture openBmp(FileBytes& file)
{
    auto bytes = file.all();
    if (!bytes)
        return tl::unexpected(bytes.error());
    const auto layout = layoutOf(*bytes);
    if (!layout)
        return damaged("no sound header");
    if (!isKnownForm(*layout))
        return fail(ErrorKind::Unsupported, QStringLiteral("an unusual form of BMP"));
    if (!isReasonable(layout->dib.size))
        return tooManyPixels();
    if (!layout->isRle() && layout->dib.end() > bytes->size())
        return cutShort();
    return std::make_unique<BmpReader>(std::move(*bytes), *layout);
}

} // namespace quorvane
