// SPDX-License-Identifier: GPL-3.0-or-later
// Which program each real picture is compared with, how closely, and why some are not.
#pragma once

#include "corpus/PixelComparison.h"
#include "corpus/ReferenceTools.h"

#include <QByteArray>
#include <QStringList>

namespace quorvane::tests {

/// How a group of files is compared.
struct PixelReference {
    const char* names = ""; ///< Of the files within the corpus; * stands for anything, / too.
    Tool tool = Tool::None;
    Tolerance tolerance {};
    QStringList arguments {}; ///< RenderingTask::arguments.
    QStringList finish {}; ///< RenderingTask::finish.
    int frame = 0; ///< RenderingTask::frame.
    const char* format = ""; ///< RenderingTask::format.
    const char* reason = ""; ///< For every departure from the tool or the tolerance of its kind.
};

/// The one for the file of that name; that of no tool where there is nothing to compare with.
PixelReference referenceFor(const QByteArray& name);

} // namespace quorvane::tests
