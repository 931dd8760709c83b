// SPDX-License-Identifier: GPL-3.0-or-later
// Pictures of every window for a person to look at, light and dark, on common and dense screens.
// They judge nothing, so they run only when they are asked for: QUORVANE_LOOKS=FOLDER
// build/tests/show_tests --gtest_also_run_disabled_tests --gtest_filter='*Looks*'
#include "ShowTest.h"

#include <QDir>
#include <QFile>
#include <QPainter>

namespace quorvane::show {

namespace {

using namespace std::chrono_literals;

constexpr QSize kScreen { 1280, 720 };

// The colours of a Plasma desktop's dark scheme.
constexpr char kDarkColours[] = R"([Colors:Button]
BackgroundNormal=49,54,59
ForegroundNormal=252,252,252
[Colors:Selection]
BackgroundNormal=61,174,233
ForegroundNormal=252,252,252
[Colors:Tooltip]
BackgroundNormal=49,54,59
ForegroundNormal=252,252,252
[Colors:View]
BackgroundNormal=27,30,32
BackgroundAlternate=35,38,41
ForegroundNormal=252,252,252
ForegroundLink=29,153,243
ForegroundVisited=155,89,182
[Colors:Window]
BackgroundNormal=42,46,50
ForegroundNormal=252,252,252
)";

struct Look {
    const char* name;
    bool isDark;
    int scale;
};

void PrintTo(const Look& look, std::ostream* out) { *out << look.name; }

struct DISABLED_Looks : ShowTest, testing::WithParamInterface<Look> {
    DISABLED_Looks()
        : ShowTest(kScreen * GetParam().scale)
    {
    }

    QTemporaryDir settings; ///< Of the desktop.

    void SetUp() override
    {
        ShowTest::SetUp();
        if (!viewer)
            return;
        QImage sky(1600, 900, QImage::Format_RGB32);
        QPainter painter(&sky);
        QLinearGradient gradient(0, 0, 0, sky.height());
        gradient.setColorAt(0, QColor(40, 90, 160));
        gradient.setColorAt(0.6, QColor(240, 200, 170));
        gradient.setColorAt(0.61, QColor(60, 80, 50));
        gradient.setColorAt(1, QColor(20, 40, 20));
        painter.fillRect(sky.rect(), gradient);
        painter.end();
        pictures.write("A summer evening.jpg", encoded(sky, "jpg"));
        pictures.write("b.jpg", encoded(sky.mirrored(), "jpg"));
        viewer->setVariable("QT_SCALE_FACTOR", QByteArray::number(GetParam().scale));
        if (!GetParam().isDark)
            return;
        QFile colours(settings.filePath(QStringLiteral("kdeglobals")));
        ASSERT_TRUE(colours.open(QIODevice::WriteOnly));
        colours.write(kDarkColours);
        viewer->setVariable("XDG_CONFIG_DIRS", QFile::encodeName(settings.path()));
        viewer->setVariable("XDG_CURRENT_DESKTOP", "KDE");
        viewer->setVariable("KDE_SESSION_VERSION", "5");
    }

    /// Saves the screen once it stands still.
    void keep(const char* what)
    {
        desktop.pause(600ms);
        const QString folder = qEnvironmentVariable("QUORVANE_LOOKS", QStringLiteral("."));
        QDir().mkpath(folder);
        EXPECT_TRUE(desktop.image().save(
            QStringLiteral("%1/%2-%3.png")
                .arg(folder, QLatin1String(what), QLatin1String(GetParam().name))));
    }

    void click(unsigned button)
    {
        desktop.holdButton(button, true);
        desktop.holdButton(button, false);
    }
};

TEST_P(DISABLED_Looks, OfTheWelcomeWindow)
{
    viewer->writeSettings(plainSettings({ { QStringLiteral("ShowWelcome"), true } }));
    viewer->start({});
    ASSERT_TRUE(welcomes());
    keep("welcome");
    desktop.key(XK_F10);
    desktop.key(XK_Down);
    keep("welcome-menu");
}

TEST_P(DISABLED_Looks, OfTheShow)
{
    startShow({ { QStringLiteral("showFileName"), true } });
    ASSERT_TRUE(waitWhileRunning(QStringLiteral("the show"),
        [&] { return desktop.focusedProcess() == viewer->pid() && colourCount() > 50; }));
    keep("show");
    desktop.key(XK_k, { XK_Control_L });
    keep("controls");
    desktop.key(XK_k, { XK_Control_L });
    desktop.key(XK_F10);
    desktop.key(XK_Down);
    for (const char* const menu : { "file", "slideshow", "view", "screen", "help" }) {
        keep((QByteArray("menu-") + menu).constData());
        desktop.key(XK_Right);
    }
    desktop.key(XK_Escape);
    desktop.moveMouse(middle());
    click(3);
    keep("context-menu");
    desktop.key(XK_Escape);
    desktop.key(XK_F11);
    keep("window");
}

TEST_P(DISABLED_Looks, OfTheChoiceOfScreens)
{
    const QSize half(desktop.size().width() / 2, desktop.size().height());
    ASSERT_TRUE(desktop.plugIn("LAPTOP", { {}, half }, true));
    ASSERT_TRUE(desktop.plugIn("PROJECTOR", { { half.width(), 0 }, half }));
    startShow();
    ASSERT_TRUE(waitWhileRunning(QStringLiteral("the show"),
        [&] { return desktop.focusedProcess() == viewer->pid() && colourCount() > 50; }));
    desktop.key(XK_d, { XK_Control_L });
    keep("screens");
}

INSTANTIATE_TEST_SUITE_P(All, DISABLED_Looks,
    testing::Values(Look { "light", false, 1 }, Look { "light-dense", false, 2 },
        Look { "dark", true, 1 }, Look { "dark-dense", true, 2 }));

} // namespace

} // namespace quorvane::show
