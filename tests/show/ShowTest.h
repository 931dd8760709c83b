// SPDX-License-Identifier: GPL-3.0-or-later
// What every show test stands on: a desktop, the viewer in it, and a folder of pictures.
#pragma once

#include "Pictures.h"
#include "Viewer.h"
#include "VirtualDesktop.h"

#include <chrono>
#include <optional>
#include <set>

namespace quorvane::show {

/// Longer than a look at the watched folder takes to come, events or not.
constexpr std::chrono::milliseconds kUntilLooked { 6500 };

/// The desktop is running when a test begins. Without the tools for one the test is skipped, or,
/// when the variable CI is "true", fails.
struct ShowTest : testing::Test {
    explicit ShowTest(QSize screen = { 1280, 720 })
        : desktop(screen)
    {
    }

    void SetUp() override;

    /// Fails the test when the viewer crashed or a sanitizer complained.
    void TearDown() override;

    /// Settings that leave nothing to chance: name order, no timer, no hint, no welcome window.
    static QVariantMap plainSettings(const QVariantMap& changes = {});

    /// Starts the viewer on the folder of pictures with plainSettings(changes).
    void startShow(const QVariantMap& changes = {});

    /// Waits until `colour` is seen in the middle of the screen.
    [[nodiscard]] testing::AssertionResult shows(Pixel colour);

    /// As shows(), and the viewer has the keyboard: what a test waits for before its first key.
    [[nodiscard]] testing::AssertionResult ready(Pixel colour);

    /// Presses a key that takes the show to `colour`.
    [[nodiscard]] testing::AssertionResult leadsTo(KeySymbol key, Pixel colour);

    /// Nothing changes in the middle of the screen for `duration`.
    [[nodiscard]] testing::AssertionResult staysFor(std::chrono::milliseconds duration);

    /// Presses Ctrl+Q and gives the program time to leave.
    [[nodiscard]] testing::AssertionResult quits();

    /// The program ends by itself with status 0.
    [[nodiscard]] testing::AssertionResult leaves();

    /// No show: the viewer's one window is smaller than the screen.
    [[nodiscard]] testing::AssertionResult welcomes();

    /// As welcomes(), with the controls for a window that does not greet; the program can be quit.
    [[nodiscard]] testing::AssertionResult endsTheShow();

    /// As VirtualDesktop::waitFor(), but does not wait for a viewer that has ended.
    [[nodiscard]] testing::AssertionResult waitWhileRunning(
        const QString& what, const std::function<bool()>& condition);

    /// Waits until the settings file says so.
    [[nodiscard]] testing::AssertionResult stores(const char* key, const QVariant& value);

    QPoint middle() const { return QRect(QPoint(), desktop.size()).center(); }

    /// How many different colours the screen shows.
    size_t colourCount();

    VirtualDesktop desktop;
    PictureFolder pictures;
    std::optional<Viewer> viewer; ///< Set once the desktop runs.
    bool killed = false; ///< A test that kills the viewer says so.
};

/// The colours alone.
std::vector<Pixel> coloursOf(const std::vector<ColourChange>& changes);

/// Every colour seen is one of `allowed`.
[[nodiscard]] testing::AssertionResult showedOnly(
    const std::set<Pixel>& allowed, const std::vector<ColourChange>& changes);

/// The gaps between one change and the next, in seconds; the first entry, which is no change, is
/// left out.
std::vector<double> gapsOf(const std::vector<ColourChange>& changes);

} // namespace quorvane::show
