// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/HeifGeometry.h"

#include <QtEndian>

#include <gtest/gtest.h>

namespace quorvane {
namespace {

QByteArray number(quint32 value)
{
    QByteArray bytes(4, '\0');
    qToBigEndian(value, bytes.data());
    return bytes;
}

QByteArray box(const char* type, const QByteArray& contents)
{
    return number(static_cast<quint32>(contents.size() + 8)) + type + contents;
}

QByteArray size(quint32 width, quint32 height)
{
    return box("ispe", number(0) + number(width) + number(height));
}

QByteArray crop(quint32 width, quint32 height)
{
    return box("clap",
        number(width) + number(1) + number(height) + number(1) + number(0) + number(1) + number(0)
            + number(1));
}

/// A file whose picture 7 has the properties with these numbers, which count from 1.
QByteArray file(const QByteArray& properties, const QByteArray& numbers)
{
    const QByteArray associations = number(0) + number(1) + QByteArray("\0\7", 2)
        + static_cast<char>(numbers.size()) + numbers;
    return box("ftyp", "heic")
        + box("meta", number(0) + box("iprp", box("ipco", properties) + box("ipma", associations)));
}

TEST(HeifGeometry, TellsTheSizeAsItIsWithoutTransforms)
{
    EXPECT_EQ(uprightHeifSize(file(size(30, 20), "\1"), 7), QSize(30, 20));
}

TEST(HeifGeometry, TurnsTheSizeWhereverInTheListItStands)
{
    const QByteArray turn = box("irot", "\1");

    EXPECT_EQ(uprightHeifSize(file(size(30, 20) + turn, "\1\2"), 7), QSize(20, 30));
    EXPECT_EQ(uprightHeifSize(file(turn + size(30, 20), "\1\2"), 7), QSize(20, 30));
    EXPECT_EQ(uprightHeifSize(file(size(30, 20) + box("irot", "\2"), "\1\2"), 7), QSize(30, 20));
}

TEST(HeifGeometry, CropsBeforeItTurnsWhenTheFileSaysSo)
{
    const QByteArray properties = size(30, 20) + crop(12, 10) + box("irot", "\3");

    EXPECT_EQ(uprightHeifSize(file(properties, "\1\2\3"), 7), QSize(10, 12));
}

TEST(HeifGeometry, NeverCropsToMoreThanThereIs)
{
    EXPECT_EQ(uprightHeifSize(file(size(30, 20) + crop(99, 10), "\1\2"), 7), QSize(30, 10));
}

TEST(HeifGeometry, IgnoresWhetherAPropertyIsEssential)
{
    EXPECT_EQ(
        uprightHeifSize(file(size(30, 20) + box("irot", "\1"), "\x01\x82"), 7), QSize(20, 30));
}

TEST(HeifGeometry, SaysNothingAboutPicturesThatAreNotThere)
{
    const QByteArray whole = file(size(30, 20), "\1");

    EXPECT_EQ(uprightHeifSize(whole, 8), std::nullopt);
    EXPECT_EQ(uprightHeifSize({}, 7), std::nullopt);
    for (qsizetype length = 0; length < whole.size(); ++length)
        EXPECT_EQ(uprightHeifSize(whole.first(length), 7), std::nullopt) << length;
}

} // namespace
} // namespace quorvane
