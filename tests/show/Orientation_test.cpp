// SPDX-License-Identifier: GPL-3.0-or-later
// Photographs that a camera stored lying or mirrored are shown upright.
#include "ShowTest.h"

#include <array>
#include <cstdlib>

namespace quorvane::show {

namespace {

constexpr QSize kStoredSize { 400, 200 };

/// The colours of the four quarters, row by row.
using Quarters = std::array<Pixel, 4>;

constexpr Quarters kStored { kRed, kGreen, kBlue, kYellow };

/// What the eye must see of kStored. Index: the orientation, 1 to 8, as Exif 2.3 numbers them.
constexpr std::array<Quarters, 9> kUpright { {
    {},
    { kRed, kGreen, kBlue, kYellow },
    { kGreen, kRed, kYellow, kBlue },
    { kYellow, kBlue, kGreen, kRed },
    { kBlue, kYellow, kRed, kGreen },
    { kRed, kBlue, kGreen, kYellow },
    { kBlue, kRed, kYellow, kGreen },
    { kYellow, kGreen, kBlue, kRed },
    { kGreen, kYellow, kRed, kBlue },
} };

QByteArray quarteredPicture()
{
    QImage image(kStoredSize, QImage::Format_RGB32);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const size_t quarter
                = (x < image.width() / 2 ? 0U : 1U) + (y < image.height() / 2 ? 0U : 2U);
            image.setPixel(x, y, 0xff000000U | kStored[quarter].rgb);
        }
    }
    return encoded(image, "jpg");
}

/// `jpeg` with an Exif segment that holds one entry, the orientation, right after the start mark.
QByteArray withOrientation(const QByteArray& jpeg, int orientation)
{
    QByteArray segment = QByteArray::fromHex("ffe1" // Application segment 1
                                             "0022" // its length: 34 bytes from here
                                             "457869660000" // "Exif", two zero bytes
                                             "4d4d002a00000008" // big endian, first directory at 8
                                             "0001" // one entry:
                                             "0112000300000001" // orientation, one short number
                                             "00000000" // the number, padded
                                             "00000000"); // no further directory
    constexpr qsizetype kNumberAt = 29;
    segment[kNumberAt] = static_cast<char>(orientation);
    constexpr qsizetype kStartMark = 2;
    return jpeg.left(kStartMark) + segment + jpeg.mid(kStartMark);
}

/// JPEG moves colours by a little.
bool isNearly(Pixel seen, Pixel wanted)
{
    constexpr int kTolerance = 12;
    const QRgb a = seen.rgb;
    const QRgb b = wanted.rgb;
    return std::abs(qRed(a) - qRed(b)) <= kTolerance
        && std::abs(qGreen(a) - qGreen(b)) <= kTolerance
        && std::abs(qBlue(a) - qBlue(b)) <= kTolerance;
}

struct Orientation : ShowTest {
    bool seesUpright(int orientation)
    {
        const bool lying = orientation >= 5;
        const QSize size = lying ? kStoredSize.transposed() : kStoredSize;
        const QPoint centre(desktop.size().width() / 2, desktop.size().height() / 2);
        bool right = true;
        for (size_t quarter = 0; quarter < kStored.size(); ++quarter) {
            const QPoint offset((quarter % 2 == 0 ? -1 : 1) * size.width() / 4,
                (quarter / 2 == 0 ? -1 : 1) * size.height() / 4);
            const Pixel wanted = kUpright[static_cast<size_t>(orientation)][quarter];
            right = right && isNearly(desktop.colourAt(centre + offset), wanted);
        }
        // Just outside of it is black: the shape is turned, too.
        return right && desktop.colourAt(centre + QPoint(size.width() / 2 + 3, 0)) == kBlack
            && desktop.colourAt(centre + QPoint(0, size.height() / 2 + 3)) == kBlack;
    }
};

TEST_F(Orientation, EveryExifOrientationIsShownUpright)
{
    const QByteArray jpeg = quarteredPicture();
    for (int orientation = 1; orientation <= 8; ++orientation)
        pictures.write(
            QByteArray::number(orientation) + ".jpg", withOrientation(jpeg, orientation));

    startShow();

    for (int orientation = 1; orientation <= 8; ++orientation) {
        ASSERT_TRUE(waitWhileRunning(QStringLiteral("orientation %1 upright").arg(orientation),
            [&] { return seesUpright(orientation) && desktop.focusedProcess() == viewer->pid(); }));
        desktop.key(XK_Right);
    }
}

TEST_F(Orientation, AnOrientationThatDoesNotExistChangesNothing)
{
    pictures.write("1.jpg", withOrientation(quarteredPicture(), 99));

    startShow();

    EXPECT_TRUE(
        waitWhileRunning(QStringLiteral("the picture as stored"), [&] { return seesUpright(1); }));
}

} // namespace

} // namespace quorvane::show
