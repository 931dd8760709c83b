// SPDX-License-Identifier: GPL-3.0-or-later
#include "layers/Layer.h"
#include "layers/LayerAnimator.h"

#include <gtest/gtest.h>

#include <numbers>
#include <string>

namespace quorvane {

namespace {

using Words = std::vector<std::string>;

struct LayerAnimatorTest : testing::Test, AnimationDelegate {
    Layer root;
    Layer first;
    Layer second;
    LayerAnimator animator { root };
    Words heard; ///< "start 1", "stop 1", "removed 1", with the animation's identity.
    std::function<void(const Animation&)> onStop;

    LayerAnimatorTest()
    {
        root.addSublayer(first);
        root.addSublayer(second);
    }

    void animationDidStart(const Animation& animation) override
    {
        heard.push_back("start " + std::to_string(animation.identity));
    }
    void animationDidStop(const Animation& animation, bool finished) override
    {
        heard.push_back((finished ? "stop " : "removed ") + std::to_string(animation.identity));
        if (onStop)
            onStop(animation);
    }

    Animation change(KeyPath keyPath, float from, float to, std::uint64_t identity = 1,
        double duration = 1, TimingFunction timing = {})
    {
        return { ValueChange { keyPath, from, to }, duration, timing, this, identity };
    }

    void frame(double now)
    {
        animator.beginFrame(now);
        animator.commit(now);
        animator.endFrame(now);
    }

    Words takeHeard() { return std::exchange(heard, {}); }
};

TEST_F(LayerAnimatorTest, HasNothingToDoAtFirst)
{
    EXPECT_FALSE(animator.isActive());
    frame(0);
    EXPECT_EQ(takeHeard(), Words {});
}

TEST_F(LayerAnimatorTest, BeginsAnAnimationWithTheFrameAfterItsAddition)
{
    first.addAnimation(change(KeyPath::Opacity, 1, 0), "fade");

    EXPECT_TRUE(animator.isActive());
    EXPECT_EQ(takeHeard(), Words {});
    frame(100);
    EXPECT_EQ(takeHeard(), Words { "start 1" });
    EXPECT_EQ(first.presentation(100).opacity, 1);
    EXPECT_EQ(first.presentation(100.25).opacity, 0.75);
}

TEST_F(LayerAnimatorTest, BeginsAllOfOneTurnTogetherInTheOrderOfTheirAddition)
{
    second.addAnimation(change(KeyPath::PositionX, 0, 10, 1), "a");
    first.addAnimation(change(KeyPath::PositionX, 0, 10, 2), "a");
    second.addAnimation(change(KeyPath::PositionY, 0, 10, 3), "b");

    frame(5);

    EXPECT_EQ(takeHeard(), (Words { "start 1", "start 2", "start 3" }));
    EXPECT_EQ(first.presentation(5.5).position.x(), second.presentation(5.5).position.x());
}

TEST_F(LayerAnimatorTest, EndsAnAnimationWhenItsTimeIsOver)
{
    first.setOpacity(0.25);
    first.addAnimation(change(KeyPath::Opacity, 1, 0), "fade");
    frame(0);
    frame(0.999);
    EXPECT_EQ(takeHeard(), Words { "start 1" });

    frame(1);

    EXPECT_EQ(takeHeard(), Words { "stop 1" });
    EXPECT_FALSE(animator.isActive());
    EXPECT_EQ(first.presentation(1).opacity, 0.25) << "what the layer is set to shows again";
}

TEST_F(LayerAnimatorTest, ShowsTheLastMomentBeforeItEndsAnAnimation)
{
    first.addAnimation(change(KeyPath::PositionX, 0, 10), "move");
    frame(0);

    animator.beginFrame(7);

    EXPECT_EQ(first.presentation(7).position.x(), 10);
}

TEST_F(LayerAnimatorTest, EndsTwoOfOneLengthOneAfterTheOther)
{
    first.addAnimation(change(KeyPath::PositionX, 0, 10, 1), "a");
    second.addAnimation(change(KeyPath::PositionX, 0, 10, 2), "a");
    frame(0);
    takeHeard();

    frame(1);

    EXPECT_EQ(takeHeard(), (Words { "stop 1", "stop 2" }));
}

TEST_F(LayerAnimatorTest, TellsOfARemovedOneInTheNextFrameBeforeOthersBegin)
{
    first.addAnimation(change(KeyPath::PositionX, 0, 10, 1), "a");
    frame(0);
    takeHeard();

    first.removeAllAnimations();
    first.addAnimation(change(KeyPath::PositionX, 0, 10, 2), "a");
    EXPECT_EQ(takeHeard(), Words {});
    frame(0.5);

    EXPECT_EQ(takeHeard(), (Words { "removed 1", "start 2" }));
}

TEST_F(LayerAnimatorTest, ReplacesAnAnimationOfTheSameKey)
{
    first.addAnimation(change(KeyPath::PositionX, 0, 10, 1), "a");
    frame(0);
    first.addAnimation(change(KeyPath::PositionX, 50, 60, 2), "a");
    frame(0.5);

    EXPECT_EQ(takeHeard(), (Words { "start 1", "removed 1", "start 2" }));
    EXPECT_EQ(first.presentation(1).position.x(), 55);
    ASSERT_TRUE(first.animationForKey("a"));
    EXPECT_EQ(first.animationForKey("a")->identity, 2U);
}

TEST_F(LayerAnimatorTest, SaysNothingOfAnAnimationThatNeverBegan)
{
    first.addAnimation(change(KeyPath::PositionX, 0, 10, 1), "a");
    first.addAnimation(change(KeyPath::PositionX, 0, 10, 2), "a");
    first.removeAllAnimations();

    EXPECT_FALSE(animator.isActive());
    frame(0);
    EXPECT_EQ(takeHeard(), Words {});
}

TEST_F(LayerAnimatorTest, KeepsAllTransitionsUnderOneKey)
{
    first.addAnimation(change(KeyPath::PositionX, 0, 10, 1), "transition");
    first.addAnimation({ TransitionKind::Fade, 1, {}, this, 2 }, "of another name");

    ASSERT_TRUE(first.animationForKey("transition"));
    EXPECT_EQ(first.animationForKey("transition")->identity, 2U);
    EXPECT_FALSE(first.animationForKey("of another name"));
}

TEST_F(LayerAnimatorTest, LetsTheLaterAdditionWinOverTheSameNumber)
{
    first.addAnimation(change(KeyPath::PositionX, 0, 10, 1), "a");
    first.addAnimation(change(KeyPath::PositionX, 100, 110, 2), "b");
    frame(0);
    EXPECT_EQ(first.presentation(0.5).position.x(), 105);

    first.addAnimation(change(KeyPath::PositionX, 20, 30, 3), "a"); // A new addition: last.
    frame(0.5);
    EXPECT_EQ(first.presentation(1).position.x(), 25);
}

TEST_F(LayerAnimatorTest, ChangesOneNumberAndLeavesTheOthers)
{
    first.setPosition({ 1, 2 });
    first.setBoundsSize({ 30, 40 });
    for (const auto& [keyPath, key] : { std::pair(KeyPath::PositionX, "x"),
             std::pair(KeyPath::BoundsHeight, "h"), std::pair(KeyPath::RotationZ, "z") })
        first.addAnimation(change(keyPath, 100, 200), key);
    frame(0);

    const LayerState state = first.presentation(0.5);

    EXPECT_EQ(state.position, QPointF(150, 2));
    EXPECT_EQ(state.boundsSize, QSizeF(30, 150));
    EXPECT_EQ(state.rotationZ, 150);
    EXPECT_EQ(first.position(), QPointF(1, 2)) << "the model is apart";
}

TEST_F(LayerAnimatorTest, InterpolatesFromTheNumbersAsGivenInSinglePrecision)
{
    first.addAnimation(change(KeyPath::RotationX, 0, 1.57075F), "turn");
    frame(0);

    EXPECT_EQ(first.presentation(1).rotationX, double(1.57075F));
    EXPECT_EQ(first.presentation(0.5).rotationX, double(1.57075F) / 2);
}

TEST_F(LayerAnimatorTest, FollowsTheTimingOfTheAnimation)
{
    first.addAnimation(change(KeyPath::PositionX, 0, 100, 1, 2, TimingFunction::easeIn()), "move");
    frame(10);

    EXPECT_NEAR(first.presentation(11).position.x(), 31.5357, 1e-4);
}

TEST_F(LayerAnimatorTest, BoundsTheOpacityThatIsShown)
{
    first.addAnimation(change(KeyPath::Opacity, 3, -3), "fade");
    frame(0);

    EXPECT_EQ(first.presentation(0).opacity, 1);
    EXPECT_EQ(first.presentation(1).opacity, 0);
}

TEST_F(LayerAnimatorTest, EndsAnAnimationOfNoLengthAtOnce)
{
    first.addAnimation(change(KeyPath::PositionX, 0, 10, 1, 0), "jump");

    frame(3);

    EXPECT_EQ(takeHeard(), (Words { "start 1", "stop 1" }));
}

TEST_F(LayerAnimatorTest, KeepsTheAnimationsOfALayerThatIsMovedInTheTree)
{
    first.addAnimation(change(KeyPath::PositionX, 0, 10), "a");
    frame(0);

    root.insertAbove(first, second);
    frame(0.5);

    EXPECT_EQ(takeHeard(), Words { "start 1" });
    EXPECT_EQ(first.presentation(0.5).position.x(), 5);
}

TEST_F(LayerAnimatorTest, LetsWhoIsToldAddAnother)
{
    first.addAnimation(change(KeyPath::PositionX, 0, 10, 1), "a");
    onStop = [&](const Animation& animation) {
        if (animation.identity == 1)
            first.addAnimation(change(KeyPath::PositionX, 10, 0, 2), "a");
    };

    frame(0);
    frame(1);
    frame(1.1);

    EXPECT_EQ(takeHeard(), (Words { "start 1", "stop 1", "start 2" }));
}

TEST_F(LayerAnimatorTest, TellsNobodyWhereThereIsNoDelegate)
{
    Animation animation = change(KeyPath::PositionX, 0, 10);
    animation.delegate = nullptr;
    first.addAnimation(animation, "a");

    frame(0);
    frame(1);

    EXPECT_EQ(takeHeard(), Words {});
}

TEST_F(LayerAnimatorTest, GivesATransitionWhatWasDrawnLast)
{
    first.setOpacity(0.5);
    first.setPosition({ 3, 4 });
    frame(0);
    first.setPosition({ 50, 60 }); // Never drawn before the transition is added.
    first.addAnimation({ TransitionKind::Fade, 2, {}, this, 1 }, "transition");
    first.setOpacity(0);
    frame(1);

    const auto transition = first.transition(2);

    ASSERT_TRUE(transition);
    EXPECT_EQ(transition->kind, TransitionKind::Fade);
    EXPECT_EQ(transition->progress, 0.5);
    EXPECT_EQ(transition->before.position, QPointF(3, 4));
    EXPECT_EQ(transition->before.opacity, 0.5);
    EXPECT_EQ(first.presentation(2).opacity, 0);
}

TEST_F(LayerAnimatorTest, GivesATransitionWhatAnAnimationHadMadeOfTheLayer)
{
    first.addAnimation(change(KeyPath::PositionX, 0, 10), "move");
    frame(0);
    frame(0.5);

    first.addAnimation({ TransitionKind::Fade, 2, {}, this, 2 }, "transition");

    EXPECT_EQ(first.transition(0.5)->before.position.x(), 5);
}

TEST_F(LayerAnimatorTest, NumbersAnimationsDifferently)
{
    const auto identity = newAnimationIdentity();

    EXPECT_NE(identity, 0U);
    EXPECT_NE(newAnimationIdentity(), identity);
}

TEST(LayerState, IsLoweredByARotationAboutItsAnchor)
{
    LayerState state;
    state.position = { 100, 200 };
    state.boundsSize = { 80, 60 };
    state.rotationX = std::numbers::pi / 3; // Half as high.

    state.anchorPoint = { 0, 0 };
    EXPECT_NEAR(state.rect().height(), 30, 1e-9);
    EXPECT_EQ(state.rect().topLeft(), QPointF(100, 200));

    state.anchorPoint = { 0.5, 0.5 };
    EXPECT_NEAR(state.rect().y(), 185, 1e-9);
    EXPECT_NEAR(state.rect().bottom(), 215, 1e-9);
}

} // namespace

} // namespace quorvane
