// SPDX-License-Identifier: GPL-3.0-or-later
// XML property lists: the form of the settings file and of the tables compiled into the program.
#pragma once

#include "platform/PropertyListValue.h"
#include "platform/Result.h"

#include <QByteArray>
#include <QVariant>

namespace quorvane {

/// Reads an XML property list. Thread: any.
/// \return Damaged with the line in the message if the text is cut short, is not well formed,
/// declares entities of its own, nests deeper than kPropertyListMaxDepth, or is anything else than
/// one value; a dictionary that has a key twice is damaged too. Unsupported for the binary form.
Result<QVariant> readPropertyList(const QByteArray& xml);

/// `value` as UTF-8 text that readPropertyList() turns into canonicalPropertyList(value) again.
/// \return an empty array where that function has none. Thread: any.
QByteArray writePropertyList(const QVariant& value);

} // namespace quorvane
