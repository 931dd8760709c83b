// SPDX-License-Identifier: GPL-3.0-or-later
// What is to be seen while there is only something to hear.
#pragma once

#include <QFont>
#include <QImage>
#include <QSize>
#include <QString>

#include <optional>

namespace quorvane {

struct SoundScreenContents {
    QString title; ///< Plain text; what is too long for three lines, or the screen, is cut.
    /// A null image for none: a note stands in its place. Nothing while it is being looked for: its
    /// place is empty, so that no note gives way to a cover.
    std::optional<QImage> cover;
    QFont font; ///< Its family; the size follows the screen.
};

/// A dark screen with the cover in its middle and the title below it. \param pixels  of the screen.
/// \return Format_RGB32, of that size; null for an empty one. Thread: main.
QImage soundScreen(const SoundScreenContents& contents, QSize pixels);

} // namespace quorvane
