// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/FileBytes.h"
#include "decoder/JxlReader.h"
#include "decoder/Rendering.h"

#include <gtest/gtest.h>
#include <jxl/encode.h>

#include <vector>

namespace quorvane {
namespace {

/// A picture of one colour, without loss. \param orientation  EXIF's numbers.
QByteArray encoded(QRgb color, QSize size, JxlOrientation orientation = JXL_ORIENT_IDENTITY)
{
    JxlEncoder* const encoder = JxlEncoderCreate(nullptr);
    JxlBasicInfo info;
    JxlEncoderInitBasicInfo(&info);
    info.xsize = static_cast<uint32_t>(size.width());
    info.ysize = static_cast<uint32_t>(size.height());
    info.bits_per_sample = 8;
    info.alpha_bits = 8;
    info.num_extra_channels = 1;
    info.uses_original_profile = JXL_TRUE;
    info.orientation = orientation;
    JxlEncoderSetBasicInfo(encoder, &info);
    JxlColorEncoding colors;
    JxlColorEncodingSetToSRGB(&colors, JXL_FALSE);
    JxlEncoderSetColorEncoding(encoder, &colors);
    JxlEncoderFrameSettings* const settings = JxlEncoderFrameSettingsCreate(encoder, nullptr);
    JxlEncoderSetFrameLossless(settings, JXL_TRUE);
    QImage image(size, QImage::Format_RGBA8888);
    image.fill(QColor::fromRgba(color));
    const JxlPixelFormat format { 4, JXL_TYPE_UINT8, JXL_NATIVE_ENDIAN, 0 };
    JxlEncoderAddImageFrame(
        settings, &format, image.constBits(), static_cast<size_t>(image.sizeInBytes()));
    JxlEncoderCloseInput(encoder);
    std::vector<uint8_t> buffer(1 << 16);
    uint8_t* next = buffer.data();
    size_t left = buffer.size();
    const bool isDone = JxlEncoderProcessOutput(encoder, &next, &left) == JXL_ENC_SUCCESS;
    JxlEncoderDestroy(encoder);
    return isDone ? QByteArray(reinterpret_cast<const char*>(buffer.data()),
               static_cast<qsizetype>(buffer.size() - left))
                  : QByteArray();
}

Result<QImage> decoded(const QByteArray& bytes)
{
    FileBytes file(bytes);
    auto reader = openJxl(file);
    if (!reader)
        return tl::unexpected(reader.error());
    return renderedImage(**reader);
}

TEST(JxlReader, KnowsBareAndContainedPictures)
{
    EXPECT_TRUE(isJxl("\xff\x0a"));
    EXPECT_TRUE(isJxl(QByteArray("\0\0\0\x0cJXL \r\n\x87\n", 12)));
    EXPECT_FALSE(isJxl("\xff\xd8\xff"));
    EXPECT_FALSE(isJxl({}));
}

TEST(JxlReader, PutsTheColoursWhereTheyBelong)
{
    const auto image = decoded(encoded(qRgba(10, 100, 200, 255), { 8, 4 }));

    ASSERT_TRUE(image);
    EXPECT_EQ(image->size(), QSize(8, 4));
    EXPECT_EQ(image->pixel(3, 2), qRgb(10, 100, 200));
}

TEST(JxlReader, MultipliesAlphaIn)
{
    const auto image = decoded(encoded(qRgba(255, 100, 0, 128), { 8, 4 }));

    ASSERT_TRUE(image);
    EXPECT_EQ(reinterpret_cast<const QRgb*>(image->constBits())[0], qRgba(128, 50, 0, 128));
}

TEST(JxlReader, TellsTheSizeOfTheUprightPicture)
{
    const QByteArray bytes = encoded(qRgb(1, 2, 3), { 8, 4 }, JXL_ORIENT_ROTATE_90_CW);
    FileBytes file(bytes);
    const auto reader = openJxl(file);

    ASSERT_TRUE(reader);
    EXPECT_EQ((*reader)->header().size, QSize(4, 8));
    EXPECT_EQ((*reader)->header().orientation, 1);
    EXPECT_TRUE(renderedImage(**reader));
}

TEST(JxlReader, RefusesAFileThatEndsTooSoon)
{
    const QByteArray bytes = encoded(qRgb(1, 2, 3), { 8, 4 });

    for (qsizetype length = 0; length < bytes.size(); ++length) {
        const auto image = decoded(bytes.first(length));
        ASSERT_FALSE(image) << length;
        EXPECT_EQ(image.error().kind, ErrorKind::Damaged);
    }
}

} // namespace
} // namespace quorvane
