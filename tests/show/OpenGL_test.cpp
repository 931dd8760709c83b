// SPDX-License-Identifier: GPL-3.0-or-later
// The same show on the other base. The driver is one that draws with the processor: slow, but
// OpenGL.
#include "ShowTest.h"

namespace quorvane::show {

namespace {

using namespace std::chrono_literals;

constexpr QSize kLarge { 1280, 720 };

struct OpenGL : ShowTest {
    void SetUp() override
    {
        ShowTest::SetUp();
        // What the driver leaks cannot be told from what we do: it is unloaded by then.
        if (viewer)
            viewer->setVariable("ASAN_OPTIONS", QByteArrayLiteral("detect_leaks=0"));
    }

    void start(const char* renderer)
    {
        pictures.writeSolid("1.png", kRed, kLarge);
        pictures.writeSolid("2.png", kGreen, kLarge);
        viewer->setVariable("QUORVANE_RENDERER", renderer);
        startShow({ { QStringLiteral("transition"), QStringLiteral("Cross Fade") } });
    }

    bool saidThatItFailed() const
    {
        return viewer->standardError().contains("OpenGL does not work here");
    }
};

TEST_F(OpenGL, ShowsStepsAndPointsAsTheOtherBaseDoes)
{
    start("opengl");
    ASSERT_TRUE(ready(kRed));

    desktop.startRecording(middle());
    ASSERT_TRUE(leadsTo(XK_Right, kGreen));
    const auto changes = desktop.takeRecording();
    EXPECT_GE(changes.size(), 4U) << "that was a cut";
    for (const auto& change : changes)
        EXPECT_NE(change.colour, kBlack);

    desktop.pause(1500ms);
    desktop.moveMouse(middle());
    desktop.holdButton(1, true);
    const QPoint inside = middle() + QPoint(24, 40);
    EXPECT_TRUE(waitWhileRunning(
        QStringLiteral("the pointer"), [&] { return desktop.colourAt(inside) != kGreen; }));
    desktop.holdButton(1, false);
    EXPECT_TRUE(shows(kGreen));
    EXPECT_FALSE(saidThatItFailed());
    EXPECT_TRUE(quits());
}

TEST_F(OpenGL, ThatIsMissingIsDoneWithout)
{
    viewer->setVariable("QT_XCB_GL_INTEGRATION", "none");
    start("opengl");
    ASSERT_TRUE(ready(kRed));
    EXPECT_TRUE(leadsTo(XK_Right, kGreen));
    EXPECT_TRUE(quits());
}

TEST_F(OpenGL, PaintsEveryTransitionAsTheOtherBaseDoesAndGivesWayWhenItFails)
{
    viewer->setProgram(SHOW_TEST_COMPARE_BASES);
    viewer->start({});

    const auto status = viewer->waitForExit(kWaitLimit);
    ASSERT_TRUE(status);
    EXPECT_EQ(status->code, 0) << viewer->standardOutput().constData()
                               << viewer->standardError().constData();
}

} // namespace

} // namespace quorvane::show
