// SPDX-License-Identifier: GPL-3.0-or-later
// What a JPEG 2000 file holds, seen without decoding it.
#pragma once

class QByteArray;

namespace quorvane {

/// Whether bytes that begin with `head` are a codestream without a file around it.
bool isJpeg2000Codestream(const QByteArray& head);

/// Whether `file`, a JP2 file or a bare codestream, holds all that its parts of tiles say they
/// hold. The library decodes what there is: a file cut between two of them would have gaps.
bool isJpeg2000Whole(const QByteArray& file);

} // namespace quorvane
