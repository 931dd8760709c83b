// SPDX-License-Identifier: GPL-3.0-or-later
// Names on the session bus, each of which one program has at a time.
#pragma once

#include <QString>

#include <functional>

class QDBusMessage;
class QDBusPendingCallWatcher;
class QObject;

namespace quorvane {

/// What became of a request.
enum class BusNameOutcome {
    Ours,
    Taken, ///< Another has it; it does not become ours when that one goes.
    Failed, ///< The bus refuses, is gone, or talks nonsense.
};

/// Sends a call over the program's connection, and waits for the answer as long as it takes.
/// \param context  nothing is answered once it is gone.
/// \return what waits; gone when it has answered. Thread: main.
QDBusPendingCallWatcher* callOnBus(const QDBusMessage& message, QObject* context,
    std::function<void(const QDBusMessage& answer)> answered);

/// Asks for a name. \param context  as for callOnBus(), as is what is returned.
QDBusPendingCallWatcher* requestBusName(const QString& name, QObject* context,
    const std::function<void(BusNameOutcome outcome)>& answered);

void releaseBusName(const QString& name);

} // namespace quorvane
