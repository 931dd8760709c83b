// SPDX-License-Identifier: GPL-3.0-or-later
// What this machine can draw with.
#pragma once

#include <QByteArray>

namespace quorvane {

/// Whether the machine has a graphics card that programs can use. A look at device nodes: costs
/// nothing. Thread: any.
bool hasGraphicsCard();

/// Who would draw for OpenGL, in the driver's words; empty when there is no OpenGL. Makes a context
/// and throws it away, which takes some 50 ms. Thread: main, with a QGuiApplication of a platform
/// that has OpenGL.
QByteArray openGLRenderer();

} // namespace quorvane
