// SPDX-License-Identifier: GPL-3.0-or-later
// How file names and paths are ordered.
//
// Names on disk are bytes, so both orders work on bytes: a name is turned into a key once, and keys
// are compared without allocating. Keys are UTF-8, whose byte order is the order of code points. No
// locale takes part: the same folder has the same order on every machine.
//
// Thread: any.
#pragma once

#include <QByteArray>

namespace quorvane {

/// The key of a name in the numeric, caseless order: UTF-8 of the canonical decomposition with full
/// case folding (ß = ss, final sigma = sigma). A name that is not valid UTF-8 keeps its bytes, with
/// ASCII letters lowered.
QByteArray numericCaselessKey(const QByteArray& name);

/// Compares two keys of numericCaselessKey(). Runs of ASCII digits compare by their value, whatever
/// their length, and leading zeros do not count; everything else compares by code point; the string
/// that ends first is less. There is no tie-break: "img1" and "img01" are the same.
/// \return less than, equal to or greater than 0. A strict weak ordering.
int compareNumericCaselessKeys(const QByteArray& a, const QByteArray& b);

/// compareNumericCaselessKeys() of the keys of two names. To sort many names, make their keys once.
int compareNumericCaseless(const QByteArray& nameA, const QByteArray& nameB);

/// The key of a text in the plain order: UTF-8 of the canonical decomposition, case kept. ASCII,
/// and what is not valid UTF-8, is its own key and shares its bytes. Keys compare as unsigned
/// bytes.
QByteArray plainKey(const QByteArray& text);

/// Case-sensitive order by code points; canonically equivalent texts are the same.
/// \return less than, equal to or greater than 0. A strict weak ordering.
int comparePlain(const QByteArray& a, const QByteArray& b);

} // namespace quorvane
