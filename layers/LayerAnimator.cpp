// SPDX-License-Identifier: GPL-3.0-or-later
#include "layers/LayerAnimator.h"

#include "layers/Layer.h"

#include <algorithm>

namespace quorvane {

namespace {

void visitAll(Layer& layer, const std::function<void(Layer&)>& visit)
{
    visit(layer);
    for (Layer* const sublayer : layer.sublayers())
        visitAll(*sublayer, visit);
}

/// What somebody is to be told, when: additions are numbered over all layers.
struct News {
    std::uint64_t number;
    Animation animation;
};

/// Calls in the order of addition. The list is a copy: who is told may change the layers.
template <typename Tell> void tellAll(std::vector<News> news, const Tell& tell)
{
    std::sort(
        news.begin(), news.end(), [](const News& a, const News& b) { return a.number < b.number; });
    for (const News& item : news) {
        if (item.animation.delegate)
            tell(*item.animation.delegate, item.animation);
    }
}

} // namespace

LayerAnimator::LayerAnimator(Layer& root)
    : mRoot(root)
{
}

void LayerAnimator::forEachLayer(const std::function<void(Layer&)>& visit) const
{
    visitAll(mRoot, visit);
}

bool LayerAnimator::isActive() const
{
    bool isActive = false;
    forEachLayer([&](const Layer& layer) {
        isActive = isActive || !layer.mAnimations.empty() || !layer.mRemoved.empty();
    });
    return isActive;
}

void LayerAnimator::beginFrame(double now)
{
    std::vector<News> removed;
    forEachLayer([&](Layer& layer) {
        for (const auto& running : layer.mRemoved)
            removed.push_back({ running.number, running.animation });
        layer.mRemoved.clear();
    });
    tellAll(std::move(removed), [](AnimationDelegate& delegate, const Animation& animation) {
        delegate.animationDidStop(animation, false);
    });

    std::vector<News> begun;
    forEachLayer([&](Layer& layer) {
        for (auto& running : layer.mAnimations) {
            if (running.begin)
                continue;
            running.begin = now;
            begun.push_back({ running.number, running.animation });
        }
    });
    tellAll(std::move(begun), [](AnimationDelegate& delegate, const Animation& animation) {
        delegate.animationDidStart(animation);
    });
}

void LayerAnimator::commit(double now)
{
    forEachLayer([&](Layer& layer) { layer.mCommitted = layer.presentation(now); });
}

void LayerAnimator::endFrame(double now)
{
    std::vector<News> ended;
    forEachLayer([&](Layer& layer) {
        const auto isOver = [&](const Layer::Running& running) {
            return running.begin && now - *running.begin >= running.animation.duration;
        };
        for (const auto& running : layer.mAnimations) {
            if (isOver(running))
                ended.push_back({ running.number, running.animation });
        }
        std::erase_if(layer.mAnimations, isOver);
    });
    tellAll(std::move(ended), [](AnimationDelegate& delegate, const Animation& animation) {
        delegate.animationDidStop(animation, true);
    });
}

} // namespace quorvane
