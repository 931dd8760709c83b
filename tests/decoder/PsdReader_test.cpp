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

/// A document of 2 x 1.
struct Psd {
    int channels = 3;
    int depth = 8;
    int mode = 3;
    QByteArray palette;
    QByteArray resources;
    QByteArray layers;
    QByteArray pixels; ///< With the compression before them.
    quint32 width = 2;
    bool isLarge = false;
};

QByteArray sized(const QByteArray& part) { return big(static_cast<quint32>(part.size())) + part; }

QByteArray fileOf(const Psd& psd)
{
    const QByteArray layers = psd.isLarge && !psd.layers.isEmpty()
        ? big(static_cast<quint64>(psd.layers.size())) + psd.layers
        : psd.isLarge ? big(quint64(0))
                      : sized(psd.layers);
    return "8BPS" + big(quint16(psd.isLarge ? 2 : 1)) + QByteArray(6, '\0')
        + big(static_cast<quint16>(psd.channels)) + big(quint32(1)) + big(psd.width)
        + big(static_cast<quint16>(psd.depth)) + big(static_cast<quint16>(psd.mode))
        + sized(psd.palette) + sized(psd.resources) + layers + psd.pixels;
}

QByteArray resource(int id, const QByteArray& data)
{
    QByteArray padded = data;
    if (data.size() % 2 != 0)
        padded += '\0';
    return "8BIM" + big(static_cast<quint16>(id)) + bytes({ 0, 0 })
        + big(static_cast<quint32>(data.size())) + padded;
}

/// A section of layers that tells only how many there are.
QByteArray layerCount(int count) { return sized(big(static_cast<qint16>(count))); }

const QByteArray kPlain = big(quint16(0));
const QByteArray kPacked = big(quint16(1));

/// Red, then half grey, channel after channel.
const QByteArray kRgb = kPlain + bytes({ 255, 128, 0, 128, 0, 128 });

Psd rgb()
{
    Psd psd;
    psd.pixels = kRgb;
    return psd;
}

ErrorKind errorOf(const QByteArray& file)
{
    const auto image = decoded(file);
    return image ? ErrorKind::Other : image.error().kind;
}

QRgb rawPixel(const QImage& image, int x)
{
    return reinterpret_cast<const QRgb*>(image.constScanLine(0))[x];
}

TEST(PsdReader, ReadsTheMergedPicture)
{
    const QByteArray file = fileOf(rgb());

    const auto image = decoded(file);

    ASSERT_TRUE(image) << image.error().message.toStdString();
    EXPECT_EQ(formatNameOf(file), "Photoshop document");
    EXPECT_EQ(image->format(), QImage::Format_RGB32);
    EXPECT_EQ(rawPixel(*image, 0), qRgb(255, 0, 0));
    EXPECT_EQ(rawPixel(*image, 1), qRgb(128, 128, 128));
}

TEST(PsdReader, ReadsPackedRows)
{
    Psd psd;
    psd.pixels = kPacked + big(quint16(3)) + big(quint16(2)) + big(quint16(5))
        + bytes({ 1, 255, 128, /**/ 255, 7, /**/ 128, 0, 9, 0, 5 });

    const auto image = decoded(fileOf(psd));

    ASSERT_TRUE(image);
    EXPECT_EQ(rawPixel(*image, 0), qRgb(255, 7, 9));
    EXPECT_EQ(rawPixel(*image, 1), qRgb(128, 7, 5));
}

TEST(PsdReader, ReadsLargeDocuments)
{
    Psd psd = rgb();
    psd.isLarge = true;
    psd.pixels = kPacked + big(quint32(3)) + big(quint32(2)) + big(quint32(2))
        + bytes({ 1, 255, 128, /**/ 255, 0, /**/ 255, 0 });

    const auto image = decoded(fileOf(psd));

    ASSERT_TRUE(image);
    EXPECT_EQ(rawPixel(*image, 0), qRgb(255, 0, 0));
}

TEST(PsdReader, ReadsGreyOfEveryDepth)
{
    const QByteArray ofEight = bytes({ 255, 128 });
    const QByteArray ofSixteen = big(quint16(65535)) + big(quint16(0x8080));
    const QByteArray ofThirtyTwo = big(1.0F) + big(0.0F);
    const std::tuple<int, QByteArray, int> rows[]
        = { { 8, ofEight, 128 }, { 16, ofSixteen, 128 }, { 32, ofThirtyTwo, 0 } };
    for (const auto& [depth, row, second] : rows) {
        Psd psd;
        psd.channels = 1;
        psd.mode = 1;
        psd.depth = depth;
        psd.pixels = kPlain + row;

        const auto image = decoded(fileOf(psd));

        ASSERT_TRUE(image) << depth;
        EXPECT_EQ(rawPixel(*image, 0), qRgb(255, 255, 255)) << depth;
        EXPECT_EQ(qGreen(rawPixel(*image, 1)), second) << depth;
    }
}

TEST(PsdReader, ReadsSixteenBitColours)
{
    Psd psd;
    psd.depth = 16;
    psd.pixels = kPlain + big(quint16(65535)) + big(quint16(0)) + big(quint16(0))
        + big(quint16(65535)) + big(quint16(0)) + big(quint16(0));

    const auto image = decoded(fileOf(psd));

    ASSERT_TRUE(image);
    EXPECT_EQ(rawPixel(*image, 0), qRgb(255, 0, 0));
    EXPECT_EQ(rawPixel(*image, 1), qRgb(0, 255, 0));
}

TEST(PsdReader, ReadsBlackAndWhite)
{
    Psd psd;
    psd.channels = 1;
    psd.mode = 0;
    psd.depth = 1;
    psd.pixels = kPlain + bytes({ 0x80 });

    const auto image = decoded(fileOf(psd));

    ASSERT_TRUE(image);
    EXPECT_EQ(rawPixel(*image, 0), qRgb(0, 0, 0));
    EXPECT_EQ(rawPixel(*image, 1), qRgb(255, 255, 255));
}

TEST(PsdReader, ReadsIndexedColoursAndTheTransparentOne)
{
    Psd psd;
    psd.channels = 1;
    psd.mode = 2;
    psd.palette = QByteArray(768, '\0');
    psd.palette[1] = 10;
    psd.palette[256 + 1] = 20;
    psd.palette[512 + 1] = 30;
    psd.resources = resource(1047, big(quint16(2)));
    psd.pixels = kPlain + bytes({ 1, 2 });

    const auto image = decoded(fileOf(psd));

    ASSERT_TRUE(image);
    EXPECT_EQ(rawPixel(*image, 0), qRgb(10, 20, 30));
    EXPECT_EQ(rawPixel(*image, 1), 0U);
}

TEST(PsdReader, ReadsInks)
{
    Psd psd;
    psd.channels = 4;
    psd.mode = 4;
    // 255 is no ink. First pixel: full cyan; second: nothing.
    psd.pixels = kPlain + bytes({ 0, 255, 255, 255, 255, 255, 255, 255 });

    const auto image = decoded(fileOf(psd));

    ASSERT_TRUE(image);
    EXPECT_LT(qRed(rawPixel(*image, 0)), 64);
    EXPECT_GT(qBlue(rawPixel(*image, 0)), 128);
    EXPECT_EQ(rawPixel(*image, 1), qRgb(255, 255, 255));
}

Psd withFourthChannel(const QByteArray& layers)
{
    Psd psd = rgb();
    psd.channels = 4;
    psd.layers = layers;
    // Red and half transparent on white; nothing on white.
    psd.pixels = kPlain + bytes({ 255, 255, 127, 255, 127, 255, 128, 0 });
    return psd;
}

TEST(PsdReader, TakesTheWhiteBehindTransparencyAway)
{
    const auto image = decoded(fileOf(withFourthChannel(layerCount(-1))));

    ASSERT_TRUE(image);
    ASSERT_EQ(image->format(), QImage::Format_ARGB32_Premultiplied);
    EXPECT_EQ(rawPixel(*image, 0), qRgba(128, 0, 0, 128));
    EXPECT_EQ(rawPixel(*image, 1), 0U);
}

TEST(PsdReader, KnowsTheTransparencyOfDeepDocuments)
{
    const QByteArray block = "8BIM" + QByteArray("Lr16") + sized(big(qint16(-1)) + bytes({ 0, 0 }));
    const QByteArray layers = big(quint32(0)) + big(quint32(0)) + block;

    const auto image = decoded(fileOf(withFourthChannel(layers)));

    ASSERT_TRUE(image);
    EXPECT_EQ(rawPixel(*image, 1), 0U);
}

TEST(PsdReader, TakesASavedSelectionForNoTransparency)
{
    for (const QByteArray& layers : { QByteArray(), layerCount(2) }) {
        const auto image = decoded(fileOf(withFourthChannel(layers)));

        ASSERT_TRUE(image);
        EXPECT_EQ(image->format(), QImage::Format_RGB32);
        EXPECT_EQ(rawPixel(*image, 0), qRgb(255, 127, 127));
    }
}

TEST(PsdReader, RefusesADocumentWithoutItsMergedPicture)
{
    Psd psd = rgb();
    psd.layers = layerCount(1);
    psd.resources = resource(1057, big(quint32(1)) + bytes({ 0 }));

    EXPECT_EQ(errorOf(fileOf(psd)), ErrorKind::Unsupported);
}

TEST(PsdReader, CallsADocumentCutShortDamaged)
{
    Psd packed;
    packed.pixels = kPacked + big(quint16(3)) + big(quint16(2)) + big(quint16(2))
        + bytes({ 1, 255, 128, /**/ 255, 0, /**/ 255, 0 });
    for (const QByteArray& file : { fileOf(rgb()), fileOf(packed) }) {
        for (qsizetype size = 6; size < file.size(); ++size)
            EXPECT_EQ(errorOf(file.left(size)), ErrorKind::Damaged) << size;
    }
}

TEST(PsdReader, CallsARowThatIsNotFilledDamaged)
{
    Psd psd;
    psd.pixels = kPacked + big(quint16(2)) + big(quint16(2)) + big(quint16(2))
        + bytes({ 0, 255, /**/ 255, 0, /**/ 255, 0 });

    EXPECT_EQ(errorOf(fileOf(psd)), ErrorKind::Damaged);
}

TEST(PsdReader, RefusesWhatItCannotRead)
{
    Psd lab = rgb();
    lab.mode = 9;
    Psd zipped = rgb();
    zipped.pixels = big(quint16(2)) + zipped.pixels.mid(2);
    Psd wide = rgb();
    wide.width = 300'001;
    Psd few = rgb();
    few.channels = 2;

    EXPECT_EQ(errorOf(fileOf(lab)), ErrorKind::Unsupported);
    EXPECT_EQ(errorOf(fileOf(zipped)), ErrorKind::Unsupported);
    EXPECT_EQ(errorOf(fileOf(wide)), ErrorKind::Damaged);
    EXPECT_EQ(errorOf(fileOf(few)), ErrorKind::Damaged);
}

} // namespace

} // namespace quorvane
