// SPDX-License-Identifier: GPL-3.0-or-later
// Files that are dropped on a window.
#pragma once

#include <QByteArray>
#include <QObject>

#include <functional>
#include <vector>

class QMimeData;
class QWidget;

namespace quorvane {

/// The local files among what is dragged: absolute paths, bytes, whether they exist or not. Text
/// and what lies elsewhere is left out.
std::vector<QByteArray> localFilesOf(const QMimeData& data);

/// Takes files that are dropped on a window. Belongs to the window. Thread: main.
class DropTarget : public QObject {
    Q_OBJECT

public:
    using Dropped = std::function<void(const std::vector<QByteArray>& paths)>;

    DropTarget(QWidget& window, Dropped dropped);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    Dropped mDropped;
};

} // namespace quorvane
