// SPDX-License-Identifier: GPL-3.0-or-later
// The session bus starts the program when something is opened from the desktop.
#include "BusSettings.h"
#include "InstalledTest.h"
#include "SessionBusClient.h"

namespace quorvane::show {

namespace {

const QString kName = QStringLiteral("com.quorvane.Quorvane");

/// Nothing runs but a bus, in the environment of a viewer, that knows what is installed.
struct BusActivation : InstalledTest {
    QTemporaryDir session;

    QByteArray address() const { return busAddressIn(session.path()); }

    void startBus()
    {
        ASSERT_TRUE(install());
        viewer->setProgram("dbus-daemon");
        viewer->setVariable("DBUS_SESSION_BUS_ADDRESS", address());
        viewer->setVariable("XDG_RUNTIME_DIR", QFile::encodeName(session.path()));
        const QByteArray services
            = QFile::encodeName(prefix.filePath(QStringLiteral("share/dbus-1/services")));
        viewer->start(busArguments(session.path(), "<servicedir>" + services + "</servicedir>"));
        ASSERT_TRUE(waitWhileRunning(QStringLiteral("the bus"),
            [&] { return viewer->standardOutput().contains("unix:path="); }));
    }

    /// As the desktop does. The bus starts the program first.
    static QDBusMessage ask(
        const SessionBusClient& bus, const char* method, const QVariantList& arguments)
    {
        return bus.call(
            QDBusMessage::createMethodCall(kName, QStringLiteral("/com/quorvane/Quorvane"),
                QStringLiteral("org.freedesktop.Application"), QString::fromUtf8(method)),
            arguments);
    }

    [[nodiscard]] testing::AssertionResult quitsWith(const SessionBusClient& bus)
    {
        desktop.key(XK_q, { XK_Control_L });
        return waitWhileRunning(
            QStringLiteral("the end"), [&] { return bus.names(kName).isEmpty(); });
    }
};

TEST_F(BusActivation, ShowsWhatIsOpened)
{
    pictures.writeSolid("1 \xff.png", kRed);
    pictures.writeSolid("2.png", kGreen);
    viewer->writeSettings(plainSettings());
    ASSERT_NO_FATAL_FAILURE(startBus());
    const SessionBusClient bus(address());
    const QString folder = QStringLiteral("file://") + QFile::decodeName(pictures.path());

    const auto answer = ask(bus, "Open",
        { QStringList {
              folder + QStringLiteral("/1%20%FF.png"), folder + QStringLiteral("/2.png") },
            QVariantMap() });

    EXPECT_EQ(answer.type(), QDBusMessage::ReplyMessage) << answer.errorMessage().toStdString();
    EXPECT_TRUE(shows(kRed));
    EXPECT_TRUE(leadsTo(XK_Right, kGreen));
    EXPECT_TRUE(quitsWith(bus));
}

TEST_F(BusActivation, WithoutFilesGreets)
{
    viewer->writeSettings(plainSettings({ { QStringLiteral("ShowWelcome"), true } }));
    ASSERT_NO_FATAL_FAILURE(startBus());
    const SessionBusClient bus(address());

    ask(bus, "Activate", { QVariantMap() });

    EXPECT_TRUE(
        waitWhileRunning(QStringLiteral("the welcome window"), [&] { return colourCount() > 20; }));
    EXPECT_TRUE(quitsWith(bus));
}

TEST_F(BusActivation, WithoutFilesOrGreetingOffersTheControls)
{
    viewer->writeSettings(plainSettings());
    ASSERT_NO_FATAL_FAILURE(startBus());
    const SessionBusClient bus(address());

    ask(bus, "Activate", { QVariantMap() });

    EXPECT_TRUE(
        waitWhileRunning(QStringLiteral("the controls"), [&] { return colourCount() > 20; }));
    EXPECT_TRUE(quitsWith(bus));
}

} // namespace

} // namespace quorvane::show
