// SPDX-License-Identifier: GPL-3.0-or-later
// The small floating panel with the controls of the show.
#pragma once

#include <QWidget>

#include <memory>

namespace Ui {
class ControlPanel;
}

namespace quorvane {

/// Previous, play or pause, next, the interval, and opening. Says what the person wants; knows
/// nothing of the show. Thread: main.
class ControlPanel : public QWidget {
    Q_OBJECT

public:
    ControlPanel();
    ~ControlPanel() override;

    /// In front of all other windows. \param show  the window of the show, which goes on hearing
    /// the keys; null for none.
    void showFloating(const QWidget* show);

    /// How the play button looks.
    void setPlaying(bool isPlaying);

    /// \param hasSlides  else there is nothing to step through.
    void setEnabledForSlides(bool hasSlides);

    /// Seconds; nobody is told.
    void setInterval(double seconds);

Q_SIGNALS:
    void playWanted();
    void previousWanted();
    void nextWanted();
    void openWanted();
    void intervalChosen(double seconds);
    void closedByHand();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    std::unique_ptr<Ui::ControlPanel> mLayout;
    bool mHasPlace = false; ///< The person may have moved it.
};

} // namespace quorvane
