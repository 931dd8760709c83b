// SPDX-License-Identifier: GPL-3.0-or-later
// WebP files, sound, odd and broken.
#include "decoder/Readers.h"
#include "decoder/WebpReader.h"
#include "support/PictureBytes.h"

#include <QColorSpace>

#include <gtest/gtest.h>
#include <webp/encode.h>

namespace quorvane {

namespace {

using testing::decoded;
using tests::ByteOrder;
using tests::numberBytes;

/// The file that the library's own encoder writes. Lossless.
QByteArray webp(const QImage& image)
{
    const QImage straight = image.convertToFormat(QImage::Format_ARGB32);
    uint8_t* made = nullptr;
    const size_t size = WebPEncodeLosslessBGRA(straight.constBits(), straight.width(),
        straight.height(), static_cast<int>(straight.bytesPerLine()), &made);
    QByteArray bytes(reinterpret_cast<const char*>(made), static_cast<qsizetype>(size));
    WebPFree(made);
    return bytes;
}

QByteArray lossyWebp(const QImage& image)
{
    uint8_t* made = nullptr;
    const size_t size = WebPEncodeBGRA(image.constBits(), image.width(), image.height(),
        static_cast<int>(image.bytesPerLine()), 90, &made);
    QByteArray bytes(reinterpret_cast<const char*>(made), static_cast<qsizetype>(size));
    WebPFree(made);
    return bytes;
}

QByteArray chunk(const QByteArray& name, const QByteArray& contents)
{
    return name + numberBytes(static_cast<quint32>(contents.size()), ByteOrder::Little) + contents
        + QByteArray(contents.size() % 2, '\0');
}

QByteArray three(int number)
{
    return numberBytes(static_cast<quint32>(number), ByteOrder::Little).left(3);
}

/// What VP8X says is there.
enum Feature { Animation = 0x02, Exif = 0x08, Opacity = 0x10, Profile = 0x20 };

/// A file of several chunks, which come behind the first.
QByteArray extended(int features, QSize canvas, const QByteArray& chunks)
{
    const QByteArray head = chunk("VP8X",
        QByteArray(1, static_cast<char>(features)) + QByteArray(3, '\0') + three(canvas.width() - 1)
            + three(canvas.height() - 1));
    return chunk("RIFF", "WEBP" + head + chunks);
}

/// The chunk of the pixels of a file with nothing else.
QByteArray pixelsOf(const QByteArray& simple) { return simple.mid(12); }

/// An animation whose first frame is `frame` at `place`, of even numbers.
QByteArray animation(QSize canvas, const QImage& frame, QPoint place)
{
    const QByteArray still = pixelsOf(webp(frame));
    const QByteArray black = pixelsOf(webp(tests::solidPicture(canvas, Qt::black)));
    const auto frameChunk = [](QPoint at, QSize size, const QByteArray& pixels) {
        return chunk("ANMF",
            three(at.x() / 2) + three(at.y() / 2) + three(size.width() - 1)
                + three(size.height() - 1) + three(100) + QByteArray(1, '\0') + pixels);
    };
    return extended(Animation | Opacity, canvas,
        chunk("ANIM", QByteArray("\xFF\xFF\xFF\xFF\0\0", 6))
            + frameChunk(place, frame.size(), still) + frameChunk({ 0, 0 }, canvas, black));
}

TEST(WebpReader, HasARowInTheTable)
{
    EXPECT_EQ(
        testing::formatNameOf(webp(tests::solidPicture({ 2, 2 }, Qt::red))), QByteArray("WebP"));
    EXPECT_FALSE(isWebp("RIFF\0\0\0\0WAVE"));
    EXPECT_FALSE(isWebp("RIFF"));
}

TEST(WebpReader, DecodesColours)
{
    const auto image = decoded(webp(tests::numberedPicture({ 61, 43 })));

    ASSERT_TRUE(image);
    EXPECT_EQ(image->format(), QImage::Format_RGB32);
    EXPECT_EQ(*image, tests::numberedPicture({ 61, 43 }));
}

TEST(WebpReader, DecodesLossyFiles)
{
    const auto image = decoded(lossyWebp(tests::quarteredPicture({ 60, 40 })));

    ASSERT_TRUE(image);
    EXPECT_EQ(tests::quarters(*image), QByteArray("rgbw"));
}

TEST(WebpReader, MultipliesTheOpacityIn)
{
    QImage straight(1, 1, QImage::Format_ARGB32);
    straight.fill(qRgba(200, 100, 50, 51));

    const auto image = decoded(webp(straight));

    ASSERT_TRUE(image);
    ASSERT_EQ(image->format(), QImage::Format_ARGB32_Premultiplied);
    EXPECT_EQ(*reinterpret_cast<const QRgb*>(image->constBits()), qRgba(40, 20, 10, 51));
}

TEST(WebpReader, DecodesToTheSizeWanted)
{
    const auto reader = testing::openPicture(webp(tests::quarteredPicture({ 60, 40 })));
    ASSERT_TRUE(reader);
    QSize made;

    const auto picture = (*reader)->decode({ 30, 20 }, [&](QSize size, QImage::Format format) {
        made = size;
        return QImage(size, format);
    });

    ASSERT_TRUE(picture);
    EXPECT_EQ(made, QSize(30, 20));
    EXPECT_EQ(tests::quarters(picture->image), QByteArray("rgbw"));
}

TEST(WebpReader, TurnsAPictureUpright)
{
    const QByteArray exif = tests::exifSegment({ .main = { { .value = 6 } } });
    const QByteArray pixels = pixelsOf(webp(tests::quarteredPicture({ 60, 40 })));

    for (const QByteArray& data : { exif, exif.mid(6) }) {
        const auto image = decoded(extended(Exif, { 60, 40 }, pixels + chunk("EXIF", data)));

        ASSERT_TRUE(image);
        EXPECT_EQ(image->size(), QSize(40, 60));
        EXPECT_EQ(tests::quarters(*image), QByteArray("brwg"));
    }
}

TEST(WebpReader, HonoursAProfile)
{
    const QByteArray pixels = pixelsOf(webp(tests::solidPicture({ 2, 2 }, QColor(219, 0, 0))));
    const QByteArray icc = QColorSpace(QColorSpace::AdobeRgb).iccProfile();

    const auto image = decoded(extended(Profile, { 2, 2 }, chunk("ICCP", icc) + pixels));

    ASSERT_TRUE(image);
    EXPECT_GE(image->pixelColor(0, 0).red(), 253); // A full red of sRGB.
}

TEST(WebpReader, ShowsTheFirstFrameOfAnAnimation)
{
    const auto image
        = decoded(animation({ 60, 40 }, tests::quarteredPicture({ 60, 40 }), { 0, 0 }));

    ASSERT_TRUE(image);
    EXPECT_EQ(tests::quarters(*image), QByteArray("rgbw"));
}

TEST(WebpReader, ShowsASmallFirstFrameInItsPlaceOnTheCanvas)
{
    const auto image
        = decoded(animation({ 16, 12 }, tests::solidPicture({ 6, 4 }, Qt::red), { 8, 6 }));

    ASSERT_TRUE(image);
    ASSERT_EQ(image->size(), QSize(16, 12));
    EXPECT_EQ(image->pixel(8, 6), 0xFFFF0000);
    EXPECT_EQ(image->pixel(13, 9), 0xFFFF0000);
    for (const QPoint outside : { QPoint(7, 6), QPoint(8, 5), QPoint(14, 9), QPoint(13, 10) })
        EXPECT_EQ(image->pixel(outside), 0U);
}

TEST(WebpReader, ShrinksAnAnimationWithASmallFirstFrame)
{
    const auto image = decoded(
        animation({ 16, 12 }, tests::solidPicture({ 6, 4 }, Qt::red), { 8, 6 }), { 8, 6 });

    ASSERT_TRUE(image);
    EXPECT_EQ(image->size(), QSize(8, 6));
    EXPECT_EQ(image->pixel(0, 0), 0U);
}

TEST(WebpReader, RefusesAPictureCutAnywhere)
{
    for (const QByteArray& whole :
        { webp(tests::numberedPicture({ 16, 16 })), lossyWebp(tests::numberedPicture({ 16, 16 })),
            animation({ 16, 12 }, tests::solidPicture({ 6, 4 }, Qt::red), { 8, 6 }) }) {
        for (qsizetype length = 12; length < whole.size() - 1; ++length) {
            const auto image = decoded(whole.left(length));
            EXPECT_EQ(image ? std::nullopt : std::optional(image.error().kind), ErrorKind::Damaged)
                << length;
        }
    }
}

TEST(WebpReader, SurvivesAnyBrokenByte)
{
    for (const QByteArray& whole : { webp(tests::numberedPicture({ 8, 8 })),
             animation({ 16, 12 }, tests::solidPicture({ 6, 4 }, Qt::red), { 8, 6 }) }) {
        for (qsizetype at = 12; at < whole.size(); ++at) {
            for (const char byte : QByteArray("\x00\x01\x7F\xFF", 4)) {
                QByteArray broken = whole;
                broken[at] = byte;
                (void)decoded(broken);
            }
        }
    }
}

TEST(WebpReader, DecodesIntoTheMemoryThatItIsGiven)
{
    QImage given(8, 8, QImage::Format_RGB32);
    const auto reader = testing::openPicture(webp(tests::numberedPicture({ 8, 8 })));
    ASSERT_TRUE(reader);

    const auto picture = (*reader)->decode({ 8, 8 }, [&](QSize, QImage::Format format) {
        return QImage(given.bits(), 8, 8, given.bytesPerLine(), format);
    });

    ASSERT_TRUE(picture);
    EXPECT_EQ(given, tests::numberedPicture({ 8, 8 }));
}

TEST(WebpReader, FailsWhereThereIsNoMemory)
{
    const auto reader = testing::openPicture(webp(tests::numberedPicture({ 8, 8 })));
    ASSERT_TRUE(reader);

    const auto picture
        = (*reader)->decode({ 8, 8 }, [](QSize, QImage::Format) { return QImage(); });

    EXPECT_EQ(picture.error().kind, ErrorKind::TooLarge);
}

} // namespace

} // namespace quorvane
