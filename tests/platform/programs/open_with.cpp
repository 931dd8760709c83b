// SPDX-License-Identifier: GPL-3.0-or-later
// open_with MODULES WHAT ADDRESS [ADDRESS]: one question about the desktop's applications, in a
// process of its own, because the desktop's library reads the environment once.
// MODULES is the decoder beside which the modules lie; an ADDRESS is file:///…, so that bytes are
// kept. WHAT: editor, viewer (of a file), at (the path of an application), open (with an
// application the file), stay (open, then live until the bus has gone). Writes the path, a zero
// byte, and the name; or "error KIND".
#include "platform/DecoderProgram.h"
#include "platform/DesktopApplication.h"
#include "platform/FileURL.h"

#include <QCoreApplication>

#include <gio/gio.h>

#include <cstdio>

namespace {

using namespace quorvane;

void print(const QByteArray& text)
{
    std::fwrite(text.constData(), 1, static_cast<size_t>(text.size()), stdout);
    std::fflush(stdout);
}

void print(const DesktopApplication& application)
{
    print(application.path + '\0' + application.name.toUtf8());
}

void print(const std::optional<DesktopApplication>& application)
{
    if (application)
        print(*application);
}

template <typename T> void printFailure(const Result<T>& result)
{
    if (!result)
        print("error " + QByteArray::number(static_cast<int>(result.error().kind)));
}

void print(const Result<DesktopApplication>& application)
{
    if (application)
        print(*application);
    printFailure(application);
}

/// The bus's library has ended a program that is to end with the bus before this returns.
void outliveTheBus()
{
    GMainLoop* const loop = g_main_loop_new(nullptr, FALSE);
    GDBusConnection* const bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
    const auto quit = +[](GDBusConnection*, gboolean, GError*, gpointer data) {
        g_main_loop_quit(static_cast<GMainLoop*>(data));
    };
    g_signal_connect_after(bus, "closed", reinterpret_cast<GCallback>(quit), loop);
    print("opened");
    g_main_loop_run(loop);
    print(" alive");
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    if (argc < 4)
        return 2;
    setDecoderProgram(argv[1]);
    const QByteArray what = argv[2];
    const FileURL first = FileURL::fromEncoded(argv[3]);
    const FileURL second = FileURL::fromEncoded(argv[argc - 1]);
    if (what == "editor")
        print(editorOf(first));
    else if (what == "viewer")
        print(viewerOf(first));
    else if (what == "at")
        print(applicationAt(first.path()));
    else
        printFailure(openWith({ first.path(), {} }, second));
    if (what == "stay")
        outliveTheBus();
    return 0;
}
