// SPDX-License-Identifier: GPL-3.0-or-later
// What the viewer calls when it has loaded this module.
#include "platform/DesktopModule.h"

#include <QFile>

#include <gio/gdesktopappinfo.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <memory>
#include <vector>

namespace quorvane {

namespace {

constexpr char kOwnId[] = "com.quorvane.Quorvane.desktop";
constexpr char kViewer[] = "Viewer"; // A category.

struct Unref {
    void operator()(gpointer object) const { g_object_unref(object); }
};
struct Free {
    void operator()(gpointer memory) const { g_free(memory); }
};
using AppInfo = std::unique_ptr<GAppInfo, Unref>;
using Text = std::unique_ptr<char, Free>;

GDesktopAppInfo* desktopOf(const AppInfo& application)
{
    return G_DESKTOP_APP_INFO(application.get());
}

bool isThisProgram(const AppInfo& application)
{
    const char* const id = g_app_info_get_id(application.get());
    if (id && g_str_equal(id, kOwnId))
        return true;
    const char* const program = g_app_info_get_executable(application.get());
    const Text path(program ? g_find_program_in_path(program) : nullptr);
    std::error_code error;
    return path && std::filesystem::equivalent(path.get(), "/proc/self/exe", error);
}

/// What the desktop's library loads at all has its program.
bool isToBeOffered(const AppInfo& application)
{
    return g_app_info_should_show(application.get())
        && !g_desktop_app_info_get_is_hidden(desktopOf(application)) && !isThisProgram(application);
}

bool isViewer(const AppInfo& application)
{
    const Text categories(g_desktop_app_info_get_string(desktopOf(application), "Categories"));
    return categories && QByteArray(categories.get()).split(';').contains(kViewer);
}

DesktopApplication described(const AppInfo& application)
{
    return { g_desktop_app_info_get_filename(desktopOf(application)),
        QString::fromUtf8(g_app_info_get_display_name(application.get())) };
}

/// In the order in which the desktop recommends them.
std::vector<AppInfo> recommended(const QByteArray& mimeType)
{
    std::vector<AppInfo> applications;
    GList* const list = g_app_info_get_recommended_for_type(mimeType.constData());
    for (const GList* item = list; item; item = item->next)
        applications.emplace_back(G_APP_INFO(item->data));
    g_list_free(list);
    return applications;
}

std::optional<DesktopApplication> firstEditor(const QByteArrayList& mimeTypes)
{
    for (const QByteArray& type : mimeTypes) {
        for (const AppInfo& application : recommended(type)) {
            if (isToBeOffered(application) && !isViewer(application))
                return described(application);
        }
    }
    return {};
}

std::optional<DesktopApplication> firstViewer(const QByteArrayList& mimeTypes)
{
    for (const QByteArray& type : mimeTypes) {
        const AppInfo chosen(g_app_info_get_default_for_type(type.constData(), FALSE));
        if (chosen && isToBeOffered(chosen))
            return described(chosen);
        for (const AppInfo& application : recommended(type)) {
            if (isToBeOffered(application))
                return described(application);
        }
    }
    return {};
}

bool isDesktopFile(const QByteArray& path) { return path.endsWith(".desktop"); }

/// \return nothing if it is a regular file that can be executed or, as a .desktop file, read.
std::optional<Error> obstacle(const QByteArray& path)
{
    const auto error = [&](ErrorKind kind, const char* reason) {
        return Error { kind,
            QFile::decodeName(path) + QStringLiteral(": ") + QString::fromUtf8(reason) };
    };
    struct stat status = {};
    if (!path.startsWith('/') || stat(path.constData(), &status) != 0)
        return error(ErrorKind::NotFound, "there is no such application");
    const int wanted = isDesktopFile(path) ? R_OK : X_OK;
    if (!S_ISREG(status.st_mode) || access(path.constData(), wanted) != 0)
        return error(ErrorKind::Unsupported, "this is no application");
    return {};
}

/// Of a .desktop file. Null if it is damaged, deleted, or lacks its program.
AppInfo loaded(const QByteArray& path)
{
    GDesktopAppInfo* const info = g_desktop_app_info_new_from_filename(path.constData());
    AppInfo application(info ? G_APP_INFO(info) : nullptr);
    const bool isDeleted = info && g_desktop_app_info_get_is_hidden(info);
    return isDeleted ? nullptr : std::move(application);
}

Error unusable(const QByteArray& path)
{
    return { ErrorKind::Unsupported,
        QFile::decodeName(path) + QStringLiteral(": this application is not usable") };
}

Result<DesktopApplication> describedAt(const QByteArray& path)
{
    if (const auto error = obstacle(path))
        return tl::make_unexpected(*error);
    if (!isDesktopFile(path))
        return DesktopApplication { path, QFile::decodeName(path.mid(path.lastIndexOf('/') + 1)) };
    const AppInfo application = loaded(path);
    if (!application)
        return tl::make_unexpected(unusable(path));
    return described(application);
}

/// The bus's library ends a program that has used it when the bus goes away.
void surviveTheBus()
{
    // Kept: whoever asks for the bus later in this process gets this same connection.
    static GDBusConnection* bus = nullptr;
    if (!bus)
        bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
    if (bus)
        g_dbus_connection_set_exit_on_close(bus, FALSE);
}

/// In the child, before it becomes the application: the terminal's keys do not end it.
void leaveSession(gpointer /*data*/) { setsid(); }

constexpr auto kSpawning = static_cast<GSpawnFlags>(
    G_SPAWN_SEARCH_PATH | G_SPAWN_STDOUT_TO_DEV_NULL | G_SPAWN_STDERR_TO_DEV_NULL);

Result<void> started(gboolean isStarted, GError* error)
{
    const std::unique_ptr<GError, decltype(&g_error_free)> owned(error, &g_error_free);
    if (isStarted)
        return {};
    return fail(ErrorKind::Other,
        owned ? QString::fromUtf8(owned->message) : QStringLiteral("it could not be started"));
}

Result<void> launch(const AppInfo& application, const QByteArray& filePath)
{
    surviveTheBus();
    GError* error = nullptr;
    const Text uri(g_filename_to_uri(filePath.constData(), nullptr, &error));
    if (!uri)
        return started(FALSE, error);
    GList item = { uri.get(), nullptr, nullptr };
    const gboolean isStarted = g_desktop_app_info_launch_uris_as_manager(desktopOf(application),
        &item, nullptr, kSpawning, leaveSession, nullptr, nullptr, nullptr, &error);
    return started(isStarted, error);
}

Result<void> spawn(QByteArray program, QByteArray filePath)
{
    std::array<char*, 3> arguments { program.data(), filePath.data(), nullptr };
    GError* error = nullptr;
    const gboolean isStarted = g_spawn_async(
        nullptr, arguments.data(), nullptr, kSpawning, leaveSession, nullptr, nullptr, &error);
    return started(isStarted, error);
}

Result<void> openFile(const QByteArray& applicationPath, const QByteArray& filePath)
{
    if (const auto error = obstacle(applicationPath))
        return tl::make_unexpected(*error);
    if (!isDesktopFile(applicationPath))
        return spawn(applicationPath, filePath);
    const AppInfo application = loaded(applicationPath);
    if (!application)
        return tl::make_unexpected(unusable(applicationPath));
    return launch(application, filePath);
}

constexpr DesktopFunctions kFunctions { &firstEditor, &firstViewer, &describedAt, &openFile };

} // namespace

} // namespace quorvane

extern "C" __attribute__((visibility("default"))) const quorvane::DesktopFunctions*
quorvaneDesktop()
{
    return &quorvane::kFunctions;
}
