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

/// Where a list is painted.
struct DrawPlace {
    QRect device; ///< What can be seen, in device pixels.
    double viewHeight; ///< Points.
    double pixelRatio;

    QRect rectOf(const QRectF& rect) const
    {
        return rect.isEmpty() ? QRect() : deviceRect(rect, viewHeight, pixelRatio);
    }
    QRect targetOf(const Draw& draw) const { return rectOf(draw.rect); }
};

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
    if (transition.kind == TransitionKind::Fade)
        before.composition = after.composition = Composition::Add;
    draws.push_back(std::move(before));
    draws.push_back(std::move(after));
}

/// The part `part` of a picture that covers `target`. Cut by hand: a picture that covers the screen
/// many times over is beyond a painter's numbers.
void paintUpright(QPainter& painter, const Draw& draw, const QRect& target, const QRect& part)
{
    const QRect visible = target.intersected(part);
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
    painter.setRenderHint(QPainter::Antialiasing); // Slanting edges would be stairs that crawl.
    painter.drawImage(
        QRectF(rect.x() - pivot.x(), pivot.y() - rect.bottom(), rect.width(), rect.height()),
        draw.contents);
    painter.restore();
}

/// Two layers that change by shares of one pattern, each in its own place: what one share covers is
/// not to be covered, or left out, once more by the other.
void standBehind(std::vector<Draw>& draws)
{
    for (size_t i = 0; i + 1 < draws.size(); ++i) {
        auto& behind = draws[i].effect;
        const auto& front = draws[i + 1].effect;
        if (behind && front && behind->isArriving && !front->isArriving
            && behind->kind == TransitionKind::Mod && front->kind == TransitionKind::Mod)
            behind->behind = draws[i + 1].rect;
    }
}

void paintOne(QPainter& painter, const Draw& draw, const DrawPlace& place)
{
    const QRect target = place.targetOf(draw);
    painter.setOpacity(draw.opacity);
    if (draw.effect)
        paintEffect(painter, draw.contents, *draw.effect,
            { target, place.device, place.pixelRatio, place.rectOf(draw.effect->behind) });
    else if (draw.rotation != 0)
        paintTurned(painter, draw, place.viewHeight, place.pixelRatio);
    else
        paintUpright(painter, draw, target, place.device);
}

/// Whether each of the two pictures has what the other lacks of the light.
bool makeADissolve(const Draw& a, const Draw& b)
{
    const auto isPlain = [](const Draw& draw) {
        return draw.composition == Composition::Add && !draw.effect && draw.rotation == 0
            && !draw.contents.hasAlphaChannel();
    };
    return isPlain(a) && isPlain(b) && std::abs(a.opacity + b.opacity - 1) < 1e-9;
}

/// As adding them would, which is several times slower: where they overlap, the second one in front
/// of the whole first one.
void paintDissolve(QPainter& painter, const Draw& a, const Draw& b, const DrawPlace& place)
{
    const QRect targetA = place.targetOf(a);
    const QRect targetB = place.targetOf(b);
    const QRect overlap = targetA.intersected(targetB).intersected(place.device);
    painter.setOpacity(a.opacity);
    for (const QRect& part : QRegion(targetA.intersected(place.device)).subtracted(overlap))
        paintUpright(painter, a, targetA, part);
    painter.setOpacity(1);
    paintUpright(painter, a, targetA, overlap);
    painter.setOpacity(b.opacity);
    paintUpright(painter, b, targetB, place.device);
}

/// With the opacity applied beforehand: the raster engine applies it after it has added, and cut
/// off what is brighter than white.
void paintAdded(QPainter& painter, Draw draw, const DrawPlace& place)
{
    const QRect visible = place.targetOf(draw).intersected(place.device);
    if (visible.isEmpty())
        return;
    QImage share(visible.size(), QImage::Format_ARGB32_Premultiplied);
    share.fill(Qt::transparent);
    QPainter sharePainter(&share);
    sharePainter.translate(-visible.topLeft());
    draw.composition = Composition::Over;
    paintOne(sharePainter, draw, place);
    sharePainter.end();
    painter.setOpacity(1);
    painter.setCompositionMode(QPainter::CompositionMode_Plus);
    painter.drawImage(visible.topLeft(), share);
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
    standBehind(draws);
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

QRegion uncovered(const std::vector<Draw>& draws, const QSizeF& view, double pixelRatio)
{
    const DrawPlace place { deviceRect(QRectF(QPointF(), view), view.height(), pixelRatio),
        view.height(), pixelRatio };
    QRegion region(place.device);
    for (auto draw = draws.begin(); draw != draws.end(); ++draw) {
        const auto next = draw + 1;
        const bool isWhole = draw->opacity == 1 && draw->composition == Composition::Over
            && !draw->effect && draw->rotation == 0 && !draw->contents.hasAlphaChannel();
        if (isWhole)
            region -= place.targetOf(*draw);
        else if (next != draws.end() && makeADissolve(*draw, *next))
            region -= place.targetOf(*draw).intersected(place.targetOf(*next));
    }
    return region;
}

void paint(QPainter& painter, const std::vector<Draw>& draws, const QSizeF& view, double pixelRatio)
{
    const DrawPlace place { deviceRect(QRectF(QPointF(), view), view.height(), pixelRatio),
        view.height(), pixelRatio };
    for (auto draw = draws.begin(); draw != draws.end(); ++draw) {
        painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
        const auto next = draw + 1;
        if (next != draws.end() && makeADissolve(*draw, *next)) {
            paintDissolve(painter, *draw, *next, place);
            draw = next;
        } else if (draw->composition == Composition::Add) {
            paintAdded(painter, *draw, place);
        } else {
            paintOne(painter, *draw, place);
        }
    }
    painter.setOpacity(1);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
}

} // namespace quorvane
