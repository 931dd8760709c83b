// SPDX-License-Identifier: GPL-3.0-or-later
#include "Bytes.h"
#include "IconBytes.h"
#include "Readers.h"

#include <gtest/gtest.h>

namespace quorvane {

namespace {

using testing::big;
using testing::bytes;
using testing::decoded;
using testing::formatNameOf;
using testing::pngOf;

ErrorKind errorOf(const QByteArray& file)
{
    const auto image = decoded(file);
    return image ? ErrorKind::Other : image.error().kind;
}

QByteArray element(const char* kind, const QByteArray& data)
{
    return kind + big(static_cast<quint32>(data.size() + 8)) + data;
}

QByteArray icnsOf(const QByteArray& elements) { return element("icns", elements); }

/// 16 x 16 pixels of one colour, in the runs of the old form.
QByteArray oldColour(int red, int green, int blue)
{
    const auto plane = [](int value) { return bytes({ 0xFF, value, 0xFB, value }); };
    return plane(red) + plane(green) + plane(blue);
}

TEST(IcnsReader, ReadsMacintoshIcons)
{
    const QByteArray file
        = icnsOf(element("icp4", pngOf(16, Qt::red)) + element("ic07", pngOf(128, Qt::green)));

    const auto image = decoded(file);

    ASSERT_TRUE(image);
    EXPECT_EQ(formatNameOf(file), "Macintosh icon");
    EXPECT_EQ(image->size(), QSize(128, 128));
    EXPECT_EQ(image->pixel(5, 5), qRgb(0, 255, 0));
}

TEST(IcnsReader, ReadsOldMacintoshIcons)
{
    const QByteArray mask = QByteArray(128, '\x80') + QByteArray(128, '\xFF');
    const auto image
        = decoded(icnsOf(element("is32", oldColour(255, 0, 0)) + element("s8mk", mask)));

    ASSERT_TRUE(image) << image.error().message.toStdString();
    ASSERT_EQ(image->size(), QSize(16, 16));
    EXPECT_EQ(*reinterpret_cast<const QRgb*>(image->constScanLine(0)), qRgba(128, 0, 0, 128));
    EXPECT_EQ(image->pixel(15, 15), qRgb(255, 0, 0));
}

TEST(IcnsReader, PassesOverElementsThatItDoesNotKnow)
{
    const auto image = decoded(icnsOf(element("TOC ", "abc") + element("ic10", "no picture")
        + element("icp4", pngOf(16, Qt::red))));

    ASSERT_TRUE(image);
    EXPECT_EQ(image->size(), QSize(16, 16));
}

TEST(IcnsReader, CallsMacintoshIconsCutShortDamaged)
{
    const QByteArray file = icnsOf(element("icp4", pngOf(16, Qt::red)));
    for (qsizetype size = 9; size < file.size(); ++size)
        EXPECT_EQ(errorOf(file.left(size)), ErrorKind::Damaged) << size;
    EXPECT_EQ(errorOf(icnsOf(element("TOC ", "abc"))), ErrorKind::Damaged);
}

} // namespace

} // namespace quorvane
