// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/RecentMenu.h"

#include "app/SlideController.h"
#include "welcome/RecentsDelegate.h"

#include <QFontMetrics>

#include <utility>

namespace quorvane {

namespace {

/// In points. A path that is longer loses its middle: what follows the last slash tells most.
constexpr int kWidestItem = 560;

/// The text of an item no letter of which is a key.
QString withoutLetter(QString text) { return text.replace(QLatin1Char('&'), QLatin1String("&&")); }

} // namespace

RecentMenu::RecentMenu(SlideController& controller, QWidget* parent)
    : QMenu(tr("&Recent Folders"), parent)
    , mController(controller)
    , mClearItem(addAction(tr("&Clear Menu")))
{
    setWindowTitle(QStringLiteral("Recent mFolders"));
    setAccessibleName(tr("Recent Folders"));
    setToolTipsVisible(true);
    mClearItem->setObjectName(QStringLiteral("ClearRecentsMenu"));
    connect(mClearItem, &QAction::triggered, &mController, &SlideController::ClearRecentsMenu);
    connect(this, &QMenu::aboutToShow, this, [this] {
        rebuild();
        shorten();
    });
}

void RecentMenu::setPaths(const std::vector<QByteArray>& paths)
{
    mPaths = paths;
    if (!isVisible())
        rebuild();
}

void RecentMenu::rebuild()
{
    for (QAction* const item : std::exchange(mItems, {})) {
        removeAction(item);
        item->deleteLater(); // It may be the one that was chosen just now.
    }
    for (const QByteArray& path : mPaths)
        mItems << makeItem(path);
    insertActions(mClearItem, mItems);
}

/// Only once they are seen: to measure a text takes all the fonts of the machine, and the program
/// starts without.
void RecentMenu::shorten()
{
    const QFontMetrics metrics(font());
    for (QAction* const item : mItems) {
        const QString whole = readablePath(item->data().toByteArray());
        item->setText(withoutLetter(metrics.elidedText(whole, Qt::ElideMiddle, kWidestItem)));
    }
}

QAction* RecentMenu::makeItem(const QByteArray& path)
{
    const QString whole = readablePath(path);
    auto* const item = new QAction(withoutLetter(whole), this);
    item->setToolTip(QStringLiteral("<p>%1</p>").arg(whole.toHtmlEscaped()));
    item->setData(path);
    connect(item, &QAction::triggered, this, [this, item] { mController.OpenRecentFolder(*item); });
    return item;
}

} // namespace quorvane
