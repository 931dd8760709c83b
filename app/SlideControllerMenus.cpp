// SPDX-License-Identifier: GPL-3.0-or-later
// How the commands look in the menus, and the panel that stands for them.
#include "app/ControlPanel.h"
#include "app/MenuKey.h"
#include "app/Menus.h"
#include "app/SlideController.h"
#include "app/SlideWindow.h"
#include "platform/UserDefaults.h"
#include "settings/SettingsCatalogue.h"

#include <QLayout>
#include <QMenuBar>

#include <algorithm>
#include <array>

namespace quorvane {

MenuItemState SlideController::validateMenuItem(QLatin1String command) const
{
    const bool isShow = hasSlides();
    if (command == QLatin1String("Play")) {
        if (!isShow)
            return { .isEnabled = false };
        return { .title = isPlaying() ? tr("Stop Slideshow") : tr("Start Slideshow") };
    }
    constexpr std::array kSteps { QLatin1String("nextSlide"), QLatin1String("previousSlide"),
        QLatin1String("firstSlide") };
    if (std::find(kSteps.begin(), kSteps.end(), command) != kSteps.end())
        return { .isEnabled = isShow };
    if (command == QLatin1String("ShowControls"))
        return { .title = isShowingControls() ? tr("Hide Controls") : tr("Show Controls") };
    if (command == QLatin1String("FullScreen"))
        return { .isEnabled = mWindowMode && mWindow && !mWindow->isFullScreen() };
    return validateCheckMark(command);
}

MenuItemState SlideController::validateCheckMark(QLatin1String command) const
{
    struct Mode {
        QLatin1String command;
        QLatin1String value;
    };
    constexpr std::array kModes { Mode { QLatin1String("ShrinkToFit"), kFitModeFit },
        Mode { QLatin1String("ZoomToFit"), kFitModeZoom },
        Mode { QLatin1String("FillScreen"), kFitModeFill },
        Mode { QLatin1String("Stretch"), kFitModeStretch } };
    for (const Mode& mode : kModes)
        if (command == mode.command)
            return { .isChecked = mDefaults.stringValue(kImageFitMode) == mode.value };
    if (command == QLatin1String("ShowFilePath"))
        return { .isChecked = mDefaults.boolValue(kShowFilePath) };
    if (command == QLatin1String("ShowFileName"))
        return { .isChecked = mDefaults.boolValue(kShowFileName) };
    return {};
}

bool SlideController::isShowingControls() const
{
    return mControlWindow && mControlWindow->isVisible();
}

void SlideController::makeControls()
{
    mControlWindow = std::make_unique<ControlPanel>();
    ControlPanel& panel = *mControlWindow;
    QMenuBar* const bar = mMenus->makeMenuBar(panel);
    panel.layout()->setMenuBar(bar);
    openMenusByKey(panel, *bar);
    takeDrops(panel);
    connect(&panel, &ControlPanel::playWanted, this, &SlideController::Play);
    connect(&panel, &ControlPanel::previousWanted, this, &SlideController::previousSlide);
    connect(&panel, &ControlPanel::nextWanted, this, &SlideController::nextSlide);
    connect(&panel, &ControlPanel::openWanted, this, &SlideController::openMenu);
    connect(&panel, &ControlPanel::intervalChosen, this,
        [this](double seconds) { mDefaults.setValue(kSlideInterval, seconds); });
    connect(&panel, &ControlPanel::closedByHand, this, &SlideController::welcomeClosedByHand);
    connect(this, &SlideController::playingChanged, &panel, &ControlPanel::setPlaying);
    connect(this, &SlideController::slideChanged, &panel, [this] { updateControls(); });
}

void SlideController::ShowControls()
{
    if (isShowingControls()) {
        mControlWindow->hide();
        return;
    }
    if (!mControlWindow)
        makeControls();
    mControlsStandIn = false;
    updateControls();
    mControlWindow->showFloating(mWindow.get());
}

void SlideController::updateControls()
{
    if (!mControlWindow)
        return;
    mControlWindow->setEnabledForSlides(hasSlides());
    mControlWindow->setPlaying(isPlaying());
    mControlWindow->setInterval(mDefaults.floatValue(kSlideInterval));
}

} // namespace quorvane
