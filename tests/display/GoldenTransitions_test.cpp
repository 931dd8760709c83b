// SPDX-License-Identifier: GPL-3.0-or-later
// What each transition looks like, pixel by pixel, in every way to place a picture. The sheets in
// golden/ have a row for each case and a column for each moment; QUORVANE_WRITE_GOLDEN=1 writes
// them anew, to be looked at before they are kept.
#include "display/SVLayerView.h"
#include "images/SVImage.h"
#include "layers/Drawing.h"
#include "layers/ModPattern.h"
#include "platform/DispatchQueue.h"
#include "platform/MainQueue.h"
#include "platform/UserDefaults.h"
#include "settings/SettingsCatalogue.h"
#include "support/ManualClock.h"
#include "support/PictureFiles.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QPainter>
#include <QRegion>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <vector>

namespace quorvane {
namespace {

using namespace tests;
using namespace std::chrono_literals;

/// Points of the view, and pixels of a cell.
constexpr QSize kView { 96, 60 };

/// The moments of a sheet, in tenths of the transition's duration. At the last one it is over.
constexpr std::array kTenths { 0, 1, 5, 9, 10 };

constexpr std::array kModes { kFitModeFit, kFitModeZoom, kFitModeFill, kFitModeStretch };

/// What is seen of the new picture in the first frame, in which the old one is still whole and in
/// front. Where the old one leaves margins, a new one that begins at its full size is seen there.
enum class Beginning {
    Nothing,
    All,
    Cut, ///< The old one is gone.
    Edge, ///< Edge-on, a line of one pixel: no part of a picture is thinner.
    UpsideDown, ///< To the left of its place and below it.
};

struct Transition {
    const char* title; ///< Value of the setting.
    const char* sheet;
    Duration duration;
    Beginning beginning;
    bool hasTurnedBefore = false; ///< Begun when the pictures have come in this way before.
};

void PrintTo(const Transition& transition, std::ostream* out) { *out << transition.title; }

/// The first time, a Flip turns the new picture about its middle, as its layer never turned before;
/// from then on about its lower edge.
constexpr std::array kTransitions {
    Transition { "None", "none", 100ms, Beginning::Cut },
    Transition { "Cross Fade", "cross-fade", 1s, Beginning::Nothing },
    Transition { "Fast Cross Fade", "fast-cross-fade", 200ms, Beginning::Nothing },
    Transition { "Flip", "flip-first", 1s, Beginning::Edge },
    Transition { "Flip", "flip", 1s, Beginning::Edge, true },
    Transition { "Slide", "slide", 1400ms, Beginning::Nothing },
    Transition { "Rotate Left Right", "rotate-left-right", 2s, Beginning::UpsideDown },
    Transition { "Rotate Left", "rotate-left", 2s, Beginning::UpsideDown },
    Transition { "Shrink", "shrink", 1s, Beginning::All },
    Transition { "Expand", "expand", 1s, Beginning::Nothing },
    Transition { "Bar Swipe", "bar-swipe", 600ms, Beginning::All },
    Transition { "Swipe", "swipe", 400ms, Beginning::All },
    Transition { "Mod", "mod", 700ms, Beginning::Nothing },
    Transition { "Test", "swipe", 400ms, Beginning::All },
};

/// The colours of a picture whose parts can all be told apart.
struct Palette {
    QRgb corners[4]; ///< From left to right, from the top down.
    QRgb edges[4]; ///< Top, right, bottom, left.
    int hues[2]; ///< At the top and at the bottom; degrees.
};

constexpr Palette kWarm { { 0xffffffff, 0xfffff000, 0xff800000, 0xffff60c0 },
    { 0xffffc000, 0xffb04000, 0xffffa0a0, 0xff602000 }, { 45, 5 } };
constexpr Palette kCold { { 0xffe0ffff, 0xff00ff40, 0xff4000a0, 0xff00c0ff },
    { 0xff80ff80, 0xff004080, 0xffa080ff, 0xff006040 }, { 165, 235 } };

/// Brighter to the right, its hue changing downwards, with a frame and a mark in each corner. In
/// steps, so that the sheets are small files.
QImage picture(QSize size, const Palette& palette)
{
    constexpr int kStep = 4;
    constexpr int kMark = 8;
    constexpr int kEdge = 2;
    const int width = size.width();
    const int height = size.height();
    QImage image(size, QImage::Format_RGB32);
    QPainter painter(&image);
    for (int y = 0; y < height; y += kStep) {
        const int hue = palette.hues[0] + (palette.hues[1] - palette.hues[0]) * y / height;
        for (int x = 0; x < width; x += kStep)
            painter.fillRect(x, y, kStep, kStep, QColor::fromHsv(hue, 220, 100 + 140 * x / width));
    }
    painter.fillRect(0, 0, width, kEdge, QColor(palette.edges[0]));
    painter.fillRect(width - kEdge, 0, kEdge, height, QColor(palette.edges[1]));
    painter.fillRect(0, height - kEdge, width, kEdge, QColor(palette.edges[2]));
    painter.fillRect(0, 0, kEdge, height, QColor(palette.edges[3]));
    for (int i = 0; i < 4; ++i)
        painter.fillRect((i % 2) * (width - kMark), (i / 2) * (height - kMark), kMark, kMark,
            QColor(palette.corners[i]));
    return image;
}

struct Pair {
    const char* name;
    QSize before;
    QSize after;
};

// Both of the first are smaller than the view; each mode places the second in a way of its own.
constexpr Pair kAlike { "the view's shape", { 64, 40 }, { 64, 40 } };
constexpr Pair kDifferent { "landscape to portrait", { 128, 48 }, { 36, 48 } };
constexpr Pair kDifferentBack { "portrait to landscape", { 36, 48 }, { 128, 48 } };

/// One row of a sheet.
struct Case {
    Pair pair;
    QLatin1String mode;
    bool isForward;

    std::string name() const
    {
        return std::string(isForward ? "forward, " : "backward, ") + pair.name + ", " + mode.data();
    }
};

std::vector<Case> casesOf(std::initializer_list<Pair> pairs)
{
    std::vector<Case> cases;
    for (const bool isForward : { true, false }) {
        for (const Pair& pair : pairs) {
            for (const QLatin1String mode : kModes)
                cases.push_back({ pair, mode, isForward });
        }
    }
    return cases;
}

/// The sheet's rows.
std::vector<Case> sheetCases() { return casesOf({ kAlike, kDifferent }); }

/// A clock for a screen that draws ten frames in a transition, whatever its duration: the moments
/// fall on frames.
class FrameClock : public ManualClock {
public:
    void setFrame(Duration frame) { mFrame = frame; }

    [[nodiscard]] std::unique_ptr<Timer> scheduleTimer(
        Duration interval, Repetition repetition, std::function<void()> block) override
    {
        const bool isFrame = repetition == Repetition::Repeating;
        return ManualClock::scheduleTimer(
            isFrame ? mFrame : interval, repetition, std::move(block));
    }

private:
    Duration mFrame { 10ms };
};

/// A view that goes from picture to picture.
class Stage {
public:
    explicit Stage(QLatin1String mode)
    {
        mDefaults.setValue(kImageFitMode, QString(mode));
        view.resize(kView);
    }

    void show(const QImage& image) { begin("None", 100ms, image, true); }

    /// Its first frame is drawn.
    void begin(const char* title, Duration duration, const QImage& image, bool isForward)
    {
        mFrame = duration / 10;
        mClock.setFrame(mFrame);
        mDefaults.setValue(kTransition, QString::fromLatin1(title));
        view.setImage(SVImage::imageWithImage(image), isForward);
        DispatchQueue::global().drain(); // Holes are made there.
        MainQueue::drain();
        mClock.advance(0ms);
        mTenth = 0;
        drawn();
    }

    void begin(const Transition& transition, const QImage& image, bool isForward)
    {
        begin(transition.title, transition.duration, image, isForward);
    }

    /// Goes on to that moment.
    void moveTo(int tenth)
    {
        mClock.advance((tenth - mTenth) * mFrame);
        mTenth = tenth;
        if (tenth < 10)
            return;
        // Seconds that are no binary fraction end the transition a frame later.
        mClock.advance(mFrame);
        ASSERT_FALSE(view.isBusy());
    }

    QImage drawn()
    {
        QImage image = solid(0xffff00ff, kView); // Seen where the view leaves something out.
        view.render(&image);
        return image;
    }

    /// What a picture of that size covers, in pixels.
    QRect placeOf(QSize size) const
    {
        const auto image = SVImage::imageWithImage(solid(kRed, size));
        return deviceRect(view.rectForImage(image.get()), kView.height(), 1);
    }

private:
    UserDefaults mDefaults;
    FrameClock mClock;
    Duration mFrame {};
    int mTenth = 0;

public:
    SVLayerView view { mDefaults, mClock };
};

/// What the view shows of a picture that nothing came before.
QImage alone(const QImage& image, QLatin1String mode)
{
    Stage stage(mode);
    stage.show(image);
    return stage.drawn();
}

/// Shows the old picture; if the transition asks for it, when both have been seen before.
void showOld(Stage& stage, const Transition& transition, const Case& row)
{
    const QImage before = picture(row.pair.before, kWarm);
    stage.show(before);
    if (!transition.hasTurnedBefore)
        return;
    for (const QImage& image : { picture(row.pair.after, kCold), before }) {
        stage.begin(transition, image, row.isForward);
        stage.moveTo(10);
        stage.drawn();
    }
}

QImage sheetOf(const Transition& transition)
{
    const std::vector<Case> cases = sheetCases();
    QImage sheet(static_cast<int>(kTenths.size()) * kView.width(),
        static_cast<int>(cases.size()) * kView.height(), QImage::Format_RGB32);
    QPainter painter(&sheet);
    QPoint place;
    for (const Case& row : cases) {
        Stage stage(row.mode);
        showOld(stage, transition, row);
        stage.begin(transition, picture(row.pair.after, kCold), row.isForward);
        place.setX(0);
        for (const int tenth : kTenths) {
            stage.moveTo(tenth);
            painter.drawImage(place, stage.drawn());
            place.rx() += kView.width();
        }
        place.ry() += kView.height();
    }
    return sheet;
}

/// By how much the channels differ that differ most.
int distance(QRgb a, QRgb b)
{
    return std::max({ std::abs(qRed(a) - qRed(b)), std::abs(qGreen(a) - qGreen(b)),
        std::abs(qBlue(a) - qBlue(b)) });
}

/// How two pictures of one size differ within an area.
struct Difference {
    int pixels = 0; ///< That differ by more than is allowed.
    int greatest = -1; ///< Distance; -1 for an empty area.
    QPoint worst; ///< Where that is.

    void note(QPoint place, int distance, int allowed)
    {
        pixels += distance > allowed ? 1 : 0;
        if (distance <= greatest)
            return;
        greatest = distance;
        worst = place;
    }
};

Difference difference(const QImage& a, const QImage& b, const QRegion& area, int allowed)
{
    Difference found;
    for (const QRect& rect : area) {
        const int count = rect.width() * rect.height();
        for (int i = 0; i < count; ++i) {
            const QPoint place = rect.topLeft() + QPoint(i % rect.width(), i / rect.width());
            found.note(place, distance(a.pixel(place), b.pixel(place)), allowed);
        }
    }
    return found;
}

std::string colourAt(const QImage& image, QPoint place)
{
    return image.pixelColor(place).name().toStdString();
}

testing::AssertionResult isLike(const QImage& image, const QImage& expected, int allowed,
    const QRegion& area = QRect({}, kView))
{
    const Difference found = difference(image, expected, area & image.rect(), allowed);
    if (found.pixels == 0)
        return testing::AssertionSuccess();
    return testing::AssertionFailure()
        << found.pixels << " pixels differ, most of all (" << found.worst.x() << ", "
        << found.worst.y() << "): " << colourAt(image, found.worst) << " instead of "
        << colourAt(expected, found.worst);
}

/// Other processors round in other ways, and put an edge one pixel further. \return the worst of
/// what cannot be explained by that.
testing::AssertionResult isSheet(const QImage& sheet, const QImage& golden)
{
    constexpr int kRounding = 3;
    constexpr int kEdgePixels = kView.width() * kView.height() / 500;
    if (sheet.size() != golden.size())
        return testing::AssertionFailure() << "the golden sheet is missing or of another size";
    const std::vector<Case> cases = sheetCases();
    Difference worst;
    int cells = 0;
    for (size_t row = 0; row < cases.size(); ++row) {
        for (size_t column = 0; column < kTenths.size(); ++column) {
            const QPoint corner(
                static_cast<int>(column) * kView.width(), static_cast<int>(row) * kView.height());
            const Difference cell = difference(sheet, golden, QRect(corner, kView), kRounding);
            if (cell.pixels <= kEdgePixels)
                continue;
            ++cells;
            if (cell.greatest > worst.greatest)
                worst = cell;
        }
    }
    if (cells == 0)
        return testing::AssertionSuccess();
    const auto row = static_cast<size_t>(worst.worst.y() / kView.height());
    const auto column = static_cast<size_t>(worst.worst.x() / kView.width());
    return testing::AssertionFailure()
        << cells << " cells differ, most of all \"" << cases[row].name() << "\" (row " << row
        << ") at " << kTenths.at(column) << " tenths (column " << column << "), pixel ("
        << worst.worst.x() % kView.width() << ", " << worst.worst.y() % kView.height()
        << "): " << colourAt(sheet, worst.worst) << " instead of " << colourAt(golden, worst.worst)
        << "; " << worst.pixels << " pixels there";
}

QString goldenPath(const Transition& transition)
{
    const QFileInfo source(QString::fromLocal8Bit(__FILE__));
    return source.dir().filePath(
        QLatin1String("golden/") + QLatin1String(transition.sheet) + QLatin1String(".png"));
}

/// Beside the test program. \return where.
QString saveActual(const QImage& sheet, const Transition& transition)
{
    const QDir folder(QCoreApplication::applicationDirPath() + QStringLiteral("/golden"));
    const QString path
        = folder.filePath(QLatin1String(transition.sheet) + QLatin1String("-actual.png"));
    return folder.mkpath(QStringLiteral(".")) && sheet.save(path) ? path : QString();
}

std::string nameOf(const Transition& transition)
{
    QString name = QString::fromLatin1(transition.title).remove(QLatin1Char(' '));
    if (transition.hasTurnedBefore)
        name += QLatin1String("Again");
    return name.toStdString();
}

class EachTransition : public testing::TestWithParam<Transition> {
protected:
    void SetUp() override { ModPattern::keep(nullptr); }
};

INSTANTIATE_TEST_SUITE_P(All, EachTransition, testing::ValuesIn(kTransitions),
    [](const auto& each) { return nameOf(each.param); });

TEST_P(EachTransition, LooksAsOnItsSheet)
{
    const QString path = goldenPath(GetParam());

    const QImage sheet = sheetOf(GetParam());

    if (qEnvironmentVariableIntValue("QUORVANE_WRITE_GOLDEN") == 1) {
        constexpr int kSmallest = 0;
        ASSERT_TRUE(sheet.save(path, "PNG", kSmallest));
        GTEST_SKIP() << "written: " << path.toStdString();
    }
    const testing::AssertionResult isAsBefore
        = isSheet(sheet, QImage(path).convertToFormat(QImage::Format_RGB32));
    EXPECT_TRUE(isAsBefore) << "see " << saveActual(sheet, GetParam()).toStdString();
}

/// What a first frame looks like, but for the part that is not compared.
struct FirstFrame {
    QImage expected;
    QRegion area;
};

/// The line of pixels that the new picture is seen as when it is edge-on.
QRect edgeOn(const Transition& flip, const QRect& place)
{
    const int y = flip.hasTurnedBefore ? place.bottom() + 1 : kView.height() / 2;
    return { place.left(), y, place.width(), 1 };
}

FirstFrame firstFrameOf(const Transition& transition, const Case& row, Stage& stage)
{
    const QImage before = alone(picture(row.pair.before, kWarm), row.mode);
    QImage after = alone(picture(row.pair.after, kCold), row.mode);
    const QRegion whole(QRect({}, kView));
    const QRect oldPlace = stage.placeOf(row.pair.before);
    const QRect newPlace = stage.placeOf(row.pair.after);
    if (transition.beginning == Beginning::Cut)
        return { after, whole };
    if (transition.beginning == Beginning::All) {
        QPainter painter(&after);
        painter.drawImage(oldPlace, before, oldPlace);
        painter.end();
        return { after, whole };
    }
    QRegion margin;
    if (transition.beginning == Beginning::Edge)
        margin = edgeOn(transition, newPlace);
    if (transition.beginning == Beginning::UpsideDown)
        margin = QRect(
            0, newPlace.bottom() + 1, newPlace.left(), kView.height() - newPlace.bottom() - 1);
    return { before, whole.subtracted(margin.subtracted(oldPlace)) };
}

/// Two pictures of another shape than the view's, too: either of them has margins.
std::vector<Case> allCases() { return casesOf({ kAlike, kDifferent, kDifferentBack }); }

TEST_P(EachTransition, BeginsWithWhatWasThere)
{
    for (const Case& row : allCases()) {
        Stage stage(row.mode);
        showOld(stage, GetParam(), row);
        const FirstFrame first = firstFrameOf(GetParam(), row, stage);

        stage.begin(GetParam(), picture(row.pair.after, kCold), row.isForward);

        EXPECT_TRUE(isLike(stage.drawn(), first.expected, 1, first.area)) << row.name();
    }
}

TEST_P(EachTransition, EndsWithTheNewPictureAlone)
{
    for (const Case& row : allCases()) {
        Stage stage(row.mode);
        showOld(stage, GetParam(), row);
        const QImage after = picture(row.pair.after, kCold);

        stage.begin(GetParam(), after, row.isForward);
        stage.moveTo(10);

        EXPECT_TRUE(isLike(stage.drawn(), alone(after, row.mode), 0)) << row.name();
    }
}

void expectSameEndsAfter(const Transition& other, const Transition& transition, QLatin1String mode)
{
    const QImage before = picture(kDifferent.before, kWarm);
    const QImage after = picture(kDifferent.after, kCold);
    Stage stage(mode);
    stage.show(after);
    stage.begin(other, before, true);
    stage.moveTo(10);
    const QImage shown = stage.drawn();

    stage.begin(transition, after, true);
    const QImage first = stage.drawn();
    stage.moveTo(10);

    if (transition.beginning != Beginning::Cut) {
        EXPECT_TRUE(isLike(first, shown, 1, stage.placeOf(before.size())));
    }
    EXPECT_TRUE(isLike(stage.drawn(), alone(after, mode), 0));
}

TEST_P(EachTransition, BeginsAndEndsTheSameAfterAnyOther)
{
    for (const Transition& other : kTransitions) {
        for (const QLatin1String mode : kModes) {
            SCOPED_TRACE(std::string(other.title) + ", " + mode.data());
            expectSameEndsAfter(other, GetParam(), mode);
        }
    }
}

/// Those that give each place to the one picture or the other or both; what turns, and what fades
/// alone, leaves black.
std::vector<Transition> coveringTransitions()
{
    std::vector<Transition> transitions(kTransitions.begin(), kTransitions.end());
    std::erase_if(transitions, [](const Transition& transition) {
        const QLatin1String title(transition.title);
        return title == QLatin1String("Flip") || title == QLatin1String("Expand")
            || title.startsWith(QLatin1String("Rotate"));
    });
    return transitions;
}

class CoveringTransition : public EachTransition { };

INSTANTIATE_TEST_SUITE_P(All, CoveringTransition, testing::ValuesIn(coveringTransitions()),
    [](const auto& each) { return nameOf(each.param); });

TEST_P(CoveringTransition, HasNoDarkMomentAfterAnyOther)
{
    const QImage white = solid(0xffffffff, kView);
    for (const Transition& other : kTransitions) {
        Stage stage(kFitModeFit);
        stage.show(white);
        stage.begin(other, white.copy(), true);
        stage.moveTo(10);
        stage.drawn();

        stage.begin(GetParam(), white.copy(), true);
        for (int tenth = 1; tenth <= 10; ++tenth) {
            stage.moveTo(tenth);
            EXPECT_TRUE(isLike(stage.drawn(), white, 1))
                << "after " << other.title << ", at " << tenth << " tenths";
        }
    }
}

Transition transitionOf(const char* title)
{
    const auto* const found = std::find_if(kTransitions.begin(), kTransitions.end(),
        [&](const Transition& transition) { return qstrcmp(transition.title, title) == 0; });
    return *found;
}

TEST(GoldenTransitions, OfTestAreThoseOfSwipe)
{
    EXPECT_EQ(sheetOf(transitionOf("Test")), sheetOf(transitionOf("Swipe")));
}

/// The upper or the lower half of a sheet.
QImage halfOf(const QImage& sheet, bool isForward)
{
    const int half = sheet.height() / 2;
    return sheet.copy(0, isForward ? 0 : half, sheet.width(), half);
}

TEST(GoldenTransitions, AreTheSameBackwardButForSlideAndRotateLeft)
{
    for (const Transition& transition : kTransitions) {
        const QImage sheet = sheetOf(transition);

        const bool isSame = halfOf(sheet, true) == halfOf(sheet, false);

        const QLatin1String title(transition.title);
        EXPECT_EQ(isSame, title != QLatin1String("Slide") && title != QLatin1String("Rotate Left"))
            << transition.title;
    }
}

} // namespace
} // namespace quorvane
