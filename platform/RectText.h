// SPDX-License-Identifier: GPL-3.0-or-later
// The text form of a rectangle in the stored settings: "{{x, y}, {width, height}}".
//
// Thread: any.
#pragma once

#include <QRectF>
#include <QString>

namespace quorvane {

/// Seventeen significant digits, so that reading the text back gives the very same numbers; whole
/// numbers without a point: "{{0, 0}, {1280, 720}}". Independent of the locale.
QString stringFromRect(const QRectF& rect);

/// Reads the first four numbers wherever they stand, whatever stands around them. Numbers that are
/// missing, or too large for a double, are 0. Never fails: garbage is the zero rectangle. The
/// settings file can be edited by hand, so callers check that the result makes sense.
QRectF rectFromString(const QString& text);

} // namespace quorvane
