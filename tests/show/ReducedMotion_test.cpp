// SPDX-License-Identifier: GPL-3.0-or-later
// A person who has asked the desktop for less movement gets none from us.
#include "ShowTest.h"

#include <algorithm>

namespace quorvane::show {

namespace {

using namespace std::chrono_literals;

/// Between the two slides' colours; sliding from the one to the other has none.
bool isMixed(const ColourChange& change)
{
    return (change.colour.rgb & 0xff0000U) != 0 && (change.colour.rgb & 0xff00U) != 0;
}

struct ReducedMotion : ShowTest {
    std::optional<Viewer> portal; ///< No viewer, but a program of the same desktop.

    void startPortal(const char* mode)
    {
        portal.emplace(&desktop);
        portal->setProgram(SHOW_TEST_FAKE_PORTAL);
        portal->start({ mode });
        ASSERT_TRUE(
            desktop.waitFor(QStringLiteral("the portal"), [&] { return says("ready") == 1; }));
    }

    /// How many times.
    qsizetype says(const char* word) const { return portal->standardOutput().count(word); }

    void start()
    {
        pictures.writeSolid("1.png", kRed, { 1280, 720 });
        pictures.writeSolid("2.png", kGreen, { 1280, 720 });
        startShow({ { QStringLiteral("transition"), QStringLiteral("Slide") } });
        ASSERT_TRUE(ready(kRed));
    }

    void waitUntilAsked(int times)
    {
        ASSERT_TRUE(waitWhileRunning(
            QStringLiteral("the question"), [&] { return says("asked") >= times; }));
        desktop.pause(200ms);
    }

    bool stepFades()
    {
        desktop.startRecording(middle());
        EXPECT_TRUE(leadsTo(XK_Right, kGreen));
        const auto changes = desktop.takeRecording();
        return std::any_of(changes.begin(), changes.end(), isMixed);
    }
};

TEST_F(ReducedMotion, FadesWhereTheSettingSaysSlideAndKeepsTheSetting)
{
    ASSERT_NO_FATAL_FAILURE(startPortal("reduced"));
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_NO_FATAL_FAILURE(waitUntilAsked(1));

    EXPECT_TRUE(stepFades());
    EXPECT_TRUE(quits());
    EXPECT_EQ(viewer->settings()->value(QStringLiteral("transition")).toString(),
        QStringLiteral("Slide"));
}

TEST_F(ReducedMotion, IsFollowedWhenItIsAskedForDuringTheShow)
{
    ASSERT_NO_FATAL_FAILURE(startPortal("later"));
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_NO_FATAL_FAILURE(waitUntilAsked(2));

    EXPECT_TRUE(stepFades());
}

TEST_F(ReducedMotion, IsNotMeantByAPortalThatAnswersNonsense)
{
    ASSERT_NO_FATAL_FAILURE(startPortal("garbage"));
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_NO_FATAL_FAILURE(waitUntilAsked(1));

    EXPECT_FALSE(stepFades());
    EXPECT_TRUE(quits());
}

TEST_F(ReducedMotion, IsNotWaitedForWhenThePortalIsSilent)
{
    ASSERT_NO_FATAL_FAILURE(startPortal("silent"));
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_NO_FATAL_FAILURE(waitUntilAsked(1));

    EXPECT_FALSE(stepFades());
    EXPECT_TRUE(quits());
}

} // namespace

} // namespace quorvane::show
