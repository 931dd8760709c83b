// SPDX-License-Identifier: GPL-3.0-or-later
#include "Photograph.h"

#include <QPainter>

#include <algorithm>
#include <cmath>
#include <random>

namespace quorvane::bench {

namespace {

void paintLight(QImage& image, std::minstd_rand& random, double phase)
{
    for (int y = 0; y < image.height(); ++y) {
        auto* const row = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            const double wave = std::sin(x * 0.002 + phase) + std::cos(y * 0.003 + phase)
                + std::sin((x + y) * 0.0007);
            const int noise = static_cast<int>(random() % 9) - 4;
            const int light = static_cast<int>(128 + 36 * wave) + noise;
            row[x] = qRgb(std::clamp(light + 20, 0, 255), std::clamp(light, 0, 255),
                std::clamp(light - 20 + noise, 0, 255));
        }
    }
}

/// Leaves, windows, faces: edges of all sizes.
void paintThings(QImage& image, std::minstd_rand& random)
{
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    for (int i = 0; i < 400; ++i) {
        painter.setBrush(QColor::fromHsv(static_cast<int>(random() % 360), 120, 200, 160));
        const int side = static_cast<int>(random() % 300) + 5;
        painter.drawEllipse(static_cast<int>(random() % unsigned(image.width())),
            static_cast<int>(random() % unsigned(image.height())), side, side * 2 / 3);
    }
}

} // namespace

QImage makePhotograph(QSize size, int number)
{
    QImage image(size, QImage::Format_RGB32);
    std::minstd_rand random(static_cast<unsigned>(number) + 1);
    paintLight(image, random, 2.0 * number);
    paintThings(image, random);
    return image;
}

} // namespace quorvane::bench
