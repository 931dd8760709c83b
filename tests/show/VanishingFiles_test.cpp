// SPDX-License-Identifier: GPL-3.0-or-later
// Pictures that are taken away while they are shown.
#include "ShowTest.h"

#include <set>

namespace quorvane::show {

namespace {

using std::chrono::milliseconds;

/// More slides than a program reads ahead.
constexpr int kSlides = 12;

Pixel colourOf(int slide) { return { 0x302010U + static_cast<quint32>(slide) * 0x0f0a08U }; }

QByteArray nameOf(int slide) { return QByteArray::number(slide) + ".png"; }

struct VanishingFiles : ShowTest {
    [[nodiscard]] testing::AssertionResult showsTheFirst()
    {
        for (int slide = 0; slide < kSlides; ++slide)
            pictures.writeSolid(nameOf(slide), colourOf(slide));
        startShow();
        return ready(colourOf(0));
    }

    [[nodiscard]] testing::AssertionResult walksWithout(int deleted)
    {
        for (int slide = 1; slide < kSlides; ++slide) {
            if (slide == deleted)
                continue;
            if (auto shown = leadsTo(XK_Right, colourOf(slide)); !shown)
                return shown;
        }
        return testing::AssertionSuccess();
    }

    void stepsOn(int steps)
    {
        for (int i = 0; i < steps && viewer->running(); ++i) {
            desktop.key(XK_Right);
            desktop.pause(milliseconds(100));
        }
    }

    /// Nothing but slides was on the screen.
    [[nodiscard]] testing::AssertionResult showedOnlySlides()
    {
        std::set<Pixel> slides;
        for (int slide = 0; slide < kSlides; ++slide)
            slides.insert(colourOf(slide));
        return showedOnly(slides, desktop.takeRecording());
    }
};

TEST_F(VanishingFiles, ADeletedFileIsLeftOut)
{
    ASSERT_TRUE(showsTheFirst());
    constexpr int kDeleted = 8;

    pictures.remove(nameOf(kDeleted));

    desktop.startRecording(middle());
    ASSERT_TRUE(walksWithout(kDeleted));
    EXPECT_TRUE(showedOnlySlides());
}

TEST_F(VanishingFiles, ADeletedFolderEndsTheShowCalmly)
{
    ASSERT_TRUE(showsTheFirst());
    desktop.startRecording(middle());

    pictures.removeAll();

    stepsOn(2 * kSlides); // What was read ahead may stay; all the rest is gone after one round.

    if (viewer->running()) {
        EXPECT_TRUE(showedOnlySlides());
    }
    desktop.key(XK_Escape);
    EXPECT_TRUE(endsTheShow());
}

TEST_F(VanishingFiles, ADeletedFolderEndsARunningShowCalmly)
{
    ASSERT_TRUE(showsTheFirst());
    desktop.key(XK_1);

    pictures.removeAll();

    desktop.pause(milliseconds(4000));
    desktop.key(XK_Escape);
    EXPECT_TRUE(endsTheShow());
}

} // namespace

} // namespace quorvane::show
