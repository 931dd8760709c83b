// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/OpenPanel.h"

#include "platform/TypeIdentifier.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>

namespace quorvane {

namespace {

FileURL urlOf(const QString& path) { return FileURL(QFile::encodeName(path)); }

/// "Pictures (*.jpg *.jpeg …)" for all that can be shown, in capitals too.
QString displayableFilter()
{
    QStringList patterns;
    for (const QString& type : TypeIdentifier::imageTypes() + TypeIdentifier::audiovisualTypes()) {
        for (const QString& extension : TypeIdentifier::extensionsOf(type))
            patterns << QStringLiteral("*.") + extension
                     << QStringLiteral("*.") + extension.toUpper();
    }
    return OpenPanel::tr("Pictures (%1)").arg(patterns.join(QLatin1Char(' ')));
}

} // namespace

OpenPanel::OpenPanel(const FileURL& start)
{
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(tr("Choose a folder or some files to display."));
    setOption(DontUseNativeDialog); // The desktops' own panels take either files or a folder.
    setFileMode(ExistingFiles);
    setNameFilters({ displayableFilter(), tr("All files (*)") });
    setDirectory(start.isEmpty()
            ? QStandardPaths::writableLocation(QStandardPaths::PicturesLocation)
            : QFile::decodeName(start.path()));
}

void OpenPanel::begin(QWidget* above, std::function<void(const OpenPanelChoice&)> done)
{
    if (above)
        setParent(above, windowFlags());
    connect(this, &QDialog::finished, this, [this, done = std::move(done)](int result) {
        done(result == Accepted ? choice() : OpenPanelChoice());
    });
    open();
}

void OpenPanel::accept()
{
    done(Accepted); // A file dialog of its own accord would enter a selected folder instead.
}

OpenPanelChoice OpenPanel::choice() const
{
    OpenPanelChoice result { {}, urlOf(directory().absolutePath()) };
    for (const QString& path : selectedFiles())
        result.urls.push_back(urlOf(path));
    if (result.urls.empty())
        result.urls.push_back(result.directory);
    return result;
}

} // namespace quorvane
