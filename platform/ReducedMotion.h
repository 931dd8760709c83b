// SPDX-License-Identifier: GPL-3.0-or-later
// Whether the desktop is asked to move as little as possible.
#pragma once

#include <QMap>
#include <QString>
#include <QVariantMap>

#include <memory>

namespace quorvane {

/// Settings of the desktop: group, key, value.
using DesktopSettings = QMap<QString, QVariantMap>;

/// Whether a person who set this wants to see no movement: by the common key for it, by GNOME's or
/// by Plasma's. What is of another kind than it should be says nothing.
bool wantsReducedMotion(const DesktopSettings& settings);

/// Asks the desktop's portal, in the background, when it is made and whenever a setting changes.
/// Without a session bus or a portal everything moves. Thread: main.
class ReducedMotion {
public:
    ReducedMotion();
    ~ReducedMotion();
    ReducedMotion(const ReducedMotion&) = delete;
    ReducedMotion& operator=(const ReducedMotion&) = delete;

    /// False until the desktop has answered.
    bool isReduced() const { return mIsReduced; }

private:
    class Portal;

    bool mIsReduced = false;
    std::unique_ptr<Portal> mPortal;
};

} // namespace quorvane
