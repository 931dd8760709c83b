// SPDX-License-Identifier: GPL-3.0-or-later
// A second launch hands its files to the program that runs, and no bus keeps a show from coming.
#include "BusSettings.h"
#include "SessionBusClient.h"
#include "ShowTest.h"

#include <QFile>
#include <QVariantMap>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <deque>
#include <thread>

namespace quorvane::show {

namespace {

using namespace std::chrono_literals;

constexpr ExitStatus kFine { 0, 0 };

const QString kName = QStringLiteral("com.quorvane.Quorvane");

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int kManyLaunches = 20;
#else
constexpr int kManyLaunches = 100;
#endif

struct SecondLaunch : ShowTest {
    std::deque<Viewer> others;
    QTemporaryDir session; ///< The folder of the session that all launches share.

    void SetUp() override
    {
        ShowTest::SetUp();
        if (viewer)
            shareSession(*viewer);
    }

    void TearDown() override
    {
        for (const Viewer& other : others)
            EXPECT_FALSE(other.standardError().contains("Sanitizer"));
        others.clear();
        ShowTest::TearDown();
    }

    void shareSession(Viewer& one) const
    {
        one.setVariable("XDG_RUNTIME_DIR", QFile::encodeName(session.path()));
    }

    /// Another launch by the same person.
    Viewer& launch(std::vector<QByteArray> arguments)
    {
        Viewer& other = others.emplace_back(&desktop);
        shareSession(other);
        other.writeSettings(plainSettings());
        other.start(std::move(arguments));
        return other;
    }

    /// Steps until `colour` is seen, one key at a time.
    [[nodiscard]] testing::AssertionResult comesTo(Pixel colour)
    {
        constexpr auto kStep = 500ms;
        return waitWhileRunning(QStringLiteral("the other slide"), [&] {
            desktop.key(XK_Right);
            return bool(desktop.waitFor(
                {}, [&] { return desktop.colourAt(middle()) == colour; }, kStep));
        });
    }

    /// The show of one slide has the name.
    void startFirst()
    {
        pictures.makeFolder("first");
        pictures.writeSolid("first/1.png", kRed);
        pictures.writeSolid("2.png", kGreen);
        viewer->writeSettings(plainSettings());
        viewer->start({ pictures.path("first") });
        ASSERT_TRUE(ready(kRed));
    }
};

TEST_F(SecondLaunch, AddsItsFileToTheRunningShowAndEnds)
{
    ASSERT_NO_FATAL_FAILURE(startFirst());

    Viewer& second = launch({ pictures.path("2.png") });

    EXPECT_EQ(second.waitForExit(kWaitLimit), kFine);
    EXPECT_TRUE(comesTo(kGreen));
    EXPECT_TRUE(leadsTo(XK_Right, kRed));
}

TEST_F(SecondLaunch, HandsOverNamesThatAreNoText)
{
    ASSERT_NO_FATAL_FAILURE(startFirst());
    pictures.writeSolid("3 \xff%;\n.png", kBlue);

    Viewer& second = launch({ pictures.path("3 \xff%;\n.png") });

    EXPECT_EQ(second.waitForExit(kWaitLimit), kFine);
    EXPECT_TRUE(comesTo(kBlue));
}

TEST_F(SecondLaunch, WithoutFilesLeavesTheShowInFront)
{
    ASSERT_NO_FATAL_FAILURE(startFirst());

    Viewer& second = launch({});

    EXPECT_EQ(second.waitForExit(kWaitLimit), kFine);
    EXPECT_TRUE(ready(kRed));
}

TEST_F(SecondLaunch, AsAProgramOfItsOwnShowsByItself)
{
    ASSERT_NO_FATAL_FAILURE(startFirst());

    Viewer& second = launch({ "--new-instance", pictures.path("2.png") });

    EXPECT_TRUE(shows(kGreen));
    EXPECT_TRUE(waitWhileRunning(
        QStringLiteral("its window"), [&] { return desktop.focusedProcess() == second.pid(); }));
    const SessionBusClient bus(desktop.busAddress());
    EXPECT_TRUE(waitWhileRunning(QStringLiteral("two players"),
        [&] { return bus.names(SessionBusClient::player()).size() == 2; }));
    second.kill(SIGTERM);
    EXPECT_TRUE(ready(kRed));
}

TEST_F(SecondLaunch, OfMoreAtOnceLeavesOneThatShowsEverything)
{
    std::set<Pixel> colours;
    for (int i = 0; i < kManyLaunches; ++i) {
        const Pixel colour { 0x404040U + quint32(i) };
        colours.insert(colour);
        pictures.writeSolid(QByteArray::number(1000 + i) + ".png", colour, { 64, 36 });
    }
    for (int i = 0; i < kManyLaunches; ++i)
        launch({ pictures.path(QByteArray::number(1000 + i) + ".png") });

    const auto running = [&] {
        return std::count_if(
            others.begin(), others.end(), [](Viewer& other) { return other.running(); });
    };
    ASSERT_TRUE(desktop.waitFor(
        QStringLiteral("all but one end"), [&] { return running() <= 1; }, 3 * kWaitLimit));
    for (Viewer& other : others)
        EXPECT_TRUE(other.running() || other.exitStatus() == kFine);
    ASSERT_EQ(running(), 1);
    std::set<Pixel> seen;
    EXPECT_TRUE(desktop.waitFor(QStringLiteral("every slide"), [&] {
        seen.insert(desktop.colourAt(middle()));
        desktop.key(XK_Right);
        return std::includes(seen.begin(), seen.end(), colours.begin(), colours.end());
    }));
}

/// A socket that is no bus.
class FalseBus {
public:
    explicit FalseBus(const QTemporaryDir& folder)
        : mPath(QFile::encodeName(folder.filePath(QStringLiteral("false"))))
        , mSocket(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        constexpr int kBacklog = 50;
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path, mPath.constData(), size_t(mPath.size()));
        EXPECT_EQ(bind(mSocket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        EXPECT_EQ(listen(mSocket, kBacklog), 0);
    }
    ~FalseBus()
    {
        shutdown(mSocket, SHUT_RDWR);
        if (mThread.joinable())
            mThread.join();
        close(mSocket);
    }
    FalseBus(const FalseBus&) = delete;
    FalseBus& operator=(const FalseBus&) = delete;

    QByteArray address() const { return "unix:path=" + mPath; }

    /// To whoever connects.
    void talkNonsense()
    {
        mThread = std::thread([this] {
            constexpr char kNonsense[] = "OK OK\r\n\0\xff nonsense\r\n\r\n";
            for (;;) {
                const int client = accept4(mSocket, nullptr, nullptr, SOCK_CLOEXEC);
                if (client < 0)
                    return;
                static_cast<void>(send(client, kNonsense, sizeof kNonsense, MSG_NOSIGNAL));
                close(client);
            }
        });
    }

private:
    QByteArray mPath;
    int mSocket;
    std::thread mThread;
};

TEST_F(SecondLaunch, ShowsWhereTheBusTakesConnectionsAndSaysNothing)
{
    const FalseBus bus(session);
    pictures.writeSolid("1.png", kRed);
    viewer->setVariable("DBUS_SESSION_BUS_ADDRESS", bus.address());

    startShow();

    EXPECT_TRUE(ready(kRed));
}

TEST_F(SecondLaunch, ShowsWhereTheBusTalksNonsense)
{
    FalseBus bus(session);
    bus.talkNonsense();
    pictures.writeSolid("1.png", kRed);
    viewer->setVariable("DBUS_SESSION_BUS_ADDRESS", bus.address());

    startShow();

    EXPECT_TRUE(ready(kRed));
}

TEST_F(SecondLaunch, ShowsWhereThereIsNoBus)
{
    pictures.writeSolid("1.png", kRed);
    viewer->setVariable("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");

    startShow();

    EXPECT_TRUE(ready(kRed));
}

/// A bus beside the desktop's, which can be ended.
struct MortalBus : SecondLaunch {
    std::optional<Viewer> bus; ///< No viewer, but the bus.

    QByteArray startBus()
    {
        bus.emplace(nullptr);
        bus->setProgram("dbus-daemon");
        bus->start(busArguments(session.path()));
        EXPECT_TRUE(desktop.waitFor(QStringLiteral("the bus"),
            [&] { return bus->standardOutput().contains("unix:path="); }));
        return busAddressIn(session.path());
    }
};

TEST_F(MortalBus, MayDieDuringTheShow)
{
    pictures.writeSolid("1.png", kRed);
    pictures.writeSolid("2.png", kGreen);
    viewer->setVariable("DBUS_SESSION_BUS_ADDRESS", startBus());
    startShow();
    ASSERT_TRUE(ready(kRed));

    bus->kill(SIGKILL);
    ASSERT_TRUE(bus->waitForExit(kWaitLimit));

    EXPECT_TRUE(leadsTo(XK_Right, kGreen));
    EXPECT_TRUE(leadsTo(XK_Right, kRed));
}

TEST_F(MortalBus, MayDieBetweenTwoLaunches)
{
    pictures.writeSolid("1.png", kRed);
    const QByteArray address = startBus();
    viewer->setVariable("DBUS_SESSION_BUS_ADDRESS", address);
    startShow();
    ASSERT_TRUE(ready(kRed));
    bus->kill(SIGKILL);
    ASSERT_TRUE(bus->waitForExit(kWaitLimit));
    pictures.makeFolder("other");
    pictures.writeSolid("other/2.png", kGreen);

    Viewer& second = others.emplace_back(&desktop);
    shareSession(second);
    second.setVariable("DBUS_SESSION_BUS_ADDRESS", address);
    second.writeSettings(plainSettings());
    second.start({ pictures.path("other") });

    EXPECT_TRUE(shows(kGreen));
}

} // namespace

} // namespace quorvane::show
