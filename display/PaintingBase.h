// SPDX-License-Identifier: GPL-3.0-or-later
// What the slides are painted with.
#pragma once

#include <QByteArray>
#include <QString>

#include <functional>

namespace quorvane {

class UserDefaults;

/// Both show the same pixels, by one paint routine.
enum class PaintingBase {
    Raster, ///< The processor; many times faster than an OpenGL that only pretends.
    OpenGL, ///< The graphics card.
};

/// What the choice depends on.
struct PaintingCircumstances {
    /// $QUORVANE_RENDERER, then the setting "renderer": the first that is "raster" or "opengl"
    /// decides, as far as the machine can; otherwise the machine alone does.
    QString variable;
    QString setting;
    QString platform; ///< QGuiApplication::platformName().
    std::function<bool()> hasGraphicsCard;
    std::function<QByteArray()> renderer; ///< Empty without OpenGL. Slow: asked only when needed.
};

/// Never OpenGL where the platform has none.
PaintingBase choosePaintingBase(const PaintingCircumstances& circumstances);

/// The choice for this machine and its user. Thread: main, with a QGuiApplication.
PaintingBase choosePaintingBase(const UserDefaults& defaults);

} // namespace quorvane
