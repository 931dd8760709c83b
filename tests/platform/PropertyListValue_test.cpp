// SPDX-License-Identifier: GPL-3.0-or-later
// One form for each value that a property list can hold.
#include "platform/PropertyListValue.h"

#include <QDateTime>
#include <QRect>
#include <QTimeZone>

#include <gtest/gtest.h>

#include <limits>

namespace quorvane {

namespace {

QVariant canonicalOr(const QVariant& value)
{
    return canonicalPropertyList(value).value_or(QStringLiteral("none"));
}

TEST(PropertyListValue, GivesEveryNumberOneOfThreeTypes)
{
    EXPECT_EQ(canonicalOr(5).typeId(), QMetaType::LongLong);
    EXPECT_EQ(canonicalOr(5U).typeId(), QMetaType::LongLong);
    EXPECT_EQ(canonicalOr(qulonglong(5)).typeId(), QMetaType::LongLong);
    EXPECT_EQ(canonicalOr(std::numeric_limits<qulonglong>::max()).typeId(), QMetaType::ULongLong);
    EXPECT_EQ(canonicalOr(0.5F).typeId(), QMetaType::Double);
    EXPECT_EQ(canonicalOr(true).typeId(), QMetaType::Bool);
}

TEST(PropertyListValue, GoesIntoContainers)
{
    const QVariantHash hash { { QStringLiteral("k"), QStringList { QStringLiteral("a\1") } } };

    const QVariant value = canonicalOr(QVariantList { hash });

    const QVariantMap map { { QStringLiteral("k"), QVariantList { QStringLiteral("a") } } };
    EXPECT_EQ(value, QVariant(QVariantList { map }));
}

TEST(PropertyListValue, KeepsDatesInUtc)
{
    const QDateTime local(QDate(2024, 1, 1), QTime(1, 0, 0, 5), QTimeZone(7200));

    const QDateTime date = canonicalOr(local).toDateTime();

    EXPECT_EQ(date, local);
    EXPECT_EQ(date.timeSpec(), Qt::UTC);
}

TEST(PropertyListValue, IsItsOwnForm)
{
    const QVariant value = canonicalOr(QVariantMap { { QStringLiteral("\1a"), 1 },
        { QStringLiteral("b"), QVariantList { 1.5F, QStringLiteral("\xd800") } } });

    EXPECT_EQ(canonicalPropertyList(value), value);
}

TEST(PropertyListValue, RefusesOtherTypes)
{
    EXPECT_FALSE(canonicalPropertyList(QVariant()));
    EXPECT_FALSE(canonicalPropertyList(QRect(1, 2, 3, 4)));
    EXPECT_FALSE(canonicalPropertyList(QVariantList { QRect(1, 2, 3, 4) }));
    EXPECT_FALSE(canonicalPropertyList(QVariantMap { { QStringLiteral("k"), QVariant() } }));
    EXPECT_FALSE(canonicalPropertyList(QDateTime()));
}

} // namespace

} // namespace quorvane
