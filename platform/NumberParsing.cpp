// SPDX-License-Identifier: GPL-3.0-or-later
// Numbers out of text, leniently.
#include "platform/NumberParsing.h"

#include <algorithm>
#include <limits>

namespace quorvane {

namespace {

bool isDigit(QChar c) { return c >= u'0' && c <= u'9'; }

bool isSign(QChar c) { return c == u'+' || c == u'-'; }

/// Reads a text from the left.
class Scanner {
public:
    explicit Scanner(QStringView text)
        : mText(text)
    {
    }

    /// Steps over one character if `accept` likes it.
    template <typename Accept> bool skip(Accept accept)
    {
        if (mAt >= mText.size() || !accept(mText[mAt]))
            return false;
        ++mAt;
        return true;
    }

    /// Steps over all characters in a row that `accept` likes. \return how many.
    template <typename Accept> qsizetype skipAll(Accept accept)
    {
        const qsizetype start = mAt;
        while (skip(accept)) { }
        return mAt - start;
    }

    qsizetype position() const { return mAt; }
    void moveTo(qsizetype position) { mAt = position; }
    QStringView from(qsizetype start) const { return mText.sliced(start, mAt - start); }

private:
    QStringView mText;
    qsizetype mAt = 0;
};

QStringView withoutLeadingSpace(QStringView text)
{
    Scanner scanner(text);
    return text.sliced(scanner.skipAll([](QChar c) { return c.isSpace(); }));
}

} // namespace

qint64 integerValue(QStringView text)
{
    Scanner scanner(withoutLeadingSpace(text));
    scanner.skip(isSign);
    const QStringView sign = scanner.from(0);
    const qsizetype start = scanner.position();
    scanner.skipAll(isDigit);

    const bool negative = sign == u"-";
    const qint64 end
        = negative ? std::numeric_limits<qint64>::min() : std::numeric_limits<qint64>::max();
    qint64 value = 0;
    for (const QChar c : scanner.from(start)) {
        const qint64 digit = c.unicode() - u'0';
        // Counted away from zero with the number's own sign: the least value has no positive twin.
        if (negative ? value < (end + digit) / 10 : value > (end - digit) / 10)
            return end;
        value = value * 10 + (negative ? -digit : digit);
    }
    return value;
}

int intValue(QStringView text)
{
    return static_cast<int>(std::clamp<qint64>(
        integerValue(text), std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

double floatValue(QStringView text)
{
    Scanner scanner(withoutLeadingSpace(text));
    scanner.skip(isSign);
    qsizetype digits = scanner.skipAll(isDigit);
    if (scanner.skip([](QChar c) { return c == u'.'; }))
        digits += scanner.skipAll(isDigit);
    if (digits == 0)
        return 0;

    const qsizetype mantissaEnd = scanner.position();
    scanner.skip([](QChar c) { return c == u'e' || c == u'E'; });
    scanner.skip(isSign);
    if (scanner.skipAll(isDigit) == 0) // "5 eels": that was no exponent.
        scanner.moveTo(mantissaEnd);

    return scanner.from(0).toDouble(); // In the C locale; infinity and 0 at the ends.
}

bool boolValue(QStringView text)
{
    const QStringView trimmed = withoutLeadingSpace(text);
    const bool saysYes = trimmed.startsWith(u'y', Qt::CaseInsensitive)
        || trimmed.startsWith(u't', Qt::CaseInsensitive);
    return saysYes || integerValue(trimmed) != 0;
}

} // namespace quorvane
