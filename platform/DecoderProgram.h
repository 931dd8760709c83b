// SPDX-License-Identifier: GPL-3.0-or-later
// Where the decoder and the player of movies are.
#pragma once

#include <QByteArray>

namespace quorvane {

/// The path of the decoder that belongs to this program: beside it, as in a build folder, or where
/// it was installed to. Beside it even if it is in neither place, for the message.
QByteArray decoderProgram();

/// The path of the player of movies, which lies beside the decoder.
QByteArray playerProgram();

/// For programs that lie elsewhere, such as tests. Before anything is decoded.
void setDecoderProgram(const QByteArray& path);

} // namespace quorvane
