// SPDX-License-Identifier: GPL-3.0-or-later
// What is heard of a show.
#include "ShowTest.h"
#include "support/MovieBytes.h"
#include "support/SoundDevice.h"

namespace quorvane::show {

namespace {

/// Longer than what is on its way to the loudspeaker.
constexpr std::chrono::milliseconds kSettled { 1000 };

constexpr int kSamplesPerSecond = 8000;

struct Sound : ShowTest {
    /// Red, a sound, blue.
    void startWith(double seconds)
    {
        ASSERT_TRUE(
            desktop.waitFor(QStringLiteral("a sound server"), [this] { return device.isReady(); }));
        pictures.writeSolid("1.png", kRed);
        pictures.write("2.wav",
            tests::movieBytes({ .container = "wav",
                .isSound = true,
                .soundSeconds = seconds,
                .loudness = 12000 }));
        pictures.writeSolid("3.png", kBlue);
        viewer->setVariable("PULSE_SERVER", device.address());
        startShow();
        ASSERT_TRUE(ready(kRed));
    }

    [[nodiscard]] testing::AssertionResult isHeard()
    {
        return waitWhileRunning(
            QStringLiteral("sound"), [this] { return device.heard().samples > 0; });
    }

    [[nodiscard]] testing::AssertionResult fallsSilent()
    {
        desktop.pause(kSettled);
        device.heard();
        desktop.pause(kSettled);
        const int samples = device.heard().samples;
        if (samples == 0)
            return testing::AssertionSuccess();
        return testing::AssertionFailure() << samples << " samples";
    }

    tests::SoundDevice device;
};

TEST_F(Sound, IsHeardToItsEndBeforeTheNextSlideComes)
{
    startWith(1);

    desktop.key(XK_Right);
    ASSERT_TRUE(shows(kBlue));

    EXPECT_NEAR(device.heard().samples, kSamplesPerSecond, kSamplesPerSecond / 10);
    EXPECT_TRUE(fallsSilent());
}

TEST_F(Sound, EndsWhenItsSlideIsLeft)
{
    startWith(30);
    desktop.key(XK_Right);
    ASSERT_TRUE(isHeard());

    ASSERT_TRUE(leadsTo(XK_Right, kBlue));

    EXPECT_TRUE(fallsSilent());
}

TEST_F(Sound, RestsWhileItIsPaused)
{
    startWith(30);
    desktop.key(XK_Right);
    ASSERT_TRUE(isHeard());

    desktop.key(XK_space);
    EXPECT_TRUE(fallsSilent());
    desktop.key(XK_space);

    EXPECT_TRUE(isHeard());
}

TEST_F(Sound, EndsWithTheShow)
{
    startWith(30);
    desktop.key(XK_Right);
    ASSERT_TRUE(isHeard());

    desktop.key(XK_Escape);

    EXPECT_TRUE(fallsSilent());
}

} // namespace

} // namespace quorvane::show
