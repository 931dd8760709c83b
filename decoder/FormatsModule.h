// SPDX-License-Identifier: GPL-3.0-or-later
// The part of the decoder that is loaded only by decoders which are to know all formats.
#pragma once

namespace quorvane {

struct Formats;

/// Beside the decoder.
constexpr char kFormatsModule[] = "quorvane-decoder-formats.so";

/// The module's one function, which gives allFormats().
constexpr char kFormatsFunction[] = "quorvaneFormats";
using FormatsFunction = const Formats* (*)();

/// Loads the module. \return nullptr when it is not there or does not fit this machine.
const Formats* loadFormatsModule();

} // namespace quorvane
