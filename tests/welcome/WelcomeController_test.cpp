// SPDX-License-Identifier: GPL-3.0-or-later
// The welcome window: one thing to do, the folders of before, and a way out.
#include "Clicks.h"
#include "platform/MainQueue.h"
#include "support/BusyPool.h"
#include "support/ByteFolder.h"
#include "support/EventWaiting.h"
#include "support/Keys.h"
#include "support/PictureFiles.h"
#include "welcome/WelcomeController.h"

#include <QAccessible>
#include <QApplication>
#include <QLabel>
#include <QListWidget>
#include <QMenuBar>
#include <QPushButton>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

namespace quorvane {

namespace {

struct Listener : WelcomeControllerDelegate {
    void openSelected() override { ++opens; }
    void recentSelected(int row) override { rows.push_back(row); }
    void welcomeClosedByHand() override { ++closes; }

    int opens = 0;
    int closes = 0;
    std::vector<int> rows;
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

const std::vector<QByteArray> kThree { "/pictures/Lofoten", "/pictures/Rome", "/home/me/Garden" };

/// Folders of these names are on no disk.
struct Recents : WelcomeWindow {
    ~Recents() override { settle(); }

    static void settle()
    {
        for (int round = 0; round < 2; ++round) {
            FolderStrips::drain();
            MainQueue::drain();
        }
    }

    QLabel& explanation() { return *window.findChild<QLabel*>(QStringLiteral("tableDescription")); }
    QListWidget& list() { return *window.findChild<QListWidget*>(); }

    void showActive()
    {
        tests::activate(window, [this] { window.showWindow(); });
    }
};

TEST_F(Recents, AreExplainedWhileThereAreNone)
{
    window.showWindow();

    EXPECT_EQ(window.numberOfRowsInTableView(), 0);
    EXPECT_TRUE(explanation().isVisible());
    EXPECT_FALSE(explanation().text().isEmpty());
    EXPECT_FALSE(list().isVisible());
}

TEST_F(Recents, HideTheExplanationAtTheFirstFolder)
{
    window.showWindow();

    window.loadRecents({ "/pictures/Rome" });

    EXPECT_FALSE(explanation().isVisible());
    EXPECT_TRUE(list().isVisible());
    EXPECT_EQ(list().count(), 1);
}

TEST_F(Recents, AreExplainedAgainWhenTheListIsCleared)
{
    window.loadRecents(kThree);
    window.showWindow();
    ASSERT_FALSE(explanation().isVisible());

    window.loadRecents({});

    EXPECT_TRUE(explanation().isVisible());
    EXPECT_FALSE(list().isVisible());
    EXPECT_EQ(list().count(), 0);
    EXPECT_EQ(window.numberOfRowsInTableView(), 0);
}

TEST_F(Recents, StandInTheListInTheirOrder)
{
    window.loadRecents({ "/old" });
    window.loadRecents(kThree);

    ASSERT_EQ(window.numberOfRowsInTableView(), 3);
    ASSERT_EQ(list().count(), 3);
    for (int row = 0; row < 3; ++row) {
        const QByteArray& path = kThree[static_cast<size_t>(row)];
        EXPECT_EQ(window.objectValueForTableColumn(row), path);
        EXPECT_EQ(list().item(row)->text(), QString::fromUtf8(path));
    }
}

TEST_F(Recents, ArePutIntoTheirCellsWhenAskedFor)
{
    window.loadRecents(kThree);
    list().item(1)->setText({});

    window.objectValueForTableColumn(1);

    EXPECT_EQ(list().item(1)->text(), QStringLiteral("/pictures/Rome"));
}

TEST_F(Recents, AreNotAskedForARowThatIsNotThere)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const char* const message = "WelcomeController:89: Invalid parameter not satisfying: "
                                "rowIndex >= 0 && rowIndex < .self.mRecents count.";
    window.loadRecents(kThree);

    for (const int row : { -1, 3 }) {
        EXPECT_EXIT(
            window.objectValueForTableColumn(row), testing::KilledBySignal(SIGABRT), message)
            << row;
    }
}

TEST_F(Recents, OpenWithOneClick)
{
    window.loadRecents(kThree);
    window.showWindow();

    tests::click(list(), tests::middleOf(list(), 1));

    EXPECT_THAT(listener.rows, testing::ElementsAre(1));
    EXPECT_EQ(listener.opens, 0);
    EXPECT_TRUE(window.isVisible());
}

TEST_F(Recents, TellOfAClickBelowTheLast)
{
    window.loadRecents(kThree);
    window.showWindow();
    window.resize(window.width(), window.height() + 200);
    QCoreApplication::processEvents();

    tests::click(list(), tests::belowLastRow(list()));

    EXPECT_THAT(listener.rows, testing::ElementsAre(-1));
}

TEST_F(Recents, OpenByTheKeyboardAlone)
{
    window.loadRecents(kThree);
    showActive();
    ASSERT_EQ(window.focusWidget(), window.findChild<QPushButton*>());

    tests::pressKey(window, Qt::Key_Tab);
    ASSERT_EQ(window.focusWidget(), &list());
    tests::pressKey(window, Qt::Key_Down);
    tests::pressKey(window, Qt::Key_Return);

    EXPECT_THAT(listener.rows, testing::ElementsAre(1));
    tests::pressKey(window, Qt::Key_Tab);
    EXPECT_EQ(window.focusWidget(), window.findChild<QPushButton*>()) << "and round again";
}

TEST_F(Recents, AreHeardByNobodyWhenNobodyListens)
{
    window.setDelegate(nullptr);
    window.loadRecents(kThree);
    window.showWindow();

    tests::click(list(), tests::middleOf(list(), 0));

    EXPECT_TRUE(listener.rows.empty());
}

TEST_F(Recents, KeepTheCurrentFolderWhereItGoes)
{
    window.loadRecents(kThree);
    list().setCurrentRow(1);

    window.loadRecents({ "/new", kThree[0], kThree[1] });
    EXPECT_EQ(list().currentRow(), 2);

    window.loadRecents({ "/new" });
    EXPECT_EQ(list().currentRow(), -1);
}

TEST_F(Recents, ReadAsTheirPathsToWhoDoesNotSee)
{
    window.loadRecents(kThree);
    window.showWindow();

    const QAccessibleInterface* const table = QAccessible::queryAccessibleInterface(&list());
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(table->role(), QAccessible::List);
    EXPECT_FALSE(table->text(QAccessible::Name).isEmpty());
    ASSERT_EQ(table->childCount(), 3);
    EXPECT_EQ(table->child(2)->role(), QAccessible::ListItem);
    EXPECT_EQ(table->child(2)->text(QAccessible::Name), QStringLiteral("/home/me/Garden"));
}

TEST_F(Recents, HaveAWindowWhereEverythingHasAName)
{
    window.loadRecents(kThree);
    window.showWindow();

    for (QWidget* const widget : window.findChildren<QWidget*>()) {
        if (!widget->isVisible() || widget->focusPolicy() == Qt::NoFocus)
            continue;
        const QAccessibleInterface* const read = QAccessible::queryAccessibleInterface(widget);
        EXPECT_FALSE(read->text(QAccessible::Name).isEmpty()) << widget->metaObject()->className();
    }
    const auto* const icon = window.findChild<QLabel*>(QStringLiteral("icon"));
    EXPECT_FALSE(icon->accessibleName().isEmpty());
}

TEST_F(Recents, SayThatAFolderIsGone)
{
    const tests::ByteFolder files;
    window.loadRecents({ files.path(), files.path("gone") });
    settle();

    const auto descriptionOf = [this](int row) {
        return list().item(row)->data(Qt::AccessibleDescriptionRole).toString();
    };
    EXPECT_EQ(descriptionOf(0), QString());
    EXPECT_EQ(descriptionOf(1), QStringLiteral("Not available"));
}

TEST_F(Recents, NeverBreakTheLayout)
{
    const std::vector<QByteArray> odd { QByteArray("/") + QByteArray(4000, 'x'),
        "/Bj\xF6rn\nand\r\nthe others\t", "/", "", "/<b>bold</b> & more" };
    window.loadRecents(kThree);
    const QSize usual = window.sizeHint();

    window.loadRecents(odd);
    window.showWindow();

    EXPECT_EQ(window.sizeHint().width(), usual.width());
    for (int row = 0; row < list().count(); ++row) {
        const QRect place = list().visualItemRect(list().item(row));
        EXPECT_LE(place.width(), list().viewport()->width()) << row;
        EXPECT_EQ(place.height(), list().visualItemRect(list().item(0)).height()) << row;
        EXPECT_FALSE(list().item(row)->text().contains(QLatin1Char('\n'))) << row;
    }
    EXPECT_EQ(window.objectValueForTableColumn(1), odd[1]) << "byte for byte";
}

TEST_F(Recents, ShowAWholePathThatIsNeverTakenForMarkup)
{
    window.loadRecents({ "/<b>bold</b> & more" });

    EXPECT_TRUE(
        list().item(0)->toolTip().contains(QStringLiteral("/&lt;b&gt;bold&lt;/b&gt; &amp; more")));
}

TEST_F(Recents, ShowThePicturesOfTheirFolders)
{
    const tests::ByteFolder files;
    files.file("a/1.png", tests::encoded(tests::solid(tests::kRed, { 80, 60 }), "png"));
    window.loadRecents({ files.path("a") });
    window.showWindow();
    const auto middleOfLastTile = [this] {
        const QRect row = list().visualItemRect(list().item(0));
        const QImage image = list().viewport()->grab().toImage();
        return image.pixel(row.right() - 14 - kTileSize.width() / 2, row.center().y());
    };
    ASSERT_FALSE(tests::isNearly(middleOfLastTile(), tests::kRed));

    settle();

    EXPECT_TRUE(tests::isNearly(middleOfLastTile(), tests::kRed));
}

TEST_F(Recents, AreDrawnAgainWhenMoreIsKnownOfAFolder)
{
    struct PaintCounter : QObject {
        bool eventFilter(QObject*, QEvent* event) override
        {
            paints += event->type() == QEvent::Paint ? 1 : 0;
            return false;
        }
        int paints = 0;
    } counter;
    const tests::Stop stop;
    WelcomeController other([stop](const QByteArray& folder) {
        stop.halt();
        return firstPicturesOf(folder);
    });
    other.loadRecents({ "/" });
    other.showWindow();
    QCoreApplication::processEvents();
    other.findChild<QListWidget*>()->viewport()->installEventFilter(&counter);

    stop.release();
    settle();
    QCoreApplication::processEvents();

    EXPECT_GT(counter.paints, 0);
}

TEST_F(Recents, LeaveDropsToTheWindow)
{
    window.loadRecents(kThree);

    EXPECT_FALSE(list().acceptDrops());
    EXPECT_FALSE(list().viewport()->acceptDrops());
}

TEST_F(Recents, FindRoomUnlessThePersonGaveTheWindowASize)
{
    window.showWindow();
    const QSize empty = window.size();
    window.closeWindow();
    window.loadRecents(kThree);
    window.showWindow();
    EXPECT_GT(window.width(), empty.width());
    EXPECT_GE(list().height(), 3 * list().sizeHintForRow(0));

    window.resize(900, 600);
    window.closeWindow();
    window.loadRecents({ "/one" });
    window.showWindow();

    EXPECT_EQ(window.size(), QSize(900, 600));
}

TEST_F(Recents, ScrollWhenThereAreMany)
{
    std::vector<QByteArray> ten;
    for (int i = 0; i < 10; ++i)
        ten.push_back("/pictures/" + QByteArray::number(i));

    window.loadRecents(ten);
    window.showWindow();

    EXPECT_LE(window.height(), window.screen()->availableSize().height());
    list().setCurrentRow(9);
    EXPECT_TRUE(list().viewport()->rect().contains(tests::middleOf(list(), 9)));
}

TEST_F(Recents, LeaveAPlaceForTheMenus)
{
    auto* const bar = new QMenuBar;
    bar->addMenu(QStringLiteral("File"));

    window.setMenuBar(bar);
    window.loadRecents(kThree);
    window.showWindow();

    EXPECT_EQ(bar->parentWidget(), &window);
    EXPECT_EQ(bar->y(), 0);
}

TEST_F(Recents, FollowTheDesktopsColours)
{
    QPalette dark;
    dark.setColor(QPalette::Window, Qt::black);
    dark.setColor(QPalette::WindowText, Qt::white);
    window.setPalette(dark);

    const int level = explanation().palette().color(QPalette::WindowText).red();
    EXPECT_GT(level, 120);
    EXPECT_LT(level, 255);
}

TEST_F(Recents, DoNotWaitForADiskThatNeverAnswers)
{
    const tests::Stop stop;
    {
        WelcomeController other([stop](const QByteArray& folder) {
            if (folder == "/dead")
                stop.halt();
            return firstPicturesOf(folder);
        });
        other.setDelegate(&listener);

        other.loadRecents({ "/dead", "/gone" });
        other.showWindow();
        stop.waitForArrival();

        auto& rows = *other.findChild<QListWidget*>();
        EXPECT_TRUE(other.isVisible());
        EXPECT_TRUE(tests::waitUntil([&] {
            return !rows.item(1)->data(Qt::AccessibleDescriptionRole).toString().isEmpty();
        })) << "another row";
        tests::click(rows, tests::middleOf(rows, 0));
        EXPECT_THAT(listener.rows, testing::ElementsAre(0));
    }
    stop.release(); // The window has not waited.
}

} // namespace

} // namespace quorvane
