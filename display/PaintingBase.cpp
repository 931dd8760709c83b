// SPDX-License-Identifier: GPL-3.0-or-later
#include "display/PaintingBase.h"

#include "platform/GraphicsHardware.h"
#include "platform/UserDefaults.h"
#include "settings/SettingsCatalogue.h"

#include <QGuiApplication>

#include <algorithm>
#include <array>

namespace quorvane {

namespace {

/// What drivers that draw with the processor call themselves.
constexpr std::array kPretenders { "llvmpipe", "softpipe", "swrast", "Software Rasterizer" };

bool isHardware(const QByteArray& renderer)
{
    return !renderer.isEmpty()
        && std::none_of(kPretenders.begin(), kPretenders.end(),
            [&](const char* name) { return renderer.contains(name); });
}

} // namespace

PaintingBase choosePaintingBase(const PaintingCircumstances& circumstances)
{
    const bool hasWindowSystem = circumstances.platform == QLatin1String("xcb")
        || circumstances.platform.startsWith(QLatin1String("wayland"));
    if (!hasWindowSystem)
        return PaintingBase::Raster;
    for (const QString& wish : { circumstances.variable, circumstances.setting }) {
        if (wish == kRendererRaster)
            return PaintingBase::Raster;
        if (wish == kRendererOpenGL)
            return circumstances.renderer().isEmpty() ? PaintingBase::Raster : PaintingBase::OpenGL;
    }
    return circumstances.hasGraphicsCard() && isHardware(circumstances.renderer())
        ? PaintingBase::OpenGL
        : PaintingBase::Raster;
}

PaintingBase choosePaintingBase(const UserDefaults& defaults)
{
    return choosePaintingBase({ .variable = qEnvironmentVariable("QUORVANE_RENDERER"),
        .setting = defaults.stringValue(kRenderer),
        .platform = QGuiApplication::platformName(),
        .hasGraphicsCard = hasGraphicsCard,
        .renderer = openGLRenderer });
}

} // namespace quorvane
