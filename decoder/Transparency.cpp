// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/Transparency.h"

#include <QImage>

#include <algorithm>

namespace quorvane {

namespace {

template <typename Predicate> bool isTrueOfAllPixels(const QImage& image, Predicate predicate)
{
    for (int y = 0; y < image.height(); ++y) {
        const QRgb* const row = reinterpret_cast<const QRgb*>(image.constScanLine(y));
        if (!std::all_of(row, row + image.width(), predicate))
            return false;
    }
    return true;
}

template <typename Change> void changeAllPixels(QImage& image, Change change)
{
    for (int y = 0; y < image.height(); ++y) {
        QRgb* const row = reinterpret_cast<QRgb*>(image.scanLine(y));
        std::transform(row, row + image.width(), row, change);
    }
}

} // namespace

void dropUselessTransparency(QImage& image)
{
    if (image.format() != QImage::Format_ARGB32_Premultiplied)
        return;
    if (isTrueOfAllPixels(image, [](QRgb pixel) { return qAlpha(pixel) == 255; }))
        image.reinterpretAsFormat(QImage::Format_RGB32);
}

bool isAlphaUnused(const QImage& image)
{
    return isTrueOfAllPixels(image, [](QRgb pixel) { return qAlpha(pixel) == 0; });
}

void multiplyAlpha(QImage& image)
{
    changeAllPixels(image, [](QRgb pixel) { return qPremultiply(pixel); });
    dropUselessTransparency(image);
}

void dropAlpha(QImage& image)
{
    changeAllPixels(image, [](QRgb pixel) { return pixel | 0xFF000000U; });
    image.reinterpretAsFormat(QImage::Format_RGB32);
}

} // namespace quorvane
