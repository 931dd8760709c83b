// SPDX-License-Identifier: GPL-3.0-or-later
#include "player/Turning.h"

#include <QImage>
#include <QTransform>

#include <gtest/gtest.h>

namespace quorvane {
namespace {

TEST(Turning, TurnsToTheRight)
{
    // Larger than a square, and odd.
    QImage image(37, 53, QImage::Format_RGB32);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            image.setPixel(x, y, qRgb(x, y, 7));
    }
    for (const int degrees : { 90, 180, 270 }) {
        const QImage expected = image.transformed(QTransform().rotate(degrees));
        QImage turned(expected.size(), QImage::Format_RGB32);

        turn({ reinterpret_cast<const std::byte*>(image.constBits()),
                 static_cast<std::size_t>(image.bytesPerLine()), image.width(), image.height() },
            { reinterpret_cast<std::byte*>(turned.bits()),
                static_cast<std::size_t>(turned.bytesPerLine()), turned.width(), turned.height() },
            degrees);

        EXPECT_EQ(turned, expected) << degrees;
    }
}

} // namespace
} // namespace quorvane
