// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/SettingsCatalogue.h"

#include "platform/PropertyList.h"
#include "platform/UserDefaults.h"

#include <QFile>

#include <array>

namespace quorvane {

namespace {

constexpr std::array kTransitions {
    QLatin1String { "None" },
    QLatin1String { "Cross Fade" },
    QLatin1String { "Fast Cross Fade" },
    QLatin1String { "Flip" },
    QLatin1String { "Slide" },
    QLatin1String { "Rotate Left Right" },
    QLatin1String { "Rotate Left" },
    QLatin1String { "Shrink" },
    QLatin1String { "Expand" },
    QLatin1String { "Bar Swipe" },
    QLatin1String { "Swipe" },
    QLatin1String { "Mod" },
    QLatin1String { "All" },
};

constexpr std::array kSorts { kSortName, kSortURL, kSortDate, kSortRandom };
constexpr std::array kEndModes { kEndModeRewind, kEndModeWait, kEndModeClose };
constexpr std::array kFitModes { kFitModeFit, kFitModeZoom, kFitModeFill, kFitModeStretch };

constexpr std::array kRenderers { kRendererAutomatic, kRendererRaster, kRendererOpenGL };

constexpr std::array kCatalogue {
    Setting { kSlideInterval, SettingType::Real },
    Setting { kTransition, SettingType::Choice, kTransitions },
    Setting { kSort, SettingType::Choice, kSorts },
    Setting { kEndMode, SettingType::Choice, kEndModes },
    Setting { kMaxFolderLevel, SettingType::Integer },
    Setting { kShowNewItemsASAP, SettingType::Bool },
    Setting { kImageFitMode, SettingType::Choice, kFitModes },
    Setting { kCursor, SettingType::Text },
    Setting { kShowAdds, SettingType::Bool },
    Setting { kAddInterval, SettingType::Integer },
    Setting { kAddFolder, SettingType::Data },
    Setting { kShowFilePath, SettingType::Bool },
    Setting { kShowFileName, SettingType::Bool },
    Setting { kAutoStart, SettingType::Bool },
    Setting { kShowWelcome, SettingType::Bool },
    Setting { kOpenLastUsedFolder, SettingType::Bool },
    Setting { kHintsShown, SettingType::Bool },
    Setting { kRecentFolderBookmarks, SettingType::DataList },
    Setting { kLastUsedOpenDirectory, SettingType::Text },
    Setting { kImageEditorPath, SettingType::Text },
    Setting { kMovieEditorPath, SettingType::Text },
    Setting { kScreenRect, SettingType::Text },
    Setting { kGridWindowRect, SettingType::Text },
    Setting { kIgnoreVersion, SettingType::Text },
    Setting { kNavLastRootDirectory, SettingType::Text },
    Setting { kRenderer, SettingType::Choice, kRenderers },
};

} // namespace

std::span<const Setting> settingsCatalogue() { return kCatalogue; }

void registerDefaultSettings(UserDefaults& defaults)
{
    QFile resource(QStringLiteral(":/resources/UserDefaults.plist"));
    if (!resource.open(QIODevice::ReadOnly))
        return;
    if (const auto list = readPropertyList(resource.readAll()))
        defaults.registerDefaults(list->toMap());
}

} // namespace quorvane
