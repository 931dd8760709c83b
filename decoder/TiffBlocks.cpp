// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/TiffBlocks.h"

#include "decoder/ReaderFailures.h"
#include "decoder/TiffSource.h"

#include <tiffio.h>

#include <algorithm>

namespace quorvane {

namespace {

tl::unexpected<Error> broken() { return damaged("the TIFF ends too soon or is broken"); }

} // namespace

Result<void> TiffBlocks::prepare()
{
    if (mPage.block.isEmpty())
        return broken();
    mRowBytes = mPage.isTiled ? TIFFTileRowSize(mTiff) : TIFFScanlineSize(mTiff);
    const qint64 needed = packedRowBytes();
    // Bounds the product below, too.
    if (mRowBytes < needed || mRowBytes > kTiffMemoryLimit
        || mRowBytes * qint64(mPage.block.height()) > kTiffMemoryLimit)
        return fail(ErrorKind::TooLarge, QStringLiteral("the TIFF's blocks are too large"));
    mBytes = newBytes(mRowBytes * qint64(mPage.block.height()));
    if (!mBytes)
        return noMemory();
    return {};
}

Result<void> TiffBlocks::read(int top, Band& band)
{
    for (int plane = 0; plane < (mPage.isPlanar ? mPage.samples : 1); ++plane) {
        if (mPage.isPlanar && !band.holdsSample(plane))
            continue;
        for (int y = top; y < top + band.rows(); y += mPage.block.height()) {
            if (auto done = readRowOfBlocks(plane, y, top, band); !done)
                return done;
        }
    }
    return {};
}

qint64 TiffBlocks::packedRowBytes() const
{
    return (qint64(mPage.block.width()) * samplesInBlock() * mPage.bits + 7) / 8;
}

Result<void> TiffBlocks::readRowOfBlocks(int plane, int y, int top, Band& band)
{
    const int rows
        = std::min({ mPage.block.height(), mPage.size.height() - y, top + band.rows() - y });
    for (int x = 0; x < mPage.size.width(); x += mPage.block.width()) {
        if (!readBlock(plane, x, y, rows))
            return broken();
        const int count = std::min(mPage.block.width(), mPage.size.width() - x);
        for (int row = 0; row < rows; ++row) {
            const SampleRun run { mBytes.get() + row * mRowBytes, mForm, mPage.bits,
                samplesInBlock(), count };
            band.take(run, plane, QPoint(x, y - top + row));
        }
    }
    return {};
}

bool TiffBlocks::readBlock(int plane, int x, int y, int rows)
{
    const auto column = static_cast<quint32>(x);
    const auto row = static_cast<quint32>(y);
    const auto sample = static_cast<quint16>(plane);
    const tmsize_t all = mRowBytes * qint64(mPage.isTiled ? mPage.block.height() : rows);
    const tmsize_t got = mPage.isTiled
        ? TIFFReadEncodedTile(
            mTiff, TIFFComputeTile(mTiff, column, row, 0, sample), mBytes.get(), all)
        : TIFFReadEncodedStrip(mTiff, TIFFComputeStrip(mTiff, row, sample), mBytes.get(), all);
    return got == all;
}

} // namespace quorvane
