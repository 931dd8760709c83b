// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/IcoReader.h"

#include "decoder/ByteReader.h"
#include "decoder/FileBytes.h"
#include "decoder/IconBitmap.h"
#include "decoder/PngReader.h"
#include "decoder/ReaderFailures.h"

#include <algorithm>
#include <array>
#include <vector>

namespace quorvane {

namespace {

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
    } else if (const auto bitmap = iconBitmapIn(entry.bytes)) {
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
    if (!isPng(best->bytes))
        return openIconBitmap(best->bytes, best->isWhole);
    if (!best->isWhole)
        return damaged("the icon is cut short");
    FileBytes inside(best->bytes);
    return openPng(inside);
}

} // namespace quorvane
