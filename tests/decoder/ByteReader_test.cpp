// SPDX-License-Identifier: GPL-3.0-or-later
#include "Bytes.h"
#include "decoder/ByteReader.h"

#include <gtest/gtest.h>

#include <limits>

namespace quorvane {

namespace {

using testing::bytes;

TEST(ByteReader, KnowsWhatStandsWhere)
{
    const QByteArray four = bytes({ 1, 2, 3, 4 });

    EXPECT_TRUE(hasBytesAt(four, 0, 4));
    EXPECT_TRUE(hasBytesAt(four, 4, 0));
    EXPECT_FALSE(hasBytesAt(four, 1, 4));
    EXPECT_FALSE(hasBytesAt(four, -1, 2));
    EXPECT_FALSE(hasBytesAt(four, std::numeric_limits<qint64>::max(), 4));
    EXPECT_FALSE(hasBytesAt(QByteArray(), 0, 1));
}

TEST(ByteReader, ReadsNumbersOfBothByteOrders)
{
    const QByteArray file = bytes({ 9, 1, 2, 3, 4 });

    EXPECT_EQ(littleAt<quint32>(file, 1), 0x04030201U);
    EXPECT_EQ(bigAt<quint32>(file, 1), 0x01020304U);
    EXPECT_EQ(littleAt<quint8>(file, 4), 4U);
}

TEST(ByteReader, TakesNumbersThatAreCutShortForZero)
{
    const QByteArray file = bytes({ 9, 1, 2, 3, 4 });

    EXPECT_EQ(littleAt<quint32>(file, 2), 0U);
    EXPECT_EQ(bigAt<quint16>(file, 4), 0U);
    EXPECT_EQ(bigAt<quint16>(file, -1), 0U);
}

TEST(ByteReader, GoesThroughTheBytesInOrder)
{
    const QByteArray file = bytes({ 0, 7, 'a', 'b', 9, 9, 9, 0xFF, 0xFE });
    ByteReader reader(file);

    EXPECT_EQ(reader.take<quint16>(), 7);
    EXPECT_EQ(reader.takeBytes(2), QByteArrayView("ab"));
    reader.skip(3);
    EXPECT_EQ(reader.position(), 7);
    EXPECT_FALSE(reader.atEnd());
    EXPECT_EQ(reader.take<qint16>(), -2);
    EXPECT_TRUE(reader.atEnd());
    EXPECT_TRUE(reader.isSound());
}

TEST(ByteReader, ReadsNothingMoreOnceTooMuchWasAskedFor)
{
    const QByteArray file = bytes({ 1, 2, 3 });
    ByteReader reader(file);

    EXPECT_EQ(reader.take<quint32>(), 0U);
    EXPECT_FALSE(reader.isSound());
    EXPECT_TRUE(reader.atEnd());
    EXPECT_EQ(reader.take<quint8>(), 0);
    EXPECT_TRUE(reader.takeBytes(1).isEmpty());
}

TEST(ByteReader, CannotGoBack)
{
    const QByteArray file = bytes({ 1, 2, 3 });
    ByteReader reader(file, 2);

    reader.skip(-1);

    EXPECT_FALSE(reader.isSound());
}

TEST(ByteReader, HasNothingToReadBehindTheEnd)
{
    const QByteArray file = bytes({ 1, 2, 3 });
    ByteReader reader(file, 5);

    EXPECT_TRUE(reader.atEnd());
    EXPECT_EQ(reader.take<quint8>(), 0);
    EXPECT_FALSE(reader.isSound());
}

} // namespace

} // namespace quorvane
