// SPDX-License-Identifier: GPL-3.0-or-later
// The window of the show: what it covers, which keys it passes on, when it hides the pointer.
#include "app/SlideWindow.h"
#include "support/Keys.h"

#include <QAction>
#include <QCursor>
#include <QMenu>
#include <QMenuBar>
#include <QMouseEvent>
#include <QPixmap>
#include <QScreen>

#include <gtest/gtest.h>

#include <ostream>
#include <vector>

namespace quorvane {

namespace {

using tests::activate;
using tests::pressKey;

struct Key {
    QString text;
    int key;

    bool operator==(const Key&) const = default;
    friend void PrintTo(const Key& key, std::ostream* stream)
    {
        *stream << key.key << " \"" << qPrintable(key.text) << '"';
    }
};

struct ShowWindow : testing::Test {
    ShowWindow()
    {
        window.setKeyHandler([this](const QString& text, int key) {
            keys.push_back({ text, key });
            return usesKeys;
        });
    }

    /// Covers the screen with a window and a display that follows the mouse.
    QWidget* showDisplay()
    {
        auto* const display = new QWidget;
        display->setMouseTracking(true);
        window.setDisplay(display);
        window.cover(QGuiApplication::primaryScreen());
        moveMouse({ 100, 100 });
        return display;
    }

    static void moveMouse(QPoint to)
    {
        QCursor::setPos(to);
        QCoreApplication::processEvents();
    }

    /// What a desktop sends when a window changes under a mouse that rests.
    static void sendMoveToWhereItIs(QWidget& display)
    {
        const QPoint at = QCursor::pos();
        QMouseEvent move(QEvent::MouseMove, at, at, Qt::NoButton, Qt::NoButton, Qt::NoModifier);
        QCoreApplication::sendEvent(&display, &move);
    }

    SlideWindow window;
    std::vector<Key> keys; ///< What reached the handler.
    bool usesKeys = true;
};

TEST_F(ShowWindow, IsAWindowWithATitle)
{
    EXPECT_TRUE(window.isWindow());
    EXPECT_FALSE(window.windowTitle().isEmpty());
}

TEST_F(ShowWindow, IsBlack)
{
    window.resize(40, 30);

    const QImage image = window.grab().toImage();

    EXPECT_EQ(image.pixelColor(0, 0), QColor(Qt::black));
    EXPECT_EQ(image.pixelColor(39, 29), QColor(Qt::black));
}

TEST_F(ShowWindow, CoversItsScreen)
{
    QScreen* const screen = QGuiApplication::primaryScreen();
    EXPECT_TRUE(window.coveredSize().isEmpty());

    window.cover(screen);

    EXPECT_TRUE(window.isVisible());
    EXPECT_TRUE(window.isFullScreen());
    EXPECT_EQ(window.geometry(), screen->geometry());
    EXPECT_EQ(window.coveredSize(), screen->geometry().size());
}

TEST_F(ShowWindow, ShowsWithoutAScreenToo)
{
    window.cover(nullptr);

    EXPECT_TRUE(window.isVisible());
    EXPECT_TRUE(window.isFullScreen());
    EXPECT_TRUE(window.coveredSize().isEmpty());
}

TEST_F(ShowWindow, BecomesTheActiveOne)
{
    QWidget other;
    activate(other, [&] { other.show(); });

    window.cover(QGuiApplication::primaryScreen());
    QCoreApplication::processEvents();

    EXPECT_TRUE(window.isActiveWindow());
    EXPECT_EQ(QApplication::focusWidget(), &window);
}

TEST_F(ShowWindow, IsFilledByItsDisplay)
{
    auto* const display = new QWidget;
    window.resize(320, 200);

    window.setDisplay(display);

    EXPECT_EQ(display->parentWidget(), &window);
    EXPECT_EQ(display->geometry(), QRect(0, 0, 320, 200));
    EXPECT_EQ(window.findChildren<QWidget*>().size(), 1);
    window.show();
    EXPECT_TRUE(display->isVisible());
}

TEST_F(ShowWindow, StaysFilledByItsDisplay)
{
    auto* const display = new QWidget;
    window.setDisplay(display);
    window.show();

    window.resize(123, 77);
    EXPECT_EQ(display->geometry(), QRect(0, 0, 123, 77));
    window.cover(QGuiApplication::primaryScreen());
    EXPECT_EQ(display->geometry(), window.rect());
}

TEST_F(ShowWindow, SurvivesItsDisplay)
{
    auto* const display = new QWidget;
    window.setDisplay(display);
    window.show();

    delete display;
    window.resize(123, 77);

    EXPECT_EQ(window.size(), QSize(123, 77));
}

TEST_F(ShowWindow, PassesKeysToTheHandler)
{
    window.show();

    pressKey(window, Qt::Key_5, Qt::NoModifier, QStringLiteral("5"));
    pressKey(window, Qt::Key_A, Qt::ShiftModifier, QStringLiteral("A"));
    pressKey(window, Qt::Key_Up);

    EXPECT_EQ(keys,
        std::vector<Key>({ { QStringLiteral("5"), Qt::Key_5 }, { QStringLiteral("A"), Qt::Key_A },
            { QString(), Qt::Key_Up } }));
}

TEST_F(ShowWindow, TakesNoDigitForOneWithAModifier)
{
    for (const auto modifier : { Qt::ControlModifier, Qt::AltModifier, Qt::MetaModifier })
        pressKey(window, Qt::Key_1, modifier, QStringLiteral("1"));
    pressKey(window, Qt::Key_1, Qt::KeypadModifier, QStringLiteral("1"));

    const Key chord { QString(), Qt::Key_1 };
    EXPECT_EQ(keys, std::vector<Key>({ chord, chord, chord, { QStringLiteral("1"), Qt::Key_1 } }));
}

TEST_F(ShowWindow, PassesRepeatedKeysToTheHandler)
{
    QKeyEvent again(
        QEvent::KeyPress, Qt::Key_Space, Qt::NoModifier, QStringLiteral(" "), /*autorep=*/true);

    QCoreApplication::sendEvent(&window, &again);

    EXPECT_EQ(keys.size(), 1U);
}

TEST_F(ShowWindow, KeepsKeysThatTheHandlerUses)
{
    QKeyEvent press(QEvent::KeyPress, Qt::Key_A, Qt::NoModifier, QStringLiteral("a"));
    press.ignore();
    usesKeys = true;

    press.accept();
    QCoreApplication::sendEvent(&window, &press);

    EXPECT_TRUE(press.isAccepted());
}

TEST_F(ShowWindow, PassesOnKeysThatTheHandlerDoesNotUse)
{
    QKeyEvent press(QEvent::KeyPress, Qt::Key_A, Qt::NoModifier, QStringLiteral("a"));
    usesKeys = false;

    QCoreApplication::sendEvent(&window, &press);

    EXPECT_FALSE(press.isAccepted());
}

TEST_F(ShowWindow, WorksWithoutAHandler)
{
    SlideWindow another;
    QKeyEvent press(QEvent::KeyPress, Qt::Key_A, Qt::NoModifier, QStringLiteral("a"));

    QCoreApplication::sendEvent(&another, &press);

    EXPECT_FALSE(press.isAccepted());
}

TEST_F(ShowWindow, KeepsModifierKeysToItself)
{
    for (const int key : { Qt::Key_Shift, Qt::Key_Control, Qt::Key_Meta, Qt::Key_Alt, Qt::Key_AltGr,
             Qt::Key_Super_L, Qt::Key_Super_R, Qt::Key_Hyper_L, Qt::Key_Hyper_R, Qt::Key_CapsLock,
             Qt::Key_NumLock, Qt::Key_ScrollLock, Qt::Key_Mode_switch, Qt::Key_Multi_key })
        pressKey(window, key);

    EXPECT_TRUE(keys.empty());
}

TEST_F(ShowWindow, LetsCommandsActBeforeTheHandler)
{
    int acted = 0;
    QAction action;
    action.setShortcut(QKeySequence(Qt::Key_Right));
    QObject::connect(&action, &QAction::triggered, [&] { ++acted; });
    window.addAction(&action);
    activate(window, [this] { window.show(); });

    pressKey(window, Qt::Key_Right);
    pressKey(window, Qt::Key_Left);

    EXPECT_EQ(acted, 1);
    EXPECT_EQ(keys, std::vector<Key>({ { QString(), Qt::Key_Left } }));
}

TEST_F(ShowWindow, PutsItsMenusAwayWhenTheyAreLeft)
{
    auto* const bar = new QMenuBar(&window);
    bar->setNativeMenuBar(false);
    for (const char* const title : { "First", "Second" })
        bar->addMenu(QLatin1String(title))->addAction(QStringLiteral("Item"));
    window.setMenuBar(bar);
    showDisplay();
    ASSERT_FALSE(bar->isVisible());

    pressKey(window, Qt::Key_F10);
    EXPECT_TRUE(bar->isVisible());

    ASSERT_NE(QApplication::activePopupWidget(), nullptr);
    pressKey(*QApplication::activePopupWidget(), Qt::Key_Right);
    QCoreApplication::processEvents();
    EXPECT_EQ(bar->activeAction(), bar->actions().constLast());
    EXPECT_TRUE(bar->isVisible());

    pressKey(*QApplication::activePopupWidget(), Qt::Key_Escape);
    QCoreApplication::processEvents();
    EXPECT_TRUE(bar->isVisible());

    pressKey(window, Qt::Key_Escape); // The arrows still led from title to title.
    QCoreApplication::processEvents();
    EXPECT_FALSE(bar->isVisible());
}

TEST_F(ShowWindow, PutsItsMenusAwayWhenTheMouseLeavesTheBarAfterEscape)
{
    auto* const bar = new QMenuBar(&window);
    bar->setNativeMenuBar(false);
    bar->addMenu(QStringLiteral("Menu"))->addAction(QStringLiteral("Item"));
    window.setMenuBar(bar);
    showDisplay();
    pressKey(window, Qt::Key_F10);
    moveMouse({ 100, 200 });
    EXPECT_TRUE(bar->isVisible()); // Its menu is open.

    pressKey(*QApplication::activePopupWidget(), Qt::Key_Escape);
    QCoreApplication::processEvents();
    moveMouse({ 101, 200 });

    EXPECT_FALSE(bar->isVisible());
}

TEST_F(ShowWindow, PutsItsMenusAwayAfterACommand)
{
    auto* const bar = new QMenuBar(&window);
    bar->setNativeMenuBar(false);
    bar->addMenu(QStringLiteral("Menu"))->addAction(QStringLiteral("Item"));
    window.setMenuBar(bar);
    showDisplay();
    pressKey(window, Qt::Key_F10);
    ASSERT_TRUE(bar->isVisible());

    pressKey(*QApplication::activePopupWidget(), Qt::Key_Down);
    pressKey(*QApplication::activePopupWidget(), Qt::Key_Return);
    QCoreApplication::processEvents();

    EXPECT_FALSE(bar->isVisible());
}

TEST_F(ShowWindow, LeavesItsEndToTheShow)
{
    int closes = 0;
    QObject::connect(&window, &SlideWindow::closedByHand, [&] { ++closes; });
    window.show();

    EXPECT_FALSE(window.close());

    EXPECT_EQ(closes, 1);
    EXPECT_TRUE(window.isVisible());
}

TEST_F(ShowWindow, HidesThePointerUntilItMoves)
{
    const auto* const display = showDisplay();
    EXPECT_EQ(display->cursor().shape(), Qt::ArrowCursor);

    window.hideMouseUntilItMoves();
    EXPECT_EQ(display->cursor().shape(), Qt::BlankCursor);
    moveMouse({ 101, 100 });

    EXPECT_EQ(display->cursor().shape(), Qt::ArrowCursor);
}

TEST_F(ShowWindow, TakesNoMoveForOneThatLeadsNowhere)
{
    auto* const display = showDisplay();

    window.hideMouseUntilItMoves();
    sendMoveToWhereItIs(*display);
    EXPECT_EQ(display->cursor().shape(), Qt::BlankCursor);
    moveMouse({ 100, 101 });

    EXPECT_EQ(display->cursor().shape(), Qt::ArrowCursor);
}

TEST_F(ShowWindow, HidesThePointerAgain)
{
    auto* const display = showDisplay();
    window.hideMouseUntilItMoves();
    moveMouse({ 10, 20 });
    ASSERT_EQ(display->cursor().shape(), Qt::ArrowCursor);

    window.hideMouseUntilItMoves();
    sendMoveToWhereItIs(*display);

    EXPECT_EQ(display->cursor().shape(), Qt::BlankCursor);
}

TEST_F(ShowWindow, LeavesThePointerToTheDisplayOtherwise)
{
    showDisplay();
    window.setCursor(Qt::CrossCursor);

    moveMouse({ 50, 60 });

    EXPECT_EQ(window.cursor().shape(), Qt::CrossCursor);
}

} // namespace

} // namespace quorvane
