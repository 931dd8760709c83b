// SPDX-License-Identifier: GPL-3.0-or-later
// Stepping fast: nothing but the pictures is ever on the screen, and their order holds.
#include "ShowTest.h"

#include <algorithm>

namespace quorvane::show {

namespace {

using std::chrono::milliseconds;

constexpr int kSlides = 20;

Pixel colourOf(int slide) { return { 0x401000U + static_cast<quint32>(slide) * 0x080a0cU }; }

/// The slide that has this colour; -1 for none.
int slideOf(Pixel colour)
{
    for (int slide = 0; slide < kSlides; ++slide) {
        if (colourOf(slide) == colour)
            return slide;
    }
    return -1;
}

std::vector<int> slidesOf(const std::vector<ColourChange>& changes)
{
    std::vector<int> slides;
    slides.reserve(changes.size());
    for (const ColourChange& change : changes)
        slides.push_back(slideOf(change.colour));
    return slides;
}

struct Stepping : ShowTest {
    [[nodiscard]] testing::AssertionResult showsMany(const QString& endMode)
    {
        for (int slide = 0; slide < kSlides; ++slide)
            pictures.writeSolid(
                QByteArray::number(slide) + ".png", colourOf(slide), { 1600, 1000 });
        startShow({ { QStringLiteral("EndMode"), endMode } });
        return ready(colourOf(0));
    }

    /// Once through all slides and back to the first, each as soon as the one before is seen:
    /// the middle of the screen takes their colours and no other.
    [[nodiscard]] testing::AssertionResult walks(KeySymbol key, int step)
    {
        std::vector<int> expected { 0 };
        desktop.startRecording(middle());
        for (int i = 1; i <= kSlides; ++i) {
            expected.push_back((expected.back() + step + kSlides) % kSlides);
            if (auto shown = leadsTo(key, colourOf(expected.back())); !shown)
                return shown;
        }
        const auto seen = slidesOf(desktop.takeRecording());
        if (seen == expected)
            return testing::AssertionSuccess();
        return testing::AssertionFailure() << testing::PrintToString(seen);
    }

    /// Waits until the screen has not changed for a while.
    void settle()
    {
        Pixel before;
        do {
            before = desktop.colourAt(middle());
            desktop.pause(milliseconds(700));
        } while (desktop.colourAt(middle()) != before);
    }
};

TEST_F(Stepping, ByHandShowsEachPictureAndNothingElse)
{
    ASSERT_TRUE(showsMany(QStringLiteral("EndModeRewind")));

    EXPECT_TRUE(walks(XK_Right, 1));
}

TEST_F(Stepping, BackwardByHandShowsEachPictureAndNothingElse)
{
    ASSERT_TRUE(showsMany(QStringLiteral("EndModeWait")));

    EXPECT_TRUE(walks(XK_Left, -1));
}

TEST_F(Stepping, InABurstKeepsTheOrderAndShowsNothingElse)
{
    ASSERT_TRUE(showsMany(QStringLiteral("EndModeWait")));

    desktop.startRecording(middle());
    constexpr int kPresses = 2 * kSlides;
    for (int i = 0; i < kPresses; ++i) {
        desktop.key(XK_Right);
        desktop.pause(milliseconds(2));
    }
    settle();
    const auto slides = slidesOf(desktop.takeRecording());

    EXPECT_EQ(slides.front(), 0); // Anything foreign is -1 and breaks the order.
    EXPECT_TRUE(std::is_sorted(slides.begin(), slides.end())) << testing::PrintToString(slides);
    EXPECT_GT(slides.back(), 0);
}

TEST_F(Stepping, AfterABurstTheNextStepGoesOnFromTheSlideOnTheScreen)
{
    ASSERT_TRUE(showsMany(QStringLiteral("EndModeRewind")));
    constexpr int kPresses = 7;
    for (int i = 0; i < kPresses; ++i)
        desktop.key(XK_Right);
    settle();
    const int reached = slideOf(desktop.colourAt(middle()));

    ASSERT_GE(reached, 1);
    ASSERT_LE(reached, kPresses);
    ASSERT_TRUE(leadsTo(XK_Right, colourOf(reached + 1)));
    ASSERT_TRUE(leadsTo(XK_Left, colourOf(reached)));
}

TEST_F(Stepping, ForthAndBackInABurstShowsNothingElse)
{
    ASSERT_TRUE(showsMany(QStringLiteral("EndModeRewind")));

    desktop.startRecording(middle());
    constexpr int kPresses = 2 * kSlides;
    for (int i = 0; i < kPresses; ++i) {
        desktop.key(i % 3 == 2 ? XK_Left : XK_Right);
        desktop.pause(milliseconds(2));
    }
    settle();
    const auto slides = slidesOf(desktop.takeRecording());

    EXPECT_EQ(std::count(slides.begin(), slides.end(), -1), 0) << testing::PrintToString(slides);
}

} // namespace

} // namespace quorvane::show
