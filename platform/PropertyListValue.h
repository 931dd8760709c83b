// SPDX-License-Identifier: GPL-3.0-or-later
// The values that a property list can hold, and the one form of each.
//
// What a property list holds, and the type that stands for it in a QVariant:
//   true, false -> bool          integer -> qlonglong (qulonglong beyond its range)
//   real        -> double        string  -> QString
//   date        -> QDateTime     data    -> QByteArray
//   array       -> QVariantList  dict    -> QVariantMap
#pragma once

#include <QVariant>

#include <optional>

namespace quorvane {

/// Arrays and dictionaries may stand in each other so deep. Far more than any list of ours needs,
/// and few enough that reading, copying and destroying one fits on every thread's stack.
constexpr int kPropertyListMaxDepth = 512;

/// `value` as it will come back from being written and read: whole numbers as qlonglong, floats as
/// double, string lists as QVariantList, hashes as QVariantMap, dates in UTC, texts without the
/// characters that XML cannot carry (most control characters, half surrogate pairs). If two keys
/// of a dictionary become the same by that, the one that was right from the start stays.
/// \return nothing if a type in it is none of a property list's, a date is invalid or outside of
/// the years 0 to 9999, or it nests deeper than kPropertyListMaxDepth. Thread: any.
std::optional<QVariant> canonicalPropertyList(const QVariant& value);

} // namespace quorvane
