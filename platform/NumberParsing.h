// SPDX-License-Identifier: GPL-3.0-or-later
// Numbers out of text as people and old settings write them: what can be read is taken, the rest is
// ignored, nothing ever fails.
#pragma once

#include <QStringView>

namespace quorvane {

/// The whole number that `text` begins with: white space, an optional sign, ASCII digits. Whatever
/// follows is ignored ("2b" is 2, "1e3" is 1); without digits 0; beyond the range its nearest end.
/// Thread: any.
qint64 integerValue(QStringView text);

/// As integerValue(), within the range of int.
int intValue(QStringView text);

/// The decimal number that `text` begins with: white space, an optional sign, ASCII digits with at
/// most one dot, an optional exponent; the same in every locale. Without digits 0; too great for a
/// double, plus or minus infinity; too small, 0. The words for infinity and not-a-number are no
/// digits.
double floatValue(QStringView text);

/// Whether `text` says yes: after white space it begins with Y or T in either case ("YES", "true"),
/// or with a whole number other than 0.
bool boolValue(QStringView text);

} // namespace quorvane
