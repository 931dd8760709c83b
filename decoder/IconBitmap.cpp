// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/IconBitmap.h"

#include "decoder/ByteReader.h"
#include "decoder/ReaderFailures.h"
#include "decoder/Transparency.h"

#include <QByteArray>

namespace quorvane {

namespace {

class IconBitmapReader : public PictureReader {
public:
    IconBitmapReader(QByteArray entry, const IconBitmap& bitmap)
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
            return noMemory();
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
    IconBitmap mBitmap;
};

} // namespace

std::optional<IconBitmap> iconBitmapIn(const QByteArray& entry)
{
    constexpr int headerSize = 40;
    constexpr int longestSide = 4096; // Far beyond the 256 that the format is for.
    IconBitmap bitmap;
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

OpenedPicture openIconBitmap(const QByteArray& entry, bool isWhole)
{
    const auto bitmap = iconBitmapIn(entry);
    if (!bitmap)
        return fail(ErrorKind::Unsupported, QStringLiteral("an unusual form of icon"));
    // With an alpha of its own, the mask behind it does not matter.
    const bool needsMask = bitmap->dib.depth < 32;
    if (entry.size() < bitmap->dib.end() || (needsMask && !isWhole))
        return damaged("the icon is cut short");
    return std::make_unique<IconBitmapReader>(entry, *bitmap);
}

} // namespace quorvane
