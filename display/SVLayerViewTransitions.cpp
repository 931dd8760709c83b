// SPDX-License-Identifier: GPL-3.0-or-later
// Which transition it is; what all of them have in common.
#include "display/SVLayerView.h"
#include "platform/UserDefaults.h"
#include "settings/SettingsCatalogue.h"

#include <algorithm>
#include <array>

namespace quorvane {

namespace {

using Way = void (SVLayerView::*)(Layer& f, Layer& t);

/// A value of the setting "transition".
struct TransitionChoice {
    const char* title;
    Way forward;
    Way backward;
    bool moves = true; ///< Something travels across the screen.
};

using View = SVLayerView;

constexpr std::array kChoices {
    TransitionChoice {
        "Cross Fade", &View::transitionCrossFadeFrom, &View::transitionCrossFadeFrom, false },
    TransitionChoice {
        "Fast Cross Fade", &View::transitionFastCrossFrom, &View::transitionFastCrossFrom, false },
    TransitionChoice {
        "Flip", &View::transitionHorizontalFlipFrom, &View::transitionHorizontalFlipBackFrom },
    TransitionChoice { "Slide", &View::transitionSlideFrom, &View::transitionSlideBackFrom },
    TransitionChoice {
        "Rotate Left Right", &View::transitionRotateFrom, &View::transitionRotateFrom },
    TransitionChoice {
        "Rotate Left", &View::transitionRotateLeftFrom, &View::transitionRotateRightFrom },
    TransitionChoice { "Shrink", &View::transitionShrinkFrom, &View::transitionShrinkFrom },
    TransitionChoice { "Expand", &View::transitionExpandFrom, &View::transitionExpandFrom },
    TransitionChoice { "Bar Swipe", &View::transitionBarSwipeFrom, &View::transitionBarSwipeFrom },
    TransitionChoice { "Swipe", &View::transitionSwipeFrom, &View::transitionSwipeFrom },
    TransitionChoice { "Mod", &View::transitionModFrom, &View::transitionModFrom },
    TransitionChoice { "All", &View::transitionAllFrom, &View::transitionAllFrom },
    TransitionChoice { "Test", &View::transitionTestFrom, &View::transitionTestFrom },
};

/// The round of "All".
constexpr std::array<Way, 11> kRound {
    &View::transitionCrossFadeFrom,
    &View::transitionHorizontalFlipFrom,
    &View::transitionRotateFrom,
    &View::transitionRotateLeftFrom,
    &View::transitionFastCrossFrom,
    &View::transitionShrinkFrom,
    &View::transitionExpandFrom,
    &View::transitionBarSwipeFrom,
    &View::transitionModFrom,
    &View::transitionSwipeFrom,
    &View::transitionSlideFrom,
};

} // namespace

void SVLayerView::setReducesMotion(std::function<bool()> reducesMotion)
{
    mReducesMotion = std::move(reducesMotion);
}

void SVLayerView::transitionFrom(Layer& f, Layer& t, bool forward)
{
    const QString title = mDefaults.value(kTransition).toString();
    if (title == QLatin1String("None")) {
        cutFrom(f, t);
        return;
    }
    const auto* const choice = std::find_if(kChoices.begin(), kChoices.end(),
        [&](const TransitionChoice& row) { return title == QLatin1String(row.title); });
    if (choice == kChoices.end())
        return;
    if (choice->moves && mReducesMotion()) {
        transitionFastCrossFrom(f, t);
    } else {
        const Way way = forward ? choice->forward : choice->backward;
        (this->*way)(f, t);
    }
    startFrames();
}

void SVLayerView::transitionAllFrom(Layer& f, Layer& t)
{
    static size_t next = 0;
    const Way way = kRound.at(next);
    next = (next + 1) % kRound.size();
    (this->*way)(f, t);
}

void SVLayerView::transitionTestFrom(Layer& f, Layer& t) { transitionSwipeFrom(f, t); }

/// At once, whatever still moves.
void SVLayerView::cutFrom(Layer& f, Layer& t)
{
    f.removeAllAnimations();
    t.removeAllAnimations();
    // What earlier transitions left there would put the old picture in front.
    setZPositions(f, 0, t, 0);
    f.setOpacity(0);
    t.setOpacity(1);
}

void SVLayerView::put(Layer& layer, const Layer& above) { mRoot.insertAbove(layer, above); }

void SVLayerView::setZPositions(Layer& a, double zOfA, Layer& b, double zOfB)
{
    a.setZPosition(zOfA);
    b.setZPosition(zOfB);
}

void SVLayerView::animate(Layer& layer, const ValueChange& change, double duration,
    const QByteArray& key, TimingFunction timing)
{
    layer.addAnimation({ change, duration, timing, this }, key);
}

void SVLayerView::addTransition(Layer& layer, TransitionKind kind, double duration)
{
    layer.addAnimation({ kind, duration, {}, this }, QByteArrayLiteral("transition"));
}

void SVLayerView::animationDidStart(const Animation& animation)
{
    if (!mDriftAnimation || animation.identity != *mDriftAnimation)
        mTransitionInProgress = true;
}

void SVLayerView::animationDidStop(const Animation& animation, bool /*finished*/)
{
    mTransitionInProgress = false;
    mPrevious->setOpacity(0);
    if (mDriftAnimation && animation.identity == *mDriftAnimation)
        mDriftAnimation.reset();
}

} // namespace quorvane
