// SPDX-License-Identifier: GPL-3.0-or-later
// Every setting that the program knows: its key, its type, its legal values.
#pragma once

#include <QLatin1String>

#include <span>

namespace quorvane {

class UserDefaults;

// clang-format off
inline constexpr QLatin1String kSlideInterval { "slideInterval" };
inline constexpr QLatin1String kTransition { "transition" };
inline constexpr QLatin1String kSort { "sort" };
inline constexpr QLatin1String kEndMode { "EndMode" };
inline constexpr QLatin1String kMaxFolderLevel { "MaxFolderLevel" };
inline constexpr QLatin1String kShowNewItemsASAP { "showNewItemsASAP" };
inline constexpr QLatin1String kImageFitMode { "ImageFitMode" };
inline constexpr QLatin1String kCursor { "cursor" };
inline constexpr QLatin1String kShowAdds { "ShowAdds" };
inline constexpr QLatin1String kAddInterval { "AddInterval" };
inline constexpr QLatin1String kAddFolder { "SVAddFolder" };
inline constexpr QLatin1String kShowFilePath { "showFilePath" };
inline constexpr QLatin1String kShowFileName { "showFileName" };
inline constexpr QLatin1String kAutoStart { "autoStart" };
inline constexpr QLatin1String kShowWelcome { "ShowWelcome" };
inline constexpr QLatin1String kOpenLastUsedFolder { "OpenLastUsedFolder" };
inline constexpr QLatin1String kHintsShown { "HintsShown" };
inline constexpr QLatin1String kRecentFolderBookmarks { "RecentFolderBookmarks" };
inline constexpr QLatin1String kLastUsedOpenDirectory { "lastUsedOpenDirectory" };
inline constexpr QLatin1String kImageEditorPath { "ImageEditorPath" };
inline constexpr QLatin1String kMovieEditorPath { "MovieEditorPath" };
inline constexpr QLatin1String kScreenRect { "SVScreenRectFrameTHING" };
inline constexpr QLatin1String kGridWindowRect { "SVGridWindowRect" };
inline constexpr QLatin1String kIgnoreVersion { "IgnoreVersion" };
inline constexpr QLatin1String kNavLastRootDirectory { "NSNavLastRootDirectory" };
inline constexpr QLatin1String kRenderer { "renderer" };

// Values of kSort; any other means a random order.
inline constexpr QLatin1String kSortName { "name" };
inline constexpr QLatin1String kSortURL { "url" };
inline constexpr QLatin1String kSortDate { "date" };
inline constexpr QLatin1String kSortRandom { "random" };

// Values of kEndMode.
inline constexpr QLatin1String kEndModeRewind { "EndModeRewind" };
inline constexpr QLatin1String kEndModeWait { "EndModeWait" };
inline constexpr QLatin1String kEndModeClose { "EndModeClose" };

// Values of kImageFitMode; any other stretches as kFitModeStretch does, none fits as kFitModeFit does.
inline constexpr QLatin1String kFitModeFit { "FitModeFit" };
inline constexpr QLatin1String kFitModeZoom { "FitModeZoom" };
inline constexpr QLatin1String kFitModeFill { "FitModeFill" };
inline constexpr QLatin1String kFitModeStretch { "FitModeStretch" };

// Values of kRenderer; any other leaves the choice to the program.
inline constexpr QLatin1String kRendererAutomatic { "automatic" };
inline constexpr QLatin1String kRendererRaster { "raster" };
inline constexpr QLatin1String kRendererOpenGL { "opengl" };
// clang-format on

enum class SettingType {
    Real, ///< A number; slideInterval counts seconds.
    Integer,
    Bool,
    Text,
    Choice, ///< Text out of Setting::choices.
    Data, ///< Bytes; empty means none.
    DataList,
};

struct Setting {
    QLatin1String key;
    SettingType type;
    std::span<const QLatin1String> choices = {}; ///< For SettingType::Choice.
};

/// All settings, each once.
std::span<const Setting> settingsCatalogue();

/// Puts the defaults that the program brings along beneath the user's settings. Without them,
/// should the resource be unreadable, every setting reads as absent. Thread: main, before anything
/// reads.
void registerDefaultSettings(UserDefaults& defaults);

} // namespace quorvane
