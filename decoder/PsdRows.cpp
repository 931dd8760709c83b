// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/PsdRows.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace quorvane {

PsdRows::PsdRows(const QByteArray& file, const PsdLayout& layout)
    : mLayout(layout)
    , mReader(file, layout.pixels)
    , mRow(((qsizetype(layout.size.width()) * layout.depth) + 7) / 8, '\0')
    , mCompression(mReader.take<quint16>())
{
    if (mCompression != 1)
        return;
    const qsizetype rows = qsizetype(layout.channels) * layout.size.height();
    const qsizetype entry = layout.isLarge ? 4 : 2;
    mLengths = ByteReader(mReader.takeBytes(rows * entry));
}

const char* PsdRows::next()
{
    if (mCompression == 0) {
        const QByteArrayView row = mReader.takeBytes(mRow.size());
        return mReader.isSound() ? row.data() : nullptr;
    }
    const QByteArrayView packed = mReader.takeBytes(nextLength());
    return mReader.isSound() && unpack(packed) ? mRow.constData() : nullptr;
}

qint64 PsdRows::nextLength()
{
    return mLayout.isLarge ? qint64(mLengths.take<quint32>()) : mLengths.take<quint16>();
}

/// PackBits. \return false when it does not fill the row.
bool PsdRows::unpack(QByteArrayView packed)
{
    qsizetype filled = 0;
    qsizetype at = 0;
    while (filled < mRow.size() && at < packed.size()) {
        const int byte = static_cast<quint8>(packed[at++]);
        const int code = byte < 128 ? byte : byte - 256;
        if (code == -128)
            continue;
        const qsizetype count = std::min<qsizetype>(std::abs(code) + 1, mRow.size() - filled);
        if (at + (code < 0 ? 1 : count) > packed.size())
            return false;
        if (code < 0) {
            std::memset(mRow.data() + filled, packed[at], static_cast<size_t>(count));
            at += 1;
        } else {
            std::memcpy(mRow.data() + filled, packed.data() + at, static_cast<size_t>(count));
            at += count;
        }
        filled += count;
    }
    return filled == mRow.size();
}

} // namespace quorvane
