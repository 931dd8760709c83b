// SPDX-License-Identifier: GPL-3.0-or-later
// The name of the file, over the slide.
#include "app/SlideController.h"
#include "app/SlideLabel.h"
#include "platform/PathRules.h"
#include "platform/UserDefaults.h"
#include "settings/SettingsCatalogue.h"

namespace quorvane {

void SlideController::ShowFilePath() { toggleLabel(kShowFilePath, kShowFileName); }

void SlideController::ShowFileName() { toggleLabel(kShowFileName, kShowFilePath); }

void SlideController::toggleLabel(QLatin1String setting, QLatin1String other)
{
    delayNextImage();
    const bool isOn = !mDefaults.boolValue(setting);
    mDefaults.setValue(setting, isOn);
    if (isOn && mDefaults.boolValue(other))
        mDefaults.setValue(other, false);
    updateInfoDisplayForURL(mSequence.current());
}

void SlideController::updateInfoDisplayForURL(const std::optional<FileURL>& url)
{
    const bool showsPath = mDefaults.boolValue(kShowFilePath);
    const bool isWanted = url && (showsPath || mDefaults.boolValue(kShowFileName));
    if (!isWanted) {
        if (mLabel)
            mLabel->putAway();
        return;
    }
    if (!mLabel && mView)
        mLabel = new SlideLabel(*mView->widget());
    if (!mLabel)
        return;
    const QByteArray path = url->path();
    const QByteArray text
        = showsPath ? path : deletingPathExtension(lastPathComponent(path).toByteArray());
    mLabel->setName(QString::fromUtf8(text));
}

} // namespace quorvane
