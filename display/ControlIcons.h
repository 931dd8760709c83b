// SPDX-License-Identifier: GPL-3.0-or-later
// Pictures on the buttons that drive the show.
#pragma once

#include <QColor>

class QIcon;

namespace quorvane {

enum class ControlSymbol { Previous, Play, Pause, Next, Open, Sound, Silence };

/// Drawn in the colour that the palette has for a button's text, now and whenever it changes: the
/// style's own pictures are black, on dark buttons too. Sharp in every size.
/// \param colour  of its own, for who brings their own background.
QIcon controlIcon(ControlSymbol symbol, const QColor& colour = {});

} // namespace quorvane
