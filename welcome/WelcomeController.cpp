// SPDX-License-Identifier: GPL-3.0-or-later
#include "welcome/WelcomeController.h"

#include "platform/Assertion.h"
#include "ui_Welcome.h"
#include "welcome/RecentsDelegate.h"

#include <QCloseEvent>
#include <QCoreApplication>
#include <QLayout>
#include <QScreen>
#include <QShortcut>

#include <utility>

namespace quorvane {

namespace {

constexpr QSize kLeastSizeAtFirst { 560, 440 };

constexpr double kMostOfScreen = 0.9;

// The icon's side: alone in the window, and beside the texts.
constexpr int kLargeIcon = 128;
constexpr int kSmallIcon = 72;

void mute(QWidget& widget, const QPalette& window)
{
    QPalette palette = widget.palette();
    const QColor muted = mutedText(window);
    if (palette.color(QPalette::WindowText) == muted)
        return;
    palette.setColor(QPalette::WindowText, muted);
    widget.setPalette(palette);
}

} // namespace

WelcomeController::WelcomeController(FolderStrips::Finder finder)
    : mStrips(std::move(finder), [this](const QByteArray& folder) { stripChanged(folder); })
{
    Ui::Welcome layout;
    layout.setupUi(this);
    connectOutlets(layout);
    connect(layout.open, &QPushButton::clicked, this, &WelcomeController::OpenFolder);
    connect(mRecentsTableView, &RecentsView::chosen, this, &WelcomeController::openRecent);
    layout.open->setFocus();
    addKeys();
    windowDidLoad();
}

WelcomeController::~WelcomeController() = default;

void WelcomeController::connectOutlets(const Ui::Welcome& layout)
{
    mRecentsTableView = layout.recents;
    mVersionText = layout.version;
    mTableDescriptionLabel = layout.tableDescription;
    mHeader = layout.header;
    mIcon = layout.icon;
    mHeading = layout.heading;
    mText = layout.text;
    mRecentsHeading = layout.recentsHeading;
    mRecentsTableView->setItemDelegate(new RecentsDelegate(mStrips, mRecentsTableView));
}

void WelcomeController::windowDidLoad()
{
    if (!window())
        Assertion::invalidParameter("self.window != nil", "WelcomeController", 37);
    mVersionText->setText(tr("Version %1").arg(QCoreApplication::applicationVersion()));
    muteTexts();
    arrange();
}

void WelcomeController::addKeys()
{
    auto* const open = new QShortcut(QKeySequence(QKeySequence::Open), this);
    connect(open, &QShortcut::activated, this, &WelcomeController::OpenFolder);
    auto* const quit = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q), this);
    connect(quit, &QShortcut::activated, this, &QWidget::close);
    mKeysOfMenus = { open, quit };
    auto* const close = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_W), this);
    connect(close, &QShortcut::activated, this, &QWidget::close);
}

void WelcomeController::setMenuBar(QWidget* bar)
{
    qDeleteAll(std::exchange(mKeysOfMenus, {})); // A key that two answer is answered by none.
    layout()->setMenuBar(bar);
}

void WelcomeController::loadRecents(const std::vector<QByteArray>& paths)
{
    mRecents = paths;
    mStrips.setFolders(mRecents);
    reloadTable();
    arrange();
}

void WelcomeController::showWindow()
{
    const bool isOfOwnSize = !mOwnSize.isValid() || size() == mOwnSize;
    if (!isVisible() && isOfOwnSize) {
        mOwnSize = sizeHint().boundedTo(screen()->availableSize() * kMostOfScreen);
        resize(mOwnSize);
    }
    show();
    raise();
    activateWindow();
}

QSize WelcomeController::sizeHint() const
{
    return QWidget::sizeHint().expandedTo(kLeastSizeAtFirst);
}

QByteArray WelcomeController::objectValueForTableColumn(int row)
{
    if (row < 0 || row >= numberOfRowsInTableView()) {
        Assertion::invalidParameter(
            "rowIndex >= 0 && rowIndex < [self.mRecents count]", "WelcomeController", 89);
    }
    const QByteArray& path = mRecents[static_cast<size_t>(row)];
    if (QListWidgetItem* const cell = mRecentsTableView->item(row))
        cell->setText(readablePath(path));
    return path;
}

void WelcomeController::OpenFolder()
{
    if (mDelegate)
        mDelegate->openSelected();
}

void WelcomeController::openRecent()
{
    if (mDelegate)
        mDelegate->recentSelected(mRecentsTableView->clickedRow());
}

void WelcomeController::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange && mVersionText)
        muteTexts();
}

void WelcomeController::closeEvent(QCloseEvent* event)
{
    QWidget::closeEvent(event);
    hide(); // Whoever counts windows is not to count this one.
    if (mDelegate)
        mDelegate->welcomeClosedByHand();
}

void WelcomeController::reloadTable()
{
    const QListWidgetItem* const current = mRecentsTableView->currentItem();
    const QVariant before = current ? current->data(RecentsDelegate::kPathRole) : QVariant();
    mRecentsTableView->clear();
    for (int row = 0; row < numberOfRowsInTableView(); ++row) {
        auto* const item = new QListWidgetItem(mRecentsTableView);
        const QByteArray path = objectValueForTableColumn(row);
        item->setData(RecentsDelegate::kPathRole, path);
        item->setData(Qt::AccessibleTextRole, readablePath(path));
        item->setToolTip(QStringLiteral("<p>%1</p>").arg(readablePath(path).toHtmlEscaped()));
        describe(*item);
        if (before == path)
            mRecentsTableView->setCurrentItem(item);
    }
}

void WelcomeController::arrange()
{
    const bool hasRecents = !mRecents.empty();
    mTableDescriptionLabel->setVisible(!hasRecents);
    mRecentsHeading->setVisible(hasRecents);
    mRecentsTableView->setVisible(hasRecents);
    mRecentsTableView->updateGeometry();

    // Alone, the greeting takes the middle of the window; over a list it makes room.
    mHeader->setDirection(hasRecents ? QBoxLayout::LeftToRight : QBoxLayout::TopToBottom);
    const Qt::Alignment side = hasRecents ? Qt::AlignLeft | Qt::AlignVCenter : Qt::AlignCenter;
    mHeading->setAlignment(side);
    mText->setAlignment(side);
    const int icon = hasRecents ? kSmallIcon : kLargeIcon;
    mIcon->setPixmap(QIcon(QStringLiteral(":/resources/quorvane.svg")).pixmap(icon, icon));
}

void WelcomeController::muteTexts()
{
    for (QLabel* const label : { mText, mTableDescriptionLabel, mVersionText })
        mute(*label, palette());
}

void WelcomeController::stripChanged(const QByteArray& folder)
{
    for (int row = 0; row < mRecentsTableView->count(); ++row) {
        QListWidgetItem& item = *mRecentsTableView->item(row);
        if (item.data(RecentsDelegate::kPathRole).toByteArray() == folder)
            describe(item);
    }
    mRecentsTableView->viewport()->update();
}

void WelcomeController::describe(QListWidgetItem& item) const
{
    const QByteArray folder = item.data(RecentsDelegate::kPathRole).toByteArray();
    const bool isGone = mStrips.stripOf(folder).state == FolderStrip::State::Gone;
    item.setData(Qt::AccessibleDescriptionRole, isGone ? tr("Not available") : QString());
}

} // namespace quorvane
