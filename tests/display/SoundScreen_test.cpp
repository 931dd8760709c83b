// SPDX-License-Identifier: GPL-3.0-or-later
#include "display/SoundScreen.h"
#include "support/GeometryMatchers.h"
#include "support/PictureFiles.h"

#include <QWidget>

#include <gtest/gtest.h>

namespace quorvane {
namespace {

using namespace tests;

constexpr QSize kScreen { 640, 360 };

const QString kLong
    = QStringLiteral("An uncommonly long name of a song, which goes on ").repeated(20);

QImage screenOf(
    const QString& title, const std::optional<QImage>& cover = QImage(), QSize size = kScreen)
{
    return soundScreen({ title, cover, QWidget().font() }, size);
}

/// What is not ground, within `part`.
QRect inked(const QImage& screen, const QRect& part)
{
    const QRgb ground = screen.pixel(0, 0);
    QRect ink;
    for (int y = part.top(); y <= part.bottom(); ++y) {
        for (int x = part.left(); x <= part.right(); ++x) {
            if (screen.pixel(x, y) != ground)
                ink |= QRect(x, y, 1, 1);
        }
    }
    return ink;
}

QRect textIn(const QImage& screen)
{
    // Below the cover, which takes three fifths with what is above it.
    const int top = screen.height() * 61 / 100;
    return inked(screen, { 0, top, screen.width(), screen.height() - top });
}

/// How many rows of text there are, by the empty rows of pixels between them.
int linesIn(const QImage& screen)
{
    const QRect text = textIn(screen);
    int lines = 0;
    bool wasInk = false;
    for (int y = text.top(); y <= text.bottom() + 1; ++y) {
        const bool isInk
            = y <= text.bottom() && !inked(screen, { 0, y, screen.width(), 1 }).isNull();
        lines += wasInk && !isInk;
        wasInk = isInk;
    }
    return lines;
}

TEST(SoundScreen, HasTheSizeOfTheScreen)
{
    for (const QSize size : { QSize(1280, 720), QSize(720, 1280), QSize(1, 1), QSize(3000, 2) }) {
        const QImage screen = screenOf(kLong, solid(kRed, { 5, 5 }), size);

        EXPECT_EQ(screen.size(), size);
        EXPECT_EQ(screen.format(), QImage::Format_RGB32);
    }
    EXPECT_TRUE(screenOf(kLong, QImage(), { 0, 100 }).isNull());
    EXPECT_TRUE(screenOf(kLong, QImage(), {}).isNull());
}

TEST(SoundScreen, IsCalmAndDark)
{
    const QImage screen = screenOf({});

    qint64 light = 0;
    for (int y = 0; y < screen.height(); ++y) {
        for (int x = 0; x < screen.width(); ++x)
            light += qGray(screen.pixel(x, y));
    }
    EXPECT_LT(light / (screen.width() * screen.height()), 40);
    EXPECT_NE(screen.pixel(0, 0), kBlack); // Something is there.
    EXPECT_TRUE(textIn(screen).isNull());
}

TEST(SoundScreen, ShowsANoteWhereThereIsNoCover)
{
    const QImage screen = screenOf({});

    const QRect card = inked(screen, screen.rect());
    EXPECT_EQ(card.center().x(), (screen.width() - 1) / 2);
    EXPECT_NEAR(card.width(), card.height(), 2);
    const QRgb ofCard = screen.pixel(card.topLeft() + QPoint(3, 3));
    bool hasNote = false;
    for (int y = card.top() + 3; y < card.bottom() - 3; ++y)
        hasNote
            |= qGray(screen.pixel(card.left() + card.width() * 52 / 100, y)) > qGray(ofCard) + 40;
    EXPECT_TRUE(hasNote);
}

TEST(SoundScreen, LeavesThePlaceOfACoverEmptyUntilItIsKnown)
{
    const QImage without = screenOf({});
    const QRect card = inked(without, without.rect());

    const QImage screen = screenOf({}, std::nullopt);

    EXPECT_EQ(inked(screen, screen.rect()), card);
    const QImage place = screen.copy(card.adjusted(1, 1, -1, -1)); // Its edges are smooth.
    QImage even(place.size(), place.format());
    even.fill(place.pixel(place.rect().center()));
    EXPECT_EQ(place, even);
}

TEST(SoundScreen, ShowsTheCoverUndistortedInItsMiddle)
{
    const QImage without = screenOf({});
    const QRect card = inked(without, without.rect());
    for (const QSize size : { QSize(50, 50), QSize(4000, 2000), QSize(20, 80) }) {
        const QImage screen = screenOf({}, solid(kRed, size));

        const QRect cover = inked(screen, screen.rect());
        EXPECT_NEAR(double(cover.width()) / cover.height(), double(size.width()) / size.height(),
            0.05 * size.width() / size.height());
        EXPECT_LE(std::abs(cover.center().x() - card.center().x()), 1);
        EXPECT_LE(std::abs(cover.center().y() - card.center().y()), 1);
        EXPECT_NEAR(std::max(cover.width(), cover.height()), card.width(), 2);
        EXPECT_EQ(screen.pixel(cover.center()), kRed);
    }
}

TEST(SoundScreen, WritesTheTitleBelowInTheMiddle)
{
    const QImage screen = screenOf(QStringLiteral("A Song"));

    const QRect text = textIn(screen);
    EXPECT_FALSE(text.isNull());
    EXPECT_EQ(linesIn(screen), 1);
    EXPECT_LE(std::abs(text.center().x() - screen.width() / 2), 4);
    EXPECT_NE(screenOf(QStringLiteral("A Tune")), screen);
}

TEST(SoundScreen, WritesATitleOfSeveralLinesInOneGo)
{
    EXPECT_EQ(screenOf(QStringLiteral("A\nSong")), screenOf(QStringLiteral("A Song")));
}

TEST(SoundScreen, CutsALongTitleAfterThreeLines)
{
    for (const QString& title : { kLong, QString(3000, QLatin1Char('m')) }) {
        const QImage screen = screenOf(title);

        EXPECT_EQ(linesIn(screen), 3);
        // Its end is not seen.
        EXPECT_EQ(screenOf(title + QStringLiteral(" end")), screen);
    }
    const QString two = kLong.left(90);
    EXPECT_EQ(linesIn(screenOf(two)), 2);
    EXPECT_NE(screenOf(two + QLatin1Char('.')), screenOf(two));
}

TEST(SoundScreen, SaysThatATitleIsCut)
{
    const auto letters = [](int count) { return screenOf(QString(count, QLatin1Char('m'))); };
    int inALine = 1;
    while (linesIn(letters(inALine + 1)) == 1)
        ++inALine;

    const QImage full = letters(3 * inALine);

    EXPECT_EQ(linesIn(full), 3);
    EXPECT_NE(letters(3 * inALine + 1), full);
}

TEST(SoundScreen, HasNothingAtItsEdges)
{
    for (const QSize size :
        { QSize(1280, 720), QSize(720, 1280), QSize(200, 100), QSize(300, 1000) }) {
        SCOPED_TRACE(testing::PrintToString(size));
        for (const QImage& cover :
            { QImage(), solid(kRed, { 3000, 10 }), solid(kRed, { 10, 3000 }) }) {
            const QImage screen = screenOf(kLong, cover, size);

            const QRect all = inked(screen, screen.rect());
            const int space = size.width() / 20;
            EXPECT_TRUE(screen.rect().adjusted(space, 1, -space, -1).contains(all));
        }
    }
}

TEST(SoundScreen, WritesLargerOnALargerScreen)
{
    const QRect small = textIn(screenOf(QStringLiteral("Mmm")));
    const QRect large = textIn(screenOf(QStringLiteral("Mmm"), {}, 2 * kScreen));

    EXPECT_NEAR(large.height(), 2 * small.height(), 3);
}

TEST(SoundScreen, WritesNoLargerOnAScreenThatStandsUpright)
{
    const QRect lying = textIn(screenOf(QStringLiteral("Mmm")));
    const QRect upright = textIn(screenOf(QStringLiteral("Mmm"), {}, kScreen.transposed()));

    EXPECT_EQ(upright.size(), lying.size());
}

TEST(SoundScreen, WritesWhatCanBeReadOnASmallScreen)
{
    for (const QSize size : { QSize(200, 100), QSize(160, 64), QSize(100, 40) }) {
        const QRect text = textIn(screenOf(QStringLiteral("Mmm"), {}, size));
        EXPECT_GE(text.height(), 6);

        const QImage full = screenOf(kLong, {}, size); // In fewer lines.
        EXPECT_LT(textIn(full).bottom(), size.height() - 1);
    }
}

TEST(SoundScreen, TakesATitleAsItStands)
{
    const QImage screen = screenOf(QStringLiteral("<b>A</b> & B"));

    EXPECT_NE(screen, screenOf(QStringLiteral("A & B")));
    EXPECT_GT(textIn(screen).width(), textIn(screenOf(QStringLiteral("A & B"))).width());
}

} // namespace
} // namespace quorvane
