// SPDX-License-Identifier: GPL-3.0-or-later
#include "Bytes.h"
#include "Readers.h"

#include <gtest/gtest.h>

namespace quorvane {

namespace {

using testing::big;
using testing::bytes;
using testing::decoded;
using testing::formatNameOf;
using testing::little;

ErrorKind errorOf(const QByteArray& file)
{
    const auto image = decoded(file);
    return image ? ErrorKind::Other : image.error().kind;
}

// ---- GIF

/// A canvas of 3 x 1 whose background is red, with colours black, red, green, blue.
const QByteArray kGifCanvas = "GIF89a" + little(quint16(3)) + little(quint16(1))
    + bytes({ 0x81, 1, 0 }) + bytes({ 0, 0, 0, 255, 0, 0, 0, 255, 0, 0, 0, 255 });

/// A picture of 2 x 1, blue and green, at `x`. The codes: clear, 3, 2, end, of three bits each.
QByteArray gifPicture(int x)
{
    return bytes({ 0x2C }) + little(quint16(x)) + little(quint16(0)) + little(quint16(2))
        + little(quint16(1)) + bytes({ 0, 2, 2, 0x9C, 0x0A, 0 });
}

const QByteArray kGif = kGifCanvas + gifPicture(1) + ";";

TEST(AvPictureReader, ShowsTheFirstPictureOfAGifOnItsCanvas)
{
    const auto image = decoded(kGif);

    ASSERT_TRUE(image);
    EXPECT_EQ(formatNameOf(kGif), "GIF");
    ASSERT_EQ(image->size(), QSize(3, 1));
    EXPECT_EQ(image->pixel(1, 0), qRgb(0, 0, 255));
    EXPECT_EQ(image->pixel(2, 0), qRgb(0, 255, 0));
}

TEST(AvPictureReader, LeavesAGifTransparentWhereNothingIsDrawn)
{
    const auto image = decoded(kGif);

    ASSERT_TRUE(image);
    ASSERT_EQ(image->format(), QImage::Format_ARGB32_Premultiplied);
    EXPECT_EQ(image->pixel(0, 0), 0U);
}

TEST(AvPictureReader, LeavesTheTransparentColourOfAGifOut)
{
    const QByteArray control = bytes({ 0x21, 0xF9, 4, 1, 0, 0, 3, 0 });

    const auto image = decoded(kGifCanvas + control + gifPicture(1) + ";");

    ASSERT_TRUE(image);
    EXPECT_EQ(image->pixel(1, 0), 0U);
    EXPECT_EQ(image->pixel(2, 0), qRgb(0, 255, 0));
}

TEST(AvPictureReader, ShowsOnlyTheFirstOfSeveralPictures)
{
    const auto image = decoded(kGifCanvas + gifPicture(1) + gifPicture(0) + ";");

    ASSERT_TRUE(image);
    EXPECT_EQ(image->pixel(0, 0), 0U);
    EXPECT_EQ(image->pixel(1, 0), qRgb(0, 0, 255));
}

TEST(AvPictureReader, EnlargesTheCanvasOfAGifForAPictureBeyondIt)
{
    const QByteArray tooSmall = QByteArray(kGif).replace(6, 2, little(quint16(1)));

    const auto image = decoded(tooSmall);

    ASSERT_TRUE(image);
    EXPECT_EQ(image->size(), QSize(3, 1));
}

TEST(AvPictureReader, CallsAGifCutShortDamaged)
{
    for (qsizetype size = 6; size < kGif.size() - 1; ++size)
        EXPECT_EQ(errorOf(kGif.left(size)), ErrorKind::Damaged) << size;
    EXPECT_EQ(errorOf(kGif.chopped(1)), ErrorKind::Other); // The end mark can be missed.
}

// ---- Anymaps

struct Anymap {
    const char* text;
    QRgb first;
    QRgb second;
};

TEST(AvPictureReader, ReadsAllAnymaps)
{
    const Anymap maps[] = {
        { "P1\n# a comment\n2 1\n10\n", qRgb(0, 0, 0), qRgb(255, 255, 255) },
        { "P2 2 1 7\n7 0\n", qRgb(255, 255, 255), qRgb(0, 0, 0) },
        { "P3\n2 # here too\n1\n1000\n1000 0 0 0 500 0\n", qRgb(255, 0, 0), qRgb(0, 128, 0) },
        { "P4\n2 1\n\x80", qRgb(0, 0, 0), qRgb(255, 255, 255) },
        { "P5\n2 1\n255\n\x10\x20", qRgb(16, 16, 16), qRgb(32, 32, 32) },
        { "P5\n2 1\n65535\n\x80\x80\x7F\x7F", qRgb(128, 128, 128), qRgb(127, 127, 127) },
        { "P6\n2 1\n255\n\x10\x20\x30\x40\x50\x60", qRgb(16, 32, 48), qRgb(64, 80, 96) },
        { "P7\nWIDTH 2\nHEIGHT 1\nDEPTH 3\nMAXVAL 255\nTUPLTYPE RGB\nENDHDR\n"
          "\x10\x20\x30\x40\x50\x60",
            qRgb(16, 32, 48), qRgb(64, 80, 96) },
    };
    for (const Anymap& map : maps) {
        const auto image = decoded(map.text);
        ASSERT_TRUE(image) << map.text << image.error().message.toStdString();
        EXPECT_EQ(image->size(), QSize(2, 1)) << map.text;
        EXPECT_EQ(image->format(), QImage::Format_RGB32) << map.text;
        EXPECT_EQ(image->pixel(0, 0), map.first) << map.text;
        EXPECT_EQ(image->pixel(1, 0), map.second) << map.text;
    }
}

TEST(AvPictureReader, MultipliesTheAlphaOfAPamIn)
{
    const auto image = decoded("P7\nWIDTH 1\nHEIGHT 1\nDEPTH 4\nMAXVAL 255\n"
                               "TUPLTYPE RGB_ALPHA\nENDHDR\n\xFF\xFF\x40\x80");

    ASSERT_TRUE(image);
    ASSERT_EQ(image->format(), QImage::Format_ARGB32_Premultiplied);
    EXPECT_EQ(*reinterpret_cast<const QRgb*>(image->constScanLine(0)), qRgba(128, 128, 32, 128));
}

TEST(AvPictureReader, CallsAnymapsCutShortDamaged)
{
    EXPECT_EQ(errorOf("P1\n2 1\n1"), ErrorKind::Damaged);
    EXPECT_EQ(errorOf("P2\n2 2\n9\n1 2 3"), ErrorKind::Damaged);
    EXPECT_EQ(errorOf("P5\n2 2\n255\nabc"), ErrorKind::Damaged);
    EXPECT_EQ(errorOf("P6\n2 1\n255\nabcde"), ErrorKind::Damaged);
    EXPECT_EQ(errorOf("P6\n2"), ErrorKind::Damaged);
}

TEST(AvPictureReader, RefusesSizesThatAreTooLarge)
{
    EXPECT_EQ(errorOf("P6\n60000 60000\n255\n"), ErrorKind::TooLarge);
}

TEST(AvPictureReader, TakesNoTextThatBeginsWithAPForAnAnymap)
{
    EXPECT_EQ(formatNameOf("P6.1 is the number of a paragraph"), "");
    EXPECT_EQ(formatNameOf("P9\n2 1\n"), "");
}

// ---- TGA

struct Tga {
    int type = 2;
    int depth = 24;
    int flags = 0x20; ///< From the top.
    QByteArray table; ///< Of three bytes each.
    QByteArray pixels;
};

/// Of 2 x 1.
QByteArray fileOf(const Tga& tga)
{
    return bytes({ 0, tga.table.isEmpty() ? 0 : 1, tga.type, 0, 0 })
        + little(quint16(tga.table.size() / 3)) + bytes({ tga.table.isEmpty() ? 0 : 24 })
        + little(quint32(0)) + little(quint16(2)) + little(quint16(1))
        + bytes({ tga.depth, tga.flags }) + tga.table + tga.pixels;
}

const QByteArray kOrangeBlue = bytes({ 0, 128, 255, 255, 0, 0 });

TEST(AvPictureReader, ReadsAllKindsOfTga)
{
    const Tga kinds[] = {
        { 2, 24, 0x20, {}, kOrangeBlue },
        { 10, 24, 0x20, {}, bytes({ 1, 0, 128, 255, 255, 0, 0 }) },
        { 1, 8, 0x20, kOrangeBlue, bytes({ 0, 1 }) },
        { 9, 8, 0x20, kOrangeBlue, bytes({ 1, 0, 1 }) },
        { 2, 24, 0x30, {}, bytes({ 255, 0, 0, 0, 128, 255 }) }, // From the right.
    };
    for (const Tga& kind : kinds) {
        const QByteArray file = fileOf(kind);
        const auto image = decoded(file);
        ASSERT_TRUE(image) << kind.type << image.error().message.toStdString();
        EXPECT_EQ(formatNameOf(file), "TGA");
        EXPECT_EQ(image->format(), QImage::Format_RGB32);
        EXPECT_EQ(image->pixel(0, 0), qRgb(255, 128, 0)) << kind.type;
        EXPECT_EQ(image->pixel(1, 0), qRgb(0, 0, 255)) << kind.type;
    }
}

TEST(AvPictureReader, ReadsGreyTga)
{
    const auto image = decoded(fileOf({ 3, 8, 0x20, {}, bytes({ 7, 200 }) }));

    ASSERT_TRUE(image);
    EXPECT_EQ(image->pixel(0, 0), qRgb(7, 7, 7));
    EXPECT_EQ(image->pixel(1, 0), qRgb(200, 200, 200));
}

TEST(AvPictureReader, ReadsTransparentTga)
{
    const QByteArray pixels = bytes({ 0, 0, 255, 128, 0, 0, 255, 255 });

    const auto image = decoded(fileOf({ 2, 32, 0x28, {}, pixels }));

    ASSERT_TRUE(image);
    ASSERT_EQ(image->format(), QImage::Format_ARGB32_Premultiplied);
    EXPECT_EQ(*reinterpret_cast<const QRgb*>(image->constScanLine(0)), qRgba(128, 0, 0, 128));
}

TEST(AvPictureReader, ShowsATgaWhoseAlphaIsZeroEverywhere)
{
    const QByteArray pixels = bytes({ 0, 0, 255, 0, 0, 255, 0, 0 });

    const auto image = decoded(fileOf({ 2, 32, 0x28, {}, pixels }));

    ASSERT_TRUE(image);
    EXPECT_EQ(image->format(), QImage::Format_RGB32);
    EXPECT_EQ(image->pixel(0, 0), qRgb(255, 0, 0));
}

TEST(AvPictureReader, CallsATgaCutShortDamaged)
{
    EXPECT_EQ(errorOf(fileOf({ 2, 24, 0x20, {}, kOrangeBlue.chopped(1) })), ErrorKind::Damaged);
    EXPECT_EQ(errorOf(fileOf({ 10, 24, 0x20, {}, bytes({ 0, 0, 128, 255 }) })), ErrorKind::Damaged);
}

TEST(AvPictureReader, TakesNothingElseForATga)
{
    const QByteArray good = fileOf({ 2, 24, 0x20, {}, kOrangeBlue });
    ASSERT_EQ(formatNameOf(good), "TGA");
    const std::pair<int, int> changes[] = { { 1, 2 }, { 2, 0 }, { 2, 4 }, { 2, 33 }, { 5, 1 },
        { 12, 0 }, { 14, 0 }, { 16, 13 }, { 17, 0x80 } };
    for (const auto& [at, value] : changes) {
        QByteArray other = good;
        other[at] = static_cast<char>(value);
        EXPECT_NE(formatNameOf(other), "TGA") << at;
    }
    EXPECT_NE(formatNameOf(QByteArray(64, '\0')), "TGA");
    EXPECT_NE(formatNameOf("A text that is long enough to hold such a header"), "TGA");
}

// ---- The rest

TEST(AvPictureReader, ReadsSgi)
{
    QByteArray file = bytes({ 0x01, 0xDA, 0, 1, 0, 3 }) + big(quint16(2)) + big(quint16(1))
        + big(quint16(3)) + big(quint32(0)) + big(quint32(255));
    file.append(512 - file.size(), '\0');
    file += bytes({ 16, 64, 32, 80, 48, 96 });

    const auto image = decoded(file);

    ASSERT_TRUE(image);
    EXPECT_EQ(formatNameOf(file), "SGI");
    EXPECT_EQ(image->pixel(0, 0), qRgb(16, 32, 48));
    EXPECT_EQ(image->pixel(1, 0), qRgb(64, 80, 96));
    EXPECT_EQ(errorOf(file.chopped(1)), ErrorKind::Damaged);
}

TEST(AvPictureReader, ReadsPcx)
{
    QByteArray file
        = bytes({ 10, 5, 1, 8 }) + little(quint32(0)) + little(quint16(1)) + little(quint16(0));
    file.append(65 - file.size(), '\0');
    file += bytes({ 3, 2, 0 });
    file.append(128 - file.size(), '\0');
    file += bytes({ 16, 64, 32, 80, 48, 96 });

    const auto image = decoded(file);

    ASSERT_TRUE(image) << image.error().message.toStdString();
    EXPECT_EQ(formatNameOf(file), "PCX");
    EXPECT_EQ(image->pixel(0, 0), qRgb(16, 32, 48));
    EXPECT_EQ(image->pixel(1, 0), qRgb(64, 80, 96));
    EXPECT_EQ(errorOf(file.chopped(1)), ErrorKind::Damaged);
}

TEST(AvPictureReader, ReadsDds)
{
    const auto longs = [](std::initializer_list<quint32> values) {
        QByteArray result;
        for (const quint32 value : values)
            result += little(value);
        return result;
    };
    const QByteArray file = "DDS " + longs({ 124, 0x100F, 1, 2, 8, 0, 0 }) + QByteArray(44, '\0')
        + longs({ 32, 0x40, 0, 32, 0xFF0000, 0xFF00, 0xFF, 0 }) + longs({ 0x1000, 0, 0, 0, 0 })
        + bytes({ 48, 32, 16, 0, 96, 80, 64, 0 });

    const auto image = decoded(file);

    ASSERT_TRUE(image) << image.error().message.toStdString();
    EXPECT_EQ(formatNameOf(file), "DirectDraw surface");
    EXPECT_EQ(image->pixel(0, 0), qRgb(16, 32, 48));
    EXPECT_EQ(image->pixel(1, 0), qRgb(64, 80, 96));
    EXPECT_EQ(errorOf(file.chopped(1)), ErrorKind::Damaged);
}

} // namespace

} // namespace quorvane
