// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/RectText.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace quorvane {
namespace {

/// All four numbers to the last bit: QRectF's own comparison lets small differences pass.
void expectRect(const QRectF& rect, double x, double y, double width, double height)
{
    EXPECT_EQ(rect.x(), x);
    EXPECT_EQ(rect.y(), y);
    EXPECT_EQ(rect.width(), width);
    EXPECT_EQ(rect.height(), height);
}

TEST(StringFromRect, WritesWholeNumbersWithoutAPoint)
{
    EXPECT_EQ(stringFromRect({}), QStringLiteral("{{0, 0}, {0, 0}}"));
    EXPECT_EQ(
        stringFromRect({ -1920, 0, 1920, 1080 }), QStringLiteral("{{-1920, 0}, {1920, 1080}}"));
}

TEST(StringFromRect, WritesSeventeenDigits)
{
    EXPECT_EQ(stringFromRect({ 0.1, 0.5, 100.123, 100.951 }),
        QStringLiteral("{{0.10000000000000001, 0.5}, {100.123, 100.95099999999999}}"));
    EXPECT_EQ(stringFromRect({ 1.0 / 3, 1e21, -0.0, 1e-7 }),
        QStringLiteral("{{0.33333333333333331, 1e+21}, {-0, 9.9999999999999995e-08}}"));
}

TEST(RectFromString, ReadsWhatStringFromRectWrote)
{
    const double numbers[]
        = { 100.951, 1.0 / 3, -1e21, 5e-324, 0.1, std::numeric_limits<double>::max(), 1280 };
    for (const double number : numbers) {
        const QString text = stringFromRect({ number, 2, 3, -number });

        expectRect(rectFromString(text), number, 2, 3, -number);
    }
}

TEST(RectFromString, ReadsFourNumbersWhereverTheyStand)
{
    expectRect(rectFromString(QStringLiteral("1e1 0030;20.000 -0.6")), 10, 30, 20, -0.6);
    expectRect(rectFromString(QStringLiteral("x=+1,y=.5 [w 3.] h4 and 5")), 1, 0.5, 3, 4);
    expectRect(rectFromString(QStringLiteral("1-2e+2e3")), 1, -200, 3, 0);
    expectRect(rectFromString(QStringLiteral("\n{{1e, 2e-}{3E1")), 1, 2, 30, 0);
}

TEST(RectFromString, MakesZeroOfWhatIsMissing)
{
    expectRect(rectFromString(QStringLiteral("{{7, 8}")), 7, 8, 0, 0);
    for (const char* garbage : { "", "{{}, {}}", "nan inf", "...", "+-e", "\xD9\xA3" })
        expectRect(rectFromString(QString::fromUtf8(garbage)), 0, 0, 0, 0);
}

TEST(RectFromString, MakesZeroOfWhatNoDoubleHolds)
{
    expectRect(rectFromString(QStringLiteral("{{1e999, 2}, {-1e999, 3}}")), 0, 2, 0, 3);
    expectRect(rectFromString(QString(100000, QLatin1Char('9'))), 0, 0, 0, 0);
}

TEST(RectFromString, KeepsTheSignOfZero)
{
    EXPECT_TRUE(std::signbit(rectFromString(QStringLiteral("{{-0, 0}, {0, 0}}")).x()));
}

} // namespace
} // namespace quorvane
