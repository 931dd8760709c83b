// SPDX-License-Identifier: GPL-3.0-or-later
// What every test of the controller stands on: settings in memory, a clock moved by hand, a folder
// of files, a fake display.
#pragma once

#include "BusyPool.h"
#include "FakeDisplay.h"
#include "FakeMoviePlayer.h"
#include "ManualClock.h"
#include "PictureFiles.h"
#include "app/ControlPanel.h"
#include "app/OpenPanel.h"
#include "app/SlideController.h"
#include "app/SlideWindow.h"
#include "display/SVLayerView.h"
#include "images/SVImageCache.h"
#include "platform/UserDefaults.h"
#include "settings/SettingsCatalogue.h"
#include "welcome/WelcomeController.h"

#include <QApplication>

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <mutex>

namespace quorvane::tests {

using Names = std::vector<std::string>;

using std::chrono::milliseconds;
using std::chrono::seconds;

/// The visible window of that class; null if there is none.
template <typename Window> Window* visibleWindow()
{
    for (QWidget* const widget : QApplication::topLevelWidgets()) {
        auto* const window = qobject_cast<Window*>(widget);
        if (window && window->isVisible())
            return window;
    }
    return nullptr;
}

/// Stands between a sequence and its controller: holds the first collection that finds a file, on
/// the collecting thread, until the test lets it go on.
class HeldCollection : public FileSequenceDelegate {
public:
    explicit HeldCollection(std::unique_ptr<SlideController>& controller)
        : mOwner(controller)
        , mController(*controller)
    {
        mController.mFileSequence().setDelegate(this);
    }

    ~HeldCollection() override
    {
        go();
        if (!mOwner)
            return; // The controller is gone.
        mController.waitUntilIdle(std::chrono::minutes(1));
        mController.mFileSequence().setDelegate(&mController);
    }
    HeldCollection(const HeldCollection&) = delete;
    HeldCollection& operator=(const HeldCollection&) = delete;

    /// Waits until the first file is found and the controller has heard of it.
    void waitForFirstFile() const { mStop.waitForArrival(); }

    void go() const { mStop.release(); }

    /// How often a sequence that was empty has found a file. Not while it collects.
    int found() const { return mFound; }

    /// How often the controller hears of the first file again after it was let go.
    int repetitions = 0;

    void firstFileFound() override
    {
        ++mFound;
        mController.firstFileFound();
        mStop.halt();
        for (int i = 0; i < repetitions; ++i)
            mController.firstFileFound();
    }
    void newFilesFound() override { mController.newFilesFound(); }
    void currentFileChanged() override { mController.currentFileChanged(); }

private:
    const std::unique_ptr<SlideController>& mOwner;
    SlideController& mController;
    Stop mStop;
    int mFound = 0;
};

struct ControllerTest : testing::Test {
    /// A user who knows the hints, name order, no timer of its own accord.
    ControllerTest()
    {
        defaults.setValue(kHintsShown, true);
        defaults.setValue(kAutoStart, false);
        makeController([this] { return screen.makeDisplay(); });
        controller->awakeFromNib();
    }

    ~ControllerTest() override
    {
        controller.reset();
        MainQueue::drain();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    ControllerTest(const ControllerTest&) = delete;
    ControllerTest& operator=(const ControllerTest&) = delete;

    void makeController(SlideController::MakeDisplay makeDisplay)
    {
        controller
            = std::make_unique<SlideController>(defaults, clock, std::move(makeDisplay), desktop());
        QObject::connect(
            controller.get(), &SlideController::nothingLeft, [this] { ++nothingLeft; });
        QObject::connect(controller.get(), &SlideController::playingChanged,
            [this](bool isPlaying) { playing.push_back(isPlaying); });
    }

    /// A desktop that notes what it is asked.
    DesktopServices desktop()
    {
        return { .openFile =
                     [this](const FileURL& file, const QByteArray& application) {
                         opened.push_back(nameOf(file) + " by " + application.toStdString());
                     },
            .keepAwake = [this](bool awake) { isAwake = awake; },
            .makePlayer
            = [this](const FileURL& file) { return hasPlayers ? movie.makePlayer(file) : nullptr; },
            .prepareMovie = [this] { ++preparations; } };
    }

    /// From now on with the view that the program uses, which decodes.
    void useRealDisplay()
    {
        makeController([this] { return std::make_unique<SVLayerView>(defaults, clock); });
        controller->awakeFromNib();
    }

    /// Has all work done that was handed in, and what that hands in. The clock stands still.
    void settle() const
    {
        constexpr int kRounds = 12; // Each takes a chain of blocks one step further.
        for (int i = 0; i < kRounds; ++i) {
            EXPECT_TRUE(controller->waitUntilIdle(std::chrono::minutes(1)));
            FolderFinder::drain();
            drainDecoding();
            DispatchQueue::global().drain(); // What was decoded may be checked there.
            MainQueue::drain();
            QCoreApplication::sendPostedEvents();
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        }
    }

    /// Writes files that are displayable by their names. \return their paths.
    std::vector<QByteArray> write(std::initializer_list<const char*> names) const
    {
        std::vector<QByteArray> paths;
        for (const char* const name : names)
            paths.push_back(files.write(name, QByteArray()).path());
        return paths;
    }

    /// Starts a show, and forgets how it came on the screen.
    void show(std::initializer_list<const char*> names)
    {
        controller->openFiles(write(names));
        settle();
        screen.forget();
    }

    void show123() { show({ "1.png", "2.png", "3.png" }); }

    /// Starts a show of three slides that plays, each for so many seconds.
    void play123(double interval)
    {
        show123();
        defaults.setValue(kSlideInterval, interval);
        controller->Start();
    }

    FileURL url(const char* name) const { return files.url(name); }
    QByteArray path(const char* name) const { return files.url(name).path(); }

    /// The name of what the controller says it shows; empty for nothing.
    std::string current() const
    {
        const auto& shown = controller->mImageURL();
        return shown ? nameOf(*shown) : std::string();
    }

    static bool isPanelVisible() { return visibleWindow<ControlPanel>() != nullptr; }
    static bool isWelcomeVisible() { return visibleWindow<WelcomeController>() != nullptr; }

    PictureFiles files;
    UserDefaults defaults;
    ManualClock clock;
    FakeScreen screen;
    int nothingLeft = 0; ///< How often the controller said so.
    Names opened; ///< "1.png by /usr/bin/editor".
    FakeMovie movie; ///< Every movie of the show, one after the other.
    bool hasPlayers = true;
    int preparations = 0; ///< How often a movie was announced.
    bool isAwake = false; ///< The display is kept awake.
    std::vector<bool> playing; ///< What the controller said of its timer.
    std::unique_ptr<SlideController> controller;
};

} // namespace quorvane::tests
