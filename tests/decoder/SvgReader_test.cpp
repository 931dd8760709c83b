// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/FileBytes.h"
#include "decoder/Rendering.h"
#include "decoder/SvgReader.h"

#include <QStringEncoder>

#include <gtest/gtest.h>

namespace quorvane {
namespace {

QByteArray drawing(const QByteArray& attributes,
    const QByteArray& contents = "<rect width='9999' height='9999' fill='red'/>")
{
    return "<svg xmlns='http://www.w3.org/2000/svg' xmlns:xlink='http://www.w3.org/1999/xlink' "
        + attributes + ">" + contents + "</svg>";
}

QSize sizeOf(const QByteArray& bytes)
{
    FileBytes file(bytes);
    const auto reader = openSvg(file);
    return reader ? (*reader)->header().size : QSize();
}

Result<QImage> decoded(const QByteArray& bytes, QSize size = {})
{
    FileBytes file(bytes);
    auto reader = openSvg(file);
    if (!reader)
        return tl::unexpected(reader.error());
    return renderedImage(**reader, size);
}

TEST(SvgReader, KnowsDrawingsBehindAllThatMayStandBeforeThem)
{
    EXPECT_TRUE(isSvg("<svg>"));
    EXPECT_TRUE(isSvg("\xef\xbb\xbf <?xml version='1.0'?><!-- <html> --><svg>"));
    EXPECT_TRUE(isSvg("<!DOCTYPE svg [ <!ENTITY a \"<b>\"> ]><svg:svg>"));
    EXPECT_TRUE(isSvg(QStringEncoder(QStringConverter::Utf16LE)(QStringLiteral("<svg/>"))));
    EXPECT_TRUE(isSvg("\xff\xfe"
        + QByteArray(QStringEncoder(QStringConverter::Utf16LE)(QStringLiteral("<svg/>")))));
}

TEST(SvgReader, TakesNothingElseForADrawing)
{
    EXPECT_FALSE(isSvg("<html><svg></svg></html>"));
    EXPECT_FALSE(isSvg("<svgx/>"));
    EXPECT_FALSE(isSvg("svg"));
    EXPECT_FALSE(isSvg("<!-- <svg>"));
    EXPECT_FALSE(isSvg("\x1f\x8bgarbage"));
    EXPECT_FALSE(isSvg({}));
}

TEST(SvgReader, FindsTheNaturalSize)
{
    EXPECT_EQ(sizeOf(drawing("width='120' height='45'")), QSize(120, 45));
    EXPECT_EQ(sizeOf(drawing("width='1in' height='2.54cm'")), QSize(72, 72));
    EXPECT_EQ(sizeOf(drawing("viewBox='0 0 30 20'")), QSize(30, 20));
    EXPECT_EQ(sizeOf(drawing("width='60' viewBox='0 0 30 20'")), QSize(60, 40));
    EXPECT_EQ(sizeOf(drawing("width='50%' height='50%' viewBox='0 0 30 20'")), QSize(30, 20));
    EXPECT_EQ(sizeOf(drawing("", "<rect x='10' y='20' width='30' height='40'/>")), QSize(40, 60));
    EXPECT_EQ(sizeOf(drawing("", "")), QSize(300, 150));
    EXPECT_EQ(sizeOf(drawing("width='1e9' height='5e8'")), QSize(16384, 8192));
}

TEST(SvgReader, DrawsExactlyInTheSizeWanted)
{
    const QByteArray halves = drawing("width='2' height='1'",
        "<rect width='1' height='1' fill='#ff0000'/><rect x='1' width='1' height='1' "
        "fill='#0000ff'/>");

    const auto image = decoded(halves, { 200, 100 });

    ASSERT_TRUE(image);
    EXPECT_EQ(image->pixel(99, 50), qRgb(255, 0, 0));
    EXPECT_EQ(image->pixel(100, 50), qRgb(0, 0, 255));
}

TEST(SvgReader, LeavesTransparentWhatIsNotDrawn)
{
    const auto image = decoded(drawing("width='4' height='4'", ""));

    ASSERT_TRUE(image);
    EXPECT_EQ(image->pixel(1, 1), 0U);
}

TEST(SvgReader, LoadsNothingFromOutside)
{
    const auto image = decoded(drawing("width='4' height='4'",
        "<rect width='4' height='4' fill='#00ff00'/>"
        "<image width='4' height='4' xlink:href='file:///usr/share/pixmaps/debian-logo.png'/>"));

    ASSERT_TRUE(image);
    EXPECT_EQ(image->pixel(2, 2), qRgb(0, 255, 0));
}

TEST(SvgReader, RefusesWhatIsNotWellFormed)
{
    const QByteArray whole = drawing("width='4' height='4'");

    for (qsizetype length = 5; length < whole.size(); length += 7) {
        const auto image = decoded(whole.first(length));
        ASSERT_FALSE(image) << length;
        EXPECT_EQ(image.error().kind, ErrorKind::Damaged);
    }
}

TEST(SvgReader, RefusesMoreThanCanBeDrawn)
{
    FileBytes file(drawing("width='4' height='4'"));
    const auto reader = openSvg(file);
    ASSERT_TRUE(reader);

    const auto picture
        = (*reader)->decode({ 40000, 4 }, [](QSize, QImage::Format) { return QImage(); });

    ASSERT_FALSE(picture);
    EXPECT_EQ(picture.error().kind, ErrorKind::TooLarge);
}

} // namespace
} // namespace quorvane
