// SPDX-License-Identifier: GPL-3.0-or-later
// A session bus of a test's own, on which nothing is but what the test puts there.
#pragma once

#include "EventWaiting.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <sys/prctl.h>

#include <csignal>

namespace quorvane::tests {

/// While it lives it is the session's bus. No service is started on demand. All buses of a test
/// program have the same address, because the bus's library looks for it once. Thread: main.
class PrivateBus {
public:
    PrivateBus()
    {
        qputenv(kVariable, address());
        // It never outlives the test.
        mDaemon.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGKILL); });
        mDaemon.setProcessChannelMode(QProcess::MergedChannels);
        start();
    }

    ~PrivateBus()
    {
        die();
        if (mBefore.isNull())
            qunsetenv(kVariable);
        else
            qputenv(kVariable, mBefore);
    }

    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    /// Again, after die().
    void start()
    {
        mDaemon.start(QStringLiteral("dbus-daemon"),
            { QStringLiteral("--config-file=") + writeConfiguration(), QStringLiteral("--nofork"),
                QStringLiteral("--print-address") });
        QByteArray said;
        if (!waitUntil([&] { return (said += mDaemon.readAll()).contains("unix:path="); }))
            qFatal("the test has no bus: %s", said.constData());
    }

    /// Returns when it is gone.
    void die()
    {
        mDaemon.kill();
        mDaemon.waitForFinished();
    }

    /// For a service: a connection other than the program's.
    static QDBusConnection connect(const QString& name)
    {
        return QDBusConnection::connectToBus(QString::fromUtf8(address()), name);
    }

    /// A socket.
    static QString path() { return folder().filePath(QStringLiteral("bus")); }

private:
    static constexpr const char* kVariable = "DBUS_SESSION_BUS_ADDRESS";

    static const QTemporaryDir& folder()
    {
        static const QTemporaryDir instance;
        return instance;
    }

    static QByteArray address() { return "unix:path=" + path().toUtf8(); }

    static QString writeConfiguration()
    {
        QFile file(folder().filePath(QStringLiteral("bus.conf")));
        if (!file.open(QIODevice::WriteOnly))
            qFatal("the test cannot write its file");
        file.write("<busconfig><type>session</type><listen>" + address()
            + "</listen><policy context=\"default\"><allow send_destination=\"*\"/>"
              "<allow receive_sender=\"*\"/><allow own=\"*\"/></policy></busconfig>");
        return file.fileName();
    }

    const QByteArray mBefore = qgetenv(kVariable);
    QProcess mDaemon;
};

/// While it lives there is no session bus.
class NoBus {
public:
    NoBus()
    {
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
        qputenv("XDG_RUNTIME_DIR", "/nonexistent");
    }
    ~NoBus()
    {
        qputenv("XDG_RUNTIME_DIR", mFolderBefore);
        if (!mBefore.isNull())
            qputenv("DBUS_SESSION_BUS_ADDRESS", mBefore);
    }
    NoBus(const NoBus&) = delete;
    NoBus& operator=(const NoBus&) = delete;

private:
    const QByteArray mBefore = qgetenv("DBUS_SESSION_BUS_ADDRESS");
    const QByteArray mFolderBefore = qgetenv("XDG_RUNTIME_DIR");
};

/// Until all that was sent over `sender` before has reached `receiver` and what that had sent
/// before has come back. The receiver answers to "Sync".
inline testing::AssertionResult waitForRoundTrip(
    const QDBusConnection& sender, const QDBusConnection& receiver)
{
    const QDBusPendingCall call = sender.asyncCall(QDBusMessage::createMethodCall(
        receiver.baseService(), QStringLiteral("/"), {}, QStringLiteral("Sync")));
    return waitUntil([&] { return call.isFinished(); });
}

} // namespace quorvane::tests
