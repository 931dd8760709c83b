// SPDX-License-Identifier: GPL-3.0-or-later
// Every window, for who does not see it or has no mouse.
#include "app/ScreenChooser.h"
#include "app/SlideLabel.h"
#include "support/Accessibility.h"
#include "support/ControllerTest.h"

#include <QMenuBar>
#include <QToolButton>

namespace quorvane {

namespace {

using namespace tests;

struct Accessibility : ControllerTest {
    template <typename Window> static Window& activeWindow()
    {
        Window* const window = visibleWindow<Window>();
        if (!window)
            qFatal("the window is not there");
        activate(*window, [] {});
        return *window;
    }

    static QString nameOf(QWidget& widget)
    {
        const QAccessibleInterface* const read = QAccessible::queryAccessibleInterface(&widget);
        return read ? read->text(QAccessible::Name) : QString();
    }

    static testing::AssertionResult areMenusForEverybody(const QWidget& window)
    {
        const auto* const bar = window.findChild<QMenuBar*>();
        return bar ? isForEverybody(bar->actions())
                   : testing::AssertionFailure() << "there are no menus";
    }
};

TEST_F(Accessibility, OfTheWelcomeWindow)
{
    controller->ShowWelcomeScreen();
    auto& window = activeWindow<WelcomeController>();

    EXPECT_EQ(controlCount(window), 1U);
    EXPECT_TRUE(isForEverybody(window));
    EXPECT_TRUE(areMenusForEverybody(window));
}

TEST_F(Accessibility, OfTheWelcomeWindowWithRecentFolders)
{
    controller->ShowWelcomeScreen();
    auto& window = activeWindow<WelcomeController>();

    window.loadRecents({ "/home/me/Garden", "/home/me/Sea" });

    EXPECT_EQ(controlCount(window), 2U);
    EXPECT_TRUE(isForEverybody(window));
}

TEST_F(Accessibility, OfTheControls)
{
    show123();
    controller->ShowControls();
    auto& window = activeWindow<ControlPanel>();

    EXPECT_EQ(controlCount(window), 5U);
    EXPECT_TRUE(isForEverybody(window));
}

TEST_F(Accessibility, OfTheChoiceOfScreens)
{
    controller->ShowChooseScreen();
    auto& window = activeWindow<ScreenChooser>();

    EXPECT_EQ(controlCount(window), 2U);
    EXPECT_TRUE(isForEverybody(window));
}

TEST_F(Accessibility, OfTheShow)
{
    show123();
    controller->ShowFileName();
    auto& window = activeWindow<SlideWindow>();

    EXPECT_TRUE(isForEverybody(window));
    EXPECT_TRUE(areMenusForEverybody(window));
    EXPECT_EQ(nameOf(*window.findChild<SlideLabel*>()), QStringLiteral("1"));
    EXPECT_TRUE(nameOf(window).startsWith(QLatin1String("1.png")));
}

TEST_F(Accessibility, OfMenusWithoutAMouse)
{
    controller->ShowWelcomeScreen();
    controller->ShowControls();
    for (QWidget* const window : { static_cast<QWidget*>(&activeWindow<WelcomeController>()),
             static_cast<QWidget*>(&activeWindow<ControlPanel>()) }) {
        const auto* const bar = window->findChild<QMenuBar*>();
        activate(*window, [] {});

        pressKey(*window, Qt::Key_F10);

        EXPECT_EQ(bar->activeAction(), bar->actions().constFirst());
        if (QWidget* const menu = QApplication::activePopupWidget())
            menu->close();
    }
}

/// What the judge itself overlooks, nobody else sees.
TEST(WindowForEverybody, HasANameAndAWayToEachControl)
{
    QWidget window;
    QAbstractButton* const plain = new QToolButton(&window);
    activate(window, [&] { window.show(); });
    EXPECT_FALSE(isForEverybody(window));

    plain->setText(QStringLiteral("Go"));
    plain->setFocusPolicy(Qt::NoFocus);
    plain->clearFocus();
    EXPECT_FALSE(isForEverybody(window));

    plain->setFocusPolicy(Qt::TabFocus);
    EXPECT_TRUE(isForEverybody(window));

    plain->setFocusPolicy(Qt::NoFocus);
    plain->clearFocus();
    plain->setShortcut(QKeySequence(Qt::Key_G));
    EXPECT_TRUE(isForEverybody(window));
}

} // namespace

} // namespace quorvane
