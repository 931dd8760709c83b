// SPDX-License-Identifier: GPL-3.0-or-later
// The moments that are drawn while something moves.
#include "display/SVLayerView.h"

#include <QScreen>

#include <algorithm>

namespace quorvane {

namespace {

/// Frames a second. Screens say strange things at times.
constexpr double kLeastRate = 24;
constexpr double kGreatestRate = 240;
constexpr double kUsualRate = 60;

Duration frameTime(const QScreen* screen)
{
    const double rate = screen ? screen->refreshRate() : kUsualRate;
    return durationFromSeconds(1 / std::clamp(rate, kLeastRate, kGreatestRate));
}

} // namespace

double SVLayerView::seconds() const { return secondsFromDuration(mClock.now().time_since_epoch()); }

/// What has changed outside of all animations.
void SVLayerView::redraw(const QRegion& region) { update(region); }

/// From the next turn on, so that all that belongs to one change begins together.
void SVLayerView::startFrames()
{
    if (mFrames)
        return;
    mFrames = mClock.scheduleTimer(
        Duration::zero(), Clock::Repetition::Once, [this] { drawFirstFrame(); });
}

void SVLayerView::drawFirstFrame()
{
    mFrames = mClock.scheduleTimer(
        frameTime(screen()), Clock::Repetition::Repeating, [this] { drawFrame(); });
    drawFrame();
}

void SVLayerView::drawFrame()
{
    mFrameTime = seconds();
    mAnimator.beginFrame(mFrameTime);
    repaint();
    mAnimator.endFrame(mFrameTime);
    if (mAnimator.isActive())
        return;
    mFrames.reset();
    update(); // What is hidden at the end, and what the model says now.
}

} // namespace quorvane
