// SPDX-License-Identifier: GPL-3.0-or-later
#include "layers/Drawing.h"

#include "layers/EffectPainting.h"
#include "layers/Layer.h"

#include <QPainter>
#include <QtMath>

#include <algorithm>
#include <cmath>

namespace quorvane {

namespace {

bool isVisible(const Draw& draw)
{
    return draw.opacity > 0 && !draw.contents.isNull() && !draw.rect.isEmpty();
}

Draw drawOf(const LayerState& state)
{
    return { .rect = state.rect(),
        .opacity = state.opacity,
        .contents = state.contents,
        .rotation = state.rotationZ,
        .pivot = state.position };
}

/// The two pictures of a transition, the old one first.
void addTransition(
    std::vector<Draw>& draws, const LayerState& state, const Layer::Transition& transition)
{
    Draw before = drawOf(transition.before);
    Draw after = drawOf(state);
    const double progress = transition.progress;
    switch (transition.kind) {
    case TransitionKind::Fade:
        before.opacity *= 1 - progress;
        after.opacity *= progress;
        break;
    case TransitionKind::Push:
    case TransitionKind::BarsSwipe:
    case TransitionKind::Mod:
    case TransitionKind::Swipe:
        before.effect = Effect { transition.kind, progress, false };
        after.effect = Effect { transition.kind, progress, true };
        break;
    }
    // The others leave the new picture of this layer for the layer below, or cover nothing twice.
    if (transition.kind == TransitionKind::Fade || transition.kind == TransitionKind::Mod)
        before.composition = after.composition = Composition::Add;
    draws.push_back(std::move(before));
    draws.push_back(std::move(after));
}

void paintUpright(QPainter& painter, const Draw& draw, const QRect& target, const QRect& device)
{
    // Cut by hand: a picture that covers the screen many times over is beyond a painter's numbers.
    const QRect visible = target.intersected(device);
    if (visible.isEmpty())
        return;
    const double across = static_cast<double>(draw.contents.width()) / target.width();
    const double down = static_cast<double>(draw.contents.height()) / target.height();
    const QRectF source((visible.x() - target.x()) * across, (visible.y() - target.y()) * down,
        visible.width() * across, visible.height() * down);
    painter.setRenderHint(QPainter::SmoothPixmapTransform, draw.contents.size() != target.size());
    painter.drawImage(QRectF(visible), draw.contents, source);
}

void paintTurned(QPainter& painter, const Draw& draw, double viewHeight, double pixelRatio)
{
    const QPointF pivot = draw.pivot * pixelRatio;
    const QRectF rect(draw.rect.topLeft() * pixelRatio, draw.rect.size() * pixelRatio);
    painter.save();
    painter.translate(pivot.x(), viewHeight * pixelRatio - pivot.y());
    painter.rotate(-qRadiansToDegrees(draw.rotation));
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(
        QRectF(rect.x() - pivot.x(), pivot.y() - rect.bottom(), rect.width(), rect.height()),
        draw.contents);
    painter.restore();
}

} // namespace

std::vector<Draw> drawList(const Layer& root, double now)
{
    std::vector<Layer*> layers = root.sublayers();
    std::stable_sort(layers.begin(), layers.end(), [](const Layer* a, const Layer* b) {
        if (a->isForemost() != b->isForemost())
            return b->isForemost();
        return a->zPosition() < b->zPosition();
    });
    std::vector<Draw> draws;
    for (const Layer* const layer : layers) {
        const LayerState state = layer->presentation(now);
        if (const auto transition = layer->transition(now))
            addTransition(draws, state, *transition);
        else
            draws.push_back(drawOf(state));
    }
    std::erase_if(draws, [](const Draw& draw) { return !isVisible(draw); });
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
        painter.setOpacity(draw.opacity);
        painter.setCompositionMode(draw.composition == Composition::Add
                ? QPainter::CompositionMode_Plus
                : QPainter::CompositionMode_SourceOver);
        if (draw.effect)
            paintEffect(painter, draw.contents, *draw.effect, { target, device, pixelRatio });
        else if (draw.rotation != 0)
            paintTurned(painter, draw, view.height(), pixelRatio);
        else
            paintUpright(painter, draw, target, device);
    }
    painter.setOpacity(1);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
}

} // namespace quorvane
