// SPDX-License-Identifier: GPL-3.0-or-later
#include "display/MovieControls.h"
#include "display/PanelParts.h"
#include "support/FakeMoviePlayer.h"
#include "support/GeometryMatchers.h"
#include "support/Keys.h"
#include "support/ManualClock.h"

#include <QGraphicsOpacityEffect>
#include <QLabel>
#include <QMouseEvent>
#include <QShortcut>
#include <QWheelEvent>

#include <gtest/gtest.h>

#include <optional>

namespace quorvane {
namespace {

using namespace tests;
using namespace std::chrono_literals;

/// More than the rest and the fade.
constexpr auto kLong = 4s;

/// Counts what reaches it of the mouse.
class View : public QWidget {
public:
    using QWidget::QWidget;

    int presses = 0;
    int releases = 0;
    int doubleClicks = 0;
    int notches = 0;

protected:
    void mousePressEvent(QMouseEvent* /*event*/) override { ++presses; }
    void mouseReleaseEvent(QMouseEvent* /*event*/) override { ++releases; }
    void mouseDoubleClickEvent(QMouseEvent* /*event*/) override { ++doubleClicks; }
    void wheelEvent(QWheelEvent* /*event*/) override { ++notches; }
};

void send(QWidget& target, QEvent::Type type, QPointF where, Qt::MouseButton button = Qt::NoButton,
    Qt::MouseButtons buttons = Qt::NoButton)
{
    QMouseEvent event(type, where, target.mapToGlobal(where), button, buttons, {});
    QApplication::sendEvent(&target, &event);
}

void press(QWidget& target, QPointF where)
{
    send(target, QEvent::MouseButtonPress, where, Qt::LeftButton, Qt::LeftButton);
}

void drag(QWidget& target, QPointF where)
{
    send(target, QEvent::MouseMove, where, Qt::NoButton, Qt::LeftButton);
}

void release(QWidget& target, QPointF where)
{
    send(target, QEvent::MouseButtonRelease, where, Qt::LeftButton);
}

/// A window with a view in it, over which the controls of a movie of 100 seconds float.
struct MovieControlsTest : testing::Test {
    ManualClock clock;
    FakeMovie movie;
    FakeMovie next; ///< Another one, for who makes its player.
    QWidget window;
    View view { &window };
    std::optional<MovieControls> made { std::in_place, view, clock };
    MovieControls& panel = *made;
    PanelButton& play = part<PanelButton>(0);
    PanelButton& sound = part<PanelButton>(1);
    PanelSlider& position = part<PanelSlider>(0);
    PanelSlider& volume = part<PanelSlider>(1);
    QLabel& passed = part<QLabel>(0);
    QLabel& left = part<QLabel>(1);
    std::shared_ptr<MoviePlayer> player = movie.makePlayer();

    MovieControlsTest()
    {
        window.resize(800, 600);
        view.resize(800, 600);
        view.setMouseTracking(true);
        activate(window, [this] { window.show(); });
        movie.player->open({ 640, 360 }, 100);
        player->play();
        panel.setPlayer(player);
        movie.asked.clear();
    }

    template <typename Part> Part& part(qsizetype index)
    {
        return *panel.findChildren<Part*>().at(index);
    }

    /// Without a button, to somewhere else.
    void moveMouse() { moveMouseTo({ double(++mMoves), 10 }); }
    void moveMouseTo(QPointF where) { send(view, QEvent::MouseMove, where); }

    double opacity() const
    {
        return qobject_cast<const QGraphicsOpacityEffect*>(panel.graphicsEffect())->opacity();
    }

    /// Where the knob of a slider would be at this share of its way.
    static QPointF at(const PanelSlider& slider, double share)
    {
        constexpr double kKnob = 6;
        return { kKnob + share * (slider.width() - 2 * kKnob), slider.height() / 2. };
    }

    bool pointerIsBlank() const { return view.cursor().shape() == Qt::BlankCursor; }

private:
    int mMoves = 0;
};

TEST_F(MovieControlsTest, AreHiddenAtFirst)
{
    clock.advance(kLong);

    EXPECT_FALSE(panel.isVisible());
    EXPECT_FALSE(pointerIsBlank());
}

TEST_F(MovieControlsTest, ComeWhenTheMouseMoves)
{
    moveMouse();

    EXPECT_TRUE(panel.isVisible());
    EXPECT_EQ(opacity(), 1);
}

TEST_F(MovieControlsTest, DoNotComeWithoutAMovie)
{
    panel.setPlayer(nullptr);

    moveMouse();
    pressKey(window, Qt::Key_Tab);

    EXPECT_FALSE(panel.isVisible());
    EXPECT_FALSE(panel.isAncestorOf(window.focusWidget()));
}

TEST_F(MovieControlsTest, DoNotComeWithAMoveThatIsNone)
{
    moveMouseTo({ 50, 50 });
    clock.advance(kLong);

    moveMouseTo({ 50, 50 });
    EXPECT_FALSE(panel.isVisible());

    moveMouseTo({ 50, 51 });
    EXPECT_TRUE(panel.isVisible());
}

TEST_F(MovieControlsTest, DoNotComeWhileAButtonIsHeld)
{
    drag(view, { 50, 50 });
    EXPECT_FALSE(panel.isVisible());

    moveMouseTo({ 51, 50 });
    EXPECT_TRUE(panel.isVisible());
}

TEST_F(MovieControlsTest, DoNotComeBackFromBelowARestingMouse)
{
    moveMouse();
    send(panel, QEvent::MouseMove, { 3, 4 });
    const QPoint where = panel.mapToParent(QPoint(3, 4));
    clock.advance(kLong);
    ASSERT_FALSE(panel.isVisible());

    moveMouseTo(where); // What is below hears of the mouse when the panel has gone.

    EXPECT_FALSE(panel.isVisible());
}

TEST_F(MovieControlsTest, StayThreeSecondsAndFadeInSteps)
{
    moveMouse();

    clock.advance(3s);
    EXPECT_EQ(opacity(), 1);
    std::vector<double> opacities;
    while (panel.isVisible() && opacities.size() < 100) {
        EXPECT_FALSE(pointerIsBlank());
        clock.advance(10ms);
        if (opacities.empty() || opacities.back() != opacity())
            opacities.push_back(opacity());
    }

    EXPECT_GE(opacities.size(), 5U);
    EXPECT_TRUE(std::is_sorted(opacities.rbegin(), opacities.rend()));
    EXPECT_EQ(opacities.back(), 0);
    EXPECT_LE(clock.now().time_since_epoch(), 1h + 3500ms);
    EXPECT_EQ(clock.validTimers(), 0);
}

TEST_F(MovieControlsTest, BlankThePointerUntilItMoves)
{
    moveMouse();
    clock.advance(kLong);
    EXPECT_TRUE(pointerIsBlank());

    moveMouse();
    EXPECT_FALSE(pointerIsBlank());
    EXPECT_TRUE(panel.isVisible());
    EXPECT_EQ(opacity(), 1);
}

TEST_F(MovieControlsTest, GiveThePointerBackWithTheMovie)
{
    moveMouse();
    clock.advance(kLong);

    panel.setPlayer(nullptr);

    EXPECT_FALSE(pointerIsBlank());
}

TEST_F(MovieControlsTest, StayAfterEachMovePressAndKey)
{
    const std::function<void()> doings[] = { [&] { moveMouse(); },
        [&] {
            send(panel, QEvent::MouseMove, { 2, 2 });
        },
        [&] {
            send(position, QEvent::MouseMove, { 2, 2 });
        },
        [&] {
            send(passed, QEvent::MouseMove, { 2, 2 });
        },
        [&] {
            press(panel, { 1, 1 });
        },
        [&] {
            press(passed, { 1, 1 });
        },
        [&] {
            press(sound, { 1, 1 });
        },
        [&] { pressKey(window, Qt::Key_Tab); }, [&] { pressKey(window, Qt::Key_Tab); },
        [&] { pressKey(window, Qt::Key_Right); } };
    moveMouse();
    for (const auto& act : doings) {
        clock.advance(2900ms);
        act();
        clock.advance(2900ms);
        EXPECT_EQ(opacity(), 1) << &act - doings;
        moveMouse();
    }
}

TEST_F(MovieControlsTest, ComeBackWhileTheyFade)
{
    moveMouse();
    clock.advance(3100ms);
    ASSERT_LT(opacity(), 1);

    moveMouse();
    EXPECT_EQ(opacity(), 1);
    clock.advance(2900ms);
    EXPECT_EQ(opacity(), 1);
    EXPECT_TRUE(panel.isVisible());
}

TEST_F(MovieControlsTest, StayWhileASliderIsHeld)
{
    for (PanelSlider* slider : { &position, &volume }) {
        moveMouse();
        press(*slider, at(*slider, 0.5));
        clock.advance(60s);
        EXPECT_TRUE(panel.isVisible());
        EXPECT_EQ(opacity(), 1);

        release(*slider, at(*slider, 0.5));
        clock.advance(kLong + 3s);
        EXPECT_FALSE(panel.isVisible());
    }
}

TEST_F(MovieControlsTest, StandInTheViewNearItsLowerEdge)
{
    moveMouse();

    EXPECT_LE(std::abs(panel.geometry().center().x() - 400), 1);
    EXPECT_GT(panel.y(), 400);
    EXPECT_LT(panel.geometry().bottom(), 580);
    EXPECT_TRUE(view.rect().contains(panel.geometry()));

    view.resize(400, 300);
    EXPECT_LE(std::abs(panel.geometry().center().x() - 200), 1);
    EXPECT_TRUE(view.rect().contains(panel.geometry()));
}

TEST_F(MovieControlsTest, FitIntoASmallView)
{
    for (const QSize size : { QSize(360, 240), QSize(320, 60), QSize(200, 150) }) {
        view.resize(size);
        clock.advance(kLong);
        moveMouse();

        EXPECT_TRUE(view.rect().contains(panel.geometry())) << testing::PrintToString(size);
        for (const QWidget* const part : panel.findChildren<QWidget*>()) {
            const bool isWhole = panel.rect().contains(part->geometry());
            EXPECT_TRUE(isWhole || part->isHidden()) << testing::PrintToString(size);
        }
        EXPECT_GT(position.width(), 40) << testing::PrintToString(size);
    }
}

TEST_F(MovieControlsTest, FollowTheView)
{
    moveMouse();
    clock.advance(kLong);
    view.resize(400, 300);

    moveMouse();

    EXPECT_TRUE(view.rect().contains(panel.geometry()));
}

TEST_F(MovieControlsTest, PlayAndPause)
{
    moveMouse();
    EXPECT_EQ(play.accessibleName(), QStringLiteral("Pause"));

    play.click();
    EXPECT_EQ(movie.asked, "pause ");
    EXPECT_EQ(play.accessibleName(), QStringLiteral("Play"));
    EXPECT_EQ(play.toolTip(), QStringLiteral("Play"));

    play.click();
    EXPECT_EQ(movie.asked, "pause play ");
    EXPECT_EQ(play.accessibleName(), QStringLiteral("Pause"));
}

TEST_F(MovieControlsTest, ClickWithTheMouse)
{
    moveMouse();

    press(play, { 16, 16 });
    release(play, { 16, 16 });

    EXPECT_EQ(movie.asked, "pause ");
    EXPECT_EQ(window.focusWidget(), nullptr); // The keys stay the show's.
}

TEST_F(MovieControlsTest, FollowThePlayer)
{
    moveMouse();

    player->pause();
    movie.player->goOnTo(1);
    EXPECT_EQ(play.accessibleName(), QStringLiteral("Play"));

    player->play();
    movie.player->goOnTo(2);
    EXPECT_EQ(play.accessibleName(), QStringLiteral("Pause"));

    movie.player->end();
    EXPECT_EQ(play.accessibleName(), QStringLiteral("Play"));
}

TEST_F(MovieControlsTest, ShowWhatHasChangedWhileTheyWereHidden)
{
    player->pause();
    player->setMuted(true);
    movie.player->goOnTo(61);

    moveMouse();

    EXPECT_EQ(play.accessibleName(), QStringLiteral("Play"));
    EXPECT_EQ(sound.accessibleName(), QStringLiteral("Sound On"));
    EXPECT_EQ(passed.text(), QStringLiteral("1:01"));
    EXPECT_EQ(position.value(), 61'000);
}

TEST_F(MovieControlsTest, WriteTheTimes)
{
    struct Row {
        double position;
        double duration;
        const char* passed;
        const char* left;
    };
    const Row rows[] = { { 0, 0, "0:00", "0:00" }, { 5, 250, "0:05", "4:05" },
        { 245.4, 250, "4:05", "0:04" }, { 59.999, 60, "0:59", "0:00" },
        { 599, 1200, "9:59", "10:01" }, { 3723, 7323, "1:02:03", "1:00:00" },
        { 0, 36000, "0:00", "10:00:00" }, { 12, 10, "0:12", "0:00" } };
    moveMouse();
    for (const Row& row : rows) {
        movie.player->open({ 640, 360 }, row.duration);
        movie.player->goOnTo(row.position);

        EXPECT_EQ(passed.text(), QLatin1String(row.passed));
        EXPECT_EQ(left.text(), QChar(0x2212) + QString::fromLatin1(row.left));
        EXPECT_TRUE(position.isEnabled());
        EXPECT_EQ(position.maximum(), int(row.duration * 1000));
        EXPECT_EQ(position.value(), int(std::min(row.position, row.duration) * 1000));
    }
    EXPECT_TRUE(movie.asked.empty());
}

TEST_F(MovieControlsTest, DoNotKnowWhatIsLeftWithoutADuration)
{
    movie.player->open({ 640, 360 }, std::nullopt);
    movie.player->goOnTo(5);
    moveMouse();

    EXPECT_FALSE(position.isEnabled());
    EXPECT_EQ(left.text(), QString());
    EXPECT_EQ(passed.text(), QStringLiteral("0:05"));
    press(position, at(position, 0.5));
    release(position, at(position, 0.5));
    EXPECT_TRUE(movie.asked.empty());

    movie.player->open({ 640, 360 }, 10);
    EXPECT_TRUE(position.isEnabled());
    EXPECT_EQ(left.text(), QChar(0x2212) + QStringLiteral("0:05"));
}

TEST_F(MovieControlsTest, SeekWhereTheLineIsPressed)
{
    moveMouse();
    const double pixel = 100. / (position.width() - 12); // In seconds.

    press(position, at(position, 0.75));

    EXPECT_EQ(movie.asked.rfind("pause seek ", 0), 0U);
    EXPECT_NEAR(player->position(), 75, pixel);
    EXPECT_EQ(passed.text(), QStringLiteral("1:15"));
    EXPECT_EQ(left.text(), QChar(0x2212) + QStringLiteral("0:25"));
    release(position, at(position, 0.75));
}

TEST_F(MovieControlsTest, SeekAsTheKnobIsDragged)
{
    moveMouse();
    press(position, at(position, 0.25));

    drag(position, at(position, 0.5));
    EXPECT_NEAR(player->position(), 50, 0.5);
    drag(position, at(position, 0.5) + QPointF(10'000, 300));
    EXPECT_EQ(player->position(), 100);
    drag(position, { -50, 5 });
    EXPECT_EQ(player->position(), 0);

    release(position, { -50, 5 });
    send(position, QEvent::MouseMove, at(position, 0.5));
    EXPECT_EQ(player->position(), 0);
}

TEST_F(MovieControlsTest, HoldTheMovieWhileTheKnobIsHeld)
{
    moveMouse();
    press(position, position.rect().center());
    EXPECT_FALSE(player->isPlaying());

    release(position, position.rect().center());

    EXPECT_TRUE(player->isPlaying());
}

TEST_F(MovieControlsTest, LeaveAPausedMoviePausedWhenTheKnobIsLetGo)
{
    moveMouse();
    player->pause();

    press(position, position.rect().center());
    release(position, position.rect().center());

    EXPECT_FALSE(player->isPlaying());
}

TEST_F(MovieControlsTest, SeekWithTheLeftButtonOnly)
{
    moveMouse();

    send(position, QEvent::MouseButtonPress, at(position, 0.5), Qt::RightButton, Qt::RightButton);
    send(position, QEvent::MouseButtonRelease, at(position, 0.5), Qt::RightButton);

    EXPECT_TRUE(movie.asked.empty());
    EXPECT_FALSE(position.isSliderDown());
}

TEST_F(MovieControlsTest, LeaveTheKnobInTheHandThatHoldsIt)
{
    moveMouse();
    press(position, at(position, 0.5));
    const int held = position.value();

    movie.player->goOnTo(3);
    EXPECT_EQ(position.value(), held);
    EXPECT_EQ(passed.text(), QStringLiteral("0:50"));

    release(position, at(position, 0.5));
    movie.player->goOnTo(51);
    EXPECT_EQ(position.value(), 51'000);
    EXPECT_EQ(passed.text(), QStringLiteral("0:51"));
}

TEST_F(MovieControlsTest, SeekByKeys)
{
    pressKey(window, Qt::Key_Tab);
    pressKey(window, Qt::Key_Tab);
    ASSERT_EQ(window.focusWidget(), &position);
    movie.player->goOnTo(40);

    pressKey(window, Qt::Key_Right);
    EXPECT_EQ(player->position(), 45);
    pressKey(window, Qt::Key_Left);
    EXPECT_EQ(player->position(), 40);
    pressKey(window, Qt::Key_PageUp);
    EXPECT_EQ(player->position(), 70);
    pressKey(window, Qt::Key_PageDown);
    EXPECT_EQ(player->position(), 40);
    pressKey(window, Qt::Key_End);
    EXPECT_EQ(player->position(), 100);
    pressKey(window, Qt::Key_Home);
    EXPECT_EQ(player->position(), 0);
}

TEST_F(MovieControlsTest, SeekOnWhileTheMovieIsStillOnItsWay)
{
    movie.seeksLate = true;
    pressKey(window, Qt::Key_Tab);
    pressKey(window, Qt::Key_Tab);

    for (int i = 0; i < 3; ++i)
        pressKey(window, Qt::Key_Right);

    EXPECT_EQ(movie.asked, "seek 5 seek 10 seek 15 ");
    EXPECT_EQ(passed.text(), QStringLiteral("0:15"));
}

TEST_F(MovieControlsTest, MuteAndUnmute)
{
    player->setVolume(0.6);
    movie.asked.clear();
    moveMouse();
    EXPECT_EQ(sound.accessibleName(), QStringLiteral("Sound Off"));
    EXPECT_EQ(volume.value(), 60);

    sound.click();
    EXPECT_TRUE(player->isMuted());
    EXPECT_EQ(player->volume(), 0.6);
    EXPECT_EQ(sound.accessibleName(), QStringLiteral("Sound On"));
    EXPECT_EQ(volume.value(), 0);

    sound.click();
    EXPECT_FALSE(player->isMuted());
    EXPECT_EQ(volume.value(), 60);
}

TEST_F(MovieControlsTest, SetTheVolume)
{
    moveMouse();

    press(volume, at(volume, 0.25));
    release(volume, at(volume, 0.25));

    EXPECT_NEAR(player->volume(), 0.25, 0.01);
    EXPECT_FALSE(player->isMuted());
}

TEST_F(MovieControlsTest, UnmuteWhatIsTurnedUp)
{
    moveMouse();
    sound.click();

    volume.setFocus();
    pressKey(window, Qt::Key_Right);

    EXPECT_FALSE(player->isMuted());
    EXPECT_EQ(player->volume(), 0.05);
    EXPECT_EQ(sound.accessibleName(), QStringLiteral("Sound Off"));
}

TEST_F(MovieControlsTest, KeepTheVolumeForTheNextMovie)
{
    moveMouse();
    press(volume, at(volume, 0));
    drag(volume, at(volume, 0.5));
    release(volume, at(volume, 0.5));
    sound.click();
    const auto nextPlayer = next.makePlayer();

    panel.keepVolume(*nextPlayer);

    EXPECT_EQ(nextPlayer->volume(), player->volume());
    EXPECT_NEAR(nextPlayer->volume(), 0.5, 0.01);
    EXPECT_TRUE(nextPlayer->isMuted());
}

TEST_F(MovieControlsTest, KeepTheVolumeThatTheFirstMovieBrings)
{
    player->setVolume(0.3);
    player->setMuted(true);
    panel.keepVolume(*player);
    const auto nextPlayer = next.makePlayer();

    panel.keepVolume(*nextPlayer);

    EXPECT_EQ(player->volume(), 0.3);
    EXPECT_TRUE(player->isMuted());
    EXPECT_EQ(nextPlayer->volume(), 0.3);
    EXPECT_TRUE(nextPlayer->isMuted());
}

TEST_F(MovieControlsTest, OpenWithTheTabKeyWhichGoesOnThroughThem)
{
    QList<QWidget*> visited;
    for (int i = 0; i < 4; ++i) {
        pressKey(window, Qt::Key_Tab);
        visited << window.focusWidget();
    }

    EXPECT_TRUE(panel.isVisible());
    EXPECT_EQ(visited, (QList<QWidget*> { &play, &position, &sound, &volume }));
    pressKey(window, Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_EQ(window.focusWidget(), &sound);
}

TEST_F(MovieControlsTest, OpenBackwardsToo)
{
    pressKey(window, Qt::Key_Backtab, Qt::ShiftModifier);

    EXPECT_EQ(window.focusWidget(), &play);
}

TEST_F(MovieControlsTest, LeaveOtherKeysOfTheWindowAlone)
{
    pressKey(window, Qt::Key_Space);
    pressKey(window, Qt::Key_Tab, Qt::ControlModifier);

    EXPECT_FALSE(panel.isVisible());
    EXPECT_TRUE(movie.asked.empty());
}

TEST_F(MovieControlsTest, PressTheFocusedButtonWithTheSpaceBar)
{
    pressKey(window, Qt::Key_Tab);

    pressKey(window, Qt::Key_Space);

    EXPECT_EQ(movie.asked, "pause ");
}

TEST_F(MovieControlsTest, CloseWithEscapeAndGiveTheKeysBack)
{
    QShortcut escape(Qt::Key_Escape, &window);
    int heard = 0;
    QObject::connect(&escape, &QShortcut::activated, [&] { ++heard; });
    pressKey(window, Qt::Key_Tab);
    pressKey(window, Qt::Key_Tab);

    pressKey(window, Qt::Key_Escape);

    EXPECT_FALSE(panel.isVisible());
    EXPECT_EQ(window.focusWidget(), &window);
    EXPECT_EQ(heard, 0);
    EXPECT_EQ(clock.validTimers(), 0);
    pressKey(window, Qt::Key_Escape);
    EXPECT_EQ(heard, 1);
}

TEST_F(MovieControlsTest, GiveTheKeysBackWhenTheyFade)
{
    pressKey(window, Qt::Key_Tab);

    clock.advance(kLong);

    EXPECT_EQ(window.focusWidget(), &window);
}

TEST_F(MovieControlsTest, TakeNoKeysFromAnotherWidget)
{
    QWidget other(&window);
    other.show();
    other.setFocus();
    moveMouse();

    clock.advance(kLong);

    EXPECT_EQ(window.focusWidget(), &other);
}

TEST_F(MovieControlsTest, KeepASlidersKeysFromTheShow)
{
    int heard = 0;
    for (const auto key : { Qt::Key_Right, Qt::Key_Left, Qt::Key_Up, Qt::Key_Down, Qt::Key_PageUp,
             Qt::Key_PageDown, Qt::Key_Home, Qt::Key_End, Qt::Key_F }) {
        auto* const shortcut = new QShortcut(key, &window);
        QObject::connect(shortcut, &QShortcut::activated, [&] { ++heard; });
    }
    const auto pressAll = [&] {
        heard = 0;
        for (const auto key : { Qt::Key_Right, Qt::Key_Left, Qt::Key_Up, Qt::Key_Down,
                 Qt::Key_PageUp, Qt::Key_PageDown, Qt::Key_Home, Qt::Key_End })
            pressKey(window, key);
        return heard;
    };
    EXPECT_EQ(pressAll(), 8);

    moveMouse();
    EXPECT_EQ(pressAll(), 8); // Nobody has gone into them.
    play.setFocus();
    EXPECT_EQ(pressAll(), 8);
    position.setFocus();
    EXPECT_EQ(pressAll(), 0);
    volume.setFocus();
    EXPECT_EQ(pressAll(), 0);

    pressKey(window, Qt::Key_F);
    EXPECT_EQ(heard, 1);
}

TEST_F(MovieControlsTest, KeepTheMouseFromTheView)
{
    moveMouse();
    QList<QWidget*> parts = panel.findChildren<QWidget*>();
    parts << &panel;
    for (QWidget* const part : parts) {
        for (const auto button : { Qt::LeftButton, Qt::RightButton, Qt::MiddleButton }) {
            send(*part, QEvent::MouseButtonPress, { 2, 2 }, button, button);
            send(*part, QEvent::MouseButtonRelease, { 2, 2 }, button);
            send(*part, QEvent::MouseButtonDblClick, { 2, 2 }, button, button);
            send(*part, QEvent::MouseButtonRelease, { 2, 2 }, button);
        }
        for (const int way : { 120, -120 }) {
            QWheelEvent wheel({ 2, 2 }, part->mapToGlobal(QPointF(2, 2)), {}, QPoint(0, way),
                Qt::NoButton, {}, Qt::NoScrollPhase, false);
            QApplication::sendEvent(part, &wheel);
        }
    }

    EXPECT_EQ(view.presses, 0);
    EXPECT_EQ(view.releases, 0);
    EXPECT_EQ(view.doubleClicks, 0);
    EXPECT_EQ(view.notches, 0);
    press(view, { 5, 5 });
    EXPECT_EQ(view.presses, 1);
    QWheelEvent wheel({ 5, 5 }, view.mapToGlobal(QPointF(5, 5)), {}, QPoint(0, 120), Qt::NoButton,
        {}, Qt::NoScrollPhase, false);
    QApplication::sendEvent(&view, &wheel);
    EXPECT_EQ(view.notches, 1);
}

TEST_F(MovieControlsTest, HaveNames)
{
    moveMouse();

    EXPECT_FALSE(panel.accessibleName().isEmpty());
    QStringList names;
    for (const QWidget* const part : panel.findChildren<QWidget*>()) {
        EXPECT_FALSE(part->accessibleName().isEmpty()) << part->metaObject()->className();
        names << part->accessibleName();
    }
    EXPECT_EQ(names.removeDuplicates(), 0);
    EXPECT_EQ(names.size(), 6);
}

TEST_F(MovieControlsTest, DoNothingWithoutAPlayer)
{
    moveMouse();

    panel.setPlayer(nullptr);
    movie.asked.clear();

    EXPECT_FALSE(panel.isVisible());
    EXPECT_EQ(player.use_count(), 1);
    play.click();
    sound.click();
    position.setValue(5);
    volume.setValue(5);
    movie.player->goOnTo(7);
    movie.player->end();
    player.reset();
    clock.advance(kLong);
    EXPECT_TRUE(movie.asked.empty());
    EXPECT_FALSE(pointerIsBlank());
    EXPECT_EQ(clock.validTimers(), 0);
}

TEST_F(MovieControlsTest, LetGoOfTheMovieThatIsReplaced)
{
    moveMouse();
    const std::shared_ptr<MoviePlayer> nextPlayer = next.makePlayer();

    panel.setPlayer(nextPlayer);

    EXPECT_FALSE(panel.isVisible());
    EXPECT_EQ(player.use_count(), 1);
    moveMouse();
    play.click();
    EXPECT_EQ(next.asked, "play ");
    EXPECT_TRUE(movie.asked.empty());
    movie.player->goOnTo(33);
    EXPECT_EQ(passed.text(), QStringLiteral("0:00"));
}

TEST_F(MovieControlsTest, DoNotWaitForAReleaseThatNeverComes)
{
    moveMouse();
    press(position, at(position, 0.5));
    const std::shared_ptr<MoviePlayer> nextPlayer = next.makePlayer();

    panel.setPlayer(nextPlayer); // Hidden, they do not hear of the hand any more.
    next.player->open({ 640, 360 }, 10);
    moveMouse();
    next.player->goOnTo(2);

    EXPECT_EQ(position.value(), 2'000);
    clock.advance(kLong);
    EXPECT_FALSE(panel.isVisible());
}

TEST_F(MovieControlsTest, GoBeforeTheirMovie)
{
    moveMouse();

    made.reset();

    EXPECT_EQ(player.use_count(), 1);
    movie.player->goOnTo(7);
    moveMouse();
    pressKey(window, Qt::Key_Tab);
    clock.advance(kLong);
    EXPECT_EQ(clock.validTimers(), 0);
}

TEST_F(MovieControlsTest, AreWhiteOnADarkVeil)
{
    moveMouse();
    QImage image(panel.size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    panel.render(&image, {}, {}, QWidget::DrawChildren);

    EXPECT_EQ(image.pixelColor(0, 0).alpha(), 0); // Round corners.
    const QColor veil = image.pixelColor(panel.width() / 2, 2);
    EXPECT_LT(veil.lightness(), 40);
    EXPECT_GT(veil.alpha(), 128);
    EXPECT_LT(veil.alpha(), 255);
    for (const QWidget* const part : panel.findChildren<QWidget*>()) {
        int lightest = 0;
        for (int y = part->y(); y < part->geometry().bottom(); ++y) {
            for (int x = part->x(); x < part->geometry().right(); ++x)
                lightest = std::max(lightest, image.pixelColor(x, y).lightness());
        }
        EXPECT_GT(lightest, 200) << part->accessibleName().toStdString();
    }
}

TEST_F(MovieControlsTest, ShowHowFarTheMovieIs)
{
    moveMouse();
    const auto lightAt = [&](double share) {
        QImage image(position.size(), QImage::Format_RGB32);
        image.fill(Qt::black);
        position.render(&image, {}, {}, {});
        return qGray(image.pixel(at(position, share).toPoint()));
    };
    movie.player->goOnTo(50);

    EXPECT_EQ(lightAt(0.5), 255);
    EXPECT_EQ(lightAt(0.25), 255);
    EXPECT_LT(lightAt(0.75), 128);
    EXPECT_GT(lightAt(0.75), 20);

    movie.player->open({ 640, 360 }, std::nullopt); // A line that leads nowhere.
    for (const double share : { 0.25, 0.75 }) {
        EXPECT_LT(lightAt(share), 128);
        EXPECT_GT(lightAt(share), 20);
    }
}

TEST_F(MovieControlsTest, RunFromRightToLeftWhereTextDoes)
{
    position.setLayoutDirection(Qt::RightToLeft);
    moveMouse();

    press(position, at(position, 0.75));

    EXPECT_NEAR(player->position(), 25, 0.5);
}

} // namespace
} // namespace quorvane
