// SPDX-License-Identifier: GPL-3.0-or-later
// The pixels of a Photoshop document as they are stored: plain or in runs.
#pragma once

#include "decoder/ByteReader.h"
#include "decoder/PsdLayout.h"

namespace quorvane {

/// Rows of the merged picture, channel after channel, each from its top. Thread: any, one at a
/// time.
class PsdRows {
public:
    /// \param file, layout  must outlive this.
    PsdRows(const QByteArray& file, const PsdLayout& layout);

    /// Whether the rows are stored in one of the two ways that everybody uses.
    bool isKnown() const { return mCompression == 0 || mCompression == 1; }

    /// The next row, as stored, until next() is called again; nullptr when the file ends before.
    const char* next();

private:
    qint64 nextLength();
    bool unpack(QByteArrayView packed);

    const PsdLayout& mLayout;
    ByteReader mReader;
    QByteArray mRow;
    ByteReader mLengths { QByteArrayView() };
    int mCompression = 0;
};

} // namespace quorvane
