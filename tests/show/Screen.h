// SPDX-License-Identifier: GPL-3.0-or-later
// What a person at an X screen sees and does: pixels, windows, keys, the pointer.
#pragma once

#include "VirtualDesktop.h"

#include <X11/Xlib.h>

namespace quorvane::show {

/// A connection to one X server. A question about a window that has just gone has an empty answer.
/// The operations are those of VirtualDesktop, which says more.
class Screen {
public:
    /// \param name  as in DISPLAY.
    /// \return null when the server does not answer.
    static std::unique_ptr<Screen> open(const QByteArray& name);

    ~Screen();
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    void paintBackground(Pixel colour);

    /// Whether a window manager handles windows by now. To be asked until it does: one that has
    /// announced itself may still lose the first windows that are opened.
    bool managesWindows();

    Pixel colourAt(QPoint where);
    QImage image();
    void key(KeySymbol symbol, std::initializer_list<KeySymbol> modifiers);
    /// Makes `bytes` a property of the root window.
    void setRootProperty(const char* name, const QByteArray& bytes);

    void moveMouse(QPoint where);
    void holdKey(KeySymbol symbol, bool isDown);
    void holdButton(unsigned button, bool isDown);
    pid_t focusedProcess();
    std::vector<QRect> windowsOf(pid_t process);

private:
    explicit Screen(Display* display);

    /// The first number of a window's property; 0 if there is none.
    unsigned long property(Window window, const char* name);
    pid_t processOf(Window window);
    QRect rectangleOf(Window window); ///< Null while it is not on the screen.
    Window parentOf(Window window); ///< 0 for the root and for none.
    std::vector<Window> childrenOf(Window window);

    Display* mDisplay; ///< Ours to close.
    Window mRoot;
    Window mProbe = 0; ///< A window of ours, as long as nobody has managed it.
};

} // namespace quorvane::show
