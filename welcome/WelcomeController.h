// SPDX-License-Identifier: GPL-3.0-or-later
// The window that greets who has no show to run.
#pragma once

#include "welcome/FolderPictures.h"
#include "welcome/FolderStrips.h"

#include <QWidget>

#include <vector>

class QBoxLayout;
class QLabel;
class QListWidgetItem;
class QShortcut;

namespace Ui {
class Welcome;
}

namespace quorvane {

class RecentsView;

/// Hears from the welcome window. Thread: main.
class WelcomeControllerDelegate {
public:
    virtual ~WelcomeControllerDelegate() = default;

    /// The person wants to choose a folder.
    virtual void openSelected() = 0;

    /// The person chose from the recent folders.
    /// \param row  -1 when the click fell below the last one.
    virtual void recentSelected(int row) = 0;

    /// The person closed the window.
    virtual void welcomeClosedByHand() = 0;
};

/// One obvious thing to do, open a folder, and the folders that were shown before. Thread: main.
class WelcomeController : public QWidget {
    Q_OBJECT

public:
    /// \param finder  says which pictures a recent folder is shown with.
    explicit WelcomeController(FolderStrips::Finder finder = firstPicturesOf);
    ~WelcomeController() override;

    /// Not owned; null for none.
    void setDelegate(WelcomeControllerDelegate* delegate) { mDelegate = delegate; }

    /// \param bar  stands at the window's upper edge and becomes its child. Brings the keys for
    /// opening and quitting along.
    void setMenuBar(QWidget* bar);

    /// Replaces the list of recent folders. Waits for none of them.
    /// \param paths  newest first.
    void loadRecents(const std::vector<QByteArray>& paths);

    /// Shows the window in front of others; as large as it needs to be, unless it was given another
    /// size.
    void showWindow();

    /// Takes the window away; nobody closed it.
    void closeWindow() { hide(); }

    int numberOfRowsInTableView() const { return static_cast<int>(mRecents.size()); }

    /// Puts the path of a row into its cell. \return the path.
    QByteArray objectValueForTableColumn(int row);

    QSize sizeHint() const override;

public Q_SLOTS:
    void OpenFolder();

    /// Tells the delegate which row of the list was chosen.
    void openRecent();

protected:
    void changeEvent(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void connectOutlets(const Ui::Welcome& layout);
    void windowDidLoad();
    void addKeys();
    void reloadTable();
    void arrange();
    void muteTexts();
    void stripChanged(const QByteArray& folder);
    void describe(QListWidgetItem& item) const;

    QList<QShortcut*> mKeysOfMenus; ///< As long as there is no menu bar.
    WelcomeControllerDelegate* mDelegate = nullptr;
    RecentsView* mRecentsTableView = nullptr;
    QLabel* mVersionText = nullptr;
    std::vector<QByteArray> mRecents; ///< Newest first.
    QLabel* mTableDescriptionLabel = nullptr;

    QBoxLayout* mHeader = nullptr; ///< What can be done; beside it or over it, what it looks like.
    QLabel* mIcon = nullptr;
    QLabel* mHeading = nullptr;
    QLabel* mText = nullptr;
    QLabel* mRecentsHeading = nullptr;
    QSize mOwnSize; ///< The last size that the person had no part in.
    FolderStrips mStrips;
};

} // namespace quorvane
