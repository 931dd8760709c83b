// SPDX-License-Identifier: GPL-3.0-or-later
// What outlives what. Most of these fail only under a sanitizer.
#include "support/ControllerTest.h"

namespace quorvane {

namespace {

using namespace tests;

using Lifetime = ControllerTest;

TEST_F(Lifetime, EndsWhileACollectionIsUnderWay)
{
    HeldCollection held(controller);
    held.repetitions = 2000;
    controller->openFiles(write({ "1.png", "2.png", "3.png" }));
    held.waitForFirstFile();
    MainQueue::drain();
    ASSERT_NE(controller->mScreenWindow(), nullptr);
    screen.onDelegateGone = [&] { held.go(); }; // When the controller is half gone.

    controller.reset();
    MainQueue::drain();

    EXPECT_EQ(held.found(), 1);
    screen.onDelegateGone = nullptr;
}

TEST_F(Lifetime, EndsBeforeACollectionThatWaits)
{
    {
        HeldCollection held(controller);
        held.go();
        for (int i = 0; i < 20; ++i)
            controller->openFiles(write({ "1.png" }));
        controller->endSlideShow();
        controller->openFiles(write({ "2.png" }));

        controller.reset();
    }
    MainQueue::drain();

    EXPECT_EQ(screen.display, nullptr);
}

TEST_F(Lifetime, EndsBeforeWhatWasFoundReachesTheMainThread)
{
    controller->openFiles(write({ "1.png" }));
    controller->newFilesFound();
    controller->waitUntilIdle(std::chrono::minutes(1));

    controller.reset();
    MainQueue::drain();

    EXPECT_EQ(screen.made, 0);
}

TEST_F(Lifetime, EndsWhileAPictureIsLoading)
{
    screen.answers = FakeScreen::Answers::WhenTold;
    show123();
    ASSERT_TRUE(screen.isWaiting());

    controller.reset();

    EXPECT_EQ(screen.display, nullptr);
}

TEST_F(Lifetime, EndsWhileAPictureIsBeingDecoded)
{
    useRealDisplay();
    const BusyPool pool;
    HeldCollection held(controller);
    controller->openFiles({ files.write("1.png", kRed).path() });
    held.waitForFirstFile();
    MainQueue::drain();
    ASSERT_NE(controller->mScreenWindow(), nullptr);
    held.go();

    controller.reset();
    pool.release();
    DispatchQueue::global().drain();
    MainQueue::drain();

    EXPECT_TRUE(SVImageCache::instance().images().empty());
}

TEST_F(Lifetime, EndsWhileThePanelIsUp)
{
    controller->openMenu();
    const QPointer<OpenPanel> panel = visibleWindow<OpenPanel>();
    controller.reset();
    EXPECT_TRUE(panel.isNull());
}

TEST_F(Lifetime, EndsWhileThePanelIsUpOverAShow)
{
    show123();
    controller->openMenu();
    const QPointer<OpenPanel> panel = visibleWindow<OpenPanel>();
    ASSERT_FALSE(panel.isNull());

    controller.reset();

    EXPECT_TRUE(panel.isNull());
}

TEST_F(Lifetime, EndsRightAfterThePanelWasLeft)
{
    for (const bool isAccepted : { true, false }) {
        makeController([this] { return screen.makeDisplay(); });
        show123();
        controller->openMenu();
        auto* const panel = visibleWindow<OpenPanel>();
        isAccepted ? panel->accept() : panel->reject();

        controller.reset();
        MainQueue::drain();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    EXPECT_EQ(visibleWindow<OpenPanel>(), nullptr);
}

TEST_F(Lifetime, EndsWithTheShowInTheMiddle)
{
    play123(5);
    controller->ShowWelcomeScreen();

    controller.reset();

    EXPECT_EQ(clock.validTimers(), 0);
    EXPECT_FALSE(isWelcomeVisible());
}

TEST_F(Lifetime, OfADisplayIsNotOverWhileItCalls)
{
    screen.answers = FakeScreen::Answers::WhenTold;
    screen.damaged = { "1.png" };
    show({ "1.png" });
    const QPointer<QWidget> display = screen.display;

    screen.answer(); // The only slide cannot be shown: the show ends under the display's feet.

    EXPECT_FALSE(display.isNull());
    EXPECT_EQ(controller->mScreenWindow(), nullptr);
    settle();
    EXPECT_TRUE(display.isNull());
}

TEST_F(Lifetime, OfTheRealDisplayIsNotOverWhileItCalls)
{
    useRealDisplay();
    controller->openFiles({ files.write("1.png", "no picture").path() });

    settle();

    EXPECT_EQ(controller->mScreenWindow(), nullptr);
    EXPECT_TRUE(isWelcomeVisible());
}

TEST_F(Lifetime, OfTheWindowIsNotOverWhileItIsBeingClosed)
{
    show123();
    const QPointer<SlideWindow> window = controller->mScreenWindow();

    window->close();

    EXPECT_FALSE(window.isNull());
    settle();
    EXPECT_TRUE(window.isNull());
}

} // namespace

} // namespace quorvane
