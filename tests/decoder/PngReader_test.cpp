// SPDX-License-Identifier: GPL-3.0-or-later
// PNG files of every kind, sound, odd and broken.
#include "decoder/PngReader.h"
#include "decoder/Readers.h"
#include "support/PictureBytes.h"

#include <QColorSpace>

#include <gtest/gtest.h>
#include <png.h>

#include <array>

namespace quorvane {

namespace {

using testing::decoded;
using tests::ByteOrder;
using tests::numberBytes;

quint32 checksum(const QByteArray& bytes)
{
    quint32 sum = 0xFFFFFFFF;
    for (const char byte : bytes) {
        sum ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit)
            sum = (sum >> 1U) ^ ((sum & 1U) != 0 ? 0xEDB88320 : 0);
    }
    return ~sum;
}

QByteArray chunk(const QByteArray& name, const QByteArray& contents)
{
    return numberBytes(static_cast<quint32>(contents.size()), ByteOrder::Big) + name + contents
        + numberBytes(checksum(name + contents), ByteOrder::Big);
}

/// `png` with one more chunk in front of the pixels' (and the palette's).
QByteArray withChunk(const QByteArray& png, const QByteArray& name, const QByteArray& contents)
{
    constexpr qsizetype kHeaderEnd = 8 + 25;
    return png.left(kHeaderEnd) + chunk(name, contents) + png.mid(kHeaderEnd);
}

/// What the library's own writer makes of the samples, with nothing said of their colours.
struct PngForm {
    QSize size { 1, 1 };
    int depth = 8;
    int type = PNG_COLOR_TYPE_RGB;
    int interlacing = PNG_INTERLACE_NONE;
    std::vector<png_color> palette = {};
    QByteArray transparency = {}; ///< The contents of a tRNS chunk.
};

QByteArray encoded(const PngForm& form, const QByteArray& rows)
{
    QByteArray bytes;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_set_write_fn(
        png, &bytes,
        [](png_structp from, png_bytep data, png_size_t size) {
            static_cast<QByteArray*>(png_get_io_ptr(from))
                ->append(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
        },
        nullptr);
    const auto height = form.size.height();
    png_set_IHDR(png, info, static_cast<png_uint_32>(form.size.width()),
        static_cast<png_uint_32>(height), form.depth, form.type, form.interlacing,
        PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (!form.palette.empty())
        png_set_PLTE(png, info, form.palette.data(), static_cast<int>(form.palette.size()));
    png_write_info(png, info);
    if (!form.transparency.isEmpty())
        png_write_chunk(png, reinterpret_cast<png_const_bytep>("tRNS"),
            reinterpret_cast<png_const_bytep>(form.transparency.constData()),
            static_cast<png_size_t>(form.transparency.size()));
    const int passes = png_set_interlace_handling(png);
    for (int pass = 0; pass < passes; ++pass) {
        for (int y = 0; y < height; ++y)
            png_write_row(png,
                reinterpret_cast<png_const_bytep>(rows.constData()) + y * (rows.size() / height));
    }
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    return bytes;
}

QByteArray png(const QImage& image) { return tests::encodedPicture(image, "png"); }

QRgb onlyPixel(const QByteArray& bytes)
{
    const auto image = decoded(bytes);
    return image ? reinterpret_cast<const QRgb*>(image->constBits())[0] : 0x01020304;
}

std::optional<ErrorKind> refusal(const QByteArray& bytes)
{
    const auto image = decoded(bytes);
    return image ? std::nullopt : std::optional(image.error().kind);
}

TEST(PngReader, HasARowInTheTable)
{
    EXPECT_EQ(
        testing::formatNameOf(png(tests::solidPicture({ 2, 2 }, Qt::red))), QByteArray("PNG"));
    EXPECT_FALSE(isPng("\x89PNG\r\n"));
}

TEST(PngReader, DecodesColours)
{
    const auto image = decoded(png(tests::numberedPicture({ 61, 43 })));

    ASSERT_TRUE(image);
    EXPECT_EQ(*image, tests::numberedPicture({ 61, 43 }));
}

TEST(PngReader, DecodesColoursInAnyFormOfStorage)
{
    const QByteArray grey4("\x80", 1);
    const QByteArray colour("\xFF\x80\x40", 3);
    const QByteArray deep("\xFF\xFF\x80\x80\x40\x40", 6);
    const std::vector<png_color> palette { { 0, 0, 0 }, { 255, 128, 64 } };

    EXPECT_EQ(onlyPixel(encoded({ .depth = 1, .type = PNG_COLOR_TYPE_GRAY }, grey4)), 0xFFFFFFFF);
    EXPECT_EQ(onlyPixel(encoded({ .depth = 2, .type = PNG_COLOR_TYPE_GRAY }, grey4)), 0xFFAAAAAA);
    EXPECT_EQ(onlyPixel(encoded({ .depth = 4, .type = PNG_COLOR_TYPE_GRAY }, grey4)), 0xFF888888);
    EXPECT_EQ(onlyPixel(encoded({ .depth = 8, .type = PNG_COLOR_TYPE_GRAY }, grey4)), 0xFF808080);
    EXPECT_EQ(onlyPixel(encoded({ .depth = 16, .type = PNG_COLOR_TYPE_GRAY }, deep.mid(2, 2))),
        0xFF808080);
    EXPECT_EQ(onlyPixel(encoded({ .depth = 8 }, colour)), 0xFFFF8040);
    EXPECT_EQ(onlyPixel(encoded({ .depth = 16 }, deep)), 0xFFFF8040);
    EXPECT_EQ(onlyPixel(encoded(
                  { .depth = 1, .type = PNG_COLOR_TYPE_PALETTE, .palette = palette }, grey4)),
        0xFFFF8040);
}

TEST(PngReader, RoundsDeepSamples)
{
    EXPECT_EQ(
        onlyPixel(encoded({ .depth = 16 }, QByteArray("\x80\xFF\x7F\x01\x00\x90", 6))), 0xFF807F01);
}

TEST(PngReader, MultipliesTheOpacityIn)
{
    const QByteArray colour("\xC8\x64\x32\x33", 4);
    const QByteArray deep("\xC8\xC8\x64\x64\x32\x32\x33\x33", 8);

    EXPECT_EQ(
        onlyPixel(encoded({ .type = PNG_COLOR_TYPE_RGB_ALPHA }, colour)), qRgba(40, 20, 10, 51));
    EXPECT_EQ(onlyPixel(encoded({ .depth = 16, .type = PNG_COLOR_TYPE_RGB_ALPHA }, deep)),
        qRgba(40, 20, 10, 51));
    EXPECT_EQ(onlyPixel(encoded({ .type = PNG_COLOR_TYPE_GRAY_ALPHA }, QByteArray("\xC8\x33", 2))),
        qRgba(40, 40, 40, 51));
}

TEST(PngReader, HonoursTheTransparencyChunk)
{
    const QByteArray clear = encoded(
        { .transparency = QByteArray("\0\x0A\0\x14\0\x1E", 6) }, QByteArray("\x0A\x14\x1E", 3));
    const QByteArray halfPalette = encoded(
        { .type = PNG_COLOR_TYPE_PALETTE, .palette = { { 200, 100, 50 } }, .transparency = "\x33" },
        QByteArray(1, '\0'));

    EXPECT_EQ(onlyPixel(clear), 0U);
    EXPECT_EQ(onlyPixel(halfPalette), qRgba(40, 20, 10, 51));
}

TEST(PngReader, IsOpaqueWhereNothingIsTransparent)
{
    QImage image(2, 2, QImage::Format_ARGB32);
    image.fill(0xFF204060);
    EXPECT_EQ(decoded(png(image))->format(), QImage::Format_RGB32);

    image.setPixel(1, 1, 0xFE204060);
    EXPECT_EQ(decoded(png(image))->format(), QImage::Format_ARGB32_Premultiplied);
}

TEST(PngReader, DecodesInterlacedFiles)
{
    const QImage picture = tests::numberedPicture({ 13, 9 }).convertToFormat(QImage::Format_RGB888);
    QByteArray rows;
    for (int y = 0; y < picture.height(); ++y)
        rows.append(reinterpret_cast<const char*>(picture.constScanLine(y)),
            qsizetype(3) * picture.width());

    const auto image
        = decoded(encoded({ .size = picture.size(), .interlacing = PNG_INTERLACE_ADAM7 }, rows));

    ASSERT_TRUE(image);
    EXPECT_EQ(*image, tests::numberedPicture({ 13, 9 }));
}

TEST(PngReader, TurnsAPictureUpright)
{
    QByteArray exif = tests::exifSegment({ .main = { { .value = 6 } } });
    const QByteArray plain = png(tests::quarteredPicture({ 60, 40 }));

    for (const QByteArray& bytes : { withChunk(plain, "eXIf", exif.mid(6)),
             plain.chopped(12) + chunk("eXIf", exif.mid(6)) + plain.last(12) }) {
        const auto image = decoded(bytes);

        ASSERT_TRUE(image);
        EXPECT_EQ(image->size(), QSize(40, 60));
        EXPECT_EQ(tests::quarters(*image), QByteArray("brwg"));
    }
}

const QByteArray kAdobeRed("\xDB\x00\x00", 3); // A full red of sRGB.

/// The contents of an iCCP chunk, packed by zlib as Qt packs, behind four bytes of its own.
QByteArray profileChunk()
{
    const QByteArray packed = qCompress(QColorSpace(QColorSpace::AdobeRgb).iccProfile()).mid(4);
    return QByteArray("p\0\0", 3) + packed;
}

QByteArray gammaChunk(quint32 gamma) { return numberBytes(gamma, ByteOrder::Big); }

QByteArray adobePrimaries()
{
    QByteArray bytes;
    for (const quint32 value : { 31270, 32900, 64000, 33000, 21000, 71000, 15000, 6000 })
        bytes += numberBytes(value, ByteOrder::Big);
    return bytes;
}

TEST(PngReader, HonoursAProfile)
{
    EXPECT_GE(qRed(onlyPixel(withChunk(encoded({}, kAdobeRed), "iCCP", profileChunk()))), 253);
    EXPECT_EQ(onlyPixel(encoded({}, kAdobeRed)), 0xFFDB0000);
}

TEST(PngReader, HonoursAProfileOfDeepSamples)
{
    const QByteArray deep = encoded({ .depth = 16 }, QByteArray("\x80\0\x80\0\x40\0", 6));
    const QByteArray shallow = encoded({}, QByteArray("\x80\x80\x40", 3));

    const QRgb a = onlyPixel(withChunk(deep, "iCCP", profileChunk()));
    const QRgb b = onlyPixel(withChunk(shallow, "iCCP", profileChunk()));

    EXPECT_LE(std::abs(qBlue(a) - qBlue(b)), 2);
    EXPECT_GT(std::abs(qBlue(a) - 0x40), 3);
}

TEST(PngReader, HonoursGammaAndPrimaries)
{
    const QByteArray grey = encoded({ .type = PNG_COLOR_TYPE_GRAY }, "\x80");

    EXPECT_EQ(onlyPixel(withChunk(grey, "gAMA", gammaChunk(45455))), 0xFF808080);
    EXPECT_NEAR(qRed(onlyPixel(withChunk(grey, "gAMA", gammaChunk(100000)))), 0xBC, 1);
    const QByteArray wide = withChunk(
        withChunk(encoded({}, kAdobeRed), "gAMA", gammaChunk(45455)), "cHRM", adobePrimaries());
    EXPECT_GE(qRed(onlyPixel(wide)), 253);
}

TEST(PngReader, BelievesTheWordThatItIsSrgbMoreThanAGamma)
{
    const QByteArray grey = encoded({ .type = PNG_COLOR_TYPE_GRAY }, "\x80");

    EXPECT_EQ(onlyPixel(withChunk(
                  withChunk(grey, "gAMA", gammaChunk(100000)), "sRGB", QByteArray(1, '\0'))),
        0xFF808080);
}

TEST(PngReader, BelievesAProfileMoreThanAGamma)
{
    const QByteArray red = withChunk(encoded({}, kAdobeRed), "iCCP", profileChunk());

    EXPECT_GE(qRed(onlyPixel(withChunk(red, "gAMA", gammaChunk(10000)))), 253);
    EXPECT_GE(qRed(onlyPixel(withChunk(red, "gAMA", gammaChunk(100000)))), 253);
}

TEST(PngReader, BelievesCodePointsMost)
{
    const QByteArray red = withChunk(encoded({}, kAdobeRed), "iCCP", profileChunk());

    EXPECT_EQ(onlyPixel(withChunk(red, "cICP", QByteArray("\x01\x0D\x00\x01", 4))), 0xFFDB0000);
    EXPECT_GT(qRed(onlyPixel(withChunk(red, "cICP", QByteArray("\x0C\x0D\x00\x01", 4)))), 0xDB);
}

TEST(PngReader, BringsPicturesOfMoreLightDownToAScreen)
{
    const QByteArray deepGrey
        = encoded({ .depth = 16, .type = PNG_COLOR_TYPE_GRAY }, QByteArray("\x94\0", 2));

    const QRgb shown = onlyPixel(withChunk(deepGrey, "cICP", QByteArray("\x09\x10\x00\x01", 4)));

    EXPECT_EQ(qAlpha(shown), 255);
    EXPECT_GT(qRed(shown), 0x94); // White paper in PQ: about 200 of 10,000 candela.
    EXPECT_LE(std::abs(qRed(shown) - qBlue(shown)), 1);
}

TEST(PngReader, RefusesAPictureCutAnywhere)
{
    const QByteArray whole = png(tests::numberedPicture({ 16, 16 }));
    const qsizetype pixelsEnd = whole.size() - 12 - 4; // What follows says no more.

    for (qsizetype length = 8; length < pixelsEnd; ++length)
        EXPECT_EQ(refusal(whole.left(length)), ErrorKind::Damaged) << length;
}

TEST(PngReader, RefusesAWrongChecksum)
{
    QByteArray bytes = png(tests::numberedPicture({ 16, 16 }));
    const auto pixels = bytes.indexOf("IDAT");
    bytes[pixels + 20] = static_cast<char>(bytes[pixels + 20] ^ 1);

    EXPECT_EQ(refusal(bytes), ErrorKind::Damaged);
}

TEST(PngReader, SurvivesAnyBrokenByte)
{
    const QByteArray whole = withChunk(
        encoded({ .size = { 4, 4 }, .interlacing = PNG_INTERLACE_ADAM7 }, QByteArray(48, 'x')),
        "gAMA", gammaChunk(100000));
    for (qsizetype at = 8; at < whole.size(); ++at) {
        for (const char byte : QByteArray("\x00\x01\x7F\xFF", 4)) {
            QByteArray broken = whole;
            broken[at] = byte;
            (void)refusal(broken);
        }
    }
}

TEST(PngReader, RefusesASizeBeyondTheLimitOfPixels)
{
    const QByteArray size = numberBytes(60'000U, ByteOrder::Big);
    const QByteArray header = chunk("IHDR", size + size + QByteArray("\x01\0\0\0\0", 5));
    const QByteArray small = png(tests::solidPicture({ 2, 2 }, Qt::red));

    EXPECT_EQ(refusal(small.left(8) + header + small.mid(8 + 25)), ErrorKind::TooLarge);
}

TEST(PngReader, DecodesIntoTheMemoryThatItIsGiven)
{
    QImage given(8, 8, QImage::Format_RGB32);
    const auto reader = testing::openPicture(png(tests::numberedPicture({ 8, 8 })));
    ASSERT_TRUE(reader);

    const auto picture = (*reader)->decode({ 8, 8 }, [&](QSize, QImage::Format format) {
        return QImage(given.bits(), 8, 8, given.bytesPerLine(), format);
    });

    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->image.constBits(), given.constBits());
    EXPECT_EQ(given, tests::numberedPicture({ 8, 8 }));
}

TEST(PngReader, FailsWhereThereIsNoMemory)
{
    const auto reader = testing::openPicture(png(tests::numberedPicture({ 8, 8 })));
    ASSERT_TRUE(reader);

    const auto picture
        = (*reader)->decode({ 8, 8 }, [](QSize, QImage::Format) { return QImage(); });

    EXPECT_EQ(picture.error().kind, ErrorKind::TooLarge);
}

} // namespace

} // namespace quorvane
