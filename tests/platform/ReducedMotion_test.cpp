// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/ReducedMotion.h"

#include <gtest/gtest.h>

namespace quorvane {
namespace {

struct Row {
    const char* what;
    const char* group;
    const char* key;
    QVariant value;
    bool expected;
};

constexpr const char* kCommon = "org.freedesktop.appearance";
constexpr const char* kGnome = "org.gnome.desktop.interface";
constexpr const char* kPlasma = "org.kde.kdeglobals.KDE";

struct Wish : testing::TestWithParam<Row> { };

TEST_P(Wish, IsReadFromWhatTheDesktopSays)
{
    const Row& row = GetParam();
    DesktopSettings settings;
    settings[QString::fromLatin1(row.group)][QString::fromLatin1(row.key)] = row.value;
    EXPECT_EQ(wantsReducedMotion(settings), row.expected);
}

INSTANTIATE_TEST_SUITE_P(Each, Wish,
    testing::Values( //
        Row { "common", kCommon, "reduced-motion", 1U, true },
        Row { "common_not", kCommon, "reduced-motion", 0U, false },
        Row { "common_other_kind", kCommon, "reduced-motion", QVariantList(), false },
        Row { "gnome", kGnome, "enable-animations", false, true },
        Row { "gnome_not", kGnome, "enable-animations", true, false },
        Row { "gnome_other_kind", kGnome, "enable-animations", QStringLiteral("false"), false },
        Row { "gnome_other_group", kCommon, "enable-animations", false, false },
        Row { "plasma_text", kPlasma, "AnimationDurationFactor", QStringLiteral("0"), true },
        Row { "plasma_number", kPlasma, "AnimationDurationFactor", 0.0, true },
        Row { "plasma_slower", kPlasma, "AnimationDurationFactor", QStringLiteral("0.5"), false },
        Row { "plasma_words", kPlasma, "AnimationDurationFactor", QStringLiteral("none"), false },
        Row { "nothing", kPlasma, "ColorScheme", QStringLiteral("Breeze"), false }),
    [](const auto& row) { return std::string(row.param.what); });

TEST(ReducedMotion, IsNotAskedForWhereNobodyAnswers)
{
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    qputenv("XDG_RUNTIME_DIR", "/nonexistent");
    const ReducedMotion motion;
    EXPECT_FALSE(motion.isReduced());
}

} // namespace
} // namespace quorvane
