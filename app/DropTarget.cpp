// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/DropTarget.h"

#include "app/ApplicationService.h"

#include <QDropEvent>
#include <QMimeData>
#include <QUrl>
#include <QWidget>

namespace quorvane {

std::vector<QByteArray> localFilesOf(const QMimeData& data)
{
    std::vector<QByteArray> paths;
    for (const QUrl& url : data.urls()) {
        // Not by way of QUrl's own text: a name need not be UTF-8.
        if (auto path = localPath(QString::fromLatin1(url.toEncoded())))
            paths.push_back(std::move(*path));
    }
    return paths;
}

DropTarget::DropTarget(QWidget& window, Dropped dropped)
    : QObject(&window)
    , mDropped(std::move(dropped))
{
    window.setAcceptDrops(true);
    window.installEventFilter(this);
}

bool DropTarget::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::DragEnter || event->type() == QEvent::DragMove) {
        auto& drag = static_cast<QDragMoveEvent&>(*event);
        if (!localFilesOf(*drag.mimeData()).empty())
            drag.acceptProposedAction();
        return true;
    }
    if (event->type() == QEvent::Drop) {
        auto& drop = static_cast<QDropEvent&>(*event);
        const auto paths = localFilesOf(*drop.mimeData());
        if (!paths.empty()) {
            drop.setDropAction(Qt::CopyAction); // Nobody is to think that they were moved.
            drop.accept();
            mDropped(paths);
        }
        return true;
    }
    return QObject::eventFilter(watched, event);
}

} // namespace quorvane
