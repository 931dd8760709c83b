// SPDX-License-Identifier: GPL-3.0-or-later
// Transitions in which nothing moves: fades, strips, holes, a soft edge.
#include "display/SVLayerView.h"
#include "layers/ModPattern.h"
#include "platform/DispatchQueue.h"
#include "platform/MainQueue.h"
#include "platform/UserDefaults.h"
#include "settings/SettingsCatalogue.h"

namespace quorvane {

namespace {

// Seconds.
constexpr double kCrossFade = 1.0;
constexpr double kFastCrossFade = 0.2;
constexpr double kPush = 1.0;
constexpr double kBarSwipe = 0.6;
constexpr double kMod = 0.7;
constexpr double kSwipe = 0.4;

} // namespace

void SVLayerView::crossFade(Layer& f, Layer& t, double duration)
{
    put(f, t);
    setZPositions(f, 1, t, 0);
    addTransition(f, TransitionKind::Fade, duration);
    addTransition(t, TransitionKind::Fade, duration);
    f.setOpacity(0);
    t.setOpacity(1);
}

void SVLayerView::transitionCrossFadeFrom(Layer& f, Layer& t) { crossFade(f, t, kCrossFade); }

void SVLayerView::transitionFastCrossFrom(Layer& f, Layer& t) { crossFade(f, t, kFastCrossFade); }

/// The old picture goes in the shape of `kind`; the new one stands behind it from the beginning.
void SVLayerView::swipe(Layer& f, Layer& t, TransitionKind kind, double duration)
{
    put(f, t);
    // What earlier transitions left there would put the new picture in front.
    setZPositions(f, 0, t, 0);
    addTransition(f, kind, duration);
    f.setOpacity(0);
    t.setOpacity(1);
}

void SVLayerView::transitionBarSwipeFrom(Layer& f, Layer& t)
{
    swipe(f, t, TransitionKind::BarsSwipe, kBarSwipe);
}

void SVLayerView::transitionSwipeFrom(Layer& f, Layer& t)
{
    swipe(f, t, TransitionKind::Swipe, kSwipe);
}

void SVLayerView::transitionModFrom(Layer& f, Layer& t)
{
    put(f, t);
    setZPositions(f, 0, t, 0); // As in swipe().
    addTransition(f, TransitionKind::Mod, kMod);
    addTransition(t, TransitionKind::Mod, kMod);
    f.setOpacity(0);
    t.setOpacity(1);
}

/// Beforehand and elsewhere, where it may be needed: it would hold up the first frame.
void SVLayerView::prepareModPattern()
{
    const QString title = mDefaults.value(kTransition).toString();
    const double pixelRatio = devicePixelRatioF();
    const QSize size = (QSizeF(this->size()) * pixelRatio).toSize();
    const bool isNeeded = title == QLatin1String("Mod") || title == QLatin1String("All");
    if (!isNeeded || ModPattern::kept(size, pixelRatio))
        return;
    DispatchQueue::global().async([size, pixelRatio] {
        auto pattern = std::make_shared<const ModPattern>(size, pixelRatio);
        MainQueue::async([pattern] { ModPattern::keep(pattern); });
    });
}

void SVLayerView::transitionPush_BuildInFrom(Layer& f, Layer& t)
{
    put(t, f);
    setZPositions(f, 0, t, 0);
    f.setOpacity(1);
    t.setOpacity(1);
    addTransition(t, TransitionKind::Push, kPush);
    addTransition(f, TransitionKind::Push, kPush);
    f.setOpacity(0);
    startFrames();
}

} // namespace quorvane
