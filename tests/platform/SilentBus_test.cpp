// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/FileDescriptor.h"
#include "platform/SilentBus.h"
#include "support/PrivateBus.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <cstring>

namespace quorvane {
namespace {

using namespace std::chrono_literals;

using tests::NoBus;
using tests::PrivateBus;

/// Spent whenever a bus is silent.
constexpr auto kLimit = 5ms;

/// Spent only when a test fails.
constexpr auto kLongLimit = 10s;

/// Takes connections, and says nothing.
struct SilentSocket {
    /// \param name  without a folder for one that is in none.
    explicit SilentSocket(const QByteArray& name)
        : socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path, name.constData(), size_t(name.size()));
        const auto size = socklen_t(offsetof(sockaddr_un, sun_path) + size_t(name.size()));
        EXPECT_EQ(bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), size), 0);
        EXPECT_EQ(listen(socket.get(), 1), 0);
    }

    FileDescriptor socket;
};

struct SessionBusSilence : testing::Test {
    ~SessionBusSilence() override { qunsetenv("DBUS_SESSION_BUS_ADDRESS"); }

    QByteArray path(const char* name) const
    {
        return folder.filePath(QString::fromLatin1(name)).toUtf8();
    }

    const NoBus none;
    const QTemporaryDir folder;
};

TEST_F(SessionBusSilence, IsNotThatOfABusThatAnswers)
{
    const PrivateBus bus;

    EXPECT_FALSE(isSessionBusSilent(kLongLimit));
}

TEST_F(SessionBusSilence, IsThatOfABusThatTakesConnectionsOnly)
{
    const SilentSocket bus(path("b us"));

    for (const QByteArray& address :
        { "unix:path=" + path("b us"), "unix:guid=1,path=" + path("b%20us"),
            "unix:path=" + path("b%20us") + ",guid=1;tcp:host=localhost,port=1" }) {
        qputenv("DBUS_SESSION_BUS_ADDRESS", address);
        EXPECT_TRUE(isSessionBusSilent(kLimit)) << address.constData();
    }
}

TEST_F(SessionBusSilence, IsNoticedAtASocketThatIsInNoFolder)
{
    const QByteArray name = path("abstract");
    const SilentSocket bus('\0' + name);
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:abstract=" + name);

    EXPECT_TRUE(isSessionBusSilent(kLimit));
}

TEST_F(SessionBusSilence, IsNoticedAtTheUsualPlace)
{
    qputenv("XDG_RUNTIME_DIR", folder.path().toUtf8());
    const SilentSocket bus(path("bus"));

    EXPECT_TRUE(isSessionBusSilent(kLimit));
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:runtime=yes");
    EXPECT_TRUE(isSessionBusSilent(kLimit));
}

TEST_F(SessionBusSilence, IsNoticedWhereNobodyTakesConnectionsAnyMore)
{
    const SilentSocket bus(path("bus"));
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + path("bus"));
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(isSessionBusSilent(kLimit));
}

TEST_F(SessionBusSilence, IsNotThatOfNoBusAtAll)
{
    const QByteArray tooLong("unix:path=/" + QByteArray(200, 'x'));
    for (const QByteArray& address : { QByteArray("unix:path=/nonexistent"), QByteArray("unix:"),
             QByteArray("unix:path="), QByteArray("unix:tmpdir=/tmp"), QByteArray("autolaunch:"),
             QByteArray("tcp:host=localhost,port=1"), QByteArray("nonsense"), QByteArray(";;"),
             QByteArray("disabled:"), tooLong }) {
        qputenv("DBUS_SESSION_BUS_ADDRESS", address);
        EXPECT_FALSE(isSessionBusSilent(kLongLimit)) << address.constData();
    }
}

TEST_F(SessionBusSilence, DoesNotOutliveTheBus)
{
    {
        const SilentSocket bus(path("bus"));
    }
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + path("bus"));

    EXPECT_FALSE(isSessionBusSilent(kLongLimit));
}

TEST_F(SessionBusSilence, IsAvoidedByHavingNoBus)
{
    const SilentSocket bus(path("bus"));
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + path("bus"));

    doWithoutSessionBus();

    EXPECT_FALSE(isSessionBusSilent(kLongLimit));
    EXPECT_FALSE(QDBusConnection::connectToBus(
        qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"), QStringLiteral("without"))
                     .isConnected());
    QDBusConnection::disconnectFromBus(QStringLiteral("without"));
}

} // namespace
} // namespace quorvane
