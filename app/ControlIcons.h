// SPDX-License-Identifier: GPL-3.0-or-later
// Pictures on the buttons that drive the show.
#pragma once

class QIcon;

namespace quorvane {

enum class ControlSymbol { Previous, Play, Pause, Next, Open };

/// Drawn in the colour that the palette has for a button's text, now and whenever it changes: the
/// style's own pictures are black, on dark buttons too. Sharp in every size.
QIcon controlIcon(ControlSymbol symbol);

} // namespace quorvane
