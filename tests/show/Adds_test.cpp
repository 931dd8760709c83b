// SPDX-License-Identifier: GPL-3.0-or-later
// Slides of the ad folder between those of the show.
#include "Bookmarks.h"
#include "ShowTest.h"

namespace quorvane::show {

namespace {

struct Adds : ShowTest {
    /// Five slides, and this one ad after every two of them.
    [[nodiscard]] testing::AssertionResult startsWithAdd(const QByteArray& add)
    {
        pictures.makeFolder("show");
        pictures.makeFolder("ads");
        const Pixel colours[] { kRed, kGreen, kBlue, kYellow, kMagenta };
        for (int i = 0; i < 5; ++i)
            pictures.writeSolid("show/" + QByteArray::number(i) + ".png", colours[i]);
        pictures.write("ads/ad.png", add);
        viewer->writeSettings(plainSettings(
            { { QStringLiteral("ShowAdds"), true }, { QStringLiteral("AddInterval"), 2 },
                { QStringLiteral("EndMode"), QStringLiteral("EndModeWait") },
                { QStringLiteral("SVAddFolder"), bookmarkOf(pictures.path("ads")) } }));
        viewer->start({ pictures.path("show") });
        return ready(kRed);
    }
};

TEST_F(Adds, ComeAfterTheThirdSlideAndOnlyOnceWhereTheShowWaits)
{
    ASSERT_TRUE(startsWithAdd(encoded(solidPicture(kCyan), "png")));

    for (const Pixel colour : { kGreen, kBlue, kCyan, kYellow, kMagenta })
        ASSERT_TRUE(leadsTo(XK_Right, colour));

    desktop.key(XK_Right);
    EXPECT_TRUE(staysFor(std::chrono::milliseconds(500)));
}

TEST_F(Adds, ThatCannotBeShownAreLeftOut)
{
    ASSERT_TRUE(startsWithAdd("no picture"));

    for (const Pixel colour : { kGreen, kBlue, kYellow, kMagenta })
        ASSERT_TRUE(leadsTo(XK_Right, colour));
}

} // namespace

} // namespace quorvane::show
