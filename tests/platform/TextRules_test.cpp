// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/TextRules.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <vector>

namespace quorvane {
namespace {

int sign(int order) { return (order > 0) - (order < 0); }

struct Pair {
    const char* left;
    const char* right;
    int order; ///< -1, 0, 1
};

void PrintTo(const Pair& pair, std::ostream* out)
{
    *out << '"' << pair.left << "\" against \"" << pair.right << '"';
}

class NumericCaseless : public testing::TestWithParam<Pair> { };

TEST_P(NumericCaseless, OrdersThePairBothWays)
{
    const auto [left, right, order] = GetParam();

    EXPECT_EQ(sign(compareNumericCaseless(left, right)), order);
    EXPECT_EQ(sign(compareNumericCaseless(right, left)), -order);
}

INSTANTIATE_TEST_SUITE_P(Digits, NumericCaseless,
    testing::Values(Pair { "img9", "img10", -1 }, Pair { "img01", "img1", 0 },
        Pair { "img001.jpg", "img1.jpg", 0 }, Pair { "a01b", "a1c", -1 }, Pair { "a", "a1", -1 },
        Pair { "a", "a0", -1 }, Pair { "0", "00", 0 }, Pair { "a0b", "a00b", 0 },
        Pair { "a1", "ab", -1 }, Pair { "1.5", "1.10", -1 }, Pair { "-5", "-4", 1 },
        Pair { "img\xD9\xA3", "img\xD9\xA1\xD9\xA0", 1 }, Pair { "img10a", "img1a", 1 },
        Pair { "img100", "img1", 1 }, Pair { "img2000", "img1999", 1 }, Pair { "9/", "9:", -1 },
        Pair { "a1b2c10", "a1b2c9", 1 }, Pair { "2019", "2019-2", -1 }));

INSTANTIATE_TEST_SUITE_P(DigitRunsBeyondSixtyFourBits, NumericCaseless,
    testing::Values(Pair { "18446744073709551616", "1", 1 },
        Pair { "18446744073709551617", "18446744073709551616", 1 },
        Pair { "99999999999999999999999999999999999999", "100000000000000000000000000000000000000",
            -1 },
        Pair { "0000000000000000000000000000007", "7", 0 }));

INSTANTIATE_TEST_SUITE_P(LongCommonBeginnings, NumericCaseless,
    testing::Values(Pair { "holidays 1234x", "holidays 12345", -1 },
        Pair { "holidays 12345", "holidays 9", 1 }, Pair { "holidays-19", "holidays-1", 1 },
        Pair { "holidays", "holidays1", -1 }, Pair { "12345678901", "1234567890x", 1 },
        Pair { "holidays 0001", "holidays 001", 0 }, Pair { "holidays 0001b", "holidays 001a", 1 },
        Pair { "holidays by the sea", "holidays by the lake", 1 }));

INSTANTIATE_TEST_SUITE_P(Letters, NumericCaseless,
    testing::Values(Pair { "img2.jpg", "IMG2.JPG", 0 }, Pair { "a_b", "ab", -1 },
        Pair { "a_b", "aB", -1 }, Pair { "a[b", "aZb", -1 }, Pair { "a{b", "aZb", 1 },
        Pair { "a_b", "a1", 1 }, Pair { "a b", "a-b", -1 }, Pair { "a-b", "a.b", -1 },
        Pair { "a.b", "a1b", -1 }, Pair { "", "", 0 }, Pair { "", "a", -1 }));

INSTANTIATE_TEST_SUITE_P(BeyondAscii, NumericCaseless,
    testing::Values(Pair { "\u00E9.jpg", "f.jpg", -1 }, Pair { "z.jpg", "\u00E9.jpg", 1 },
        Pair { "\u00E9", "e\u0301", 0 }, Pair { "\u00C9", "e\u0301", 0 },
        Pair { "stra\u00DFe", "STRASSE", 0 }, Pair { "STRA\u1E9EE", "strasse", 0 },
        Pair { "\u03A3\u03AF\u03C3\u03C5\u03C6\u03BF\u03C2",
            "\u03C3\u03AF\u03C3\u03C5\u03C6\u03BF\u03C3", 0 },
        Pair { "\uFB01le", "FILE", 0 }, Pair { "\uFB04", "ffl", 0 },
        Pair { "\u0587", "\u0535\u0552", 0 }, Pair { "\u212A", "k", 0 },
        Pair { "\u0130", "i\u0307", 0 },
        // By code point, where UTF-16 units would turn it round.
        Pair { "\U0001F600", "\uF8FF", 1 }, Pair { "\uFEFFa", "a", 1 }));

INSTANTIATE_TEST_SUITE_P(NotUtf8, NumericCaseless,
    testing::Values(Pair { "B\xFF", "b\xFF", 0 }, Pair { "\xE9t\xE9", "z", 1 },
        Pair { "\xC9", "\xE9", -1 }, Pair { "a\xC3", "a", 1 }, Pair { "n2\xFF", "N10\xFF", -1 },
        Pair { "\xED\xA0\x80", "\xED\xA0\x81", -1 }));

TEST(NumericCaselessKey, SharesTheBytesOfALowerCaseAsciiName)
{
    const QByteArray name("img_0001.jpg");

    const QByteArray key = numericCaselessKey(name);

    EXPECT_EQ(key.constData(), name.constData());
}

TEST(NumericCaselessKey, OfAKeyIsTheKey)
{
    for (const char* name :
        { "IMG", "\u00C9\u00DF\u1E9E\uFB05", "\u1FB4", "A\xFF", "\u0149\u1E9A" }) {
        const QByteArray key = numericCaselessKey(name);

        EXPECT_EQ(numericCaselessKey(key), key) << name;
    }
}

TEST(NumericCaselessKey, KeepsBytesThatAreNoCharacter)
{
    EXPECT_EQ(numericCaselessKey("AB\xC9\xFF"), QByteArray("ab\xC9\xFF"));
}

/// Every word of up to `length` pieces out of a nasty alphabet.
std::vector<QByteArray> nastyNames(int length)
{
    const std::vector<QByteArray> pieces
        = { "0", "1", "9", "A", "a", "_", " ", "/", ":", "\u00DF", "\u0301", "\xFF" };
    std::vector<QByteArray> names = { QByteArray() };
    size_t begin = 0;
    for (int i = 0; i < length; ++i) {
        const size_t end = names.size();
        for (; begin < end; ++begin) {
            for (const QByteArray& piece : pieces)
                names.push_back(names[begin] + piece);
        }
    }
    return names;
}

std::vector<QByteArray> keysOf(const std::vector<QByteArray>& names)
{
    std::vector<QByteArray> keys;
    keys.reserve(names.size());
    std::transform(names.begin(), names.end(), std::back_inserter(keys), numericCaselessKey);
    return keys;
}

TEST(NumericCaselessOrder, IsAntisymmetric)
{
    const std::vector<QByteArray> keys = keysOf(nastyNames(2));

    for (const QByteArray& a : keys) {
        for (const QByteArray& b : keys) {
            ASSERT_EQ(
                sign(compareNumericCaselessKeys(a, b)), -sign(compareNumericCaselessKeys(b, a)))
                << a.toStdString() << " | " << b.toStdString();
        }
    }
}

TEST(NumericCaselessOrder, IsTransitiveInLessAndInSame)
{
    const std::vector<QByteArray> keys = keysOf(nastyNames(2));
    const size_t count = keys.size();
    std::vector<int> order(count * count);
    for (size_t i = 0; i < count * count; ++i)
        order[i] = sign(compareNumericCaselessKeys(keys[i / count], keys[i % count]));

    const auto holds = [&](size_t a, size_t b, size_t c) {
        const int first = order[a * count + b];
        return first != order[b * count + c] || first == order[a * count + c];
    };

    for (size_t i = 0; i < count * count; ++i) {
        for (size_t c = 0; c < count; ++c)
            ASSERT_TRUE(holds(i / count, i % count, c))
                << keys[i / count].toStdString() << " | " << keys[i % count].toStdString() << " | "
                << keys[c].toStdString();
    }
}

TEST(NumericCaselessOrder, SortsWhateverTheOrderBefore)
{
    std::vector<QByteArray> keys = keysOf(nastyNames(3));
    std::vector<QByteArray> backwards(keys.rbegin(), keys.rend());
    const auto less = [](const QByteArray& a, const QByteArray& b) {
        return compareNumericCaselessKeys(a, b) < 0;
    };

    std::sort(keys.begin(), keys.end(), less);
    std::stable_sort(backwards.begin(), backwards.end(), less);

    for (size_t i = 0; i < keys.size(); ++i)
        ASSERT_EQ(compareNumericCaselessKeys(keys[i], backwards[i]), 0) << i;
}

class Plain : public testing::TestWithParam<Pair> { };

TEST_P(Plain, OrdersThePairBothWays)
{
    const auto [left, right, order] = GetParam();

    EXPECT_EQ(sign(comparePlain(left, right)), order);
    EXPECT_EQ(sign(comparePlain(right, left)), -order);
}

INSTANTIATE_TEST_SUITE_P(All, Plain,
    testing::Values(Pair { "/x/B", "/x/a", -1 }, Pair { "a10", "a9", -1 }, Pair { "a", "a", 0 },
        Pair { "a", "ab", -1 }, Pair { "\u00C9", "E\u0301", 0 }, Pair { "\u00C9", "F", -1 },
        Pair { "\u00C9", "a", -1 }, Pair { "\u00C9", "\u00E9", -1 }, Pair { "\u00DF", "ss", 1 },
        Pair { "\U0001F600", "\uF8FF", 1 }, Pair { "z", "\xFF", -1 }, Pair { "\xFE", "\xFF", -1 },
        Pair { "", "a", -1 }));

TEST(PlainKey, SharesTheBytesOfAsciiAndOfWhatIsNotUtf8)
{
    for (const QByteArray& text : { QByteArray("/x/B.JPG"), QByteArray("latin1-\xE9") })
        EXPECT_EQ(plainKey(text).constData(), text.constData());
}

} // namespace
} // namespace quorvane
