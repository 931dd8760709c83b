// SPDX-License-Identifier: GPL-3.0-or-later
// The menus, and the commands that are in no other test.
#include "app/Menus.h"
#include "app/SlideLabel.h"
#include "support/ControllerTest.h"
#include "support/Keys.h"

#include <QAction>
#include <QClipboard>
#include <QDoubleSpinBox>
#include <QMenu>
#include <QMenuBar>

#include <ostream>

namespace quorvane {

namespace {

using namespace tests;

struct MenuTest : ControllerTest {
    MenuItemState state(const char* command) const
    {
        return controller->validateMenuItem(QLatin1String(command));
    }
    bool isEnabled(const char* command) const { return state(command).isEnabled; }
    bool isChecked(const char* command) const { return state(command).isChecked.value_or(false); }

    SlideWindow& window() const { return *controller->mScreenWindow(); }
    QAction* item(const char* command) const
    {
        for (QAction* const action : window().actions())
            if (action->objectName() == QLatin1String(command))
                return action;
        return nullptr;
    }
    SlideLabel* label() const { return window().findChild<SlideLabel*>(); }
};

using Items = MenuTest;
using Menu = MenuTest;
using Label = MenuTest;
using Copying = MenuTest;
using Trashing = MenuTest;
using OpeningElsewhere = MenuTest;
using Shuffling = MenuTest;
using Controls = MenuTest;

TEST_F(Items, ThatNeedSlidesAreDisabledWithoutThem)
{
    for (const char* const command : { "Play", "nextSlide", "previousSlide", "firstSlide" }) {
        EXPECT_FALSE(isEnabled(command)) << command;
        EXPECT_FALSE(state(command).title) << "it keeps the title it had";
    }
    show123();
    for (const char* const command : { "Play", "nextSlide", "previousSlide", "firstSlide" })
        EXPECT_TRUE(isEnabled(command)) << command;
}

TEST_F(Items, ForPlayingSayWhatTheyWillDo)
{
    show123();
    EXPECT_EQ(state("Play").title, QStringLiteral("Start Slideshow"));
    controller->Play();
    EXPECT_EQ(state("Play").title, QStringLiteral("Stop Slideshow"));
    EXPECT_TRUE(isEnabled("Play"));
}

TEST_F(Items, ForTheControlsSayWhatTheyWillDo)
{
    EXPECT_EQ(state("ShowControls").title, QStringLiteral("Show Controls"));
    controller->ShowControls();
    EXPECT_EQ(state("ShowControls").title, QStringLiteral("Hide Controls"));
    EXPECT_TRUE(isEnabled("ShowControls"));
}

TEST_F(Items, ForTheFitModesAreCheckedOneAtATime)
{
    const std::pair<const char*, QLatin1String> rows[] { { "ShrinkToFit", kFitModeFit },
        { "ZoomToFit", kFitModeZoom }, { "FillScreen", kFitModeFill },
        { "Stretch", kFitModeStretch } };
    for (const auto& [chosen, mode] : rows) {
        defaults.setValue(kImageFitMode, QString(mode));
        for (const auto& [command, other] : rows) {
            EXPECT_EQ(isChecked(command), command == chosen) << command << " under " << chosen;
            EXPECT_TRUE(isEnabled(command));
        }
    }
}

TEST_F(Items, ForTheLabelAreCheckedBySettings)
{
    for (const auto& [command, key] :
        { std::pair("ShowFilePath", kShowFilePath), std::pair("ShowFileName", kShowFileName) }) {
        EXPECT_FALSE(isChecked(command));
        defaults.setValue(key, true);
        EXPECT_TRUE(isChecked(command));
        EXPECT_TRUE(isEnabled(command));
    }
}

TEST_F(Items, ForFullScreenAreEnabledInWindowModeOnly)
{
    EXPECT_FALSE(isEnabled("FullScreen"));
    show123();
    EXPECT_FALSE(isEnabled("FullScreen"));

    controller->WindowMode();
    EXPECT_TRUE(isEnabled("FullScreen"));

    window().showFullScreen(); // By the desktop, not by us.
    EXPECT_FALSE(isEnabled("FullScreen"));
    window().showNormal();

    controller->FullScreen();
    EXPECT_FALSE(isEnabled("FullScreen"));
}

TEST_F(Items, OfAllOtherCommandsAreEnabledWithoutAShow)
{
    for (const char* const command : { "openMenu", "ShowWelcomeScreen", "openSlide", "CopyFilePath",
             "trashSlide", "cancel", "quit", "shuffle", "ZoomIn", "ZoomOne", "ZoomOff",
             "WindowMode", "ShowChooseScreen", "showHelp" })
        EXPECT_TRUE(isEnabled(command)) << command;
}

// Where they are.

QStringList texts(const QMenu& menu)
{
    QStringList texts;
    for (const QAction* const action : menu.actions())
        texts << action->text().remove(QLatin1Char('&'));
    return texts;
}

TEST_F(Menu, OfEveryBarIsTheSame)
{
    controller->ShowWelcomeScreen();
    controller->ShowControls();
    const auto* const welcome = visibleWindow<WelcomeController>()->findChild<QMenuBar*>();
    const auto* const panel = visibleWindow<ControlPanel>()->findChild<QMenuBar*>();
    show123();
    const auto* const show = window().findChild<QMenuBar*>();

    ASSERT_TRUE(welcome && panel && show);
    EXPECT_EQ(show->actions().size(), 5);
    EXPECT_EQ(show->actions(), welcome->actions());
    EXPECT_EQ(show->actions(), panel->actions());
}

TEST_F(Menu, IsBroughtUpToDateWhenItOpens)
{
    show123();
    const auto* const bar = window().findChild<QMenuBar*>();
    QMenu& slideshow = *bar->actions().at(1)->menu();
    EXPECT_TRUE(texts(slideshow).contains(QStringLiteral("Start Slideshow")));

    controller->Play();
    Q_EMIT slideshow.aboutToShow();
    EXPECT_TRUE(texts(slideshow).contains(QStringLiteral("Stop Slideshow")));
}

TEST_F(Menu, ItemIsBroughtUpToDateBeforeItsKeyActs)
{
    show123();
    EXPECT_TRUE(item("FullScreen")->shortcuts().isEmpty());
    controller->WindowMode();

    QKeyEvent before(QEvent::ShortcutOverride, Qt::Key_F11, Qt::NoModifier);
    QCoreApplication::sendEvent(&window(), &before);
    EXPECT_EQ(item("FullScreen")->shortcut(), QKeySequence(Qt::Key_F11));
    EXPECT_TRUE(item("WindowMode")->shortcuts().isEmpty());
}

TEST_F(Menu, KeysWorkInTheWelcomeWindowToo)
{
    controller->ShowWelcomeScreen();
    auto& welcome = *visibleWindow<WelcomeController>();
    activate(welcome, [] {});

    pressKey(welcome, Qt::Key_K, Qt::ControlModifier);
    EXPECT_TRUE(isPanelVisible());
    activate(welcome, [] {});
    pressKey(welcome, Qt::Key_Q, Qt::ControlModifier);
    EXPECT_EQ(nothingLeft, 1);
    pressKey(welcome, Qt::Key_O, Qt::ControlModifier);
    EXPECT_TRUE(visibleWindow<OpenPanel>());
}

TEST_F(Menu, ItemsThatNeedSlidesLeaveTheirKeysAloneInTheWelcomeWindow)
{
    show123();
    controller->endSlideShow();
    settle();
    auto& welcome = *visibleWindow<WelcomeController>();
    QKeyEvent before(QEvent::ShortcutOverride, Qt::Key_Right, Qt::NoModifier);
    QCoreApplication::sendEvent(&welcome, &before);

    const auto items = welcome.findChild<QMenuBar*>()->actions().at(1)->menu()->actions();
    const auto next = std::find_if(items.begin(), items.end(),
        [](const QAction* each) { return each->objectName() == QLatin1String("nextSlide"); });
    ASSERT_NE(next, items.end());
    EXPECT_FALSE((*next)->isEnabled());
}

TEST_F(Menu, TitlesAndKeysAreForEachCommand)
{
    show123();
    const std::pair<const char*, const char*> rows[] { { "nextSlide", "Right; PgDown" },
        { "previousSlide", "Left; PgUp" }, { "firstSlide", "Home" }, { "cancel", "Esc" },
        { "openMenu", "Ctrl+O" }, { "CopyFilePath", "Ctrl+C" }, { "trashSlide", "Del" },
        { "showHelp", "F1" }, { "quit", "Ctrl+Q" }, { "ZoomOff", "Ctrl+0" },
        { "ZoomOne", "Ctrl+1" }, { "ZoomIn", "Ctrl++; Ctrl+=" }, { "WindowMode", "F11" } };
    for (const auto& [command, keys] : rows) {
        ASSERT_TRUE(item(command)) << command;
        EXPECT_EQ(QKeySequence::listToString(item(command)->shortcuts()), QLatin1String(keys));
    }
}

TEST_F(Menu, KeepsACheckMarkThatWasClickedTwice)
{
    show123();
    item("ZoomToFit")->trigger();
    EXPECT_TRUE(item("ZoomToFit")->isChecked());
    item("ZoomToFit")->trigger();
    EXPECT_TRUE(item("ZoomToFit")->isChecked()) << "what is set stays set";
}

// The label.

TEST_F(Label, IsThereOnlyWhenItIsWanted)
{
    show123();
    EXPECT_FALSE(label());

    controller->ShowFileName();
    ASSERT_TRUE(label());
    EXPECT_TRUE(label()->isVisible());
    EXPECT_EQ(label()->text(), QStringLiteral("1"));

    controller->ShowFileName();
    EXPECT_FALSE(label()->isVisible());
    EXPECT_EQ(label()->text(), QString());
}

TEST_F(Label, ShowsThePathOrTheNameButNeverBoth)
{
    show123();
    controller->ShowFilePath();
    EXPECT_EQ(label()->text(), QFile::decodeName(path("1.png")));

    controller->ShowFileName();
    EXPECT_FALSE(defaults.boolValue(kShowFilePath));
    EXPECT_EQ(label()->text(), QStringLiteral("1"));

    controller->ShowFilePath();
    EXPECT_FALSE(defaults.boolValue(kShowFileName));

    defaults.setValue(kShowFileName, true); // By other means.
    controller->nextSlide();
    EXPECT_EQ(label()->text(), QFile::decodeName(path("2.png"))) << "the path wins";
}

TEST_F(Label, FollowsTheSlidesAndTheLowerLeftCorner)
{
    defaults.setValue(kShowFileName, true);
    show123();
    EXPECT_EQ(label()->text(), QStringLiteral("1"));
    controller->nextSlide();
    EXPECT_EQ(label()->text(), QStringLiteral("2"));

    QWidget& display = *label()->parentWidget();
    display.resize(300, 200);
    EXPECT_EQ(label()->geometry().bottomLeft(), QPoint(0, 199));
    EXPECT_EQ(label()->font().pixelSize(), 24);
}

TEST_F(Label, HoldsTheNextSlideBack)
{
    play123(1);
    controller->ShowFileName();
    clock.advance(std::chrono::seconds(4));
    EXPECT_EQ(current(), "1.png");
}

TEST_F(Label, ShowsTextAsItIsAndCutsWhatIsTooLong)
{
    defaults.setValue(kShowFileName, true);
    const std::string name = "<b>" + std::string(200, 'x') + ".png";
    show({ name.c_str() });
    label()->parentWidget()->resize(300, 200);
    EXPECT_LE(label()->width(), 300);
    EXPECT_TRUE(label()->text().startsWith(QStringLiteral("<b>")));
}

TEST_F(Label, IsNotShownForTheHints)
{
    defaults.setValue(kShowFileName, true);
    defaults.setValue(kHintsShown, false);
    show123();
    EXPECT_FALSE(label() && label()->isVisible());
}

// Copying the path.

TEST_F(Copying, PutsThePathOnTheClipboard)
{
    show123();
    controller->CopyFilePath();
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QFile::decodeName(path("1.png")));
}

TEST_F(Copying, WithoutASlideLeavesTheClipboardAlone)
{
    QGuiApplication::clipboard()->setText(QStringLiteral("before"));
    controller->CopyFilePath();
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("before"));
}

// Opening in another application.

TEST_F(OpeningElsewhere, HandsTheSlideAndTheChosenApplicationOver)
{
    play123(5);
    controller->openSlide();
    defaults.setValue(kImageEditorPath, QStringLiteral("/usr/bin/editor"));
    controller->openSlide();

    EXPECT_EQ(opened, Names({ "1.png by ", "1.png by /usr/bin/editor" }));
    EXPECT_TRUE(controller->isPlaying()) << "the show goes on";
}

TEST_F(OpeningElsewhere, WithoutASlideDoesNothing)
{
    controller->openSlide();
    EXPECT_TRUE(opened.empty());
}

// Another order.

TEST_F(Shuffling, BeginsWithTheFirstSlideOfTheNewOrder)
{
    show123();
    controller->nextSlide();
    screen.forget();

    controller->shuffle();
    ASSERT_EQ(screen.asked.size(), 1U);
    EXPECT_EQ(screen.asked.front(), nameOf(*controller->mFileSequence().current()) + '<');
    EXPECT_EQ(controller->mFileSequence().currentIndex(), 0U);
}

TEST_F(Shuffling, SortsAgainWhenTheOrderChanges)
{
    show123();
    controller->nextSlide();
    controller->shuffle();
    controller->sortOrderChanged();
    EXPECT_EQ(current(), "1.png");
}

// The panel.

TEST_F(Controls, ComeAndGoByTheirCommand)
{
    controller->ShowControls();
    EXPECT_TRUE(isPanelVisible());
    controller->ShowControls();
    EXPECT_FALSE(isPanelVisible());
}

TEST_F(Controls, SteerTheShow)
{
    show123();
    controller->ShowControls();
    auto* const panel = visibleWindow<ControlPanel>();

    Q_EMIT panel->nextWanted();
    EXPECT_EQ(current(), "2.png");
    Q_EMIT panel->previousWanted();
    EXPECT_EQ(current(), "1.png");
    Q_EMIT panel->playWanted();
    EXPECT_TRUE(controller->isPlaying());
    Q_EMIT panel->intervalChosen(7.5);
    EXPECT_EQ(defaults.floatValue(kSlideInterval), 7.5);
}

TEST_F(Controls, FollowTheShow)
{
    controller->ShowControls();
    auto* const panel = visibleWindow<ControlPanel>();
    auto* const play = panel->findChild<QWidget*>(QStringLiteral("play"));
    EXPECT_FALSE(play->isEnabled());

    show123();
    EXPECT_TRUE(play->isEnabled());
    EXPECT_EQ(play->accessibleName(), QStringLiteral("Start Slideshow"));
    controller->Play();
    EXPECT_EQ(play->accessibleName(), QStringLiteral("Stop Slideshow"));

    defaults.setValue(kSlideInterval, 9.0);
    EXPECT_EQ(panel->findChild<QDoubleSpinBox*>(QStringLiteral("interval"))->value(), 9.0);

    controller->endSlideShow();
    settle();
    EXPECT_FALSE(play->isEnabled());
}

TEST_F(Controls, ClosedWithoutAShowLeaveNothing)
{
    controller->ShowControls();
    visibleWindow<ControlPanel>()->close();
    EXPECT_EQ(nothingLeft, 1);
}

TEST_F(Controls, ClosedDuringAShowOrBesideTheWelcomeWindowLeaveThem)
{
    show123();
    controller->ShowControls();
    visibleWindow<ControlPanel>()->close();
    EXPECT_EQ(nothingLeft, 0);

    controller->endSlideShow();
    settle();
    ASSERT_TRUE(isWelcomeVisible());
    controller->ShowControls();
    visibleWindow<ControlPanel>()->close();
    EXPECT_EQ(nothingLeft, 0);
}

// Trash. Files go to a trash in the test's own home.

TEST_F(Trashing, ShowsTheSlideThatTakesThePlace)
{
    show123();
    controller->trashSlide();
    settle();

    EXPECT_EQ(current(), "2.png");
    EXPECT_EQ(screen.asked, Names({ "2.png>" }));
    EXPECT_EQ(controller->mFileSequence().count(), 2U);
    EXPECT_FALSE(QFile::exists(QFile::decodeName(path("1.png"))));
}

TEST_F(Trashing, TheOnlySlideEndsTheShow)
{
    show({ "1.png" });
    controller->trashSlide();
    settle();

    EXPECT_FALSE(controller->mScreenWindow());
    EXPECT_TRUE(isWelcomeVisible());
}

TEST_F(Trashing, ThatFailsChangesNothing)
{
    show123();
    QFile::remove(QFile::decodeName(path("1.png"))); // What is gone cannot be moved.
    controller->trashSlide();
    settle();

    EXPECT_EQ(current(), "1.png");
    EXPECT_EQ(controller->mFileSequence().count(), 3U);
    EXPECT_TRUE(screen.asked.empty());
}

TEST_F(Trashing, MeansTheSlideThatWasShownWhenTheKeyWasPressed)
{
    show123();
    controller->trashSlide();
    controller->nextSlide(); // Before the disk has answered.
    settle();

    EXPECT_EQ(current(), "2.png");
    EXPECT_EQ(screen.asked, Names({ "2.png>" })) << "no second step";
    EXPECT_TRUE(QFile::exists(QFile::decodeName(path("2.png"))));
    EXPECT_FALSE(QFile::exists(QFile::decodeName(path("1.png"))));
}

TEST_F(Trashing, WithoutASlideDoesNothing)
{
    controller->trashSlide();
    settle();
    EXPECT_FALSE(controller->mScreenWindow());
}

// The display stays awake.

TEST_F(MenuTest, DisplayIsKeptAwakeWhileTheShowIsTheActiveWindow)
{
    EXPECT_FALSE(isAwake);
    show123();
    activate(window(), [] {});
    EXPECT_TRUE(isAwake);

    controller->endSlideShow();
    EXPECT_FALSE(isAwake);
}

} // namespace

} // namespace quorvane
