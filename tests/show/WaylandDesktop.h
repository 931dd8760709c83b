// SPDX-License-Identifier: GPL-3.0-or-later
// A Wayland desktop of a test's own: sway without a screen, with two outputs.
#pragma once

#include "VirtualDesktop.h"

namespace quorvane::show {

/// Owns the compositor and ends it. Thread: the one that made it.
class WaylandDesktop {
public:
    static constexpr QRect kFirst { 0, 0, 1280, 720 };
    static constexpr QRect kSecond { 1280, 0, 1024, 768 };

    WaylandDesktop();
    ~WaylandDesktop();
    WaylandDesktop(const WaylandDesktop&) = delete;
    WaylandDesktop& operator=(const WaylandDesktop&) = delete;

    /// The names of the programs that it needs and that this machine lacks.
    static QStringList missingTools();

    /// Returns when windows can be opened. Fails with the reason.
    [[nodiscard]] testing::AssertionResult start();

    /// As WAYLAND_DISPLAY wants it.
    QByteArray displayName() const;

    /// Both outputs as they stand now.
    QImage image() const;

    Pixel colourAt(QPoint where) const;

    /// Presses and releases keys, by their names: { "ctrl", "d" } or { "Right" }.
    void key(std::initializer_list<const char*> chord) const;

    /// Gives the window with this title the keyboard.
    void focus(const QByteArray& title) const;

    /// Takes the window with this title to the second output.
    void moveToSecond(const QByteArray& title) const;

    /// What the compositor says of its windows, as JSON.
    QByteArray windows() const;

private:
    std::unique_ptr<ChildProcess> startTool(
        std::vector<QByteArray> command, const QByteArray& name) const;
    QByteArray run(std::vector<QByteArray> command) const;
    QString path(const char* name) const;

    QTemporaryDir mFolder;
    std::unique_ptr<ChildProcess> mCompositor;
    std::unique_ptr<ChildProcess> mKeyboard; ///< So that there is always one.
};

} // namespace quorvane::show
