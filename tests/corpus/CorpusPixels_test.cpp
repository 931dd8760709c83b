// SPDX-License-Identifier: GPL-3.0-or-later
// Real pictures look as they do in programs that have nothing to do with ours.
#include "corpus/CorpusManifest.h"
#include "corpus/PixelComparison.h"
#include "corpus/PixelReferences.h"
#include "corpus/ReferenceTools.h"
#include "platform/Decoding.h"
#include "platform/FileDescriptor.h"
#include "platform/FileURL.h"

#include <QPainter>

#include <gtest/gtest.h>

namespace quorvane {

namespace {

using tests::CorpusFile;
using tests::PixelReference;
using tests::Tolerance;
using tests::Tool;
using Fate = CorpusFile::Fate;

/// Larger pictures are compared in fewer pixels.
constexpr qint64 kMostPixels = 4'000'000;
constexpr int kBox = 1024;

/// What our decoder shows of the file; null when it shows nothing.
QImage ours(const QByteArray& path)
{
    const auto opened = openForReading(FileURL(path));
    if (!opened)
        return {};
    const auto sizeFor = [](QSize size) {
        const bool isWhole = qint64(size.width()) * size.height() <= kMostPixels;
        const QSize box(kBox, kBox);
        return isWhole ? size : size.scaled(box, Qt::KeepAspectRatio).expandedTo({ 1, 1 });
    };
    const auto answer
        = decode(*opened, { .what = DecodeRequest::What::Picture, .sizeFor = sizeFor });
    return answer ? answer->pixels.image().copy() : QImage();
}

/// What the file's reference asks for.
tests::RenderingTask taskFor(const CorpusFile& file, const PixelReference& reference)
{
    return { .path = file.path(),
        .tool = reference.tool,
        .size = file.size,
        .arguments = reference.arguments,
        .finish = reference.finish,
        .frame = reference.frame,
        .format = QString::fromLatin1(reference.format) };
}

/// Theirs in the size of ours, where that is a smaller one on purpose.
QImage inSizeOf(const QImage& picture, const QImage& theirs, const CorpusFile& file)
{
    const bool isReduced = qint64(file.size.width()) * file.size.height() > kMostPixels;
    if (!isReduced)
        return theirs;
    return tests::premultiplied(theirs).scaled(
        picture.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

/// For eyes: ours, theirs and the difference side by side, in the folder that the environment's
/// QUORVANE_KEEP_PIXELS names.
void keep(const QByteArray& name, const QImage& picture, const QImage& theirs)
{
    const QString folder = qEnvironmentVariable("QUORVANE_KEEP_PIXELS");
    if (folder.isEmpty())
        return;
    QImage sheet(picture.width() * 3, picture.height(), QImage::Format_RGB32);
    sheet.fill(Qt::darkGray);
    QPainter painter(&sheet);
    painter.drawImage(0, 0, picture);
    painter.drawImage(picture.width(), 0, theirs);
    painter.drawImage(2 * picture.width(), 0, picture);
    painter.setCompositionMode(QPainter::CompositionMode_Difference);
    painter.drawImage(2 * picture.width(), 0, theirs);
    painter.end();
    constexpr int kLongestName = 200;
    const QString plain = QString::fromLatin1(name.toPercentEncoding()).right(kLongestName);
    sheet.save(folder + QLatin1Char('/') + plain + QStringLiteral(".png"));
}

class CorpusPixels : public testing::TestWithParam<CorpusFile> { };

TEST_P(CorpusPixels, AreThoseOfAnotherProgram)
{
    const CorpusFile& file = GetParam();
    const PixelReference reference = tests::referenceFor(file.name);
    if (reference.tool == Tool::None)
        GTEST_SKIP() << file.name.constData() << ": " << reference.reason;
    const auto theirs = tests::rendered(taskFor(file, reference));
    if (!theirs.missingProgram.isEmpty())
        GTEST_SKIP() << qPrintable(theirs.missingProgram) << " is not installed";
    ASSERT_FALSE(theirs.image.isNull()) << qPrintable(theirs.message);

    const QImage picture = ours(file.path());

    ASSERT_FALSE(picture.isNull());
    const QImage expected = inSizeOf(picture, theirs.image, file);
    ASSERT_EQ(expected.size(), picture.size());
    keep(file.name, picture, expected);
    const Tolerance& tolerance = reference.tolerance;
    const auto apart = tests::difference(picture, expected, tolerance.difference);
    EXPECT_TRUE(isWithin(apart, tolerance))
        << qPrintable(tests::programOf(reference.tool)) << " differs by " << apart.worstMean
        << " on average, by more than " << tolerance.difference << " at " << 100 * apart.share
        << " % of the pixels, by " << apart.largest << " at most";
}

INSTANTIATE_TEST_SUITE_P(
    Corpus, CorpusPixels, testing::ValuesIn(tests::corpusFiles({ Fate::Shown })));

} // namespace

} // namespace quorvane
