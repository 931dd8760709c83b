// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/BmpRuns.h"

namespace quorvane {

namespace {

/// Walks through the code and draws. The position may lie outside of the picture: nothing is
/// drawn there.
class RunDrawer {
public:
    RunDrawer(const QByteArray& bytes, const DibPixels& pixels)
        : mBytes(bytes)
        , mSize(pixels.size)
        , mIsFourBit(pixels.depth == 4)
        , mAt(pixels.pixels)
        , mStride((qsizetype(mSize.width()) + 3) / 4 * 4)
        , mRows(mStride * mSize.height(), '\0')
    {
    }

    /// \return whether the code came to its end: its mark, or the last pixel.
    bool draw()
    {
        while (!mIsAtEnd && !isFull() && mAt + 2 <= mBytes.size()) {
            const int count = byteAt(mAt);
            const int value = byteAt(mAt + 1);
            mAt += 2;
            if (count > 0)
                drawRun(count, value);
            else
                obey(value);
        }
        return (mIsAtEnd || isFull()) && mAt <= mBytes.size();
    }

    QByteArray takeRows() { return std::move(mRows); }

private:
    int byteAt(qint64 at) const { return at < mBytes.size() ? static_cast<quint8>(mBytes[at]) : 0; }

    bool isFull() const
    {
        return mY >= mSize.height() || (mY == mSize.height() - 1 && mX >= mSize.width());
    }

    void put(int index)
    {
        if (mX < mSize.width() && mY < mSize.height())
            mRows[mY * mStride + mX] = static_cast<char>(index);
        ++mX;
    }

    /// One of the two pixels in a byte, the left one first.
    static int half(int byte, int number) { return number % 2 == 0 ? byte >> 4 : byte & 15; }

    void drawRun(int count, int value)
    {
        for (int i = 0; i < count; ++i)
            put(mIsFourBit ? half(value, i) : value);
    }

    void obey(int command)
    {
        switch (command) {
        case 0: // The end of a row.
            mX = 0;
            ++mY;
            break;
        case 1:
            mIsAtEnd = true;
            break;
        case 2: // A jump.
            mX += byteAt(mAt);
            mY += byteAt(mAt + 1);
            mAt += 2;
            break;
        default:
            drawPlain(command);
            break;
        }
    }

    /// Pixels as they are, in whole groups of two bytes.
    void drawPlain(int count)
    {
        for (int i = 0; i < count; ++i)
            put(mIsFourBit ? half(byteAt(mAt + i / 2), i) : byteAt(mAt + i));
        const int size = mIsFourBit ? (count + 1) / 2 : count;
        mAt += size + size % 2;
    }

    const QByteArray& mBytes;
    QSize mSize;
    bool mIsFourBit;
    qint64 mAt;
    qsizetype mStride;
    QByteArray mRows;
    qint64 mX = 0;
    qint64 mY = 0; ///< In the order of the file.
    bool mIsAtEnd = false;
};

} // namespace

std::optional<QByteArray> unpackBmpRuns(const QByteArray& bytes, const DibPixels& pixels)
{
    RunDrawer drawer(bytes, pixels);
    if (!drawer.draw())
        return {};
    return drawer.takeRows();
}

} // namespace quorvane
