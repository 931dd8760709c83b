// SPDX-License-Identifier: GPL-3.0-or-later
// The show on one of two screens: LEFT, the main one, 1280x720, and RIGHT beside it, 1024x768.
#include "app/ScreenChooser.h"
#include "support/ControllerTest.h"

#include <QAction>
#include <QMouseEvent>

namespace quorvane {

namespace {

using namespace tests;

const QString kRightRect = QStringLiteral("{{1280, 0}, {1024, 768}}");

struct Screens : ControllerTest {
    QScreen* const left = QGuiApplication::screens().at(0);
    QScreen* const right = QGuiApplication::screens().at(1);

    /// A controller that starts with this stored.
    void startWith(const QString& stored)
    {
        defaults.setValue(kScreenRect, stored);
        makeController([this] { return screen.makeDisplay(); });
        controller->awakeFromNib();
    }

    QScreen* screenInUse() const { return controller->currentScreen(); }
    SlideWindow& window() const { return *controller->mScreenWindow(); }
    QString stored() const { return defaults.stringValue(kScreenRect); }

    ScreenChooser& choose() const
    {
        controller->ShowChooseScreen();
        return *visibleWindow<ScreenChooser>();
    }
};

TEST_F(Screens, TheMainOneIsUsedWhenNoneWasChosen) { EXPECT_EQ(screenInUse(), left); }

TEST_F(Screens, TheOneOfLastTimeIsUsedAgain)
{
    startWith(kRightRect);
    EXPECT_EQ(screenInUse(), right);

    show123();
    EXPECT_EQ(window().geometry(), right->geometry());
    EXPECT_TRUE(window().isFullScreen());
}

TEST_F(Screens, OneThatIsNotThereAnyMoreGivesWayToTheMainOne)
{
    for (const char* const text : { "{{1280, 0}, {1024, 767}}", "{{1281, 0}, {1024, 768}}",
             "garbage", "{{0, 0}, {0, 0}}", "{{nan, inf}, {1e999, -1}}" }) {
        startWith(QLatin1String(text));
        EXPECT_EQ(screenInUse(), left) << text;
    }
}

TEST_F(Screens, InAFrameTheShowTakesTheLowerLeftQuarter)
{
    startWith(kRightRect);
    show123();

    controller->WindowMode();

    EXPECT_TRUE(controller->isInWindowMode());
    EXPECT_FALSE(window().isFullScreen());
    QCoreApplication::processEvents();
    EXPECT_EQ(window().frameGeometry(), QRect(1280, 384, 512, 384));
    EXPECT_TRUE(window().findChild<QWidget*>(QStringLiteral("qt_menubar_ext_button")) != nullptr);
}

TEST_F(Screens, FromItsFrameTheShowCoversTheScreenItWasMovedTo)
{
    show123();
    controller->WindowMode();
    window().move(1400, 100);
    QCoreApplication::processEvents();
    ASSERT_EQ(window().screen(), right);

    controller->FullScreen();
    EXPECT_EQ(stored(), QString()) << "not before the desktop has moved it";
    settle();

    EXPECT_EQ(screenInUse(), right);
    EXPECT_EQ(window().geometry(), right->geometry());
    EXPECT_EQ(stored(), kRightRect);
    EXPECT_FALSE(controller->isInWindowMode());
}

TEST_F(Screens, FromItsFrameTheShowCoversTheSameScreenAndStoresNothing)
{
    show123();
    controller->WindowMode();
    QCoreApplication::processEvents();
    ASSERT_EQ(window().frameGeometry(), QRect(0, 360, 640, 360));
    window().move(20, 340);
    ASSERT_EQ(window().screen(), left);
    controller->FullScreen();
    settle();

    EXPECT_EQ(window().geometry(), left->geometry());
    EXPECT_EQ(stored(), QString());
}

TEST_F(Screens, ChosenForARunningShowTakesItOver)
{
    show123();
    controller->nextSlide();
    screen.forget();
    auto& chooser = choose();
    chooser.findChild<ScreenMap*>()->mark(right);

    Q_EMIT chooser.chosen();
    settle();

    EXPECT_FALSE(chooser.isVisible());
    EXPECT_EQ(window().geometry(), right->geometry());
    EXPECT_EQ(screen.asked, Names({ "2.png>" }));
    EXPECT_EQ(stored(), kRightRect);
}

TEST_F(Screens, ChosenWithoutAShowIsKeptForTheNext)
{
    auto& chooser = choose();
    chooser.findChild<ScreenMap*>()->mark(right);
    Q_EMIT chooser.chosen();
    settle();

    EXPECT_FALSE(controller->mScreenWindow());
    EXPECT_EQ(stored(), kRightRect);
    show123();
    EXPECT_EQ(window().geometry(), right->geometry());
}

TEST_F(Screens, AreChosenByDraggingTheWindowThere)
{
    auto& chooser = choose();
    EXPECT_EQ(chooser.chosenScreen(), left);
    chooser.move(1500, 100);
    QCoreApplication::processEvents();
    EXPECT_EQ(chooser.chosenScreen(), right);
}

TEST_F(Screens, AreChosenByAClickOnTheirPicture)
{
    auto& map = *choose().findChild<ScreenMap*>();
    const QPointF place = map.placeOf(*right).center();
    QMouseEvent press(QEvent::MouseButtonPress, place, map.mapToGlobal(place), Qt::LeftButton,
        Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&map, &press);
    EXPECT_EQ(map.marked(), right);
}

/// Also where everything is drawn twice as large.
using ScreensOnTheMap = Screens;

TEST_F(ScreensOnTheMap, LieBesideEachOtherAsTheyDo)
{
    const auto& map = *choose().findChild<ScreenMap*>();
    const QRectF first = map.placeOf(*left);
    const QRectF second = map.placeOf(*right);

    EXPECT_NEAR(first.right(), second.left(), 10);
    EXPECT_LT(first.right(), second.left());
    EXPECT_NEAR(first.top(), second.top(), 1);
    EXPECT_GT(first.height(), first.width() / 2);
    EXPECT_LT(first.height(), second.height());
    EXPECT_TRUE(QRectF(map.rect()).contains(first | second));
}

TEST_F(Screens, AreChosenByTheArrowKeysToo)
{
    auto& map = *choose().findChild<ScreenMap*>();
    const auto key = [&](Qt::Key which) {
        QKeyEvent press(QEvent::KeyPress, which, Qt::NoModifier);
        QCoreApplication::sendEvent(&map, &press);
    };
    key(Qt::Key_Right);
    EXPECT_EQ(map.marked(), right);
    key(Qt::Key_Right);
    EXPECT_EQ(map.marked(), left) << "round and round";
    key(Qt::Key_Left);
    EXPECT_EQ(map.marked(), right);
    key(Qt::Key_Return);
    settle();
    EXPECT_EQ(screenInUse(), right);
}

TEST_F(Screens, ChooserIsLeftByEscapeAndNothingChanges)
{
    auto& chooser = choose();
    QKeyEvent press(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
    QCoreApplication::sendEvent(&chooser, &press);
    EXPECT_FALSE(chooser.isVisible());
    EXPECT_EQ(screenInUse(), left);
}

TEST_F(Screens, TheShowInAFrameCoversItsScreenWhenTheProgramBecomesActiveAgain)
{
    show123();
    controller->WindowMode();
    controller->applicationWillBecomeActive();
    settle();

    EXPECT_FALSE(controller->isInWindowMode());
    EXPECT_TRUE(window().isFullScreen());
    EXPECT_EQ(window().geometry(), left->geometry());
}

TEST_F(Screens, PictureOfThemLiesAsTheyDo)
{
    auto& map = *choose().findChild<ScreenMap*>();
    map.resize(380, 180);
    EXPECT_LT(map.placeOf(*left).right(), map.placeOf(*right).left());
    EXPECT_GT(map.placeOf(*left).width(), map.placeOf(*right).width());
    EXPECT_TRUE(QRectF(map.rect()).contains(map.placeOf(*right)));
}

} // namespace

} // namespace quorvane
