// SPDX-License-Identifier: GPL-3.0-or-later
// The menu of the folders that were shown last.
#pragma once

#include <QByteArray>
#include <QMenu>

#include <vector>

namespace quorvane {

class SlideController;

/// An item for each folder with its path, then one that forgets them all. Thread: main.
class RecentMenu : public QMenu {
    Q_OBJECT

public:
    /// \param controller  outlives this; gets the commands.
    RecentMenu(SlideController& controller, QWidget* parent);

    /// An open menu keeps its items, since a hand may be on its way to one of them; they change
    /// before it opens again. \param paths  newest first.
    void setPaths(const std::vector<QByteArray>& paths);

private:
    void rebuild();
    void shorten();
    QAction* makeItem(const QByteArray& path);

    SlideController& mController;
    std::vector<QByteArray> mPaths;
    QList<QAction*> mItems; ///< Those of folders.
    QAction* mClearItem;
};

} // namespace quorvane
