// SPDX-License-Identifier: GPL-3.0-or-later
#include "layers/Drawing.h"

#include "layers/Layer.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace quorvane {

std::vector<Draw> drawList(const Layer& root)
{
    std::vector<Layer*> layers = root.sublayers();
    std::stable_sort(layers.begin(), layers.end(),
        [](const Layer* a, const Layer* b) { return a->zPosition() < b->zPosition(); });
    std::vector<Draw> draws;
    for (const Layer* const layer : layers) {
        const bool isVisible
            = layer->opacity() > 0 && !layer->contents().isNull() && !layer->frame().isEmpty();
        if (isVisible)
            draws.push_back({ layer->frame(), std::min(layer->opacity(), 1.0), layer->contents() });
    }
    return draws;
}

QRect deviceRect(const QRectF& rect, double viewHeight, double pixelRatio)
{
    // A long strip that fills the screen by its shorter side may reach beyond all numbers.
    constexpr double kFarthest = 1 << 29;
    const auto toPixels = [&](double points) {
        return static_cast<int>(
            std::lround(std::clamp(points * pixelRatio, -kFarthest, kFarthest)));
    };
    const int left = toPixels(rect.left());
    const int top = toPixels(viewHeight - rect.bottom());
    const int right = toPixels(rect.right());
    const int bottom = toPixels(viewHeight - rect.top());
    return { left, top, std::max(1, right - left), std::max(1, bottom - top) };
}

void paint(QPainter& painter, const std::vector<Draw>& draws, const QSizeF& view, double pixelRatio)
{
    const QRect device = deviceRect(QRectF(QPointF(), view), view.height(), pixelRatio);
    for (const Draw& draw : draws) {
        const QRect target = deviceRect(draw.rect, view.height(), pixelRatio);
        // Cut by hand: a picture that covers the screen many times over is beyond a painter's
        // numbers.
        const QRect visible = target.intersected(device);
        if (visible.isEmpty())
            continue;
        const double across = static_cast<double>(draw.contents.width()) / target.width();
        const double down = static_cast<double>(draw.contents.height()) / target.height();
        const QRectF source((visible.x() - target.x()) * across, (visible.y() - target.y()) * down,
            visible.width() * across, visible.height() * down);
        painter.setOpacity(draw.opacity);
        painter.setRenderHint(
            QPainter::SmoothPixmapTransform, draw.contents.size() != target.size());
        painter.drawImage(QRectF(visible), draw.contents, source);
    }
}

} // namespace quorvane
