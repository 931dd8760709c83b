// SPDX-License-Identifier: GPL-3.0-or-later
#include "images/PointerImage.h"
#include "platform/PropertyList.h"

#include <QFile>
#include <QSet>

#include <gtest/gtest.h>

namespace quorvane {
namespace {

/// A red square of 64 points.
const QByteArray kSquare = "<svg xmlns='http://www.w3.org/2000/svg' width='64' height='64'>"
                           "<rect width='64' height='64' fill='#ff0000'/></svg>";

QStringList namesInTheTable()
{
    QFile file(QStringLiteral(":/resources/Cursors.plist"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const auto table = readPropertyList(file.readAll());
    QStringList names;
    if (table)
        for (const QVariant& entry : table->toMap().value(QStringLiteral("Cursors")).toList())
            names.append(entry.toMap().value(QStringLiteral("Name")).toString());
    return names;
}

TEST(PointerImage, EveryNameOfTheTableIsAPictureOfItsOwn)
{
    const QStringList names = namesInTheTable();

    EXPECT_GE(names.size(), 8);
    EXPECT_TRUE(names.contains(QStringLiteral("Arrow"))) << "the default";
    EXPECT_EQ(QSet<QString>(names.begin(), names.end()).size(), names.size());
    for (const QString& name : names) {
        const auto image = PointerImage::imageNamed(name);
        ASSERT_TRUE(image) << name.toStdString();
        EXPECT_EQ(image->name(), name);
        EXPECT_FALSE(image->size().isEmpty());
        EXPECT_FALSE(image->imageOfSize(image->size()).isNull());
    }
}

/// Within an eighth of the picture from its upper left corner, something is drawn.
TEST(PointerImage, EveryOneOfTheTableHasItsTipInTheUpperLeftCorner)
{
    for (const QString& name : namesInTheTable()) {
        const auto pointer = PointerImage::imageNamed(name);
        ASSERT_TRUE(pointer);
        const QImage image = pointer->imageOfSize({ 160, 160 });
        int opaque = 0;
        for (int y = 0; y < 20; ++y)
            for (int x = 0; x < 20; ++x)
                opaque += qAlpha(image.pixel(x, y)) > 127 ? 1 : 0;
        EXPECT_GT(opaque, 20) << name.toStdString();
    }
}

TEST(PointerImage, OfAnUnknownNameIsNone)
{
    EXPECT_FALSE(PointerImage::imageNamed(QStringLiteral("No Such Pointer")));
    EXPECT_FALSE(PointerImage::imageNamed(QString()));
    EXPECT_FALSE(PointerImage::imageNamed(QStringLiteral("../pointers/Arrow")));
}

TEST(PointerImage, IsSharpInEverySize)
{
    const PointerImage image(QStringLiteral("square"), kSquare);

    EXPECT_EQ(image.size(), QSize(64, 64));
    for (const QSize size : { QSize(13, 13), QSize(64, 64), QSize(200, 200) }) {
        const QImage drawn = image.imageOfSize(size);
        EXPECT_EQ(drawn.size(), size);
        EXPECT_EQ(drawn.pixel(size.width() - 1, size.height() - 1), 0xffff0000);
    }
}

TEST(PointerImage, ThatIsNoDrawingIsEmpty)
{
    const PointerImage image(QStringLiteral("noise"), "no drawing");

    EXPECT_TRUE(image.size().isEmpty());
    EXPECT_TRUE(image.imageOfSize({ 10, 10 }).isNull());
}

} // namespace
} // namespace quorvane
