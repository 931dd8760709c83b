// SPDX-License-Identifier: GPL-3.0-or-later
// The formats' own libraries, called in this process as directly as possible: what the decoder is
// measured against. The pixels go into memory that is kept from one call to the next.
#pragma once

#include <QByteArray>
#include <QSize>

namespace quorvane::bench {

void decodeJpeg(const QByteArray& path);

/// The scaled decoding that the library offers, then a resize to what fits into `box`.
void decodeJpegScaled(const QByteArray& path, QSize box);

/// Nothing but the library's decoding at an eighth.
void decodeJpegEighth(const QByteArray& path);

void decodePng(const QByteArray& path);
void decodeWebp(const QByteArray& path);

/// HEIC and AVIF.
void decodeHeif(const QByteArray& path);

} // namespace quorvane::bench
