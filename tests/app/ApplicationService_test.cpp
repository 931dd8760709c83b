// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/ApplicationService.h"
#include "platform/MainQueue.h"
#include "platform/Neighbours.h"
#include "platform/SessionBus.h"
#include "support/ManualClock.h"
#include "support/PrivateBus.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusVirtualObject>

#include <gmock/gmock.h>

#include <memory>
#include <vector>

namespace quorvane {
namespace {

using namespace std::chrono_literals;

using testing::ElementsAre;
using testing::IsEmpty;
using tests::NoBus;
using tests::PrivateBus;
using Role = ApplicationService::Role;

const QString kName = QStringLiteral("com.quorvane.Quorvane");
const QString kPath = QStringLiteral("/com/quorvane/Quorvane");
constexpr char kToken[] = "XDG_ACTIVATION_TOKEN";
const QString kInterface = QStringLiteral("org.freedesktop.Application");
const QString kOther = QStringLiteral("other");

/// Another program on the bus; with the name, the one that runs.
class OtherProgram : public QDBusVirtualObject {
public:
    OtherProgram()
        : mBus(PrivateBus::connect(kOther))
    {
        mBus.registerVirtualObject(QStringLiteral("/"), this, QDBusConnection::SubPath);
    }
    ~OtherProgram() override { QDBusConnection::disconnectFromBus(kOther); }
    OtherProgram(const OtherProgram&) = delete;
    OtherProgram& operator=(const OtherProgram&) = delete;

    bool answers = true;
    bool refuses = false;
    std::vector<QDBusMessage> calls;

    bool takeName() { return mBus.registerService(kName); }
    bool isNameTaken() const { return mBus.interface()->isServiceRegistered(kName); }
    const QDBusConnection& bus() const { return mBus; }

    void answer(const QDBusMessage& call) const { mBus.send(call.createReply()); }

    QString introspect(const QString& /*path*/) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& /*bus*/) override
    {
        if (message.member() == QLatin1String("Sync")) {
            answer(message);
            return true;
        }
        calls.push_back(message);
        if (refuses)
            mBus.send(message.createErrorReply(QDBusError::Failed, QStringLiteral("no")));
        else if (answers)
            answer(message);
        return true;
    }

    /// Calls the program under test. \return its answer.
    QDBusMessage call(const QString& method, const QVariantList& arguments) const
    {
        QDBusMessage message = QDBusMessage::createMethodCall(
            SessionBus::connection().baseService(), kPath, kInterface, method);
        message.setArguments(arguments);
        const QDBusPendingCall call = mBus.asyncCall(message);
        EXPECT_TRUE(tests::waitUntil([&] { return call.isFinished(); }));
        return call.reply();
    }

private:
    QDBusConnection mBus;
};

struct Application : testing::Test {
    void make()
    {
        ApplicationActions actions;
        actions.openFiles = [this](const auto& paths) {
            done.push_back("open");
            opened = paths;
        };
        actions.activate = [this] {
            done.push_back("activate");
            tokens.push_back(qgetenv(kToken));
        };
        actions.play = [this] { done.push_back("play"); };
        actions.next = [this] { done.push_back("next"); };
        actions.previous = [this] { done.push_back("previous"); };
        actions.quit = [this] { done.push_back("quit"); };
        service = std::make_unique<ApplicationService>(clock, neighbours, actions);
    }

    void start(const Launch& launch = {})
    {
        make();
        service->start(launch, [this](Role role) { roles.push_back(role); });
    }

    testing::AssertionResult decides()
    {
        return tests::waitUntil([this] { return !roles.empty(); });
    }

    testing::AssertionResult isCalled() const
    {
        return tests::waitUntil([this] { return !other.calls.empty(); });
    }

    /// Until both have heard all that was sent.
    testing::AssertionResult settle() const
    {
        return tests::waitForRoundTrip(SessionBus::connection(), other.bus());
    }

    const PrivateBus bus;
    OtherProgram other;
    ManualClock clock;
    Neighbours neighbours;
    const SessionBus share; ///< Keeps the connection.
    std::vector<std::string> done; ///< Actions, in order.
    std::vector<QByteArray> opened; ///< By the last of them.
    std::vector<QByteArray> tokens; ///< That each "activate" had for the windows' library.
    std::vector<Role> roles; ///< As decided.
    std::unique_ptr<ApplicationService> service;
};

TEST_F(Application, ThatIsTheFirstHasTheNameAndShows)
{
    start();
    ASSERT_TRUE(decides());

    EXPECT_THAT(roles, ElementsAre(Role::Shows));
    EXPECT_TRUE(other.isNameTaken());
    EXPECT_THAT(done, IsEmpty());
    EXPECT_EQ(clock.validTimers(), 0);
}

TEST_F(Application, DecidesNothingBeforeTheBusHasAnswered)
{
    start();

    service->lookForAnswer();
    EXPECT_THAT(roles, IsEmpty());
}

TEST_F(Application, HasPatienceWithTheBusOnceItHasMadeItself)
{
    start();
    clock.advance(kBusPatience - 1ms); // As if making the program took that long.
    service->lookForAnswer();

    clock.advance(kBusPatience - 1ms);
    EXPECT_THAT(roles, IsEmpty());
    clock.advance(1ms);
    EXPECT_THAT(roles, ElementsAre(Role::Shows));
}

TEST_F(Application, CanTakeAnAnswerBeforeTheEventLoopDoes)
{
    SessionBus reached;
    bool isThere = false;
    reached.reach([&](bool there) { isThere = there; });
    ASSERT_TRUE(tests::waitUntil([&] { return isThere; }));
    start();
    MainQueue::drain();

    // The bus has answered the second question, so the first.
    const QDBusMessage ping = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"),
        QStringLiteral("/"), QStringLiteral("org.freedesktop.DBus.Peer"), QStringLiteral("Ping"));
    SessionBus::connection().call(ping, QDBus::Block);
    EXPECT_THAT(roles, IsEmpty());
    service->lookForAnswer();

    EXPECT_THAT(roles, ElementsAre(Role::Shows));
}

TEST_F(Application, HandsItsFilesToTheOneThatRuns)
{
    ASSERT_TRUE(other.takeName());
    start({ { "/a b/1.png", "/\xff\xfe%;?#.png" }, "id_TIME7", "token" });
    ASSERT_TRUE(decides());

    EXPECT_THAT(roles, ElementsAre(Role::HandedOver));
    ASSERT_EQ(other.calls.size(), 1U);
    const QDBusMessage& call = other.calls.front();
    EXPECT_EQ(call.path(), kPath);
    EXPECT_EQ(call.interface(), kInterface);
    EXPECT_EQ(call.member(), QStringLiteral("Open"));
    EXPECT_EQ(call.signature(), QStringLiteral("asa{sv}"));
    EXPECT_EQ(call.arguments().constFirst().toStringList(),
        (QStringList { QStringLiteral("file:///a%20b/1.png"),
            QStringLiteral("file:///%FF%FE%25%3B%3F%23.png") }));
    const auto data = qdbus_cast<QVariantMap>(call.arguments().constLast());
    EXPECT_EQ(data,
        (QVariantMap { { QStringLiteral("desktop-startup-id"), QStringLiteral("id_TIME7") },
            { QStringLiteral("activation-token"), QStringLiteral("token") } }));
}

TEST_F(Application, WithoutFilesAsksTheOneThatRunsToComeToTheFront)
{
    ASSERT_TRUE(other.takeName());
    start();
    ASSERT_TRUE(decides());

    EXPECT_THAT(roles, ElementsAre(Role::HandedOver));
    ASSERT_EQ(other.calls.size(), 1U);
    EXPECT_EQ(other.calls.front().member(), QStringLiteral("Activate"));
    EXPECT_EQ(other.calls.front().signature(), QStringLiteral("a{sv}"));
}

TEST_F(Application, ShowsWhatTheOneThatRunsRefuses)
{
    ASSERT_TRUE(other.takeName());
    other.refuses = true;
    const Neighbours another;
    start({ { "/1.png" }, {}, {} });
    ASSERT_TRUE(decides());

    EXPECT_THAT(roles, ElementsAre(Role::Shows));
    EXPECT_FALSE(another.areThere());
}

TEST_F(Application, WaitsTwoSecondsForTheOneThatRuns)
{
    ASSERT_TRUE(other.takeName());
    other.answers = false;
    start({ { "/1.png" }, {}, {} });
    ASSERT_TRUE(isCalled());

    clock.advance(1999ms);
    EXPECT_THAT(roles, IsEmpty());
    clock.advance(1ms);
    EXPECT_THAT(roles, ElementsAre(Role::Shows));

    other.answer(other.calls.front());
    ASSERT_TRUE(settle());
    EXPECT_THAT(roles, ElementsAre(Role::Shows));
}

TEST_F(Application, WithoutABusShows)
{
    const NoBus none;
    start({ { "/1.png" }, {}, {} });
    EXPECT_THAT(roles, IsEmpty());
    ASSERT_TRUE(decides());

    EXPECT_THAT(roles, ElementsAre(Role::Shows));
    EXPECT_FALSE(other.isNameTaken());
}

TEST_F(Application, WaitsAMomentForTheBusAndDoesNotTakeTheNameLater)
{
    const Neighbours another;
    Neighbours gone;
    gone.leave();
    neighbours.leave();
    start();

    clock.advance(149ms);
    EXPECT_THAT(roles, IsEmpty());
    clock.advance(1ms);
    EXPECT_THAT(roles, ElementsAre(Role::Shows));

    SessionBus late;
    bool isReached = false;
    late.reach([&](bool) { isReached = true; });
    ASSERT_TRUE(tests::waitUntil([&] { return isReached; }));
    ASSERT_TRUE(settle());
    EXPECT_FALSE(other.isNameTaken());
    EXPECT_THAT(roles, ElementsAre(Role::Shows));
    EXPECT_FALSE(another.areThere());
}

TEST_F(Application, GivesBackANameThatComesTooLate)
{
    SessionBus reached;
    bool isThere = false;
    reached.reach([&](bool there) { isThere = there; });
    ASSERT_TRUE(tests::waitUntil([&] { return isThere; }));
    start();
    MainQueue::drain(); // It has asked.
    clock.advance(150ms);
    EXPECT_THAT(roles, ElementsAre(Role::Shows));

    EXPECT_TRUE(tests::waitUntil([&] { return !other.isNameTaken(); }));
    ASSERT_TRUE(settle());
    EXPECT_TRUE(tests::waitUntil([&] { return !other.isNameTaken(); }));
    EXPECT_EQ(other.call(QStringLiteral("Activate"), { QVariantMap() }).type(),
        QDBusMessage::ErrorMessage);
    EXPECT_THAT(done, IsEmpty());
    EXPECT_THAT(roles, ElementsAre(Role::Shows));
}

TEST_F(Application, WithNeighboursWaitsLongerForTheBus)
{
    const Neighbours another;
    start();

    clock.advance(1999ms);
    EXPECT_THAT(roles, IsEmpty());
    clock.advance(1ms);
    EXPECT_THAT(roles, ElementsAre(Role::Shows));
    EXPECT_FALSE(another.areThere());
}

TEST_F(Application, StaysANeighbourWhileItHasTheName)
{
    const Neighbours another;
    start();
    ASSERT_TRUE(decides());

    EXPECT_TRUE(another.areThere());
}

TEST_F(Application, OpensTheFilesOfAnotherLaunchAndComesToTheFront)
{
    start();
    ASSERT_TRUE(decides());

    const auto answer = other.call(QStringLiteral("Open"),
        { QStringList { QStringLiteral("file:///a%20b"), QStringLiteral("file:///%ff;x") },
            QVariantMap() });

    EXPECT_EQ(answer.type(), QDBusMessage::ReplyMessage);
    EXPECT_THAT(opened, ElementsAre("/a b", "/\xff;x"));
    EXPECT_THAT(done, ElementsAre("open", "activate"));
}

TEST_F(Application, ComesToTheFrontByTheRightOfWhoWasClicked)
{
    const QString token = QStringLiteral("activation-token");
    const QString startupId = QStringLiteral("desktop-startup-id");
    start();
    ASSERT_TRUE(decides());

    other.call(QStringLiteral("Activate"),
        { QVariantMap { { token, QStringLiteral("a") }, { startupId, QStringLiteral("x") } } });
    other.call(QStringLiteral("Open"),
        { QStringList { QStringLiteral("file:///a") },
            QVariantMap { { startupId, QStringLiteral("b") } } });
    other.call(QStringLiteral("Activate"), { QVariantMap() });

    EXPECT_THAT(tokens, ElementsAre("a", "b", ""));
    EXPECT_FALSE(qEnvironmentVariableIsSet(kToken));
}

TEST_F(Application, PassesOverWhatIsNoFileOfThisMachineWithOneLine)
{
    start();
    ASSERT_TRUE(decides());

    testing::internal::CaptureStderr();
    other.call(QStringLiteral("Open"),
        { QStringList { QStringLiteral("https://example.org/\n\x1b[31m"),
              QStringLiteral("file:///a"), QStringLiteral("file://elsewhere/b"), QString() },
            QVariantMap() });
    const std::string said = testing::internal::GetCapturedStderr();

    EXPECT_THAT(opened, ElementsAre("/a"));
    EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
    EXPECT_THAT(said, testing::HasSubstr("3 of what"));
    EXPECT_EQ(said.find('\x1b'), std::string::npos);
}

TEST_F(Application, ComesToTheFrontEvenIfNothingCanBeOpened)
{
    start();
    ASSERT_TRUE(decides());

    testing::internal::CaptureStderr();
    other.call(QStringLiteral("Open"), { QStringList { QStringLiteral("x") }, QVariantMap() });
    testing::internal::GetCapturedStderr();
    other.call(QStringLiteral("Activate"), { QVariantMap() });

    EXPECT_THAT(done, ElementsAre("activate", "activate"));
}

TEST_F(Application, TakesAsManyFilesAsAreSent)
{
    constexpr int kMany = 100'000;
    QStringList uris;
    for (int i = 0; i < kMany; ++i)
        uris.append(QStringLiteral("file:///%1").arg(i));
    start();
    ASSERT_TRUE(decides());

    other.call(QStringLiteral("Open"), { uris, QVariantMap() });

    ASSERT_EQ(opened.size(), size_t(kMany));
    EXPECT_EQ(opened.back(), "/99999");
}

TEST_F(Application, KnowsThreeActions)
{
    start();
    ASSERT_TRUE(decides());

    for (const char* name : { "play", "next", "previous", "format-disk", "" })
        other.call(QStringLiteral("ActivateAction"),
            { QString::fromLatin1(name), QVariantList(), QVariantMap() });

    EXPECT_THAT(done, ElementsAre("play", "next", "previous"));
}

TEST_F(Application, RefusesCallsThatFitNothing)
{
    start();
    ASSERT_TRUE(decides());
    const QList<std::pair<QString, QVariantList>> calls { { QStringLiteral("Open"), {} },
        { QStringLiteral("Open"), { 1, 2 } }, { QStringLiteral("Open"), { QVariantMap() } },
        { QStringLiteral("Open"), { QStringLiteral("file:///a"), QVariantMap() } },
        { QStringLiteral("Activate"), {} }, { QStringLiteral("Activate"), { QString() } },
        { QStringLiteral("ActivateAction"), { QStringLiteral("play") } },
        { QStringLiteral("Quit"), {} } };

    for (const auto& [method, arguments] : calls)
        EXPECT_EQ(other.call(method, arguments).type(), QDBusMessage::ErrorMessage)
            << method.toStdString();

    EXPECT_THAT(done, IsEmpty());
}

TEST_F(Application, IsCalledNoMoreOnceItIsGone)
{
    start();
    ASSERT_TRUE(decides());

    service.reset();

    EXPECT_EQ(other.call(QStringLiteral("Activate"), { QVariantMap() }).type(),
        QDBusMessage::ErrorMessage);
    EXPECT_THAT(done, IsEmpty());
}

TEST_F(Application, ThatIsGoneDecidesNothing)
{
    start();
    service.reset();
    SessionBus reached;
    bool isThere = false;
    reached.reach([&](bool there) { isThere = there; });
    ASSERT_TRUE(tests::waitUntil([&] { return isThere; }));
    clock.advance(10s);

    EXPECT_THAT(roles, IsEmpty());
}

/// The bus has started it.
struct ActivatedApplication : Application {
    void startService()
    {
        Launch launch;
        launch.isService = true;
        start(launch);
    }
};

TEST_F(ActivatedApplication, EndsWhenNobodyAsksForAnythingForTenSeconds)
{
    startService();
    ASSERT_TRUE(decides());
    ASSERT_THAT(roles, ElementsAre(Role::Shows));

    clock.advance(kServicePatience - 1ms);
    EXPECT_THAT(done, IsEmpty());

    clock.advance(1ms);
    EXPECT_THAT(done, ElementsAre("quit"));
}

TEST_F(ActivatedApplication, StaysOnceItIsAskedForAWindow)
{
    startService();
    ASSERT_TRUE(decides());

    other.call(
        QStringLiteral("Open"), { QStringList { QStringLiteral("file:///a") }, QVariantMap() });
    clock.advance(2 * kServicePatience);

    EXPECT_THAT(done, ElementsAre("open", "activate"));
}

TEST_F(ActivatedApplication, EndsAfterAnActionThatLeadsToNoWindow)
{
    startService();
    ASSERT_TRUE(decides());

    other.call(QStringLiteral("ActivateAction"),
        { QStringLiteral("play"), QVariantList(), QVariantMap() });
    clock.advance(kServicePatience);

    EXPECT_THAT(done, ElementsAre("play", "quit"));
}

TEST_F(ActivatedApplication, WaitsForTheBusThatStartedIt)
{
    startService();

    clock.advance(kBusPatience + kNeighbourPatience);

    EXPECT_THAT(roles, IsEmpty());
    ASSERT_TRUE(decides());
    EXPECT_TRUE(other.isNameTaken());
}

TEST_F(ActivatedApplication, LeavesTheCallsToOneThatWasFaster)
{
    ASSERT_TRUE(other.takeName());
    startService();
    ASSERT_TRUE(decides());
    ASSERT_TRUE(settle());
    clock.advance(2 * kServicePatience);

    EXPECT_THAT(roles, ElementsAre(Role::HandedOver));
    EXPECT_TRUE(other.calls.empty());
    EXPECT_THAT(done, IsEmpty());
}

TEST_F(Application, ThatAPersonStartedStaysWithoutBeingAsked)
{
    start();
    ASSERT_TRUE(decides());

    clock.advance(2 * kServicePatience);

    EXPECT_THAT(done, IsEmpty());
}

TEST(LaunchOfAProgram, TakesWhatTheDesktopGave)
{
    qputenv("DESKTOP_STARTUP_ID", "an id");
    qputenv("XDG_ACTIVATION_TOKEN", "a token");
    const Launch launch = Launch::withPaths({ "/a" });
    qunsetenv("DESKTOP_STARTUP_ID");
    qunsetenv("XDG_ACTIVATION_TOKEN");

    EXPECT_THAT(launch.paths, ElementsAre("/a"));
    EXPECT_EQ(launch.startupId, "an id");
    EXPECT_EQ(launch.activationToken, "a token");
    EXPECT_EQ(Launch::withPaths({}).startupId, QByteArray());
}

TEST(LocalPath, IsThatOfAFileOfThisMachine)
{
    const auto path = [](const char* uri) { return localPath(QString::fromUtf8(uri)); };

    EXPECT_EQ(path("file:///a/b"), "/a/b");
    EXPECT_EQ(path("file://localhost/a"), "/a");
    EXPECT_EQ(path("file:///%C3%A9%ff"), "/\xc3\xa9\xff");
    EXPECT_EQ(path("file:///\xc3\xa9"), "/\xc3\xa9");
    EXPECT_EQ(path("file:///a;b?c#d"), "/a;b?c#d");
    for (const char* uri :
        { "", "/a", "a", "file:", "file://", "file://host/a", "http:///a", "file:///a%00b" })
        EXPECT_EQ(path(uri), std::nullopt) << uri;
}

} // namespace
} // namespace quorvane
