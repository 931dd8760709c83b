// SPDX-License-Identifier: GPL-3.0-or-later
// Reading and writing of XML property lists over Qt's stream classes.
#include "platform/PropertyList.h"

#include <QDateTime>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#include <cmath>
#include <limits>

namespace quorvane {

namespace {

const QByteArray kBinaryMark = QByteArrayLiteral("bplist");

/// Reads one document. Whatever is wrong is raised as an error of the stream reader, which then
/// yields no more tokens: every loop ends, and the first error and its line stay.
class Reader {
public:
    explicit Reader(const QByteArray& xml)
        : mXml(xml)
    {
    }

    Result<QVariant> document();

private:
    void readProlog();
    bool nextChild();
    QString elementText();
    QVariant value(int depth);
    QVariant array(int depth);
    QVariant dictionary(int depth);
    QVariant truth(bool value);
    QVariant integer();
    QVariant real();
    QVariant date();
    QVariant data();
    void raise(const QString& message);

    QXmlStreamReader mXml;
};

Result<QVariant> Reader::document()
{
    readProlog();
    QVariant root;
    if (nextChild())
        root = value(0);
    else
        raise(QStringLiteral("the list holds no value"));
    if (nextChild())
        raise(QStringLiteral("a second value beside the first"));
    while (!mXml.atEnd())
        mXml.readNext();
    if (mXml.hasError()) {
        return fail(ErrorKind::Damaged,
            QStringLiteral("line %1: %2").arg(mXml.lineNumber()).arg(mXml.errorString()));
    }
    return root;
}

void Reader::raise(const QString& message)
{
    if (!mXml.hasError())
        mXml.raiseError(message);
}

/// Up to and including the start of the outermost element.
void Reader::readProlog()
{
    while (!mXml.hasError() && mXml.readNext() != QXmlStreamReader::StartElement) {
        // Entities are what makes a small file unfold into a huge one; no property list needs any.
        if (mXml.isDTD() && !mXml.entityDeclarations().isEmpty())
            raise(QStringLiteral("entities are declared"));
    }
    if (mXml.isStartElement() && mXml.name() != QLatin1String("plist"))
        raise(QStringLiteral("the outermost element is \"%1\"").arg(mXml.name()));
}

/// Steps to the next element inside the current one. \return false at its end or after an error.
bool Reader::nextChild()
{
    while (!mXml.hasError()) {
        switch (mXml.readNext()) {
        case QXmlStreamReader::StartElement:
            return true;
        case QXmlStreamReader::Comment:
        case QXmlStreamReader::ProcessingInstruction:
            break;
        case QXmlStreamReader::Characters:
            if (!mXml.isWhitespace())
                raise(QStringLiteral("text outside of a value"));
            break;
        case QXmlStreamReader::EntityReference:
            raise(QStringLiteral("an unknown entity"));
            break;
        default:
            return false;
        }
    }
    return false;
}

/// The text of the current element, up to its end.
QString Reader::elementText()
{
    QString text;
    while (!mXml.hasError()) {
        switch (mXml.readNext()) {
        case QXmlStreamReader::Characters:
            text += mXml.text();
            break;
        case QXmlStreamReader::Comment:
        case QXmlStreamReader::ProcessingInstruction:
            break;
        case QXmlStreamReader::StartElement:
        case QXmlStreamReader::EntityReference:
            raise(QStringLiteral("something else than text in a value"));
            break;
        default:
            return text;
        }
    }
    return text;
}

QVariant Reader::value(int depth)
{
    const QStringView name = mXml.name();
    if (name == QLatin1String("string"))
        return elementText();
    if (name == QLatin1String("integer"))
        return integer();
    if (name == QLatin1String("true"))
        return truth(true);
    if (name == QLatin1String("false"))
        return truth(false);
    if (name == QLatin1String("dict"))
        return dictionary(depth + 1);
    if (name == QLatin1String("array"))
        return array(depth + 1);
    if (name == QLatin1String("real"))
        return real();
    if (name == QLatin1String("data"))
        return data();
    if (name == QLatin1String("date"))
        return date();
    raise(QStringLiteral("unexpected element \"%1\"").arg(name));
    return {};
}

QVariant Reader::array(int depth)
{
    if (depth > kPropertyListMaxDepth) {
        raise(QStringLiteral("nested too deep"));
        return {};
    }
    QVariantList list;
    while (nextChild())
        list.append(value(depth));
    return list;
}

QVariant Reader::dictionary(int depth)
{
    if (depth > kPropertyListMaxDepth) {
        raise(QStringLiteral("nested too deep"));
        return {};
    }
    QVariantMap map;
    while (nextChild()) {
        if (mXml.name() != QLatin1String("key")) {
            raise(QStringLiteral("a value without a key"));
            break;
        }
        const QString key = elementText();
        if (map.contains(key))
            raise(QStringLiteral("the key \"%1\" stands twice").arg(key));
        else if (nextChild())
            map.insert(key, value(depth));
        else
            raise(QStringLiteral("the key \"%1\" has no value").arg(key));
    }
    return map;
}

QVariant Reader::truth(bool value)
{
    if (!elementText().trimmed().isEmpty())
        raise(QStringLiteral("text in a truth value"));
    return value;
}

QVariant Reader::integer()
{
    const QByteArray text = elementText().trimmed().toLatin1();
    bool ok = false;
    const qlonglong number = text.toLongLong(&ok);
    if (ok)
        return number;
    const qulonglong large = text.toULongLong(&ok);
    if (ok)
        return large;
    raise(QStringLiteral("a whole number that is none"));
    return {};
}

QVariant Reader::real()
{
    const QByteArray text = elementText().trimmed().toLatin1().toLower();
    if (text == "nan")
        return std::numeric_limits<double>::quiet_NaN();
    if (text == "infinity" || text == "+infinity" || text == "inf" || text == "+inf")
        return std::numeric_limits<double>::infinity();
    if (text == "-infinity" || text == "-inf")
        return -std::numeric_limits<double>::infinity();
    bool ok = false;
    const double number = text.toDouble(&ok);
    if (!ok)
        raise(QStringLiteral("a number that is none"));
    return number;
}

QVariant Reader::date()
{
    const QString text = elementText().trimmed();
    const QDateTime date = QDateTime::fromString(text, Qt::ISODate);
    // A time without its zone would mean another moment on every machine.
    if (!date.isValid() || date.timeSpec() == Qt::LocalTime)
        raise(QStringLiteral("a date that is none"));
    return date.toUTC();
}

QVariant Reader::data()
{
    QByteArray text = elementText().toLatin1();
    text.removeIf([](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; });
    auto decoded = QByteArray::fromBase64Encoding(text, QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded || text.size() % 4 != 0)
        raise(QStringLiteral("data that is not in base 64"));
    return decoded.decoded;
}

void writeTextElement(QXmlStreamWriter& xml, const QString& name, const QString& text)
{
    xml.writeStartElement(name);
    qsizetype start = 0;
    for (qsizetype i = text.indexOf(u'\r'); i >= 0; i = text.indexOf(u'\r', start)) {
        // As itself it would be read as a line feed.
        xml.writeCharacters(text.sliced(start, i - start));
        xml.writeEntityReference(QStringLiteral("#13"));
        start = i + 1;
    }
    xml.writeCharacters(text.sliced(start));
    xml.writeEndElement();
}

QString realText(double number)
{
    if (std::isnan(number))
        return QStringLiteral("nan");
    if (std::isinf(number))
        return number > 0 ? QStringLiteral("+infinity") : QStringLiteral("-infinity");
    return QString::number(number, 'g', QLocale::FloatingPointShortest);
}

QString dateText(const QDateTime& date)
{
    // Whole seconds are the common form; a fraction is written only where one would be lost.
    return date.toString(date.time().msec() == 0 ? Qt::ISODate : Qt::ISODateWithMs);
}

/// \param value  in its canonical form.
void writeValue(QXmlStreamWriter& xml, const QVariant& value);

void writeArray(QXmlStreamWriter& xml, const QVariantList& list)
{
    xml.writeStartElement(QStringLiteral("array"));
    for (const QVariant& item : list)
        writeValue(xml, item);
    xml.writeEndElement();
}

void writeDictionary(QXmlStreamWriter& xml, const QVariantMap& map)
{
    xml.writeStartElement(QStringLiteral("dict"));
    for (auto entry = map.begin(); entry != map.end(); ++entry) {
        writeTextElement(xml, QStringLiteral("key"), entry.key());
        writeValue(xml, entry.value());
    }
    xml.writeEndElement();
}

void writeValue(QXmlStreamWriter& xml, const QVariant& value)
{
    switch (value.typeId()) {
    case QMetaType::Bool:
        xml.writeEmptyElement(value.toBool() ? QStringLiteral("true") : QStringLiteral("false"));
        return;
    case QMetaType::Double:
        return writeTextElement(xml, QStringLiteral("real"), realText(value.toDouble()));
    case QMetaType::QString:
        return writeTextElement(xml, QStringLiteral("string"), value.toString());
    case QMetaType::QByteArray:
        return writeTextElement(
            xml, QStringLiteral("data"), QString::fromLatin1(value.toByteArray().toBase64()));
    case QMetaType::QDateTime:
        return writeTextElement(xml, QStringLiteral("date"), dateText(value.toDateTime()));
    case QMetaType::QVariantList:
        return writeArray(xml, value.toList());
    case QMetaType::QVariantMap:
        return writeDictionary(xml, value.toMap());
    default: // Both widths of whole numbers.
        return writeTextElement(xml, QStringLiteral("integer"), value.toString());
    }
}

} // namespace

Result<QVariant> readPropertyList(const QByteArray& xml)
{
    if (xml.startsWith(kBinaryMark))
        return fail(ErrorKind::Unsupported, QStringLiteral("a binary property list"));
    return Reader(xml).document();
}

QByteArray writePropertyList(const QVariant& value)
{
    const auto kept = canonicalPropertyList(value);
    if (!kept)
        return {};
    QByteArray text;
    QXmlStreamWriter xml(&text);
    xml.setAutoFormatting(true);
    xml.setAutoFormattingIndent(-1); // One tab: deep lists stay small.
    xml.writeStartDocument();
    xml.writeStartElement(QStringLiteral("plist"));
    xml.writeAttribute(QStringLiteral("version"), QStringLiteral("1.0"));
    writeValue(xml, *kept);
    xml.writeEndDocument();
    return text;
}

} // namespace quorvane
