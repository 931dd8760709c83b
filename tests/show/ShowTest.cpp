// SPDX-License-Identifier: GPL-3.0-or-later
// The steps that show tests have in common.
#include "ShowTest.h"

namespace quorvane::show {

namespace {

QString nameOf(Pixel colour)
{
    return QStringLiteral("#%1").arg(colour.rgb, 6, 16, QLatin1Char('0'));
}

} // namespace

void ShowTest::SetUp()
{
    if (const QStringList missing = VirtualDesktop::missingTools(); !missing.isEmpty()) {
        const std::string reason = "needs " + missing.join(QStringLiteral(", ")).toStdString();
        if (qgetenv("CI") == "true")
            FAIL() << reason;
        GTEST_SKIP() << reason;
    }
    ASSERT_TRUE(desktop.start());
    viewer.emplace(&desktop);
}

void ShowTest::TearDown()
{
    if (!viewer)
        return;
    const auto status = viewer->exitStatus();
    EXPECT_FALSE(status && status->signal != 0 && !killed) << "ended by signal " << status->signal;
    const QByteArray errors = viewer->standardError();
    EXPECT_FALSE(errors.contains("Sanitizer") || errors.contains("runtime error:"));
    if (HasFailure())
        std::fprintf(stderr, "The viewer said:\n%s\n", errors.constData());
}

QVariantMap ShowTest::plainSettings(const QVariantMap& changes)
{
    QVariantMap settings { { QStringLiteral("HintsShown"), true },
        { QStringLiteral("ShowWelcome"), false }, { QStringLiteral("autoStart"), false },
        { QStringLiteral("slideInterval"), 5.0 },
        { QStringLiteral("sort"), QStringLiteral("name") },
        { QStringLiteral("EndMode"), QStringLiteral("EndModeRewind") },
        { QStringLiteral("ImageFitMode"), QStringLiteral("FitModeFit") },
        { QStringLiteral("transition"), QStringLiteral("None") },
        { QStringLiteral("MaxFolderLevel"), 0 } };
    settings.insert(changes);
    return settings;
}

void ShowTest::startShow(const QVariantMap& changes)
{
    viewer->writeSettings(plainSettings(changes));
    viewer->start({ pictures.path() });
}

testing::AssertionResult ShowTest::waitWhileRunning(
    const QString& what, const std::function<bool()>& condition)
{
    bool held = false;
    const auto outcome = desktop.waitFor(what, [&] {
        held = condition();
        return held || !viewer->running();
    });
    if (held || !outcome)
        return outcome;
    const auto status = viewer->exitStatus().value_or(ExitStatus {});
    return testing::AssertionFailure()
        << what.toStdString() << ": the viewer ended first, " << testing::PrintToString(status);
}

testing::AssertionResult ShowTest::shows(Pixel colour)
{
    return waitWhileRunning(QStringLiteral("%1 in the middle").arg(nameOf(colour)),
        [&] { return desktop.colourAt(middle()) == colour; });
}

testing::AssertionResult ShowTest::ready(Pixel colour)
{
    if (auto shown = shows(colour); !shown)
        return shown;
    return waitWhileRunning(QStringLiteral("the viewer has the keyboard"),
        [&] { return desktop.focusedProcess() == viewer->pid(); });
}

testing::AssertionResult ShowTest::leadsTo(KeySymbol key, Pixel colour)
{
    desktop.key(key);
    return shows(colour);
}

testing::AssertionResult ShowTest::staysFor(std::chrono::milliseconds duration)
{
    const auto seen = coloursOf(desktop.recordColours(middle(), duration));
    if (seen.size() == 1)
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << "the screen changed: " << testing::PrintToString(seen);
}

testing::AssertionResult ShowTest::quits()
{
    desktop.key(XK_q, { XK_Control_L });
    return leaves();
}

testing::AssertionResult ShowTest::leaves()
{
    const auto outcome
        = desktop.waitFor(QStringLiteral("the viewer leaves"), [&] { return !viewer->running(); });
    if (!outcome || viewer->exitStatus() == ExitStatus { 0, 0 })
        return outcome;
    return testing::AssertionFailure()
        << "the viewer left with " << testing::PrintToString(viewer->exitStatus());
}

testing::AssertionResult ShowTest::welcomes()
{
    return waitWhileRunning(QStringLiteral("the welcome window alone"), [&] {
        const auto windows = desktop.windowsOf(viewer->pid());
        return windows.size() == 1 && windows.front().height() < desktop.size().height();
    });
}

testing::AssertionResult ShowTest::endsTheShow()
{
    const auto outcome = waitWhileRunning(QStringLiteral("the small window alone"), [&] {
        const auto windows = desktop.windowsOf(viewer->pid());
        return windows.size() == 1 && windows.front().height() < desktop.size().height()
            && desktop.focusedProcess() == viewer->pid();
    });
    return outcome ? quits() : outcome;
}

testing::AssertionResult ShowTest::stores(const char* key, const QVariant& value)
{
    const QString name = QString::fromUtf8(key);
    return waitWhileRunning(QStringLiteral("settings hold %1 = %2").arg(name, value.toString()),
        [&] { return viewer->settings().value_or(QVariantMap()).value(name) == value; });
}

size_t ShowTest::colourCount()
{
    const QImage screen = desktop.image();
    std::set<QRgb> colours;
    for (int y = 0; y < screen.height(); y += 2) {
        for (int x = 0; x < screen.width(); x += 2)
            colours.insert(screen.pixel(x, y));
    }
    return colours.size();
}

std::vector<Pixel> coloursOf(const std::vector<ColourChange>& changes)
{
    std::vector<Pixel> colours;
    colours.reserve(changes.size());
    for (const ColourChange& change : changes)
        colours.push_back(change.colour);
    return colours;
}

testing::AssertionResult showedOnly(
    const std::set<Pixel>& allowed, const std::vector<ColourChange>& changes)
{
    for (const ColourChange& change : changes) {
        if (!allowed.contains(change.colour))
            return testing::AssertionFailure() << testing::PrintToString(coloursOf(changes));
    }
    return testing::AssertionSuccess();
}

std::vector<double> gapsOf(const std::vector<ColourChange>& changes)
{
    std::vector<double> gaps;
    for (size_t i = 2; i < changes.size(); ++i)
        gaps.push_back(
            std::chrono::duration<double>(changes[i].when - changes[i - 1].when).count());
    return gaps;
}

} // namespace quorvane::show
