// SPDX-License-Identifier: GPL-3.0-or-later
// Small files written by hand.
#pragma once

#include <QByteArray>
#include <QImage>
#include <QtEndian>

#include <initializer_list>

namespace quorvane::testing {

/// Numbers as bytes, one each.
inline QByteArray bytes(std::initializer_list<int> values)
{
    QByteArray result;
    for (const int value : values)
        result += static_cast<char>(value);
    return result;
}

template <typename Number> QByteArray little(Number number)
{
    const Number stored = qToLittleEndian(number);
    return { reinterpret_cast<const char*>(&stored), sizeof stored };
}

template <typename Number> QByteArray big(Number number)
{
    const Number stored = qToBigEndian(number);
    return { reinterpret_cast<const char*>(&stored), sizeof stored };
}

} // namespace quorvane::testing
