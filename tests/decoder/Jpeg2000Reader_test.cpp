// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/Jpeg2000Reader.h"
#include "decoder/Readers.h"
#include "support/PictureBytes.h"

#include <QColorSpace>

#include <gtest/gtest.h>

// Without its version, which is in the name of the folder, only the decoder finds it.
#include <openjpeg-2.5/openjpeg.h>

#include <cstring>
#include <functional>

namespace quorvane {

namespace {

/// One component of a picture, and the rule by which its samples are made.
struct Component {
    std::function<int(int, int)> value; ///< Of its own columns and rows.
    int precision = 8;
    bool isSigned = false;
    int step = 1; ///< Pixels for a sample, in both directions.
    int alpha = 0;
};

struct Fixture {
    QSize size { 48, 32 };
    std::vector<Component> components;
    OPJ_COLOR_SPACE space = OPJ_CLRSPC_SRGB;
    bool isBare = false;
};

struct Target {
    QByteArray bytes;
    qsizetype position = 0;
};

OPJ_SIZE_T writeTarget(void* from, OPJ_SIZE_T size, void* handle)
{
    auto& target = *static_cast<Target*>(handle);
    const auto count = static_cast<qsizetype>(size);
    if (target.bytes.size() < target.position + count)
        target.bytes.append(target.position + count - target.bytes.size(), '\0');
    std::memcpy(target.bytes.data() + target.position, from, size);
    target.position += count;
    return size;
}

OPJ_OFF_T skipTarget(OPJ_OFF_T count, void* handle)
{
    static_cast<Target*>(handle)->position += count;
    return count;
}

OPJ_BOOL seekTarget(OPJ_OFF_T position, void* handle)
{
    static_cast<Target*>(handle)->position = position;
    return OPJ_TRUE;
}

opj_image_t* imageOf(const Fixture& fixture)
{
    std::vector<opj_image_cmptparm_t> parameters;
    for (const Component& component : fixture.components) {
        opj_image_cmptparm_t parameter = {};
        const auto step = static_cast<OPJ_UINT32>(component.step);
        parameter.dx = parameter.dy = step;
        parameter.w = static_cast<OPJ_UINT32>(fixture.size.width()) / step;
        parameter.h = static_cast<OPJ_UINT32>(fixture.size.height()) / step;
        parameter.prec = static_cast<OPJ_UINT32>(component.precision);
        parameter.sgnd = component.isSigned;
        parameters.push_back(parameter);
    }
    opj_image_t* const image = opj_image_create(
        static_cast<OPJ_UINT32>(parameters.size()), parameters.data(), fixture.space);
    image->x1 = static_cast<OPJ_UINT32>(fixture.size.width());
    image->y1 = static_cast<OPJ_UINT32>(fixture.size.height());
    for (size_t i = 0; i < fixture.components.size(); ++i) {
        opj_image_comp_t& component = image->comps[i];
        component.alpha = static_cast<OPJ_UINT16>(fixture.components[i].alpha);
        for (OPJ_UINT32 at = 0; at < component.w * component.h; ++at)
            component.data[at] = fixture.components[i].value(
                static_cast<int>(at % component.w), static_cast<int>(at / component.w));
    }
    return image;
}

/// Without loss.
QByteArray encoded(const Fixture& fixture)
{
    Target target;
    opj_cparameters_t parameters = {};
    opj_set_default_encoder_parameters(&parameters);
    parameters.tcp_numlayers = 1;
    parameters.cp_disto_alloc = 1;
    parameters.numresolution = 4;
    opj_image_t* const image = imageOf(fixture);
    opj_codec_t* const codec = opj_create_compress(fixture.isBare ? OPJ_CODEC_J2K : OPJ_CODEC_JP2);
    opj_stream_t* const stream = opj_stream_default_create(OPJ_FALSE);
    opj_stream_set_user_data(stream, &target, nullptr);
    opj_stream_set_write_function(stream, writeTarget);
    opj_stream_set_skip_function(stream, skipTarget);
    opj_stream_set_seek_function(stream, seekTarget);
    const bool done = opj_setup_encoder(codec, &parameters, image)
        && opj_start_compress(codec, image, stream) && opj_encode(codec, stream)
        && opj_end_compress(codec, stream);
    opj_stream_destroy(stream);
    opj_destroy_codec(codec);
    opj_image_destroy(image);
    return done ? target.bytes : QByteArray();
}

/// `file` with another description of its colours, which the library cannot write.
QByteArray withColors(QByteArray file, const QByteArray& description)
{
    const qsizetype outer = file.indexOf("jp2h") - 4;
    const qsizetype box = file.indexOf("colr") - 4;
    const auto length = qFromBigEndian<quint32>(file.constData() + box);
    const auto outerLength = qFromBigEndian<quint32>(file.constData() + outer);
    const auto newLength = static_cast<quint32>(8 + description.size());
    qToBigEndian(outerLength + newLength - length, file.data() + outer);
    return file.replace(box, static_cast<qsizetype>(length),
        tests::numberBytes(newLength, tests::ByteOrder::Big) + "colr" + description);
}

/// By the number of a colour space.
QByteArray enumerated(quint32 number)
{
    return QByteArray("\1\0\0", 3) + tests::numberBytes(number, tests::ByteOrder::Big);
}

Component solid(int value, int precision = 8)
{
    return { .value = [value](int, int) { return value; }, .precision = precision };
}

Component channelOf(const QImage& image, int shift)
{
    return { .value
        = [image, shift](int x, int y) { return int(image.pixel(x, y) >> shift & 255); } };
}

Fixture fixtureOf(const QImage& image)
{
    return { .size = image.size(),
        .components = { channelOf(image, 16), channelOf(image, 8), channelOf(image, 0) } };
}

OpenedPicture opened(const QByteArray& bytes)
{
    FileBytes file(bytes);
    return openJpeg2000(file);
}

Result<QImage> shown(const QByteArray& bytes)
{
    auto reader = opened(bytes);
    if (!reader)
        return tl::unexpected(reader.error());
    return renderedImage(**reader);
}

QRgb pixelOf(const Fixture& fixture)
{
    const auto image = shown(encoded(fixture));
    EXPECT_TRUE(image);
    return image ? image->pixel(0, 0) : 0;
}

QImage makeImage(QSize size, QImage::Format format) { return QImage(size, format); }

} // namespace

TEST(Jpeg2000Reader, RecognizesFilesAndBareCodestreams)
{
    Fixture fixture = fixtureOf(tests::numberedPicture({ 48, 32 }));
    EXPECT_TRUE(isJpeg2000(encoded(fixture)));
    fixture.isBare = true;
    EXPECT_TRUE(isJpeg2000(encoded(fixture)));
    EXPECT_FALSE(isJpeg2000("\xFF\xD8\xFF\xE0"));
    EXPECT_FALSE(isJpeg2000({}));
}

TEST(Jpeg2000Reader, ShowsTheVeryPixels)
{
    const QImage image = tests::numberedPicture({ 48, 32 });
    Fixture fixture = fixtureOf(image);
    for (const bool isBare : { false, true }) {
        fixture.isBare = isBare;

        const auto result = shown(encoded(fixture));

        ASSERT_TRUE(result);
        EXPECT_EQ(*result, image);
        EXPECT_EQ(result->format(), QImage::Format_RGB32);
    }
}

TEST(Jpeg2000Reader, StretchesEveryPrecisionToEightBits)
{
    const std::vector<std::pair<Component, int>> rows = {
        { solid(1, 1), 255 },
        { solid(3, 4), 51 },
        { solid(4095, 12), 255 },
        { solid(2048, 12), 128 },
        { solid(65535, 16), 255 },
    };
    for (const auto& [component, grey] : rows) {
        const QRgb pixel = pixelOf({ .components = { component }, .space = OPJ_CLRSPC_GRAY });

        EXPECT_NEAR(qRed(pixel), grey, 1) << component.precision;
        EXPECT_EQ(qRed(pixel), qBlue(pixel));
    }
}

TEST(Jpeg2000Reader, TakesSignedSamplesAroundTheMiddle)
{
    Component component = solid(-128);
    component.isSigned = true;
    EXPECT_EQ(qRed(pixelOf({ .components = { component }, .space = OPJ_CLRSPC_GRAY })), 0);
    component.value = [](int, int) { return 127; };
    EXPECT_EQ(qRed(pixelOf({ .components = { component }, .space = OPJ_CLRSPC_GRAY })), 255);
}

TEST(Jpeg2000Reader, TurnsLumaAndChromaIntoColours)
{
    Component blue = solid(85);
    Component red = solid(255);
    for (const int step : { 1, 2 }) {
        blue.step = red.step = step;
        const QRgb pixel
            = pixelOf({ .components = { solid(76), blue, red }, .space = OPJ_CLRSPC_SYCC });

        EXPECT_NEAR(qRed(pixel), 254, 2) << step;
        EXPECT_NEAR(qGreen(pixel), 0, 2);
        EXPECT_NEAR(qBlue(pixel), 0, 2);
    }
}

TEST(Jpeg2000Reader, WidensTheSmallerComponents)
{
    Component half { .value = [](int x, int) { return x < 12 ? 0 : 255; }, .step = 2 };
    const auto image = shown(encoded({ .components = { half, solid(255), solid(255) } }));

    ASSERT_TRUE(image);
    EXPECT_EQ(image->size(), QSize(48, 32));
    EXPECT_EQ(qRed(image->pixel(23, 31)), 0);
    EXPECT_EQ(qRed(image->pixel(24, 31)), 255);
}

TEST(Jpeg2000Reader, KnowsTransparency)
{
    Component alpha = solid(128);
    alpha.alpha = 1;
    const auto image
        = shown(encoded({ .components = { solid(200), solid(100), solid(50), alpha } }));

    ASSERT_TRUE(image);
    ASSERT_EQ(image->format(), QImage::Format_ARGB32_Premultiplied);
    EXPECT_EQ(qAlpha(image->pixel(0, 0)), 128);
    EXPECT_NEAR(qRed(image->pixel(0, 0)), 100, 1);
    EXPECT_NEAR(qBlue(image->pixel(0, 0)), 25, 1);
}

TEST(Jpeg2000Reader, TakesTheFourthComponentOfABareCodestreamForTransparency)
{
    const Fixture fixture { .components = { solid(200), solid(100), solid(50), solid(0) },
        .isBare = true };

    EXPECT_EQ(pixelOf(fixture), 0U);
}

TEST(Jpeg2000Reader, PrintsFourInks)
{
    constexpr quint32 kCmyk = 12;
    const QByteArray bytes
        = encoded({ .components = { solid(0), solid(255), solid(255), solid(0) } });

    const auto image = shown(withColors(bytes, enumerated(kCmyk)));

    ASSERT_TRUE(image);
    EXPECT_GT(qRed(image->pixel(0, 0)), 200);
    EXPECT_LT(qGreen(image->pixel(0, 0)), 60);
}

TEST(Jpeg2000Reader, KnowsTheWideGamutFormOfLumaAndChroma)
{
    constexpr quint32 kEycc = 24;
    const QByteArray bytes = encoded({ .components = { solid(76), solid(85), solid(255) } });

    const auto image = shown(withColors(bytes, enumerated(kEycc)));

    ASSERT_TRUE(image);
    EXPECT_NEAR(qRed(image->pixel(0, 0)), 254, 2);
    EXPECT_NEAR(qGreen(image->pixel(0, 0)), 0, 2);
}

TEST(Jpeg2000Reader, TakesAFourthComponentOfAFileForNoTransparency)
{
    const QRgb pixel = pixelOf({ .components = { solid(200), solid(100), solid(50), solid(0) } });

    EXPECT_EQ(pixel, qRgb(200, 100, 50));
}

TEST(Jpeg2000Reader, UsesTheProfileOfTheFile)
{
    const QByteArray profile = QColorSpace(QColorSpace::AdobeRgb).iccProfile();
    for (const int precision : { 8, 16 }) {
        const int one = precision == 8 ? 1 : 257;
        const QByteArray bytes
            = encoded({ .components = { solid(100 * one, precision), solid(200 * one, precision),
                            solid(100 * one, precision) } });

        const auto image = shown(withColors(bytes, QByteArray("\2\0\0", 3) + profile));

        ASSERT_TRUE(image);
        EXPECT_LT(qRed(image->pixel(0, 0)), 60) << precision;
    }
}

TEST(Jpeg2000Reader, DecodesNoMoreThanIsWanted)
{
    const auto reader = opened(encoded(fixtureOf(tests::quarteredPicture({ 64, 64 }))));
    ASSERT_TRUE(reader);
    EXPECT_EQ((*reader)->header().size, QSize(64, 64));

    const std::vector<std::pair<QSize, QSize>> rows = {
        { { 64, 64 }, { 64, 64 } }, { { 33, 20 }, { 64, 64 } }, { { 32, 32 }, { 32, 32 } },
        { { 9, 16 }, { 16, 16 } }, { { 1, 1 }, { 8, 8 } }, // The file has no smaller size.
    };
    for (const auto& [wanted, expected] : rows) {
        const auto picture = (*reader)->decode(wanted, makeImage);

        ASSERT_TRUE(picture);
        EXPECT_EQ(picture->image.size(), expected);
        EXPECT_EQ(tests::quarters(picture->image), "rgbw");
    }
}

TEST(Jpeg2000Reader, NeverShowsAPartOfAFile)
{
    Fixture fixture = fixtureOf(tests::numberedPicture({ 48, 32 }));
    for (const bool isBare : { false, true }) {
        fixture.isBare = isBare;
        const QByteArray bytes = encoded(fixture);
        for (int tenth = 0; tenth < 10; ++tenth) {
            const auto image = shown(bytes.left(bytes.size() * tenth / 10));

            ASSERT_FALSE(image) << tenth;
            EXPECT_EQ(image.error().kind, ErrorKind::Damaged);
        }
        EXPECT_FALSE(shown(bytes.chopped(20)));
        EXPECT_FALSE(shown(bytes.chopped(1)));
    }
}

TEST(Jpeg2000Reader, RefusesWhatIsTooLargeBeforeItAllocates)
{
    Fixture fixture = fixtureOf(tests::numberedPicture({ 48, 32 }));
    fixture.isBare = true;
    QByteArray bytes = encoded(fixture);
    // The size, behind two markers, a length and the capabilities; that of the tiles likewise.
    constexpr quint32 kLarge = 60000;
    for (const int position : { 8, 12, 24, 28 })
        qToBigEndian(kLarge, bytes.data() + position);

    const auto reader = opened(bytes);

    ASSERT_FALSE(reader);
    EXPECT_EQ(reader.error().kind, ErrorKind::TooLarge);
}

} // namespace quorvane
