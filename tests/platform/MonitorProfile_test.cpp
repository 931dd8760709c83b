// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/MonitorProfile.h"

#include <QColorSpace>
#include <QGuiApplication>

#include <gtest/gtest.h>

namespace quorvane {

namespace {

TEST(MonitorProfile, IsWholeWhenItIsAsLongAsItSays)
{
    const QByteArray profile = QColorSpace(QColorSpace::DisplayP3).iccProfile();

    EXPECT_TRUE(isWholeProfile(profile));
    EXPECT_FALSE(isWholeProfile(profile.chopped(1)));
    EXPECT_FALSE(isWholeProfile(profile + '\0'));
    EXPECT_FALSE(isWholeProfile(profile.first(100)));
    EXPECT_FALSE(isWholeProfile({}));
    EXPECT_FALSE(isWholeProfile(QByteArray(profile).replace(36, 4, "none")));
}

TEST(MonitorProfile, IsNoneWhereNobodyPublishesAny)
{
    EXPECT_TRUE(monitorProfile(*QGuiApplication::primaryScreen()).isEmpty());
}

} // namespace

} // namespace quorvane
