// SPDX-License-Identifier: GPL-3.0-or-later
// The controls that float over a movie.
#pragma once

#include "platform/Clock.h"
#include "platform/MoviePlayer.h"

#include <QPoint>
#include <QWidget>

#include <memory>
#include <optional>

class QGraphicsOpacityEffect;
class QLabel;

namespace quorvane {

class PanelButton;
class PanelSlider;

/// A panel near the lower edge of the view: play and pause, the place in the movie with the time
/// that has passed and that is left, sound and its volume. It comes when the mouse or a key moves
/// on it, and fades three seconds after the last of that, together with the mouse's pointer. What
/// is done to it does not reach the view. Thread: main.
class MovieControls : public QWidget, private MovieObserver {
    Q_OBJECT

public:
    /// \param view   becomes the parent.
    /// \param clock  must outlive the panel.
    MovieControls(QWidget& view, Clock& clock);
    ~MovieControls() override;

    /// What it controls from now on. It is hidden until it is wanted. \param player  nullptr for
    /// nothing.
    void setPlayer(const std::shared_ptr<MoviePlayer>& player);

    /// Gives a movie the volume of the one before. That of the first one is kept: it may have
    /// played elsewhere.
    void keepVolume(MoviePlayer& player);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    struct Volume {
        double volume = 1;
        bool isMuted = false;
    };

    void movieInformationChanged() override { refresh(); }
    void moviePositionMoved() override { refresh(); }
    void movieControlled() override { refresh(); }
    void movieEnded(MovieEnd /*end*/) override { refresh(); }

    void layOut();
    void wake();
    void rest();
    void fade();
    void vanish();
    void giveFocusBack();
    bool windowKeyPressed(const QKeyEvent& event);
    void viewEvent(const QEvent& event);
    bool isMove(const QEvent& event);
    bool takesKey(const QObject* target, int key) const;
    void place();
    void refresh();
    void updateTimes();
    void showTimes(int passed);
    void playOrPause();
    void muteOrNot();
    void seek(int milliseconds);
    void holdMovie();
    void releaseMovie();
    void turnUpTo(int volume);

    QWidget& mView;
    Clock& mClock;
    std::shared_ptr<MoviePlayer> mPlayer;
    PanelButton* mPlay; ///< These are children.
    QLabel* mPassed;
    PanelSlider* mPosition;
    QLabel* mLeft;
    PanelButton* mSound;
    PanelSlider* mVolume;
    QGraphicsOpacityEffect* mOpacity;
    QPoint mMouse; ///< Where it was; global.
    bool mPlaysOn = false; ///< As soon as the knob is let go.
    std::unique_ptr<Timer> mRest; ///< Until it fades.
    std::unique_ptr<Timer> mFading; ///< While it does.
    std::optional<Volume> mVolumeKept; ///< For the next movie, too; nothing before the first.
};

} // namespace quorvane
