// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/ExrReader.h"
#include "decoder/FileBytes.h"
#include "decoder/Rendering.h"

#include <QtEndian>

#include <gtest/gtest.h>

namespace quorvane {
namespace {

template <typename T> QByteArray number(T value)
{
    QByteArray bytes(sizeof value, '\0');
    qToLittleEndian(value, bytes.data());
    return bytes;
}

QByteArray attribute(const char* name, const char* type, const QByteArray& value)
{
    return QByteArray(name) + '\0' + type + '\0' + number(static_cast<qint32>(value.size()))
        + value;
}

/// An uncompressed file of one line with the channels B, G and R, all of 32-bit floats.
QByteArray file(const std::vector<float>& blue, const std::vector<float>& green,
    const std::vector<float>& red, qint32 left = 0)
{
    const auto width = static_cast<qint32>(red.size());
    QByteArray channels;
    for (const char* name : { "B", "G", "R" })
        channels += QByteArray(name) + '\0' + number(2) + number(0) + number(1) + number(1);
    const QByteArray window = number(left) + number(5) + number(left + width - 1) + number(5);
    QByteArray bytes = number(20000630) + number(2)
        + attribute("channels", "chlist", channels + '\0')
        + attribute("compression", "compression", QByteArray(1, '\0'))
        + attribute("dataWindow", "box2i", window) + attribute("displayWindow", "box2i", window)
        + attribute("lineOrder", "lineOrder", QByteArray(1, '\0'))
        + attribute("pixelAspectRatio", "float", number(1.0F))
        + attribute("screenWindowCenter", "v2f", number(0.0F) + number(0.0F))
        + attribute("screenWindowWidth", "float", number(1.0F)) + '\0';
    bytes += number(qint64(bytes.size() + 8)) + number(5) + number(width * 12);
    for (const auto* plane : { &blue, &green, &red }) {
        for (const float value : *plane)
            bytes += number(value);
    }
    return bytes;
}

Result<QImage> decoded(const QByteArray& bytes)
{
    FileBytes opened(bytes);
    auto reader = openExr(opened);
    if (!reader)
        return tl::unexpected(reader.error());
    return renderedImage(**reader);
}

TEST(ExrReader, KnowsItsSignature)
{
    EXPECT_TRUE(isExr(file({ 0 }, { 0 }, { 0 })));
    EXPECT_FALSE(isExr("v/1"));
}

TEST(ExrReader, PutsTheColoursWhereTheyBelongWhereverTheWindowLies)
{
    for (const qint32 left : { 0, 100, -3 }) {
        const auto image = decoded(file({ 0, 0.5F }, { 0, 0 }, { 0.5F, 0 }, left));

        ASSERT_TRUE(image) << left;
        EXPECT_EQ(image->pixel(0, 0), qRgb(188, 0, 0));
        EXPECT_EQ(image->pixel(1, 0), qRgb(0, 0, 188));
    }
}

TEST(ExrReader, CompressesWhatIsBrighterThanWhite)
{
    const auto image = decoded(file({ 1, 4 }, { 1, 4 }, { 1, 4 }));

    ASSERT_TRUE(image);
    EXPECT_LT(qRed(image->pixel(0, 0)), 245);
    EXPECT_EQ(qRed(image->pixel(1, 0)), 255);
}

TEST(ExrReader, RefusesAFileThatEndsTooSoon)
{
    const QByteArray whole = file({ 0.5F, 0 }, { 0, 0 }, { 0, 0 });

    ASSERT_TRUE(decoded(whole));
    for (qsizetype length = 0; length < whole.size(); ++length) {
        const auto image = decoded(whole.first(length));
        ASSERT_FALSE(image) << length;
        EXPECT_EQ(image.error().kind, ErrorKind::Damaged) << length;
    }
}

} // namespace
} // namespace quorvane
