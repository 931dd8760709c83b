// SPDX-License-Identifier: GPL-3.0-or-later
// One program shows everything: a second launch hands its files to the one that runs.
#pragma once

#include <QByteArray>
#include <QString>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace quorvane {

class Clock;
class Neighbours;

/// How long a program that stands alone waits for a bus that has not said whose the name is.
constexpr std::chrono::milliseconds kBusPatience { 150 };

/// The same where others of this program are there, so that the bus is merely slow; and how long
/// the one that runs may take for its answer.
constexpr std::chrono::milliseconds kNeighbourPatience { 2000 };

/// How long a program that the bus has started waits to be asked for something. Ten seconds are the
/// habit of such services.
constexpr std::chrono::milliseconds kServicePatience { 10000 };

/// What a program was started for.
struct Launch {
    /// Takes from the environment what the desktop gave for a window to come to the front. To be
    /// called before the windows' library does. \param paths  absolute.
    static Launch withPaths(std::vector<QByteArray> paths);

    std::vector<QByteArray> paths; ///< Absolute; bytes.
    QByteArray startupId; ///< Of an X11 desktop; empty for none.
    QByteArray activationToken; ///< Of a Wayland desktop; empty for none.
    bool isService = false; ///< The bus started it, and says by calls what to show.
};

/// What others may ask of this program. None of them waits.
struct ApplicationActions {
    std::function<void(const std::vector<QByteArray>& paths)> openFiles = [](const auto&) {};
    std::function<void()> activate = [] {};
    std::function<void()> play = [] {};
    std::function<void()> next = [] {};
    std::function<void()> previous = [] {};
    std::function<void()> quit = [] {}; ///< The bus started the program, and nobody wants it.
};

/// The path of a file on this machine. \param uri  as another program says it, whatever that is.
/// \return nothing for any other address.
std::optional<QByteArray> localPath(const QString& uri);

/// Answers to the name com.quorvane.Quorvane on the session bus, as org.freedesktop.Application,
/// or hands over to the program that does. Nobody waits for the bus: one that is slow, missing or
/// broken means a program on its own. Thread: main.
class ApplicationService {
public:
    enum class Role {
        Shows, ///< This program is the one, or goes on alone.
        HandedOver, ///< The one that runs has taken the launch over.
    };

    /// \param clock, neighbours  must outlive this. The neighbours are left by who goes on alone.
    ApplicationService(Clock& clock, Neighbours& neighbours, ApplicationActions actions);
    ~ApplicationService();
    ApplicationService(const ApplicationService&) = delete;
    ApplicationService& operator=(const ApplicationService&) = delete;

    /// Once. \param decided  called once and later, from the event loop or from lookForAnswer().
    void start(Launch launch, std::function<void(Role)> decided);

    /// Decides at once if the bus has answered already. A show that begins before the event loop
    /// does has its first slide sooner: else the window comes first, and is painted without.
    void lookForAnswer();

private:
    class Bus;

    std::unique_ptr<Bus> mBus;
};

} // namespace quorvane
