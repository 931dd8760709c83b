// SPDX-License-Identifier: GPL-3.0-or-later
// A desktop's screen saver that says who keeps it away: "inhibited NAME: REASON", "released", and
// "gone" for one that left the bus without a word.
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QDBusVirtualObject>

#include <cstdio>

namespace {

const QString kPath = QStringLiteral("/org/freedesktop/ScreenSaver");
constexpr uint kCookie = 4711;

void say(const QString& text)
{
    std::puts(text.toUtf8().constData());
    std::fflush(stdout);
}

class ScreenSaver : public QDBusVirtualObject {
public:
    explicit ScreenSaver(const QDBusConnection& bus)
    {
        mWatcher.setConnection(bus);
        mWatcher.setWatchMode(QDBusServiceWatcher::WatchForUnregistration);
        connect(&mWatcher, &QDBusServiceWatcher::serviceUnregistered,
            [] { say(QStringLiteral("gone")); });
    }

    QString introspect(const QString& /*path*/) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& bus) override
    {
        const QVariantList arguments = message.arguments();
        if (message.member() == QLatin1String("Inhibit")) {
            say(QStringLiteral("inhibited %1: %2")
                    .arg(arguments.value(0).toString(), arguments.value(1).toString()));
            mWatcher.addWatchedService(message.service());
            bus.send(message.createReply(kCookie));
            return true;
        }
        if (message.member() == QLatin1String("UnInhibit")) {
            say(arguments.value(0).toUInt() == kCookie ? QStringLiteral("released")
                                                       : QStringLiteral("confused"));
            bus.send(message.createReply());
            return true;
        }
        return false;
    }

private:
    QDBusServiceWatcher mWatcher;
};

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    QDBusConnection bus = QDBusConnection::sessionBus();
    ScreenSaver screenSaver(bus);
    if (!bus.registerVirtualObject(kPath, &screenSaver)
        || !bus.registerService(QStringLiteral("org.freedesktop.ScreenSaver")))
        return 1;
    say(QStringLiteral("ready"));
    return QCoreApplication::exec();
}
