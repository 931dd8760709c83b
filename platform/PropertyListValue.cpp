// SPDX-License-Identifier: GPL-3.0-or-later
// Bringing values into the form in which they come back from a file.
#include "platform/PropertyListValue.h"

#include <QDateTime>

#include <limits>

namespace quorvane {

namespace {

/// `text` without what no XML text may contain, not even as a character reference.
QString carriedByXml(const QString& text)
{
    QString kept;
    kept.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (c.isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate()) {
            kept += c;
            kept += text[++i];
            continue;
        }
        const bool isControl = c < u' ' && c != u'\t' && c != u'\n' && c != u'\r';
        if (!isControl && !c.isSurrogate() && c < QChar(0xFFFE))
            kept += c;
    }
    return kept;
}

std::optional<QVariant> canonical(const QVariant& value, int depth);

std::optional<QVariant> canonicalList(const QVariantList& list, int depth)
{
    if (depth > kPropertyListMaxDepth)
        return {};
    QVariantList result;
    result.reserve(list.size());
    for (const QVariant& item : list) {
        const auto kept = canonical(item, depth);
        if (!kept)
            return {};
        result.append(*kept);
    }
    return QVariant(result);
}

std::optional<QVariant> canonicalMap(const QVariantMap& map, int depth)
{
    if (depth > kPropertyListMaxDepth)
        return {};
    QVariantMap result;
    for (auto entry = map.begin(); entry != map.end(); ++entry) {
        const auto kept = canonical(entry.value(), depth);
        if (!kept)
            return {};
        const QString key = carriedByXml(entry.key());
        if (key == entry.key() || !map.contains(key))
            result.insert(key, *kept);
    }
    return QVariant(result);
}

std::optional<QVariant> canonicalDate(const QDateTime& date)
{
    const QDateTime utc = date.toUTC();
    if (!utc.isValid() || utc.date().year() < 0 || utc.date().year() > 9999)
        return {};
    return utc;
}

QVariant canonicalUnsigned(qulonglong number)
{
    if (number > static_cast<qulonglong>(std::numeric_limits<qlonglong>::max()))
        return number;
    return static_cast<qlonglong>(number);
}

/// \param depth  of the containers around `value`.
std::optional<QVariant> canonical(const QVariant& value, int depth)
{
    switch (value.typeId()) {
    case QMetaType::Bool:
    case QMetaType::QByteArray:
    case QMetaType::Double:
        return value;
    case QMetaType::Float:
        return value.toDouble();
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::SChar:
    case QMetaType::UChar:
    case QMetaType::Long:
    case QMetaType::LongLong:
        return value.toLongLong();
    case QMetaType::ULong:
    case QMetaType::ULongLong:
        return canonicalUnsigned(value.toULongLong());
    case QMetaType::QString:
        return carriedByXml(value.toString());
    case QMetaType::QDateTime:
        return canonicalDate(value.toDateTime());
    case QMetaType::QVariantList:
    case QMetaType::QStringList:
        return canonicalList(value.toList(), depth + 1);
    case QMetaType::QVariantMap:
    case QMetaType::QVariantHash:
        return canonicalMap(value.toMap(), depth + 1);
    default:
        return {};
    }
}

} // namespace

std::optional<QVariant> canonicalPropertyList(const QVariant& value) { return canonical(value, 0); }

} // namespace quorvane
