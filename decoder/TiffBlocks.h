// SPDX-License-Identifier: GPL-3.0-or-later
// The strips or tiles of a TIFF, read one row of them after the other.
#pragma once

#include "decoder/TiffPage.h"
#include "decoder/TiffSamples.h"
#include "platform/Result.h"

struct tiff; // The library's TIFF.

namespace quorvane {

/// A row of strips or of tiles at a time, brought into the form that a Band has. Thread: any, one
/// at a time.
class TiffBlocks {
public:
    /// \param tiff, page  must outlive this.
    /// \param form        page.form().
    TiffBlocks(tiff* tiff, const TiffPage& page, SampleForm form)
        : mTiff(tiff)
        , mPage(page)
        , mForm(form)
    {
    }

    /// To be called first. \return Damaged or TooLarge for blocks of no sane size.
    Result<void> prepare();

    /// Fills `band` with the picture's rows from `top` on. \param top  where a block begins.
    /// \return Damaged.
    Result<void> read(int top, Band& band);

private:
    int samplesInBlock() const { return mPage.isPlanar ? 1 : mPage.samples; }
    qint64 packedRowBytes() const;
    Result<void> readRowOfBlocks(int plane, int y, int top, Band& band);
    bool readBlock(int plane, int x, int y, int rows);

    tiff* mTiff;
    const TiffPage& mPage;
    SampleForm mForm;
    qint64 mRowBytes = 0;
    Bytes mBytes;
};

} // namespace quorvane
