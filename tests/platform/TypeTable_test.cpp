// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/TypeTable.h"

#include <QMimeDatabase>
#include <QSet>

#include <gtest/gtest.h>

namespace quorvane {
namespace {

TEST(TypeTable, HasEachIdentifierOnce)
{
    QSet<QString> seen;
    for (const TypeRow& row : typeRows()) {
        EXPECT_FALSE(seen.contains(row.identifier)) << row.identifier.toStdString();
        EXPECT_EQ(typeRowForIdentifier(row.identifier), &row);
        seen.insert(row.identifier);
    }
}

TEST(TypeTable, HasEachExtensionOnce)
{
    QSet<QByteArray> seen;
    for (const TypeRow& row : typeRows()) {
        for (const QByteArray& extension : row.extensions) {
            EXPECT_FALSE(seen.contains(extension)) << extension.toStdString();
            EXPECT_EQ(typeRowForExtension(extension.toStdString()), &row);
            seen.insert(extension);
        }
    }
}

TEST(TypeTable, IsInLowerCase)
{
    for (const TypeRow& row : typeRows()) {
        for (const QByteArray& extension : row.extensions)
            EXPECT_EQ(extension, extension.toLower());
        for (const QString& mimeType : row.mimeTypes)
            EXPECT_EQ(mimeType, mimeType.toLower());
    }
}

TEST(TypeTable, FindsTheFirstRowOfASharedMimeType)
{
    EXPECT_EQ(typeRowForMimeType(QStringLiteral("video/mp2t"))->identifier,
        QStringLiteral("public.mpeg-2-transport-stream"));
    EXPECT_EQ(typeRowForMimeType(QStringLiteral("image/heif"))->identifier,
        QStringLiteral("public.heif"));
}

TEST(TypeTable, FindsMimeTypesInAnyCase)
{
    ASSERT_NE(typeRowForMimeType(QStringLiteral("audio/AMR")), nullptr);
    EXPECT_EQ(typeRowForMimeType(QStringLiteral("IMAGE/JPEG"))->identifier,
        QStringLiteral("public.jpeg"));
}

TEST(TypeTable, AnswersNothingForWhatItLacks)
{
    EXPECT_EQ(typeRowForExtension("nosuch"), nullptr);
    EXPECT_EQ(typeRowForExtension(""), nullptr);
    EXPECT_EQ(typeRowForExtension("JPG"), nullptr);
    EXPECT_EQ(typeRowForMimeType(QString()), nullptr);
    EXPECT_EQ(typeRowForIdentifier(QString()), nullptr);
}

/// Extensions that the shared MIME database gives to another type, knowingly.
bool isClaimedKnowingly(const QByteArray& extension)
{
    const QSet<QByteArray> claimed
        = { "mod", "m15", "mp2", "ogg", "ogx", "opus", "spx", "ts", "rgb", "loas", "jpx", "ass",
              "psd", "qti", "cpi", "clpi", "mpl", "mpls", "bdm", "bdmv", "lrv", "srt" };
    return claimed.contains(extension);
}

TEST(TypeTable, AgreesWithTheSharedMimeDatabase)
{
    const QMimeDatabase database;
    for (const TypeRow& row : typeRows()) {
        for (const QByteArray& extension : row.extensions) {
            const auto types = database.mimeTypesForFileName(
                QStringLiteral("x.") + QString::fromLatin1(extension));
            if (types.isEmpty() || isClaimedKnowingly(extension))
                continue;
            QStringList names = types.first().aliases();
            names.append(types.first().name());
            const bool agrees = std::any_of(names.cbegin(), names.cend(),
                [&row](const QString& name) { return row.mimeTypes.contains(name.toLower()); });
            EXPECT_TRUE(agrees) << extension.toStdString() << " is "
                                << types.first().name().toStdString();
        }
    }
}

} // namespace
} // namespace quorvane
