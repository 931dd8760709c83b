// SPDX-License-Identifier: GPL-3.0-or-later
#include "layers/EffectPainting.h"

#include "layers/ModPattern.h"

#include <QLinearGradient>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace quorvane {

namespace {

/// Points. The width of the soft edge of a Swipe.
constexpr double kSwipeWidth = 300;

/// Points. The width of a strip of a BarsSwipe.
constexpr double kBarWidth = 30;

/// The share of its time by which the last strip begins after the first.
constexpr double kBarStagger = 0.5;

/// Paints the part `part` of the picture, both in device pixels, moved by `shift`.
void paintPart(QPainter& painter, const QImage& contents, const QRect& target, const QRect& part,
    QPoint shift = {})
{
    if (part.isEmpty())
        return;
    const double across = static_cast<double>(contents.width()) / target.width();
    const double down = static_cast<double>(contents.height()) / target.height();
    const bool isScaled = contents.size() != target.size();
    // A painter smooths within what it is given: without a margin of a pixel of the picture, parts
    // that touch would show their seams.
    const int margin
        = isScaled ? static_cast<int>(std::ceil(std::max(1 / across, 1 / down))) + 1 : 0;
    const QRect wide = part.adjusted(-margin, -margin, margin, margin).intersected(target);
    const QRectF source((wide.x() - target.x()) * across, (wide.y() - target.y()) * down,
        wide.width() * across, wide.height() * down);
    painter.save();
    painter.setRenderHint(QPainter::SmoothPixmapTransform, isScaled);
    if (isScaled)
        painter.setClipRect(part.translated(shift), Qt::IntersectClip);
    painter.drawImage(QRectF(wide.translated(shift)), contents, source);
    painter.restore();
}

/// A part of the picture with its own memory, as large as `part` on the device.
QImage cutOut(const QImage& contents, const QRect& target, const QRect& part)
{
    QImage image(part.size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    paintPart(painter, contents, target, part, -part.topLeft());
    return image;
}

void paintPush(QPainter& painter, const QImage& contents, const Effect& effect, const QRect& target,
    const QRect& device)
{
    const double offset = effect.isArriving ? 1 - effect.progress : -effect.progress;
    const int shift = static_cast<int>(std::lround(offset * target.width()));
    const QRect room = target.intersected(device);
    paintPart(
        painter, contents, target, target.intersected(room.translated(-shift, 0)), { shift, 0 });
}

void paintBars(QPainter& painter, const QImage& contents, double progress, const EffectPlace& place)
{
    const QRect& target = place.target;
    const double width = kBarWidth * place.pixelRatio;
    const int count = static_cast<int>(std::ceil(target.width() / width));
    for (int i = 0; i < count; ++i) {
        const int left = target.left() + static_cast<int>(std::lround(i * width));
        const int right = target.left() + static_cast<int>(std::lround((i + 1) * width));
        const int fallen = static_cast<int>(std::lround(barFall(i, progress) * target.height()));
        const QRect room = QRect(left, target.top(), right - left, target.height())
                               .intersected(target)
                               .intersected(place.device);
        // Below the picture's lower edge nothing of it is seen.
        paintPart(painter, contents, target, target.intersected(room.translated(0, -fallen)),
            { 0, fallen });
    }
}

/// From the left edge of the picture; opaque where the picture's share is 1.
QLinearGradient swipeGradient(const Effect& effect, const QRect& target, double pixelRatio)
{
    const double width = kSwipeWidth * pixelRatio;
    const double edge = target.left() + effect.progress * (target.width() + width);
    QLinearGradient gradient(edge - width, 0, edge, 0);
    gradient.setColorAt(0, effect.isArriving ? Qt::black : Qt::transparent);
    gradient.setColorAt(1, effect.isArriving ? Qt::transparent : Qt::black);
    return gradient;
}

void paintSwipe(
    QPainter& painter, const QImage& contents, const Effect& effect, const EffectPlace& place)
{
    const QRect visible = place.target.intersected(place.device);
    const double width = kSwipeWidth * place.pixelRatio;
    const double edge = place.target.left() + effect.progress * (place.target.width() + width);
    const int softBegin = static_cast<int>(std::floor(edge - width));
    const int softEnd = static_cast<int>(std::ceil(edge));
    const QRect soft = visible.intersected(
        QRect(softBegin, visible.top(), softEnd - softBegin, visible.height()));
    QRect whole = visible;
    if (effect.isArriving)
        whole.setRight(std::min(visible.right(), softBegin - 1));
    else
        whole.setLeft(std::max(visible.left(), softEnd));
    paintPart(painter, contents, place.target, whole);
    if (soft.isEmpty())
        return;
    QImage image = cutOut(contents, place.target, soft);
    QPainter mask(&image);
    mask.setCompositionMode(QPainter::CompositionMode_DestinationIn);
    mask.translate(-soft.topLeft());
    mask.fillRect(soft, swipeGradient(effect, place.target, place.pixelRatio));
    mask.end();
    painter.drawImage(soft.topLeft(), image);
}

void paintMod(
    QPainter& painter, const QImage& contents, const Effect& effect, const EffectPlace& place)
{
    const QRect visible = place.target.intersected(place.device);
    if (visible.isEmpty())
        return;
    const QRect whole = visible.intersected(place.behind);
    paintPart(painter, contents, place.target, whole);
    // What lies above and to the right of the screen is not needed.
    const QSize size(
        visible.right() + 1 - place.target.left(), place.target.bottom() + 1 - visible.top());
    const auto pattern = ModPattern::of(size, place.pixelRatio);
    for (const QRect& part : QRegion(visible).subtracted(whole)) {
        QImage image = cutOut(contents, place.target, part);
        const QPoint lowerLeft(
            part.left() - place.target.left(), place.target.bottom() - part.bottom());
        pattern->keepShare(image, lowerLeft, effect);
        painter.drawImage(part.topLeft(), image);
    }
}

} // namespace

double swipeShare(double across, double width, double progress)
{
    const double edge = progress * (width + kSwipeWidth);
    return std::clamp((edge - across) / kSwipeWidth, 0.0, 1.0);
}

double modShare(double x, double y, double progress)
{
    return ModPattern::shareAt(ModPattern::distanceAt(x, y), progress);
}

double barFall(int index, double progress)
{
    // Neighbours are far apart in time, and no two of the first hundred strips fall together.
    constexpr double kGoldenRatio = 0.6180339887498949;
    const double turn = index * kGoldenRatio;
    const double delay = (turn - std::floor(turn)) * kBarStagger;
    const double fallen = std::clamp((progress - delay) / (1 - kBarStagger), 0.0, 1.0);
    return fallen * fallen; // As things fall.
}

void paintEffect(
    QPainter& painter, const QImage& contents, const Effect& effect, const EffectPlace& place)
{
    switch (effect.kind) {
    case TransitionKind::Push:
        paintPush(painter, contents, effect, place.target, place.device);
        break;
    case TransitionKind::BarsSwipe:
        // What falls away uncovers the new picture, which stands still.
        if (effect.isArriving)
            paintPart(painter, contents, place.target, place.target.intersected(place.device));
        else
            paintBars(painter, contents, effect.progress, place);
        break;
    case TransitionKind::Swipe:
        paintSwipe(painter, contents, effect, place);
        break;
    case TransitionKind::Mod:
        paintMod(painter, contents, effect, place);
        break;
    case TransitionKind::Fade:
        break; // Opacity alone.
    }
}

} // namespace quorvane
