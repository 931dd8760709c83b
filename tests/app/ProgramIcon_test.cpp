// SPDX-License-Identifier: GPL-3.0-or-later
// The program's own picture, as the windows' library draws it.
#include <QIcon>
#include <QImage>
#include <QPixmap>

#include <gtest/gtest.h>

namespace quorvane {

namespace {

TEST(ProgramIcon, HasAFrameAroundTheWholePicture)
{
    constexpr int kSide = 256;
    const QImage image = QIcon(QStringLiteral(":/resources/quorvane.svg")).pixmap(kSide).toImage();
    ASSERT_EQ(image.width(), kSide);

    for (const QPoint edge :
        { QPoint(120, 74), QPoint(120, 214), QPoint(26, 198), QPoint(214, 198) })
        EXPECT_EQ(image.pixelColor(edge), QColor(0xfb, 0xf4, 0xe6)) << edge.x() << ' ' << edge.y();
}

} // namespace

} // namespace quorvane
