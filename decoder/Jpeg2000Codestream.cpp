// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/Jpeg2000Codestream.h"

#include "decoder/ByteReader.h"

#include <QByteArray>

#include <optional>

namespace quorvane {

namespace {

/// Where the codestream begins; nothing if the file has none (yet).
std::optional<qint64> startOfCodestream(const QByteArray& bytes)
{
    if (isJpeg2000Codestream(bytes))
        return 0;
    constexpr quint32 kCodestreamBox = 0x6A703263; // "jp2c"
    qint64 position = 0;
    while (hasBytesAt(bytes, position, 8)) {
        const qint64 length = bigAt<quint32>(bytes, position);
        const qint64 headSize = length == 1 ? 16 : 8;
        if (bigAt<quint32>(bytes, position + 4) == kCodestreamBox)
            return position + headSize;
        const qint64 whole = length == 1 ? bigAt<qint64>(bytes, position + 8) : length;
        if (whole < headSize || whole > bytes.size())
            return std::nullopt;
        position += whole;
    }
    return std::nullopt;
}

} // namespace

bool isJpeg2000Codestream(const QByteArray& head) { return head.startsWith("\xFF\x4F\xFF\x51"); }

bool isJpeg2000Whole(const QByteArray& file)
{
    constexpr quint16 kStartOfTilePart = 0xFF90;
    constexpr quint16 kEndOfCodestream = 0xFFD9;
    const auto start = startOfCodestream(file);
    if (!start)
        return false;
    qint64 position = *start + 2;
    while (hasBytesAt(file, position, 2)) {
        const auto marker = bigAt<quint16>(file, position);
        if (marker == kEndOfCodestream)
            return true;
        qint64 length = 2 + qint64(bigAt<quint16>(file, position + 2));
        if (marker == kStartOfTilePart) {
            length = bigAt<quint32>(file, position + 6);
            if (length == 0) // Until the end of the codestream.
                return file.lastIndexOf("\xFF\xD9") > position;
        }
        if (length < 2)
            return false;
        position += length;
    }
    return false;
}

} // namespace quorvane
