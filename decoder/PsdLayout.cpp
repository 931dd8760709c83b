// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/PsdLayout.h"

#include "decoder/ByteReader.h"

#include <algorithm>
#include <array>

namespace quorvane {

namespace {

/// A length, of eight bytes in a part of a large document, else of four. One that no file has makes
/// whatever it is the length of unsound.
qint64 takeLength(ByteReader& reader, bool isLong)
{
    return isLong ? reader.take<qint64>() : reader.take<quint32>();
}

void readResource(int id, QByteArrayView data, PsdLayout& layout)
{
    constexpr int iccProfile = 1039;
    constexpr int transparentIndex = 1047;
    constexpr int versionInfo = 1057;
    ByteReader reader(data);
    switch (id) {
    case iccProfile:
        layout.profile = data.toByteArray();
        break;
    case transparentIndex:
        layout.transparentIndex = reader.take<quint16>();
        break;
    case versionInfo:
        reader.skip(4);
        layout.hasMergedPicture = reader.take<quint8>() != 0;
        break;
    default:
        break;
    }
}

void readResources(QByteArrayView resources, PsdLayout& layout)
{
    ByteReader reader(resources);
    while (!reader.atEnd()) {
        reader.skip(4); // "8BIM"
        const int id = reader.take<quint16>();
        const int nameSize = reader.take<quint8>();
        reader.skip(nameSize | 1); // With its length of even size.
        const qint64 size = takeLength(reader, false);
        const QByteArrayView data = reader.takeBytes(size);
        if (reader.isSound())
            readResource(id, data, layout);
        reader.skip(size % 2);
    }
}

/// The number of layers; negative when the first channel behind the colours of the merged picture
/// is its transparency.
void readLayerCount(int count, PsdLayout& layout)
{
    layout.hasLayers = layout.hasLayers || count != 0;
    layout.hasAlpha = layout.hasAlpha || count < 0;
}

/// Deep documents keep their layers, and that there is transparency, in blocks behind.
void readBlock(QByteArrayView key, QByteArrayView data, PsdLayout& layout)
{
    if (key == "Lr16" || key == "Lr32")
        readLayerCount(ByteReader(data).take<qint16>(), layout);
    else if (key == "Mt16" || key == "Mt32" || key == "Mtrn")
        layout.hasAlpha = true;
}

bool hasLongLength(QByteArrayView key)
{
    static constexpr std::array<const char*, 13> keys { "LMsk", "Lr16", "Lr32", "Layr", "Mt16",
        "Mt32", "Mtrn", "Alph", "FMsk", "lnk2", "FEid", "FXid", "PxSD" };
    return std::any_of(keys.begin(), keys.end(),
        [&](const char* known) { return key == QByteArrayView(known, 4); });
}

void readLayers(QByteArrayView section, PsdLayout& layout)
{
    ByteReader reader(section);
    const qint64 infoSize = takeLength(reader, layout.isLarge);
    const QByteArrayView info = reader.takeBytes(infoSize);
    if (info.size() >= 2)
        readLayerCount(ByteReader(info).take<qint16>(), layout);
    reader.skip(takeLength(reader, false)); // The mask of all layers.
    while (!reader.atEnd()) {
        reader.skip(4); // "8BIM" or "8B64"
        const QByteArrayView key = reader.takeBytes(4);
        const qint64 size = takeLength(reader, layout.isLarge && hasLongLength(key));
        const QByteArrayView data = reader.takeBytes(size);
        if (reader.isSound())
            readBlock(key, data, layout);
        reader.skip((4 - size % 4) % 4);
    }
}

} // namespace

bool PsdLayout::isKnownForm() const
{
    switch (mode) {
    case PsdMode::Bitmap:
        return depth == 1;
    case PsdMode::Indexed:
        return depth == 8 && palette.size() >= 768;
    case PsdMode::Cmyk:
    case PsdMode::Duotone:
        return depth == 8 || depth == 16;
    case PsdMode::Grey:
    case PsdMode::Rgb:
        return depth == 8 || depth == 16 || depth == 32;
    }
    return false;
}

std::optional<PsdLayout> psdLayoutOf(const QByteArray& file)
{
    PsdLayout layout;
    ByteReader reader(file);
    reader.skip(4);
    layout.isLarge = reader.take<quint16>() == 2;
    reader.skip(6);
    layout.channels = reader.take<quint16>();
    const auto height = reader.take<quint32>();
    const auto width = reader.take<quint32>();
    constexpr quint32 longestSide = 300'000; // The format's own limit.
    if (width > longestSide || height > longestSide)
        return {};
    layout.size = { static_cast<int>(width), static_cast<int>(height) };
    layout.depth = reader.take<quint16>();
    layout.mode = static_cast<PsdMode>(reader.take<quint16>());
    layout.palette = reader.takeBytes(takeLength(reader, false)).toByteArray();
    readResources(reader.takeBytes(takeLength(reader, false)), layout);
    readLayers(reader.takeBytes(takeLength(reader, layout.isLarge)), layout);
    layout.pixels = reader.position();
    if (!reader.isSound() || layout.size.isEmpty() || layout.channels < layout.colours())
        return {};
    layout.hasAlpha = layout.hasAlpha && layout.channels > layout.colours();
    return layout;
}

} // namespace quorvane
