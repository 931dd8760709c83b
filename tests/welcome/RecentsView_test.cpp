// SPDX-License-Identifier: GPL-3.0-or-later
// A list whose rows act on one click or key.
#include "Clicks.h"
#include "support/Keys.h"
#include "welcome/RecentsView.h"

#include <QScrollBar>
#include <QShortcut>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace quorvane {

namespace {

using namespace tests;
using testing::ElementsAre;
using testing::IsEmpty;

struct RecentsViewTest : testing::Test {
    RecentsViewTest()
    {
        view.addItems({ QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c") });
        view.resize(300, 400);
        QObject::connect(
            &view, &RecentsView::chosen, &view, [this] { choices.push_back(view.clickedRow()); });
        activate(view, [this] { view.show(); });
        view.setFocus();
    }

    std::vector<int> choices;
    RecentsView view;
};

TEST_F(RecentsViewTest, ChoosesWithOneClick)
{
    click(view, middleOf(view, 2));
    click(view, middleOf(view, 0));

    EXPECT_THAT(choices, ElementsAre(2, 0));
}

TEST_F(RecentsViewTest, ChoosesNoRowByAClickBelowTheLast)
{
    click(view, belowLastRow(view));

    EXPECT_THAT(choices, ElementsAre(-1));
}

TEST_F(RecentsViewTest, ChoosesOnceByADoubleClick)
{
    const QPoint place = middleOf(view, 1);

    click(view, place);
    sendMouse(view, QEvent::MouseButtonDblClick, place);
    release(view, place);

    EXPECT_THAT(choices, ElementsAre(1));
}

TEST_F(RecentsViewTest, ChoosesWithTheLeftButtonOnly)
{
    for (const Qt::MouseButton button : { Qt::RightButton, Qt::MiddleButton })
        click(view, middleOf(view, 1), button);
    press(view, middleOf(view, 1));
    release(view, middleOf(view, 1), Qt::RightButton);

    EXPECT_THAT(choices, IsEmpty());
}

TEST_F(RecentsViewTest, ChoosesNothingWhenTheButtonIsLetGoElsewhere)
{
    press(view, middleOf(view, 1));
    release(view, middleOf(view, 2));
    press(view, belowLastRow(view));
    release(view, { 20, 1000 });

    EXPECT_THAT(choices, IsEmpty());
}

TEST_F(RecentsViewTest, ChoosesNothingWhenTheListIsReplacedUnderTheHand)
{
    press(view, middleOf(view, 1));
    view.clear();
    view.addItems({ QStringLiteral("d"), QStringLiteral("e") });
    release(view, middleOf(view, 1));

    EXPECT_THAT(choices, IsEmpty());
}

TEST_F(RecentsViewTest, ChoosesTheCurrentRowWithReturnEnterAndSpace)
{
    view.setCurrentRow(1);

    pressKey(view, Qt::Key_Return);
    pressKey(view, Qt::Key_Enter, Qt::KeypadModifier);
    pressKey(view, Qt::Key_Space, Qt::NoModifier, QStringLiteral(" "));

    EXPECT_THAT(choices, ElementsAre(1, 1, 1));
}

TEST_F(RecentsViewTest, LeavesThoseKeysWithAModifierToOthers)
{
    view.setCurrentRow(1);

    for (const auto modifier : { Qt::ControlModifier, Qt::AltModifier, Qt::ShiftModifier })
        pressKey(view, Qt::Key_Return, modifier);

    EXPECT_THAT(choices, IsEmpty());
}

TEST_F(RecentsViewTest, ChoosesOnceWhileAKeyIsHeld)
{
    view.setCurrentRow(1);

    QKeyEvent repeated(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, {}, true);
    QCoreApplication::sendEvent(&view, &repeated);

    EXPECT_THAT(choices, IsEmpty());
}

TEST_F(RecentsViewTest, ChoosesNothingByKeyWithoutARow)
{
    view.clear();

    pressKey(view, Qt::Key_Return);

    EXPECT_THAT(choices, IsEmpty());
}

TEST_F(RecentsViewTest, MovesWithTheArrows)
{
    view.setCurrentRow(0);

    pressKey(view, Qt::Key_Down);
    pressKey(view, Qt::Key_Down);
    pressKey(view, Qt::Key_Up);
    pressKey(view, Qt::Key_Return);

    EXPECT_THAT(choices, ElementsAre(1));
}

TEST_F(RecentsViewTest, HasItsKeysBeforeTheWindowsShortcuts)
{
    int stolen = 0;
    for (const Qt::Key key : { Qt::Key_Return, Qt::Key_Space, Qt::Key_Down, Qt::Key_F }) {
        auto* const shortcut = new QShortcut(QKeySequence(key), &view);
        QObject::connect(shortcut, &QShortcut::activated, &view, [&stolen] { ++stolen; });
    }
    view.setCurrentRow(0);

    pressKey(view, Qt::Key_Down);
    pressKey(view, Qt::Key_Return);
    pressKey(view, Qt::Key_Space);

    EXPECT_THAT(choices, ElementsAre(1, 1));
    EXPECT_EQ(stolen, 0);
    pressKey(view, Qt::Key_F);
    EXPECT_EQ(stolen, 1) << "what it has no use for";
}

TEST_F(RecentsViewTest, WantsToBeAsHighAsItsRowsUpToFive)
{
    const int row = view.sizeHintForRow(0);
    EXPECT_EQ(view.sizeHint().height(), 3 * row);
    EXPECT_EQ(view.minimumSizeHint().height(), 2 * row);

    for (int i = 0; i < 7; ++i)
        view.addItem(QStringLiteral("more"));

    EXPECT_EQ(view.sizeHint().height(), 5 * row);
    EXPECT_EQ(view.minimumSizeHint().height(), 2 * row);
}

TEST_F(RecentsViewTest, ScrollsDownButNeverSideways)
{
    for (int i = 0; i < 40; ++i)
        view.addItem(QString(2000, QLatin1Char('W')));
    QCoreApplication::processEvents();

    EXPECT_GT(view.verticalScrollBar()->maximum(), 0);
    EXPECT_FALSE(view.horizontalScrollBar()->isVisible());
}

} // namespace

} // namespace quorvane
