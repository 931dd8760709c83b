// SPDX-License-Identifier: GPL-3.0-or-later
// How file names and paths are ordered.
#include "platform/TextRules.h"

#include <QString>
#include <QStringDecoder>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <optional>

namespace quorvane {

namespace {

bool isAscii(const QByteArray& text)
{
    return std::none_of(text.cbegin(), text.cend(),
        [](char byte) { return (static_cast<unsigned char>(byte) & 0x80U) != 0; });
}

/// Nothing unless the text is valid UTF-8 from end to end.
std::optional<QString> decomposed(const QByteArray& text)
{
    // A byte order mark is part of a name like any other character, and half a character at the
    // end is an error, not a promise of more.
    QStringDecoder decoder(QStringDecoder::Utf8,
        QStringDecoder::Flag::Stateless | QStringDecoder::Flag::ConvertInitialBom);
    const QString decoded = decoder(text);
    if (decoder.hasError())
        return std::nullopt;
    return decoded.normalized(QString::NormalizationForm_D);
}

struct Expansion {
    char16_t folded; ///< What QString::toCaseFolded() leaves.
    const char16_t* full;
};

/// The full foldings, status F in Unicode's CaseFolding.txt, of the characters that have no
/// canonical decomposition. QString::toCaseFolded() does the foldings to a single character only.
constexpr Expansion kExpansions[] = {
    { u'\u00DF', u"ss" },
    { u'\u0149', u"\u02BCn" },
    { u'\u0587', u"\u0565\u0582" },
    { u'\u1E9A', u"a\u02BE" },
    { u'\uFB00', u"ff" },
    { u'\uFB01', u"fi" },
    { u'\uFB02', u"fl" },
    { u'\uFB03', u"ffi" },
    { u'\uFB04', u"ffl" },
    { u'\uFB05', u"st" },
    { u'\uFB06', u"st" },
    { u'\uFB13', u"\u0574\u0576" },
    { u'\uFB14', u"\u0574\u0565" },
    { u'\uFB15', u"\u0574\u056B" },
    { u'\uFB16', u"\u057E\u0576" },
    { u'\uFB17', u"\u0574\u056D" },
};

const char16_t* fullFolding(QChar character)
{
    const auto* const expansion = std::find_if(std::begin(kExpansions), std::end(kExpansions),
        [character](const Expansion& row) { return row.folded == character.unicode(); });
    return expansion == std::end(kExpansions) ? nullptr : expansion->full;
}

QString fullyCaseFolded(const QString& text)
{
    QString folded = text.toCaseFolded();
    for (qsizetype i = folded.size() - 1; i >= 0; --i) {
        if (const char16_t* const full = fullFolding(folded.at(i)))
            folded.replace(i, 1, QStringView(full).toString());
    }
    return folded;
}

bool isDigit(char byte) { return byte >= '0' && byte <= '9'; }

/// Reads a run of digits.
class DigitRun {
public:
    /// \param begin  moved behind the run.
    DigitRun(const char*& begin, const char* end)
    {
        while (begin != end && *begin == '0')
            ++begin;
        mFirst = begin;
        while (begin != end && isDigit(*begin))
            ++begin;
        mLength = begin - mFirst;
    }

    int compare(const DigitRun& other) const
    {
        // Without leading zeros, the longer run is the greater number.
        if (mLength != other.mLength)
            return mLength < other.mLength ? -1 : 1;
        return std::memcmp(mFirst, other.mFirst, static_cast<size_t>(mLength));
    }

private:
    const char* mFirst; ///< Behind the leading zeros.
    std::ptrdiff_t mLength;
};

/// How many bytes at the beginning of both can be passed over without reading them. Names of one
/// folder mostly begin alike, and a sort compares each of them some twenty times.
size_t lengthOfCommonBeginning(const char* left, const char* right, size_t size)
{
    using Word = std::uint64_t;
    size_t length = 0;
    for (; length + sizeof(Word) <= size; length += sizeof(Word)) {
        Word leftWord = 0;
        Word rightWord = 0;
        std::memcpy(&leftWord, left + length, sizeof(Word));
        std::memcpy(&rightWord, right + length, sizeof(Word));
        if (leftWord != rightWord)
            break;
    }
    while (length < size && left[length] == right[length])
        ++length;
    // A number that goes on behind is to be read whole.
    while (length > 0 && isDigit(left[length - 1]))
        --length;
    return length;
}

} // namespace

QByteArray numericCaselessKey(const QByteArray& name)
{
    if (isAscii(name))
        return name.toLower();
    const std::optional<QString> text = decomposed(name);
    return text ? fullyCaseFolded(*text).toUtf8() : name.toLower();
}

int compareNumericCaselessKeys(const QByteArray& a, const QByteArray& b)
{
    const char* left = a.constData();
    const char* right = b.constData();
    const char* const leftEnd = left + a.size();
    const char* const rightEnd = right + b.size();
    const size_t common
        = lengthOfCommonBeginning(left, right, static_cast<size_t>(std::min(a.size(), b.size())));
    left += common;
    right += common;
    while (left != leftEnd && right != rightEnd) {
        if (isDigit(*left) && isDigit(*right)) {
            const DigitRun leftRun(left, leftEnd);
            const DigitRun rightRun(right, rightEnd);
            if (const int order = leftRun.compare(rightRun); order != 0)
                return order;
            continue;
        }
        if (*left != *right)
            return static_cast<unsigned char>(*left) - static_cast<unsigned char>(*right);
        ++left;
        ++right;
    }
    return static_cast<int>(left != leftEnd) - static_cast<int>(right != rightEnd);
}

int compareNumericCaseless(const QByteArray& nameA, const QByteArray& nameB)
{
    return compareNumericCaselessKeys(numericCaselessKey(nameA), numericCaselessKey(nameB));
}

QByteArray plainKey(const QByteArray& text)
{
    if (isAscii(text))
        return text;
    const std::optional<QString> characters = decomposed(text);
    return characters ? characters->toUtf8() : text;
}

int comparePlain(const QByteArray& a, const QByteArray& b)
{
    return plainKey(a).compare(plainKey(b));
}

} // namespace quorvane
