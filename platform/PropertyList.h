// SPDX-License-Identifier: GPL-3.0-or-later
// XML property lists: the form of the settings file and of the tables compiled into the program.
//
// What a property list holds, and the type that stands for it in a QVariant:
//   true, false -> bool          integer -> qlonglong (qulonglong beyond its range)
//   real        -> double        string  -> QString
//   date        -> QDateTime     data    -> QByteArray
//   array       -> QVariantList  dict    -> QVariantMap
#pragma once

#include "platform/Result.h"

#include <QVariant>

#include <optional>

namespace quorvane {

/// Arrays and dictionaries may stand in each other so deep. Far more than any list of ours needs,
/// and few enough that reading, copying and destroying one fits on every thread's stack.
constexpr int kPropertyListMaxDepth = 512;

/// Reads an XML property list. Thread: any.
/// \return Damaged with the line in the message if the text is cut short, is not well formed,
/// declares entities of its own, nests deeper than kPropertyListMaxDepth, or is anything else than
/// one value; a dictionary that has a key twice is damaged too. Unsupported for the binary form.
Result<QVariant> readPropertyList(const QByteArray& xml);

/// `value` as it will come back from being written and read: whole numbers as qlonglong, floats as
/// double, string lists as QVariantList, hashes as QVariantMap, dates in UTC, texts without the
/// characters that XML cannot carry (most control characters, half surrogate pairs). If two keys
/// of a dictionary become the same by that, the one that was right from the start stays.
/// \return nothing if a type in it is none of a property list's, a date is invalid or outside of
/// the years 0 to 9999, or it nests deeper than kPropertyListMaxDepth. Thread: any.
std::optional<QVariant> canonicalPropertyList(const QVariant& value);

/// `value` as UTF-8 text that readPropertyList() turns into canonicalPropertyList(value) again.
/// \return an empty array where that function has none. Thread: any.
QByteArray writePropertyList(const QVariant& value);

} // namespace quorvane
