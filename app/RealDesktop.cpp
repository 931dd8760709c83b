// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/RealDesktop.h"

#include "platform/DesktopApplication.h"
#include "platform/DispatchQueue.h"
#include "platform/PowerAssertion.h"

#include <memory>

namespace quorvane {

namespace {

/// Never destroyed: an application on a disk that no longer answers is not to hold up the end.
DispatchQueue& openingQueue()
{
    static auto* const queue = new DispatchQueue("com.quorvane.opening");
    return *queue;
}

/// The one that was chosen, else the desktop's for changing such files, else that for looking at
/// them.
std::optional<DesktopApplication> applicationFor(const FileURL& file, const QByteArray& chosen)
{
    if (!chosen.isEmpty()) {
        if (const auto application = applicationAt(chosen))
            return *application;
    }
    if (auto editor = editorOf(file))
        return editor;
    return viewerOf(file);
}

void openFile(const FileURL& file, const QByteArray& application)
{
    openingQueue().async([file, application] {
        const auto found = applicationFor(file, application);
        if (!found || !openWith(*found, file))
            qWarning("No application has opened %s.", file.path().constData());
    });
}

} // namespace

DesktopServices realDesktop(Clock& clock)
{
    const auto power = std::make_shared<PowerAssertion>(clock);
    return { .openFile = openFile, .keepAwake = [power](bool isAwake) {
                if (isAwake)
                    power->preventSleep();
                else
                    power->allowSleep();
            } };
}

} // namespace quorvane
