// SPDX-License-Identifier: GPL-3.0-or-later
// Rows of recent folders, in pixels.
#include "platform/MainQueue.h"
#include "support/ByteFolder.h"
#include "support/PictureFiles.h"
#include "welcome/FolderPictures.h"
#include "welcome/FolderStrips.h"
#include "welcome/RecentsDelegate.h"

#include <QListWidget>
#include <QPainter>

#include <gtest/gtest.h>

#include <cmath>

namespace quorvane {

namespace {

using namespace tests;

constexpr QSize kRow { 700, 70 };

QPalette palette(const QColor& text, const QColor& window)
{
    QPalette colours;
    colours.setColor(QPalette::WindowText, text);
    colours.setColor(QPalette::Window, window);
    colours.setColor(QPalette::Highlight, Qt::blue);
    return colours;
}

/// The columns of `image` between two that hold anything but its background.
QRect inkIn(const QImage& image, const QRect& area)
{
    QRect ink;
    const QRgb ground = image.pixel(0, 0);
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            if (image.pixel(x, y) != ground)
                ink |= QRect(x, y, 1, 1);
        }
    }
    return ink;
}

int darkestIn(const QImage& image)
{
    int darkest = 255;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            darkest = std::min(darkest, qGray(image.pixel(x, y)));
    }
    return darkest;
}

double luminance(const QColor& colour)
{
    const auto linear
        = [](double c) { return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4); };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF())
        + 0.0722 * linear(colour.blueF());
}

double contrast(const QColor& a, const QColor& b)
{
    const double light = std::max(luminance(a), luminance(b));
    const double dark = std::min(luminance(a), luminance(b));
    return (light + 0.05) / (dark + 0.05);
}

struct RecentsDelegateTest : testing::Test {
    ~RecentsDelegateTest() override { settle(); }

    static void settle()
    {
        FolderStrips::drain();
        MainQueue::drain();
    }

    /// With as many red pictures.
    QByteArray album(const QByteArray& name, int pictures = 0) const
    {
        files.folder(name);
        for (int i = 0; i < pictures; ++i)
            files.file(name + '/' + QByteArray::number(i) + ".png",
                encoded(solid(kRed, { 80, 60 }), "png"));
        return files.path(name);
    }

    void load(const QByteArray& folder)
    {
        strips.setFolders({ folder });
        settle();
    }

    QImage row(const QByteArray& folder, QSize size = kRow)
    {
        QListWidget list;
        auto* const item = new QListWidgetItem(&list);
        item->setData(RecentsDelegate::kPathRole, folder);
        QImage image(size, QImage::Format_RGB32);
        image.fill(option.palette.color(QPalette::Window));
        QPainter painter(&image);
        option.rect = image.rect();
        delegate.paint(&painter, option, list.model()->index(0, 0));
        return image;
    }

    ByteFolder files;
    FolderStrips strips { firstPicturesOf, [](const QByteArray&) {} };
    RecentsDelegate delegate { strips, nullptr };
    QStyleOptionViewItem option = [] {
        QStyleOptionViewItem made;
        made.palette = palette(Qt::black, Qt::white);
        return made;
    }();
};

TEST_F(RecentsDelegateTest, HasTheTextOnOneSideAndPicturesOnTheOther)
{
    const QByteArray folder = album("holidays", 5);
    load(folder);

    const QImage image = row(folder);

    EXPECT_TRUE(isNearly(image.pixel(700 - 14 - 32, 35), kRed));
    EXPECT_TRUE(isNearly(image.pixel(700 - 14 - 4 * 70 - 32, 35), kRed));
    EXPECT_FALSE(isNearly(image.pixel(700 - 14 - 64 - 3, 35), kRed)) << "between two of them";
    EXPECT_FALSE(isNearly(image.pixel(700 - 14 - 5 * 70 - 32, 35), kRed));
    const QRect text = inkIn(image, { 0, 0, 300, 70 });
    EXPECT_GE(text.left(), 14);
    EXPECT_LE(text.left(), 20);
    EXPECT_GT(text.height(), 20) << "two lines";
}

TEST_F(RecentsDelegateTest, IsMirroredWhereOneReadsFromTheRight)
{
    const QByteArray folder = album("holidays", 5);
    load(folder);
    option.direction = Qt::RightToLeft;

    const QImage image = row(folder);

    EXPECT_TRUE(isNearly(image.pixel(14 + 32, 35), kRed));
    EXPECT_GE(inkIn(image, { 400, 0, 300, 70 }).right(), 680);
}

TEST_F(RecentsDelegateTest, PutsAShortStripAtTheEdge)
{
    const QByteArray folder = album("holidays", 1);
    load(folder);

    const QImage image = row(folder);

    EXPECT_TRUE(isNearly(image.pixel(700 - 14 - 32, 35), kRed));
    EXPECT_FALSE(isNearly(image.pixel(700 - 14 - 70 - 32, 35), kRed));
}

TEST_F(RecentsDelegateTest, ShowsFewerPicturesWhereThereIsLittleRoom)
{
    const QByteArray folder = album("holidays", 5);
    load(folder);

    const QImage narrow = row(folder, { 400, 70 });
    const QImage narrowest = row(folder, { 220, 70 });

    EXPECT_TRUE(isNearly(narrow.pixel(400 - 14 - 70 - 32, 35), kRed));
    EXPECT_FALSE(isNearly(narrow.pixel(400 - 14 - 140 - 32, 35), kRed));
    EXPECT_FALSE(isNearly(narrowest.pixel(220 - 14 - 32, 35), kRed));
}

TEST_F(RecentsDelegateTest, NeverLetsALongNameTouchThePictures)
{
    const QByteArray folder = album(QByteArray(200, 'W'), 5);
    load(folder);

    const QImage image = row(folder);

    const int firstPicture = 700 - 14 - 5 * 70 + 6;
    EXPECT_TRUE(inkIn(image, { firstPicture - 18, 0, 17, 70 }).isEmpty());
    EXPECT_GT(inkIn(image, { 0, 0, firstPicture - 18, 70 }).width(), 250);
}

TEST_F(RecentsDelegateTest, GivesTheWholeRowToTheTextOfAFolderWithoutPictures)
{
    const QByteArray folder = album(QByteArray(200, 'W'));
    load(folder);

    const QImage image = row(folder);

    EXPECT_GT(inkIn(image, image.rect()).right(), 650);
}

TEST_F(RecentsDelegateTest, KeepsThePlaceOfPicturesThatAreNotKnownYet)
{
    const QImage image = row(QByteArray("/") + QByteArray(200, 'W'));

    EXPECT_LT(inkIn(image, image.rect()).right(), 340);
}

TEST_F(RecentsDelegateTest, MutesAFolderThatIsGone)
{
    const QByteArray there = album("MMMM");
    load(there);
    const int strong = darkestIn(row(there));
    const QByteArray gone = files.path("MMMM gone");
    load(gone);

    const int muted = darkestIn(row(gone));

    EXPECT_LT(strong, 20);
    EXPECT_GT(muted, 60);
}

TEST_F(RecentsDelegateTest, KeepsStrangeNamesOnTheirLine)
{
    const QByteArray folder = album("one\ntwo\nthree\nfour\xFF\n<b>five</b>");
    load(folder);
    const QByteArray plain = album("one two three four");
    const QRect usual = inkIn(row(plain), QRect(QPoint(), kRow));

    const QRect strange = inkIn(row(folder), QRect(QPoint(), kRow));

    EXPECT_NEAR(strange.top(), usual.top(), 4);
    EXPECT_NEAR(strange.bottom(), usual.bottom(), 4);
}

TEST_F(RecentsDelegateTest, LightsUpUnderThePointerAndMoreWithTheKeyboard)
{
    const QByteArray folder = album("holidays");
    const QPoint ground(5, 35);
    const QRgb plain = row(folder).pixel(ground);
    option.state = QStyle::State_MouseOver;
    const QRgb hovered = row(folder).pixel(ground);
    option.state = QStyle::State_HasFocus;
    const QRgb focused = row(folder).pixel(ground);

    EXPECT_EQ(plain, qRgb(255, 255, 255));
    EXPECT_LT(qGray(hovered), qGray(plain));
    EXPECT_GT(qBlue(focused), qRed(focused) + 30) << "in the colour of the highlight";
}

TEST_F(RecentsDelegateTest, IsAsHighAsThePicturesOrTheText)
{
    option.font.setPixelSize(12);
    option.fontMetrics = QFontMetrics(option.font);
    EXPECT_EQ(delegate.sizeHint(option, {}).height(), 48 + 22);

    option.font.setPixelSize(60);
    option.fontMetrics = QFontMetrics(option.font);
    EXPECT_GE(delegate.sizeHint(option, {}).height(), 120 + 22);
}

TEST_F(RecentsDelegateTest, HasMutedTextThatIsLegibleOnLightAndDark)
{
    const QColor dark(45, 45, 48);
    for (const QPalette& colours : { palette(Qt::black, Qt::white), palette(Qt::white, dark),
             palette(Qt::white, Qt::black) }) {
        const QColor muted = mutedText(colours);

        EXPECT_GE(contrast(muted, colours.color(QPalette::Window)), 4.5);
        EXPECT_LT(contrast(muted, colours.color(QPalette::Window)),
            contrast(colours.color(QPalette::WindowText), colours.color(QPalette::Window)));
    }
}

TEST(ReadablePath, KeepsAllWritings)
{
    const QString text = QStringLiteral("/фото/תמונות/写真/👩‍👧 é");

    EXPECT_EQ(readablePath(text.toUtf8()), text);
}

TEST(ReadablePath, ReplacesWhatIsNoTextOrMovesOtherText)
{
    const QChar mark = QChar::ReplacementCharacter;

    EXPECT_EQ(readablePath("a\xF6z"), QStringLiteral("a") + mark + QStringLiteral("z"));
    EXPECT_EQ(readablePath("a\nb\tc\x7F"),
        QStringLiteral("a") + mark + QStringLiteral("b") + mark + QStringLiteral("c") + mark);
    for (const char* mover : { "\u2028", "\u2029", "\u202E", "\u2066" })
        EXPECT_EQ(readablePath(mover), QString(mark)) << mover;
}

} // namespace

} // namespace quorvane
