// SPDX-License-Identifier: GPL-3.0-or-later
// Opening by the panel.
#include "support/ControllerTest.h"

#include <QStandardPaths>

namespace quorvane {

namespace {

using namespace tests;

using Panel = ControllerTest;

TEST_F(Panel, BeginsWithThePersonsPictures)
{
    const QString pictures = QStandardPaths::writableLocation(QStandardPaths::PicturesLocation);
    ASSERT_TRUE(QDir().mkpath(pictures));

    controller->openMenu();

    EXPECT_EQ(visibleWindow<OpenPanel>()->directory().absolutePath(), pictures);
}

TEST_F(Panel, BeginsWhereTheLastOneEnded)
{
    const QByteArray folder = path("").chopped(1);
    defaults.setValue(kLastUsedOpenDirectory, QString::fromLatin1(FileURL(folder).encoded()));

    controller->openMenu();

    EXPECT_EQ(QFile::encodeName(visibleWindow<OpenPanel>()->directory().absolutePath()), folder);
}

TEST_F(Panel, BeginsSomewhereWhereTheStoredAddressIsBad)
{
    for (const char* const address :
        { "no address", "http://elsewhere/x", "file:///nowhere/at/all" }) {
        defaults.setValue(kLastUsedOpenDirectory, QLatin1String(address));
        controller->openMenu();

        auto* const panel = visibleWindow<OpenPanel>();
        ASSERT_NE(panel, nullptr) << address;
        panel->reject();
        settle();
    }
}

TEST_F(Panel, ComesOnceAtATime)
{
    controller->openMenu();
    const auto* const panel = visibleWindow<OpenPanel>();

    controller->openMenu();

    EXPECT_EQ(visibleWindow<OpenPanel>(), panel);
    const auto windows = QApplication::topLevelWidgets();
    EXPECT_EQ(std::count_if(windows.begin(), windows.end(),
                  [](QWidget* window) { return qobject_cast<OpenPanel*>(window); }),
        1);
}

TEST_F(Panel, ComesAgainAfterItWasLeft)
{
    show123();
    controller->openMenu();
    visibleWindow<OpenPanel>()->reject();
    settle();
    EXPECT_EQ(visibleWindow<OpenPanel>(), nullptr);

    controller->openMenu();

    EXPECT_NE(visibleWindow<OpenPanel>(), nullptr);
}

TEST_F(Panel, ChangesNothingWhenItIsCancelled)
{
    play123(10);
    controller->openMenu();

    auto* const panel = visibleWindow<OpenPanel>();
    panel->setDirectory(QDir::rootPath());
    panel->reject();
    settle();

    EXPECT_TRUE(controller->isPlaying());
    EXPECT_EQ(controller->mFileSequence().count(), 3U);
    EXPECT_TRUE(screen.asked.empty());
    EXPECT_TRUE(defaults.stringValue(kLastUsedOpenDirectory).isEmpty());
    EXPECT_FALSE(isWelcomeVisible());
    EXPECT_EQ(nothingLeft, 0);
}

TEST_F(Panel, EndsTheOldShowAndStartsTheNewOneWithWhatWasChosen)
{
    play123(10);
    const PictureFiles others;
    others.write("8.png", QByteArray());
    others.write("9.png", QByteArray());
    const QByteArray folder = others.url("").path().chopped(1);
    controller->openMenu();

    auto* const panel = visibleWindow<OpenPanel>();
    panel->setDirectory(QFile::decodeName(folder));
    panel->accept();
    EXPECT_EQ(screen.clears, 1);
    EXPECT_EQ(controller->mScreenWindow(), nullptr);
    settle();

    EXPECT_EQ(controller->mFileSequence().count(), 2U);
    EXPECT_EQ(screen.asked, Names({ "8.png>" }));
    EXPECT_FALSE(controller->isPlaying());
    EXPECT_FALSE(isWelcomeVisible());
    EXPECT_EQ(nothingLeft, 0);
    EXPECT_EQ(defaults.stringValue(kLastUsedOpenDirectory),
        QString::fromLatin1(FileURL(folder).encoded()));
}

TEST_F(Panel, KeepsWhatAccompaniesAPhotograph)
{
    write({ "1.jpg", "1.png" });
    controller->openMenu();

    auto* const panel = visibleWindow<OpenPanel>();
    panel->setDirectory(QFile::decodeName(path("").chopped(1)));
    panel->accept();
    settle();

    EXPECT_EQ(controller->mFileSequence().count(), 2U);
}

TEST_F(Panel, TakesTheWelcomeWindowAwayWithTheFirstSlide)
{
    write({ "1.png" });
    controller->ShowWelcomeScreen();
    controller->openSelected();

    auto* const panel = visibleWindow<OpenPanel>();
    panel->setDirectory(QFile::decodeName(path("").chopped(1)));
    panel->accept();
    EXPECT_TRUE(isWelcomeVisible());
    settle();

    EXPECT_FALSE(isWelcomeVisible());
    EXPECT_EQ(screen.shown, "1.png");
}

TEST_F(Panel, GreetsAgainWhenNothingChosenCanBeShown)
{
    show123();
    const PictureFiles empty;
    controller->openMenu();

    auto* const panel = visibleWindow<OpenPanel>();
    panel->setDirectory(QFile::decodeName(empty.url("").path()));
    panel->accept();
    settle();

    EXPECT_TRUE(isWelcomeVisible());
    EXPECT_EQ(controller->mScreenWindow(), nullptr);
}

TEST_F(Panel, StaysWhenTheShowUnderItEnds)
{
    defaults.setValue(kEndMode, QString(kEndModeClose));
    show({ "1.png" });
    controller->Start();
    controller->openMenu();

    clock.advance(seconds(5));
    settle();

    ASSERT_EQ(controller->mScreenWindow(), nullptr);
    auto* const panel = visibleWindow<OpenPanel>();
    ASSERT_NE(panel, nullptr);
    EXPECT_FALSE(isWelcomeVisible());
    EXPECT_EQ(nothingLeft, 0);
    panel->setDirectory(QFile::decodeName(path("").chopped(1)));
    panel->accept();
    settle();
    EXPECT_EQ(screen.shown, "1.png");
}

TEST_F(Panel, CancelledAfterTheShowUnderItEndedGreets)
{
    show123();
    controller->openMenu();
    controller->endSlideShow();
    settle();

    visibleWindow<OpenPanel>()->reject();
    settle();

    EXPECT_TRUE(isWelcomeVisible());
    EXPECT_EQ(nothingLeft, 0);
}

TEST_F(Panel, CancelledAfterTheWelcomeWindowWasClosedLeavesNothing)
{
    controller->ShowWelcomeScreen();
    controller->openSelected();
    visibleWindow<WelcomeController>()->close();
    ASSERT_EQ(nothingLeft, 0);

    visibleWindow<OpenPanel>()->reject();
    settle();

    EXPECT_EQ(nothingLeft, 1);
    EXPECT_FALSE(isWelcomeVisible());
}

TEST_F(Panel, CancelledBesideTheWelcomeWindowLeavesIt)
{
    defaults.setValue(kShowWelcome, false);
    controller->ShowWelcomeScreen();
    controller->openSelected();

    visibleWindow<OpenPanel>()->reject();
    settle();

    EXPECT_TRUE(isWelcomeVisible());
    EXPECT_EQ(nothingLeft, 0);
}

} // namespace

} // namespace quorvane
