// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/GraphicsHardware.h"

#include <QDir>
#include <QFile>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFunctions>

namespace quorvane {

bool hasGraphicsCard()
{
    // The kernel's own drivers, then NVIDIA's, which may come without them.
    return !QDir(QStringLiteral("/dev/dri"))
                .entryList({ QStringLiteral("renderD*") }, QDir::System)
                .isEmpty()
        || QFile::exists(QStringLiteral("/dev/nvidia0"));
}

QByteArray openGLRenderer()
{
    QOpenGLContext context;
    if (!context.create())
        return {};
    QOffscreenSurface surface;
    surface.setFormat(context.format());
    surface.create();
    if (!context.makeCurrent(&surface))
        return {};
    const auto* const name
        = reinterpret_cast<const char*>(context.functions()->glGetString(GL_RENDERER));
    QByteArray renderer(name);
    context.doneCurrent();
    return renderer;
}

} // namespace quorvane
