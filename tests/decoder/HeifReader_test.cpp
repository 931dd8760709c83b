// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/FileBytes.h"
#include "decoder/HeifReader.h"
#include "decoder/Rendering.h"

#include <gtest/gtest.h>
#include <libheif/heif.h>

namespace quorvane {
namespace {

QByteArray beginning(const char* major, const char* compatible)
{
    return QByteArray("\0\0\0\x14", 4) + "ftyp" + major + QByteArray(4, '\0') + compatible;
}

/// A picture of one colour, as AV1, with its small picture if that has a size. Empty when this
/// system cannot encode AV1.
QByteArray encoded(QRgb color, QSize size, int thumbnail = 0)
{
    heif_context* const context = heif_context_alloc();
    heif_encoder* encoder = nullptr;
    if (heif_context_get_encoder_for_format(context, heif_compression_AV1, &encoder).code != 0) {
        heif_context_free(context);
        return {};
    }
    heif_encoder_set_lossy_quality(encoder, 90);
    heif_image* image = nullptr;
    heif_image_create(
        size.width(), size.height(), heif_colorspace_RGB, heif_chroma_interleaved_RGBA, &image);
    heif_image_add_plane(image, heif_channel_interleaved, size.width(), size.height(), 8);
    int stride = 0;
    uint8_t* const pixels = heif_image_get_plane(image, heif_channel_interleaved, &stride);
    QImage(pixels, size.width(), size.height(), stride, QImage::Format_RGBA8888)
        .fill(QColor::fromRgba(color));
    heif_image_handle* handle = nullptr;
    heif_context_encode_image(context, image, encoder, nullptr, &handle);
    heif_image_handle* small = nullptr;
    if (thumbnail > 0)
        heif_context_encode_thumbnail(context, image, handle, encoder, nullptr, thumbnail, &small);
    QByteArray bytes;
    heif_writer writer {};
    writer.writer_api_version = 1;
    writer.write = [](heif_context*, const void* data, size_t length, void* to) {
        static_cast<QByteArray*>(to)->append(
            static_cast<const char*>(data), static_cast<qsizetype>(length));
        return heif_error { heif_error_Ok, heif_suberror_Unspecified, "" };
    };
    heif_context_write(context, &writer, &bytes);
    if (small)
        heif_image_handle_release(small);
    heif_image_handle_release(handle);
    heif_image_release(image);
    heif_encoder_release(encoder);
    heif_context_free(context);
    return bytes;
}

Result<QImage> decoded(const QByteArray& bytes, QSize size = {})
{
    FileBytes file(bytes);
    auto reader = openHeif(file);
    if (!reader)
        return tl::unexpected(reader.error());
    return renderedImage(**reader, size);
}

TEST(HeifReader, KnowsPicturesByTheirBrands)
{
    EXPECT_TRUE(isHeif(beginning("heic", "mif1")));
    EXPECT_TRUE(isHeif(beginning("avif", "mif1")));
    EXPECT_TRUE(isHeif(beginning("avis", "msf1")));
    EXPECT_TRUE(isHeif(beginning("abcd", "mif1")));
}

TEST(HeifReader, TakesNoMovieForAPicture)
{
    EXPECT_FALSE(isHeif(beginning("isom", "mif1")));
    EXPECT_FALSE(isHeif(beginning("mp42", "isom")));
    EXPECT_FALSE(isHeif(beginning("qt  ", "qt  ")));
    EXPECT_FALSE(isHeif("ftyp"));
    EXPECT_FALSE(isHeif({}));
}

TEST(HeifReader, DecodesColoursAndTransparency)
{
    const QByteArray bytes = encoded(qRgba(200, 40, 90, 128), { 64, 48 });
    if (bytes.isEmpty())
        GTEST_SKIP() << "no encoder";

    const auto image = decoded(bytes);

    ASSERT_TRUE(image);
    EXPECT_EQ(image->size(), QSize(64, 48));
    EXPECT_EQ(image->format(), QImage::Format_ARGB32_Premultiplied);
    const QRgb pixel = image->pixel(32, 24);
    EXPECT_NEAR(qAlpha(pixel), 128, 3);
    EXPECT_NEAR(qRed(pixel), 100, 6);
    EXPECT_NEAR(qGreen(pixel), 20, 6);
    EXPECT_NEAR(qBlue(pixel), 45, 6);
}

TEST(HeifReader, MakesNoMorePixelsThanAreWanted)
{
    const QByteArray bytes = encoded(qRgb(20, 140, 90), { 64, 48 });
    if (bytes.isEmpty())
        GTEST_SKIP() << "no encoder";
    FileBytes file(bytes);
    const auto reader = openHeif(file);
    ASSERT_TRUE(reader);

    const auto picture = (*reader)->decode(
        { 20, 20 }, [](QSize size, QImage::Format format) { return QImage(size, format); });

    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->image.size(), QSize(32, 24));
}

TEST(HeifReader, RefusesAFileThatEndsTooSoon)
{
    const QByteArray bytes = encoded(qRgb(20, 140, 90), { 64, 48 });
    if (bytes.isEmpty())
        GTEST_SKIP() << "no encoder";

    for (int percent = 0; percent < 100; percent += 10) {
        const auto image = decoded(bytes.first(bytes.size() * percent / 100));
        ASSERT_FALSE(image) << percent;
    }
}

TEST(HeifReader, OpensTheSmallPictureBesideThePrimaryOne)
{
    const QByteArray bytes = encoded(qRgb(20, 140, 90), { 128, 96 }, 64);
    const QByteArray without = encoded(qRgb(20, 140, 90), { 64, 48 });
    if (bytes.isEmpty())
        GTEST_SKIP() << "no encoder";
    FileBytes file(bytes);
    FileBytes lacking(without);

    const auto reader = openHeifThumbnail(file);
    const auto none = openHeifThumbnail(lacking);

    ASSERT_TRUE(reader);
    EXPECT_EQ((*reader)->header().size, QSize(64, 48));
    ASSERT_FALSE(none);
    EXPECT_EQ(none.error().kind, ErrorKind::NotFound);
}

} // namespace
} // namespace quorvane
