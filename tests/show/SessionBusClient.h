// SPDX-License-Identifier: GPL-3.0-or-later
// Another program on the session bus of a test's desktop.
#pragma once

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QRegularExpression>

namespace quorvane::show {

/// A connection to a bus. The desktop's bus starts nothing on demand. Thread: main.
class SessionBusClient {
public:
    /// \param address  as in DBUS_SESSION_BUS_ADDRESS.
    explicit SessionBusClient(const QByteArray& address)
        : mBus(
            QDBusConnection::connectToBus(QString::fromUtf8(address), QString::fromUtf8(address)))
    {
    }
    ~SessionBusClient() { QDBusConnection::disconnectFromBus(mBus.name()); }
    SessionBusClient(const SessionBusClient&) = delete;
    SessionBusClient& operator=(const SessionBusClient&) = delete;

    /// The names that begin so.
    QStringList names(const QString& start) const
    {
        return mBus.interface()->registeredServiceNames().value().filter(
            QRegularExpression(QLatin1Char('^') + QRegularExpression::escape(start)));
    }

    QDBusMessage call(QDBusMessage message, const QVariantList& arguments) const
    {
        message.setArguments(arguments);
        return mBus.call(message);
    }

    /// Calls the show's player.
    QDBusMessage callPlayer(const char* method) const
    {
        return call(QDBusMessage::createMethodCall(
                        player(), playerPath(), playerInterface(), QString::fromUtf8(method)),
            {});
    }

    /// Invalid when there is no player.
    QVariant playerValue(const char* name) const
    {
        const QDBusMessage answer
            = call(QDBusMessage::createMethodCall(player(), playerPath(),
                       QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get")),
                { playerInterface(), QString::fromUtf8(name) });
        return answer.type() == QDBusMessage::ReplyMessage
            ? answer.arguments().constFirst().value<QDBusVariant>().variant()
            : QVariant();
    }

    static QString player() { return QStringLiteral("org.mpris.MediaPlayer2.quorvane"); }

private:
    static QString playerPath() { return QStringLiteral("/org/mpris/MediaPlayer2"); }
    static QString playerInterface() { return QStringLiteral("org.mpris.MediaPlayer2.Player"); }

    QDBusConnection mBus;
};

} // namespace quorvane::show
