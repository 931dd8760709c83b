// SPDX-License-Identifier: GPL-3.0-or-later
// The fonts for text in drawings, for a program that will not be able to open files.
#pragma once

namespace quorvane {

/// Leaves the libraries that draw text with the desktop's usual faces alone: sans-serif, serif and
/// monospace, some of them bold and italic. Whatever font a drawing names, the nearest of these is
/// taken. They are opened when they are first drawn with, so that has to happen before files
/// cannot be opened any more. Without any font on the machine nothing changes.
void keepUsualFonts();

} // namespace quorvane
