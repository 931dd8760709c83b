// SPDX-License-Identifier: GPL-3.0-or-later
// fake_portal MODE: a desktop's portal that answers for its settings. Says "asked" for each
// question.
// MODE: reduced, later (reduced half a second after the first question), garbage, silent.
#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusVirtualObject>
#include <QTimer>

#include <cstdio>

namespace {

using Settings = QMap<QString, QVariantMap>;

const QString kGroup = QStringLiteral("org.gnome.desktop.interface");
const QString kKey = QStringLiteral("enable-animations");
const QString kPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kInterface = QStringLiteral("org.freedesktop.portal.Settings");

class Portal : public QDBusVirtualObject {
public:
    explicit Portal(QString mode)
        : mMode(std::move(mode))
        , mIsReduced(mMode == QLatin1String("reduced"))
    {
    }

    QString introspect(const QString& /*path*/) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& bus) override
    {
        if (message.member() != QLatin1String("ReadAll"))
            return false;
        std::puts("asked");
        std::fflush(stdout);
        if (mMode == QLatin1String("garbage"))
            bus.send(message.createReply(QStringLiteral("nonsense")));
        else if (mMode != QLatin1String("silent"))
            answer(message, bus);
        if (mMode == QLatin1String("later") && !mIsReduced)
            QTimer::singleShot(500, this, [this, bus] { change(bus); });
        return true;
    }

private:
    void answer(const QDBusMessage& message, const QDBusConnection& bus) const
    {
        const Settings settings { { kGroup, { { kKey, !mIsReduced } } } };
        bus.send(message.createReply(QVariant::fromValue(settings)));
    }

    void change(const QDBusConnection& bus)
    {
        mIsReduced = true;
        QDBusMessage signal
            = QDBusMessage::createSignal(kPath, kInterface, QStringLiteral("SettingChanged"));
        signal.setArguments({ kGroup, kKey, QVariant::fromValue(QDBusVariant(false)) });
        bus.send(signal);
    }

    QString mMode;
    bool mIsReduced;
};

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    qDBusRegisterMetaType<Settings>();
    Portal portal(argc > 1 ? QString::fromLocal8Bit(argv[1]) : QString());
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.registerVirtualObject(kPath, &portal)
        || !bus.registerService(QStringLiteral("org.freedesktop.portal.Desktop")))
        return 1;
    std::puts("ready");
    std::fflush(stdout);
    return QCoreApplication::exec();
}
