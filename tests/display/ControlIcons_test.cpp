// SPDX-License-Identifier: GPL-3.0-or-later
// The pictures on the buttons that drive the show.
#include "display/ControlIcons.h"

#include <QApplication>
#include <QIcon>
#include <QImage>
#include <QPalette>
#include <QPixmap>

#include <gtest/gtest.h>

namespace quorvane {

namespace {

constexpr int kSize = 24;
constexpr QPoint kMiddle { kSize / 2, kSize / 2 };

/// Ends with the test.
struct ControlIcon : testing::Test {
    ~ControlIcon() override { QApplication::setPalette(before); }

    static void setTexts(QColor colour, QColor disabled)
    {
        QPalette palette = QGuiApplication::palette();
        palette.setColor(QPalette::ButtonText, colour);
        palette.setColor(QPalette::Disabled, QPalette::ButtonText, disabled);
        QApplication::setPalette(palette);
    }

    static QImage imageOf(ControlSymbol symbol, QIcon::Mode mode = QIcon::Normal)
    {
        return controlIcon(symbol).pixmap(QSize(kSize, kSize), 1, mode).toImage();
    }

    const QPalette before = QGuiApplication::palette();
};

TEST_F(ControlIcon, HasTheColourOfTheThemesTexts)
{
    const QIcon play = controlIcon(ControlSymbol::Play);
    setTexts(Qt::white, Qt::gray);
    EXPECT_EQ(play.pixmap(kSize).toImage().pixelColor(kMiddle), QColor(Qt::white));

    setTexts(Qt::red, Qt::blue);
    EXPECT_EQ(play.pixmap(kSize).toImage().pixelColor(kMiddle), QColor(Qt::red));
    EXPECT_EQ(imageOf(ControlSymbol::Play, QIcon::Disabled).pixelColor(kMiddle), QColor(Qt::blue));
}

TEST_F(ControlIcon, StandsOnNothing)
{
    for (const ControlSymbol symbol :
        { ControlSymbol::Previous, ControlSymbol::Play, ControlSymbol::Pause, ControlSymbol::Next,
            ControlSymbol::Open, ControlSymbol::Sound, ControlSymbol::Silence }) {
        const QImage image = imageOf(symbol);
        EXPECT_EQ(image.pixelColor(0, 0).alpha(), 0);
        EXPECT_EQ(image.pixelColor(kSize - 1, kSize - 1).alpha(), 0);
    }
}

TEST_F(ControlIcon, OfTheWayBackMirrorsThatOfTheWayOn)
{
    const QImage back = imageOf(ControlSymbol::Previous);
    const QImage on = imageOf(ControlSymbol::Next);

    for (int x = 0; x < kSize; ++x) {
        const int mirrored = back.pixelColor(kSize - 1 - x, kSize / 2).alpha();
        EXPECT_NEAR(on.pixelColor(x, kSize / 2).alpha(), mirrored, 2) << x;
    }
    EXPECT_EQ(on.pixelColor(17, 5).alpha(), 255); // The bar.
    EXPECT_LT(back.pixelColor(17, 5).alpha(), 128);
}

TEST_F(ControlIcon, IsDrawnForDenseScreens)
{
    const QPixmap dense
        = controlIcon(ControlSymbol::Pause).pixmap(QSize(kSize, kSize), 2, QIcon::Normal);

    EXPECT_EQ(dense.size(), QSize(2 * kSize, 2 * kSize));
    // Upright edges on whole pixels are not blurred.
    const QImage image = dense.toImage();
    EXPECT_EQ(image.pixelColor(11, kSize).alpha(), 0);
    EXPECT_EQ(image.pixelColor(12, kSize).alpha(), 255);
    EXPECT_EQ(image.pixelColor(19, kSize).alpha(), 255);
    EXPECT_EQ(image.pixelColor(20, kSize).alpha(), 0);
}

TEST_F(ControlIcon, OfSoundHasWavesAndThatOfSilenceACross)
{
    const QImage sound = imageOf(ControlSymbol::Sound);
    const QImage silence = imageOf(ControlSymbol::Silence);

    for (const QImage* image : { &sound, &silence })
        EXPECT_EQ(image->pixelColor(7, 12).alpha(), 255); // The loudspeaker.
    EXPECT_GT(sound.pixelColor(20, 12).alpha(), 128); // The outer wave ...
    EXPECT_GT(sound.pixelColor(16, 12).alpha(), 128); // ... and the inner one.
    EXPECT_LT(sound.pixelColor(18, 12).alpha(), 64);
    EXPECT_EQ(silence.pixelColor(18, 11).alpha(), 255);
    for (const QPoint end : { QPoint(16, 9), QPoint(21, 9), QPoint(16, 14), QPoint(21, 14) })
        EXPECT_GT(silence.pixelColor(end).alpha(), 128);
    EXPECT_LT(silence.pixelColor(16, 12).alpha(), 64);
    EXPECT_LT(silence.pixelColor(21, 12).alpha(), 64);
}

TEST_F(ControlIcon, HasAColourOfItsOwnWhereItIsGivenOne)
{
    setTexts(Qt::red, Qt::blue);
    const QIcon play = controlIcon(ControlSymbol::Play, Qt::white);

    EXPECT_EQ(play.pixmap(kSize).toImage().pixelColor(kMiddle), QColor(Qt::white));
    EXPECT_EQ(QIcon(play).pixmap(kSize).toImage().pixelColor(kMiddle), QColor(Qt::white));
}

} // namespace

} // namespace quorvane
