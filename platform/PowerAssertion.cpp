// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/PowerAssertion.h"

#include "platform/Clock.h"
#include "platform/SessionBus.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>
#include <QPointer>

#include <climits>

namespace quorvane {

namespace {

using namespace std::chrono_literals;

/// The portal's word for "do not darken the screen because nobody does anything".
constexpr uint kIdle = 8;

/// Services start on demand. Somebody who has not answered after this will be replaced.
constexpr auto kPatience = 5s;

/// Without a limit: a late answer must be heard, because what it grants must be given back.
constexpr int kForEver = INT_MAX;

/// A service that keeps the screen awake.
struct Keeper {
    QString service;
    QString path;
    QString interface;
};

const Keeper& screenSaver()
{
    static const Keeper keeper { QStringLiteral("org.freedesktop.ScreenSaver"),
        QStringLiteral("/org/freedesktop/ScreenSaver"),
        QStringLiteral("org.freedesktop.ScreenSaver") };
    return keeper;
}

const Keeper& portal()
{
    static const Keeper keeper { QStringLiteral("org.freedesktop.portal.Desktop"),
        QStringLiteral("/org/freedesktop/portal/desktop"),
        QStringLiteral("org.freedesktop.portal.Inhibit") };
    return keeper;
}

/// What a keeper has granted.
struct Grant {
    const Keeper* keeper = nullptr;
    QString owner; ///< The connection that granted it; what it forgot nobody needs to give back.
    QVariant token; ///< uint, or QDBusObjectPath from the portal.
};

QDBusMessage inhibitMessage(const Keeper& keeper)
{
    QDBusMessage message = QDBusMessage::createMethodCall(
        keeper.service, keeper.path, keeper.interface, QStringLiteral("Inhibit"));
    const QString reason = QStringLiteral("Viewing Slideshow");
    if (&keeper == &screenSaver())
        message.setArguments({ QStringLiteral("Quorvane"), reason });
    else
        message.setArguments(
            { QString(), kIdle, QVariantMap { { QStringLiteral("reason"), reason } } });
    return message;
}

/// \return nothing when it is a refusal or nonsense.
std::optional<Grant> grantFrom(const Keeper& keeper, const QDBusMessage& answer)
{
    const auto signature = &keeper == &screenSaver() ? QLatin1String("u") : QLatin1String("o");
    if (answer.type() != QDBusMessage::ReplyMessage || answer.signature() != signature)
        return {};
    return Grant { &keeper, answer.service(), answer.arguments().constFirst() };
}

/// To him who granted it: what has the service's name by now knows nothing of it.
void giveBack(const Grant& grant)
{
    const bool isCookie = grant.keeper == &screenSaver();
    QDBusMessage message = isCookie
        ? QDBusMessage::createMethodCall(
            grant.owner, grant.keeper->path, grant.keeper->interface, QStringLiteral("UnInhibit"))
        : QDBusMessage::createMethodCall(grant.owner, grant.token.value<QDBusObjectPath>().path(),
            QStringLiteral("org.freedesktop.portal.Request"), QStringLiteral("Close"));
    if (isCookie)
        message.setArguments({ grant.token });
    SessionBus::connection().send(message);
}

} // namespace

/// Brings what the desktop grants in line with what is wanted. One question at a time is open.
class PowerAssertion::Desktop : public QObject {
    Q_OBJECT

public:
    explicit Desktop(Clock& clock)
        : mClock(clock)
    {
    }

    ~Desktop() override
    {
        mIsWanted = false;
        settle();
    }

    Desktop(const Desktop&) = delete;
    Desktop& operator=(const Desktop&) = delete;

    void want(bool isWanted)
    {
        if (mIsWanted == isWanted)
            return;
        mIsWanted = isWanted;
        if (mIsWanted && !mServices)
            mBus.reach([this](bool isThere) { begin(isThere); });
        else
            settle();
    }

private:
    void begin(bool isBusThere)
    {
        if (!isBusThere) {
            if (mIsWanted)
                complain();
            return;
        }
        if (!mServices)
            watchServices();
        settle();
    }

    void watchServices()
    {
        mServices = std::make_unique<QDBusServiceWatcher>(screenSaver().service,
            SessionBus::connection(), QDBusServiceWatcher::WatchForOwnerChange);
        mServices->addWatchedService(portal().service);
        connect(mServices.get(), &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString& service, const QString& before, const QString& now) {
                ownerChanged(service, before, now);
            });
    }

    void settle()
    {
        if (mAsked)
            return; // The answer leads back here.
        if (!mIsWanted && mGrant)
            giveBack(*std::exchange(mGrant, {}));
        else if (mIsWanted && !mGrant)
            ask(screenSaver());
    }

    void ask(const Keeper& keeper)
    {
        mAsked = &keeper;
        // It outlives this object: what an answer grants is given back in any case.
        auto* const call = new QDBusPendingCallWatcher(
            SessionBus::connection().asyncCall(inhibitMessage(keeper), kForEver),
            QCoreApplication::instance());
        const auto heard = [desktop = QPointer(this), question = mQuestion, &keeper, call] {
            call->deleteLater();
            const auto grant = grantFrom(keeper, call->reply());
            Desktop* const asker = desktop.data();
            if (asker && asker->mQuestion == question)
                asker->answered(grant);
            else if (grant)
                giveBack(*grant);
        };
        connect(call, &QDBusPendingCallWatcher::finished, call, heard);
        mLimit = mClock.scheduleTimer(kPatience, Clock::Repetition::Once, [this] { answered({}); });
    }

    void answered(const std::optional<Grant>& grant)
    {
        const Keeper* const keeper = forgetQuestion();
        mGrant = grant;
        if (mGrant)
            mHasComplained = false;
        if (mGrant || !mIsWanted)
            settle();
        else if (keeper == &screenSaver())
            ask(portal());
        else
            complain();
    }

    /// \return who was asked.
    const Keeper* forgetQuestion()
    {
        mLimit.reset();
        ++mQuestion;
        return std::exchange(mAsked, nullptr);
    }

    void ownerChanged(const QString& service, const QString& before, const QString& now)
    {
        const bool isLost = mGrant && mGrant->owner == before;
        if (isLost)
            mGrant.reset();
        if (service == screenSaver().service && !now.isEmpty())
            leavePortal();
        // Not when a service merely goes: one that refuses and goes would be started for ever.
        if (isLost || !now.isEmpty())
            settle();
    }

    /// The portal passes the wish on to whom it knows, says yes in any case, and does not ask
    /// anew: a screen saver that has only just come may know nothing.
    void leavePortal()
    {
        if (mAsked == &portal())
            forgetQuestion();
        if (mGrant && mGrant->keeper == &portal())
            giveBack(*std::exchange(mGrant, {}));
    }

    void complain()
    {
        if (!std::exchange(mHasComplained, true))
            qWarning("Failed to prevent sleep!");
    }

    Clock& mClock;
    bool mIsWanted = false;
    bool mHasComplained = false; ///< Since the last success.
    std::optional<Grant> mGrant; ///< None while a question is open.
    const Keeper* mAsked = nullptr; ///< Whose answer is awaited.
    int mQuestion = 0; ///< The number of the open question; answers to others come too late.
    std::unique_ptr<Timer> mLimit; ///< Of the open question.
    SessionBus mBus;
    std::unique_ptr<QDBusServiceWatcher> mServices; ///< Once the bus is reached.
};

PowerAssertion::PowerAssertion(Clock& clock)
    : mDesktop(std::make_unique<Desktop>(clock))
{
}

PowerAssertion::~PowerAssertion() = default;

void PowerAssertion::preventSleep() { mDesktop->want(true); }

void PowerAssertion::allowSleep() { mDesktop->want(false); }

} // namespace quorvane

#include "PowerAssertion.moc"
