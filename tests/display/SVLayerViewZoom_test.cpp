// SPDX-License-Identifier: GPL-3.0-or-later
#include "display/SVLayerView.h"
#include "images/SVImage.h"
#include "platform/UserDefaults.h"
#include "settings/SettingsCatalogue.h"
#include "support/GeometryMatchers.h"
#include "support/ManualClock.h"
#include "support/PictureFiles.h"

#include <gtest/gtest.h>

namespace quorvane {
namespace {

using namespace tests;
using namespace std::chrono_literals;

struct Zoom : testing::Test {
    UserDefaults defaults;
    ManualClock clock;
    SVLayerView view { defaults, clock };

    Zoom()
    {
        defaults.setValue(kTransition, QStringLiteral("None"));
        view.resize(500, 300);
    }

    void show(QSize size) { view.setImage(SVImage::imageWithImage(solid(kRed, size)), true); }
    const Layer& layer() const { return view.mCurrentLayer(); }
};

TEST_F(Zoom, InMakesThePictureHalfAsLargeAgainEachTime)
{
    show({ 400, 300 });

    for (int i = 0; i < 3; ++i)
        view.zoomIn();

    EXPECT_EQ(layer().boundsSize(), QSizeF(1350, 1012.5));
    EXPECT_EQ(layer().position(), QPointF(250, 150)) << "it stays in the middle";
}

TEST_F(Zoom, TakesASecondAndIsBusyMeanwhile)
{
    show({ 400, 300 });
    view.zoomIn();
    clock.advance(0ms);

    EXPECT_TRUE(view.isBusy());
    ASSERT_TRUE(layer().animationForKey("zoomW"));
    EXPECT_EQ(layer().animationForKey("zoomW")->timing, TimingFunction::easeInEaseOut());
    EXPECT_EQ(std::get<ValueChange>(layer().animationForKey("zoomH")->change).to, 450);

    clock.advance(1100ms);
    EXPECT_FALSE(view.isBusy());
    EXPECT_EQ(clock.validTimers(), 0);
}

TEST_F(Zoom, ThatIsStillGrowingCanBeDraggedNoFartherThanItsEdges)
{
    show({ 500, 300 });
    view.zoomIn();
    clock.advance(300ms);

    view.panX(1000, 1000);
    const QRectF rect = view.mCurrentLayer()
                            .presentation(secondsFromDuration(clock.now().time_since_epoch()))
                            .rect();
    EXPECT_LE(rect.left(), 0.01);
    EXPECT_GE(rect.right(), 500);
    EXPECT_LE(rect.top(), 0.01);
    EXPECT_GE(rect.bottom(), 300);
}

TEST_F(Zoom, OneGivesEachPixelAPoint)
{
    show({ 1000, 900 });

    view.zoomOne();

    EXPECT_EQ(layer().boundsSize(), QSizeF(1000, 900));
}

TEST_F(Zoom, OffLeadsBackToTheFittedPlace)
{
    show({ 400, 300 });
    view.zoomIn();
    clock.advance(2s);

    view.zoomOff();
    clock.advance(2s);

    EXPECT_TRUE(isExactly(layer().frame(), { 50, 0, 400, 300 }));
    EXPECT_FALSE(view.isBusy());
}

TEST_F(Zoom, LetsThePictureBeMovedAsLongAsItCoversTheView)
{
    show({ 400, 300 });
    view.zoomIn();
    clock.advance(2s); // 600 x 450: 50 points stand out on either side, 75 above and below.

    view.panX(20, 30);
    EXPECT_EQ(layer().position(), QPointF(270, 120));
    view.panX(1000, 1000);
    EXPECT_EQ(layer().position(), QPointF(300, 75));
    view.panX(-1000, -1000);
    EXPECT_EQ(layer().position(), QPointF(200, 225));
}

TEST_F(Zoom, MovesANarrowPictureUpAndDownOnly)
{
    show({ 100, 300 });
    view.zoomIn();
    clock.advance(2s);

    view.panX(50, 10);

    EXPECT_EQ(layer().position(), QPointF(250, 140));
}

TEST_F(Zoom, DoesNothingWithoutAPicture)
{
    view.zoomIn();
    view.zoomOne();
    view.panX(5, 5);

    EXPECT_EQ(clock.validTimers(), 0);
    EXPECT_EQ(layer().boundsSize(), QSizeF(0, 0));
}

} // namespace
} // namespace quorvane
