// SPDX-License-Identifier: GPL-3.0-or-later
// Numbers out of text.
#include "platform/NumberParsing.h"

#include <QLocale>
#include <QString>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <ostream>

namespace quorvane {

namespace {

constexpr qint64 kMost = std::numeric_limits<qint64>::max();
constexpr qint64 kLeast = std::numeric_limits<qint64>::min();
constexpr int kMostInt = std::numeric_limits<int>::max();
constexpr int kLeastInt = std::numeric_limits<int>::min();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

struct IntegerRow {
    const char16_t* text;
    qint64 value;
};

void PrintTo(const IntegerRow& row, std::ostream* out)
{
    *out << QString::fromUtf16(row.text).toStdString();
}

class IntegerText : public testing::TestWithParam<IntegerRow> { };

TEST_P(IntegerText, GivesTheNumberItBeginsWith)
{
    const IntegerRow row = GetParam();

    EXPECT_EQ(integerValue(QStringView(row.text)), row.value);
}

INSTANTIATE_TEST_SUITE_P(NumberParsing, IntegerText,
    testing::Values(IntegerRow { u"", 0 }, IntegerRow { u"   ", 0 }, IntegerRow { u"5", 5 },
        IntegerRow { u"2b", 2 }, IntegerRow { u"1e3", 1 }, IntegerRow { u" +7x", 7 },
        IntegerRow { u"\t\n -12", -12 }, IntegerRow { u"\u00a08", 8 }, IntegerRow { u"- 5", 0 },
        IntegerRow { u"+-5", 0 }, IntegerRow { u"--5", 0 }, IntegerRow { u"-", 0 },
        IntegerRow { u"x5", 0 }, IntegerRow { u".5", 0 }, IntegerRow { u"3.9", 3 },
        IntegerRow { u"-3.9", -3 }, IntegerRow { u"0x10", 0 }, IntegerRow { u"1,000", 1 },
        IntegerRow { u"007", 7 }, IntegerRow { u"\u0665", 0 }, IntegerRow { u"\uf703", 0 },
        IntegerRow { u"\uff15", 0 }, IntegerRow { u"9223372036854775807", kMost },
        IntegerRow { u"9223372036854775806", kMost - 1 },
        IntegerRow { u"9223372036854775808", kMost }, IntegerRow { u"9223372036854775810", kMost },
        IntegerRow { u"99999999999999999999999", kMost },
        IntegerRow { u"-9223372036854775808", kLeast },
        IntegerRow { u"-9223372036854775807", kLeast + 1 },
        IntegerRow { u"-9223372036854775809", kLeast },
        IntegerRow { u"-99999999999999999999999", kLeast },
        IntegerRow { u"00000000000000000000000000012", 12 }));

TEST(NumberParsing, KeepsAnIntInItsRange)
{
    EXPECT_EQ(intValue(u"2147483647"), kMostInt);
    EXPECT_EQ(intValue(u"2147483648"), kMostInt);
    EXPECT_EQ(intValue(u"99999999999999999999"), kMostInt);
    EXPECT_EQ(intValue(u"-2147483648"), kLeastInt);
    EXPECT_EQ(intValue(u"-2147483649"), kLeastInt);
    EXPECT_EQ(intValue(u" +7x"), 7);
    EXPECT_EQ(intValue(u""), 0);
}

struct FloatRow {
    const char16_t* text;
    double value;
};

void PrintTo(const FloatRow& row, std::ostream* out)
{
    *out << QString::fromUtf16(row.text).toStdString();
}

class FloatText : public testing::TestWithParam<FloatRow> { };

TEST_P(FloatText, GivesTheNumberItBeginsWith)
{
    const FloatRow row = GetParam();

    EXPECT_EQ(floatValue(QStringView(row.text)), row.value);
}

INSTANTIATE_TEST_SUITE_P(NumberParsing, FloatText,
    testing::Values(FloatRow { u"", 0 }, FloatRow { u"2.5", 2.5 }, FloatRow { u"  -0.25s", -0.25 },
        FloatRow { u"+1e3", 1000 }, FloatRow { u"1E-2x", 0.01 }, FloatRow { u"1e", 1 },
        FloatRow { u"1e+", 1 }, FloatRow { u"5 eels", 5 }, FloatRow { u"5eels", 5 },
        FloatRow { u".5", 0.5 }, FloatRow { u"5.", 5 }, FloatRow { u"5.e1", 50 },
        FloatRow { u".", 0 }, FloatRow { u"-.", 0 }, FloatRow { u".e5", 0 },
        FloatRow { u"1.2.3", 1.2 }, FloatRow { u"2,5", 2 }, FloatRow { u"1,000.5", 1 },
        FloatRow { u"0x10", 0 }, FloatRow { u"inf", 0 }, FloatRow { u"nan", 0 },
        FloatRow { u"infinity", 0 }, FloatRow { u"\u0665.5", 0 }, FloatRow { u"abc", 0 },
        FloatRow { u"0.33333333333333331", 1.0 / 3 }, FloatRow { u"1e999", kInfinity },
        FloatRow { u"-1e999", -kInfinity }, FloatRow { u"1e-999", 0 },
        FloatRow { u"1e99999999999999999999", kInfinity }, FloatRow { u"5e-324", 5e-324 },
        FloatRow { u"007.5", 7.5 }));

TEST(NumberParsing, ReadsTheDotInEveryLocale)
{
    const QLocale before;
    QLocale::setDefault(QLocale(QLocale::German));

    const double value = floatValue(u"2.5");

    QLocale::setDefault(before);
    EXPECT_EQ(value, 2.5);
}

TEST(NumberParsing, KeepsTheSignOfZero) { EXPECT_TRUE(std::signbit(floatValue(u"-0"))); }

struct TruthRow {
    const char16_t* text;
    bool value;
};

void PrintTo(const TruthRow& row, std::ostream* out)
{
    *out << QString::fromUtf16(row.text).toStdString();
}

class TruthText : public testing::TestWithParam<TruthRow> { };

TEST_P(TruthText, SaysYesOrNo)
{
    const TruthRow row = GetParam();

    EXPECT_EQ(boolValue(QStringView(row.text)), row.value);
}

INSTANTIATE_TEST_SUITE_P(NumberParsing, TruthText,
    testing::Values(TruthRow { u"YES", true }, TruthRow { u"yes", true },
        TruthRow { u"true", true }, TruthRow { u"TRUE", true }, TruthRow { u"y", true },
        TruthRow { u"T", true }, TruthRow { u"1", true }, TruthRow { u"  Yes", true },
        TruthRow { u"-1", true }, TruthRow { u"007", true }, TruthRow { u"2b", true },
        TruthRow { u"NO", false }, TruthRow { u"false", false }, TruthRow { u"0", false },
        TruthRow { u"000", false }, TruthRow { u"0.5", false }, TruthRow { u"", false },
        TruthRow { u"on", false }, TruthRow { u"-true", false }));

} // namespace

} // namespace quorvane
