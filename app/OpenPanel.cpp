// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/OpenPanel.h"

#include "platform/TypeIdentifier.h"

#include <QDialogButtonBox>
#include <QDir>
#include <QEvent>
#include <QFile>
#include <QFileInfo>
#include <QPushButton>
#include <QStandardPaths>

#include <algorithm>

namespace quorvane {

namespace {

FileURL urlOf(const QString& path) { return FileURL(QFile::encodeName(path)); }

/// "Pictures (*.jpg *.jpeg …)" for all that can be shown; the panel does not look at capitals.
QString displayableFilter()
{
    QStringList patterns;
    for (const QString& type : TypeIdentifier::imageTypes() + TypeIdentifier::audiovisualTypes()) {
        for (const QString& extension : TypeIdentifier::extensionsOf(type))
            patterns << QStringLiteral("*.") + extension;
    }
    return OpenPanel::tr("Pictures (%1)").arg(patterns.join(QLatin1Char(' ')));
}

} // namespace

OpenPanel::OpenPanel(const FileURL& start)
{
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(tr("Choose a folder or some files to display."));
    setOption(DontUseNativeDialog); // The desktops' own panels take either files or a folder.
    setOption(HideNameFilterDetails);
    setFileMode(ExistingFiles);
    if (const auto* const buttons = findChild<QDialogButtonBox*>()) {
        QPushButton* const open = buttons->button(QDialogButtonBox::Open);
        open->setEnabled(true);
        open->installEventFilter(this);
    }
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
    const QStringList paths = selectedFiles();
    const bool areThere = std::all_of(
        paths.begin(), paths.end(), [](const QString& path) { return QFileInfo::exists(path); });
    if (areThere)
        done(Accepted); // A file dialog of its own accord would enter a selected folder instead.
    else
        QFileDialog::accept(); // It says what it does not find, and stays.
}

bool OpenPanel::eventFilter(QObject* watched, QEvent* event)
{
    // Without a selection there is still the folder that the panel shows.
    auto* const button = qobject_cast<QPushButton*>(watched);
    if (button && event->type() == QEvent::EnabledChange && !button->isEnabled())
        button->setEnabled(true);
    return QFileDialog::eventFilter(watched, event);
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
