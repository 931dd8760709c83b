// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/ReducedMotion.h"

#include "platform/BusName.h"
#include "platform/SessionBus.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>

namespace quorvane {

namespace {

// The groups and keys under which the portals hand out the choice.
constexpr QLatin1String kCommonGroup { "org.freedesktop.appearance" };
constexpr QLatin1String kCommonKey { "reduced-motion" }; ///< 1 = reduced.
constexpr QLatin1String kGnomeGroup { "org.gnome.desktop.interface" };
constexpr QLatin1String kGnomeKey { "enable-animations" };
constexpr QLatin1String kPlasmaGroup { "org.kde.kdeglobals.KDE" };
constexpr QLatin1String kPlasmaKey { "AnimationDurationFactor" }; ///< 0 = at once.

constexpr QLatin1String kService { "org.freedesktop.portal.Desktop" };
constexpr QLatin1String kPath { "/org/freedesktop/portal/desktop" };
constexpr QLatin1String kInterface { "org.freedesktop.portal.Settings" };

/// The type of ReadAll's answer.
constexpr QLatin1String kAnswer { "a{sa{sv}}" };

QDBusMessage question()
{
    QDBusMessage message = QDBusMessage::createMethodCall(
        QString(kService), QString(kPath), QString(kInterface), QStringLiteral("ReadAll"));
    message.setArguments(
        { QStringList { QString(kCommonGroup), QString(kGnomeGroup), QString(kPlasmaGroup) } });
    return message;
}

/// Empty when it is none.
DesktopSettings settingsFrom(const QDBusMessage& answer)
{
    if (answer.type() != QDBusMessage::ReplyMessage || answer.signature() != kAnswer)
        return {};
    return qdbus_cast<DesktopSettings>(answer.arguments().constFirst());
}

} // namespace

bool wantsReducedMotion(const DesktopSettings& settings)
{
    const auto value = [&](QLatin1String group, QLatin1String key) {
        return settings.value(QString(group)).value(QString(key));
    };
    const QVariant common = value(kCommonGroup, kCommonKey);
    if (common.canConvert<uint>() && common.toUInt() != 0)
        return true;
    const QVariant gnome = value(kGnomeGroup, kGnomeKey);
    if (gnome.typeId() == QMetaType::Bool && !gnome.toBool())
        return true;
    bool isNumber = false;
    const double factor = value(kPlasmaGroup, kPlasmaKey).toDouble(&isNumber);
    return isNumber && factor == 0;
}

/// Hears from the portal.
class ReducedMotion::Portal : public QObject {
    Q_OBJECT

public:
    explicit Portal(std::function<void(bool)> answered)
        : mAnswered(std::move(answered))
    {
    }

    void connectToDesktop()
    {
        mBus.reach([this](bool isThere) {
            if (isThere)
                listen();
        });
    }

private Q_SLOTS:
    void ask()
    {
        callOnBus(question(), this, [this](const QDBusMessage& answer) {
            mAnswered(wantsReducedMotion(settingsFrom(answer)));
        });
    }

private:
    void listen()
    {
        SessionBus::connection().connect(
            kService, kPath, kInterface, QStringLiteral("SettingChanged"), this, SLOT(ask()));
        ask();
    }

    std::function<void(bool)> mAnswered;
    SessionBus mBus;
};

ReducedMotion::ReducedMotion()
    : mPortal(std::make_unique<Portal>([this](bool isReduced) { mIsReduced = isReduced; }))
{
    mPortal->connectToDesktop();
}

ReducedMotion::~ReducedMotion() = default;

} // namespace quorvane

#include "ReducedMotion.moc"
