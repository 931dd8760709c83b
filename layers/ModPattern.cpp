// SPDX-License-Identifier: GPL-3.0-or-later
#include "layers/ModPattern.h"

#include <QPainter>

#include <algorithm>
#include <array>
#include <cmath>

namespace quorvane {

namespace {

// Lengths in points, the angle in radians. The middle is where the pattern is not distorted.
constexpr double kMiddle = 150;
constexpr double kPeriod = 150;
constexpr double kCompression = 300;
constexpr double kAngle = 2;

/// The corner of a cell of the pattern, which is the last to be uncovered.
constexpr double kFarthest = kPeriod * 0.70710678118654752;

/// Half the width of a hole's soft edge.
constexpr double kSoftness = 2;

/// Distances are kept in so many steps.
constexpr int kSteps = 4096;

double smoothed(double share)
{
    const double clamped = std::clamp(share, 0.0, 1.0);
    return clamped * clamped * (3 - 2 * clamped);
}

/// The pixel with so much of each channel. \param share  0 to 255.
QRgb times(QRgb pixel, std::uint32_t share)
{
    std::uint32_t outer = (pixel & 0xFF00FF) * share;
    outer = ((outer + ((outer >> 8) & 0xFF00FF) + 0x800080) >> 8) & 0xFF00FF;
    std::uint32_t inner = ((pixel >> 8) & 0xFF00FF) * share;
    inner = (inner + ((inner >> 8) & 0xFF00FF) + 0x800080) & 0xFF00FF00;
    return outer | inner;
}

std::shared_ptr<const ModPattern>& lastPattern()
{
    static std::shared_ptr<const ModPattern> last;
    return last;
}

} // namespace

ModPattern::ModPattern(QSize size, double pixelRatio)
    : mSize(size)
    , mPixelRatio(pixelRatio)
{
    mDistances.reserve(static_cast<size_t>(size.width()) * static_cast<size_t>(size.height()));
    for (int row = 0; row < size.height(); ++row) {
        const double y = (row + 0.5) / pixelRatio;
        for (int column = 0; column < size.width(); ++column) {
            const double distance = distanceAt((column + 0.5) / pixelRatio, y);
            mDistances.push_back(
                static_cast<std::uint16_t>(std::lround(distance / kFarthest * (kSteps - 1))));
        }
    }
}

bool ModPattern::suffices(QSize size, double pixelRatio) const
{
    return pixelRatio == mPixelRatio && size.width() <= mSize.width()
        && size.height() <= mSize.height();
}

std::shared_ptr<const ModPattern> ModPattern::kept(QSize size, double pixelRatio)
{
    const auto& last = lastPattern();
    return last && last->suffices(size, pixelRatio) ? last : nullptr;
}

void ModPattern::keep(std::shared_ptr<const ModPattern> pattern)
{
    lastPattern() = std::move(pattern);
}

std::shared_ptr<const ModPattern> ModPattern::of(QSize size, double pixelRatio)
{
    if (auto pattern = kept(size, pixelRatio))
        return pattern;
    // Not smaller than before: two pictures take turns.
    const auto& last = lastPattern();
    const bool isOfThisScreen = last && last->mPixelRatio == pixelRatio;
    keep(std::make_shared<ModPattern>(
        isOfThisScreen ? size.expandedTo(last->mSize) : size, pixelRatio));
    return lastPattern();
}

double ModPattern::distanceAt(double x, double y)
{
    static const double kCosine = std::cos(kAngle);
    static const double kSine = std::sin(kAngle);
    const double fromX = x - kMiddle;
    const double fromY = y - kMiddle;
    const double scale = kCompression / (kCompression + std::hypot(fromX, fromY));
    const double across = (fromX * kCosine + fromY * kSine) * scale;
    const double up = (fromY * kCosine - fromX * kSine) * scale;
    const double inCellX = across - std::round(across / kPeriod) * kPeriod;
    const double inCellY = up - std::round(up / kPeriod) * kPeriod;
    return std::min(std::hypot(inCellX, inCellY), kFarthest);
}

double ModPattern::shareAt(double distance, double progress)
{
    const double radius = progress * (kFarthest + 2 * kSoftness) - kSoftness;
    return smoothed((radius + kSoftness - distance) / (2 * kSoftness));
}

void ModPattern::keepShare(QImage& image, QPoint place, const Effect& effect) const
{
    std::array<std::uint8_t, kSteps> shares {};
    for (size_t i = 0; i < shares.size(); ++i) {
        const double arriving
            = shareAt(static_cast<double>(i) * kFarthest / (kSteps - 1), effect.progress);
        shares[i] = static_cast<std::uint8_t>(
            std::lround(255 * (effect.isArriving ? arriving : 1 - arriving)));
    }
    for (int y = 0; y < image.height(); ++y) {
        const auto* const distance = mDistances.data()
            + static_cast<qsizetype>(place.y() + image.height() - 1 - y) * mSize.width()
            + place.x();
        auto* const pixels = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x)
            pixels[x] = times(pixels[x], shares[distance[x]]);
    }
}

} // namespace quorvane
