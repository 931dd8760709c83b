// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/Help.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QUrl>

namespace quorvane {

namespace {

/// The guide beside the program: where it is installed, or where it is built.
QString guidePath()
{
    const QDir program(QCoreApplication::applicationDirPath());
    for (const char* const place :
        { "../share/doc/quorvane/guide.html", "docs/guide.html", "../docs/guide.html" }) {
        const QFileInfo guide(program, QLatin1String(place));
        if (guide.isFile())
            return guide.canonicalFilePath();
    }
    return {};
}

} // namespace

void openUserGuide()
{
    const QString path = guidePath();
    if (path.isEmpty() || !QDesktopServices::openUrl(QUrl::fromLocalFile(path)))
        qWarning("The user guide cannot be opened.");
}

} // namespace quorvane
