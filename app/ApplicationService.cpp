// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/ApplicationService.h"

#include "platform/BusName.h"
#include "platform/Clock.h"
#include "platform/FileURL.h"
#include "platform/Neighbours.h"
#include "platform/SessionBus.h"

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QPointer>
#include <QVariantMap>

#include <utility>

namespace quorvane {

namespace {

constexpr QLatin1String kName { "com.quorvane.Quorvane" };
constexpr QLatin1String kPath { "/com/quorvane/Quorvane" };
constexpr QLatin1String kInterface { "org.freedesktop.Application" };

// What a launch says about itself beside its files.
constexpr QLatin1String kStartupId { "desktop-startup-id" };
constexpr QLatin1String kActivationToken { "activation-token" };
constexpr char kStartupVariable[] = "DESKTOP_STARTUP_ID";
constexpr char kActivationVariable[] = "XDG_ACTIVATION_TOKEN";

/// Open, or Activate without files.
QDBusMessage launchMessage(const Launch& launch)
{
    QVariantMap platformData;
    if (!launch.startupId.isEmpty())
        platformData.insert(QString(kStartupId), QString::fromUtf8(launch.startupId));
    if (!launch.activationToken.isEmpty())
        platformData.insert(QString(kActivationToken), QString::fromUtf8(launch.activationToken));
    QStringList uris;
    for (const QByteArray& path : launch.paths)
        uris.append(QString::fromLatin1(FileURL(path).encoded()));

    QDBusMessage message = QDBusMessage::createMethodCall(QString(kName), QString(kPath),
        QString(kInterface), uris.isEmpty() ? QStringLiteral("Activate") : QStringLiteral("Open"));
    message.setAutoStartService(false);
    message.setArguments(
        uris.isEmpty() ? QVariantList { platformData } : QVariantList { uris, platformData });
    return message;
}

/// On Wayland a window may come to the front only with the token of who was clicked; Qt takes it
/// from here. Launchers that do not know its name yet send it under that of an X11 desktop's.
void useToken(const QVariantMap& platformData)
{
    QByteArray token = platformData.value(QString(kActivationToken)).toString().toUtf8();
    if (token.isEmpty())
        token = platformData.value(QString(kStartupId)).toString().toUtf8();
    if (token.isEmpty())
        qunsetenv(kActivationVariable); // One that was not used has had its time.
    else
        qputenv(kActivationVariable, token);
}

/// What stands on the bus.
class ApplicationAdaptor : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    ApplicationAdaptor(QObject* parent, ApplicationActions actions)
        : QDBusAbstractAdaptor(parent)
        , mActions(std::move(actions))
    {
    }

public Q_SLOTS:
    void Activate(const QVariantMap& platformData)
    {
        useToken(platformData);
        mActions.activate();
    }

    void Open(const QStringList& uris, const QVariantMap& platformData)
    {
        std::vector<QByteArray> paths;
        QStringList others;
        for (const QString& uri : uris) {
            if (auto path = localPath(uri))
                paths.push_back(std::move(*path));
            else
                others.append(uri);
        }
        if (!others.isEmpty())
            complain(others);
        if (!paths.empty())
            mActions.openFiles(paths);
        Activate(platformData);
    }

    void ActivateAction(const QString& name, const QVariantList& /*parameters*/,
        const QVariantMap& /*platformData*/) const
    {
        if (name == QLatin1String("play"))
            mActions.play();
        else if (name == QLatin1String("next"))
            mActions.next();
        else if (name == QLatin1String("previous"))
            mActions.previous();
    }

private:
    /// One line, whatever is in them.
    static void complain(const QStringList& others)
    {
        constexpr int kLongest = 200;
        const QByteArray first
            = others.constFirst().left(kLongest).toUtf8().toPercentEncoding(":/?#[]@!$&'()*+,;=%");
        qWarning("Not files of this machine: %lld of what was to be opened, such as \"%s\".",
            static_cast<long long>(others.size()), first.constData());
    }

    const ApplicationActions mActions;
};

} // namespace

Launch Launch::withPaths(std::vector<QByteArray> paths)
{
    return { std::move(paths), qgetenv(kStartupVariable), qgetenv(kActivationVariable), false };
}

std::optional<QByteArray> localPath(const QString& uri)
{
    // A name on a disk has no parameters: its semicolons are its own.
    QByteArray encoded = uri.toUtf8();
    const FileURL url = FileURL::fromEncoded(encoded.replace(';', "%3B"));
    if (url.isEmpty() || url.path().contains('\0'))
        return std::nullopt;
    return url.path();
}

/// Finds out whose the name is. Each step is an answer; the limit of a step ends it on our own.
class ApplicationService::Bus : public QObject {
    Q_OBJECT

public:
    Bus(Clock& clock, Neighbours& neighbours, ApplicationActions actions)
        : mClock(clock)
        , mNeighbours(neighbours)
        , mQuit(actions.quit)
    {
        actions.activate = [this, activate = std::move(actions.activate)] {
            mIsWanted = true;
            mWait.reset();
            activate();
        };
        new ApplicationAdaptor(this, std::move(actions)); // Owned by this.
    }

    ~Bus() override { leaveBus(); }

    Bus(const Bus&) = delete;
    Bus& operator=(const Bus&) = delete;

    void start(Launch launch, std::function<void(Role)> decided)
    {
        mLaunch = std::move(launch);
        mDecided = std::move(decided);
        beginWaiting();
        mSession.reach([this](bool isThere) {
            if (!isThere)
                goOnAlone();
            else if (mDecided)
                askForName();
        });
    }

    void lookForAnswer()
    {
        if (mQuestion && mQuestion->isFinished())
            mQuestion->waitForFinished(); // Delivers it.
        else if (mDecided)
            beginWaiting(); // Nobody could answer a program that was busy with itself.
    }

private:
    void beginWaiting()
    {
        // A bus that has started the program is there, however slow.
        const auto patience = mLaunch.isService ? kServicePatience : kBusPatience;
        mLimit
            = mClock.scheduleTimer(patience, Clock::Repetition::Once, [this] { patienceIsOver(); });
    }

    void patienceIsOver()
    {
        if (!mNeighbours.areThere()) {
            goOnAlone();
            return;
        }
        mLimit = mClock.scheduleTimer(
            kNeighbourPatience - kBusPatience, Clock::Repetition::Once, [this] { goOnAlone(); });
    }

    void askForName()
    {
        // First the object: who has the name is called at once.
        mIsOnBus = SessionBus::connection().registerObject(QString(kPath), this);
        mQuestion = requestBusName(
            QString(kName), this, [this](BusNameOutcome outcome) { nameAnswered(outcome); });
    }

    void nameAnswered(BusNameOutcome outcome)
    {
        if (!mDecided && outcome == BusNameOutcome::Ours)
            releaseBusName(QString(kName));
        if (!mDecided)
            return; // Too late: another may be the one by now.
        if (outcome == BusNameOutcome::Ours)
            decide(Role::Shows);
        else if (outcome == BusNameOutcome::Taken)
            handOver();
        else
            goOnAlone();
    }

    void handOver()
    {
        leaveBus();
        if (mLaunch.isService) {
            decide(Role::HandedOver); // The calls go to who has the name.
            return;
        }
        mLimit = mClock.scheduleTimer(
            kNeighbourPatience, Clock::Repetition::Once, [this] { goOnAlone(); });
        mQuestion = callOnBus(launchMessage(mLaunch), this, [this](const QDBusMessage& answer) {
            if (mDecided && answer.type() == QDBusMessage::ReplyMessage)
                decide(Role::HandedOver);
            else
                goOnAlone();
        });
    }

    void goOnAlone()
    {
        if (!mDecided)
            return;
        leaveBus();
        mNeighbours.leave();
        decide(Role::Shows);
    }

    void decide(Role role)
    {
        mLimit.reset();
        if (mLaunch.isService && role == Role::Shows && !mIsWanted)
            mWait = mClock.scheduleTimer(kServicePatience, Clock::Repetition::Once, mQuit);
        std::exchange(mDecided, nullptr)(role);
    }

    void leaveBus()
    {
        if (std::exchange(mIsOnBus, false))
            SessionBus::connection().unregisterObject(QString(kPath));
    }

    Clock& mClock;
    Neighbours& mNeighbours;
    const std::function<void()> mQuit;
    Launch mLaunch;
    bool mIsWanted = false; ///< Somebody asked for a window.
    std::unique_ptr<Timer> mWait; ///< Of a service that nobody has asked for anything.
    std::function<void(Role)> mDecided; ///< Set while it is not decided.
    std::unique_ptr<Timer> mLimit; ///< Of the answer that is awaited.
    QPointer<QDBusPendingCallWatcher> mQuestion; ///< The last one.
    bool mIsOnBus = false; ///< The object is.
    SessionBus mSession;
};

ApplicationService::ApplicationService(
    Clock& clock, Neighbours& neighbours, ApplicationActions actions)
    : mBus(std::make_unique<Bus>(clock, neighbours, std::move(actions)))
{
}

ApplicationService::~ApplicationService() = default;

void ApplicationService::start(Launch launch, std::function<void(Role)> decided)
{
    mBus->start(std::move(launch), std::move(decided));
}

void ApplicationService::lookForAnswer() { mBus->lookForAnswer(); }

} // namespace quorvane

#include "ApplicationService.moc"
