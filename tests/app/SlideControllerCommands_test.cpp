// SPDX-License-Identifier: GPL-3.0-or-later
// The keyboard, and the commands behind it.
#include "support/ControllerTest.h"
#include "support/Keys.h"

#include <QAction>

#include <ostream>

namespace quorvane {

namespace {

using namespace std::chrono_literals;

using namespace tests;

using KeyDown = ControllerTest;
using Commands = ControllerTest;

// Keys that no command answers.

struct TypedText {
    const char* name;
    QString text;
    int key;
};

void PrintTo(const TypedText& row, std::ostream* stream) { *stream << row.name; }

struct StoppingKey : ControllerTest, testing::WithParamInterface<TypedText> { };

TEST_P(StoppingKey, StopsTheShowAndIsPassedOn)
{
    play123(10);

    EXPECT_FALSE(controller->keyDown(GetParam().text, GetParam().key));

    EXPECT_FALSE(controller->isPlaying());
    EXPECT_TRUE(screen.asked.empty());
    EXPECT_EQ(defaults.floatValue(kSlideInterval), 10.0);
}

INSTANTIATE_TEST_SUITE_P(Keys, StoppingKey,
    testing::Values(TypedText { "zero", QStringLiteral("0"), Qt::Key_0 },
        TypedText { "letter", QStringLiteral("a"), Qt::Key_A },
        TypedText { "capital", QStringLiteral("X"), Qt::Key_X },
        TypedText { "punctuation", QStringLiteral(","), Qt::Key_Comma },
        TypedText { "minusAlone", QStringLiteral("-"), Qt::Key_Minus },
        TypedText { "minusZero", QStringLiteral("-0"), Qt::Key_0 },
        TypedText { "letterBeforeDigit", QStringLiteral("a5"), Qt::Key_A },
        TypedText { "fraction", QStringLiteral("0.9"), Qt::Key_0 },
        TypedText { "nothing", QString(), Qt::Key_Dead_Acute },
        TypedText { "arrow", QString(), Qt::Key_Up },
        TypedText { "functionKey", QString(), Qt::Key_F5 },
        TypedText { "privateCharacter", QString(QChar(0xf700)), Qt::Key_Up },
        TypedText { "tab", QStringLiteral("\t"), Qt::Key_Tab },
        TypedText { "digitOfAnotherScript", QString(QChar(0x0663)), 0x0663 }),
    [](const auto& test) { return test.param.name; });

struct TypedNumber {
    const char* name;
    QString text;
    double interval;
};

void PrintTo(const TypedNumber& row, std::ostream* stream) { *stream << row.name; }

struct NumberKey : ControllerTest, testing::WithParamInterface<TypedNumber> { };

TEST_P(NumberKey, SetsTheIntervalStartsTheShowAndIsPassedOn)
{
    show123();

    EXPECT_FALSE(controller->keyDown(GetParam().text, Qt::Key_1));

    EXPECT_EQ(defaults.value(kSlideInterval).typeId(), QMetaType::Double);
    EXPECT_EQ(defaults.floatValue(kSlideInterval), GetParam().interval);
    EXPECT_EQ(controller->mSlideTime(), GetParam().interval);
    EXPECT_TRUE(controller->isPlaying());
    EXPECT_TRUE(screen.asked.empty());
    const auto period = durationFromSeconds(GetParam().interval);
    clock.advance(period - milliseconds(1));
    EXPECT_TRUE(screen.asked.empty());
    clock.advance(milliseconds(1));
    EXPECT_EQ(screen.asked, Names({ "2.png>" }));
}

INSTANTIATE_TEST_SUITE_P(Keys, NumberKey,
    testing::Values(TypedNumber { "one", QStringLiteral("1"), 1 },
        TypedNumber { "five", QStringLiteral("5"), 5 },
        TypedNumber { "nine", QStringLiteral("9"), 9 },
        TypedNumber { "two", QStringLiteral("2b"), 2 },
        TypedNumber { "twelve", QStringLiteral("12"), 12 },
        TypedNumber { "seven", QStringLiteral(" +7x"), 7 }),
    [](const auto& test) { return test.param.name; });

TEST_F(KeyDown, OfANegativeNumberDoesNothing)
{
    show123();

    EXPECT_FALSE(controller->keyDown(QStringLiteral("-3"), Qt::Key_3));
    EXPECT_FALSE(controller->isPlaying());
    controller->Start();
    EXPECT_FALSE(controller->keyDown(QStringLiteral("-3"), Qt::Key_3));

    EXPECT_TRUE(controller->isPlaying());
    EXPECT_EQ(defaults.floatValue(kSlideInterval), 5.0);
}

TEST_F(KeyDown, OfANumberTellsWhoObservesTheIntervalBeforeTheStart)
{
    show123();
    std::vector<bool> wasPlaying;
    const auto ticket
        = defaults.observe(kSlideInterval, [&] { wasPlaying.push_back(controller->isPlaying()); });

    controller->keyDown(QStringLiteral("5"), Qt::Key_5);

    EXPECT_EQ(wasPlaying, std::vector({ false }));
}

TEST_F(KeyDown, OfANumberCountsTheTimeThatTheSlideHasBeenThere)
{
    play123(9);
    clock.advance(seconds(6));

    controller->keyDown(QStringLiteral("8"), Qt::Key_8);
    EXPECT_TRUE(screen.asked.empty());
    clock.advance(seconds(1));
    EXPECT_TRUE(screen.asked.empty());
    controller->keyDown(QStringLiteral("4"), Qt::Key_4);

    EXPECT_EQ(screen.asked, Names({ "2.png>" }));
    EXPECT_EQ(playing, std::vector({ true }));
}

TEST_F(KeyDown, OfSpaceStopsTheShowAndStepsOnce)
{
    play123(10);

    EXPECT_TRUE(controller->keyDown(QStringLiteral(" "), Qt::Key_Space));

    EXPECT_FALSE(controller->isPlaying());
    EXPECT_EQ(screen.asked, Names({ "2.png>" }));
    EXPECT_TRUE(controller->keyDown(QStringLiteral(" "), Qt::Key_Space));
    EXPECT_EQ(screen.asked, Names({ "2.png>", "3.png>" }));
    EXPECT_FALSE(controller->isPlaying());
}

TEST_F(KeyDown, OfSpaceWithoutAShowDoesNoHarm)
{
    EXPECT_TRUE(controller->keyDown(QStringLiteral(" "), Qt::Key_Space));

    EXPECT_EQ(controller->mScreenWindow(), nullptr);
}

// Commands.

struct FitCommand {
    const char* name;
    void (SlideController::*action)();
    QLatin1String mode;
    Qt::Key key;
};

void PrintTo(const FitCommand& row, std::ostream* stream) { *stream << row.name; }

struct Fit : ControllerTest, testing::WithParamInterface<FitCommand> { };

TEST_P(Fit, StoresTheModeAndHasTheDisplayObey)
{
    show123();
    defaults.setValue(kImageFitMode, QStringLiteral("another"));

    ((*controller).*GetParam().action)();

    EXPECT_EQ(defaults.stringValue(kImageFitMode), GetParam().mode);
    EXPECT_EQ(screen.fitUpdates, 1);
    EXPECT_TRUE(screen.asked.empty());
}

TEST_P(Fit, LeavesThePersonFiveSecondsToLook)
{
    play123(10);
    clock.advance(seconds(9));

    ((*controller).*GetParam().action)();
    clock.advance(milliseconds(4999));
    EXPECT_TRUE(screen.asked.empty());
    clock.advance(milliseconds(1));

    EXPECT_EQ(screen.asked, Names({ "2.png>" }));
}

TEST_P(Fit, IsStoredWithoutAShowToo)
{
    ((*controller).*GetParam().action)();

    EXPECT_EQ(defaults.stringValue(kImageFitMode), GetParam().mode);
    EXPECT_EQ(screen.made, 0);
}

TEST_P(Fit, HasAKeyThatDoesNotStopTheShow)
{
    play123(10);
    activate(*controller->mScreenWindow(), [] {});

    pressKey(*controller->mScreenWindow(), GetParam().key, Qt::ControlModifier);

    EXPECT_EQ(defaults.stringValue(kImageFitMode), GetParam().mode);
    EXPECT_EQ(defaults.floatValue(kSlideInterval), 10.0);
    EXPECT_TRUE(controller->isPlaying());
}

INSTANTIATE_TEST_SUITE_P(Modes, Fit,
    testing::Values(
        FitCommand { "ShrinkToFit", &SlideController::ShrinkToFit, kFitModeFit, Qt::Key_2 },
        FitCommand { "ZoomToFit", &SlideController::ZoomToFit, kFitModeZoom, Qt::Key_3 },
        FitCommand { "FillScreen", &SlideController::FillScreen, kFitModeFill, Qt::Key_4 },
        FitCommand { "Stretch", &SlideController::Stretch, kFitModeStretch, Qt::Key_5 }),
    [](const auto& test) { return test.param.name; });

struct ZoomCommand {
    const char* name;
    void (SlideController::*action)();
    Qt::Key key;
    const char* asked;
    bool delays;
};

void PrintTo(const ZoomCommand& row, std::ostream* stream) { *stream << row.name; }

struct Zoom : ControllerTest, testing::WithParamInterface<ZoomCommand> { };

TEST_P(Zoom, IsAskedOfTheDisplay)
{
    play123(1);
    clock.advance(900ms);
    screen.forget();

    (controller.get()->*GetParam().action)();

    EXPECT_EQ(screen.zooms, std::vector<std::string> { GetParam().asked });
    clock.advance(200ms);
    EXPECT_EQ(screen.asked.empty(), GetParam().delays) << "the slide is to stay for a while";
}

TEST_P(Zoom, HasAKeyThatDoesNotStopTheShow)
{
    play123(10);
    activate(*controller->mScreenWindow(), [] {});

    pressKey(*controller->mScreenWindow(), GetParam().key, Qt::ControlModifier);

    EXPECT_EQ(screen.zooms, std::vector<std::string> { GetParam().asked });
    EXPECT_TRUE(controller->isPlaying());
}

TEST_P(Zoom, DoesNothingWithoutAShow) { (controller.get()->*GetParam().action)(); }

INSTANTIATE_TEST_SUITE_P(Commands, Zoom,
    testing::Values(ZoomCommand { "ZoomIn", &SlideController::ZoomIn, Qt::Key_Plus, "in", true },
        ZoomCommand { "ZoomOne", &SlideController::ZoomOne, Qt::Key_1, "one", true },
        ZoomCommand { "ZoomOff", &SlideController::ZoomOff, Qt::Key_0, "off", false }),
    [](const auto& test) { return test.param.name; });

struct StepKey {
    const char* name;
    Qt::Key key;
    const char* leadsTo;
};

void PrintTo(const StepKey& row, std::ostream* stream) { *stream << row.name; }

struct Stepping : ControllerTest, testing::WithParamInterface<StepKey> { };

TEST_P(Stepping, HasAKeyThatDoesNotStopTheShow)
{
    play123(10);
    controller->gotoImageIndex(1);
    screen.forget();
    activate(*controller->mScreenWindow(), [] {});

    pressKey(*controller->mScreenWindow(), GetParam().key);

    EXPECT_EQ(screen.asked, Names({ GetParam().leadsTo }));
    EXPECT_TRUE(controller->isPlaying());
}

INSTANTIATE_TEST_SUITE_P(Keys, Stepping,
    testing::Values(StepKey { "Right", Qt::Key_Right, "3.png>" },
        StepKey { "PageDown", Qt::Key_PageDown, "3.png>" },
        StepKey { "Left", Qt::Key_Left, "1.png<" }, StepKey { "PageUp", Qt::Key_PageUp, "1.png<" },
        StepKey { "Home", Qt::Key_Home, "1.png<" }),
    [](const auto& test) { return test.param.name; });

TEST_F(Commands, EscapeEndsTheShow)
{
    play123(10);
    activate(*controller->mScreenWindow(), [] {});

    pressKey(*controller->mScreenWindow(), Qt::Key_Escape);
    settle();

    EXPECT_EQ(controller->mScreenWindow(), nullptr);
    EXPECT_FALSE(controller->isPlaying());
    EXPECT_EQ(controller->mFileSequence().count(), 0U);
    EXPECT_EQ(nothingLeft, 0);
    EXPECT_TRUE(isWelcomeVisible());
}

TEST_F(Commands, CancelEndsTheShow)
{
    show123();

    controller->cancel();

    EXPECT_EQ(controller->mScreenWindow(), nullptr);
}

TEST_F(Commands, QuitLeavesNothing)
{
    show123();
    activate(*controller->mScreenWindow(), [] {});

    pressKey(*controller->mScreenWindow(), Qt::Key_Q, Qt::ControlModifier);

    EXPECT_EQ(nothingLeft, 1);
}

TEST_F(Commands, OpenHasTheDesktopsKey)
{
    play123(10);
    activate(*controller->mScreenWindow(), [] {});

    pressKey(*controller->mScreenWindow(), Qt::Key_O, Qt::ControlModifier);

    EXPECT_NE(visibleWindow<OpenPanel>(), nullptr);
    EXPECT_TRUE(controller->isPlaying());
}

TEST_F(Commands, DigitsTypedIntoTheShowSetTheInterval)
{
    show123();
    activate(*controller->mScreenWindow(), [] {});

    pressKey(*controller->mScreenWindow(), Qt::Key_7, Qt::NoModifier, QStringLiteral("7"));

    EXPECT_EQ(defaults.floatValue(kSlideInterval), 7.0);
    EXPECT_TRUE(controller->isPlaying());
}

TEST_F(Commands, SpaceTypedIntoTheShowStepsOnce)
{
    play123(10);
    activate(*controller->mScreenWindow(), [] {});

    pressKey(*controller->mScreenWindow(), Qt::Key_Space, Qt::NoModifier, QStringLiteral(" "));

    EXPECT_FALSE(controller->isPlaying());
    EXPECT_EQ(screen.asked, Names({ "2.png>" }));
}

TEST_F(Commands, LettersTypedIntoTheShowStopIt)
{
    play123(10);
    activate(*controller->mScreenWindow(), [] {});

    pressKey(*controller->mScreenWindow(), Qt::Key_A, Qt::NoModifier, QStringLiteral("a"));

    EXPECT_FALSE(controller->isPlaying());
}

TEST_F(Commands, ModifierKeysAloneDoNotStopTheShow)
{
    play123(10);
    activate(*controller->mScreenWindow(), [] {});

    for (const Qt::Key key : { Qt::Key_Shift, Qt::Key_Control, Qt::Key_Alt, Qt::Key_Meta })
        pressKey(*controller->mScreenWindow(), key);

    EXPECT_TRUE(controller->isPlaying());
}

TEST_F(Commands, HaveKeysThatAreTheirsAlone)
{
    show123();

    QList<QKeySequence> keys;
    for (const QAction* const action : controller->mScreenWindow()->actions()) {
        EXPECT_FALSE(action->text().isEmpty());
        keys += action->shortcuts();
    }
    for (const QKeySequence& key : keys)
        EXPECT_EQ(keys.count(key), 1) << qPrintable(key.toString());
}

TEST_F(Commands, WorkAfterTheWindowWasMadeAnew)
{
    show123();
    controller->endSlideShow();
    show123();
    activate(*controller->mScreenWindow(), [] {});

    pressKey(*controller->mScreenWindow(), Qt::Key_Right);

    EXPECT_EQ(screen.asked, Names({ "2.png>" }));
}

} // namespace

} // namespace quorvane
