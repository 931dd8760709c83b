// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/Menus.h"

#include "app/RecentMenu.h"
#include "app/SlideController.h"

#include <QAction>
#include <QCoreApplication>
#include <QEvent>
#include <QKeySequence>
#include <QMenu>
#include <QMenuBar>

#include <algorithm>
#include <array>
#include <cstring>

namespace quorvane {

namespace {

using Controller = SlideController;

/// A command as the menus show it. An item is known by the command's name.
struct Command {
    const char* name;
    const char* title; ///< Source text for tr().
    void (SlideController::*action)();
    std::array<const char*, 2> keys = {}; ///< Portable names; null for none.
    bool hasCheckMark = false;
};

#define TITLE(text) QT_TRANSLATE_NOOP("Menus", text)

constexpr std::array kCommands {
    Command { "openMenu", TITLE("&Open…"), &Controller::openMenu, { "Ctrl+O" } },
    Command { "ShowWelcomeScreen", TITLE("&Welcome Window"), &Controller::ShowWelcomeScreen },
    Command { "openSlide", TITLE("Open in &Application"), &Controller::openSlide, { "Ctrl+E" } },
    Command { "CopyFilePath", TITLE("&Copy File Path"), &Controller::CopyFilePath, { "Ctrl+C" } },
    Command { "trashSlide", TITLE("Move to &Trash"), &Controller::trashSlide, { "Del" } },
    Command { "cancel", TITLE("&End Show"), &Controller::cancel, { "Escape" } },
    Command { "quit", TITLE("&Quit"), &Controller::quit, { "Ctrl+Q" } },

    Command { "Play", TITLE("Start Slideshow"), &Controller::Play, { "F5" } },
    Command { "nextSlide", TITLE("&Next Slide"), &Controller::nextSlide, { "Right", "PgDown" } },
    Command {
        "previousSlide", TITLE("&Previous Slide"), &Controller::previousSlide, { "Left", "PgUp" } },
    Command { "firstSlide", TITLE("&First Slide"), &Controller::firstSlide, { "Home" } },
    Command { "shuffle", TITLE("S&huffle"), &Controller::shuffle, { "Ctrl+R" } },
    Command { "ShowControls", TITLE("Show Controls"), &Controller::ShowControls, { "Ctrl+K" } },

    Command {
        "ShrinkToFit", TITLE("&Shrink to Fit"), &Controller::ShrinkToFit, { "Ctrl+2" }, true },
    Command { "ZoomToFit", TITLE("Zoom &to Fit"), &Controller::ZoomToFit, { "Ctrl+3" }, true },
    Command { "FillScreen", TITLE("&Fill Screen"), &Controller::FillScreen, { "Ctrl+4" }, true },
    Command { "Stretch", TITLE("St&retch"), &Controller::Stretch, { "Ctrl+5" }, true },
    Command { "ZoomIn", TITLE("Zoom &In"), &Controller::ZoomIn, { "Ctrl++", "Ctrl+=" } },
    Command { "ZoomOne", TITLE("&Actual Size"), &Controller::ZoomOne, { "Ctrl+1" } },
    Command { "ZoomOff", TITLE("Zoom &Off"), &Controller::ZoomOff, { "Ctrl+0" } },
    Command {
        "ShowFileName", TITLE("Show File &Name"), &Controller::ShowFileName, { "Ctrl+I" }, true },
    Command { "ShowFilePath", TITLE("Show File &Path"), &Controller::ShowFilePath,
        { "Ctrl+Shift+I" }, true },

    Command { "FullScreen", TITLE("&Full Screen"), &Controller::FullScreen },
    Command { "WindowMode", TITLE("&Window"), &Controller::WindowMode },
    Command {
        "ShowChooseScreen", TITLE("&Choose Screen…"), &Controller::ShowChooseScreen, { "Ctrl+D" } },

    Command { "showHelp", TITLE("User &Guide"), &Controller::showHelp, { "F1" } },
};

#undef TITLE

/// A line between items.
constexpr const char* kSeparator = "";

const Command& commandNamed(const char* name)
{
    return *std::find_if(kCommands.begin(), kCommands.end(),
        [&](const Command& command) { return std::strcmp(command.name, name) == 0; });
}

QList<QKeySequence> sequencesOf(const Command& command)
{
    QList<QKeySequence> sequences;
    for (const char* const key : command.keys) {
        if (key)
            sequences << QKeySequence(QLatin1String(key), QKeySequence::PortableText);
    }
    return sequences;
}

} // namespace

Menus::Menus(SlideController& controller)
    : mController(controller)
{
    addMenu(QT_TRANSLATE_NOOP("Menus", "&File"),
        { "openMenu", "ShowWelcomeScreen", kSeparator, "openSlide", "CopyFilePath", "trashSlide",
            kSeparator, "cancel", "quit" });
    addMenu(QT_TRANSLATE_NOOP("Menus", "&Slideshow"),
        { "Play", "nextSlide", "previousSlide", "firstSlide", kSeparator, "shuffle", kSeparator,
            "ShowControls" });
    addMenu(QT_TRANSLATE_NOOP("Menus", "&View"),
        { "ShrinkToFit", "ZoomToFit", "FillScreen", "Stretch", kSeparator, "ZoomIn", "ZoomOne",
            "ZoomOff", kSeparator, "ShowFileName", "ShowFilePath" });
    addMenu(QT_TRANSLATE_NOOP("Menus", "S&creen"),
        { "FullScreen", "WindowMode", kSeparator, "ShowChooseScreen" });
    addMenu(QT_TRANSLATE_NOOP("Menus", "&Help"), { "showHelp" });

    mContextMenu = std::make_unique<QMenu>();
    connect(mContextMenu.get(), &QMenu::aboutToShow, this, &Menus::validate);
    for (const char* const name : { "Play", "nextSlide", "previousSlide", "firstSlide" })
        mContextMenu->addAction(item(name));
    mContextMenu->addSeparator();
    for (QMenu* const menu : mMenus)
        mContextMenu->addMenu(menu);
}

Menus::~Menus()
{
    mContextMenu.reset();
    qDeleteAll(mMenus);
}

void Menus::addMenu(const char* title, std::initializer_list<const char*> commands)
{
    auto* const menu = new QMenu(tr(title));
    for (const char* const name : commands) {
        if (name == kSeparator)
            menu->addSeparator();
        else
            menu->addAction(makeItem(name));
    }
    connect(menu, &QMenu::aboutToShow, this, &Menus::validate);
    mMenus << menu;
}

QAction* Menus::makeItem(const char* name)
{
    const Command& command = commandNamed(name);
    auto* const item = new QAction(tr(command.title), this);
    item->setObjectName(QLatin1String(name));
    item->setShortcuts(sequencesOf(command));
    item->setCheckable(command.hasCheckMark);
    connect(item, &QAction::triggered, &mController, command.action);
    // A check mark says what is set, not what was clicked.
    connect(item, &QAction::triggered, this, &Menus::validate);
    return item;
}

void Menus::setRecents(const std::vector<QByteArray>& paths)
{
    constexpr qsizetype kPlace = 2; // Behind what else opens a show.
    if (!mRecents) {
        mRecents = new RecentMenu(mController, &fileMenu());
        fileMenu().insertMenu(fileMenu().actions().value(kPlace), mRecents);
        connect(&fileMenu(), &QMenu::aboutToShow, &mController, &SlideController::updateRecentMenu);
    }
    mRecents->setPaths(paths);
}

QAction* Menus::item(const char* command) const
{
    return findChild<QAction*>(QLatin1String(command));
}

void Menus::validate() const
{
    for (const Command& command : kCommands) {
        QAction* const action = item(command.name);
        const MenuItemState state = mController.validateMenuItem(QLatin1String(command.name));
        action->setEnabled(state.isEnabled);
        if (state.title)
            action->setText(*state.title);
        if (state.isChecked)
            action->setChecked(*state.isChecked);
    }
    // One key for the two: it belongs to the one that changes something.
    const QKeySequence toggle(Qt::Key_F11);
    const bool isFullScreen = !item("FullScreen")->isEnabled();
    item("FullScreen")->setShortcut(isFullScreen ? QKeySequence() : toggle);
    item("WindowMode")->setShortcut(isFullScreen ? toggle : QKeySequence());
}

QMenuBar* Menus::makeMenuBar(QWidget& window)
{
    auto* const bar = new QMenuBar(&window);
    bar->setNativeMenuBar(false); // It stands where the person looks, on every desktop.
    for (QMenu* const menu : mMenus)
        bar->addMenu(menu);
    window.installEventFilter(this);
    validate();
    return bar;
}

void Menus::addKeys(QWidget& window)
{
    for (const Command& command : kCommands)
        window.addAction(item(command.name));
    window.installEventFilter(this);
}

void Menus::openContextMenu(QPoint where) const { mContextMenu->popup(where); }

/// Comes before the key is looked up among the items' keys.
bool Menus::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::ShortcutOverride)
        validate();
    return QObject::eventFilter(watched, event);
}

} // namespace quorvane
