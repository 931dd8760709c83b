// SPDX-License-Identifier: GPL-3.0-or-later
#include "FrameWatch.h"

#include <X11/Xlib.h>
#include <X11/extensions/Xdamage.h>
#include <poll.h>

#include <algorithm>

namespace quorvane::bench {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

/// What one frame draws in several pieces comes within less; no screen is this fast.
constexpr std::uint32_t kSameFrame = 4;

} // namespace

std::unique_ptr<FrameWatch> FrameWatch::open(const QByteArray& displayName)
{
    Display* const display = XOpenDisplay(displayName.constData());
    if (display == nullptr)
        return nullptr;
    int firstEvent = 0;
    int firstError = 0;
    if (XDamageQueryExtension(display, &firstEvent, &firstError) == False) {
        XCloseDisplay(display);
        return nullptr;
    }
    // Every rectangle is reported as it is drawn: nothing has to be acknowledged in time.
    XDamageCreate(display, DefaultRootWindow(display), XDamageReportRawRectangles);
    XSync(display, False);
    return std::unique_ptr<FrameWatch>(new FrameWatch(display, firstEvent + XDamageNotify));
}

FrameWatch::FrameWatch(Display* display, int damageEvent)
    : mDisplay(display)
    , mDamageEvent(damageEvent)
{
}

FrameWatch::~FrameWatch() { XCloseDisplay(mDisplay); }

bool FrameWatch::waitForEvent(steady_clock::time_point end)
{
    while (XPending(mDisplay) == 0) {
        const auto left = std::chrono::ceil<milliseconds>(end - steady_clock::now());
        pollfd socket { ConnectionNumber(mDisplay), POLLIN, 0 };
        if (poll(&socket, 1, static_cast<int>(std::max(left, milliseconds(0)).count())) <= 0)
            return false;
    }
    return true;
}

std::optional<ScreenFrame> FrameWatch::nextFrame(milliseconds limit)
{
    const auto end = steady_clock::now() + limit;
    while (waitForEvent(end)) {
        XEvent event;
        XNextEvent(mDisplay, &event);
        if (event.type != mDamageEvent)
            continue;
        const auto* const damage = reinterpret_cast<const XDamageNotifyEvent*>(&event);
        const auto drawn = static_cast<std::uint32_t>(damage->timestamp);
        if (mLast && drawn - *mLast <= kSameFrame)
            continue;
        mLast = drawn;
        return ScreenFrame { drawn, steady_clock::now() };
    }
    return {};
}

int FrameWatch::dropFrames()
{
    int count = 0;
    while (nextFrame(milliseconds(0)))
        ++count;
    return count;
}

} // namespace quorvane::bench
