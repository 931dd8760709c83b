// SPDX-License-Identifier: GPL-3.0-or-later
// The menus: one definition for every place where they appear.
#pragma once

#include <QList>
#include <QObject>
#include <QPoint>
#include <QString>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

class QAction;
class QMenu;
class QMenuBar;
class QWidget;

namespace quorvane {

class RecentMenu;
class SlideController;

/// How an item of a menu looks at the moment.
struct MenuItemState {
    bool isEnabled = true;
    std::optional<QString> title = {}; ///< Where it changes.
    std::optional<bool> isChecked = {}; ///< For items with a check mark.
};

/// The commands with their titles and keys, in menus. Every item is validated each time its menu
/// opens, and before a key acts for it. Thread: main.
class Menus : public QObject {
    Q_OBJECT

public:
    /// \param controller  outlives this; gets the commands and says how the items look.
    explicit Menus(SlideController& controller);
    ~Menus() override;

    /// A bar with all menus, for a window, which has the keys of all commands from now on. Owned by
    /// `window`.
    QMenuBar* makeMenuBar(QWidget& window);

    /// Keeps the keys of `window` even while its bar is hidden.
    void addKeys(QWidget& window);

    /// Opens the menu of the show at a place of the screen.
    void openContextMenu(QPoint where) const;

    QMenu& fileMenu() const { return *mMenus.front(); }

    /// Lists the recent folders in the file menu, which has an item for them from the first call
    /// on. \param paths  newest first.
    void setRecents(const std::vector<QByteArray>& paths);

    /// Asks the controller how each item looks.
    void validate() const;

    /// The item that sends this command, by the command's name; null for none.
    QAction* item(const char* command) const;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void addMenu(const char* title, std::initializer_list<const char*> commands);
    QAction* makeItem(const char* name);

    SlideController& mController;
    QList<QMenu*> mMenus;
    RecentMenu* mRecents = nullptr; ///< In the file menu; made when first needed.
    std::unique_ptr<QMenu> mContextMenu;
};

} // namespace quorvane
