// SPDX-License-Identifier: GPL-3.0-or-later
// Every real file comes to the end that it deserves.
#include "corpus/CorpusManifest.h"
#include "images/SVImage.h"
#include "platform/Decoding.h"
#include "platform/FileDescriptor.h"
#include "platform/FileURL.h"
#include "platform/MovieAsset.h"
#include "platform/Sanitizer.h"
#include "platform/TypeIdentifier.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace quorvane {

namespace {

using tests::CorpusFile;
using Fate = CorpusFile::Fate;
using What = DecodeRequest::What;

constexpr QSize kScreen { 1920, 1080 };

/// A sanitizer makes the decoder so slow that some pictures take longer than a file may, on a busy
/// machine: the largest one, and one whose threads wait for each other all the time.
bool isTooSlow(const CorpusFile& file)
{
    return kHasSanitizer
        && (file.name.contains("huge-200MP") || file.name.contains("progressive.jxl"));
}

Result<DecodeAnswer> decoded(const CorpusFile& file, What what)
{
    const auto opened = openForReading(FileURL(file.path()));
    if (!opened)
        return tl::unexpected(opened.error());
    return decode(*opened,
        { .what = what, .sizeFor = [](QSize size) {
             const bool fits = size.width() <= kScreen.width() && size.height() <= kScreen.height();
             return fits ? size : size.scaled(kScreen, Qt::KeepAspectRatio).expandedTo({ 1, 1 });
         } });
}

class CorpusPicture : public testing::TestWithParam<CorpusFile> { };

TEST_P(CorpusPicture, IsShownInItsUprightSize)
{
    if (isTooSlow(GetParam()))
        GTEST_SKIP() << "it would take longer than a file may";

    const auto answer = decoded(GetParam(), What::Picture);

    ASSERT_TRUE(answer) << qPrintable(answer.error().message);
    EXPECT_EQ(answer->pictureSize, GetParam().size);
    EXPECT_FALSE(answer->pixels.isNull());
}

TEST_P(CorpusPicture, HasAThumbnail)
{
    if (isTooSlow(GetParam()))
        GTEST_SKIP() << "it would take longer than a file may";

    const auto thumbnail = SVImage::imageThumbFromURL(FileURL(GetParam().path()));

    ASSERT_TRUE(thumbnail);
    const int longer = std::max(thumbnail->width(), thumbnail->height());
    EXPECT_LE(longer, 300);
    const int whole = std::max(GetParam().size.width(), GetParam().size.height());
    EXPECT_GE(longer, std::min(whole, 300));
}

class CorpusMovie : public testing::TestWithParam<CorpusFile> { };

TEST_P(CorpusMovie, HasAFrameInItsMiddle)
{
    const auto answer = decoded(GetParam(), What::MovieFrame);

    ASSERT_TRUE(answer) << qPrintable(answer.error().message);
    // Sizes of movies whose pixels are no squares are rounded in many ways.
    EXPECT_NEAR(answer->pictureSize.width(), GetParam().size.width(), 2);
    EXPECT_NEAR(answer->pictureSize.height(), GetParam().size.height(), 2);
}

/// As the list has them, whose lengths are rounded.
void expectLength(const MovieInformation& information, const CorpusFile& file)
{
    EXPECT_EQ(information.seconds.has_value(), file.seconds.has_value());
    if (information.seconds && file.seconds) {
        EXPECT_NEAR(*information.seconds, *file.seconds, 0.25);
    }
}

std::optional<MovieInformation> informationOf(const CorpusFile& file)
{
    const auto asset = MovieAsset::createWithURL(FileURL(file.path()));
    return asset ? asset->information() : std::nullopt;
}

TEST_P(CorpusMovie, TellsItsSizeAndLength)
{
    const auto information = informationOf(GetParam());

    ASSERT_TRUE(information);
    EXPECT_EQ(information->pictureTracks, 1);
    EXPECT_NEAR(information->naturalSize.width(), GetParam().size.width(), 2);
    EXPECT_NEAR(information->naturalSize.height(), GetParam().size.height(), 2);
    expectLength(*information, GetParam());
}

TEST_P(CorpusMovie, HasFramesWithinItsBound)
{
    const auto asset = MovieAsset::createWithURL(FileURL(GetParam().path()));
    ASSERT_TRUE(asset);

    for (const double seconds : { 0., GetParam().seconds.value_or(1) / 3, 1e6 }) {
        const auto frame = asset->createFrameAt(seconds, 300);

        ASSERT_TRUE(frame) << seconds;
        const QSize whole = GetParam().size;
        EXPECT_EQ(std::max(frame->width(), frame->height()),
            std::min(300, std::max(whole.width(), whole.height())));
        EXPECT_EQ(frame->width() > frame->height(), whole.width() > whole.height());
    }
}

class CorpusSound : public testing::TestWithParam<CorpusFile> { };

TEST_P(CorpusSound, HasNoFrame) { EXPECT_FALSE(decoded(GetParam(), What::MovieFrame)); }

TEST_P(CorpusSound, TellsItsLength)
{
    const auto information = informationOf(GetParam());

    ASSERT_TRUE(information);
    EXPECT_EQ(information->pictureTracks, 0);
    EXPECT_EQ(information->soundTracks, 1);
    EXPECT_TRUE(information->naturalSize.isEmpty());
    expectLength(*information, GetParam());
}

TEST_P(CorpusSound, HasACoverIfOneIsAttached)
{
    const auto asset = MovieAsset::createWithURL(FileURL(GetParam().path()));
    ASSERT_TRUE(asset);

    const QByteArray name = GetParam().name;
    EXPECT_EQ(asset->createCover(300).has_value(),
        name == "audio/cover-art.mp3" || name == "audio/id3.mp3");
}

class CorpusRefuse : public testing::TestWithParam<CorpusFile> { };

TEST_P(CorpusRefuse, IsDropped)
{
    const bool isMovie = GetParam().name.startsWith("damaged-movies/");

    EXPECT_FALSE(decoded(GetParam(), isMovie ? What::MovieFrame : What::Picture));
}

class CorpusOddity : public testing::TestWithParam<CorpusFile> { };

TEST_P(CorpusOddity, IsShownInItsSizeOrDropped)
{
    const bool isMovie = GetParam().name.startsWith("damaged-movies/");

    const auto answer = decoded(GetParam(), isMovie ? What::MovieFrame : What::Picture);

    if (answer && !GetParam().size.isEmpty() && !isMovie) {
        EXPECT_EQ(answer->pictureSize, GetParam().size);
    }
    if (!answer) {
        EXPECT_NE(answer.error().message, QStringLiteral("it breaks the decoder"));
    }
    const auto words = decoded(GetParam(), What::MovieInformation);
    if (!words) {
        EXPECT_NE(words.error().message, QStringLiteral("it breaks the decoder"));
    }
}

class CorpusStranger : public testing::TestWithParam<CorpusFile> { };

TEST_P(CorpusStranger, IsNotListed)
{
    const QByteArray name = GetParam().name.mid(GetParam().name.lastIndexOf('/') + 1);
    const bool isHidden = GetParam().name.contains("/.");

    EXPECT_TRUE(
        isHidden || !TypeIdentifier::isDisplayable(TypeIdentifier::typeIdentifierForName(name)));
}

INSTANTIATE_TEST_SUITE_P(
    Corpus, CorpusPicture, testing::ValuesIn(tests::corpusFiles({ Fate::Shown })));
INSTANTIATE_TEST_SUITE_P(
    Corpus, CorpusMovie, testing::ValuesIn(tests::corpusFiles({ Fate::Movie })));
INSTANTIATE_TEST_SUITE_P(
    Corpus, CorpusSound, testing::ValuesIn(tests::corpusFiles({ Fate::Audio })));
INSTANTIATE_TEST_SUITE_P(
    Corpus, CorpusRefuse, testing::ValuesIn(tests::corpusFiles({ Fate::Dropped })));
INSTANTIATE_TEST_SUITE_P(
    Corpus, CorpusOddity, testing::ValuesIn(tests::corpusFiles({ Fate::Either })));
INSTANTIATE_TEST_SUITE_P(
    Corpus, CorpusStranger, testing::ValuesIn(tests::corpusFiles({ Fate::NotListed })));

} // namespace

} // namespace quorvane
