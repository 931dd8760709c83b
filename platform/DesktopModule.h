// SPDX-License-Identifier: GPL-3.0-or-later
// The part of the viewer that knows the desktop's applications. The library for them takes longer
// to load than a slide may take, so it hangs on a module that is loaded when first used.
#pragma once

#include "platform/DesktopApplication.h"

#include <QByteArrayList>

namespace quorvane {

/// Beside the decoder.
constexpr char kDesktopModule[] = "quorvane-desktop.so";

/// What the module does. MIME types: all names of one type, the usual one first.
struct DesktopFunctions {
    std::optional<DesktopApplication> (*editorOf)(const QByteArrayList& mimeTypes);
    std::optional<DesktopApplication> (*viewerOf)(const QByteArrayList& mimeTypes);
    Result<DesktopApplication> (*applicationAt)(const QByteArray& path);
    Result<void> (*openWith)(const QByteArray& applicationPath, const QByteArray& filePath);
};

/// The module's one function. What it gives lives for ever.
constexpr char kDesktopFunction[] = "quorvaneDesktop";
using DesktopFunction = const DesktopFunctions* (*)();

} // namespace quorvane
