// SPDX-License-Identifier: GPL-3.0-or-later
// JPEG, the format that nearly every photograph comes in. The library for it stays in the source.
#pragma once

#include "platform/PixelBuffer.h"
#include "platform/Result.h"

#include <QByteArray>

namespace quorvane {

/// Whether `bytes` begin as a JPEG file does.
bool isJpeg(const QByteArray& bytes);

/// Decodes a JPEG file of grey or of three colours.
/// \param longerSideAtLeast  see DecodeRequest; decoding at a half, a quarter or an eighth skips
/// most
///                           of the work.
/// \param pixelLimit         of the decoded picture.
/// \return Unsupported for four inks; Damaged for what ends before its last row: half a picture is
///         what a file still being copied looks like; TooLarge.
/// Thread: any, several at once.
Result<PixelBuffer> decodeJpegPixels(
    const QByteArray& bytes, int longerSideAtLeast, qint64 pixelLimit);

} // namespace quorvane
