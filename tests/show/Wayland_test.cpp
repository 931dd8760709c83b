// SPDX-License-Identifier: GPL-3.0-or-later
// The show on a Wayland desktop of two screens.
#include "BusSettings.h"
#include "Pictures.h"
#include "ShowTest.h"
#include "Viewer.h"
#include "WaylandDesktop.h"
#include "WaylandToken.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <thread>

namespace quorvane::show {

namespace {

using namespace std::chrono_literals;

struct Wayland : testing::Test {
    WaylandDesktop desktop;
    PictureFolder pictures;
    std::optional<Viewer> viewer;

    void SetUp() override
    {
        const QStringList missing = WaylandDesktop::missingTools();
        if (!missing.isEmpty() && qgetenv("CI") != "true")
            GTEST_SKIP() << "needs " << missing.join(QStringLiteral(", ")).toStdString();
        ASSERT_TRUE(desktop.start());
        viewer.emplace(nullptr);
        viewer->setVariable("WAYLAND_DISPLAY", desktop.displayName());
        viewer->setVariable("QT_QPA_PLATFORM", QByteArrayLiteral("wayland"));
        // Of the compositor's library, and of a driver that is unloaded by then.
        viewer->setVariable("ASAN_OPTIONS", QByteArrayLiteral("detect_leaks=0"));
        pictures.writeSolid("1.png", kRed, { 1280, 768 });
        pictures.writeSolid("2.png", kGreen, { 1280, 768 });
        QVariantMap settings = ShowTest::plainSettings();
        settings.insert(QStringLiteral("ImageFitMode"), QStringLiteral("FitModeStretch"));
        viewer->writeSettings(settings);
        viewer->start({ pictures.path() });
    }

    [[nodiscard]] testing::AssertionResult becomes(
        const QString& what, const std::function<bool()>& condition)
    {
        const auto end = std::chrono::steady_clock::now() + kWaitLimit;
        while (!condition()) {
            if (!viewer->running())
                return testing::AssertionFailure()
                    << what.toStdString()
                    << ": the viewer ended: " << viewer->standardError().constData();
            if (std::chrono::steady_clock::now() > end)
                return testing::AssertionFailure()
                    << what.toStdString() << ": " << saveScreen(desktop.image()).toStdString();
            std::this_thread::sleep_for(50ms);
        }
        return testing::AssertionSuccess();
    }

    /// The show covers this output and nothing else.
    [[nodiscard]] testing::AssertionResult covers(QRect screen, Pixel colour)
    {
        const QRect other
            = screen == WaylandDesktop::kFirst ? WaylandDesktop::kSecond : WaylandDesktop::kFirst;
        return becomes(QStringLiteral("the show on one screen alone"), [&] {
            const QImage image = desktop.image();
            const auto at = [&](QPoint where) { return Pixel { image.pixel(where) & 0xffffffU }; };
            return at(screen.center()) == colour && at(screen.topLeft() + QPoint(2, 2)) == colour
                && at(screen.bottomRight() - QPoint(2, 2)) == colour
                && at(other.center()) == kDesktop;
        });
    }

    bool isFullScreen() const
    {
        return desktop.windows().contains("\"app_id\": \"com.quorvane.Quorvane\"")
            && desktop.windows().contains("\"fullscreen_mode\": 1");
    }
};

TEST_F(Wayland, ShowCoversTheScreenStepsAndEnds)
{
    ASSERT_TRUE(covers(WaylandDesktop::kFirst, kRed));
    desktop.key({ "Right" });
    EXPECT_TRUE(covers(WaylandDesktop::kFirst, kGreen));

    desktop.key({ "ctrl", "q" });
    const auto status = viewer->waitForExit(kWaitLimit);
    EXPECT_EQ(status, (ExitStatus { 0, 0 })) << viewer->standardError().constData();
}

TEST_F(Wayland, ShowMovesToTheScreenThatIsChosen)
{
    ASSERT_TRUE(covers(WaylandDesktop::kFirst, kRed));
    desktop.key({ "ctrl", "d" });
    ASSERT_TRUE(becomes(QStringLiteral("the chooser in front"),
        [&] { return desktop.colourAt(WaylandDesktop::kFirst.center()) != kRed; }));
    desktop.focus("Choose Screen"); // This desktop leaves that to the person.
    desktop.key({ "Right" });
    desktop.key({ "Return" });
    EXPECT_TRUE(covers(WaylandDesktop::kSecond, kRed));
}

TEST_F(Wayland, ShowBecomesAWindowAndCoversTheScreenAgain)
{
    ASSERT_TRUE(covers(WaylandDesktop::kFirst, kRed));
    desktop.key({ "F11" });
    ASSERT_TRUE(becomes(QStringLiteral("a menu bar above the slide"), [&] {
        return desktop.colourAt({ 640, 5 }) != kRed;
    }));
    desktop.key({ "F11" });
    EXPECT_TRUE(covers(WaylandDesktop::kFirst, kRed));
}

/// The title of the window that has the keyboard, beneath this one.
QString focusedTitle(const QJsonObject& node)
{
    if (node.value(QLatin1String("focused")).toBool())
        return node.value(QLatin1String("name")).toString();
    for (const char* const children : { "nodes", "floating_nodes" }) {
        for (const QJsonValue child : node.value(QLatin1String(children)).toArray()) {
            const QString title = focusedTitle(child.toObject());
            if (!title.isEmpty())
                return title;
        }
    }
    return {};
}

/// Launches that share a session.
struct WaylandSecondLaunch : Wayland {
    QTemporaryDir session;
    std::optional<Viewer> bus; ///< No viewer, but the bus.

    void SetUp() override
    {
        Wayland::SetUp();
        if (!viewer)
            return;
        startBus();
        share(*viewer);
        viewer->start({ pictures.path() });
        ASSERT_TRUE(covers(WaylandDesktop::kFirst, kRed));
    }

    void startBus()
    {
        bus.emplace(nullptr);
        bus->setProgram("dbus-daemon");
        bus->start(busArguments(session.path()));
        ASSERT_TRUE(becomes(QStringLiteral("the bus"),
            [&] { return bus->standardOutput().contains("unix:path="); }));
    }

    void share(Viewer& one) const
    {
        one.setVariable("DBUS_SESSION_BUS_ADDRESS", busAddressIn(session.path()));
        one.setVariable("XDG_RUNTIME_DIR", QFile::encodeName(session.path()));
    }

    std::unique_ptr<Viewer> launch(std::vector<QByteArray> arguments, const QByteArray& token = {})
    {
        auto other = std::make_unique<Viewer>(nullptr);
        share(*other);
        other->setVariable("WAYLAND_DISPLAY", desktop.displayName());
        other->setVariable("QT_QPA_PLATFORM", QByteArrayLiteral("wayland"));
        other->setVariable("ASAN_OPTIONS", QByteArrayLiteral("detect_leaks=0"));
        if (!token.isEmpty())
            other->setVariable("XDG_ACTIVATION_TOKEN", token);
        other->writeSettings(ShowTest::plainSettings());
        other->start(std::move(arguments));
        return other;
    }

    bool hasKeyboard(const char* title)
    {
        const auto tree = QJsonDocument::fromJson(desktop.windows()).object();
        return focusedTitle(tree).startsWith(QLatin1String(title));
    }
};

TEST_F(WaylandSecondLaunch, BringsTheShowToTheFrontByTheRightOfWhoWasClicked)
{
    const auto other = launch({ "--new-instance", pictures.path("2.png") });
    ASSERT_TRUE(becomes(
        QStringLiteral("another window"), [&] { return desktop.windows().contains("2.png"); }));
    desktop.moveToSecond("^2.png"); // Where nothing lies over it, nor it over anything.
    desktop.focus("^2.png");
    ASSERT_TRUE(becomes(
        QStringLiteral("the keyboard for the other"), [&] { return hasKeyboard("2.png"); }));

    const auto unasked = launch({});
    EXPECT_EQ(unasked->waitForExit(kWaitLimit), (ExitStatus { 0, 0 }));
    EXPECT_TRUE(hasKeyboard("2.png"));

    const QByteArray token = activationToken(desktop.displayName());
    ASSERT_FALSE(token.isEmpty());
    const auto clicked = launch({}, token);
    EXPECT_EQ(clicked->waitForExit(kWaitLimit), (ExitStatus { 0, 0 }));
    EXPECT_TRUE(
        becomes(QStringLiteral("the keyboard for the show"), [&] { return hasKeyboard("1.png"); }));
}

} // namespace

} // namespace quorvane::show
