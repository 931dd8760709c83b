// SPDX-License-Identifier: GPL-3.0-or-later
// The welcome window: one thing to do, and a way out.
#include "support/Keys.h"
#include "welcome/WelcomeController.h"

#include <QApplication>
#include <QLabel>
#include <QPushButton>

#include <gtest/gtest.h>

namespace quorvane {

namespace {

struct Listener : WelcomeControllerDelegate {
    void openSelected() override { ++opens; }
    void welcomeClosedByHand() override { ++closes; }

    int opens = 0;
    int closes = 0;
};

struct WelcomeWindow : testing::Test {
    WelcomeWindow() { window.setDelegate(&listener); }

    Listener listener;
    WelcomeController window;
};

TEST_F(WelcomeWindow, IsNotThereUntilItIsShown)
{
    EXPECT_FALSE(window.isVisible());

    window.showWindow();

    EXPECT_TRUE(window.isVisible());
    EXPECT_TRUE(window.isWindow());
}

TEST_F(WelcomeWindow, OpensAFolderByItsButton)
{
    window.showWindow();

    window.findChild<QPushButton*>()->click();

    EXPECT_EQ(listener.opens, 1);
    EXPECT_TRUE(window.isVisible());
}

TEST_F(WelcomeWindow, OpensAFolderWithTheReturnKey)
{
    tests::activate(window, [this] { window.showWindow(); });

    tests::pressKey(window, Qt::Key_Return);

    EXPECT_EQ(listener.opens, 1);
}

TEST_F(WelcomeWindow, OpensAFolderWithTheDesktopsKey)
{
    tests::activate(window, [this] { window.showWindow(); });

    tests::pressKey(window, Qt::Key_O, Qt::ControlModifier);

    EXPECT_EQ(listener.opens, 1);
    EXPECT_EQ(listener.closes, 0);
}

TEST_F(WelcomeWindow, IsClosedByHandWithTheDesktopsKeys)
{
    for (const Qt::Key key : { Qt::Key_Q, Qt::Key_W }) {
        listener.closes = 0;
        tests::activate(window, [this] { window.showWindow(); });

        tests::pressKey(window, key, Qt::ControlModifier);

        EXPECT_EQ(listener.closes, 1) << key;
        EXPECT_FALSE(window.isVisible()) << key;
    }
}

TEST_F(WelcomeWindow, TellsWhenItIsClosedByHand)
{
    window.showWindow();

    EXPECT_TRUE(window.close());

    EXPECT_EQ(listener.closes, 1);
    EXPECT_FALSE(window.isVisible());
}

TEST_F(WelcomeWindow, DoesNotTellWhenItIsTakenAway)
{
    window.showWindow();

    window.closeWindow();

    EXPECT_EQ(listener.closes, 0);
    EXPECT_FALSE(window.isVisible());
}

TEST_F(WelcomeWindow, ComesBackAfterItWasClosed)
{
    window.showWindow();
    window.close();

    window.showWindow();

    EXPECT_TRUE(window.isVisible());
}

TEST_F(WelcomeWindow, WorksWithNobodyListening)
{
    window.setDelegate(nullptr);
    window.showWindow();

    window.OpenFolder();
    window.close();

    EXPECT_EQ(listener.opens, 0);
    EXPECT_EQ(listener.closes, 0);
}

TEST_F(WelcomeWindow, NamesTheVersion)
{
    QCoreApplication::setApplicationVersion(QStringLiteral("4.5.6"));
    const WelcomeController another;
    QCoreApplication::setApplicationVersion({});

    const auto* const label = another.findChild<QLabel*>(QStringLiteral("version"));
    ASSERT_NE(label, nullptr);
    EXPECT_TRUE(label->text().contains(QStringLiteral("4.5.6")));
}

TEST_F(WelcomeWindow, DoesNotTellWhenItIsDestroyed)
{
    auto another = std::make_unique<WelcomeController>();
    another->setDelegate(&listener);
    another->showWindow();

    another.reset();

    EXPECT_EQ(listener.closes, 0);
}

} // namespace

} // namespace quorvane
