// SPDX-License-Identifier: GPL-3.0-or-later
#include "Bytes.h"
#include "IconBytes.h"
#include "Readers.h"

#include <gtest/gtest.h>

#include <vector>

namespace quorvane {

namespace {

using testing::bytes;
using testing::decoded;
using testing::formatNameOf;
using testing::little;
using testing::pngOf;

/// The header of a bitmap of 2 x 2 in an icon, which counts the rows of the mask too.
QByteArray bitmapHeader(int depth)
{
    return little(quint32(40)) + little(qint32(2)) + little(qint32(4)) + little(quint16(1))
        + little(static_cast<quint16>(depth)) + QByteArray(24, '\0');
}

/// Red and blue below green and white, of which green is hidden by the mask.
const QByteArray kMasked = bitmapHeader(24)
    + bytes({ 0, 0, 255, 255, 0, 0, 0, 0, /**/ 0, 255, 0, 255, 255, 255, 0, 0 })
    + bytes({ 0, 0, 0, 0, /**/ 0x80, 0, 0, 0 });

QByteArray deepBitmap(quint32 pixel)
{
    QByteArray result = bitmapHeader(32);
    for (int i = 0; i < 4; ++i)
        result += little(pixel);
    return result + bytes({ 0, 0, 0, 0, /**/ 0x80, 0, 0, 0 });
}

QByteArray icoOf(const std::vector<QByteArray>& entries, int type = 1)
{
    QByteArray directory = little(quint16(0)) + little(static_cast<quint16>(type))
        + little(static_cast<quint16>(entries.size()));
    QByteArray data;
    const auto start = static_cast<quint32>(6 + 16 * entries.size());
    for (const QByteArray& entry : entries) {
        directory += bytes({ 1, 1, 0, 0 }) + little(quint32(0)) // Wrong sizes, as often.
            + little(static_cast<quint32>(entry.size()))
            + little(start + static_cast<quint32>(data.size()));
        data += entry;
    }
    return directory + data;
}

ErrorKind errorOf(const QByteArray& file)
{
    const auto image = decoded(file);
    return image ? ErrorKind::Other : image.error().kind;
}

TEST(IcoReader, ReadsABitmapAndItsMask)
{
    const auto image = decoded(icoOf({ kMasked }));

    ASSERT_TRUE(image) << image.error().message.toStdString();
    ASSERT_EQ(image->size(), QSize(2, 2));
    ASSERT_EQ(image->format(), QImage::Format_ARGB32_Premultiplied);
    EXPECT_EQ(image->pixel(0, 0), 0U);
    EXPECT_EQ(image->pixel(1, 0), qRgb(255, 255, 255));
    EXPECT_EQ(image->pixel(0, 1), qRgb(255, 0, 0));
    EXPECT_EQ(image->pixel(1, 1), qRgb(0, 0, 255));
}

TEST(IcoReader, ReadsCursors)
{
    EXPECT_EQ(formatNameOf(icoOf({ kMasked }, 2)), "Windows icon");
    EXPECT_TRUE(decoded(icoOf({ kMasked }, 2)));
}

TEST(IcoReader, PrefersAlphaToTheMask)
{
    const auto image = decoded(icoOf({ deepBitmap(0x80FF0000) }));

    ASSERT_TRUE(image);
    EXPECT_EQ(*reinterpret_cast<const QRgb*>(image->constScanLine(0)), qRgba(128, 0, 0, 128));
}

TEST(IcoReader, UsesTheMaskWhenThereIsNoAlpha)
{
    const auto image = decoded(icoOf({ deepBitmap(0x00FF0000) }));

    ASSERT_TRUE(image);
    EXPECT_EQ(image->pixel(0, 0), 0U);
    EXPECT_EQ(image->pixel(1, 0), qRgb(255, 0, 0));
}

TEST(IcoReader, ReadsIndexedBitmaps)
{
    QByteArray entry = bitmapHeader(1);
    entry += bytes({ 10, 20, 30, 0, 255, 255, 255, 0 }) + bytes({ 0x40, 0, 0, 0, 0x80, 0, 0, 0 })
        + QByteArray(8, '\0');

    const auto image = decoded(icoOf({ entry }));

    ASSERT_TRUE(image);
    EXPECT_EQ(image->format(), QImage::Format_RGB32);
    EXPECT_EQ(image->pixel(0, 0), qRgb(255, 255, 255));
    EXPECT_EQ(image->pixel(0, 1), qRgb(30, 20, 10));
}

TEST(IcoReader, ShowsTheFirst)
{
    const QByteArray small = pngOf(16, Qt::red);
    const QByteArray large = pngOf(32, Qt::green);

    const auto smallFirst = decoded(icoOf({ small, large, kMasked }));
    const auto largeFirst = decoded(icoOf({ large, kMasked, small }));

    ASSERT_TRUE(smallFirst && largeFirst);
    EXPECT_EQ(smallFirst->size(), QSize(16, 16));
    EXPECT_EQ(smallFirst->pixel(5, 5), qRgb(255, 0, 0));
    EXPECT_EQ(largeFirst->size(), QSize(32, 32));
    EXPECT_EQ(largeFirst->pixel(5, 5), qRgb(0, 255, 0));
}

TEST(IcoReader, ShowsTheDeepestInTheSizeOfTheFirst)
{
    const QByteArray deep = deepBitmap(0xFF112233);
    for (const auto& entries : { std::vector { kMasked, deep }, std::vector { deep, kMasked } }) {
        const auto image = decoded(icoOf(entries));
        ASSERT_TRUE(image);
        EXPECT_EQ(image->pixel(1, 1), qRgb(0x11, 0x22, 0x33));
    }
}

TEST(IcoReader, CallsAnIconCutShortDamaged)
{
    for (const QByteArray& file : { icoOf({ kMasked }), icoOf({ pngOf(16, Qt::red) }) }) {
        for (qsizetype size = 22; size < file.size(); ++size)
            EXPECT_NE(errorOf(file.left(size)), ErrorKind::Other) << size;
    }
}

TEST(IcoReader, DoesWithoutTheMaskBehindAlpha)
{
    EXPECT_TRUE(decoded(icoOf({ deepBitmap(0x80FF0000) }).chopped(4)));
}

TEST(IcoReader, RefusesWhatIsNoIcon)
{
    QByteArray compressed = kMasked;
    compressed[16] = 1;

    EXPECT_EQ(errorOf(icoOf({ compressed })), ErrorKind::Unsupported);
    EXPECT_NE(formatNameOf(icoOf({}) + QByteArray(64, '\0')), "Windows icon");
}

} // namespace

} // namespace quorvane
