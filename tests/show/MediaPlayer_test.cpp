// SPDX-License-Identifier: GPL-3.0-or-later
// Media keys and remote controls drive the show.
#include "SessionBusClient.h"
#include "ShowTest.h"

#include <QDBusArgument>

namespace quorvane::show {

namespace {

struct MediaPlayer : ShowTest {
    std::optional<SessionBusClient> bus;

    void start()
    {
        pictures.writeSolid("1.png", kRed);
        pictures.writeSolid("2 \xff.png", kGreen);
        pictures.writeSolid("3.png", kBlue);
        bus.emplace(desktop.busAddress());
        startShow();
        ASSERT_TRUE(ready(kRed));
        ASSERT_TRUE(waitWhileRunning(QStringLiteral("the player"),
            [&] { return !bus->names(SessionBusClient::player()).isEmpty(); }));
    }

    [[nodiscard]] testing::AssertionResult says(const char* name, const QVariant& value)
    {
        return waitWhileRunning(
            QStringLiteral("%1 = %2").arg(QString::fromUtf8(name), value.toString()),
            [&] { return bus->playerValue(name) == value; });
    }

    [[nodiscard]] testing::AssertionResult names(const QByteArray& file)
    {
        const QString url = QStringLiteral("file://") + QString::fromUtf8(pictures.path())
            + QLatin1Char('/') + QString::fromUtf8(file);
        return waitWhileRunning(url, [&] {
            const auto metadata = qdbus_cast<QVariantMap>(bus->playerValue("Metadata"));
            return metadata.value(QStringLiteral("xesam:url")) == url;
        });
    }
};

TEST_F(MediaPlayer, StepsTheShowAndSaysWhereItIs)
{
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_TRUE(names("1.png"));

    bus->callPlayer("Next");
    EXPECT_TRUE(shows(kGreen));
    EXPECT_TRUE(names("2%20%FF.png"));
    bus->callPlayer("Next");
    EXPECT_TRUE(shows(kBlue));
    bus->callPlayer("Previous");
    EXPECT_TRUE(shows(kGreen));
    EXPECT_TRUE(names("2%20%FF.png"));
}

TEST_F(MediaPlayer, StartsAndStopsTheTimer)
{
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_TRUE(says("PlaybackStatus", QStringLiteral("Paused")));

    bus->callPlayer("PlayPause");
    EXPECT_TRUE(says("PlaybackStatus", QStringLiteral("Playing")));
    bus->callPlayer("Stop");
    EXPECT_TRUE(says("PlaybackStatus", QStringLiteral("Paused")));
    desktop.key(XK_1);
    EXPECT_TRUE(says("PlaybackStatus", QStringLiteral("Playing")));
    bus->callPlayer("Pause");
    EXPECT_TRUE(says("PlaybackStatus", QStringLiteral("Paused")));
}

TEST_F(MediaPlayer, StaysWhenTheShowHasEnded)
{
    ASSERT_NO_FATAL_FAILURE(start());

    desktop.key(XK_Escape);

    EXPECT_TRUE(says("PlaybackStatus", QStringLiteral("Stopped")));
    EXPECT_TRUE(says("CanGoNext", false));
}

} // namespace

} // namespace quorvane::show
