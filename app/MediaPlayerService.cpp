// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/MediaPlayerService.h"

#include "app/ApplicationService.h"
#include "platform/BusName.h"
#include "platform/LifeGuard.h"
#include "platform/MainQueue.h"
#include "platform/PathRules.h"
#include "platform/SessionBus.h"
#include "platform/TypeIdentifier.h"

#include <QCoreApplication>
#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QVariantMap>

#include <utility>

namespace quorvane {

namespace {

constexpr QLatin1String kPath { "/org/mpris/MediaPlayer2" };
constexpr QLatin1String kPlayerInterface { "org.mpris.MediaPlayer2.Player" };
constexpr QLatin1String kNoTrack { "/org/mpris/MediaPlayer2/TrackList/NoTrack" };
constexpr QLatin1String kTracks { "/com/quorvane/Quorvane/slide/" };

QString playerName() { return QStringLiteral("org.mpris.MediaPlayer2.quorvane"); }

QString secondPlayerName()
{
    return playerName() + QStringLiteral(".instance")
        + QString::number(QCoreApplication::applicationPid());
}

QStringList mimeTypes()
{
    QStringList result;
    for (const QString& type : TypeIdentifier::imageTypes() + TypeIdentifier::audiovisualTypes())
        result += TypeIdentifier::mimeTypesOf(type);
    result.removeDuplicates();
    return result;
}

/// What the person reads: the file's name without its extension, of which the bus takes only what
/// is text.
QString titleOf(const FileURL& slide)
{
    return QString::fromUtf8(deletingPathExtension(lastPathComponent(slide.path()).toByteArray()));
}

QVariantMap metadataOf(const std::optional<FileURL>& slide, quint64 number)
{
    const QString track = slide ? kTracks + QString::number(number) : QString(kNoTrack);
    QVariantMap metadata { { QStringLiteral("mpris:trackid"),
        QVariant::fromValue(QDBusObjectPath(track)) } };
    if (slide) {
        metadata.insert(QStringLiteral("xesam:url"), QString::fromLatin1(slide->encoded()));
        metadata.insert(QStringLiteral("xesam:title"), titleOf(*slide));
    }
    return metadata;
}

QString statusOf(const PlayerState& state)
{
    if (!state.isShowing)
        return QStringLiteral("Stopped");
    return state.isPlaying ? QStringLiteral("Playing") : QStringLiteral("Paused");
}

/// A show, and which of all slides since the start it is at.
struct Moment {
    PlayerState state;
    quint64 slideNumber = 0;
};

/// What changes while the program runs.
QVariantMap valuesOf(const Moment& moment)
{
    QVariantMap values { { QStringLiteral("PlaybackStatus"), statusOf(moment.state) },
        { QStringLiteral("Metadata"), metadataOf(moment.state.slide, moment.slideNumber) } };
    for (const char* ability : { "CanGoNext", "CanGoPrevious", "CanPlay", "CanPause" })
        values.insert(QString::fromLatin1(ability), moment.state.isShowing);
    return values;
}

/// The program.
class RootAdaptor : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.mpris.MediaPlayer2")
    Q_PROPERTY(bool CanQuit READ can CONSTANT)
    Q_PROPERTY(bool CanRaise READ can CONSTANT)
    Q_PROPERTY(bool HasTrackList READ cannot CONSTANT)
    Q_PROPERTY(QString Identity READ identity CONSTANT)
    Q_PROPERTY(QString DesktopEntry READ desktopEntry CONSTANT)
    Q_PROPERTY(QStringList SupportedUriSchemes READ schemes CONSTANT)
    Q_PROPERTY(QStringList SupportedMimeTypes READ types CONSTANT)

public:
    RootAdaptor(QObject* parent, const PlayerActions& actions)
        : QDBusAbstractAdaptor(parent)
        , mActions(actions)
    {
    }

    static bool can() { return true; }
    static bool cannot() { return false; }
    static QString identity() { return QStringLiteral("Quorvane"); }
    static QString desktopEntry() { return QStringLiteral("com.quorvane.Quorvane"); }
    static QStringList schemes() { return { QStringLiteral("file") }; }
    static QStringList types() { return mimeTypes(); }

public Q_SLOTS:
    void Raise() const { mActions.raise(); }
    void Quit() const { mActions.quit(); }

private:
    const PlayerActions& mActions;
};

/// The show.
class PlayerAdaptor : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.mpris.MediaPlayer2.Player")
    Q_PROPERTY(QString PlaybackStatus READ status)
    Q_PROPERTY(QVariantMap Metadata READ metadata)
    Q_PROPERTY(double Rate READ one WRITE keepOne)
    Q_PROPERTY(double MinimumRate READ one CONSTANT)
    Q_PROPERTY(double MaximumRate READ one CONSTANT)
    Q_PROPERTY(double Volume READ one WRITE keepOne)
    Q_PROPERTY(qlonglong Position READ position)
    Q_PROPERTY(bool CanGoNext READ hasSlides)
    Q_PROPERTY(bool CanGoPrevious READ hasSlides)
    Q_PROPERTY(bool CanPlay READ hasSlides)
    Q_PROPERTY(bool CanPause READ hasSlides)
    Q_PROPERTY(bool CanSeek READ cannot CONSTANT)
    Q_PROPERTY(bool CanControl READ can CONSTANT)

public:
    PlayerAdaptor(QObject* parent, const PlayerActions& actions, const Moment& moment)
        : QDBusAbstractAdaptor(parent)
        , mActions(actions)
        , mMoment(moment)
    {
    }

    QString status() const { return statusOf(mMoment.state); }
    QVariantMap metadata() const { return metadataOf(mMoment.state.slide, mMoment.slideNumber); }
    bool hasSlides() const { return mMoment.state.isShowing; }
    static double one() { return 1; }
    static void keepOne(double /*other*/) { }
    static qlonglong position() { return 0; }
    static bool can() { return true; }
    static bool cannot() { return false; }

public Q_SLOTS:
    void Play() const
    {
        if (hasSlides())
            mActions.play();
    }

    void PlayPause() const
    {
        if (mMoment.state.isPlaying)
            mActions.pause();
        else
            Play();
    }

    void Pause() const { mActions.pause(); }
    void Stop() const { mActions.pause(); }

    void Next() const
    {
        if (hasSlides())
            mActions.next();
    }

    void Previous() const
    {
        if (hasSlides())
            mActions.previous();
    }

    // A slide has no inside to go to.
    static void Seek(qlonglong /*offset*/) { }
    static void SetPosition(const QDBusObjectPath& /*track*/, qlonglong /*position*/) { }

    void OpenUri(const QString& uri) const
    {
        if (const auto path = localPath(uri))
            mActions.openFiles({ *path });
    }

private:
    const PlayerActions& mActions;
    const Moment& mMoment;
};

} // namespace

/// The object on the bus.
class MediaPlayerService::Player : public QObject {
    Q_OBJECT

public:
    explicit Player(PlayerActions actions)
        : mActions(std::move(actions))
        , mToldValues(valuesOf(mMoment))
    {
        // Owned by this.
        new RootAdaptor(this, mActions);
        new PlayerAdaptor(this, mActions, mMoment);
    }

    ~Player() override
    {
        if (mIsOnBus)
            SessionBus::connection().unregisterObject(QString(kPath));
    }

    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;

    void setState(const PlayerState& state)
    {
        if (state.isShowing && !std::exchange(mIsWanted, true))
            mBus.reach([this](bool isThere) { appear(isThere); });
        if (state.slide != mMoment.state.slide)
            ++mMoment.slideNumber;
        mMoment.state = state;
        if (!std::exchange(mTells, true))
            MainQueue::async(mLifeGuard.wrap([this] { tell(); }));
    }

private:
    void appear(bool isThere)
    {
        mIsOnBus = isThere && SessionBus::connection().registerObject(QString(kPath), this);
        if (!mIsOnBus)
            return;
        requestBusName(playerName(), this, [this](BusNameOutcome outcome) {
            if (outcome == BusNameOutcome::Taken)
                requestBusName(secondPlayerName(), this, [](BusNameOutcome) {});
        });
    }

    void tell()
    {
        mTells = false;
        const QVariantMap values = valuesOf(mMoment);
        QVariantMap changed;
        for (auto value = values.begin(); value != values.end(); ++value) {
            if (mToldValues.value(value.key()) != value.value())
                changed.insert(value.key(), value.value());
        }
        mToldValues = values;
        if (changed.isEmpty() || !mIsOnBus)
            return;
        QDBusMessage signal = QDBusMessage::createSignal(QString(kPath),
            QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("PropertiesChanged"));
        signal.setArguments({ QString(kPlayerInterface), changed, QStringList() });
        SessionBus::connection().send(signal);
    }

    const PlayerActions mActions;
    Moment mMoment;
    QVariantMap mToldValues; ///< What others know.
    bool mTells = false; ///< tell() is on its way.
    bool mIsWanted = false; ///< There was a show.
    bool mIsOnBus = false;
    SessionBus mBus;
    LifeGuard mLifeGuard;
};

MediaPlayerService::MediaPlayerService(PlayerActions actions)
    : mPlayer(std::make_unique<Player>(std::move(actions)))
{
}

MediaPlayerService::~MediaPlayerService() = default;

void MediaPlayerService::setState(const PlayerState& state) { mPlayer->setState(state); }

} // namespace quorvane

#include "MediaPlayerService.moc"
