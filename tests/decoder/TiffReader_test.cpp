// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/ByteReader.h"
#include "decoder/Readers.h"
#include "decoder/TiffReader.h"
#include "support/PictureBytes.h"

#include <QColorSpace>

#include <gtest/gtest.h>
#include <tiffio.h>

#include <algorithm>
#include <cstring>
#include <functional>

namespace quorvane {

namespace {

/// A file in memory, as the library writes to it.
struct Target {
    QByteArray bytes;
    qsizetype position = 0;
};

Target& targetOf(thandle_t handle) { return *static_cast<Target*>(handle); }

tmsize_t readTarget(thandle_t handle, void* to, tmsize_t size)
{
    Target& target = targetOf(handle);
    const QByteArray part = target.bytes.mid(target.position, size);
    std::memcpy(to, part.constData(), static_cast<size_t>(part.size()));
    target.position += part.size();
    return part.size();
}

tmsize_t writeTarget(thandle_t handle, void* from, tmsize_t size)
{
    Target& target = targetOf(handle);
    if (target.bytes.size() < target.position + size)
        target.bytes.append(target.position + size - target.bytes.size(), '\0');
    std::memcpy(target.bytes.data() + target.position, from, static_cast<size_t>(size));
    target.position += size;
    return size;
}

toff_t seekTarget(thandle_t handle, toff_t offset, int whence)
{
    Target& target = targetOf(handle);
    const auto distance = static_cast<qsizetype>(offset);
    const qsizetype base
        = whence == SEEK_SET ? 0 : (whence == SEEK_CUR ? target.position : target.bytes.size());
    target.position = base + distance;
    return static_cast<toff_t>(target.position);
}

int closeTarget(thandle_t) { return 0; }

toff_t sizeOfTarget(thandle_t handle) { return static_cast<toff_t>(targetOf(handle).bytes.size()); }

/// How a TIFF is to be written, and by which rule its samples are made.
struct Fixture {
    QSize size { 40, 24 };
    int bits = 8;
    int samples = 3;
    int photometric = PHOTOMETRIC_RGB;
    int format = SAMPLEFORMAT_UINT;
    int orientation = 1;
    int compression = COMPRESSION_NONE;
    int tile = 0; ///< Its side; 0 for strips.
    bool isPlanar = false;
    std::vector<quint16> extra = {};
    QByteArray icc = {};
    const char* mode = "w";
    /// Of x, y and the sample's number.
    std::function<double(int, int, int)> value = {};
};

/// Packs the samples of `rect` in `first` to `last`, rows padded to whole bytes.
QByteArray packed(const Fixture& fixture, QRect rect, int first, int last)
{
    QByteArray bytes;
    for (int y = rect.top(); y <= rect.bottom(); ++y) {
        quint64 held = 0;
        int count = 0;
        for (int x = rect.left(); x <= rect.right(); ++x) {
            for (int sample = first; sample <= last; ++sample) {
                const double value = fixture.value(x, y, sample);
                if (fixture.format == SAMPLEFORMAT_IEEEFP) {
                    const auto number = static_cast<float>(value);
                    bytes.append(reinterpret_cast<const char*>(&number), 4);
                } else if (fixture.bits == 16 || fixture.bits == 32) {
                    const auto number = static_cast<quint32>(value);
                    bytes.append(reinterpret_cast<const char*>(&number), fixture.bits / 8);
                } else {
                    held = held << fixture.bits | static_cast<quint32>(value);
                    for (count += fixture.bits; count >= 8; count -= 8)
                        bytes.append(static_cast<char>(held >> (count - 8)));
                }
            }
        }
        if (count > 0)
            bytes.append(static_cast<char>(held << (8 - count)));
    }
    return bytes;
}

void writeBlock(TIFF* tiff, const Fixture& fixture, QPoint at, int plane)
{
    const int first = fixture.isPlanar ? plane : 0;
    const int last = fixture.isPlanar ? plane : fixture.samples - 1;
    const auto sample = static_cast<quint16>(plane);
    if (fixture.tile > 0) {
        QByteArray bytes
            = packed(fixture, QRect(at, QSize(fixture.tile, fixture.tile)), first, last);
        TIFFWriteEncodedTile(tiff,
            TIFFComputeTile(
                tiff, static_cast<quint32>(at.x()), static_cast<quint32>(at.y()), 0, sample),
            bytes.data(), bytes.size());
        return;
    }
    QByteArray bytes = packed(fixture,
        QRect(at, QSize(fixture.size.width(), std::min(10, fixture.size.height() - at.y()))), first,
        last);
    TIFFWriteEncodedStrip(tiff, TIFFComputeStrip(tiff, static_cast<quint32>(at.y()), sample),
        bytes.data(), bytes.size());
}

void writePage(TIFF* tiff, const Fixture& fixture)
{
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, fixture.size.width());
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, fixture.size.height());
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, fixture.bits);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, fixture.samples);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, fixture.photometric);
    TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, fixture.format);
    TIFFSetField(tiff, TIFFTAG_ORIENTATION, fixture.orientation);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, fixture.compression);
    TIFFSetField(
        tiff, TIFFTAG_PLANARCONFIG, fixture.isPlanar ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
    if (!fixture.extra.empty())
        TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, static_cast<int>(fixture.extra.size()),
            fixture.extra.data());
    if (!fixture.icc.isEmpty())
        TIFFSetField(tiff, TIFFTAG_ICCPROFILE, static_cast<quint32>(fixture.icc.size()),
            fixture.icc.constData());
    if (fixture.photometric == PHOTOMETRIC_PALETTE) {
        // Index 0 red, 1 green, 2 blue, 3 white.
        quint16 red[4] = { 65535, 0, 0, 65535 };
        quint16 green[4] = { 0, 65535, 0, 65535 };
        quint16 blue[4] = { 0, 0, 65535, 65535 };
        TIFFSetField(tiff, TIFFTAG_COLORMAP, red, green, blue);
    }
    if (fixture.tile > 0) {
        TIFFSetField(tiff, TIFFTAG_TILEWIDTH, fixture.tile);
        TIFFSetField(tiff, TIFFTAG_TILELENGTH, fixture.tile);
    } else {
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, 10);
    }
    for (int plane = 0; plane < (fixture.isPlanar ? fixture.samples : 1); ++plane) {
        for (int y = 0; y<fixture.size.height(); y += fixture.tile> 0 ? fixture.tile : 10) {
            for (int x = 0;
                 x<fixture.size.width(); x += fixture.tile> 0 ? fixture.tile : fixture.size.width())
                writeBlock(tiff, fixture, QPoint(x, y), plane);
        }
    }
    TIFFWriteDirectory(tiff);
}

QByteArray tiffOf(const std::vector<Fixture>& pages)
{
    Target target;
    TIFF* const tiff = TIFFClientOpen("", pages.front().mode, &target, readTarget, writeTarget,
        seekTarget, closeTarget, sizeOfTarget, nullptr, nullptr);
    for (const Fixture& page : pages)
        writePage(tiff, page);
    TIFFClose(tiff);
    return target.bytes;
}

/// Samples of eight bits that show `image`.
std::function<double(int, int, int)> samplesOf(const QImage& image)
{
    return [image](int x, int y, int sample) -> double {
        const QRgb pixel
            = image.pixel(std::min(x, image.width() - 1), std::min(y, image.height() - 1));
        return sample == 0 ? qRed(pixel) : (sample == 1 ? qGreen(pixel) : qBlue(pixel));
    };
}

OpenedPicture opened(const QByteArray& bytes)
{
    FileBytes file(bytes);
    return openTiff(file);
}

Result<QImage> shown(const QByteArray& bytes)
{
    auto reader = opened(bytes);
    if (!reader)
        return tl::unexpected(reader.error());
    return renderedImage(**reader);
}

QRgb pixelOf(const Fixture& fixture, int x = 0, int y = 0)
{
    const auto image = shown(tiffOf({ fixture }));
    EXPECT_TRUE(image);
    return image ? image->pixel(x, y) : 0;
}

Fixture greyOf(int bits, double value)
{
    return { .bits = bits,
        .samples = 1,
        .photometric = PHOTOMETRIC_MINISBLACK,
        .value = [value](int, int, int) { return value; } };
}

Fixture pixelsOf(int photometric, const std::vector<double>& samples, int bits = 8)
{
    return { .bits = bits,
        .samples = static_cast<int>(samples.size()),
        .photometric = photometric,
        .value = [samples](int, int, int sample) { return samples.at(size_t(sample)); } };
}

/// Changes the first value of a tag in a little-endian file.
QByteArray withTag(QByteArray bytes, quint16 tag, quint32 value)
{
    const auto directory = littleAt<quint32>(bytes, 4);
    const int count = littleAt<quint16>(bytes, directory);
    for (int i = 0; i < count; ++i) {
        char* const entry = bytes.data() + directory + 2 + qsizetype(12) * i;
        if (qFromLittleEndian<quint16>(entry) != tag)
            continue;
        if (qFromLittleEndian<quint16>(entry + 2) == TIFF_SHORT)
            qToLittleEndian(static_cast<quint16>(value), entry + 8);
        else
            qToLittleEndian(value, entry + 8);
    }
    return bytes;
}

} // namespace

TEST(TiffReader, RecognizesBothByteOrdersAndBothSizesOfOffsets)
{
    for (const char* mode : { "wl", "wb", "wl8", "wb8" }) {
        Fixture fixture = greyOf(8, 7);
        fixture.mode = mode;

        EXPECT_TRUE(isTiff(tiffOf({ fixture }))) << mode;
    }
    EXPECT_FALSE(isTiff("II"));
    EXPECT_FALSE(isTiff("MM\x00+"));
    EXPECT_FALSE(isTiff(QByteArray("II\0*", 4)));
}

TEST(TiffReader, ShowsTheSamePixelsHoweverTheyAreStored)
{
    const QImage image = tests::numberedPicture({ 40, 24 });
    const std::vector<Fixture> ways = {
        {},
        { .tile = 16 },
        { .isPlanar = true },
        { .tile = 16, .isPlanar = true },
        { .compression = COMPRESSION_LZW },
        { .compression = COMPRESSION_ADOBE_DEFLATE, .tile = 16, .isPlanar = true },
        { .compression = COMPRESSION_PACKBITS, .mode = "wb" },
        { .mode = "wb8" },
    };
    for (size_t i = 0; i < ways.size(); ++i) {
        Fixture fixture = ways[i];
        fixture.value = samplesOf(image);

        const auto result = shown(tiffOf({ fixture }));

        ASSERT_TRUE(result) << i;
        EXPECT_EQ(*result, image) << i;
        EXPECT_EQ(result->format(), QImage::Format_RGB32);
    }
}

TEST(TiffReader, ShowsMoreRowsThanAreConvertedAtATime)
{
    const QImage image = tests::numberedPicture({ 20, 700 });
    const auto words
        = [image](int x, int y, int sample) { return samplesOf(image)(x, y, sample) * 257; };
    Fixture fixture { .size = image.size(), .value = samplesOf(image) };

    EXPECT_EQ(*shown(tiffOf({ fixture })), image);
    fixture.bits = 16;
    fixture.value = words;
    EXPECT_EQ(*shown(tiffOf({ fixture })), image);
}

TEST(TiffReader, StretchesEveryDepthToEight)
{
    EXPECT_EQ(pixelOf(greyOf(8, 200)), qRgb(200, 200, 200));
    EXPECT_EQ(pixelOf(greyOf(16, 200 * 257)), qRgb(200, 200, 200));
    EXPECT_EQ(pixelOf(greyOf(12, 4095)), qRgb(255, 255, 255));
    EXPECT_NEAR(qRed(pixelOf(greyOf(12, 2048))), 128, 1);
    EXPECT_NEAR(qRed(pixelOf(greyOf(10, 256))), 64, 1);
    EXPECT_NEAR(qRed(pixelOf(greyOf(32, 0x80000000U))), 128, 1);
    EXPECT_EQ(pixelOf(greyOf(4, 15)), qRgb(255, 255, 255));
    EXPECT_EQ(pixelOf(greyOf(1, 1)), qRgb(255, 255, 255));
}

TEST(TiffReader, KnowsThatZeroMayBeWhite)
{
    for (const int bits : { 1, 8, 16 }) {
        Fixture fixture = greyOf(bits, 0);
        fixture.photometric = PHOTOMETRIC_MINISWHITE;

        EXPECT_EQ(pixelOf(fixture), qRgb(255, 255, 255)) << bits;
    }
}

TEST(TiffReader, PrintsFourInks)
{
    const QRgb red = pixelOf(pixelsOf(PHOTOMETRIC_SEPARATED, { 0, 255, 255, 0 }));
    const QRgb dark = pixelOf(pixelsOf(PHOTOMETRIC_SEPARATED, { 0, 0, 0, 65535 }, 16));

    EXPECT_GT(qRed(red), 200);
    EXPECT_LT(qGreen(red), 60);
    EXPECT_LT(qRed(dark), 50);
}

TEST(TiffReader, MultipliesAlphaInOnce)
{
    Fixture straight = pixelsOf(PHOTOMETRIC_RGB, { 200, 100, 50, 128 });
    straight.extra = { EXTRASAMPLE_UNASSALPHA };
    Fixture multiplied = pixelsOf(PHOTOMETRIC_RGB, { 100, 50, 25, 128 });
    multiplied.extra = { EXTRASAMPLE_ASSOCALPHA };
    Fixture deep = pixelsOf(PHOTOMETRIC_RGB, { 100 * 257, 50 * 257, 25 * 257, 128 * 257 }, 16);
    deep.extra = { EXTRASAMPLE_ASSOCALPHA };

    for (const Fixture& fixture : { straight, multiplied, deep }) {
        const auto image = shown(tiffOf({ fixture }));

        ASSERT_TRUE(image);
        ASSERT_EQ(image->format(), QImage::Format_ARGB32_Premultiplied);
        const auto pixel = reinterpret_cast<const QRgb*>(image->constBits())[0];
        EXPECT_EQ(qAlpha(pixel), 128);
        EXPECT_NEAR(qRed(pixel), 100, 1);
        EXPECT_NEAR(qGreen(pixel), 50, 1);
    }
}

TEST(TiffReader, KeepsColoursWithinTheirAlpha)
{
    Fixture fixture = pixelsOf(PHOTOMETRIC_RGB, { 255, 100, 50, 128 });
    fixture.extra = { EXTRASAMPLE_ASSOCALPHA };

    EXPECT_EQ(pixelOf(fixture), qRgba(128, 100, 50, 128));
}

TEST(TiffReader, TakesNoMaskForTransparency)
{
    Fixture fixture = pixelsOf(PHOTOMETRIC_RGB, { 200, 100, 50, 0 });
    fixture.extra = { EXTRASAMPLE_UNSPECIFIED };

    EXPECT_EQ(pixelOf(fixture), qRgb(200, 100, 50));
}

TEST(TiffReader, FindsAlphaBehindAMask)
{
    Fixture fixture = pixelsOf(PHOTOMETRIC_RGB, { 200, 100, 50, 0, 255 });
    fixture.extra = { EXTRASAMPLE_UNSPECIFIED, EXTRASAMPLE_UNASSALPHA };

    EXPECT_EQ(pixelOf(fixture), qRgb(200, 100, 50));
}

TEST(TiffReader, ShowsLightAsFloatingPointNumbers)
{
    Fixture fixture { .bits = 32, .format = SAMPLEFORMAT_IEEEFP };
    fixture.value = [](int x, int, int) { return x == 0 ? 0.0 : (x == 1 ? 0.2140 : 1.0); };
    const auto image = shown(tiffOf({ fixture }));

    ASSERT_TRUE(image);
    EXPECT_EQ(image->pixel(0, 0), qRgb(0, 0, 0));
    EXPECT_NEAR(qGreen(image->pixel(1, 0)), 127, 2);
    EXPECT_EQ(image->pixel(2, 0), qRgb(255, 255, 255));
}

TEST(TiffReader, TellsTheOrientationAndTurnsNothing)
{
    const QImage image = tests::quarteredPicture({ 40, 24 });
    for (int orientation = 1; orientation <= 8; ++orientation) {
        const Fixture direct { .orientation = orientation, .value = samplesOf(image) };
        const Fixture byLibrary { .bits = 2,
            .samples = 1,
            .photometric = PHOTOMETRIC_PALETTE,
            .orientation = orientation,
            .value = [](int x, int y, int) { return (y < 12 ? 0 : 2) + (x < 20 ? 0 : 1); } };
        for (const Fixture& fixture : { direct, byLibrary }) {
            auto reader = opened(tiffOf({ fixture }));
            ASSERT_TRUE(reader);
            EXPECT_EQ((*reader)->header().orientation, orientation);
            EXPECT_EQ((*reader)->header().size, image.size());

            const auto picture = (*reader)->decode(image.size(),
                [](QSize size, QImage::Format format) { return QImage(size, format); });

            ASSERT_TRUE(picture);
            EXPECT_EQ(tests::quarters(picture->image), "rgbw") << orientation;
        }
    }
}

TEST(TiffReader, TakesAnOrientationThatDoesNotExistForUpright)
{
    Fixture fixture { .value = samplesOf(tests::quarteredPicture({ 40, 24 })) };
    const QByteArray bytes = withTag(tiffOf({ fixture }), TIFFTAG_ORIENTATION, 9);

    const auto reader = opened(bytes);

    ASSERT_TRUE(reader);
    EXPECT_EQ((*reader)->header().orientation, 1);
}

TEST(TiffReader, ShowsTheFirstPage)
{
    Fixture second = greyOf(8, 99);
    second.size = { 10, 10 };

    const auto image = shown(tiffOf({ greyOf(8, 7), second }));

    ASSERT_TRUE(image);
    EXPECT_EQ(image->size(), QSize(40, 24));
    EXPECT_EQ(image->pixel(0, 0), qRgb(7, 7, 7));
}

TEST(TiffReader, UsesTheProfileOfTheFileAtEveryDepth)
{
    Fixture fixture = pixelsOf(PHOTOMETRIC_RGB, { 100, 200, 100 });
    fixture.icc = QColorSpace(QColorSpace::AdobeRgb).iccProfile();
    Fixture deep = pixelsOf(PHOTOMETRIC_RGB, { 25700, 51400, 25700 }, 16);
    deep.icc = fixture.icc;

    // A green of Adobe RGB is stronger than the same numbers of sRGB.
    const QRgb pixel = pixelOf(fixture);
    const QRgb deepPixel = pixelOf(deep);

    EXPECT_LT(qRed(pixel), 60);
    EXPECT_NEAR(qRed(deepPixel), qRed(pixel), 3);
    EXPECT_NEAR(qGreen(deepPixel), qGreen(pixel), 3);
}

TEST(TiffReader, NeverShowsAPartOfAFile)
{
    Fixture fixture { .compression = COMPRESSION_LZW, .mode = "wl" };
    fixture.value = samplesOf(tests::numberedPicture({ 40, 24 }));
    const QByteArray bytes = tiffOf({ fixture });
    for (int tenth = 0; tenth < 10; ++tenth) {
        const auto image = shown(bytes.left(bytes.size() * tenth / 10));

        ASSERT_FALSE(image) << tenth;
        EXPECT_EQ(image.error().kind, ErrorKind::Damaged);
    }
    // The directory is there, a strip is not.
    const auto lacksStrip = shown(withTag(bytes, TIFFTAG_ROWSPERSTRIP, 1));
    EXPECT_FALSE(lacksStrip);
}

TEST(TiffReader, RefusesWhatIsTooLargeBeforeItAllocates)
{
    Fixture fixture = greyOf(8, 7);
    fixture.mode = "wl";
    fixture.size = { 70000, 10 };
    const QByteArray bytes = withTag(tiffOf({ fixture }), TIFFTAG_IMAGELENGTH, 60000);

    const auto reader = opened(bytes);

    ASSERT_FALSE(reader);
    EXPECT_EQ(reader.error().kind, ErrorKind::TooLarge);
}

TEST(TiffReader, CannotReadWhatItDoesNotKnow)
{
    Fixture fixture = greyOf(8, 7);
    fixture.mode = "wl";
    const QByteArray bytes = tiffOf({ fixture });

    EXPECT_EQ(
        shown(withTag(bytes, TIFFTAG_COMPRESSION, 60000)).error().kind, ErrorKind::Unsupported);
    EXPECT_EQ(
        shown(withTag(bytes, TIFFTAG_PHOTOMETRIC, 12345)).error().kind, ErrorKind::Unsupported);
}

} // namespace quorvane
