// SPDX-License-Identifier: GPL-3.0-or-later
// A desktop of a test's own: a screen in memory, a window manager and a session bus.
#pragma once

#include <QByteArray>
#include <QImage>
#include <QPoint>
#include <QRect>
#include <QString>
#include <QTemporaryDir>

#include <X11/keysym.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <vector>

namespace quorvane::show {

class ChildProcess;
class Screen;

using Moment = std::chrono::steady_clock::time_point;
using KeySymbol = unsigned long; ///< XK_Right, XK_a, ...

/// What every wait gives the program before it counts as hanging. Generous: it is spent only when
/// a test fails.
constexpr std::chrono::milliseconds kWaitLimit { 20000 };

/// The colour of one point of the screen.
struct Pixel {
    quint32 rgb = 0; ///< 0xRRGGBB.

    bool operator==(const Pixel&) const = default;
    bool operator<(const Pixel& other) const { return rgb < other.rgb; }
};

constexpr Pixel kBlack { 0x000000 };
constexpr Pixel kDesktop {
    0x6b5a7c
}; ///< The bare desktop, so that a black window can be told from none.

void PrintTo(const Pixel& pixel, std::ostream* out); ///< "#rrggbb"

/// A colour and when it was first seen.
struct ColourChange {
    Moment when;
    Pixel colour;
};

/// Owns the three programs and ends them. Thread: the one that made it.
class VirtualDesktop {
public:
    explicit VirtualDesktop(QSize size = { 1280, 720 });
    ~VirtualDesktop();
    VirtualDesktop(const VirtualDesktop&) = delete;
    VirtualDesktop& operator=(const VirtualDesktop&) = delete;

    /// The names of the programs that a desktop needs and that this machine lacks.
    static QStringList missingTools();

    /// Returns when windows can be opened. Fails with the reason.
    [[nodiscard]] testing::AssertionResult start();

    QByteArray displayName() const { return mDisplayName; } ///< ":7"
    QByteArray busAddress() const; ///< As DBUS_SESSION_BUS_ADDRESS wants it.
    QSize size() const { return mSize; }

    /// \param where  pixels from the upper left corner, inside the screen.
    Pixel colourAt(QPoint where);

    /// The whole screen as it stands now.
    QImage image();

    /// Presses and releases a key while `modifiers` are held.
    void key(KeySymbol symbol, std::initializer_list<KeySymbol> modifiers = {});

    void moveMouse(QPoint where);

    /// Presses a key and lets it be, or releases it.
    void holdKey(KeySymbol symbol, bool isDown);

    /// Presses or releases a button of the mouse. \param button  Button1 is the left one; 4 and 5
    /// are the wheel, away from the hand and towards it.
    void holdButton(unsigned button, bool isDown);

    /// Plugs a monitor in that shows this part of the screen. \param isFirst  takes the place of
    /// the one that is there from the beginning.
    [[nodiscard]] testing::AssertionResult plugIn(
        const char* name, QRect part, bool isFirst = false);

    [[nodiscard]] testing::AssertionResult unplug(const char* name);

    /// Publishes the ICC profile of the one monitor, as a desktop does.
    void publishProfile(const QByteArray& profile);

    /// The process whose window has the keyboard; 0 if none has.
    pid_t focusedProcess();

    /// The rectangles of the windows that `process` has on the screen, without their frames.
    std::vector<QRect> windowsOf(pid_t process);

    /// Asks `condition` every few milliseconds until it holds. When `limit` runs out: fails, names
    /// `what`, and leaves a picture of the screen beside the test's output.
    [[nodiscard]] testing::AssertionResult waitFor(const QString& what,
        const std::function<bool()>& condition, std::chrono::milliseconds limit = kWaitLimit);

    /// Lets `duration` pass. A recording goes on.
    void pause(std::chrono::milliseconds duration);

    /// The colours that a point takes within `duration`: the first one at the start, then one for
    /// each change.
    std::vector<ColourChange> recordColours(QPoint where, std::chrono::milliseconds duration);

    /// From now on every wait also records the colours of a point, as recordColours() does.
    void startRecording(QPoint where);

    /// Ends the recording; its changes.
    std::vector<ColourChange> takeRecording();

private:
    testing::AssertionResult startServer();
    testing::AssertionResult startManager();
    testing::AssertionResult startBus();
    std::unique_ptr<ChildProcess> startTool(std::vector<QByteArray> command) const;
    QByteArray outputOf(const char* tool) const;
    testing::AssertionResult runTool(std::vector<QByteArray> command);
    bool poll(const std::function<bool()>& condition, std::chrono::milliseconds limit);
    void sample();

    struct Recording {
        QPoint where;
        std::vector<ColourChange> changes;
    };

    QSize mSize;
    QTemporaryDir mFolder; ///< Home of the tools; the bus's socket.
    std::unique_ptr<ChildProcess> mServer;
    std::unique_ptr<ChildProcess> mManager;
    std::unique_ptr<ChildProcess> mBus;
    QByteArray mDisplayName;
    std::unique_ptr<Screen> mScreen; ///< Set once the server answers.
    std::optional<Recording> mRecording;
};

/// Saves `image` under the running test's name; its path.
QString saveScreen(const QImage& image);

} // namespace quorvane::show
