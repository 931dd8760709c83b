// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/DispatchQueue.h"
#include "platform/MainQueue.h"
#include "platform/PowerAssertion.h"
#include "platform/SessionBus.h"
#include "support/ManualClock.h"
#include "support/PrivateBus.h"

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusVirtualObject>

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <vector>

namespace quorvane {
namespace {

using namespace std::chrono_literals;

using tests::NoBus;
using tests::PrivateBus;

const QString kScreenSaver = QStringLiteral("org.freedesktop.ScreenSaver");
const QString kPortal = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kRequests = QStringLiteral("/org/freedesktop/portal/desktop/request/");

/// A service that keeps the screen awake, or does not.
class FakeKeeper : public QDBusVirtualObject {
public:
    enum class Answer { Grant, Refuse, Nonsense, Nothing };

    explicit FakeKeeper(QString service)
        : mService(std::move(service))
        , mBus(PrivateBus::connect(mService))
    {
        mBus.registerVirtualObject(QStringLiteral("/"), this, QDBusConnection::SubPath);
        appear();
    }

    ~FakeKeeper() override
    {
        // The bus's thread may be about to hand in a call.
        mBus.unregisterObject(QStringLiteral("/"), QDBusConnection::UnregisterTree);
        QDBusConnection::disconnectFromBus(mService);
    }

    Answer answer = Answer::Grant;
    QVariantList nonsense { QStringLiteral("nonsense") };
    std::vector<QDBusMessage> questions;
    std::vector<uint> held; ///< Granted, and not given back.
    size_t mostHeld = 0;
    std::vector<QString> strange; ///< Calls that fit nothing.

    void appear() { mBus.registerService(mService); }
    void disappear() { mBus.unregisterService(mService); }
    void restart()
    {
        held.clear();
        disappear();
        appear();
    }

    /// To the question of that number.
    void grantLate(size_t question) { grant(questions.at(question)); }

    const QDBusConnection& bus() const { return mBus; }

    QString introspect(const QString& /*path*/) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& /*bus*/) override
    {
        if (message.member() == QLatin1String("Sync"))
            mBus.send(message.createReply());
        else if (message.member() == QLatin1String("Inhibit"))
            asked(message);
        else
            givenBack(message);
        return true;
    }

private:
    bool isPortal() const { return mService == kPortal; }

    void asked(const QDBusMessage& message)
    {
        questions.push_back(message);
        if (answer == Answer::Grant)
            grant(message);
        else if (answer == Answer::Refuse)
            mBus.send(refusal(message));
        else if (answer == Answer::Nonsense)
            mBus.send(message.createReply(nonsense));
    }

    /// An error, even if what comes with it looks like a grant.
    QDBusMessage refusal(const QDBusMessage& question) const
    {
        QDBusMessage error
            = question.createErrorReply(QDBusError::AccessDenied, QStringLiteral("no"));
        const QVariant path
            = QVariant::fromValue(QDBusObjectPath(kRequests + QStringLiteral("4711")));
        error.setArguments({ isPortal() ? path : QVariant(4711U) });
        return error;
    }

    void grant(const QDBusMessage& question)
    {
        held.push_back(++mLast);
        mostHeld = std::max(mostHeld, held.size());
        const QVariant request
            = QVariant::fromValue(QDBusObjectPath(kRequests + QString::number(mLast)));
        mBus.send(question.createReply(isPortal() ? request : QVariant(mLast)));
    }

    void givenBack(const QDBusMessage& message)
    {
        const bool fits = isPortal()
            ? message.path().startsWith(kRequests)
                && message.interface() == QLatin1String("org.freedesktop.portal.Request")
                && message.member() == QLatin1String("Close") && message.signature().isEmpty()
            : message.path() == QLatin1String("/org/freedesktop/ScreenSaver")
                && message.interface() == kScreenSaver
                && message.member() == QLatin1String("UnInhibit")
                && message.signature() == QLatin1String("u");
        const uint token = !fits ? 0
            : isPortal()         ? message.path().mid(kRequests.size()).toUInt()
                                 : message.arguments().constFirst().toUInt();
        if (std::erase(held, token) != 1)
            strange.push_back(message.path() + u' ' + message.member());
    }

    QString mService;
    QDBusConnection mBus;
    uint mLast = 4710;
};

/// Collects what is said to the log.
class Log {
public:
    Log()
    {
        sLines.clear();
        mBefore = qInstallMessageHandler(
            [](QtMsgType type, const QMessageLogContext&, const QString& text) {
                if (type == QtWarningMsg)
                    sLines.push_back(text.toStdString());
            });
    }
    ~Log() { qInstallMessageHandler(mBefore); }
    Log(const Log&) = delete;
    Log& operator=(const Log&) = delete;

    static const std::vector<std::string>& lines() { return sLines; }

private:
    static inline std::vector<std::string> sLines;
    QtMessageHandler mBefore = nullptr;
};

const std::vector<std::string> kOneComplaint { "Failed to prevent sleep!" };
const std::vector<std::string> kNoComplaint;

struct PowerAssertionTest : testing::Test {
    PrivateBus bus;
    Log log;
    ManualClock clock;
    SessionBus share; ///< Something else of the program is on the bus, too.
    std::unique_ptr<FakeKeeper> screenSaver = std::make_unique<FakeKeeper>(kScreenSaver);
    std::unique_ptr<FakeKeeper> portal = std::make_unique<FakeKeeper>(kPortal);
    std::unique_ptr<PowerAssertion> assertion = std::make_unique<PowerAssertion>(clock);

    /// Those that are there.
    std::vector<FakeKeeper*> keepers() const
    {
        std::vector<FakeKeeper*> there { screenSaver.get(), portal.get() };
        std::erase(there, nullptr);
        return there;
    }

    /// Until nothing moves any more. No chain of questions and answers is longer.
    void settle()
    {
        DispatchQueue::global().drain();
        MainQueue::drain();
        constexpr int kLongestChain = 8;
        for (int i = 0; i < kLongestChain && SessionBus::connection().isConnected(); ++i) {
            for (const FakeKeeper* keeper : keepers())
                ASSERT_TRUE(tests::waitForRoundTrip(SessionBus::connection(), keeper->bus()));
        }
    }

    void prevent()
    {
        assertion->preventSleep();
        settle();
    }
    void allow()
    {
        assertion->allowSleep();
        settle();
    }
    void wait(Duration span)
    {
        clock.advance(span);
        settle();
    }

    void TearDown() override
    {
        for (const FakeKeeper* keeper : keepers())
            EXPECT_TRUE(keeper->strange.empty()) << keeper->strange.front().toStdString();
    }
};

TEST_F(PowerAssertionTest, AsksTheScreenSaverAndNobodyElse)
{
    prevent();

    ASSERT_EQ(screenSaver->questions.size(), 1U);
    const QDBusMessage& question = screenSaver->questions.front();
    EXPECT_EQ(question.path().toStdString(), "/org/freedesktop/ScreenSaver");
    EXPECT_EQ(question.interface().toStdString(), "org.freedesktop.ScreenSaver");
    EXPECT_EQ(question.arguments(),
        QVariantList({ QStringLiteral("Quorvane"), QStringLiteral("Viewing Slideshow") }));
    EXPECT_EQ(screenSaver->held.size(), 1U);
    EXPECT_TRUE(portal->questions.empty());
    EXPECT_EQ(clock.validTimers(), 0);
    EXPECT_EQ(log.lines(), kNoComplaint);
}

TEST_F(PowerAssertionTest, IsHeldOnceHoweverOftenItIsWanted)
{
    assertion->preventSleep();
    prevent();
    prevent();

    EXPECT_EQ(screenSaver->questions.size(), 1U);
    EXPECT_EQ(screenSaver->held.size(), 1U);
}

TEST_F(PowerAssertionTest, IsReleasedOnceHoweverOftenThatIsSaid)
{
    allow();
    prevent();
    allow();
    EXPECT_TRUE(screenSaver->held.empty());

    allow();
    assertion.reset();
    settle();
    EXPECT_EQ(screenSaver->questions.size(), 1U);
}

TEST_F(PowerAssertionTest, IsReleasedWhenItIsDestroyed)
{
    prevent();
    ASSERT_EQ(screenSaver->held.size(), 1U);

    assertion.reset();
    settle();

    EXPECT_TRUE(screenSaver->held.empty());
}

TEST_F(PowerAssertionTest, IsReleasedByAnAnswerThatComesAfterItIsUnwanted)
{
    screenSaver->answer = FakeKeeper::Answer::Nothing;
    prevent();
    allow();

    screenSaver->grantLate(0);
    settle();

    EXPECT_EQ(screenSaver->mostHeld, 1U);
    EXPECT_TRUE(screenSaver->held.empty());
    EXPECT_EQ(log.lines(), kNoComplaint);
}

TEST_F(PowerAssertionTest, IsReleasedByAnAnswerThatComesAfterItIsDestroyed)
{
    screenSaver->answer = FakeKeeper::Answer::Nothing;
    prevent();
    assertion.reset();

    screenSaver->grantLate(0);
    settle();

    EXPECT_EQ(screenSaver->mostHeld, 1U);
    EXPECT_TRUE(screenSaver->held.empty());
}

TEST_F(PowerAssertionTest, IsNotAskedForWhenItIsUnwantedBeforeTheBusIsReached)
{
    assertion->preventSleep();
    allow();

    EXPECT_TRUE(screenSaver->questions.empty());
    EXPECT_EQ(log.lines(), kNoComplaint);
}

TEST_F(PowerAssertionTest, IsHeldOnceAfterQuickChangesOfMind)
{
    screenSaver->answer = FakeKeeper::Answer::Nothing;
    assertion->preventSleep();
    assertion->allowSleep();
    prevent();
    assertion->allowSleep();
    assertion->preventSleep();
    settle();

    ASSERT_EQ(screenSaver->questions.size(), 1U);
    screenSaver->grantLate(0);
    settle();
    EXPECT_EQ(screenSaver->held.size(), 1U);
}

TEST_F(PowerAssertionTest, IsBalancedWhateverTheOrderOfCallsAndAnswers)
{
    std::mt19937 random(20261121); // NOLINT: the same each time.
    for (int i = 0; i < 100; ++i) {
        if (random() % 2 == 0)
            assertion->preventSleep();
        else
            assertion->allowSleep();
        if (random() % 3 == 0)
            QCoreApplication::processEvents();
        if (random() % 7 == 0)
            settle();
    }
    allow();
    EXPECT_TRUE(screenSaver->held.empty());
    prevent();

    EXPECT_EQ(screenSaver->held.size(), 1U);
    EXPECT_EQ(screenSaver->mostHeld, 1U);
    EXPECT_GT(screenSaver->questions.size(), 5U);
    EXPECT_TRUE(portal->questions.empty());
}

TEST_F(PowerAssertionTest, TurnsToThePortalWhenTheScreenSaverRefuses)
{
    screenSaver->answer = FakeKeeper::Answer::Refuse;
    prevent();

    ASSERT_EQ(portal->questions.size(), 1U);
    const QDBusMessage& question = portal->questions.front();
    EXPECT_EQ(question.path().toStdString(), "/org/freedesktop/portal/desktop");
    EXPECT_EQ(question.interface().toStdString(), "org.freedesktop.portal.Inhibit");
    ASSERT_EQ(question.signature().toStdString(), "sua{sv}");
    EXPECT_EQ(question.arguments().at(0).toString().toStdString(), "");
    EXPECT_EQ(question.arguments().at(1).toUInt(), 8U);
    const QVariantMap reason { { QStringLiteral("reason"), QStringLiteral("Viewing Slideshow") } };
    EXPECT_EQ(qdbus_cast<QVariantMap>(question.arguments().at(2)), reason);
    EXPECT_EQ(portal->held.size(), 1U);
    EXPECT_EQ(log.lines(), kNoComplaint);

    allow();
    EXPECT_TRUE(portal->held.empty());
}

TEST_F(PowerAssertionTest, TurnsToThePortalWhereThereIsNoScreenSaver)
{
    screenSaver->disappear();
    prevent();

    EXPECT_EQ(portal->held.size(), 1U);
    EXPECT_EQ(log.lines(), kNoComplaint);
}

TEST_F(PowerAssertionTest, TurnsToThePortalWhenTheScreenSaverTalksNonsense)
{
    screenSaver->answer = FakeKeeper::Answer::Nonsense;
    int times = 0;
    for (const QVariantList& nonsense : { QVariantList { QStringLiteral("4711") },
             QVariantList { 4711 }, QVariantList {}, QVariantList { 4711U, 4711U } }) {
        screenSaver->nonsense = nonsense;
        prevent();
        EXPECT_EQ(portal->held.size(), 1U) << ++times;
        allow();
        EXPECT_TRUE(portal->held.empty()) << times;
    }
    EXPECT_EQ(log.lines(), kNoComplaint);
}

TEST_F(PowerAssertionTest, TurnsToThePortalWhenTheScreenSaverIsSilentForFiveSeconds)
{
    screenSaver->answer = FakeKeeper::Answer::Nothing;
    prevent();

    wait(5s - 1ns);
    EXPECT_TRUE(portal->questions.empty());
    wait(1ns);
    EXPECT_EQ(portal->held.size(), 1U);

    screenSaver->grantLate(0);
    settle();
    EXPECT_EQ(screenSaver->mostHeld, 1U);
    EXPECT_TRUE(screenSaver->held.empty());
    EXPECT_EQ(portal->held.size(), 1U);
}

TEST_F(PowerAssertionTest, GivesBackWhatThePortalGrantsTooLate)
{
    screenSaver->answer = FakeKeeper::Answer::Refuse;
    portal->answer = FakeKeeper::Answer::Nothing;
    prevent();
    allow();

    portal->grantLate(0);
    settle();

    EXPECT_EQ(portal->mostHeld, 1U);
    EXPECT_TRUE(portal->held.empty());
    EXPECT_EQ(log.lines(), kNoComplaint);
}

TEST_F(PowerAssertionTest, ComplainsOnceWhenBothRefuse)
{
    screenSaver->answer = FakeKeeper::Answer::Refuse;
    portal->answer = FakeKeeper::Answer::Refuse;
    prevent();
    EXPECT_EQ(log.lines(), kOneComplaint);

    prevent();
    EXPECT_EQ(screenSaver->questions.size(), 1U);
    allow();
    prevent();
    EXPECT_EQ(screenSaver->questions.size(), 2U);
    EXPECT_EQ(log.lines(), kOneComplaint);
}

TEST_F(PowerAssertionTest, ComplainsAgainOnlyAfterASuccess)
{
    portal.reset();
    screenSaver->answer = FakeKeeper::Answer::Refuse;
    prevent();
    allow();
    screenSaver->answer = FakeKeeper::Answer::Grant;
    prevent();
    EXPECT_EQ(log.lines(), kOneComplaint);
    allow();

    screenSaver->answer = FakeKeeper::Answer::Refuse;
    prevent();

    EXPECT_EQ(log.lines().size(), 2U);
}

TEST_F(PowerAssertionTest, ComplainsWhenThePortalTalksNonsense)
{
    screenSaver.reset();
    portal->answer = FakeKeeper::Answer::Nonsense;
    prevent();

    EXPECT_EQ(log.lines(), kOneComplaint);
    allow();
    EXPECT_EQ(portal->questions.size(), 1U);
}

TEST_F(PowerAssertionTest, ComplainsWhenBothAreSilent)
{
    screenSaver->answer = FakeKeeper::Answer::Nothing;
    portal->answer = FakeKeeper::Answer::Nothing;
    prevent();

    wait(5s);
    wait(5s - 1ns);
    EXPECT_EQ(log.lines(), kNoComplaint);
    wait(1ns);
    EXPECT_EQ(log.lines(), kOneComplaint);
    EXPECT_EQ(clock.validTimers(), 0);

    screenSaver->grantLate(0);
    portal->grantLate(0);
    settle();
    EXPECT_TRUE(screenSaver->held.empty());
    EXPECT_TRUE(portal->held.empty());
}

TEST_F(PowerAssertionTest, DoesNotComplainWhenItIsUnwantedByThen)
{
    screenSaver->answer = FakeKeeper::Answer::Nothing;
    portal->answer = FakeKeeper::Answer::Refuse;
    prevent();
    allow();

    wait(5s);

    EXPECT_TRUE(portal->questions.empty());
    EXPECT_EQ(log.lines(), kNoComplaint);
}

TEST_F(PowerAssertionTest, IsAskedForAgainWhenTheScreenSaverStartsAnew)
{
    prevent();

    screenSaver->restart();
    settle();

    EXPECT_EQ(screenSaver->held.size(), 1U);
    EXPECT_EQ(screenSaver->questions.size(), 2U);
    EXPECT_TRUE(portal->held.empty());
    allow();
    EXPECT_TRUE(screenSaver->held.empty());
}

TEST_F(PowerAssertionTest, IsThePortalsWhenTheScreenSaverGoesForGood)
{
    prevent();

    screenSaver.reset();
    settle();

    EXPECT_EQ(portal->held.size(), 1U);
    EXPECT_EQ(log.lines(), kNoComplaint);
}

TEST_F(PowerAssertionTest, IsNotAskedForAgainWhenItIsUnwanted)
{
    prevent();
    allow();

    screenSaver->restart();
    portal->restart();
    settle();

    EXPECT_EQ(screenSaver->questions.size(), 1U);
    EXPECT_TRUE(portal->questions.empty());
}

TEST_F(PowerAssertionTest, IsAskedForWhenAScreenSaverComesAtLast)
{
    portal.reset();
    screenSaver->disappear();
    prevent();
    ASSERT_EQ(log.lines(), kOneComplaint);

    screenSaver->appear();
    settle();

    EXPECT_EQ(screenSaver->held.size(), 1U);
}

TEST_F(PowerAssertionTest, PassesFromThePortalToAScreenSaverThatComes)
{
    screenSaver->disappear();
    prevent();
    ASSERT_EQ(portal->held.size(), 1U);

    screenSaver->appear();
    settle();

    EXPECT_EQ(screenSaver->held.size(), 1U);
    EXPECT_TRUE(portal->held.empty());
}

TEST_F(PowerAssertionTest, PassesToAScreenSaverThatComesBeforeThePortalHasAnswered)
{
    screenSaver->disappear();
    portal->answer = FakeKeeper::Answer::Nothing;
    prevent();
    ASSERT_EQ(portal->questions.size(), 1U);

    screenSaver->appear();
    settle();
    portal->grantLate(0);
    settle();

    EXPECT_EQ(screenSaver->held.size(), 1U);
    EXPECT_EQ(portal->mostHeld, 1U);
    EXPECT_TRUE(portal->held.empty());
}

TEST_F(PowerAssertionTest, IsNotAskedForTwiceOfAScreenSaverThatComesBecauseItIsAsked)
{
    screenSaver->answer = FakeKeeper::Answer::Nothing;
    prevent();

    // The name passes to and fro while the question is open, as when a service is started for it.
    screenSaver->disappear();
    screenSaver->appear();
    settle();
    screenSaver->grantLate(0);
    settle();

    EXPECT_EQ(screenSaver->questions.size(), 1U);
    EXPECT_EQ(screenSaver->held.size(), 1U);
    EXPECT_TRUE(portal->questions.empty());
}

TEST_F(PowerAssertionTest, IsNotAskedForTwiceOfAPortalThatComesBecauseItIsAsked)
{
    screenSaver->answer = FakeKeeper::Answer::Refuse;
    portal->answer = FakeKeeper::Answer::Nothing;
    prevent();

    portal->disappear();
    portal->appear();
    settle();
    portal->grantLate(0);
    settle();

    EXPECT_EQ(screenSaver->questions.size(), 1U);
    EXPECT_EQ(portal->questions.size(), 1U);
    EXPECT_EQ(portal->held.size(), 1U);
}

TEST_F(PowerAssertionTest, DoesNotCallBackAServiceThatRefusesAndGoes)
{
    screenSaver->answer = FakeKeeper::Answer::Refuse;
    portal->answer = FakeKeeper::Answer::Refuse;
    prevent();

    screenSaver->disappear();
    settle();

    EXPECT_EQ(portal->questions.size(), 1U);
    EXPECT_EQ(log.lines(), kOneComplaint);
}

TEST_F(PowerAssertionTest, StaysThePortalsWhenTheScreenSaverThatRefusedGoes)
{
    screenSaver->answer = FakeKeeper::Answer::Refuse;
    prevent();

    screenSaver->disappear();
    settle();

    EXPECT_EQ(portal->questions.size(), 1U);
    EXPECT_EQ(portal->held.size(), 1U);
}

TEST_F(PowerAssertionTest, IsAskedForAgainWhenThePortalStartsAnew)
{
    screenSaver->answer = FakeKeeper::Answer::Refuse;
    prevent();

    portal->restart();
    settle();

    EXPECT_EQ(portal->held.size(), 1U);
    EXPECT_EQ(log.lines(), kNoComplaint);
}

TEST_F(PowerAssertionTest, OutlivesTheBusAndSaysSoWhenItIsWantedAgain)
{
    prevent();

    bus.die();
    ASSERT_TRUE(tests::waitUntil([] { return !SessionBus::connection().isConnected(); }));
    EXPECT_EQ(log.lines(), kNoComplaint);
    assertion->allowSleep();
    assertion->preventSleep();
    settle();

    ASSERT_TRUE(tests::waitUntil([&] { return log.lines() == kOneComplaint; }));
    assertion.reset();
    EXPECT_EQ(log.lines(), kOneComplaint);
}

TEST_F(PowerAssertionTest, ComplainsWhenTheBusDiesInsteadOfAnswering)
{
    screenSaver->answer = FakeKeeper::Answer::Nothing;
    prevent();

    bus.die();

    EXPECT_TRUE(tests::waitUntil([&] { return log.lines() == kOneComplaint; }));
}

TEST_F(PowerAssertionTest, ComplainsWhenTheBusCannotBeReached)
{
    bus.die();
    prevent();

    EXPECT_EQ(log.lines(), kOneComplaint);
}

TEST(PowerAssertion, ComplainsOnceWhereThereIsNoSessionBus)
{
    const NoBus none;
    const Log log;
    ManualClock clock;
    PowerAssertion assertion(clock);

    assertion.preventSleep();
    assertion.allowSleep();
    MainQueue::drain();
    EXPECT_EQ(log.lines(), kNoComplaint);
    for (int i = 0; i < 3; ++i) {
        assertion.preventSleep();
        MainQueue::drain();
        assertion.allowSleep();
        MainQueue::drain();
    }

    EXPECT_EQ(log.lines(), kOneComplaint);
    EXPECT_EQ(clock.validTimers(), 0);
}

} // namespace
} // namespace quorvane
