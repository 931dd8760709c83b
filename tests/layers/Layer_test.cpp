// SPDX-License-Identifier: GPL-3.0-or-later
#include "layers/Layer.h"
#include "support/GeometryMatchers.h"

#include <gtest/gtest.h>

namespace quorvane {
namespace {

using tests::isExactly;

using Layers = std::vector<Layer*>;

/// Draws nothing, but knows who asked.
class RecordingDelegate : public LayerDelegate {
public:
    Layers asked;

    void displayLayer(Layer& layer) override { asked.push_back(&layer); }
};

TEST(Layer, IsPlainAtFirst)
{
    const Layer layer;

    EXPECT_EQ(layer.position(), QPointF(0, 0));
    EXPECT_EQ(layer.boundsSize(), QSizeF(0, 0));
    EXPECT_EQ(layer.anchorPoint(), QPointF(0.5, 0.5));
    EXPECT_EQ(layer.zPosition(), 0);
    EXPECT_EQ(layer.opacity(), 1);
    EXPECT_TRUE(layer.contents().isNull());
    EXPECT_TRUE(layer.sublayers().empty());
    EXPECT_TRUE(isExactly(layer.frame(), { 0, 0, 0, 0 }));
}

TEST(Layer, HangsAtItsAnchorPoint)
{
    struct Row {
        QPointF anchor;
        QRectF frame;
    };
    const Row rows[] = { { { 0.5, 0.5 }, { 150, 275, 100, 50 } },
        { { 0, 0 }, { 200, 300, 100, 50 } }, { { 1, 1 }, { 100, 250, 100, 50 } },
        { { 1, 0 }, { 100, 300, 100, 50 } }, { { -1, 2 }, { 300, 200, 100, 50 } } };
    for (const Row& row : rows) {
        Layer layer;
        layer.setBoundsSize({ 100, 50 });
        layer.setPosition({ 200, 300 });

        layer.setAnchorPoint(row.anchor);

        EXPECT_TRUE(isExactly(layer.frame(), row.frame));
        EXPECT_EQ(layer.position(), QPointF(200, 300));
    }
}

TEST(Layer, TakesAFrame)
{
    struct Row {
        QPointF anchor;
        QRectF frame;
        QPointF position;
    };
    const Row rows[] = { { { 0, 0 }, { 10, 20, 100, 50 }, { 10, 20 } },
        { { 1, 1 }, { 10, 20, 100, 50 }, { 110, 70 } },
        { { 0.5, 0.5 }, { 10, 20, 100, 50 }, { 60, 45 } },
        { { 0.5, 0 }, { -10, 20.5, 101, 50 }, { 40.5, 20.5 } },
        { { -1, 2 }, { 10, 20, 100, 50 }, { -90, 120 } } };
    for (const Row& row : rows) {
        Layer layer;
        layer.setAnchorPoint(row.anchor);
        layer.setZPosition(3);

        layer.setFrame(row.frame);

        EXPECT_EQ(layer.position(), row.position);
        EXPECT_EQ(layer.boundsSize(), row.frame.size());
        EXPECT_EQ(layer.anchorPoint(), row.anchor);
        EXPECT_EQ(layer.zPosition(), 3);
        EXPECT_TRUE(isExactly(layer.frame(), row.frame));
    }
}

TEST(Layer, TurnsANegativeFrameRound)
{
    Layer layer;

    layer.setFrame({ 0, 0, -100, -50 });

    EXPECT_EQ(layer.boundsSize(), QSizeF(100, 50));
    EXPECT_TRUE(isExactly(layer.frame(), { -100, -50, 100, 50 }));
}

TEST(Layer, IsNotMovedByItsZPosition)
{
    Layer layer;
    layer.setFrame({ 1, 2, 3, 4 });

    layer.setZPosition(10000);

    EXPECT_EQ(layer.zPosition(), 10000);
    EXPECT_TRUE(isExactly(layer.frame(), { 1, 2, 3, 4 }));
}

TEST(Layer, KeepsWhatItIsGiven)
{
    Layer layer;
    QImage picture(2, 2, QImage::Format_RGB32);
    picture.fill(Qt::red);

    layer.setOpacity(0.25);
    layer.setContents(picture);

    EXPECT_EQ(layer.opacity(), 0.25);
    EXPECT_EQ(layer.contents(), picture);
}

struct LayerTreeTest : testing::Test {
    Layer root;
    Layer a;
    Layer b;
    Layer c;
    RecordingDelegate delegate;

    LayerTreeTest()
    {
        for (Layer* layer : { &a, &b, &c })
            layer->setDelegate(&delegate);
    }
};

TEST_F(LayerTreeTest, PutsWhatIsAddedOnTop)
{
    root.addSublayer(a);
    root.addSublayer(b);
    root.addSublayer(c);

    EXPECT_EQ(root.sublayers(), (Layers { &a, &b, &c }));
}

TEST_F(LayerTreeTest, MovesToTheTopWhatIsAddedAgain)
{
    for (Layer* layer : { &a, &b, &c, &a })
        root.addSublayer(*layer);

    EXPECT_EQ(root.sublayers(), (Layers { &b, &c, &a }));
}

TEST_F(LayerTreeTest, PutsALayerDirectlyAboveAnother)
{
    for (Layer* layer : { &a, &b, &c })
        root.addSublayer(*layer);

    root.insertAbove(c, a);
    EXPECT_EQ(root.sublayers(), (Layers { &a, &c, &b }));
    root.insertAbove(a, b);
    EXPECT_EQ(root.sublayers(), (Layers { &c, &b, &a }));
    root.insertAbove(a, b); // Where it is.
    EXPECT_EQ(root.sublayers(), (Layers { &c, &b, &a }));
}

TEST_F(LayerTreeTest, PutsANewLayerDirectlyAboveAnother)
{
    root.addSublayer(a);
    root.addSublayer(b);

    root.insertAbove(c, a);

    EXPECT_EQ(root.sublayers(), (Layers { &a, &c, &b }));
}

TEST_F(LayerTreeTest, AsksTheDelegateOnceForEachMark)
{
    root.addSublayer(a);
    root.displayIfNeeded();
    EXPECT_TRUE(delegate.asked.empty());

    a.setNeedsDisplay();
    a.setNeedsDisplay();
    EXPECT_TRUE(delegate.asked.empty());
    root.displayIfNeeded();
    EXPECT_EQ(delegate.asked, Layers { &a });
    root.displayIfNeeded();
    EXPECT_EQ(delegate.asked, Layers { &a });

    a.setNeedsDisplay();
    root.displayIfNeeded();
    EXPECT_EQ(delegate.asked, (Layers { &a, &a }));
}

TEST_F(LayerTreeTest, AsksForAllLayersBelowThatWereMarked)
{
    root.addSublayer(a);
    root.addSublayer(b);
    b.addSublayer(c);
    a.setNeedsDisplay();
    c.setNeedsDisplay();

    root.displayIfNeeded();

    EXPECT_EQ(delegate.asked, (Layers { &a, &c }));
}

TEST_F(LayerTreeTest, AsksForItself)
{
    a.setNeedsDisplay();

    a.displayIfNeeded();

    EXPECT_EQ(delegate.asked, Layers { &a });
}

TEST_F(LayerTreeTest, IsMarkedAgainFromWithinTheDelegate)
{
    class Restless : public LayerDelegate {
    public:
        int asked = 0;
        void displayLayer(Layer& layer) override
        {
            ++asked;
            layer.setNeedsDisplay();
        }
    } restless;
    a.setDelegate(&restless);
    a.setNeedsDisplay();

    a.displayIfNeeded();
    EXPECT_EQ(restless.asked, 1);
    a.displayIfNeeded();

    EXPECT_EQ(restless.asked, 2);
}

TEST_F(LayerTreeTest, NeedsNoDelegate)
{
    a.setDelegate(nullptr);
    a.setNeedsDisplay();

    a.displayIfNeeded();

    EXPECT_TRUE(delegate.asked.empty());
}

} // namespace
} // namespace quorvane
