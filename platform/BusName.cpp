// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/BusName.h"

#include "platform/SessionBus.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>

#include <limits>

namespace quorvane {

namespace {

/// Milliseconds. Who is impatient has a clock.
constexpr int kForEver = std::numeric_limits<int>::max();

// The bus's own numbers.
constexpr uint kDoNotQueue = 4;
constexpr uint kOwner = 1;
constexpr uint kTaken = 3;
constexpr uint kOwnerAlready = 4;

QDBusMessage busMessage(const QString& method, const QVariantList& arguments)
{
    QDBusMessage message = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"),
        QStringLiteral("/org/freedesktop/DBus"), QStringLiteral("org.freedesktop.DBus"), method);
    message.setArguments(arguments);
    return message;
}

BusNameOutcome outcomeOf(const QDBusMessage& answer)
{
    const uint number
        = answer.type() == QDBusMessage::ReplyMessage ? answer.arguments().value(0).toUInt() : 0;
    if (number == kOwner || number == kOwnerAlready)
        return BusNameOutcome::Ours;
    return number == kTaken ? BusNameOutcome::Taken : BusNameOutcome::Failed;
}

} // namespace

QDBusPendingCallWatcher* callOnBus(const QDBusMessage& message, QObject* context,
    std::function<void(const QDBusMessage&)> answered)
{
    auto* const watcher = new QDBusPendingCallWatcher(
        SessionBus::connection().asyncCall(message, kForEver), context);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, context,
        [watcher, answered = std::move(answered)] {
            watcher->deleteLater();
            answered(watcher->reply());
        });
    return watcher;
}

QDBusPendingCallWatcher* requestBusName(
    const QString& name, QObject* context, const std::function<void(BusNameOutcome)>& answered)
{
    return callOnBus(busMessage(QStringLiteral("RequestName"), { name, kDoNotQueue }), context,
        [answered](const QDBusMessage& answer) { answered(outcomeOf(answer)); });
}

void releaseBusName(const QString& name)
{
    SessionBus::connection().send(busMessage(QStringLiteral("ReleaseName"), { name }));
}

} // namespace quorvane
