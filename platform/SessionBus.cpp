// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/SessionBus.h"

#include "platform/DispatchQueue.h"
#include "platform/MainQueue.h"

#include <QDBusConnection>
#include <QFile>

#include <vector>

namespace quorvane {

namespace {

constexpr QLatin1String kConnection { "quorvane" };

/// What all shares have together.
struct Shared {
    enum class State { Apart, Connecting, Connected };

    int shares = 0;
    State state = State::Apart;
    std::vector<std::function<void(bool)>> waiting; ///< Empty unless connecting.
};

Shared& shared()
{
    static Shared instance;
    return instance;
}

/// The bus's library would start a bus of its own where there is none.
bool hasSessionBus()
{
    return qEnvironmentVariableIsSet("DBUS_SESSION_BUS_ADDRESS")
        || QFile::exists(qEnvironmentVariable("XDG_RUNTIME_DIR") + QStringLiteral("/bus"));
}

void disconnect()
{
    QDBusConnection::disconnectFromBus(QString(kConnection));
    shared().state = Shared::State::Apart;
}

void finishConnecting()
{
    const bool isThere = SessionBus::connection().isConnected();
    shared().state = Shared::State::Connected;
    // A failure is kept under the connection's name, too. It may be another bus next time.
    if (!isThere || shared().shares == 0)
        disconnect();
    for (const auto& reached : std::exchange(shared().waiting, {}))
        reached(isThere);
}

void beginConnecting()
{
    shared().state = Shared::State::Connecting;
    DispatchQueue::global().async([] {
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, QString(kConnection));
        MainQueue::async(finishConnecting);
    });
}

} // namespace

SessionBus::SessionBus() { ++shared().shares; }

SessionBus::~SessionBus()
{
    if (--shared().shares == 0 && shared().state == Shared::State::Connected)
        disconnect();
}

void SessionBus::reach(std::function<void(bool)> reached)
{
    auto guarded = mLifeGuard.wrap(std::move(reached));
    if (shared().state == Shared::State::Connected || !hasSessionBus()) {
        MainQueue::async([guarded]() mutable { guarded(SessionBus::connection().isConnected()); });
        return;
    }
    shared().waiting.emplace_back(std::move(guarded));
    if (shared().state == Shared::State::Apart)
        beginConnecting();
}

QDBusConnection SessionBus::connection() { return QDBusConnection(QString(kConnection)); }

} // namespace quorvane
