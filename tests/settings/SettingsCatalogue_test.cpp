// SPDX-License-Identifier: GPL-3.0-or-later
// The settings and their defaults: each has one, of the right kind, and there are no others.
#include "platform/PropertyList.h"
#include "platform/UserDefaults.h"
#include "settings/SettingsCatalogue.h"

#include <QFile>
#include <QResource>
#include <QSet>
#include <QStringList>

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>

// What the macros declare lies in the namespace where they stand: it has to be the global one.
static void takeResourceAway() { Q_CLEANUP_RESOURCE(settings_resources); }
static void bringResourceBack() { Q_INIT_RESOURCE(settings_resources); }

namespace quorvane {

void PrintTo(const Setting& setting, std::ostream* out)
{
    *out << QString(setting.key).toStdString();
}

namespace {

QVariantMap defaultsOfTheProgram()
{
    QFile resource(QStringLiteral(":/resources/UserDefaults.plist"));
    if (!resource.open(QIODevice::ReadOnly))
        return {};
    return readPropertyList(resource.readAll()).value_or(QVariant()).toMap();
}

QStringList keysOfTheCatalogue()
{
    QStringList keys;
    for (const Setting& setting : settingsCatalogue())
        keys.append(QString(setting.key));
    keys.sort();
    return keys;
}

bool holds(const Setting& setting, const QVariant& value)
{
    const auto isData
        = [](const QVariant& element) { return element.typeId() == QMetaType::QByteArray; };
    const QVariantList list = value.toList();
    switch (setting.type) {
    case SettingType::Real:
        return value.typeId() == QMetaType::Double;
    case SettingType::Integer:
        return value.typeId() == QMetaType::LongLong;
    case SettingType::Bool:
        return value.typeId() == QMetaType::Bool;
    case SettingType::Text:
        return value.typeId() == QMetaType::QString;
    case SettingType::Choice:
        return value.typeId() == QMetaType::QString
            && std::any_of(setting.choices.begin(), setting.choices.end(),
                [&](QLatin1String choice) { return value.toString() == choice; });
    case SettingType::Data:
        return isData(value);
    case SettingType::DataList:
        return value.typeId() == QMetaType::QVariantList
            && std::all_of(list.begin(), list.end(), isData);
    }
    return false;
}

struct SettingRow {
    const char* key;
    SettingType type;
    QStringList choices = {};
};

/// What a settings file of any version holds: nothing here may be renamed.
std::vector<SettingRow> knownSettings()
{
    const auto list
        = [](const char* words) { return QString::fromLatin1(words).split(QLatin1Char(',')); };
    return { { "slideInterval", SettingType::Real },
        { "transition", SettingType::Choice,
            list("None,Cross Fade,Fast Cross Fade,Flip,Slide,Rotate Left Right,Rotate Left,Shrink,"
                 "Expand,Bar Swipe,Swipe,Mod,All") },
        { "sort", SettingType::Choice, list("name,url,date,random") },
        { "EndMode", SettingType::Choice, list("EndModeRewind,EndModeWait,EndModeClose") },
        { "MaxFolderLevel", SettingType::Integer }, { "showNewItemsASAP", SettingType::Bool },
        { "ImageFitMode", SettingType::Choice,
            list("FitModeFit,FitModeZoom,FitModeFill,FitModeStretch") },
        { "cursor", SettingType::Text }, { "ShowAdds", SettingType::Bool },
        { "AddInterval", SettingType::Integer }, { "SVAddFolder", SettingType::Data },
        { "showFilePath", SettingType::Bool }, { "showFileName", SettingType::Bool },
        { "autoStart", SettingType::Bool }, { "ShowWelcome", SettingType::Bool },
        { "OpenLastUsedFolder", SettingType::Bool }, { "HintsShown", SettingType::Bool },
        { "RecentFolderBookmarks", SettingType::DataList },
        { "lastUsedOpenDirectory", SettingType::Text }, { "ImageEditorPath", SettingType::Text },
        { "MovieEditorPath", SettingType::Text }, { "SVScreenRectFrameTHING", SettingType::Text },
        { "SVGridWindowRect", SettingType::Text }, { "IgnoreVersion", SettingType::Text },
        { "NSNavLastRootDirectory", SettingType::Text },
        { "renderer", SettingType::Choice, list("automatic,raster,opengl") } };
}

TEST(SettingsCatalogue, NamesEachSettingOnce)
{
    const QStringList keys = keysOfTheCatalogue();

    EXPECT_EQ(QSet<QString>(keys.begin(), keys.end()).size(), keys.size());
}

TEST(SettingsCatalogue, KeepsKeysKindsAndChoices)
{
    const auto expected = knownSettings();
    const auto settings = settingsCatalogue();

    ASSERT_EQ(settings.size(), expected.size());
    for (size_t i = 0; i < settings.size(); ++i) {
        QStringList choices;
        for (const QLatin1String choice : settings[i].choices)
            choices.append(choice);
        EXPECT_EQ(QString(settings[i].key), QString::fromLatin1(expected[i].key));
        EXPECT_EQ(settings[i].type, expected[i].type) << expected[i].key;
        EXPECT_EQ(choices, expected[i].choices) << expected[i].key;
    }
}

TEST(SettingsCatalogue, HasADefaultForEachSettingAndForNothingElse)
{
    EXPECT_EQ(QStringList(defaultsOfTheProgram().keys()), keysOfTheCatalogue());
}

class SettingDefault : public testing::TestWithParam<Setting> { };

TEST_P(SettingDefault, IsOfItsKindAndLegal)
{
    const QVariant value = defaultsOfTheProgram().value(QString(GetParam().key));

    EXPECT_TRUE(holds(GetParam(), value)) << value.toString().toStdString();
}

TEST_P(SettingDefault, ShowsWhileTheUserHasSetNothing)
{
    UserDefaults defaults;
    ASSERT_FALSE(defaults.hasValue(GetParam().key));

    registerDefaultSettings(defaults);

    EXPECT_EQ(
        defaults.value(GetParam().key), defaultsOfTheProgram().value(QString(GetParam().key)));
}

INSTANTIATE_TEST_SUITE_P(SettingsCatalogue, SettingDefault,
    testing::ValuesIn(settingsCatalogue().begin(), settingsCatalogue().end()),
    [](const auto& row) { return QString(row.param.key).toStdString(); });

TEST(DefaultSettings, StandBeneathTheUsersOwn)
{
    UserDefaults defaults;
    defaults.setValue(kSort, QStringLiteral("url"));

    registerDefaultSettings(defaults);
    EXPECT_EQ(defaults.stringValue(kSort), kSortURL);
    defaults.removeValue(kSort);

    EXPECT_EQ(defaults.stringValue(kSort), kSortName);
}

TEST(DefaultSettings, KeepAWrongValueOfTheUsersAsItIs)
{
    UserDefaults defaults;
    registerDefaultSettings(defaults);

    defaults.setValue(kSort, QStringLiteral("Name"));
    defaults.setValue(kEndMode, QStringLiteral("EndModeNone"));

    EXPECT_EQ(defaults.stringValue(kSort), QStringLiteral("Name"));
    EXPECT_EQ(defaults.stringValue(kEndMode), QStringLiteral("EndModeNone"));
}

TEST(DefaultSettings, AreAllAbsentWithoutTheResource)
{
    UserDefaults defaults;
    takeResourceAway();

    registerDefaultSettings(defaults);

    bringResourceBack();
    for (const Setting& setting : settingsCatalogue())
        EXPECT_FALSE(defaults.hasValue(setting.key)) << QString(setting.key).toStdString();
    EXPECT_EQ(defaults.integerValue(kMaxFolderLevel), 0); // Unlimited.
    EXPECT_TRUE(defaults.stringValue(kSort).isNull()); // At random.
    EXPECT_FALSE(defaultsOfTheProgram().isEmpty());
}

/// What a person meets who opens a folder for the first time.
class FirstShow : public testing::Test {
protected:
    FirstShow() { registerDefaultSettings(defaults); }

    UserDefaults defaults;
};

TEST_F(FirstShow, FadesGently)
{
    EXPECT_EQ(defaults.stringValue(kTransition), QStringLiteral("Cross Fade"));
}

TEST_F(FirstShow, LeavesAFewSecondsForEachSlide)
{
    EXPECT_GE(defaults.floatValue(kSlideInterval), 3.0);
    EXPECT_LE(defaults.floatValue(kSlideInterval), 10.0);
}

TEST_F(FirstShow, StartsAtOnceAndBeginsAgainAtTheEnd)
{
    EXPECT_TRUE(defaults.boolValue(kAutoStart));
    EXPECT_EQ(defaults.stringValue(kEndMode), kEndModeRewind);
}

TEST_F(FirstShow, GoesThroughAllThatLiesInTheFolderByName)
{
    EXPECT_EQ(defaults.stringValue(kSort), kSortName);
    EXPECT_LE(defaults.integerValue(kMaxFolderLevel), 0);
    EXPECT_FALSE(defaults.boolValue(kShowNewItemsASAP));
}

TEST_F(FirstShow, FillsTheScreenWithoutCuttingOrDistorting)
{
    EXPECT_EQ(defaults.stringValue(kImageFitMode), kFitModeZoom);
}

TEST_F(FirstShow, PutsNothingOverThePictures)
{
    EXPECT_FALSE(defaults.boolValue(kShowFileName));
    EXPECT_FALSE(defaults.boolValue(kShowFilePath));
    EXPECT_FALSE(defaults.boolValue(kShowAdds));
    EXPECT_GT(defaults.integerValue(kAddInterval), 0);
    EXPECT_TRUE(defaults.dataValue(kAddFolder).isEmpty());
}

TEST_F(FirstShow, IsWelcomedAndExplained)
{
    EXPECT_TRUE(defaults.boolValue(kShowWelcome));
    EXPECT_FALSE(defaults.boolValue(kHintsShown));
    EXPECT_FALSE(defaults.boolValue(kOpenLastUsedFolder));
}

TEST_F(FirstShow, RemembersNothingOfAnyone)
{
    EXPECT_TRUE(defaults.arrayValue(kRecentFolderBookmarks).isEmpty());
    for (const QLatin1String key : { kLastUsedOpenDirectory, kImageEditorPath, kMovieEditorPath,
             kScreenRect, kGridWindowRect, kIgnoreVersion, kNavLastRootDirectory })
        EXPECT_TRUE(defaults.stringValue(key).isEmpty()) << QString(key).toStdString();
}

} // namespace
} // namespace quorvane
