// SPDX-License-Identifier: GPL-3.0-or-later
// Asks through Xlib, types through XTEST.
#include "Screen.h"

#include <X11/Xatom.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>

#include <cassert>

namespace quorvane::show {

namespace {

/// Windows vanish between two questions: that is no reason to end the test.
int ignoreError(Display* /*display*/, XErrorEvent* /*event*/) { return 0; }

} // namespace

std::unique_ptr<Screen> Screen::open(const QByteArray& name)
{
    Display* display = XOpenDisplay(name.constData());
    return display != nullptr ? std::unique_ptr<Screen>(new Screen(display)) : nullptr;
}

Screen::Screen(Display* display)
    : mDisplay(display)
    , mRoot(DefaultRootWindow(display))
{
    XSetErrorHandler(ignoreError);
}

Screen::~Screen() { XCloseDisplay(mDisplay); }

void Screen::paintBackground(Pixel colour)
{
    XSetWindowBackground(mDisplay, mRoot, colour.rgb);
    XClearWindow(mDisplay, mRoot);
    XSync(mDisplay, False);
}

bool Screen::managesWindows()
{
    if (property(mRoot, "_NET_SUPPORTING_WM_CHECK") == 0)
        return false;
    if (mProbe == 0)
        mProbe = XCreateSimpleWindow(mDisplay, mRoot, 0, 0, 1, 1, 0, 0, 0);
    XMapWindow(mDisplay, mProbe);
    if (property(mProbe, "WM_STATE") == 0)
        return false;
    XDestroyWindow(mDisplay, mProbe);
    XSync(mDisplay, False);
    mProbe = 0;
    return true;
}

Pixel Screen::colourAt(QPoint where)
{
    XImage* image = XGetImage(mDisplay, mRoot, where.x(), where.y(), 1, 1, AllPlanes, ZPixmap);
    assert(image != nullptr);
    const Pixel pixel { static_cast<quint32>(XGetPixel(image, 0, 0) & 0xffffffU) };
    XDestroyImage(image);
    return pixel;
}

QImage Screen::image()
{
    XWindowAttributes root {};
    XGetWindowAttributes(mDisplay, mRoot, &root);
    XImage* image = XGetImage(mDisplay, mRoot, 0, 0, static_cast<unsigned>(root.width),
        static_cast<unsigned>(root.height), AllPlanes, ZPixmap);
    assert(image != nullptr && image->bits_per_pixel == 32);
    QImage copy = QImage(reinterpret_cast<const uchar*>(image->data), image->width, image->height,
        image->bytes_per_line, QImage::Format_RGB32)
                      .copy();
    XDestroyImage(image);
    return copy;
}

void Screen::key(KeySymbol symbol, std::initializer_list<KeySymbol> modifiers)
{
    const auto send = [this](KeySymbol which, int down) {
        XTestFakeKeyEvent(mDisplay, XKeysymToKeycode(mDisplay, which), down, CurrentTime);
    };
    for (const KeySymbol modifier : modifiers)
        send(modifier, True);
    send(symbol, True);
    send(symbol, False);
    for (const KeySymbol modifier : modifiers)
        send(modifier, False);
    XSync(mDisplay, False);
}

void Screen::setRootProperty(const char* name, const QByteArray& bytes)
{
    XChangeProperty(mDisplay, mRoot, XInternAtom(mDisplay, name, False), XA_CARDINAL, 8,
        PropModeReplace, reinterpret_cast<const unsigned char*>(bytes.constData()),
        static_cast<int>(bytes.size()));
    XSync(mDisplay, False);
}

void Screen::moveMouse(QPoint where)
{
    XTestFakeMotionEvent(mDisplay, DefaultScreen(mDisplay), where.x(), where.y(), CurrentTime);
    XSync(mDisplay, False);
}

void Screen::holdKey(KeySymbol symbol, bool isDown)
{
    XTestFakeKeyEvent(mDisplay, XKeysymToKeycode(mDisplay, symbol), isDown, CurrentTime);
    XSync(mDisplay, False);
}

void Screen::holdButton(unsigned button, bool isDown)
{
    XTestFakeButtonEvent(mDisplay, button, isDown, CurrentTime);
    XSync(mDisplay, False);
}

pid_t Screen::focusedProcess()
{
    Window window = 0;
    int revert = 0;
    XGetInputFocus(mDisplay, &window, &revert);
    // A window of a toolkit may lie inside the one that names the process.
    for (; window > PointerRoot; window = parentOf(window)) {
        if (const pid_t process = processOf(window); process != 0)
            return process;
    }
    return 0;
}

std::vector<QRect> Screen::windowsOf(pid_t process)
{
    std::vector<QRect> found;
    std::vector<Window> candidates = childrenOf(mRoot);
    // Grows while it is walked: a managed window is a child of its frame.
    for (size_t i = 0; i < candidates.size(); ++i) {
        const Window window = candidates[i];
        if (processOf(window) != process) {
            const std::vector<Window> children = childrenOf(window);
            candidates.insert(candidates.end(), children.begin(), children.end());
        } else if (const QRect rectangle = rectangleOf(window); !rectangle.isEmpty()) {
            found.push_back(rectangle);
        }
    }
    return found;
}

unsigned long Screen::property(Window window, const char* name)
{
    Atom type = 0;
    int format = 0;
    unsigned long count = 0;
    unsigned long left = 0;
    unsigned char* data = nullptr;
    const int status = XGetWindowProperty(mDisplay, window, XInternAtom(mDisplay, name, False), 0,
        1, False, AnyPropertyType, &type, &format, &count, &left, &data);
    constexpr int kLongFormat = 32; // Such properties arrive as unsigned long, whatever its size.
    unsigned long value = 0;
    if (status == Success && format == kLongFormat && count > 0)
        value = *reinterpret_cast<const unsigned long*>(data);
    if (data != nullptr)
        XFree(data);
    return value;
}

pid_t Screen::processOf(Window window)
{
    return static_cast<pid_t>(property(window, "_NET_WM_PID"));
}

QRect Screen::rectangleOf(Window window)
{
    XWindowAttributes attributes {};
    Window child = 0;
    int x = 0;
    int y = 0;
    if (XGetWindowAttributes(mDisplay, window, &attributes) == 0
        || XTranslateCoordinates(mDisplay, window, mRoot, 0, 0, &x, &y, &child) == 0
        || attributes.map_state != IsViewable) {
        return {};
    }
    return { x, y, attributes.width, attributes.height };
}

Window Screen::parentOf(Window window)
{
    Window root = 0;
    Window parent = 0;
    Window* children = nullptr;
    unsigned count = 0;
    if (XQueryTree(mDisplay, window, &root, &parent, &children, &count) == 0)
        return 0;
    if (children != nullptr)
        XFree(children);
    return parent;
}

std::vector<Window> Screen::childrenOf(Window window)
{
    Window root = 0;
    Window parent = 0;
    Window* children = nullptr;
    unsigned count = 0;
    if (XQueryTree(mDisplay, window, &root, &parent, &children, &count) == 0 || children == nullptr)
        return {};
    std::vector<Window> result(children, children + count);
    XFree(children);
    return result;
}

} // namespace quorvane::show
