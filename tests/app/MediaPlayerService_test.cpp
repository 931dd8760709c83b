// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/MediaPlayerService.h"
#include "platform/MainQueue.h"
#include "platform/SessionBus.h"
#include "support/PrivateBus.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusObjectPath>

#include <gmock/gmock.h>

#include <memory>
#include <vector>

namespace quorvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using tests::PrivateBus;

const QString kName = QStringLiteral("org.mpris.MediaPlayer2.quorvane");
const QString kPath = QStringLiteral("/org/mpris/MediaPlayer2");
const QString kRoot = QStringLiteral("org.mpris.MediaPlayer2");
const QString kPlayer = QStringLiteral("org.mpris.MediaPlayer2.Player");
const QString kProperties = QStringLiteral("org.freedesktop.DBus.Properties");
const QString kRemote = QStringLiteral("remote");

/// A remote control.
class Remote : public QObject {
    Q_OBJECT

public:
    Remote()
    {
        mBus.connect({}, kPath, kProperties, QStringLiteral("PropertiesChanged"), this,
            SLOT(hear(QString, QVariantMap)));
    }
    ~Remote() override { QDBusConnection::disconnectFromBus(kRemote); }
    Remote(const Remote&) = delete;
    Remote& operator=(const Remote&) = delete;

    std::vector<QVariantMap> heard; ///< Of the player.

    bool has(const QString& name) const { return mBus.interface()->isServiceRegistered(name); }
    bool take(const QString& name) { return mBus.registerService(name); }
    const QDBusConnection& bus() const { return mBus; }

    QDBusMessage call(
        const QString& interface, const char* method, const QVariantList& arguments = {}) const
    {
        QDBusMessage message = QDBusMessage::createMethodCall(
            SessionBus::connection().baseService(), kPath, interface, QString::fromLatin1(method));
        message.setArguments(arguments);
        const QDBusPendingCall call = mBus.asyncCall(message);
        EXPECT_TRUE(tests::waitUntil([&] { return call.isFinished(); }));
        return call.reply();
    }

    QVariantMap all(const QString& interface) const
    {
        const auto answer = call(kProperties, "GetAll", { interface });
        return answer.arguments().isEmpty()
            ? QVariantMap()
            : qdbus_cast<QVariantMap>(answer.arguments().constFirst());
    }

    QVariant value(const char* name) const { return all(kPlayer).value(QString::fromLatin1(name)); }

private Q_SLOTS:
    void hear(const QString& interface, const QVariantMap& changed)
    {
        if (interface == kPlayer)
            heard.push_back(changed);
    }

private:
    QDBusConnection mBus = PrivateBus::connect(kRemote);
};

QVariantMap metadataOf(const QVariant& value) { return qdbus_cast<QVariantMap>(value); }

struct MediaPlayer : testing::Test {
    MediaPlayer()
    {
        PlayerActions actions;
        actions.play = [this] { done.push_back("play"); };
        actions.pause = [this] { done.push_back("pause"); };
        actions.next = [this] { done.push_back("next"); };
        actions.previous = [this] { done.push_back("previous"); };
        actions.openFiles = [this](const auto& paths) { opened = paths; };
        actions.raise = [this] { done.push_back("raise"); };
        actions.quit = [this] { done.push_back("quit"); };
        player = std::make_unique<MediaPlayerService>(actions);
    }

    static PlayerState showing(const QByteArray& path, bool isPlaying = false)
    {
        return { true, isPlaying, FileURL(path) };
    }

    /// A show is up, and the player is on the bus.
    void appear(const PlayerState& state = showing("/a/1.png"))
    {
        player->setState(state);
        ASSERT_TRUE(tests::waitUntil([this] { return remote.has(kName); }));
        MainQueue::drain();
        settle();
        remote.heard.clear();
    }

    /// Both have heard all that was sent.
    void settle()
    {
        // What the bus passes on from us comes before its answer to the remote's later question. A
        // call to ourselves would not reach the bus.
        const QString driver = QStringLiteral("org.freedesktop.DBus");
        const QDBusPendingCall asked
            = SessionBus::connection().asyncCall(QDBusMessage::createMethodCall(
                driver, QStringLiteral("/org/freedesktop/DBus"), driver, QStringLiteral("GetId")));
        ASSERT_TRUE(tests::waitUntil([&] { return asked.isFinished(); }));
        remote.has(kName);
        QCoreApplication::processEvents();
    }

    const PrivateBus bus;
    const SessionBus share; ///< Keeps the connection.
    Remote remote;
    std::vector<std::string> done; ///< Actions, in order.
    std::vector<QByteArray> opened;
    std::unique_ptr<MediaPlayerService> player;
};

TEST_F(MediaPlayer, ComesWithTheFirstShow)
{
    player->setState({});
    MainQueue::drain();
    SessionBus other;
    bool isThere = false;
    other.reach([&](bool there) { isThere = there; });
    ASSERT_TRUE(tests::waitUntil([&] { return isThere; }));
    EXPECT_FALSE(remote.has(kName));

    player->setState(showing("/1.png"));
    EXPECT_TRUE(tests::waitUntil([this] { return remote.has(kName); }));
}

TEST_F(MediaPlayer, OfASecondProgramHasItsNumberInItsName)
{
    ASSERT_TRUE(remote.take(kName));
    player->setState(showing("/1.png"));

    const QString second
        = kName + QStringLiteral(".instance") + QString::number(QCoreApplication::applicationPid());
    EXPECT_TRUE(tests::waitUntil([&] { return remote.has(second); }));
}

TEST_F(MediaPlayer, SaysWhoItIs)
{
    ASSERT_NO_FATAL_FAILURE(appear());

    const QVariantMap root = remote.all(kRoot);

    EXPECT_EQ(root.value(QStringLiteral("Identity")), QStringLiteral("Quorvane"));
    EXPECT_EQ(root.value(QStringLiteral("DesktopEntry")), QStringLiteral("com.quorvane.Quorvane"));
    EXPECT_EQ(root.value(QStringLiteral("CanQuit")), true);
    EXPECT_EQ(root.value(QStringLiteral("CanRaise")), true);
    EXPECT_EQ(root.value(QStringLiteral("HasTrackList")), false);
    EXPECT_EQ(root.value(QStringLiteral("SupportedUriSchemes")).toStringList(),
        QStringList { QStringLiteral("file") });
    EXPECT_TRUE(root.value(QStringLiteral("SupportedMimeTypes"))
                    .toStringList()
                    .contains(QStringLiteral("image/jpeg")));
}

TEST_F(MediaPlayer, SaysWhatIsShown)
{
    ASSERT_NO_FATAL_FAILURE(appear(showing("/a b/1.tar.png", true)));

    const QVariantMap values = remote.all(kPlayer);

    EXPECT_EQ(values.value(QStringLiteral("PlaybackStatus")), QStringLiteral("Playing"));
    const QVariantMap metadata = metadataOf(values.value(QStringLiteral("Metadata")));
    EXPECT_EQ(
        metadata.value(QStringLiteral("xesam:url")), QStringLiteral("file:///a%20b/1.tar.png"));
    EXPECT_EQ(metadata.value(QStringLiteral("xesam:title")), QStringLiteral("1.tar"));
    EXPECT_TRUE(metadata.value(QStringLiteral("mpris:trackid"))
                    .value<QDBusObjectPath>()
                    .path()
                    .startsWith(QStringLiteral("/com/quorvane/Quorvane/slide/")));
    for (const char* name : { "CanGoNext", "CanGoPrevious", "CanPlay", "CanPause", "CanControl" })
        EXPECT_EQ(values.value(QString::fromLatin1(name)), true) << name;
    EXPECT_EQ(values.value(QStringLiteral("CanSeek")), false);
    for (const char* name : { "Rate", "MinimumRate", "MaximumRate", "Volume" })
        EXPECT_EQ(values.value(QString::fromLatin1(name)), 1.0) << name;
    EXPECT_EQ(values.value(QStringLiteral("Position")), 0);
}

TEST_F(MediaPlayer, IsPausedWhileTheTimerStandsAndStoppedWithoutAShow)
{
    ASSERT_NO_FATAL_FAILURE(appear());
    EXPECT_EQ(remote.value("PlaybackStatus"), QStringLiteral("Paused"));

    player->setState({});

    EXPECT_EQ(remote.value("PlaybackStatus"), QStringLiteral("Stopped"));
    EXPECT_EQ(remote.value("CanGoNext"), false);
    const QVariantMap metadata = metadataOf(remote.value("Metadata"));
    EXPECT_EQ(metadata.size(), 1);
    EXPECT_TRUE(metadata.value(QStringLiteral("mpris:trackid"))
                    .value<QDBusObjectPath>()
                    .path()
                    .endsWith(QStringLiteral("NoTrack")));
    EXPECT_TRUE(remote.has(kName));
}

TEST_F(MediaPlayer, SendsNoNameThatIsNoText)
{
    ASSERT_NO_FATAL_FAILURE(appear(showing("/\xff\xfe.png")));

    const QVariantMap metadata = metadataOf(remote.value("Metadata"));

    EXPECT_EQ(metadata.value(QStringLiteral("xesam:url")), QStringLiteral("file:///%FF%FE.png"));
    EXPECT_EQ(metadata.value(QStringLiteral("xesam:title")), QStringLiteral("\ufffd\ufffd"));
    EXPECT_TRUE(SessionBus::connection().isConnected());
}

TEST_F(MediaPlayer, KeepsNamesThatAreNothingButAnExtension)
{
    ASSERT_NO_FATAL_FAILURE(appear(showing("/a/.png")));

    EXPECT_EQ(metadataOf(remote.value("Metadata")).value(QStringLiteral("xesam:title")),
        QStringLiteral(".png"));
}

TEST_F(MediaPlayer, TellsWhatHasChangedOnceForEachTurn)
{
    ASSERT_NO_FATAL_FAILURE(appear());

    player->setState(showing("/a/1.png", true));
    player->setState(showing("/a/2.png", true));
    player->setState(showing("/a/3.png", false));
    player->setState(showing("/a/3.png", true));
    MainQueue::drain();
    ASSERT_TRUE(tests::waitUntil([this] { return !remote.heard.empty(); }));
    settle();

    ASSERT_EQ(remote.heard.size(), 1U);
    const QVariantMap& changed = remote.heard.front();
    EXPECT_EQ(changed.keys(),
        (QStringList { QStringLiteral("Metadata"), QStringLiteral("PlaybackStatus") }));
    EXPECT_EQ(changed.value(QStringLiteral("PlaybackStatus")), QStringLiteral("Playing"));
    EXPECT_EQ(
        metadataOf(changed.value(QStringLiteral("Metadata"))).value(QStringLiteral("xesam:url")),
        QStringLiteral("file:///a/3.png"));
}

TEST_F(MediaPlayer, TellsNothingWhenNothingHasChanged)
{
    ASSERT_NO_FATAL_FAILURE(appear());

    player->setState(showing("/a/1.png"));
    MainQueue::drain();
    settle();

    EXPECT_THAT(remote.heard, IsEmpty());
}

TEST_F(MediaPlayer, TellsOfTheEndOfAShow)
{
    ASSERT_NO_FATAL_FAILURE(appear());

    player->setState({});
    MainQueue::drain();
    ASSERT_TRUE(tests::waitUntil([this] { return !remote.heard.empty(); }));
    settle();

    ASSERT_EQ(remote.heard.size(), 1U);
    EXPECT_EQ(remote.heard.front().size(), 6);
}

TEST_F(MediaPlayer, GivesEachSlideATrackOfItsOwn)
{
    ASSERT_NO_FATAL_FAILURE(appear());
    const auto track = [this] {
        return metadataOf(remote.value("Metadata"))
            .value(QStringLiteral("mpris:trackid"))
            .value<QDBusObjectPath>()
            .path();
    };
    const QString first = track();

    player->setState(showing("/a/1.png", true));
    EXPECT_EQ(track(), first);
    player->setState(showing("/a/2.png"));
    EXPECT_NE(track(), first);
}

TEST_F(MediaPlayer, DoesWhatItsKeysSay)
{
    ASSERT_NO_FATAL_FAILURE(appear());

    for (const char* key : { "Play", "Pause", "PlayPause", "Stop", "Next", "Previous" })
        EXPECT_EQ(remote.call(kPlayer, key).type(), QDBusMessage::ReplyMessage) << key;
    player->setState(showing("/a/1.png", true));
    remote.call(kPlayer, "PlayPause");
    remote.call(kRoot, "Raise");
    remote.call(kRoot, "Quit");

    EXPECT_THAT(done,
        ElementsAre(
            "play", "pause", "play", "pause", "next", "previous", "pause", "raise", "quit"));
}

TEST_F(MediaPlayer, WithoutAShowHasNothingToPlayOrToStepIn)
{
    ASSERT_NO_FATAL_FAILURE(appear());
    player->setState({});

    for (const char* key : { "Play", "PlayPause", "Next", "Previous" })
        EXPECT_EQ(remote.call(kPlayer, key).type(), QDBusMessage::ReplyMessage) << key;

    EXPECT_THAT(done, IsEmpty());
}

TEST_F(MediaPlayer, DoesNotSeekWithinASlide)
{
    ASSERT_NO_FATAL_FAILURE(appear());

    const auto sought = remote.call(kPlayer, "Seek", { qlonglong(5) });
    const auto set = remote.call(
        kPlayer, "SetPosition", { QVariant::fromValue(QDBusObjectPath("/x")), qlonglong(5) });
    const auto rate = remote.call(kProperties, "Set",
        { kPlayer, QStringLiteral("Rate"), QVariant::fromValue(QDBusVariant(2.0)) });

    EXPECT_EQ(sought.type(), QDBusMessage::ReplyMessage);
    EXPECT_EQ(set.type(), QDBusMessage::ReplyMessage);
    EXPECT_EQ(rate.type(), QDBusMessage::ReplyMessage);
    EXPECT_EQ(remote.value("Rate"), 1.0);
    EXPECT_THAT(done, IsEmpty());
}

TEST_F(MediaPlayer, OpensFilesOfThisMachineOnly)
{
    ASSERT_NO_FATAL_FAILURE(appear());

    remote.call(kPlayer, "OpenUri", { QStringLiteral("https://example.org/1.png") });
    EXPECT_THAT(opened, IsEmpty());
    remote.call(kPlayer, "OpenUri", { QStringLiteral("file:///a%ff.png") });

    EXPECT_THAT(opened, ElementsAre("/a\xff.png"));
}

TEST_F(MediaPlayer, RefusesCallsThatFitNothing)
{
    ASSERT_NO_FATAL_FAILURE(appear());

    EXPECT_EQ(remote.call(kPlayer, "Next", { 1 }).type(), QDBusMessage::ErrorMessage);
    EXPECT_EQ(remote.call(kPlayer, "OpenUri", { 1 }).type(), QDBusMessage::ErrorMessage);
    EXPECT_EQ(remote.call(kPlayer, "Eject").type(), QDBusMessage::ErrorMessage);
    EXPECT_THAT(done, IsEmpty());
}

TEST_F(MediaPlayer, IsCalledNoMoreOnceItIsGone)
{
    ASSERT_NO_FATAL_FAILURE(appear());
    player->setState(showing("/a/2.png"));

    player.reset();
    MainQueue::drain();

    EXPECT_EQ(remote.call(kPlayer, "Next").type(), QDBusMessage::ErrorMessage);
    EXPECT_THAT(done, IsEmpty());
}

} // namespace
} // namespace quorvane

#include "MediaPlayerService_test.moc"
