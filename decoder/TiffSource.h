// SPDX-License-Identifier: GPL-3.0-or-later
// A TIFF in memory, opened by the library. It stays in the sources.
#pragma once

#include <QByteArray>

#include <memory>

struct tiff; // The library's TIFF.

namespace quorvane {

/// Bytes for any one thing that the library asks memory for: rows, a tile, a list of tags.
constexpr qint64 kTiffMemoryLimit = qint64(1) << 30;

/// The file as the library sees it.
struct TiffSource {
    QByteArray bytes;
    qint64 position = 0;
};

/// Ends what a Tiff owns.
struct TiffCloser {
    void operator()(tiff* tiff) const;
};

/// An open file of the library, owned. Thread: any, one at a time.
using Tiff = std::unique_ptr<tiff, TiffCloser>;

/// \param source  must outlive what is returned, and stay where it is. Null when it is no TIFF.
Tiff openTiffSource(TiffSource& source);

} // namespace quorvane
