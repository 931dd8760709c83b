// SPDX-License-Identifier: GPL-3.0-or-later
// Finished pixels and who keeps them.
#include "platform/PixelBuffer.h"
#include "support/PictureBytes.h"

#include <gtest/gtest.h>

#include <array>
#include <optional>

namespace quorvane {

namespace {

using tests::numberedPicture;

TEST(PixelBuffer, HasNoPixelsByDefault)
{
    const PixelBuffer buffer;

    EXPECT_TRUE(buffer.isNull());
    EXPECT_TRUE(buffer.image().isNull());
    EXPECT_TRUE(PixelBuffer::fromImage({}).isNull());
}

TEST(PixelBuffer, ShowsMemoryOfOthersWithoutCopying)
{
    // Blue, green, red and one more, in rows of three pixels of which the last is not shown.
    using Memory = std::array<quint32, 6>;
    const auto memory = std::make_shared<const Memory>(
        Memory { 0x00112233, 0x00445566, 0xffffffff, 0x00778899, 0x00aabbcc, 0xffffffff });
    const auto* const bits = reinterpret_cast<const uchar*>(memory->data());

    const PixelBuffer buffer(memory, bits, { 2, 2 }, 12, PixelBuffer::Format::Opaque);
    const QImage image = buffer.image();

    EXPECT_FALSE(buffer.isNull());
    EXPECT_EQ(buffer.size(), QSize(2, 2));
    EXPECT_EQ(image.constBits(), bits);
    EXPECT_EQ(image.size(), QSize(2, 2));
    EXPECT_FALSE(image.hasAlphaChannel());
    EXPECT_EQ(image.pixel(0, 0), 0xff112233);
    EXPECT_EQ(image.pixel(1, 1), 0xffaabbcc);
}

TEST(PixelBuffer, KnowsPremultipliedPixels)
{
    const auto memory = std::make_shared<const quint32>(0x80800000);

    const PixelBuffer buffer(memory, reinterpret_cast<const uchar*>(memory.get()), { 1, 1 }, 4,
        PixelBuffer::Format::Premultiplied);

    EXPECT_TRUE(buffer.image().hasAlphaChannel());
    EXPECT_EQ(buffer.image().pixelColor(0, 0), QColor(255, 0, 0, 128));
}

TEST(PixelBuffer, KeepsTheMemoryWhileAnyoneHoldsIt)
{
    auto memory = std::make_shared<const quint32>(0xff123456);
    const std::weak_ptr<const quint32> watched = memory;
    std::optional<PixelBuffer> buffer(std::in_place, memory,
        reinterpret_cast<const uchar*>(memory.get()), QSize(1, 1), 4, PixelBuffer::Format::Opaque);
    memory.reset();

    QImage image = buffer->image();
    std::optional<PixelBuffer> copy = buffer;
    buffer.reset();
    EXPECT_EQ(image.pixel(0, 0), 0xff123456);

    copy.reset();
    EXPECT_FALSE(watched.expired());
    EXPECT_EQ(image.pixel(0, 0), 0xff123456);

    image = {};
    EXPECT_TRUE(watched.expired());
}

TEST(PixelBuffer, NeverChangesItsPixels)
{
    const PixelBuffer buffer = PixelBuffer::fromImage(numberedPicture({ 5, 3 }));

    QImage image = buffer.image();
    image.fill(Qt::white);

    EXPECT_EQ(buffer.image(), numberedPicture({ 5, 3 }));
}

TEST(PixelBuffer, TakesAnImageOver)
{
    QImage image = numberedPicture({ 5, 3 });
    const uchar* const bits = image.constBits();

    const PixelBuffer buffer = PixelBuffer::fromImage(std::move(image));

    EXPECT_EQ(buffer.image().constBits(), bits);
    EXPECT_EQ(buffer.size(), QSize(5, 3));
}

TEST(PixelBuffer, LeavesAnImageAloneThatOthersHold)
{
    const QImage image = numberedPicture({ 5, 3 }).convertToFormat(QImage::Format_RGB888);

    const PixelBuffer buffer = PixelBuffer::fromImage(image);

    EXPECT_EQ(image.format(), QImage::Format_RGB888);
    EXPECT_EQ(buffer.image(), numberedPicture({ 5, 3 }));
}

TEST(PixelBuffer, ConvertsEveryFormatToFourBytes)
{
    const QImage picture = tests::solidPicture({ 3, 2 }, Qt::red);
    for (int format = QImage::Format_Indexed8; format < QImage::NImageFormats; ++format) {
        const QImage image = picture.convertToFormat(static_cast<QImage::Format>(format));
        if (image.isGrayscale() || image.format() == QImage::Format_Alpha8)
            continue;

        const QImage converted = PixelBuffer::fromImage(image).image();

        EXPECT_EQ(converted.pixel(2, 1), 0xffff0000) << format;
        EXPECT_EQ(converted.depth(), 32) << format;
        EXPECT_EQ(converted.hasAlphaChannel(), image.hasAlphaChannel()) << format;
    }
}

TEST(PixelBuffer, KeepsTransparency)
{
    QImage image(2, 1, QImage::Format_ARGB32);
    image.setPixel(0, 0, qRgba(255, 0, 0, 128));
    image.setPixel(1, 0, qRgba(0, 0, 0, 0));

    const QImage kept = PixelBuffer::fromImage(image).image();

    EXPECT_EQ(kept.format(), QImage::Format_ARGB32_Premultiplied);
    EXPECT_EQ(kept.pixelColor(0, 0), QColor(255, 0, 0, 128));
    EXPECT_EQ(kept.pixelColor(1, 0).alpha(), 0);
}

} // namespace

} // namespace quorvane
