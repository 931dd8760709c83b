// SPDX-License-Identifier: GPL-3.0-or-later
// Numbers out of the bytes of a file, which may end at any place.
#pragma once

#include <QByteArrayView>
#include <QtEndian>

namespace quorvane {

/// Whether `size` bytes, 0 or more, stand at `at`, which may be any number.
inline bool hasBytesAt(QByteArrayView bytes, qint64 at, qint64 size)
{
    return at >= 0 && at <= bytes.size() - size;
}

/// The number at `at` whose lowest byte comes first; 0 when the bytes end before its last one.
template <typename Number> Number littleAt(QByteArrayView bytes, qint64 at)
{
    const bool isThere = hasBytesAt(bytes, at, sizeof(Number));
    return isThere ? qFromLittleEndian<Number>(bytes.data() + at) : Number(0);
}

/// The number at `at` whose highest byte comes first; 0 when the bytes end before its last one.
template <typename Number> Number bigAt(QByteArrayView bytes, qint64 at)
{
    const bool isThere = hasBytesAt(bytes, at, sizeof(Number));
    return isThere ? qFromBigEndian<Number>(bytes.data() + at) : Number(0);
}

/// Reads numbers in order, high byte first. Once more was asked for than there is, everything is 0
/// or empty. Thread: any, one at a time.
class ByteReader {
public:
    /// \param bytes     whose data outlive this.
    /// \param position  not negative; behind the end there is nothing to read.
    explicit ByteReader(QByteArrayView bytes, qsizetype position = 0)
        : mBytes(bytes)
        , mPosition(position)
    {
    }

    /// The next number.
    template <typename Number> Number take()
    {
        const qsizetype at = mPosition;
        skip(sizeof(Number));
        return mIsSound ? qFromBigEndian<Number>(mBytes.data() + at) : Number(0);
    }

    /// The next bytes, not copied; empty when there are not so many.
    QByteArrayView takeBytes(qint64 size)
    {
        const qsizetype at = mPosition;
        skip(size);
        return mIsSound ? mBytes.sliced(at, size) : QByteArrayView();
    }

    /// Passes over so many bytes. Fewer than none are more than there are.
    void skip(qint64 size)
    {
        if (!mIsSound || size < 0 || size > mBytes.size() - mPosition)
            mIsSound = false;
        else
            mPosition += size;
    }

    /// Whether all that was asked for was there.
    bool isSound() const { return mIsSound; }

    /// Whether there is nothing left, or no sense in reading on.
    bool atEnd() const { return !mIsSound || mPosition >= mBytes.size(); }

    /// Of the next byte, from the beginning of all.
    qsizetype position() const { return mPosition; }

private:
    QByteArrayView mBytes;
    qsizetype mPosition;
    bool mIsSound = true;
};

} // namespace quorvane
